// The transfer curves of color/transfer_curves.h on float32 lanes. Same
// constants (color/color_constants.h), thresholds and clamps; both branches of a piecewise curve are
// computed and merged lane by lane with select. Powers are xsimd::pow on
// float32 (exp of y times log x), so results can differ from the scalar
// powf/pow in the last bits, and the steps the scalar curves take in double
// precision are taken in single precision here. Threshold tests the scalar
// curves make in double precision use the float threshold that splits every
// float input exactly as the double comparison does.
#pragma once

#include <cmath>

#include "color/color_constants.h"
#include "cpu/xsimd/xsimd_vector.h"

namespace KROCOLOR {
namespace simd {
namespace KRO_SIMD_NS {

// The float f with (x < f) == ((double)x < t) for every float x: the
// smallest float not below t.
inline float floatBelowTest(double t) {
    float f = static_cast<float>(t);
    if (static_cast<double>(f) < t) f = std::nextafter(f, INFINITY);
    return f;
}
// The float g with (x <= g) == ((double)x <= t): the largest float not above t.
inline float floatAtMostTest(double t) {
    float g = static_cast<float>(t);
    if (static_cast<double>(g) > t) g = std::nextafter(g, -INFINITY);
    return g;
}

struct CurveThresholds {
    float bt709Eotf = floatBelowTest(kBT709SignalThreshold);
    float bt709Oetf = floatBelowTest(kBT709LinearThreshold);
    float bt2020_12Eotf = floatBelowTest(kBT2020_12SignalThreshold);
    float bt2020_12Oetf = floatBelowTest(kBT2020_12LinearThreshold);
    float xvyccNegative = floatAtMostTest(-kBT709LinearThreshold);
};

// The double-precision constants of the BT.709 family as float32 lanes (each
// converts exactly to the float literal of the same decimal).
inline VF single(double v) { return VF(static_cast<float>(v)); }
inline const CurveThresholds& thresholds() {
    static const CurveThresholds t;
    return t;
}

// x^e as exp(e log x) with xsimd's polynomial kernels. The exponents here are
// constants that are never integers, so xsimd::pow's sign handling for
// negative bases with integer exponents is not needed: a negative base gives
// NaN from the logarithm (as powf does), and 0 gives exp(-inf) = 0 for e > 0.
inline VF pow(const VF& x, float e) { return xsimd::exp(VF(e) * xsimd::log(x)); }

// ITU-R BT.709 / BT.601 / BT.2020 10-bit: V < 0.081 ? V/4.5 : ((V + 0.099)/1.099)^(1/0.45).
inline VF bt709Eotf(const VF& x) {
    const VF lin = x / single(kBT709Slope);
    const VF pw = pow((x + single(kBT709Offset)) / single(kBT709Alpha), kBT709EotfPowerSingle);
    return xsimd::select(x < VF(thresholds().bt709Eotf), lin, pw);
}
// L < 0.018 ? 4.5 L : 1.099 L^0.45 - 0.099, not clamped.
inline VF bt709OetfUnclamped(const VF& x) {
    const VF lin = single(kBT709Slope) * x;
    const VF pw = single(kBT709Alpha) * pow(x, kBT709OetfPower) - single(kBT709Offset);
    return xsimd::select(x < VF(thresholds().bt709Oetf), lin, pw);
}
inline VF bt709Oetf(const VF& x) { return clamp01(bt709OetfUnclamped(x)); }

// ITU-R BT.2020 12-bit constants (alpha = 1.0993, beta = 0.0181).
inline VF bt2020_12Eotf(const VF& x) {
    const VF lin = x / single(kBT709Slope);
    const VF pw = pow((x + single(kBT2020_12Offset)) / single(kBT2020_12Alpha), kBT709EotfPowerSingle);
    return xsimd::select(x < VF(thresholds().bt2020_12Eotf), lin, pw);
}
inline VF bt2020_12Oetf(const VF& x) {
    const VF lin = single(kBT709Slope) * x;
    const VF pw = single(kBT2020_12Alpha) * pow(x, kBT709OetfPower) - single(kBT2020_12Offset);
    return xsimd::select(x < VF(thresholds().bt2020_12Oetf), lin, pw);
}

// Pure power laws, clamped (a negative base gives NaN, which the clamp zeroes).
inline VF gamma22Eotf(const VF& x) { return clamp01(pow(x, kGamma22)); }
inline VF gamma22Oetf(const VF& x) { return clamp01(pow(x, kGamma22Inverse)); }
inline VF gamma18Eotf(const VF& x) { return clamp01(pow(x, kGamma18)); }
inline VF gamma18Oetf(const VF& x) { return clamp01(pow(x, kGamma18Inverse)); }
inline VF dcip3Eotf(const VF& x) { return clamp01(pow(x, kGamma26)); }
inline VF dcip3Oetf(const VF& x) { return clamp01(pow(x, kGamma26Inverse)); }

// IEC 61966-2-4 (xvYCC): the BT.709 curve mirrored for negative values.
inline VF xvyccEotf(const VF& x) {
    const VF neg = -pow(-x / single(kBT709Alpha), kBT709EotfPowerSingle);
    return xsimd::select(x <= VF(0.0f), neg, bt709Eotf(x));
}
inline VF xvyccOetf(const VF& x) {
    const VF neg = single(kBT709Offset) - single(kBT709Alpha) * pow(-x, kBT709OetfPower);
    return xsimd::select(x <= VF(thresholds().xvyccNegative), neg, bt709OetfUnclamped(x));
}

// IEC 61966-2-1 (sRGB), single precision, clamped.
inline VF srgbEotf(const VF& x) {
    const VF lin = x / VF(kSRGBSlope);
    const VF pw = pow((x + VF(kSRGBOffset)) / VF(kSRGBAlpha), kSRGBPower);
    return clamp01(xsimd::select(x < VF(kSRGBSignalThreshold), lin, pw));
}
inline VF srgbOetf(const VF& x) {
    const VF lin = VF(kSRGBSlope) * x;
    const VF pw = VF(kSRGBAlpha) * pow(x, kSRGBInversePower) - VF(kSRGBOffset);
    return clamp01(xsimd::select(x < VF(kSRGBLinearThreshold), lin, pw));
}

// ARIB STD-B67 / ITU-R BT.2100 HLG, per channel.
inline VF hlgOetf(const VF& x) {
    const VF lg = VF(kHlgA) * xsimd::log(VF(12.0f) * x - VF(kHlgB)) + VF(kHlgC);
    const VF rt = xsimd::sqrt(VF(3.0f) * x);
    return xsimd::select(x > VF(kHlgLinearThreshold), lg, rt);
}
inline VF hlgInverseOetf(const VF& x) {
    const VF ex = (xsimd::exp((x - VF(kHlgC)) / VF(kHlgA)) + VF(kHlgB)) / VF(12.0f);
    const VF sq = x * x / VF(3.0f);
    return xsimd::select(x > VF(kHlgSignalThreshold), ex, sq);
}

// SMPTE ST 2084: signal -> linear light relative to 10000 cd/m2.
inline VF pqEotfUnscaled(const VF& x) {
    const VF f = pow(x, kPqInverseM2);
    const VF d = f - VF(kPqC1);
    const VF num = xsimd::select(d > VF(0.0f), d, VF(0.0f));
    return pow(num / (VF(kPqC2) - VF(kPqC3) * f), kPqInverseM1);
}
// Linear light relative to 10000 cd/m2 -> signal, clamped.
inline VF pqOetfUnscaled(const VF& y) {
    const VF f = pow(y, kPqM1);
    return clamp01(pow((VF(kPqC1) + VF(kPqC2) * f) / (VF(1.0f) + VF(kPqC3) * f), kPqM2));
}

}  // namespace KRO_SIMD_NS
}  // namespace simd
}  // namespace KROCOLOR
