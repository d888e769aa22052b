// Curve evaluation and the inversions a destination profile needs: inverse
// transfer functions, inverse table curves and the inverse colorant matrix.
#pragma once

#include <vector>

#include "icc/icc_math.h"
#include "icc/icc_types.h"

namespace KROCOLOR {
namespace icc {

inline float tableEntry(const ICCCurve& curve, uint32_t i) {
    if (curve.table8) return curve.table8[i] * (1.0f / 255.0f);
    const uint8_t* p = curve.table16 + 2 * i;
    return static_cast<float>((p[0] << 8) | p[1]) * (1.0f / 65535.0f);
}

// Table curves clamp x to [0, 1] and interpolate linearly between the two
// neighbouring entries.
inline float evalCurve(const ICCCurve& curve, float x) {
    if (curve.tableEntries == 0) return evalTransferFunction(curve.parametric, x);
    if (!(x > 0.0f)) x = 0.0f;  // also NaN
    if (x > 1.0f) x = 1.0f;
    const float i = x * static_cast<float>(curve.tableEntries - 1);
    const uint32_t lo = static_cast<uint32_t>(i);
    const float t = i - static_cast<float>(lo);
    const uint32_t hi = t > 0.0f ? lo + 1 : lo;
    const float l = tableEntry(curve, lo);
    if (hi == lo) return l;
    const float h = tableEntry(curve, hi);
    return l + (h - l) * t;
}

constexpr ICCTransferFunction kIdentityTransferFunction{1.0f, 1.0f, 0.0f, 0.0f, 0.0f, 0.0f, 0.0f};

inline ICCCurve identityCurve() {
    ICCCurve c{};
    c.parametric = kIdentityTransferFunction;
    return c;
}

// A table that a line through its first entry reproduces within 1/(2n) over
// every entry, with slope exactly 1 and offset exactly 0, becomes the
// identity function (such tables are common padding in LUT-based profiles).
void replaceIdentityTable(ICCCurve& curve);

// Inverse of a valid transfer function whose two pieces meet within 1/512;
// the result maps f(1) to exactly 1. False when no valid inverse exists.
bool invertTransferFunction(const ICCTransferFunction& tf, ICCTransferFunction* inverse);

// Inverse of a table curve as a table of the same size and entry width,
// stored in `storage` (which `inverse` then points into).
void invertTableCurve(const ICCCurve& curve, std::vector<uint8_t>& storage, ICCCurve* inverse);

// Inverse of a 3x3 matrix by cofactors in double precision. False for a
// singular matrix or a result outside the single-precision range.
bool invertMatrix3x3(const float m[3][3], float inverse[3][3]);

}  // namespace icc
}  // namespace KROCOLOR
