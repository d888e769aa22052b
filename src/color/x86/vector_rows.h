// The colour stages that run several pixels per instruction on x86. Each
// performs exactly the single-precision operations of the inline kernels of
// pixel_kernels.h, in the same order, with the same clamps and the same
// rounding, so their results are bit-identical to the per-pixel loop. One
// table per instruction set; each lives in its own translation unit,
// compiled for that instruction set only (no fused multiply-add).
#pragma once

#include "color/color_plan.h"
#include "color/pixel.h"
#include "color/pixel_block.h"

namespace KROCOLOR {

struct VectorRows {
    // Stored codes -> float codes; lanes from n up to the next whole vector
    // are set to 0 so that later stages may run whole vectors.
    void (*unpack)(const NativePixel* in, PixelBlock& b, int n);
    // Float codes -> working pixel, in place (kernels::normalise*).
    void (*normaliseRGB)(const FormatRule& r, PixelBlock& b, int n);
    void (*normaliseYUVLimited)(const FormatRule& r, PixelBlock& b, int n);
    void (*normaliseYUVFull)(const FormatRule& r, PixelBlock& b, int n);
    // kernels::yuvToRgbWith, rgbToYuvWith and multiply.
    void (*yuvToRgb)(const Matrix3& m, PixelBlock& b, int n);
    void (*rgbToYuv)(const Matrix3& m, PixelBlock& b, int n);
    void (*primaries)(const Matrix3& m, PixelBlock& b, int n);
    // Working pixel -> stored codes (kernels::quantise*).
    void (*quantiseRGB)(const FormatRule& r, const PixelBlock& b, NativePixel* out, int n);
    void (*quantiseYUVLimited)(const FormatRule& r, const PixelBlock& b, NativePixel* out, int n);
    void (*quantiseYUVFull)(const FormatRule& r, const PixelBlock& b, NativePixel* out, int n);
    // RGB whose c0..c2 already hold codes (encodeByThresholds); alpha as
    // quantiseRGB.
    void (*storeCodedRGB)(const FormatRule& r, const PixelBlock& b, NativePixel* out, int n);
};

const VectorRows& vectorRowsSse2();
const VectorRows& vectorRowsAvx2();

}  // namespace KROCOLOR
