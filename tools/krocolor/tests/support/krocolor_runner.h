// Helpers of the end-to-end tests: run the built krocolor program, keep its
// exit status and both output streams, and handle scratch files.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace krocolor_test {

struct RunResult {
    int status = -1;  // exit status, or 128 + signal
    std::string out, err;
};

// Runs the krocolor binary with `args` in folder `cwd`.
RunResult runKrocolor(const std::vector<std::string>& args, const std::string& cwd);

// Runs a shell command, output discarded; returns its exit status.
int runShell(const std::string& command);
bool haveFfmpeg();

// A fresh folder under the system's temporary folder, removed afterwards.
class ScratchDir {
public:
    ScratchDir();
    ~ScratchDir();
    const std::string& path() const { return path_; }
    std::string operator/(const std::string& name) const { return path_ + "/" + name; }

private:
    std::string path_;
};

std::vector<uint8_t> readFile(const std::string& path);
void writeFile(const std::string& path, const std::vector<uint8_t>& bytes);
// Names in the folder (to see that no temporary file was left behind).
std::vector<std::string> listFolder(const std::string& path);

// Decodes an 8-bit PNG with libpng's simplified reader (independent of
// krocolor's own PNG code) into RGBA bytes.
bool decodePngRgba8(const std::string& path, int& width, int& height, std::vector<uint8_t>& rgba);

}  // namespace krocolor_test
