// The colour mathematics every backend follows, as pure per-pixel functions.
// Nothing here allocates or fails; values without a rule of their own take
// the defaults of the tables in color_tables.h and transfer_curves.h.
#pragma once

#include <cstdint>

#include "api/pixel_format_table.h"
#include "color/pixel.h"

namespace KROCOLOR {

// The colour description of one side of a conversion.
struct ColorSide {
    const FormatTraits* format;  // a host row of the format table
    int32_t range;               // full only for kColorRangeJpeg
    int32_t primaries;
    int32_t transfer;
    int32_t matrix;
};

bool sameDescription(const ColorSide& a, const ColorSide& b);

Pixel normalise(const NativePixel& codes, const FormatTraits& format, int32_t range);
NativePixel quantise(const Pixel& p, const FormatTraits& format, int32_t range);

Pixel yuvToRgb(const Pixel& p, const FormatTraits& format, int32_t matrix);
Pixel rgbToYuv(const Pixel& p, const FormatTraits& format, int32_t matrix);

Pixel eotf(const Pixel& p, int32_t transfer);  // generic curves (not PQ, not HLG)
Pixel oetf(const Pixel& p, int32_t transfer);
Pixel HLG_EOTF(const Pixel& p);
Pixel HLG_OETF(const Pixel& p);
Pixel PQ_EOTF(const Pixel& p, int32_t sourcePeak, int32_t dstTransfer);
Pixel PQ_OETF(const Pixel& p, int32_t srcTransfer);

const Matrix3& primariesMatrix(int32_t srcPrimaries, int32_t dstPrimaries);

// The whole pipeline for one pixel.
NativePixel convertPixel(const NativePixel& codes, const ColorSide& src, const ColorSide& dst,
                         int32_t sourcePeak);

// The same pipeline with every per-frame decision (format rules, matrices,
// curves, primaries) taken once at construction; run() converts a run of
// pixels with exactly convertPixel's arithmetic.
class PixelPipeline {
public:
    PixelPipeline(const ColorSide& src, const ColorSide& dst, int32_t sourcePeak);
    void run(const NativePixel* in, NativePixel* out, int count) const;

private:
    struct Plan;
    const Plan* plan_;  // points into storage_
    alignas(16) unsigned char storage_[512];
};

}  // namespace KROCOLOR
