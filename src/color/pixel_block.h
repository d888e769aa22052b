// A block of working pixels stored as one array per component, so that
// vector stages load eight (or four) values of one component at once.
#pragma once

#include <cstdint>

namespace KROCOLOR {

// Pixels per block; a multiple of every vector width used on it.
constexpr int kPixelBlock = 64;

struct PixelBlock {
    alignas(32) float c0[kPixelBlock];
    alignas(32) float c1[kPixelBlock];
    alignas(32) float c2[kPixelBlock];
    alignas(32) float a[kPixelBlock];
};

// For an 8-bit code quantised straight after a monotone curve: t[k] is the
// smallest input whose code is at least k (k = 1 .. 255; t[0] is unused and
// NaN for a code no input reaches). The code of x is the number of t[k] <= x.
struct CodeThresholds {
    alignas(32) float t[256];
};

}  // namespace KROCOLOR
