#include "krocolor_runner.h"

#include <png.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>

namespace krocolor_test {

namespace fs = std::filesystem;

static std::string slurp(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

// Single quotes keep every byte of an argument literal for the shell.
static std::string quoted(const std::string& text) {
    std::string q = "'";
    for (char c : text) q += c == '\'' ? std::string("'\\''") : std::string(1, c);
    return q + "'";
}

RunResult runKrocolor(const std::vector<std::string>& args, const std::string& cwd) {
    const std::string outPath = cwd + "/.stdout", errPath = cwd + "/.stderr";
    // exec: the shell becomes krocolor, so a signal that ends it shows in the
    // status as that signal, not as the shell's exit code.
    std::string command = "cd " + quoted(cwd) + " && exec " + quoted(KROCOLOR_BIN);
    for (const auto& a : args) command += " " + quoted(a);
    const int status = std::system((command + " >" + quoted(outPath) + " 2>" + quoted(errPath)).c_str());
    if (status == -1) throw std::runtime_error("cannot start " + std::string(KROCOLOR_BIN));
    RunResult result;
    result.status = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    result.out = slurp(outPath);
    result.err = slurp(errPath);
    fs::remove(outPath);
    fs::remove(errPath);
    return result;
}

int runShell(const std::string& command) {
    const int status = std::system((command + " >/dev/null 2>&1").c_str());
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

bool haveFfmpeg() { return runShell("ffmpeg -version") == 0; }

ScratchDir::ScratchDir() {
    std::string pattern = (fs::temp_directory_path() / "krocolor-test-XXXXXX").string();
    if (!mkdtemp(pattern.data())) throw std::runtime_error("mkdtemp failed");
    path_ = pattern;
}

ScratchDir::~ScratchDir() {
    std::error_code ec;
    fs::remove_all(path_, ec);
}

std::vector<uint8_t> readFile(const std::string& path) {
    const std::string s = slurp(path);
    return std::vector<uint8_t>(s.begin(), s.end());
}

void writeFile(const std::string& path, const std::vector<uint8_t>& bytes) {
    std::ofstream out(path, std::ios::binary);
    out.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
}

std::vector<std::string> listFolder(const std::string& path) {
    std::vector<std::string> names;
    for (const auto& e : fs::directory_iterator(path)) names.push_back(e.path().filename().string());
    return names;
}

bool decodePngRgba8(const std::string& path, int& width, int& height, std::vector<uint8_t>& rgba) {
    png_image image{};
    image.version = PNG_IMAGE_VERSION;
    if (!png_image_begin_read_from_file(&image, path.c_str())) return false;
    image.format = PNG_FORMAT_RGBA;
    width = static_cast<int>(image.width);
    height = static_cast<int>(image.height);
    rgba.assign(PNG_IMAGE_SIZE(image), 0);
    const bool ok = png_image_finish_read(&image, nullptr, rgba.data(), 0, nullptr) != 0;
    png_image_free(&image);
    return ok;
}

}  // namespace krocolor_test
