// An output file that only appears under its final name when complete: the
// bytes go to a temporary file in the same folder, renamed over the target
// by commit(). Destroying it uncommitted removes the temporary file, so a
// failed run never leaves a half-written output behind.
#pragma once

#include <cstdio>
#include <string>

namespace krocolor {

class AtomicOutput {
public:
    explicit AtomicOutput(const std::string& path);  // throws CliError
    ~AtomicOutput();
    AtomicOutput(const AtomicOutput&) = delete;
    AtomicOutput& operator=(const AtomicOutput&) = delete;

    FILE* file() { return file_; }
    const std::string& path() const { return path_; }
    void write(const void* data, size_t size);  // throws CliError
    void commit();                              // throws CliError

private:
    std::string path_;
    std::string temp_;
    FILE* file_ = nullptr;
    bool committed_ = false;
};

}  // namespace krocolor
