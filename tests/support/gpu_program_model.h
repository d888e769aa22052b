// What the GPU programs (CUDA kernels, Direct3D 11 compute program, OpenGL ES
// render pass) compute, worked out in double precision from their documented
// formulas. One colour pipeline; a program switch selects where they differ:
// the curve each transfer gets, the primaries pairs with a table, the clamp
// and alpha after the primaries step, how samples are read and rounded, and
// how a frame is scaled. Frames are host twins of the device formats.
#pragma once

#include <array>
#include <cstdint>

#include "color/color_constants.h"
#include "support/frame_buffers.h"

namespace KROCOLOR {
namespace test {

enum class GpuProgram { Cuda, D3D11, Gles };

struct Colour {
    int32_t primaries, transfer, matrix = 0, range = 0;  // curve and primaries cases name only the first two
};

using Rgba = std::array<double, 4>;

// Signal to light with the source curve (the render pass scales PQ light by
// the source peak `peak` in cd/m2 and the destination's transfer).
Rgba decodeLight(GpuProgram g, Rgba p, const Colour& s, const Colour& d, double peak);
// The table of a primaries pair; kIdentity for pairs the program lacks.
const Matrix3& primariesTable(GpuProgram g, int32_t s, int32_t d);
// Light to signal with the destination curve.
Rgba encodeLight(GpuProgram g, Rgba p, const Colour& s, const Colour& d);

// The colour pass over whole frames of equal size (twins of the device
// formats), then, where the sizes differ, the program's scaling in the
// destination format.
void modelConversion(GpuProgram g, const FrameBuffers& in, const Colour& s, FrameBuffers& out, const Colour& d);

}  // namespace test
}  // namespace KROCOLOR
