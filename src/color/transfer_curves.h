// Per-channel transfer curves (signal <-> linear light) and the HLG and PQ
// building blocks, with the constants of color_constants.h. Every backend
// follows these formulas; the mix of single and double precision below is
// deliberate and part of the library's results:
//  - BT.709 / BT.601 / BT.2020 curves: threshold tests, affine parts and the
//    1/0.45 power in double, the 0.45 power in single precision;
//  - xvYCC: both powers in single precision, affine parts in double;
//  - every other curve: single precision throughout.
// Build with -ffp-contract=off: fused multiply-adds would change results.
#pragma once

#include <cmath>

#include "color/color_constants.h"

namespace KROCOLOR {
namespace curves {

// [0, 1] limit that also turns NaN (a negative base raised to a fractional
// power) into 0.
inline float clamp01(float v) { return v > 0.0f ? (v < 1.0f ? v : 1.0f) : 0.0f; }

// --- ITU-R BT.709 family: one formula, two sets of constants -----------------
// E = V < 4.5 beta ? V/4.5 : ((V + alpha - 1)/alpha)^(1/0.45), in double.
template <const double& Alpha, const double& Offset, const double& SignalThreshold>
inline float bt709TypeEotf(float x) {
    const double v = x;
    if (v < SignalThreshold) return static_cast<float>(v / kBT709Slope);
    return static_cast<float>(std::pow((v + Offset) / Alpha, kBT709EotfPower));
}
// V = L < beta ? 4.5 L : alpha L^0.45 - (alpha - 1); the power in single precision.
template <const double& Alpha, const double& Offset, const double& LinearThreshold>
inline float bt709TypeOetf(float x) {
    const double v = x;
    if (v < LinearThreshold) return static_cast<float>(kBT709Slope * v);
    return static_cast<float>(Alpha * static_cast<double>(std::pow(x, kBT709OetfPower)) - Offset);
}

inline float BT709_EOTF(float x) { return bt709TypeEotf<kBT709Alpha, kBT709Offset, kBT709SignalThreshold>(x); }
inline float BT709_OETF_unclamped(float x) {
    return bt709TypeOetf<kBT709Alpha, kBT709Offset, kBT709LinearThreshold>(x);
}
inline float BT709_OETF(float x) { return clamp01(BT709_OETF_unclamped(x)); }
// SMPTE 170M / BT.601 and BT.2020 10-bit use the same formulas, the OETF
// without the clamp.

// ITU-R BT.2020 12-bit system constants.
inline float BT2020_EOTF_12(float x) {
    return bt709TypeEotf<kBT2020_12Alpha, kBT2020_12Offset, kBT2020_12SignalThreshold>(x);
}
inline float BT2020_OETF_12(float x) {
    return bt709TypeOetf<kBT2020_12Alpha, kBT2020_12Offset, kBT2020_12LinearThreshold>(x);
}

// --- Pure power laws, single precision, clamped ----------------------------
inline float GAMMA22_EOTF(float x) { return clamp01(std::pow(x, kGamma22)); }
inline float GAMMA22_OETF(float x) { return clamp01(std::pow(x, kGamma22Inverse)); }
inline float GAMMA18_EOTF(float x) { return clamp01(std::pow(x, kGamma18)); }
inline float GAMMA18_OETF(float x) { return clamp01(std::pow(x, kGamma18Inverse)); }
inline float DCIP3_EOTF(float x) { return clamp01(std::pow(x, kGamma26)); }
inline float DCIP3_OETF(float x) { return clamp01(std::pow(x, kGamma26Inverse)); }

// --- IEC 61966-2-4 (xvYCC): the BT.709 curve mirrored for negative values --
inline float XVYCC_EOTF(float x) {
    const double v = x;
    if (v <= 0.0) return -std::pow(static_cast<float>(-v / kBT709Alpha), kBT709EotfPowerSingle);
    if (v < kBT709SignalThreshold) return static_cast<float>(v / kBT709Slope);
    return std::pow(static_cast<float>((v + kBT709Offset) / kBT709Alpha), kBT709EotfPowerSingle);
}
inline float XVYCC_OETF(float x) {
    const double v = x;
    if (v <= -kBT709LinearThreshold)
        return static_cast<float>(kBT709Offset - kBT709Alpha * static_cast<double>(std::pow(-x, kBT709OetfPower)));
    return BT709_OETF_unclamped(x);
}

// --- IEC 61966-2-1 (sRGB), single precision, clamped -----------------------
inline float sRGB_EOTF(float x) {
    return clamp01(x < kSRGBSignalThreshold ? x / kSRGBSlope
                                            : std::pow((x + kSRGBOffset) / kSRGBAlpha, kSRGBPower));
}
inline float sRGB_OETF(float x) {
    return clamp01(x < kSRGBLinearThreshold ? kSRGBSlope * x
                                            : kSRGBAlpha * std::pow(x, kSRGBInversePower) - kSRGBOffset);
}

// --- ARIB STD-B67 / ITU-R BT.2100 HLG, single precision --------------------
inline float HLG_OETF(float x) {
    return x > kHlgLinearThreshold ? kHlgA * std::log(12.0f * x - kHlgB) + kHlgC : std::sqrt(3.0f * x);
}
inline float HLGInverseOETF(float x) {
    return x > kHlgSignalThreshold ? (std::exp((x - kHlgC) / kHlgA) + kHlgB) / 12.0f : x * x / 3.0f;
}

// --- SMPTE ST 2084 (PQ), single precision ----------------------------------
// Signal -> linear light relative to 10000 cd/m2.
inline float PQ_EOTF_unscaled(float x) {
    const float f = std::pow(x, kPqInverseM2);
    const float num = f - kPqC1 > 0.0f ? f - kPqC1 : 0.0f;
    return std::pow(num / (kPqC2 - kPqC3 * f), kPqInverseM1);
}
// Linear light relative to 10000 cd/m2 -> signal, clamped.
inline float PQ_OETF_unscaled(float y) {
    const float f = std::pow(y, kPqM1);
    return clamp01(std::pow((kPqC1 + kPqC2 * f) / (1.0f + kPqC3 * f), kPqM2));
}

}  // namespace curves
}  // namespace KROCOLOR
