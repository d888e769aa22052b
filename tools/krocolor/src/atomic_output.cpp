#include "atomic_output.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

#include "cli_error.h"

namespace krocolor {

AtomicOutput::AtomicOutput(const std::string& path) : path_(path) {
    // The temporary name lives beside the target so that rename() stays on
    // one file system and replaces the target atomically.
    std::string pattern = path + ".tmp-XXXXXX";
    std::vector<char> name(pattern.begin(), pattern.end());
    name.push_back('\0');
    const int fd = mkstemp(name.data());
    if (fd < 0) failure(path + ": cannot create output: " + std::strerror(errno));
    temp_ = name.data();
    file_ = fdopen(fd, "wb");
    if (!file_) {
        const int err = errno;
        close(fd);
        std::remove(temp_.c_str());
        failure(path + ": cannot create output: " + std::strerror(err));
    }
}

AtomicOutput::~AtomicOutput() {
    if (file_) std::fclose(file_);
    if (!committed_) std::remove(temp_.c_str());
}

void AtomicOutput::write(const void* data, size_t size) {
    if (size != 0 && std::fwrite(data, 1, size, file_) != size)
        failure(path_ + ": write failed: " + std::strerror(errno));
}

void AtomicOutput::commit() {
    FILE* f = file_;
    file_ = nullptr;
    if (std::fflush(f) != 0 || std::ferror(f)) {
        const int err = errno;
        std::fclose(f);
        failure(path_ + ": write failed: " + std::strerror(err));
    }
    // mkstemp creates the file with mode 0600; give it the usual mode.
    const mode_t mask = umask(0);
    umask(mask);
    fchmod(fileno(f), 0666 & ~mask);
    if (std::fclose(f) != 0) failure(path_ + ": write failed: " + std::strerror(errno));
    if (std::rename(temp_.c_str(), path_.c_str()) != 0)
        failure(path_ + ": cannot rename the finished output: " + std::strerror(errno));
    committed_ = true;
}

}  // namespace krocolor
