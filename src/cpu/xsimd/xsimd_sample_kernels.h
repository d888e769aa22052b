// Normalisation and quantisation of a vector of pixels at once: the scalar kernels
// of color/pixel_kernels.h in lane-wise form, on channel vectors of codes.
// Normalisation multiplies by reciprocals where the scalar kernels divide (a
// last-bit difference, never more than one code).
#pragma once

#include "color/color_constants.h"
#include "color/color_plan.h"
#include "cpu/xsimd/xsimd_vector.h"

namespace KROCOLOR {
namespace simd {
namespace KRO_SIMD_NS {

// ---- normalisation: codes (as floats) -> working values ------------------

// Values formed from stored codes are never NaN, so a plain min/max limit
// gives what the NaN-aware clamp gives.
[[gnu::always_inline]] inline VF clampFinite(const VF& v, float lo, float hi) {
    return xsimd::max(xsimd::min(v, VF(hi)), VF(lo));
}

[[gnu::always_inline]] inline void normaliseRGB(const FormatRule& r, VF c[4]) {
    const VF m(1.0f / r.maxCode);
    for (int k = 0; k < 3; ++k) c[k] = clamp01(c[k] * m);
    c[3] = r.hasAlpha ? clamp01(c[3] * m) : VF(1.0f);
}

[[gnu::always_inline]] inline void normaliseCMYK(const FormatRule&, VF c[4]) {
    const VF full(kFullScale8), one(1.0f);
    const VF k = one - c[3] / full;
    for (int i = 0; i < 3; ++i) c[i] = clamp01((one - c[i] / full) * k);
    c[3] = one;
}

// ITU-R BT.601/BT.709 video levels, shifted up by d-8 bits for deeper samples.
[[gnu::always_inline]] inline void normaliseYUVLimited(const FormatRule& r, VF c[4]) {
    const VF s(1.0f / r.scale);  // a power of two: exact
    const VF y = (c[0] * s - VF(kVideoBlack)) * VF(1.0f / kVideoLumaSpan);
    const VF u = (c[1] * s - VF(kVideoChromaZero)) * VF(1.0f / kVideoChromaSpan);
    const VF v = (c[2] * s - VF(kVideoChromaZero)) * VF(1.0f / kVideoChromaSpan);
    const VF a = r.hasAlpha ? c[3] * s * VF(1.0f / kFullScale8) : VF(1.0f);
    c[0] = clamp01(y);
    c[1] = clampFinite(u, -0.5f, 0.5f);
    c[2] = clampFinite(v, -0.5f, 0.5f);
    c[3] = clamp01(a);
}

[[gnu::always_inline]] inline void normaliseYUVFull(const FormatRule& r, VF c[4]) {
    const VF m(1.0f / r.maxCode), h(r.half);
    const VF y = c[0] * m;
    const VF u = (c[1] - h) * m;
    const VF v = (c[2] - h) * m;
    const VF a = r.hasAlpha ? c[3] * m : VF(1.0f);
    c[0] = clamp01(y);
    c[1] = clampFinite(u, -0.5f, 0.5f);
    c[2] = clampFinite(v, -0.5f, 0.5f);
    c[3] = clamp01(a);
}

[[gnu::always_inline]] inline void normaliseNone(const FormatRule&, VF c[4]) {
    for (int k = 0; k < 4; ++k) c[k] = VF(0.0f);
}

// ---- quantisation: working values -> codes --------------------------------

[[gnu::always_inline]] inline void quantiseRGB(const FormatRule& r, const VF c[4], VI q[4]) {
    const float m = r.maxCode;
    for (int k = 0; k < 3; ++k) q[k] = toCode(c[k] * VF(m), m);
    q[3] = r.hasAlpha ? toCode(c[3] * VF(m), m) : VI(static_cast<int32_t>(m));
}

[[gnu::always_inline]] inline void quantiseCMYK(const FormatRule&, const VF c[4], VI q[4]) {
    const VF r = clamp01(c[0]), g = clamp01(c[1]), b = clamp01(c[2]);
    const VF maxRgb = xsimd::select(r > g, xsimd::select(r > b, r, b), xsimd::select(g > b, g, b));
    const VF one(1.0f), zero(0.0f), full(kFullScale8);
    const VF k = one - maxRgb;
    const VB chromatic = k < one;  // pure black stores C = M = Y = 0
    const VF cc = xsimd::select(chromatic, (one - r - k) / (one - k), zero);
    const VF mm = xsimd::select(chromatic, (one - g - k) / (one - k), zero);
    const VF yy = xsimd::select(chromatic, (one - b - k) / (one - k), zero);
    q[0] = toCode(clamp01(cc) * full, kFullScale8);
    q[1] = toCode(clamp01(mm) * full, kFullScale8);
    q[2] = toCode(clamp01(yy) * full, kFullScale8);
    q[3] = toCode(clamp01(k) * full, kFullScale8);
}

[[gnu::always_inline]] inline void quantiseYUVLimited(const FormatRule& r, const VF c[4], VI q[4]) {
    const float m = r.maxCode;
    const VF s(r.scale);
    q[0] = toCode((c[0] * VF(kVideoLumaSpan) + VF(kVideoBlack)) * s, m);
    q[1] = toCode((c[1] * VF(kVideoChromaSpan) + VF(kVideoChromaZero)) * s, m);
    q[2] = toCode((c[2] * VF(kVideoChromaSpan) + VF(kVideoChromaZero)) * s, m);
    q[3] = toCode(c[3] * VF(kFullScale8) * s, m);  // opaque is 255 * 2^(d-8)
}

[[gnu::always_inline]] inline void quantiseYUVFull(const FormatRule& r, const VF c[4], VI q[4]) {
    const float m = r.maxCode;
    const VF mv(m), h(r.half);
    q[0] = toCode(c[0] * mv, m);
    q[1] = toCode(c[1] * mv + h, m);
    q[2] = toCode(c[2] * mv + h, m);
    q[3] = toCode(c[3] * mv, m);
}

[[gnu::always_inline]] inline void quantiseNone(const FormatRule&, const VF[4], VI q[4]) {
    for (int k = 0; k < 4; ++k) q[k] = VI(0);
}

using Normaliser = void (*)(const FormatRule&, VF[4]);
using Quantiser = void (*)(const FormatRule&, const VF[4], VI[4]);

}  // namespace KRO_SIMD_NS
}  // namespace simd
}  // namespace KROCOLOR
