// The scalar functions of each transfer curve of a colour plan: the
// per-channel function and the row loops (an array of pixels, a block held
// one array per component) built from the same inline function.
// Which curve a transfer value selects is the plan's decision (color_plan.h).
#pragma once

#include "color/color_plan.h"
#include "color/pixel_kernels.h"

namespace KROCOLOR {

struct CurveChoice {
    float (*channel)(float);
    kernels::PixelStage row;
    kernels::BlockCurve block;
};

// Signal -> linear. HLG has no per-channel EOTF and PQ needs the plan's
// ratio: callers treat both before asking (their entry is the BT.709 curve).
CurveChoice eotfFunctions(Curve curve);
// Linear -> signal. PQ needs the plan's scale: callers treat it before
// asking (its entry is the BT.709 curve).
CurveChoice oetfFunctions(Curve curve);

}  // namespace KROCOLOR
