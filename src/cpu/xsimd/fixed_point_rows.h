// Integer rows for the SIMD convertor's commonest conversions: 4:2:0 YUV
// (NV12, YUV420P, P010, YUV420P10) to and from 8-bit RGBA or BGRA when the
// colour plan applies one fixed matrix and nothing else (any range, any
// matrix with a fixed table).
// They replace the float pass for such frames; results stay within one code
// of the per-pixel pipeline.
#pragma once

#include <cstdint>

#include "color/color_plan.h"
#include "core/frame.h"
#include "cpu/xsimd/fixed_point_plan.h"

namespace KROCOLOR {
namespace fixedpoint {

// The plan of a conversion from srcFormat to dstFormat under `colour`, with
// the row of the processor's instruction set (color/row_isa.h); false when
// the rows do not serve it.
bool makeFixedPointPlan(const ColorPlan& colour, int32_t srcFormat, int32_t dstFormat, FixedPointPlan& plan);

// Rows per instruction set (fixed_point_rows_sse2.cpp, _avx2.cpp).
FixedRow fixedRowSse2(int32_t yuvFormat, bool toRgb);
FixedRow fixedRowAvx2(int32_t yuvFormat, bool toRgb);

}  // namespace fixedpoint

// Converts src into dst (same size) with the fixed-point rows when they
// serve the plan, spreading the rows over a worker pool when `threaded`.
// Returns false, having touched nothing, when they do not.
bool fixedPointColorPass(const ColorPlan& colour, const KROFrame& src, KROFrame& dst, bool threaded);

}  // namespace KROCOLOR
