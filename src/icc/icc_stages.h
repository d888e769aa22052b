// The stage functions of a conversion plan. Each works on the first `n`
// pixels of a block; their parameters come from the stage's StageData.
#pragma once

#include "icc/icc_transform.h"

namespace KROCOLOR {
namespace icc {

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

// Pixel loading and storing for a layout; null for layouts the engine lacks.
// `tabulated` loaders map the colour channels through d.tables (one float per
// input code) instead of scaling them, which fuses the first curve stage.
LoadFn selectLoader(const PixelLayout& layout, bool tabulated);
StoreFn selectStorer(const PixelLayout& layout);

}  // namespace icc
}  // namespace KROCOLOR
