// Records of the ICC profile engine: a parsed profile points into the
// caller's profile bytes (nothing is copied), so the bytes must outlive every
// use of the record. Curves and lookup tables keep their stored 8-bit or
// big-endian 16-bit entries and are scaled when evaluated.
#pragma once

#include <cstdint>

namespace KROCOLOR {

// y = s * (c*t + f) for t < d, otherwise s * ((a*t + b)^g + e), with
// s = sign(x), t = |x| (the ICC parametric curve, function type 4).
struct ICCTransferFunction {
    float g, a, b, c, d, e, f;
};

// A transfer function (tableEntries 0) or a table of tableEntries >= 2
// entries held by pointer: table8 (one byte each) or table16 (big-endian).
struct ICCCurve {
    uint32_t tableEntries;
    const uint8_t* table8;
    const uint8_t* table16;
    ICCTransferFunction parametric;
};

// One direction of a LUT-based profile ("mft1", "mft2", "mAB ", "mBA ").
// A2B: input curves are the A curves, output curves the B curves.
// B2A: input curves are the B curves, output curves the A curves.
// inputChannels 0 (A2B) means there is no A-curve/lookup stage;
// outputChannels 0 (B2A) means there is no lookup/A-curve stage.
struct ICCLut {
    uint32_t inputChannels;
    ICCCurve inputCurves[4];
    uint8_t gridPoints[4];
    const uint8_t* grid8;
    const uint8_t* grid16;
    uint32_t matrixChannels;  // 0 or 3
    float matrix[3][4];       // 3x3 plus an offset column
    ICCCurve matrixCurves[3];
    uint32_t outputChannels;
    ICCCurve outputCurves[4];
};

struct ICCProfile {
    const uint8_t* buffer;
    uint32_t size;  // declared size (header offset 0)
    uint32_t dataColorSpace;
    uint32_t pcs;
    uint32_t tagCount;
    ICCCurve trc[3];
    float toXYZD50[3][3];
    ICCLut A2B;
    ICCLut B2A;
    uint8_t cicp[4];  // primaries, transfer, matrix, full-range flag
    bool hasTRC;
    bool hasToXYZD50;
    bool hasA2B;
    bool hasB2A;
    bool hasCICP;
};

constexpr uint32_t iccSignature(char a, char b, char c, char d) {
    return (uint32_t(uint8_t(a)) << 24) | (uint32_t(uint8_t(b)) << 16) |
           (uint32_t(uint8_t(c)) << 8) | uint32_t(uint8_t(d));
}

constexpr uint32_t kICCSigRGB = iccSignature('R', 'G', 'B', ' ');
constexpr uint32_t kICCSigCMYK = iccSignature('C', 'M', 'Y', 'K');
constexpr uint32_t kICCSigGray = iccSignature('G', 'R', 'A', 'Y');
constexpr uint32_t kICCSigXYZ = iccSignature('X', 'Y', 'Z', ' ');
constexpr uint32_t kICCSigLab = iccSignature('L', 'a', 'b', ' ');

// Pixel layouts. The even values are those the library uses; the odd value
// after each is the same layout with red and blue swapped.
enum ICCPixelFormat : int32_t {
    kICCPixelFormatRGB888 = 10,
    kICCPixelFormatBGR888 = 11,
    kICCPixelFormatRGBA8888 = 12,
    kICCPixelFormatBGRA8888 = 13,
    kICCPixelFormatRGB161616LE = 18,
    kICCPixelFormatBGR161616LE = 19,
    kICCPixelFormatRGBA16161616LE = 20,
    kICCPixelFormatBGRA16161616LE = 21,
    kICCPixelFormatRGB161616BE = 22,
    kICCPixelFormatBGR161616BE = 23,
    kICCPixelFormatRGBA16161616BE = 24,
    kICCPixelFormatBGRA16161616BE = 25,
};

enum ICCAlphaFormat : int32_t {
    kICCAlphaOpaque = 0,           // alpha forced to 1 on loading
    kICCAlphaUnpremultiplied = 1,  // alpha carried unchanged
    kICCAlphaPremultiplied = 2,    // colour divided by alpha, multiplied back on storing
};

}  // namespace KROCOLOR
