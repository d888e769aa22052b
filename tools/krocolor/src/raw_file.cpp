// Raw frames: planes back to back, frames back to back, no header. The size
// and format come from the options, and the file must hold whole frames.
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <sys/stat.h>

#include "atomic_output.h"
#include "cli_error.h"
#include "file_handle.h"
#include "media_io.h"

namespace krocolor {
namespace {

class RawReader : public FrameReader {
public:
    RawReader(const std::string& path, const InputHints& hints) : path_(path) {
        if (!hints.format || hints.width <= 0 || hints.height <= 0)
            usageError(path + ": raw input needs its size (-s WxH) and format (--in-format)");
        FrameGeometry g;
        std::string why;
        if (!computeGeometry(*hints.format, hints.width, hints.height, g, why)) usageError(why);
        file_.reset(std::fopen(path.c_str(), "rb"));
        if (!file_) failure(path + ": cannot open: " + std::strerror(errno));
        struct stat st {};
        if (fstat(fileno(file_.get()), &st) == 0 && S_ISREG(st.st_mode)) {
            const auto bytes = static_cast<uint64_t>(st.st_size);
            if (bytes == 0 || bytes % g.frameBytes != 0)
                failure(path + ": " + std::to_string(bytes) + " bytes is not a whole number of " +
                        std::to_string(g.frameBytes) + "-byte frames (" + std::to_string(hints.width) + "x" +
                        std::to_string(hints.height) + " " + hints.format->name + ")");
            info_.frameCount = static_cast<int64_t>(bytes / g.frameBytes);
        }
        info_.format = hints.format;
        info_.width = hints.width;
        info_.height = hints.height;
    }

    bool next(Image& frame) override {
        const size_t got = std::fread(frame.data(), 1, frame.size(), file_.get());
        if (got == 0 && std::feof(file_.get())) return false;
        if (got != frame.size())
            failure(path_ + ": truncated frame " + std::to_string(index_ + 1) + " (" + std::to_string(got) + " of " +
                    std::to_string(frame.size()) + " bytes)");
        ++index_;
        return true;
    }

private:
    std::string path_;
    FileHandle file_;
    int64_t index_ = 0;
};

class RawWriter : public FrameWriter {
public:
    explicit RawWriter(const std::string& path) : out_(path) {}
    void write(const Image& frame) override { out_.write(frame.data(), frame.size()); }
    void finish() override { out_.commit(); }

private:
    AtomicOutput out_;
};

}  // namespace

std::unique_ptr<FrameReader> openRawReader(const std::string& path, const InputHints& hints) {
    return std::make_unique<RawReader>(path, hints);
}

std::unique_ptr<FrameWriter> openRawWriter(const std::string& path, const OutputSpec&) {
    return std::make_unique<RawWriter>(path);
}

}  // namespace krocolor
