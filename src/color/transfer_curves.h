// Per-channel transfer curves (signal <-> linear light) and the HLG and PQ
// building blocks. Every backend follows these formulas; the mix of single and
// double precision below is deliberate and part of the library's results:
//  - BT.709 / BT.601 / BT.2020 curves: threshold tests, affine parts and the
//    1/0.45 power in double, the 0.45 power in single precision;
//  - xvYCC: both powers in single precision, affine parts in double;
//  - every other curve: single precision throughout.
// Build with -ffp-contract=off: fused multiply-adds would change results.
#pragma once

#include <cmath>

namespace KROCOLOR {
namespace curves {

// [0, 1] limit that also turns NaN (a negative base raised to a fractional
// power) into 0.
inline float clamp01(float v) { return v > 0.0f ? (v < 1.0f ? v : 1.0f) : 0.0f; }

// --- ITU-R BT.709 / BT.601 / BT.2020 (10-bit) ------------------------------
// E = V < 0.081 ? V/4.5 : ((V + 0.099)/1.099)^(1/0.45), in double.
inline float BT709_EOTF(float x) {
    const double v = x;
    if (v < 0.081) return static_cast<float>(v / 4.5);
    return static_cast<float>(std::pow((v + 0.099) / 1.099, 1.0 / 0.45));
}
// V = L < 0.018 ? 4.5 L : 1.099 L^0.45 - 0.099; the power in single precision.
inline float BT709_OETF_unclamped(float x) {
    const double v = x;
    if (v < 0.018) return static_cast<float>(4.5 * v);
    return static_cast<float>(1.099 * static_cast<double>(std::pow(x, 0.45f)) - 0.099);
}
inline float BT709_OETF(float x) { return clamp01(BT709_OETF_unclamped(x)); }

// SMPTE 170M / BT.601 and BT.2020 10-bit use the same formulas, unclamped.
inline float BT601_EOTF(float x) { return BT709_EOTF(x); }
inline float BT601_OETF(float x) { return BT709_OETF_unclamped(x); }
inline float BT2020_EOTF(float x) { return BT709_EOTF(x); }
inline float BT2020_OETF(float x) { return BT709_OETF_unclamped(x); }

// --- ITU-R BT.2020 12-bit constants (alpha = 1.0993, beta = 0.0181) --------
inline float BT2020_EOTF_12(float x) {
    const double v = x;
    if (v < 0.08145) return static_cast<float>(v / 4.5);
    return static_cast<float>(std::pow((v + 0.0993) / 1.0993, 1.0 / 0.45));
}
inline float BT2020_OETF_12(float x) {
    const double v = x;
    if (v < 0.0181) return static_cast<float>(4.5 * v);
    return static_cast<float>(1.0993 * static_cast<double>(std::pow(x, 0.45f)) - 0.0993);
}

// --- Pure power laws, single precision, clamped ----------------------------
inline float GAMMA22_EOTF(float x) { return clamp01(std::pow(x, 2.2f)); }
inline float GAMMA22_OETF(float x) { return clamp01(std::pow(x, 0.45454547f)); }  // 1/2.2
inline float GAMMA18_EOTF(float x) { return clamp01(std::pow(x, 1.8f)); }
inline float GAMMA18_OETF(float x) { return clamp01(std::pow(x, 0.5555556f)); }  // 1/1.8
// SMPTE RP 431-2 (DCI-P3) gamma 2.6.
inline float DCIP3_EOTF(float x) { return clamp01(std::pow(x, 2.6f)); }
inline float DCIP3_OETF(float x) { return clamp01(std::pow(x, 0.3846154f)); }  // 1/2.6

// --- IEC 61966-2-4 (xvYCC): the BT.709 curve mirrored for negative values --
inline float XVYCC_EOTF(float x) {
    const double v = x;
    if (v <= 0.0) return -std::pow(static_cast<float>(-v / 1.099), 2.2222223f);
    if (v < 0.081) return static_cast<float>(v / 4.5);
    return std::pow(static_cast<float>((v + 0.099) / 1.099), 2.2222223f);
}
inline float XVYCC_OETF(float x) {
    const double v = x;
    if (v <= -0.018)
        return static_cast<float>(0.099 - 1.099 * static_cast<double>(std::pow(-x, 0.45f)));
    if (v < 0.018) return static_cast<float>(4.5 * v);
    return static_cast<float>(1.099 * static_cast<double>(std::pow(x, 0.45f)) - 0.099);
}

// --- IEC 61966-2-1 (sRGB), single precision, clamped -----------------------
inline float sRGB_EOTF(float x) {
    return clamp01(x < 0.04045f ? x / 12.92f : std::pow((x + 0.055f) / 1.055f, 2.4f));
}
inline float sRGB_OETF(float x) {
    return clamp01(x < 0.0031308f ? 12.92f * x : 1.055f * std::pow(x, 0.41666666f) - 0.055f);
}

// --- ARIB STD-B67 / ITU-R BT.2100 HLG, single precision --------------------
constexpr float kHlgA = 0.17883277f;
constexpr float kHlgB = 0.28466892f;  // 1 - 4a
constexpr float kHlgC = 0.55991073f;  // 0.5 - a ln(4a)
// Display model of the HLG EOTF: nominal peak Lw = 203 cd/m2, black Lb = 0.005.
// gamma = 1.2 + 0.42 log10(Lw / 1000) (BT.2100 system gamma),
// beta = sqrt(3 (Lb / Lw)^(1 / gamma)) (BT.2100 black-level lift).
constexpr float kHlgGamma = 0.90914834f;
constexpr float kHlgBeta = 0.0050586125f;

inline float HLG_OETF(float x) {
    return x > 1.0f / 12.0f ? kHlgA * std::log(12.0f * x - kHlgB) + kHlgC : std::sqrt(3.0f * x);
}
inline float HLGInverseOETF(float x) {
    return x > 0.5f ? (std::exp((x - kHlgC) / kHlgA) + kHlgB) / 12.0f : x * x / 3.0f;
}

// --- SMPTE ST 2084 (PQ), single precision ----------------------------------
constexpr float kPqM1 = 0.1593017578125f;  // 2610 / 16384
constexpr float kPqM2 = 78.84375f;         // 2523 / 4096 * 128
constexpr float kPqC1 = 0.8359375f;        // 3424 / 4096
constexpr float kPqC2 = 18.8515625f;       // 2413 / 4096 * 32
constexpr float kPqC3 = 18.6875f;          // 2392 / 4096 * 32

// Signal -> linear light relative to 10000 cd/m2.
inline float PQ_EOTF_unscaled(float x) {
    const float f = std::pow(x, 0.012683313f);  // 1 / m2
    const float num = f - kPqC1 > 0.0f ? f - kPqC1 : 0.0f;
    return std::pow(num / (kPqC2 - kPqC3 * f), 6.277395f);  // 1 / m1
}
// Linear light relative to 10000 cd/m2 -> signal, clamped.
inline float PQ_OETF_unscaled(float y) {
    const float f = std::pow(y, kPqM1);
    return clamp01(std::pow((kPqC1 + kPqC2 * f) / (1.0f + kPqC3 * f), kPqM2));
}

}  // namespace curves
}  // namespace KROCOLOR
