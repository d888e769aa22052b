// Reading and writing frames: raw files (no header), YUV4MPEG2 (.y4m) and
// PNG. Readers hand out one frame at a time so that long inputs stream
// through constant memory; writers finish into an AtomicOutput.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "image.h"

namespace krocolor {

enum class FileType { Raw, Y4M, PNG };
const char* fileTypeName(FileType type);

// What the caller knows about an input before opening it (from options).
struct InputHints {
    const PixelFormatInfo* format = nullptr;  // --in-format
    int width = 0, height = 0;                // -s WxH
};

struct StreamInfo {
    const PixelFormatInfo* format = nullptr;
    int width = 0, height = 0;
    int64_t frameCount = -1;  // -1 when not known in advance
    int range = -1;           // KROColorRange the file declares, -1 when none
    std::string frameRate = "25:1";
};

class FrameReader {
public:
    virtual ~FrameReader() = default;
    const StreamInfo& info() const { return info_; }
    // Fills `frame` (allocated by the caller with info()'s format and size)
    // and returns true, or returns false at the clean end of the input.
    // A truncated or malformed frame throws CliError.
    virtual bool next(Image& frame) = 0;

protected:
    StreamInfo info_;
};

// What a writer is asked to produce.
struct OutputSpec {
    const PixelFormatInfo* format = nullptr;
    int width = 0, height = 0;
    int range = 0;  // KROColorRange, for YUV4MPEG2's XCOLORRANGE
    std::string frameRate = "25:1";
};

class FrameWriter {
public:
    virtual ~FrameWriter() = default;
    virtual void write(const Image& frame) = 0;
    // Completes the file and moves it to its final name.
    virtual void finish() = 0;
};

// Input type from the file's first bytes (PNG signature, "YUV4MPEG2 "),
// otherwise raw. Output type from the extension (.png, .y4m, else raw).
FileType detectInputType(const std::string& path);
FileType outputTypeFor(const std::string& path);

// Whether `format` can be stored in a file of that type (raw takes every
// host format).
bool formatFitsFileType(const PixelFormatInfo& format, FileType type);
std::string formatsForFileType(FileType type);  // "rgb24, rgba, ..."

std::unique_ptr<FrameReader> openReader(const std::string& path, const InputHints& hints);
std::unique_ptr<FrameWriter> openWriter(const std::string& path, const OutputSpec& target);

// Individual readers and writers (used by openReader/openWriter).
std::unique_ptr<FrameReader> openRawReader(const std::string& path, const InputHints& hints);
std::unique_ptr<FrameReader> openY4mReader(const std::string& path, const InputHints& hints);
std::unique_ptr<FrameReader> openPngReader(const std::string& path, const InputHints& hints);
std::unique_ptr<FrameWriter> openRawWriter(const std::string& path, const OutputSpec& target);
std::unique_ptr<FrameWriter> openY4mWriter(const std::string& path, const OutputSpec& target);
std::unique_ptr<FrameWriter> openPngWriter(const std::string& path, const OutputSpec& target);

}  // namespace krocolor
