// The values one pixel takes on its way through the colour pipeline.
#pragma once

#include <cstdint>

namespace KROCOLOR {

// Sample codes of one pixel as stored, after unpacking: bytes for 8-bit
// formats, 16-bit words otherwise (big-endian words already swapped, P010
// words already shifted down). Components are R, G, B, A for RGB formats
// (BGR reordered), Y, U, V, A for YUV formats, C, M, Y, K for CMYK.
struct NativePixel {
    uint16_t c[4];
};

// The working pixel: (c0, c1, c2) are Y, U, V or R, G, B; a is alpha.
struct Pixel {
    float c0, c1, c2, a;
};

// A 3x3 single-precision matrix, row-major: out_k = m[k][0] x0 + m[k][1] x1 + m[k][2] x2.
struct Matrix3 {
    float m[3][3];
};

}  // namespace KROCOLOR
