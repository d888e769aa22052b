// Fixed-point rows, eight pixels per step in SSE2 registers.
#include <emmintrin.h>

#include <cstring>

#include "cpu/xsimd/fixed_point_rows.h"
#include "cpu/xsimd/fixed_point_rows_impl.h"

namespace KROCOLOR {
namespace fixedpoint {
namespace {

struct Sse2 {
    using I = __m128i;
    static constexpr int kPixels = 8;

    static I set16(int v) { return _mm_set1_epi16(static_cast<int16_t>(v)); }
    static I set32(int32_t v) { return _mm_set1_epi32(v); }
    static I add16(I a, I b) { return _mm_add_epi16(a, b); }
    static I mulhi16(I a, I b) { return _mm_mulhi_epi16(a, b); }
    static I srai16(I a, int n) { return _mm_sra_epi16(a, _mm_cvtsi32_si128(n)); }
    static I add32(I a, I b) { return _mm_add_epi32(a, b); }
    static I sub16(I a, I b) { return _mm_sub_epi16(a, b); }
    static I min16(I a, I b) { return _mm_min_epi16(a, b); }
    static I max16(I a, I b) { return _mm_max_epi16(a, b); }
    static I sll16(I a, int n) { return _mm_sll_epi16(a, _mm_cvtsi32_si128(n)); }
    static I slli32(I a, int n) { return _mm_sll_epi32(a, _mm_cvtsi32_si128(n)); }
    static I srli32(I a, int n) { return _mm_srl_epi32(a, _mm_cvtsi32_si128(n)); }
    static I srai32(I a, int n) { return _mm_sra_epi32(a, _mm_cvtsi32_si128(n)); }
    static I and_(I a, I b) { return _mm_and_si128(a, b); }
    static I or_(I a, I b) { return _mm_or_si128(a, b); }
    static I madd(I a, I b) { return _mm_madd_epi16(a, b); }
    static I packs32(I a, I b) { return _mm_packs_epi32(a, b); }
    static I packus16(I a, I b) { return _mm_packus_epi16(a, b); }
    static I unpacklo8(I a, I b) { return _mm_unpacklo_epi8(a, b); }
    static I unpackhi8(I a, I b) { return _mm_unpackhi_epi8(a, b); }
    static I unpacklo16(I a, I b) { return _mm_unpacklo_epi16(a, b); }
    static I unpackhi16(I a, I b) { return _mm_unpackhi_epi16(a, b); }
    static I srli16(I a, int n) { return _mm_srl_epi16(a, _mm_cvtsi32_si128(n)); }
    static I slli16(I a, int n) { return _mm_sll_epi16(a, _mm_cvtsi32_si128(n)); }
    // Unsigned minimum without SSE4.1: a - max(a - limit, 0).
    static I minu16(I a, int limit) { return _mm_sub_epi16(a, _mm_subs_epu16(a, set16(limit))); }

    static I loadBytes(const uint8_t* p) {
        return _mm_unpacklo_epi8(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(p)), _mm_setzero_si128());
    }
    static I loadHalfDup(const uint8_t* p) {
        int32_t four;
        std::memcpy(&four, p, sizeof four);
        const I b = _mm_cvtsi32_si128(four);
        return _mm_unpacklo_epi8(_mm_unpacklo_epi8(b, b), _mm_setzero_si128());
    }
    static I loadWords(const uint8_t* p) { return _mm_loadu_si128(reinterpret_cast<const __m128i*>(p)); }
    static I loadHalfDupWords(const uint8_t* p) {
        const I w = _mm_loadl_epi64(reinterpret_cast<const __m128i*>(p));
        return _mm_unpacklo_epi16(w, w);
    }
    static void loadSemiDup(const uint8_t* p, I& u, I& v) {
        const I uv = loadBytes(p);  // each 32-bit lane holds one (u, v) pair
        const I low = _mm_and_si128(uv, _mm_set1_epi32(0xFFFF)), high = _mm_srli_epi32(uv, 16);
        u = _mm_or_si128(low, _mm_slli_epi32(low, 16));
        v = _mm_or_si128(high, _mm_slli_epi32(high, 16));
    }
    static I pairs01(I px) {
        return _mm_or_si128(_mm_and_si128(px, _mm_set1_epi32(0xFF)),
                            _mm_and_si128(_mm_slli_epi32(px, 8), _mm_set1_epi32(0xFF0000)));
    }
    static I pairs2(I px) { return _mm_and_si128(_mm_srli_epi32(px, 16), _mm_set1_epi32(0xFF)); }
    static void loadPixels(const uint8_t* p, I& a, I& b) {
        a = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
        b = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p + 16));
    }
    static I evens(I a, I b) {
        return _mm_castps_si128(_mm_shuffle_ps(_mm_castsi128_ps(a), _mm_castsi128_ps(b), _MM_SHUFFLE(2, 0, 2, 0)));
    }
    static I packLinear(I a, I b) { return _mm_packs_epi32(a, b); }
    static void storePixels(uint8_t* p, I lo, I hi) {
        _mm_storeu_si128(reinterpret_cast<__m128i*>(p), lo);
        _mm_storeu_si128(reinterpret_cast<__m128i*>(p + 16), hi);
    }
    static void storeLuma(uint8_t* p, I x) {
        _mm_storel_epi64(reinterpret_cast<__m128i*>(p), _mm_packus_epi16(x, x));
    }
    static void storeSemi(uint8_t* p, I uv) {
        const I t = _mm_packus_epi16(uv, uv);
        _mm_storel_epi64(reinterpret_cast<__m128i*>(p), _mm_unpacklo_epi8(t, _mm_srli_si128(t, 4)));
    }
    static void storePlanar(uint8_t* u, uint8_t* v, I uv) {
        const I t = _mm_packus_epi16(uv, uv);
        const int32_t us = _mm_cvtsi128_si32(t), vs = _mm_cvtsi128_si32(_mm_srli_si128(t, 4));
        std::memcpy(u, &us, sizeof us);
        std::memcpy(v, &vs, sizeof vs);
    }
    static void storeLumaWords(uint8_t* p, I x) { _mm_storeu_si128(reinterpret_cast<__m128i*>(p), x); }
    static void storeSemiWords(uint8_t* p, I uv) {
        _mm_storeu_si128(reinterpret_cast<__m128i*>(p), _mm_unpacklo_epi16(uv, _mm_srli_si128(uv, 8)));
    }
    static void storePlanarWords(uint8_t* u, uint8_t* v, I uv) {
        _mm_storel_epi64(reinterpret_cast<__m128i*>(u), uv);
        _mm_storel_epi64(reinterpret_cast<__m128i*>(v), _mm_srli_si128(uv, 8));
    }
};

}  // namespace

FixedRow fixedRowSse2(int32_t yuvFormat, bool toRgb) { return rowFor<Sse2>(yuvFormat, toRgb); }

}  // namespace fixedpoint
}  // namespace KROCOLOR
