// The stage functions of a conversion plan. Each works on the first `n`
// pixels of a block; their parameters come from the stage's StageData.
#pragma once

#include "icc/icc_transform.h"

namespace KROCOLOR {
namespace icc {

// x > 0 ? min(x, 1) : 0; NaN becomes 0.
inline float clampUnit(float x) { return x > 0.0f ? (x < 1.0f ? x : 1.0f) : 0.0f; }

// The integer code of a value: clamped, scaled and rounded half up.
inline uint32_t quantise(float v, float maxCode) {
    return static_cast<uint32_t>(clampUnit(v) * maxCode + 0.5f);
}

// One pixel through a 3x3 matrix plus offsets, summed left to right.
inline void applyMatrix(const float m[3][4], float& r, float& g, float& b) {
    const float x = r, y = g, z = b;
    r = m[0][0] * x + m[0][1] * y + m[0][2] * z + m[0][3];
    g = m[1][0] * x + m[1][1] * y + m[1][2] * z + m[1][3];
    b = m[2][0] * x + m[2][1] * y + m[2][2] * z + m[2][3];
}

void stageCurves(const StageData& d, PixelBlock& b, int n);             // any curves
void stageTransferFunctions(const StageData& d, PixelBlock& b, int n);  // parametric only
void stageClamp(const StageData& d, PixelBlock& b, int n);              // first d.channels to [0, 1]
void stageMatrix(const StageData& d, PixelBlock& b, int n);             // 3x3 plus offsets
void stageClut(const StageData& d, PixelBlock& b, int n);               // multilinear lookup
void stageLabToXYZ(const StageData& d, PixelBlock& b, int n);
void stageXYZToLab(const StageData& d, PixelBlock& b, int n);
void stageInvert(const StageData& d, PixelBlock& b, int n);  // all four channels: 1 - v
void stageAlphaOne(const StageData& d, PixelBlock& b, int n);
void stageUnpremultiply(const StageData& d, PixelBlock& b, int n);
void stagePremultiply(const StageData& d, PixelBlock& b, int n);

// Vectorised stages, bit for bit the results of stageTransferFunctions,
// stageMatrix and stageClamp, and a quantiser giving quantise() of the first
// `channels` planes. The widest instruction set the processor has is chosen
// (AVX2 only when allowed); `lanes` says how many values go at once.
VectorStages vectorStages(bool allowAVX2 = true);

// Pixel loading and storing for a layout; null for layouts the engine lacks.
// `tabulated` loaders map the colour channels through d.tables (one float per
// input code) instead of scaling them, which fuses the first curve stage.
// `batched` storers quantise a whole block with the given QuantiseFn first.
LoadFn selectLoader(const PixelLayout& layout, bool tabulated);
StoreFn selectStorer(const PixelLayout& layout, bool batched);

}  // namespace icc
}  // namespace KROCOLOR
