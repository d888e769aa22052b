// What the format sweeps walk over: the host formats the CPU kernels address,
// the awkward frame sizes where plane ends, chroma rounding and vector tails
// meet, the guard placement that alternates between cases, and the shape of
// a colour case.
#pragma once

#include <cstdint>
#include <vector>

#include "core/pixel_format_table.h"
#include "support/frame_buffers.h"

namespace KROCOLOR {
namespace test {

// 101-120 and 124-126.
inline std::vector<int32_t> cpuFormats() {
    std::vector<int32_t> formats;
    for (int32_t f = 101; f <= 126; ++f)
        if (isCpuAddressable(formatTraits(f))) formats.push_back(f);
    return formats;
}

struct FrameSize {
    int width, height;
};

// Single pixels, single rows and columns, odd chroma, a 16-byte row and its
// neighbours on either side, a frame just big enough for the worker pool.
constexpr FrameSize kAwkwardSizes[] = {{1, 1},  {2, 2},   {3, 3},  {15, 7},
                                       {16, 8}, {17, 13}, {33, 1}, {1, 33}};

// A conversion between two colour descriptions, with the source peak
// luminance ("src_max_luminance"; 0 for none).
struct DescriptionPair {
    const char* name;
    Description src, dst;
    int32_t peak;
};

// Case i touches the guard page with its end when i is even, with its start
// when i is odd.
inline Placement guardPlacement(unsigned i) {
    return i % 2 ? Placement::StartAfterGuard : Placement::EndAtGuard;
}

}  // namespace test
}  // namespace KROCOLOR
