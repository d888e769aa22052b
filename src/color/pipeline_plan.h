// The per-frame decisions of the colour pipeline, in a form the per-pixel
// kernels read directly: what a format's samples mean and the constants that
// normalise and quantise them, the chosen tables and the PQ factors.
#pragma once

#include <cstdint>

#include "core/pixel_format_table.h"
#include "color/pixel.h"

namespace KROCOLOR {

// How stored codes of one format and range map to the working pixel.
enum class SampleRule : uint8_t {
    None,        // not a colour format: reads as zeros, never written
    RGB,         // packed RGB(A) of any depth
    CMYK,        // 8-bit CMYK, read and written through RGB
    YUVLimited,  // Y 16..235, chroma 16..240, scaled by 2^(d-8)
    YUVFull,     // Y 0..2^d-1, chroma centred on 2^(d-1)
};

struct FormatRule {
    SampleRule kind;
    bool hasAlpha;  // alpha is stored (RGBA, YUVA)
    float maxCode;  // 2^d - 1: full scale and upper code limit
    float scale;    // 2^(d-8): limited-range step per 8-bit code
    float half;     // 2^(d-1): full-range chroma zero
};

// The rule of one format (a row of the format table, may be null) and range.
// Full range only for kColorRangeJpeg; every other range value is limited.
FormatRule formatRule(const FormatTraits* format, int32_t range);

// Per-frame constants handed to every stage of a PixelPipeline.
struct PipelineParams {
    FormatRule src;
    FormatRule dst;
    const Matrix3* yuvToRgb;   // fixed YUV->RGB table (not for BT.2020 CL)
    const Matrix3* rgbToYuv;   // fixed RGB->YUV table (not for BT.2020 CL)
    const Matrix3* primaries;  // linear-light primaries matrix
    double pqRatio;            // PQ_EOTF scale of the destination transfer
    float pqScale;             // PQ_OETF input scale of the source transfer
};

}  // namespace KROCOLOR
