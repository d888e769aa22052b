// The transfer curves of color/transfer_curves.h on four float32 lanes. Same
// constants, thresholds and clamps; both branches of a piecewise curve are
// computed and merged lane by lane with select. Powers are xsimd::pow on
// float32 (exp of y times log x), so results can differ from the scalar
// powf/pow in the last bits, and the steps the scalar curves take in double
// precision are taken in single precision here. Threshold tests the scalar
// curves make in double precision use the float threshold that splits every
// float input exactly as the double comparison does.
#pragma once

#include <cmath>

#include "color/transfer_curves.h"
#include "cpu/xsimd/xsimd_vector.h"

namespace KROCOLOR {
namespace simd {

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
    float bt709Eotf = floatBelowTest(0.081);
    float bt709Oetf = floatBelowTest(0.018);
    float bt2020_12Eotf = floatBelowTest(0.08145);
    float bt2020_12Oetf = floatBelowTest(0.0181);
    float xvyccNegative = floatAtMostTest(-0.018);
};
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
    const VF lin = x / VF(4.5f);
    const VF pw = pow((x + VF(0.099f)) / VF(1.099f), 2.2222223f);
    return xsimd::select(x < VF(thresholds().bt709Eotf), lin, pw);
}
// L < 0.018 ? 4.5 L : 1.099 L^0.45 - 0.099, not clamped.
inline VF bt709OetfUnclamped(const VF& x) {
    const VF lin = VF(4.5f) * x;
    const VF pw = VF(1.099f) * pow(x, 0.45f) - VF(0.099f);
    return xsimd::select(x < VF(thresholds().bt709Oetf), lin, pw);
}
inline VF bt709Oetf(const VF& x) { return clamp01(bt709OetfUnclamped(x)); }

// ITU-R BT.2020 12-bit constants (alpha = 1.0993, beta = 0.0181).
inline VF bt2020_12Eotf(const VF& x) {
    const VF lin = x / VF(4.5f);
    const VF pw = pow((x + VF(0.0993f)) / VF(1.0993f), 2.2222223f);
    return xsimd::select(x < VF(thresholds().bt2020_12Eotf), lin, pw);
}
inline VF bt2020_12Oetf(const VF& x) {
    const VF lin = VF(4.5f) * x;
    const VF pw = VF(1.0993f) * pow(x, 0.45f) - VF(0.0993f);
    return xsimd::select(x < VF(thresholds().bt2020_12Oetf), lin, pw);
}

// Pure power laws, clamped (a negative base gives NaN, which the clamp zeroes).
inline VF gamma22Eotf(const VF& x) { return clamp01(pow(x, 2.2f)); }
inline VF gamma22Oetf(const VF& x) { return clamp01(pow(x, 0.45454547f)); }
inline VF gamma18Eotf(const VF& x) { return clamp01(pow(x, 1.8f)); }
inline VF gamma18Oetf(const VF& x) { return clamp01(pow(x, 0.5555556f)); }
inline VF dcip3Eotf(const VF& x) { return clamp01(pow(x, 2.6f)); }
inline VF dcip3Oetf(const VF& x) { return clamp01(pow(x, 0.3846154f)); }

// IEC 61966-2-4 (xvYCC): the BT.709 curve mirrored for negative values.
inline VF xvyccEotf(const VF& x) {
    const VF neg = -pow(-x / VF(1.099f), 2.2222223f);
    const VF lin = x / VF(4.5f);
    const VF pw = pow((x + VF(0.099f)) / VF(1.099f), 2.2222223f);
    return xsimd::select(x <= VF(0.0f), neg,
                         xsimd::select(x < VF(thresholds().bt709Eotf), lin, pw));
}
inline VF xvyccOetf(const VF& x) {
    const VF neg = VF(0.099f) - VF(1.099f) * pow(-x, 0.45f);
    const VF lin = VF(4.5f) * x;
    const VF pw = VF(1.099f) * pow(x, 0.45f) - VF(0.099f);
    return xsimd::select(x <= VF(thresholds().xvyccNegative), neg,
                         xsimd::select(x < VF(thresholds().bt709Oetf), lin, pw));
}

// IEC 61966-2-1 (sRGB), single precision, clamped.
inline VF srgbEotf(const VF& x) {
    const VF lin = x / VF(12.92f);
    const VF pw = pow((x + VF(0.055f)) / VF(1.055f), 2.4f);
    return clamp01(xsimd::select(x < VF(0.04045f), lin, pw));
}
inline VF srgbOetf(const VF& x) {
    const VF lin = VF(12.92f) * x;
    const VF pw = VF(1.055f) * pow(x, 0.41666666f) - VF(0.055f);
    return clamp01(xsimd::select(x < VF(0.0031308f), lin, pw));
}

// ARIB STD-B67 / ITU-R BT.2100 HLG, per channel.
inline VF hlgOetf(const VF& x) {
    using namespace curves;
    const VF lg = VF(kHlgA) * xsimd::log(VF(12.0f) * x - VF(kHlgB)) + VF(kHlgC);
    const VF rt = xsimd::sqrt(VF(3.0f) * x);
    return xsimd::select(x > VF(1.0f / 12.0f), lg, rt);
}
inline VF hlgInverseOetf(const VF& x) {
    using namespace curves;
    const VF ex = (xsimd::exp((x - VF(kHlgC)) / VF(kHlgA)) + VF(kHlgB)) / VF(12.0f);
    const VF sq = x * x / VF(3.0f);
    return xsimd::select(x > VF(0.5f), ex, sq);
}

// SMPTE ST 2084: signal -> linear light relative to 10000 cd/m2.
inline VF pqEotfUnscaled(const VF& x) {
    using namespace curves;
    const VF f = pow(x, 0.012683313f);  // 1 / m2
    const VF d = f - VF(kPqC1);
    const VF num = xsimd::select(d > VF(0.0f), d, VF(0.0f));
    return pow(num / (VF(kPqC2) - VF(kPqC3) * f), 6.277395f);  // 1 / m1
}
// Linear light relative to 10000 cd/m2 -> signal, clamped.
inline VF pqOetfUnscaled(const VF& y) {
    using namespace curves;
    const VF f = pow(y, kPqM1);
    return clamp01(pow((VF(kPqC1) + VF(kPqC2) * f) / (VF(1.0f) + VF(kPqC3) * f), kPqM2));
}

}  // namespace simd
}  // namespace KROCOLOR
