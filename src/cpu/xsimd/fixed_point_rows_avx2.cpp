// Fixed-point rows, sixteen pixels per step in AVX2 registers. Built with
// -mavx2 (fixed_point_rows.cmake) and called only after the processor
// reported AVX2. Unpacks and packs work within each 128-bit half; the
// helpers below put the halves back in pixel order where it matters.
#include <immintrin.h>

#include "cpu/xsimd/fixed_point_rows.h"
#include "cpu/xsimd/fixed_point_rows_impl.h"

namespace KROCOLOR {
namespace fixedpoint {
namespace {

struct Avx2 {
    using I = __m256i;
    static constexpr int kPixels = 16;

    static I set16(int v) { return _mm256_set1_epi16(static_cast<int16_t>(v)); }
    static I set32(int32_t v) { return _mm256_set1_epi32(v); }
    static I add16(I a, I b) { return _mm256_add_epi16(a, b); }
    static I mulhi16(I a, I b) { return _mm256_mulhi_epi16(a, b); }
    static I srai16(I a, int n) { return _mm256_sra_epi16(a, _mm_cvtsi32_si128(n)); }
    static I add32(I a, I b) { return _mm256_add_epi32(a, b); }
    static I sub16(I a, I b) { return _mm256_sub_epi16(a, b); }
    static I min16(I a, I b) { return _mm256_min_epi16(a, b); }
    static I max16(I a, I b) { return _mm256_max_epi16(a, b); }
    static I sll16(I a, int n) { return _mm256_sll_epi16(a, _mm_cvtsi32_si128(n)); }
    static I slli32(I a, int n) { return _mm256_sll_epi32(a, _mm_cvtsi32_si128(n)); }
    static I srli32(I a, int n) { return _mm256_srl_epi32(a, _mm_cvtsi32_si128(n)); }
    static I srai32(I a, int n) { return _mm256_sra_epi32(a, _mm_cvtsi32_si128(n)); }
    static I and_(I a, I b) { return _mm256_and_si256(a, b); }
    static I or_(I a, I b) { return _mm256_or_si256(a, b); }
    static I madd(I a, I b) { return _mm256_madd_epi16(a, b); }
    static I packs32(I a, I b) { return _mm256_packs_epi32(a, b); }
    static I packus16(I a, I b) { return _mm256_packus_epi16(a, b); }
    static I unpacklo8(I a, I b) { return _mm256_unpacklo_epi8(a, b); }
    static I unpackhi8(I a, I b) { return _mm256_unpackhi_epi8(a, b); }
    static I unpacklo16(I a, I b) { return _mm256_unpacklo_epi16(a, b); }
    static I unpackhi16(I a, I b) { return _mm256_unpackhi_epi16(a, b); }
    static I srli16(I a, int n) { return _mm256_srl_epi16(a, _mm_cvtsi32_si128(n)); }
    static I slli16(I a, int n) { return _mm256_sll_epi16(a, _mm_cvtsi32_si128(n)); }
    static I minu16(I a, int limit) { return _mm256_min_epu16(a, set16(limit)); }

