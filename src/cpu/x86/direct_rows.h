// Rows between 8-bit YUV frames and 8-bit packed RGB frames converted by the
// matrix alone (no curves, no primaries), straight from the source bytes to
// the destination bytes: the common video <-> RGB case without the stored
// pixel arrays the general colour pass goes through. They run exactly the
// single-precision operations of the inline kernels, in the same order, so
// the bytes are those of the general pass.
#pragma once

#include <cstdint>

#include "color/color_plan.h"
#include "color/row_isa.h"
#include "core/frame.h"

namespace KROCOLOR {

// Converts the leading whole vectors of row y (pixels 0 .. width - 1 of both
// frames) and returns how many pixels it did: a multiple of the lane count,
// the rest being left to the general pass.
using DirectRow = int (*)(const ColorPlan& plan, const KROFrame& src, KROFrame& dst, int y, int width);

// The direct row for this plan and pair of formats on `isa`, or null when
// there is none (other formats, curves or primaries, a deeper sample, the
// plain per-pixel loop).
DirectRow directRowFor(const ColorPlan& plan, int32_t srcFormat, int32_t dstFormat, RowIsa isa);

// One per instruction set, each built for that set only.
DirectRow directRowSse2(const ColorPlan& plan, int32_t srcFormat, int32_t dstFormat);
DirectRow directRowAvx2(const ColorPlan& plan, int32_t srcFormat, int32_t dstFormat);

}  // namespace KROCOLOR
