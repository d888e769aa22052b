// Dense tables of the costly transfer curves for the SIMD pass's fast plans
// (8-bit destinations): each curve is cut into segments, 2^k per octave of
// its input, and each segment holds a quadratic in the distance from the
// segment's start. The segment of a float is read from its exponent and top
// mantissa bits, so a lookup is a shift, one 16-byte load per lane, a
// transpose and two multiply-adds where the exact curve costs one or two
// exp/log pairs (xsimd_curves.h). The quadratics are
// fitted in double precision to the curve's formula; the largest error a
// table keeps is proved by xsimd_curve_tables_test over its whole domain.
#pragma once

#include <cstdint>
#include <vector>

namespace KROCOLOR {
namespace simd {

struct alignas(16) CurveSegment {
    float c[4];  // value = c[0] + d (c[1] + d c[2]), d = x - segment start; c[3] unused
};

struct CurveTable {
    float lo, hi;        // domain [lo, hi): powers of two
    int shift;           // 23 - k: float bits >> shift is the segment number
    int32_t first;       // the segment number of lo
    int32_t last;        // the last segment's index in `segments`
    bool zeroBelow;      // the curve is 0 below lo (else the caller decides)
    std::vector<CurveSegment> segments;
};

// SMPTE ST 2084 decoding, relative to 10000 cd/m2, on [2^-21, 2): below
// 2^-21 the curve is 0 (the signal is under c1^m2).
const CurveTable& pqEotfTable();
// The power branch of the BT.709 encoding, 1.099 x^0.45 - 0.099, on
// [2^-6, 2^6) (everything below 2^-6 takes the linear branch).
const CurveTable& bt709OetfPowerTable();
// The exponential branch of the inverse HLG OETF, (exp((x - c)/a) + b)/12,
// on [0.5, 2).
const CurveTable& hlgInverseOetfExpTable();
// The HLG OOTF gain Ys^(gamma - 1) on [2^-17, 2).
const CurveTable& hlgOotfTable();

}  // namespace simd
}  // namespace KROCOLOR
