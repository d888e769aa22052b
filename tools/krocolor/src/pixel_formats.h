// The command line's own table of pixel formats: names users type (FFmpeg
// pix_fmt spelling), the library's numeric codes, and the memory layout the
// file readers, writers and the compare command need. One row per
// KROPixelFormat code; everything format-specific is read from here.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace krocolor {

// Where the pixels of a format live. krocolor reads and writes host frames;
// the other rows are listed so that `krocolor formats` covers every code.
enum class Memory : uint8_t { Host, GL, CUDA, D3D11 };

// How the colour pipeline reads the samples.
enum class ColorModel : uint8_t { RGB, YUV, CMYK, Bytes, Texture };

// One plane: its subsampling (as shifts) and how many samples are
// interleaved per sample position (3 for RGB24, 2 for the NV12 chroma plane).
struct PlaneLayout {
    uint8_t xShift;
    uint8_t yShift;
    uint8_t interleave;
};

// One component: the plane it lives in and its slot within the interleave.
struct ComponentLayout {
    char name;  // 'Y', 'U', 'V', 'R', 'G', 'B', 'A', 'C', 'M', 'K', 'I'
    uint8_t plane;
    uint8_t slot;
};

struct PixelFormatInfo {
    int code;
    const char* name;     // canonical (FFmpeg pix_fmt where one exists)
    const char* aliases;  // space-separated, may be empty
    Memory memory;
    ColorModel model;
    uint8_t planeCount;
    PlaneLayout planes[4];
    uint8_t componentCount;
    ComponentLayout components[4];
    uint8_t depth;           // significant bits per sample
    uint8_t bytesPerSample;  // 1 or 2
    bool bigEndian;
    uint8_t shift;         // sample stored shifted left by this (P010: 6)
    const char* y4mTag;    // YUV4MPEG2 C tag written for it, null if none
    const char* summary;   // one line for `krocolor formats`
};

const std::vector<PixelFormatInfo>& pixelFormats();

// Looks up a name, an alias or a decimal code; null when unknown.
const PixelFormatInfo* findPixelFormat(const std::string& nameOrCode);
const PixelFormatInfo* pixelFormatByCode(int code);

// Text such as "4:2:0", "4:4:4" or "-" for formats without chroma planes.
std::string subsamplingText(const PixelFormatInfo& f);

// Largest accepted frame side; larger sizes are refused before allocating.
constexpr int kMaxSide = 32768;

// Byte layout of one tightly packed frame (rows not padded), as FFmpeg's
// rawvideo and YUV4MPEG2 store it.
struct FrameGeometry {
    int width = 0;
    int height = 0;
    int planeCount = 0;
    int planeWidth[4] = {};   // sample positions per row
    int planeHeight[4] = {};  // rows
    int rowBytes[4] = {};
    size_t planeOffset[4] = {};
    size_t planeBytes[4] = {};
    size_t frameBytes = 0;
};

// False (with a reason) when the size is not positive, too large, or the
// byte count would not fit.
bool computeGeometry(const PixelFormatInfo& f, int width, int height, FrameGeometry& out,
                     std::string& why);

}  // namespace krocolor
