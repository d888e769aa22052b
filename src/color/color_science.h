// The colour mathematics every backend follows, as pure per-pixel functions.
// Nothing here allocates or fails; enumeration values without a rule of their
// own take the defaults of color_plan.h. All functions are reentrant and the
// tables are constants, so any number of threads may call them at once.
#pragma once

#include <cstdint>

#include "color/color_plan.h"
#include "color/pixel.h"
#include "core/pixel_format_table.h"
#include "color/pixel_pipeline.h"

namespace KROCOLOR {

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

// The whole pipeline for one pixel: makeColorPlan, then the plan carried out
// one stage after the other. sourcePeak is in cd/m2 (default 10000) and
// matters only when both transfers are PQ.
NativePixel convertPixel(const NativePixel& codes, const ColorSide& src, const ColorSide& dst,
                         int32_t sourcePeak);

}  // namespace KROCOLOR
