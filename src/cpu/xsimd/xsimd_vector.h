// Vector vocabulary of the SIMD translation units: xsimd batches of the
// width the translation unit is built for (4-lane SSE2, or 8-lane AVX2 in the
// units built with -mavx2), the clamps and rounding of the scalar kernels in
// lane-wise form, and the transposes between stored pixels and channel
// vectors. Everything here lives in a namespace named after the width
// (simd::sse2, simd::avx2), so the two builds of one body never share a
// symbol. Include only from the SIMD .cpp files of this folder.
#pragma once

#include <immintrin.h>

#include <cstdint>
#include <xsimd/xsimd.hpp>

#include "color/pixel.h"

#if defined(__AVX2__)
#define KRO_SIMD_NS avx2
#else
#define KRO_SIMD_NS sse2
#endif

namespace KROCOLOR {
namespace simd {
namespace KRO_SIMD_NS {

#if defined(__AVX2__)
using Arch = xsimd::avx2;
constexpr int kLanes = 8;
#else
using Arch = xsimd::sse2;
constexpr int kLanes = 4;
#endif
using VF = xsimd::batch<float, Arch>;
using VI = xsimd::batch<int32_t, Arch>;
using VB = xsimd::batch_bool<float, Arch>;

// The byte-level kernels (gathers, scatters, packs) are written once for four
// lanes on SSE2 registers; an eight-lane vector is two such halves.
constexpr int kHalves = kLanes / 4;
inline __m128 half(const VF& v, int h) {
#if defined(__AVX2__)
    return h ? _mm256_extractf128_ps(v, 1) : _mm256_castps256_ps128(v);
#else
    (void)h;
    return v;
#endif
}
inline __m128i half(const VI& v, int h) {
#if defined(__AVX2__)
    return h ? _mm256_extracti128_si256(v, 1) : _mm256_castsi256_si128(v);
#else
    (void)h;
    return v;
#endif
}
inline VF join(const __m128* h) {
#if defined(__AVX2__)
    return VF(_mm256_set_m128(h[1], h[0]));
#else
    return VF(h[0]);
#endif
}
inline VI join(const __m128i* h) {
#if defined(__AVX2__)
    return VI(_mm256_set_m128i(h[1], h[0]));
#else
    return VI(h[0]);
#endif
}

// [0, 1] limit that maps NaN to 0, as curves::clamp01 does: maxps returns
// its second operand when the first is NaN.
inline VF clamp01(const VF& v) {
#if defined(__AVX2__)
    return VF(_mm256_min_ps(_mm256_max_ps(v, _mm256_setzero_ps()), _mm256_set1_ps(1.0f)));
#else
    return VF(_mm_min_ps(_mm_max_ps(v, _mm_setzero_ps()), _mm_set1_ps(1.0f)));
#endif
}
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
#if defined(__AVX2__)
    const __m256 c = _mm256_min_ps(_mm256_max_ps(v, _mm256_setzero_ps()), _mm256_set1_ps(maxCode));
    return VI(_mm256_cvttps_epi32(_mm256_add_ps(c, _mm256_set1_ps(0.5f))));
#else
    const __m128 c = _mm_min_ps(_mm_max_ps(v, _mm_setzero_ps()), _mm_set1_ps(maxCode));
    return VI(_mm_cvttps_epi32(_mm_add_ps(c, _mm_set1_ps(0.5f))));
#endif
}

// Four stored pixels (NativePixel, four 16-bit codes each) to four channel
// vectors of codes as floats: out[k] lane i = in[i].c[k].
inline void codesToChannels4(const NativePixel* in, __m128 out[4]) {
    static_assert(sizeof(NativePixel) == 8, "four packed 16-bit codes");
    const __m128i a = _mm_loadu_si128(reinterpret_cast<const __m128i*>(in));      // pixels 0, 1
    const __m128i b = _mm_loadu_si128(reinterpret_cast<const __m128i*>(in + 2));  // pixels 2, 3
    const __m128i t0 = _mm_unpacklo_epi16(a, b);  // p0c0 p2c0 p0c1 p2c1 p0c2 p2c2 p0c3 p2c3
    const __m128i t1 = _mm_unpackhi_epi16(a, b);  // the same for pixels 1 and 3
    const __m128i u0 = _mm_unpacklo_epi16(t0, t1);  // c0 of p0..p3, c1 of p0..p3
    const __m128i u1 = _mm_unpackhi_epi16(t0, t1);  // c2, c3
    const __m128i z = _mm_setzero_si128();
    out[0] = _mm_cvtepi32_ps(_mm_unpacklo_epi16(u0, z));
    out[1] = _mm_cvtepi32_ps(_mm_unpackhi_epi16(u0, z));
    out[2] = _mm_cvtepi32_ps(_mm_unpacklo_epi16(u1, z));
    out[3] = _mm_cvtepi32_ps(_mm_unpackhi_epi16(u1, z));
}
// kLanes stored pixels to channel vectors, four pixels at a time.
inline void codesToChannels(const NativePixel* in, VF out[4]) {
    __m128 h[4][kHalves];
    for (int i = 0; i < kHalves; ++i) {
        __m128 c[4];
        codesToChannels4(in + 4 * i, c);
        for (int k = 0; k < 4; ++k) h[k][i] = c[k];
    }
    for (int k = 0; k < 4; ++k) out[k] = join(h[k]);
}

// Four channel vectors of codes in [0, 65535] back to four stored pixels.
// SSE2 packs with signed saturation only, so codes are biased by 2^15 around
// the pack and unbiased after it.
inline void channelsToCodes4(const __m128i c[4], NativePixel* out) {
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
inline void channelsToCodes(const VI c[4], NativePixel* out) {
    for (int i = 0; i < kHalves; ++i) {
        const __m128i h[4] = {half(c[0], i), half(c[1], i), half(c[2], i), half(c[3], i)};
        channelsToCodes4(h, out + 4 * i);
    }
}

}  // namespace KRO_SIMD_NS
}  // namespace simd
}  // namespace KROCOLOR
