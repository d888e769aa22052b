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
// smallest input whose code is at least k (k = 1 .. 255; NaN for a code no
// input reaches; t[0] is unused and t[256] NaN, an end mark). The code of x
// is the number of t[k] <= x. start[j] is that number for the smallest float
// whose bits, shifted right by 16, are j: the search for x in [0, 1) starts
// there and rarely has more than a step or two to go.
struct CodeThresholds {
    static constexpr int kStarts = 0x3F80;  // (bits of 1.0f) >> 16
    float t[257];
    uint8_t start[kStarts];
    int climb;  // the most thresholds between one start and the next
};

}  // namespace KROCOLOR
