// Host-side copies of the two constant buffers of the compute program
// (color_transfer_cs.hlsl). The program packs twelve and eight 32-bit
// integers without gaps; the asserts keep these structs byte for byte in
// step with it, since nothing else ties the two declarations together.
#pragma once

#include <cstddef>
#include <cstdint>

namespace KROCOLOR {

// CS_COLROTRANSFER_BUFFER, register b0: the colour pass.
struct ColorTransferConstants {
    int32_t src_format;
    int32_t src_color_range;
    int32_t src_color_primaries;
    int32_t src_color_transfer;
    int32_t src_color_matrix;
    int32_t dst_format;
    int32_t dst_color_range;
    int32_t dst_color_primaries;
    int32_t dst_color_transfer;
    int32_t dst_color_matrix;
    int32_t width;
    int32_t height;
};

// CS_SCALING_BUFFER, register b1: the scaling pass.
struct ScalingConstants {
    int32_t s_format;
    int32_t s_color_range;
    int32_t d_format;
    int32_t d_color_range;
    int32_t src_width;
    int32_t src_height;
    int32_t dst_width;
    int32_t dst_height;
};

// Constant buffers are sized in whole 16-byte registers.
static_assert(sizeof(ColorTransferConstants) == 48, "b0 is three 16-byte registers");
static_assert(sizeof(ColorTransferConstants) % 16 == 0, "constant buffers are multiples of 16 bytes");
static_assert(offsetof(ColorTransferConstants, src_format) == 0, "b0 layout");
static_assert(offsetof(ColorTransferConstants, src_color_range) == 4, "b0 layout");
static_assert(offsetof(ColorTransferConstants, src_color_primaries) == 8, "b0 layout");
static_assert(offsetof(ColorTransferConstants, src_color_transfer) == 12, "b0 layout");
static_assert(offsetof(ColorTransferConstants, src_color_matrix) == 16, "b0 layout");
static_assert(offsetof(ColorTransferConstants, dst_format) == 20, "b0 layout");
static_assert(offsetof(ColorTransferConstants, dst_color_range) == 24, "b0 layout");
static_assert(offsetof(ColorTransferConstants, dst_color_primaries) == 28, "b0 layout");
static_assert(offsetof(ColorTransferConstants, dst_color_transfer) == 32, "b0 layout");
static_assert(offsetof(ColorTransferConstants, dst_color_matrix) == 36, "b0 layout");
static_assert(offsetof(ColorTransferConstants, width) == 40, "b0 layout");
static_assert(offsetof(ColorTransferConstants, height) == 44, "b0 layout");

static_assert(sizeof(ScalingConstants) == 32, "b1 is two 16-byte registers");
static_assert(offsetof(ScalingConstants, s_format) == 0, "b1 layout");
static_assert(offsetof(ScalingConstants, s_color_range) == 4, "b1 layout");
static_assert(offsetof(ScalingConstants, d_format) == 8, "b1 layout");
static_assert(offsetof(ScalingConstants, d_color_range) == 12, "b1 layout");
static_assert(offsetof(ScalingConstants, src_width) == 16, "b1 layout");
static_assert(offsetof(ScalingConstants, src_height) == 20, "b1 layout");
static_assert(offsetof(ScalingConstants, dst_width) == 24, "b1 layout");
static_assert(offsetof(ScalingConstants, dst_height) == 28, "b1 layout");

// Thread-group size of both entry points ([numthreads(32, 16, 1)]).
constexpr int kThreadGroupWidth = 32;
constexpr int kThreadGroupHeight = 16;

}  // namespace KROCOLOR
