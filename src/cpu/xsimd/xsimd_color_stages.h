// The colour stages of the SIMD pass (YUV<->RGB, decoding, primaries,
// encoding) and the mapping from a colour plan's stage and curve identifiers
// to them. Each is the scalar kernel of color/pixel_kernels.h in lane-wise
// form; the matrix blocks are shared with the fused stages.
#pragma once

#include "color/color_plan.h"
#include "cpu/xsimd/xsimd_vector.h"
#include "cpu/xsimd/xsimd_vector_plan.h"

namespace KROCOLOR {
namespace simd {
namespace KRO_SIMD_NS {

// ---- matrices --------------------------------------------------------------

inline void multiply(const Matrix3& m, VF c[4]) {
    const VF x0 = c[0], x1 = c[1], x2 = c[2];
    for (int k = 0; k < 3; ++k)
        c[k] = VF(m.m[k][0]) * x0 + VF(m.m[k][1]) * x1 + VF(m.m[k][2]) * x2;
}

[[gnu::always_inline]] inline void yuvToRgbBlock(const Matrix3& m, VF c[4]) {
    multiply(m, c);
    for (int k = 0; k < 3; ++k) c[k] = clamp01(c[k]);
    c[3] = VF(1.0f);
}

[[gnu::always_inline]] inline void rgbToYuvBlock(const Matrix3& m, VF c[4]) {
    multiply(m, c);
    c[0] = clamp01(c[0]);
    c[1] = clampTo(c[1], -0.5f, 0.5f);
    c[2] = clampTo(c[2], -0.5f, 0.5f);
    c[3] = VF(1.0f);
}

ColourStage toRgbStage(MatrixStage stage);
ColourStage toYuvStage(MatrixStage stage);
ColourStage primariesStage();
ColourStage decodeStage(Curve curve);
ColourStage encodeStage(Curve curve);

}  // namespace KRO_SIMD_NS
}  // namespace simd
}  // namespace KROCOLOR
