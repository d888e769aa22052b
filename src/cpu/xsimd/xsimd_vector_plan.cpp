// The vector plan of one width: built for SSE2 here and for AVX2 by
// xsimd_avx2_stages.cpp, each into the namespace of its width.
#include "cpu/xsimd/xsimd_vector_plan.h"

#include "color/color_constants.h"
#include "cpu/xsimd/xsimd_vector.h"

#include "cpu/xsimd/xsimd_color_stages.h"
#include "cpu/xsimd/xsimd_sample_stages.h"

namespace KROCOLOR {
namespace simd {
namespace KRO_SIMD_NS {

VectorPlan makeVectorPlan(const ColorPlan& colour, int32_t srcFormat, int32_t dstFormat) {
    VectorPlan p{};
    p.colour = colour;
    p.reader = sampleAccessFor(srcFormat);
    p.writer = sampleAccessFor(dstFormat);
    p.read = chooseReader(srcFormat, colour.src.kind);
    p.write = chooseWriter(dstFormat, colour.dst.kind);
    if (colour.toRgb != MatrixStage::None) p.stages[p.stageCount++] = toRgbStage(colour.toRgb);
    if (colour.linearStages) {
        p.stages[p.stageCount++] = decodeStage(colour.decode);
        p.stages[p.stageCount++] = primariesStage();
        p.stages[p.stageCount++] = encodeStage(colour.encode);
    }
    if (colour.toYuv != MatrixStage::None) p.stages[p.stageCount++] = toYuvStage(colour.toYuv);
    p.fused = chooseFused(colour, srcFormat, dstFormat);
    // BT.2100 system gamma 1.2 + 0.42 log10(Lw / 1000), through xsimd's log10
    // like every other transcendental step of this convertor.
    p.hlgGamma = (VF(kHlgGammaBase) + VF(kHlgGammaSlope) * xsimd::log10(VF(kHlgPeakOverReference))).get(0);
    p.lanes = kLanes;
    return p;
}

}  // namespace KRO_SIMD_NS

}  // namespace simd
}  // namespace KROCOLOR
