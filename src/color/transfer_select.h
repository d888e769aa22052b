// Which generic transfer curve a KROColorTransfer value selects. HLG (18) and
// PQ (16) are dispatched by the pipeline itself before these tables are asked.
#pragma once

#include <cstdint>

#include "color/pixel_kernels.h"

namespace KROCOLOR {

// A per-channel curve and the row loop built from the same inline function.
struct CurveChoice {
    float (*channel)(float);
    kernels::PixelStage row;
};

// Signal -> linear. Values without a curve of their own (LINEAR and PQ
// included) take the BT.709 curve. HLG (18) has no per-channel EOTF: its
// entry is the BT.709 curve and callers treat 18 before asking.
CurveChoice genericEotf(int32_t transfer);
// Linear -> signal. 18 gives the per-channel HLG OETF.
CurveChoice genericOetf(int32_t transfer);

}  // namespace KROCOLOR
