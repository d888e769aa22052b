// Integer coefficients of a YUV <-> 8-bit RGB conversion that applies a
// matrix and nothing else (no curve, no primaries change): the float
// pipeline's normalise, matrix, clamp and quantise steps folded into one
// multiply-add per term, in 13 fractional bits (15 towards 8-bit YUV). The
// coefficients are taken from the colour plan's matrix by value once per
// frame, so every matrix and range the plan can hold is served by the same
// rows.
//
// Accuracy: each coefficient is within 2^-14 of its exact value, so with
// inputs of at most 1023 (10-bit) the sum of three terms is within 0.2 of
// the float pipeline's value before rounding (0.05 at 8 bits); every output
// is therefore within one code of the per-pixel pipeline.
#pragma once

#include <cstdint>

#include "core/frame.h"

namespace KROCOLOR {
namespace fixedpoint {

constexpr int kFractionBits = 13;
constexpr int32_t kHalf = 1 << (kFractionBits - 1);

// The 16-bit form of 8-bit YUV -> RGB: luma codes shifted up by 7 bits,
// chroma codes by 8 (full-range half codes by 7, the same scale), the high
// 16 bits of each product with the narrow coefficients (14 fractional bits
// for luma, 13 for chroma) kept, sums in 1/32 code. Each product is truncated (up to
// 1/32 code low), so the rounding constant adds 1/32 on top of the half
// code; with the coefficient error the result stays within 0.1 code of the
// exact value.
constexpr int kNarrowLumaUp = 7;
constexpr int kNarrowChromaUp = 8;
constexpr int kNarrowBits = 5;
constexpr int kNarrowRound = (1 << (kNarrowBits - 1)) + 1;

struct FixedPointPlan;
// Converts row y of src into row y of dst (same width).
using FixedRow = void (*)(const FixedPointPlan&, const KROFrame& src, KROFrame& dst, int y);

struct FixedPointPlan {
    // YUV -> RGB. Y' = clamp(Y - yOffset, 0, yMax); C' = clamp((C << chromaShift)
    // - chromaOffset, chromaLo, chromaHi) for U and V; the byte at position p of
    // the pixel is (fromY[p] Y' + fromU[p] U' + fromV[p] V' + kHalf) >> 13,
    // saturated to 0..255; position 3 (alpha) is 255.
    int16_t yOffset, yMax, chromaShift, chromaOffset, chromaLo, chromaHi;
    int16_t fromY[3], fromU[3], fromV[3];
    int16_t narrowY[3], narrowU[3], narrowV[3];  // 8-bit samples: the 16-bit form above
    // RGB -> YUV. Component j (Y, U, V) is (sum over positions p of
    // toYuv[j][p] * byte[p] + bias[j]) >> toYuvBits, limited to lo[j] ..
    // hi[j], in the codes of the YUV format's depth.
    int16_t toYuvBits;
    int16_t toYuv[3][3];
    int32_t bias[3];
    int16_t lo[3], hi[3];

    FixedRow row;
};

// ---- the scalar form, used for the tail of a row past the last vector ------

static inline int32_t clampInt(int32_t v, int32_t lo, int32_t hi) { return v < lo ? lo : v > hi ? hi : v; }

// Y, U, V codes (at most the format's maximum) -> the three colour bytes of
// a pixel, in stored order.
static inline void fixedYuvToRgb(const FixedPointPlan& p, int y, int u, int v, uint8_t* out) {
    const int32_t yy = clampInt(y - p.yOffset, 0, p.yMax);
    const int32_t uc = clampInt((u << p.chromaShift) - p.chromaOffset, p.chromaLo, p.chromaHi);
    const int32_t vc = clampInt((v << p.chromaShift) - p.chromaOffset, p.chromaLo, p.chromaHi);
    for (int k = 0; k < 3; ++k) {
        const int32_t s = (p.fromY[k] * yy + p.fromU[k] * uc + p.fromV[k] * vc + kHalf) >> kFractionBits;
        out[k] = static_cast<uint8_t>(clampInt(s, 0, 255));
    }
}

// Component j (0 Y, 1 U, 2 V) of the pixel whose bytes start at px.
static inline int fixedRgbToYuv(const FixedPointPlan& p, const uint8_t* px, int j) {
    const int32_t s = p.toYuv[j][0] * px[0] + p.toYuv[j][1] * px[1] + p.toYuv[j][2] * px[2] + p.bias[j];
    return clampInt(s >> p.toYuvBits, p.lo[j], p.hi[j]);
}

}  // namespace fixedpoint
}  // namespace KROCOLOR
