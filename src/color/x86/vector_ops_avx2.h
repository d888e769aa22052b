// The eight-lane AVX2 operation set of the vector rows. Declared in an
// unnamed namespace: include only from translation units built with -mavx2
// (and no FMA), so that no AVX2 code reaches another unit.
#pragma once

#include <immintrin.h>

#include <cstdint>
#include <cstring>

namespace KROCOLOR {
namespace {

struct Avx2 {
    using F = __m256;
    using I = __m256i;
    static constexpr int kLanes = 8;

    static F load(const float* p) { return _mm256_load_ps(p); }
    static void store(float* p, F v) { _mm256_store_ps(p, v); }
    static void storeInt(int32_t* p, I v) { _mm256_store_si256(reinterpret_cast<__m256i*>(p), v); }
    static F set(float v) { return _mm256_set1_ps(v); }
    static I setInt(int v) { return _mm256_set1_epi32(v); }
    static F add(F a, F b) { return _mm256_add_ps(a, b); }
    static F sub(F a, F b) { return _mm256_sub_ps(a, b); }
    static F mul(F a, F b) { return _mm256_mul_ps(a, b); }
    static F div(F a, F b) { return _mm256_div_ps(a, b); }
    // Ordered comparisons: false where either side is NaN, as in C++.
    static F gt(F a, F b) { return _mm256_cmp_ps(a, b, _CMP_GT_OQ); }
    static F ge(F a, F b) { return _mm256_cmp_ps(a, b, _CMP_GE_OQ); }
    static F lt(F a, F b) { return _mm256_cmp_ps(a, b, _CMP_LT_OQ); }
    static F le(F a, F b) { return _mm256_cmp_ps(a, b, _CMP_LE_OQ); }
    static F select(F mask, F t, F f) { return _mm256_blendv_ps(f, t, mask); }
    static F keep(F mask, F v) { return _mm256_and_ps(mask, v); }  // v where set, +0 elsewhere
    static I truncate(F v) { return _mm256_cvttps_epi32(v); }
    static F toFloat(I v) { return _mm256_cvtepi32_ps(v); }
    static I subInt(I a, I b) { return _mm256_sub_epi32(a, b); }
    static I asInt(F v) { return _mm256_castps_si256(v); }
    static F asFloat(I v) { return _mm256_castsi256_ps(v); }

    // Whole bytes and pixels, for the rows that read and write frames.
    // kLanes bytes -> kLanes codes.
    static I loadBytes(const uint8_t* p) {
        return _mm256_cvtepu8_epi32(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(p)));
    }
    // kLanes / 2 bytes, each for two neighbouring lanes.
    static I loadBytesTwice(const uint8_t* p) {
        int32_t v;
        std::memcpy(&v, p, 4);
        const __m128i x = _mm_cvtsi32_si128(v);
        return _mm256_cvtepu8_epi32(_mm_unpacklo_epi8(x, x));
    }
    // Lanes 0, 0, 2, 2, 4, 4, 6, 6 / 1, 1, 3, 3, ...: interleaved pairs, each
    // for two lanes (the shuffle works within each half, which holds two pairs).
    static I evenTwice(I v) { return _mm256_shuffle_epi32(v, _MM_SHUFFLE(2, 2, 0, 0)); }
    static I oddTwice(I v) { return _mm256_shuffle_epi32(v, _MM_SHUFFLE(3, 3, 1, 1)); }
    // Aligned int32 codes, kLanes of them.
    static I loadInt(const int32_t* p) { return _mm256_load_si256(reinterpret_cast<const __m256i*>(p)); }
    // 2 kLanes bytes of interleaved pairs -> the first and the second of
    // each pair as kLanes codes.
    static void loadPairs(const uint8_t* p, I& first, I& second) {
        const __m256i w = _mm256_cvtepu8_epi16(_mm_loadu_si128(reinterpret_cast<const __m128i*>(p)));
        first = _mm256_and_si256(w, _mm256_set1_epi32(0xFFFF));
        second = _mm256_srli_epi32(w, 16);
    }
    // Lanes 0, 0, 1, 1, ... of the first and of the second half of v (the
    // unpacks work within each half; the permutes put the halves in order).
    static F twiceLow(F v) {
        return _mm256_permute2f128_ps(_mm256_unpacklo_ps(v, v), _mm256_unpackhi_ps(v, v), 0x20);
    }
    static F twiceHigh(F v) {
        return _mm256_permute2f128_ps(_mm256_unpacklo_ps(v, v), _mm256_unpackhi_ps(v, v), 0x31);
    }
    // kLanes four-byte pixels.
    static I loadWords(const uint8_t* p) { return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(p)); }
    static void storeWords(uint8_t* p, I v) { _mm256_storeu_si256(reinterpret_cast<__m256i*>(p), v); }
    // Codes 0..255 -> kLanes bytes.
    static void storeBytes(uint8_t* p, I v) {
        const __m128i w = _mm_packs_epi32(_mm256_castsi256_si128(v), _mm256_extracti128_si256(v, 1));
        _mm_storel_epi64(reinterpret_cast<__m128i*>(p), _mm_packus_epi16(w, w));
    }
    template <int Bits>
    static I byteAt(I v) { return _mm256_and_si256(_mm256_srli_epi32(v, Bits), _mm256_set1_epi32(0xFF)); }
    template <int Bits>
    static I shiftedOr(I acc, I v) { return _mm256_or_si256(acc, _mm256_slli_epi32(v, Bits)); }
};

}  // namespace
}  // namespace KROCOLOR
