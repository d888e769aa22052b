// The demo's built-in frame: an HDR test pattern in the manner of ITU-R
// BT.2111 for PQ, as 10-bit 4:2:0 limited-range Y'CbCr (yuv420p10le) with
// BT.2020 primaries, the PQ transfer (SMPTE ST 2084) and the BT.2020
// non-constant-luminance matrix.
//
// Bands from top to bottom: 100% colour bars; 58% bars (PQ signal 0.58 is
// about 203 cd/m2, the HDR reference white of BT.2408) with 40% grey sides;
// a 0-100% signal ramp; eleven 10% steps; and a bottom band on black with
// near-black patches (-2%, +2%, +4%), a peak-white patch and saturated
// BT.2020 primaries and secondaries at 58%.
#pragma once

#include "image.h"

namespace krocolor {

// Non-linear R'G'B' signal (0 = black, 1 = peak) of the pattern at (x, y).
struct Signal {
    double r, g, b;
};
Signal testPatternSignal(int x, int y, int width, int height);

// The pattern quantised as BT.2100 narrow-range 10-bit codes: Y' = 876 E + 64
// and Cb/Cr = 896 E + 512, kept within 4-1019; chroma is the mean of each
// 2x2 block's Cb and Cr. width and height must be even.
Image makeTestPattern(int width, int height);

}  // namespace krocolor
