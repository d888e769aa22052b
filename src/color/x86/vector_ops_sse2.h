// The four-lane SSE2 operation set of the vector rows. Declared in an
// unnamed namespace: include only from translation units built for SSE2, so
// that each unit carries its own copy built for its own instruction set.
#pragma once

#include <emmintrin.h>

#include <cstdint>
#include <cstring>

namespace KROCOLOR {
namespace {

struct Sse2 {
    using F = __m128;
    using I = __m128i;
    static constexpr int kLanes = 4;

    static F load(const float* p) { return _mm_load_ps(p); }
    static void store(float* p, F v) { _mm_store_ps(p, v); }
    static void storeInt(int32_t* p, I v) { _mm_store_si128(reinterpret_cast<__m128i*>(p), v); }
    static F set(float v) { return _mm_set1_ps(v); }
    static I setInt(int v) { return _mm_set1_epi32(v); }
    static F add(F a, F b) { return _mm_add_ps(a, b); }
    static F sub(F a, F b) { return _mm_sub_ps(a, b); }
    static F mul(F a, F b) { return _mm_mul_ps(a, b); }
    static F div(F a, F b) { return _mm_div_ps(a, b); }
    // Ordered comparisons: false where either side is NaN, as in C++.
    static F gt(F a, F b) { return _mm_cmpgt_ps(a, b); }
    static F ge(F a, F b) { return _mm_cmpge_ps(a, b); }
    static F lt(F a, F b) { return _mm_cmplt_ps(a, b); }
    static F le(F a, F b) { return _mm_cmple_ps(a, b); }
    static F select(F mask, F t, F f) { return _mm_or_ps(_mm_and_ps(mask, t), _mm_andnot_ps(mask, f)); }
    static F keep(F mask, F v) { return _mm_and_ps(mask, v); }  // v where set, +0 elsewhere
    static I truncate(F v) { return _mm_cvttps_epi32(v); }
    static F toFloat(I v) { return _mm_cvtepi32_ps(v); }
    static I subInt(I a, I b) { return _mm_sub_epi32(a, b); }
    static I asInt(F v) { return _mm_castps_si128(v); }
    static F asFloat(I v) { return _mm_castsi128_ps(v); }

    // Whole bytes and pixels, for the rows that read and write frames.
    // kLanes bytes -> kLanes codes.
    static I loadBytes(const uint8_t* p) {
        int32_t v;
        std::memcpy(&v, p, 4);
        const __m128i z = _mm_setzero_si128();
        return _mm_unpacklo_epi16(_mm_unpacklo_epi8(_mm_cvtsi32_si128(v), z), z);
    }
    // kLanes / 2 bytes, each for two neighbouring lanes.
    static I loadBytesTwice(const uint8_t* p) {
        uint16_t v;
        std::memcpy(&v, p, 2);
        const __m128i x = _mm_cvtsi32_si128(v), z = _mm_setzero_si128();
        return _mm_unpacklo_epi16(_mm_unpacklo_epi8(_mm_unpacklo_epi8(x, x), z), z);
    }
    // Lanes 0, 0, 2, 2 / 1, 1, 3, 3: interleaved pairs, each for two lanes.
    static I evenTwice(I v) { return _mm_shuffle_epi32(v, _MM_SHUFFLE(2, 2, 0, 0)); }
    static I oddTwice(I v) { return _mm_shuffle_epi32(v, _MM_SHUFFLE(3, 3, 1, 1)); }
    // Aligned int32 codes, kLanes of them.
    static I loadInt(const int32_t* p) { return _mm_load_si128(reinterpret_cast<const __m128i*>(p)); }
    // 2 kLanes bytes of interleaved pairs -> the first and the second of
    // each pair as kLanes codes.
    static void loadPairs(const uint8_t* p, I& first, I& second) {
        const __m128i w = _mm_unpacklo_epi8(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(p)), _mm_setzero_si128());
        first = _mm_and_si128(w, _mm_set1_epi32(0xFFFF));
        second = _mm_srli_epi32(w, 16);
    }
    // Lanes 0, 0, 1, 1, ... of the first and of the second half of v.
    static F twiceLow(F v) { return _mm_unpacklo_ps(v, v); }
    static F twiceHigh(F v) { return _mm_unpackhi_ps(v, v); }
    // kLanes four-byte pixels.
    static I loadWords(const uint8_t* p) { return _mm_loadu_si128(reinterpret_cast<const __m128i*>(p)); }
    static void storeWords(uint8_t* p, I v) { _mm_storeu_si128(reinterpret_cast<__m128i*>(p), v); }
    // Codes 0..255 -> kLanes bytes.
    static void storeBytes(uint8_t* p, I v) {
        const __m128i w = _mm_packs_epi32(v, v);
        const int32_t b = _mm_cvtsi128_si32(_mm_packus_epi16(w, w));
        std::memcpy(p, &b, 4);
    }
    template <int Bits>
    static I byteAt(I v) { return _mm_and_si128(_mm_srli_epi32(v, Bits), _mm_set1_epi32(0xFF)); }
    template <int Bits>
    static I shiftedOr(I acc, I v) { return _mm_or_si128(acc, _mm_slli_epi32(v, Bits)); }
};

}  // namespace
}  // namespace KROCOLOR
