#include "krocolor_runner.h"

#include <png.h>
#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>

extern char** environ;

namespace krocolor_test {

namespace fs = std::filesystem;

static std::string slurp(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

RunResult runKrocolor(const std::vector<std::string>& args, const std::string& cwd) {
    const std::string outPath = cwd + "/.stdout", errPath = cwd + "/.stderr";
    std::vector<std::string> argvStore;
    argvStore.push_back(KROCOLOR_BIN);
    argvStore.insert(argvStore.end(), args.begin(), args.end());
    std::vector<char*> argv;
    for (auto& a : argvStore) argv.push_back(a.data());
    argv.push_back(nullptr);

    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, 1, outPath.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
    posix_spawn_file_actions_addopen(&actions, 2, errPath.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
    // posix_spawn has no portable chdir action in glibc 2.36's POSIX set, so
    // change folder around the spawn (the tests run one at a time per process).
    const fs::path before = fs::current_path();
    fs::current_path(cwd);
    pid_t pid = 0;
    const int rc = posix_spawn(&pid, argvStore[0].c_str(), &actions, nullptr, argv.data(), environ);
    fs::current_path(before);
    posix_spawn_file_actions_destroy(&actions);
    RunResult result;
    if (rc != 0) throw std::runtime_error("cannot start " + argvStore[0]);
    int status = 0;
    waitpid(pid, &status, 0);
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
