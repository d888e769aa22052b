// The colour mathematics every backend follows, as pure per-pixel functions.
// Nothing here allocates or fails; enumeration values without a rule of their
// own take the defaults of color_tables.h and transfer_select.h. All functions
// are reentrant and the tables are constants, so any number of threads may
// call them at once.
#pragma once

#include <cstdint>

#include "core/pixel_format_table.h"
#include "color/pipeline_plan.h"
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

// Equal in format, range, primaries, transfer and matrix.
bool sameDescription(const ColorSide& a, const ColorSide& b);

// Stored codes (NativePixel convention of pixel.h) <-> working pixel.
// quantise returns codes limited to [0, 2^d - 1], rounded half away from
// zero; NaN components give code 0. For formats without stored alpha the
// alpha code is the full-scale value (RGB) or the opaque-rule value (YUV).
Pixel normalise(const NativePixel& codes, const FormatTraits& format, int32_t range);
NativePixel quantise(const Pixel& p, const FormatTraits& format, int32_t range);

// Identity for formats that are not YUV-class; otherwise clamped, alpha 1.
Pixel yuvToRgb(const Pixel& p, const FormatTraits& format, int32_t matrix);
Pixel rgbToYuv(const Pixel& p, const FormatTraits& format, int32_t matrix);

// Generic curves by KROColorTransfer value (18 selects the HLG pair; 16 and
// every value without a curve of its own take BT.709). Alpha is untouched
// except by HLG_EOTF, which sets it to 1.
Pixel eotf(const Pixel& p, int32_t transfer);
Pixel oetf(const Pixel& p, int32_t transfer);
Pixel HLG_EOTF(const Pixel& p);
Pixel HLG_OETF(const Pixel& p);
// PQ signal -> linear light times 10 (towards HLG), 10000 / sourcePeak
// (towards PQ, cd/m2) or 20 (towards anything else); not clamped.
Pixel PQ_EOTF(const Pixel& p, int32_t sourcePeak, int32_t dstTransfer);
// Linear light times 0.1 (from HLG or PQ) or 0.05 (otherwise) -> PQ signal.
Pixel PQ_OETF(const Pixel& p, int32_t srcTransfer);

// Linear-light primaries matrix for a pair; the identity for pairs without
// a table. Never null; the reference is to a constant.
const Matrix3& primariesMatrix(int32_t srcPrimaries, int32_t dstPrimaries);

// The whole pipeline for one pixel. sourcePeak is in cd/m2 (default 10000)
// and matters only when both transfers are PQ.
NativePixel convertPixel(const NativePixel& codes, const ColorSide& src, const ColorSide& dst,
                         int32_t sourcePeak);

// The same pipeline with every per-frame decision (format rules, matrices,
// curves, primaries, PQ factors) taken once at construction; run() converts
// a run of pixels with exactly convertPixel's arithmetic. Construction is
// cheap and allocates nothing; run() is const and may be called from many
// threads at once.
class PixelPipeline {
public:
    PixelPipeline(const ColorSide& src, const ColorSide& dst, int32_t sourcePeak);
    // in and out may be the same array.
    void run(const NativePixel* in, NativePixel* out, int count) const;

    using ReadStage = void (*)(const PipelineParams&, const NativePixel*, Pixel*, int);
    using PixelStage = void (*)(const PipelineParams&, Pixel*, int);
    using WriteStage = void (*)(const PipelineParams&, const Pixel*, NativePixel*, int);

private:
    static constexpr int kMaxStages = 5;  // YUV->RGB, EOTF, primaries, OETF, RGB->YUV
    PipelineParams params_;
    ReadStage read_;
    PixelStage stages_[kMaxStages];
    int stageCount_;
    WriteStage write_;
};

}  // namespace KROCOLOR