    static I loadBytes(const uint8_t* p) {
        return _mm256_cvtepu8_epi16(_mm_loadu_si128(reinterpret_cast<const __m128i*>(p)));
    }
    static I loadHalfDup(const uint8_t* p) {
        const __m128i b = _mm_loadl_epi64(reinterpret_cast<const __m128i*>(p));
        return _mm256_cvtepu8_epi16(_mm_unpacklo_epi8(b, b));
    }
    static I loadWords(const uint8_t* p) { return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(p)); }
    static I loadHalfDupWords(const uint8_t* p) {
        const I w = _mm256_cvtepu16_epi32(_mm_loadu_si128(reinterpret_cast<const __m128i*>(p)));
        return _mm256_or_si256(w, _mm256_slli_epi32(w, 16));
    }
    // Byte shuffles do in one step what SSE2 does with masks and shifts.
    static void loadSemiDup(const uint8_t* p, I& u, I& v) {
        const __m128i uv = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
        u = _mm256_cvtepu8_epi16(_mm_shuffle_epi8(uv, _mm_setr_epi8(0, 0, 2, 2, 4, 4, 6, 6, 8, 8, 10, 10, 12, 12, 14, 14)));
        v = _mm256_cvtepu8_epi16(_mm_shuffle_epi8(uv, _mm_setr_epi8(1, 1, 3, 3, 5, 5, 7, 7, 9, 9, 11, 11, 13, 13, 15, 15)));
    }
    static I pairs01(I px) {
        return _mm256_shuffle_epi8(px, _mm256_setr_epi8(0, -1, 1, -1, 4, -1, 5, -1, 8, -1, 9, -1, 12, -1, 13, -1, 0, -1, 1,
                                                        -1, 4, -1, 5, -1, 8, -1, 9, -1, 12, -1, 13, -1));
    }
    static I pairs2(I px) {
        return _mm256_shuffle_epi8(px, _mm256_setr_epi8(2, -1, -1, -1, 6, -1, -1, -1, 10, -1, -1, -1, 14, -1, -1, -1, 2,
                                                        -1, -1, -1, 6, -1, -1, -1, 10, -1, -1, -1, 14, -1, -1, -1));
    }
    static void loadPixels(const uint8_t* p, I& a, I& b) {
        a = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(p));
        b = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(p + 32));
    }
    // In-half shuffle gives a0 a2 b0 b2 | a4 a6 b4 b6; the 64-bit permute orders it.
    static I evens(I a, I b) {
        const __m256 s = _mm256_shuffle_ps(_mm256_castsi256_ps(a), _mm256_castsi256_ps(b), _MM_SHUFFLE(2, 0, 2, 0));
        return _mm256_permute4x64_epi64(_mm256_castps_si256(s), _MM_SHUFFLE(3, 1, 2, 0));
    }
    static I packLinear(I a, I b) {
        return _mm256_permute4x64_epi64(_mm256_packs_epi32(a, b), _MM_SHUFFLE(3, 1, 2, 0));
    }
    // lo holds pixels 0-3 | 8-11, hi 4-7 | 12-15.
    static void storePixels(uint8_t* p, I lo, I hi) {
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(p), _mm256_permute2x128_si256(lo, hi, 0x20));
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(p + 32), _mm256_permute2x128_si256(lo, hi, 0x31));
    }
    static void storeLuma(uint8_t* p, I x) {
        const I b = _mm256_permute4x64_epi64(_mm256_packus_epi16(x, x), _MM_SHUFFLE(3, 1, 2, 0));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(p), _mm256_castsi256_si128(b));
    }
    // uv holds U0-3 V0-3 | U4-7 V4-7.
    static void storeSemi(uint8_t* p, I uv) {
        const I t = _mm256_packus_epi16(uv, uv);
        const I r = _mm256_unpacklo_epi8(t, _mm256_srli_si256(t, 4));
        const __m128i both = _mm_unpacklo_epi64(_mm256_castsi256_si128(r), _mm256_extracti128_si256(r, 1));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(p), both);
    }
    static void storePlanar(uint8_t* u, uint8_t* v, I uv) {
        const I t = _mm256_permutevar8x32_epi32(_mm256_packus_epi16(uv, uv), _mm256_setr_epi32(0, 4, 1, 5, 0, 0, 0, 0));
        const __m128i low = _mm256_castsi256_si128(t);
        _mm_storel_epi64(reinterpret_cast<__m128i*>(u), low);
        _mm_storel_epi64(reinterpret_cast<__m128i*>(v), _mm_srli_si128(low, 8));
    }
    static void storeLumaWords(uint8_t* p, I x) { _mm256_storeu_si256(reinterpret_cast<__m256i*>(p), x); }
    static void storeSemiWords(uint8_t* p, I uv) {
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(p), _mm256_unpacklo_epi16(uv, _mm256_srli_si256(uv, 8)));
    }
    static void storePlanarWords(uint8_t* u, uint8_t* v, I uv) {
        const I t = _mm256_permute4x64_epi64(uv, _MM_SHUFFLE(3, 1, 2, 0));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(u), _mm256_castsi256_si128(t));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(v), _mm256_extracti128_si256(t, 1));
    }
};

}  // namespace

FixedRow fixedRowAvx2(int32_t yuvFormat, bool toRgb) { return rowFor<Avx2>(yuvFormat, toRgb); }

}  // namespace fixedpoint
}  // namespace KROCOLOR
