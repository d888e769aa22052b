// Vector vocabulary of the SIMD translation units: 4-lane SSE2 batches, the
// clamps and rounding of the scalar kernels in lane-wise form, and the
// transposes between stored pixels and channel vectors. Include only from
// the SIMD .cpp files of this folder (they are built with SSE2 and xsimd).
#pragma once

#include <emmintrin.h>

#include <cstdint>
#include <xsimd/xsimd.hpp>

#include "color/pixel.h"

namespace KROCOLOR {
namespace simd {

using Arch = xsimd::sse2;
using VF = xsimd::batch<float, Arch>;
using VI = xsimd::batch<int32_t, Arch>;
using VB = xsimd::batch_bool<float, Arch>;
constexpr int kLanes = 4;

// [0, 1] limit that maps NaN to 0, as curves::clamp01 does: maxps returns
// its second operand when the first is NaN.
inline VF clamp01(const VF& v) { return VF(_mm_min_ps(_mm_max_ps(v, _mm_setzero_ps()), _mm_set1_ps(1.0f))); }
// [lo, hi] limit that maps NaN to 0, as kernels::clampTo does.
inline VF clampTo(const VF& v, float lo, float hi) {
    return xsimd::select(v >= VF(lo), xsimd::min(v, VF(hi)), xsimd::select(v < VF(lo), VF(lo), VF(0.0f)));
}

// Round half away from zero, then limit to [0, maxCode]; NaN gives 0.
// Clamping first cannot change the code because maxCode is an integer; for
// the non-negative clamped value, trunc(c + 0.5) is round half away from
// zero except where the sum itself rounds up to the next integer (c within
// one unit in the last place below a half), which moves the code by one.
inline VI toCode(const VF& v, float maxCode) {
    const __m128 c = _mm_min_ps(_mm_max_ps(v, _mm_setzero_ps()), _mm_set1_ps(maxCode));
    return VI(_mm_cvttps_epi32(_mm_add_ps(c, _mm_set1_ps(0.5f))));
}

// Four stored pixels (NativePixel, four 16-bit codes each) to four channel
// vectors of codes as floats: out[k] lane i = in[i].c[k].
inline void codesToChannels(const NativePixel* in, VF out[4]) {
    static_assert(sizeof(NativePixel) == 8, "four packed 16-bit codes");
    const __m128i a = _mm_loadu_si128(reinterpret_cast<const __m128i*>(in));      // pixels 0, 1
    const __m128i b = _mm_loadu_si128(reinterpret_cast<const __m128i*>(in + 2));  // pixels 2, 3
    const __m128i t0 = _mm_unpacklo_epi16(a, b);  // p0c0 p2c0 p0c1 p2c1 p0c2 p2c2 p0c3 p2c3
    const __m128i t1 = _mm_unpackhi_epi16(a, b);  // the same for pixels 1 and 3
    const __m128i u0 = _mm_unpacklo_epi16(t0, t1);  // c0 of p0..p3, c1 of p0..p3
    const __m128i u1 = _mm_unpackhi_epi16(t0, t1);  // c2, c3
    const __m128i z = _mm_setzero_si128();
    out[0] = VF(_mm_cvtepi32_ps(_mm_unpacklo_epi16(u0, z)));
    out[1] = VF(_mm_cvtepi32_ps(_mm_unpackhi_epi16(u0, z)));
    out[2] = VF(_mm_cvtepi32_ps(_mm_unpacklo_epi16(u1, z)));
    out[3] = VF(_mm_cvtepi32_ps(_mm_unpackhi_epi16(u1, z)));
}

// Four channel vectors of codes in [0, 65535] back to four stored pixels.
// SSE2 packs with signed saturation only, so codes are biased by 2^15 around
// the pack and unbiased after it.
inline void channelsToCodes(const VI c[4], NativePixel* out) {
    const __m128i bias = _mm_set1_epi32(32768);
    const __m128i flip = _mm_set1_epi16(static_cast<short>(0x8000));
    const __m128i c01 = _mm_xor_si128(
        _mm_packs_epi32(_mm_sub_epi32(c[0], bias), _mm_sub_epi32(c[1], bias)), flip);  // c0 x4, c1 x4
    const __m128i c23 = _mm_xor_si128(
        _mm_packs_epi32(_mm_sub_epi32(c[2], bias), _mm_sub_epi32(c[3], bias)), flip);  // c2 x4, c3 x4
    const __m128i t0 = _mm_unpacklo_epi16(c01, c23);  // p0c0 p0c2 p1c0 p1c2 p2c0 p2c2 p3c0 p3c2
    const __m128i t1 = _mm_unpackhi_epi16(c01, c23);  // p0c1 p0c3 p1c1 p1c3 ...
    _mm_storeu_si128(reinterpret_cast<__m128i*>(out), _mm_unpacklo_epi16(t0, t1));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(out + 2), _mm_unpackhi_epi16(t0, t1));
}

}  // namespace simd
}  // namespace KROCOLOR
