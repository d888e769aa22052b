// YUV4MPEG2: a text header line ("YUV4MPEG2 W.. H.. F.. C.. X..") followed by
// frames, each "FRAME" plus optional parameters and a newline, then the
// planes. The C tag names the sampling and depth (C420jpeg, C444p10, ...);
// XCOLORRANGE=FULL|LIMITED carries the range, as FFmpeg writes it.
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <sys/stat.h>
#include <vector>

#include "atomic_output.h"
#include "cli_error.h"
#include "file_handle.h"
#include "media_io.h"

namespace krocolor {
namespace {

constexpr size_t kMaxHeaderLine = 4096;

struct TagFormat {
    const char* tag;
    int code;
};
// C tags that read as one of the library's formats. The tags written are
// the y4mTag column of the format table.
const TagFormat kReadTags[] = {
    {"420jpeg", 104}, {"420paldv", 104}, {"420mpeg2", 104}, {"420", 104},   {"422", 105},
    {"444", 106},     {"411", 116},      {"420p10", 107},   {"422p10", 110}, {"444p10", 111},
    {"444p12", 112},  {"444p16", 113},
};

bool readLine(FILE* f, std::string& line) {
    line.clear();
    for (;;) {
        const int c = std::fgetc(f);
        if (c == EOF) return false;
        if (c == '\n') return true;
        if (line.size() >= kMaxHeaderLine) return false;
        line.push_back(static_cast<char>(c));
    }
}

std::vector<std::string> splitSpaces(const std::string& s) {
    std::vector<std::string> out;
    size_t i = 0;
    while (i < s.size()) {
        while (i < s.size() && s[i] == ' ') ++i;
        size_t j = i;
        while (j < s.size() && s[j] != ' ') ++j;
        if (j > i) out.push_back(s.substr(i, j - i));
        i = j;
    }
    return out;
}

bool parsePositive(const std::string& s, int& out) {
    if (s.empty() || s.size() > 6) return false;
    for (char c : s)
        if (c < '0' || c > '9') return false;
    out = std::stoi(s);
    return out > 0;
}

class Y4mReader : public FrameReader {
public:
    Y4mReader(const std::string& path, const InputHints& hints) : path_(path) {
        file_.reset(std::fopen(path.c_str(), "rb"));
        if (!file_) failure(path + ": cannot open: " + std::strerror(errno));
        std::string line;
        if (!readLine(file_.get(), line)) failure(path + ": YUV4MPEG2 header line is missing or too long");
        const auto tokens = splitSpaces(line);
        if (tokens.empty() || tokens[0] != "YUV4MPEG2") failure(path + ": not a YUV4MPEG2 file");
        std::string colorTag = "420jpeg";  // the format's default when C is absent
        int width = 0, height = 0;
        for (size_t i = 1; i < tokens.size(); ++i) {
            const std::string& t = tokens[i];
            const std::string value = t.substr(1);
            switch (t[0]) {
                case 'W':
                    if (!parsePositive(value, width)) failure(path + ": bad YUV4MPEG2 width '" + value + "'");
                    break;
                case 'H':
                    if (!parsePositive(value, height)) failure(path + ": bad YUV4MPEG2 height '" + value + "'");
                    break;
                case 'F': info_.frameRate = value; break;
                case 'C': colorTag = value; break;
                case 'X':
                    if (value == "COLORRANGE=FULL") info_.range = 2;
                    if (value == "COLORRANGE=LIMITED") info_.range = 1;
                    break;
                default: break;  // I (interlacing), A (aspect) and others do not change the samples
            }
        }
        if (width == 0 || height == 0) failure(path + ": YUV4MPEG2 header lacks W or H");
        const PixelFormatInfo* format = nullptr;
        for (const auto& t : kReadTags)
            if (colorTag == t.tag) format = pixelFormatByCode(t.code);
        if (!format) failure(path + ": YUV4MPEG2 colour space C" + colorTag + " has no krocolor pixel format");
        if (hints.format && hints.format != format)
            usageError(path + ": the file holds " + format->name + " (C" + colorTag + "); --in-format " +
                       hints.format->name + " does not fit it");
        if (hints.width > 0 && (hints.width != width || hints.height != height))
            usageError(path + ": the file holds " + std::to_string(width) + "x" + std::to_string(height) +
                       " frames; -s " + std::to_string(hints.width) + "x" + std::to_string(hints.height) +
                       " does not fit it");
        FrameGeometry g;
        std::string why;
        if (!computeGeometry(*format, width, height, g, why)) failure(path + ": " + why);
        info_.format = format;
        info_.width = width;
        info_.height = height;
        // Frame count for the progress bar, assuming bare "FRAME" lines.
        struct stat st {};
        if (fstat(fileno(file_.get()), &st) == 0 && S_ISREG(st.st_mode)) {
            const uint64_t body = static_cast<uint64_t>(st.st_size) - (line.size() + 1);
            info_.frameCount = static_cast<int64_t>(body / (g.frameBytes + 6));
        }
    }

    bool next(Image& frame) override {
        std::string line;
        if (!readLine(file_.get(), line)) {
            if (line.empty() && std::feof(file_.get())) return false;
            failure(path_ + ": truncated or malformed frame header of frame " + std::to_string(index_ + 1));
        }
        if (line.compare(0, 5, "FRAME") != 0 || (line.size() > 5 && line[5] != ' '))
            failure(path_ + ": expected FRAME at frame " + std::to_string(index_ + 1));
        const size_t got = std::fread(frame.data(), 1, frame.size(), file_.get());
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

class Y4mWriter : public FrameWriter {
public:
    Y4mWriter(const std::string& path, const OutputSpec& target) : out_(path) {
        std::string tag = target.format->y4mTag;
        std::string upper = tag;
        for (char& c : upper)
            if (c >= 'a' && c <= 'z') c = static_cast<char>(c - 'a' + 'A');
        std::string header = "YUV4MPEG2 W" + std::to_string(target.width) + " H" + std::to_string(target.height) + " F" +
                             target.frameRate + " Ip A1:1 C" + tag + " XYSCSS=" + upper;
        if (target.range == 2) header += " XCOLORRANGE=FULL";
        if (target.range == 1) header += " XCOLORRANGE=LIMITED";
        header += "\n";
        out_.write(header.data(), header.size());
    }
    void write(const Image& frame) override {
        out_.write("FRAME\n", 6);
        out_.write(frame.data(), frame.size());
    }
    void finish() override { out_.commit(); }

private:
    AtomicOutput out_;
};

}  // namespace

std::unique_ptr<FrameReader> openY4mReader(const std::string& path, const InputHints& hints) {
    return std::make_unique<Y4mReader>(path, hints);
}

std::unique_ptr<FrameWriter> openY4mWriter(const std::string& path, const OutputSpec& target) {
    return std::make_unique<Y4mWriter>(path, target);
}

}  // namespace krocolor
