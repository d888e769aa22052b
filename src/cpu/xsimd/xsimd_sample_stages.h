// Readers, writers and fused stages of the SIMD pass, chosen by format and
// sample rule: vector gathers and scatters for the 8-bit formats that have
// block cursors, the scalar row accessors for every other format.
#pragma once

#include "cpu/xsimd/xsimd_vector.h"
#include "cpu/xsimd/xsimd_vector_plan.h"

namespace KROCOLOR {
namespace simd {
namespace KRO_SIMD_NS {

ReadStage chooseReader(int32_t format, SampleRule kind);
WriteStage chooseWriter(int32_t format, SampleRule kind);
// The one-pass stage of a plan without curves between 8-bit 4:2:0 YUV and
// packed RGBA or BGRA, or null.
FusedStage chooseFused(const ColorPlan& colour, int32_t srcFormat, int32_t dstFormat);

}  // namespace KRO_SIMD_NS
}  // namespace simd
}  // namespace KROCOLOR
