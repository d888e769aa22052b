// What the Direct3D 11 compute program computes, worked out in double
// precision from its documented formulas: the texture reads and writes, the
// program's own curve and primaries choices (PQ read as BT.709-coded, gamma
// 2.2 through the BT.601 pair, only eleven primaries pairs, alpha forced to 1
// by the primaries step) and the four-tap scaling mean. Textures are held as
// frames of their host twins (401 as 102, 402 as 120, 403 as 103, 404 as 108,
// 406 as 114), which is also how the tests upload and read them back.
#pragma once

#include <cstdint>

#include "support/frame_buffers.h"

namespace KROCOLOR {
namespace test {

struct ProgramDescription {
    int32_t format;  // 401-406
    int32_t range, primaries, transfer, matrix;
};

// The host twin of a texture format.
int32_t textureTwin(int32_t textureFormat);

// The colour pass: every pixel of `in` (a twin frame of src.format) into
// `out` (a twin frame of dst.format, same size).
void modelColorPass(const FrameBuffers& in, const ProgramDescription& src, FrameBuffers& out,
                    const ProgramDescription& dst);

// The scaling pass: `in` and `out` share format and range, sizes differ.
void modelScalePass(const FrameBuffers& in, FrameBuffers& out, int32_t format, int32_t range);

// Largest difference between two twin frames in codes of the texture format
// (10-bit codes for P010, whose words are compared as word * 1023 / 65535).
int largestTextureCodeDifference(const FrameBuffers& a, const FrameBuffers& b, int32_t textureFormat);

}  // namespace test
}  // namespace KROCOLOR
