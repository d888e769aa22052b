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

// The search itself, for tests: fills t and returns false where the checks
// above fail.
bool findCodeThresholds8(Curve curve, float pqScale, CodeThresholds& t);

// table[k] = the decode curve applied to the normalised 8-bit code k, as
// the per-pixel pipeline computes it. Not for HLG, which decodes the three
// channels together.
void buildDecodeTable8(Curve curve, double pqRatio, float table[256]);

}  // namespace KROCOLOR
