// The two whole-frame passes of the SIMD CPU convertor. Declared without any
// SIMD type so that the convertor itself needs no xsimd header; the passes
// live in their own translation units built for SSE2 (and AVX2).
#pragma once

#include <cstdint>

#include "core/frame.h"

namespace KROCOLOR {

// Converts src into dst (same width and height) through the colour pipeline,
// four or eight pixels of a row at a time (SSE2 or AVX2, chosen at run time,
// with the same bytes either way); the last (width mod 4) pixels of each row
// go through the scalar pipeline with the same arguments. `threaded` spreads
// the rows over a worker pool. Throws std::system_error when worker threads
// cannot start.
void xsimdColorPass(const KROFrame& src, KROFrame& dst, int32_t sourcePeak, bool threaded);

// Scales src into dst (both in dst's format) with the four-tap averaging
// filter of the scale kernel, four destination pixels at a time. Returns
// false when memory for the row buffers runs out; throws std::system_error
// when worker threads cannot start.
bool xsimdScalePass(const KROFrame& src, KROFrame& dst, bool threaded);

}  // namespace KROCOLOR
