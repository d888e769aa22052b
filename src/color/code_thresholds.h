// Exact shortcuts for transfer curves at 8-bit RGB ends of a conversion.
//
// Encoding: where an OETF is followed directly by 8-bit quantisation, the
// code of x equals the number of thresholds at or below x, provided the
// composition curve + quantisation is monotone non-decreasing over all
// floats. The thresholds are found once per process from the per-pixel
// functions themselves, by binary search over the ordered float bit
// patterns, so the shortcut gives exactly their codes. Only curves whose
// monotonicity is checked exhaustively by the test suite are offered.
//
// Decoding: an 8-bit RGB source gives a curve 256 possible inputs; their
// exact results form a table.
#pragma once

#include <cstdint>
#include <cstring>

#include "color/color_plan.h"
#include "color/pixel_block.h"

namespace KROCOLOR {

// The 8-bit code the per-pixel pipeline stores for x: the encode curve
// (pqScale applies to PQ only) followed by RGB quantisation.
uint16_t encodedCode8(Curve curve, float pqScale, float x);

// Whether the curve may be replaced by thresholds (HLG included: its OETF
// is per channel; the PQ scale is any of the plan's two values).
bool encodeHasThresholds(Curve curve);

// Thresholds for encodedCode8(curve, pqScale, .), computed on first use and
// kept for the process; null where encodeHasThresholds is false or the
// composition fails the checks made here (-0 and +0 must share a code, NaN
// must give code 0).
const CodeThresholds* codeThresholds8(Curve curve, float pqScale);

// The search itself: fills t and returns false where the checks above fail.
bool findCodeThresholds8(Curve curve, float pqScale, CodeThresholds& t);

// The code of x from the thresholds: the number of t.t[k] <= x. Inputs in
// [0, 1) start from t.start and climb a fixed few steps without branches;
// the rest are settled by two comparisons or a binary search.
inline int countThresholds(const CodeThresholds& t, float x) {
    uint32_t bits;
    std::memcpy(&bits, &x, sizeof bits);
    if (bits < uint32_t{CodeThresholds::kStarts} << 16) {
        int code = t.start[bits >> 16];
        for (int s = 0; s < t.climb; ++s) code += x >= t.t[code + 1] ? 1 : 0;  // t.t[256] is NaN
        return code;
    }
    if (!(x >= t.t[1])) return 0;  // below the first threshold, or NaN
    if (x >= t.t[255]) return 255;
    int code = 0;
    for (int step = 128; step >= 1; step >>= 1)
        if (x >= t.t[code + step]) code += step;
    return code;
}

// table[k] = the decode curve applied to the normalised 8-bit code k, as
// the per-pixel pipeline computes it. Not for HLG, which decodes the three
// channels together.
void buildDecodeTable8(Curve curve, double pqRatio, float table[256]);

}  // namespace KROCOLOR
