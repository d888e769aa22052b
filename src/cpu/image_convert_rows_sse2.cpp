// SSE2 versions of the hot byte-format rows. SSE2 is part of every x86-64
// processor, so no run-time check is needed; other targets get null and use
// the portable rows. Results equal the portable rows bit for bit
// (image_convert_test compares them).
#include "cpu/image_convert_rows.h"

#if defined(__SSE2__) || defined(_M_X64)
#include <emmintrin.h>

namespace KROCOLOR {
namespace bytes {

namespace {

// Four 4-byte pixels to y = x >> 3 of their grey (image_convert_rows.h), one
// per 32-bit lane. pmaddwd forms the weighted sums from 16-bit lanes holding
// bytes 0 and 2 (weights `evenWeights`) and bytes 1 and 3 (weights 587, 0).
inline __m128i greyDividendBy8(__m128i px, __m128i evenWeights) {
    const __m128i lowBytes = _mm_set1_epi32(0x00FF00FF);
    const __m128i greenWeight = _mm_set1_epi32(static_cast<int>(kGreyWeightG));  // byte 3 (alpha): 0
    const __m128i bias = _mm_set1_epi32(static_cast<int>(kGreyBias));
    const __m128i even = _mm_and_si128(px, lowBytes);  // 16-bit lanes: byte 0, byte 2
    const __m128i odd = _mm_srli_epi16(px, 8);         // 16-bit lanes: byte 1, byte 3
    __m128i x = _mm_add_epi32(_mm_madd_epi16(even, evenWeights), _mm_madd_epi16(odd, greenWeight));
    x = _mm_add_epi32(x, bias);
    return _mm_srli_epi32(x, 3);  // at most 31937: fits a signed 16-bit lane
}

// y / 125 for eight 16-bit lanes: the top 16 bits of y * 33555, shifted by 6.
inline __m128i divideBy125(__m128i y) {
    const __m128i multiplier = _mm_set1_epi16(static_cast<short>(kDiv125Multiplier));
    return _mm_srli_epi16(_mm_mulhi_epu16(y, multiplier), kDiv125Shift - 16);
}

template <int kR, int kB>
void fourByteToGreySse2(const uint8_t* src, uint8_t* dst, size_t pixels) {
    static_assert((kR == 0 && kB == 2) || (kR == 2 && kB == 0), "R and B sit at bytes 0 and 2");
    const uint32_t weight0 = kR == 0 ? kGreyWeightR : kGreyWeightB;
    const uint32_t weight2 = kR == 0 ? kGreyWeightB : kGreyWeightR;
    const __m128i evenWeights = _mm_set1_epi32(static_cast<int>(weight0 | (weight2 << 16)));
    size_t i = 0;
    for (; i + 16 <= pixels; i += 16) {
        const uint8_t* s = src + 4 * i;
        const __m128i y0 = greyDividendBy8(_mm_loadu_si128(reinterpret_cast<const __m128i*>(s)), evenWeights);
        const __m128i y1 = greyDividendBy8(_mm_loadu_si128(reinterpret_cast<const __m128i*>(s + 16)), evenWeights);
        const __m128i y2 = greyDividendBy8(_mm_loadu_si128(reinterpret_cast<const __m128i*>(s + 32)), evenWeights);
        const __m128i y3 = greyDividendBy8(_mm_loadu_si128(reinterpret_cast<const __m128i*>(s + 48)), evenWeights);
        const __m128i lo = divideBy125(_mm_packs_epi32(y0, y1));
        const __m128i hi = divideBy125(_mm_packs_epi32(y2, y3));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(dst + i), _mm_packus_epi16(lo, hi));
    }
    for (; i < pixels; ++i) dst[i] = greyOf(src[4 * i + kR], src[4 * i + 1], src[4 * i + kB]);
}

// Four RGB888 pixels (12 bytes of a 16-byte load) spread to four RGBA8888
// pixels: pixel k moves up by k bytes, and the alpha bytes are set.
inline __m128i spreadFourPixels(__m128i v) {
    const __m128i keep0 = _mm_setr_epi32(0x00FFFFFF, 0, 0, 0);
    const __m128i keep1 = _mm_setr_epi32(0, 0x00FFFFFF, 0, 0);
    const __m128i keep2 = _mm_setr_epi32(0, 0, 0x00FFFFFF, 0);
    const __m128i keep3 = _mm_setr_epi32(0, 0, 0, 0x00FFFFFF);
    const __m128i alpha = _mm_set1_epi32(static_cast<int>(0xFF000000u));
    const __m128i p01 = _mm_or_si128(_mm_and_si128(v, keep0), _mm_and_si128(_mm_slli_si128(v, 1), keep1));
    const __m128i p23 = _mm_or_si128(_mm_and_si128(_mm_slli_si128(v, 2), keep2),
                                     _mm_and_si128(_mm_slli_si128(v, 3), keep3));
    return _mm_or_si128(_mm_or_si128(p01, p23), alpha);
}

void rgb888ToRgba8888Sse2(const uint8_t* src, uint8_t* dst, size_t pixels) {
    size_t i = 0;
    // Each 16-byte load covers four pixels and reads 4 bytes beyond them;
    // stop while those bytes still belong to the source.
    for (; i + 18 <= pixels; i += 16) {
        const uint8_t* s = src + 3 * i;
        __m128i* d = reinterpret_cast<__m128i*>(dst + 4 * i);
        _mm_storeu_si128(d, spreadFourPixels(_mm_loadu_si128(reinterpret_cast<const __m128i*>(s))));
        _mm_storeu_si128(d + 1, spreadFourPixels(_mm_loadu_si128(reinterpret_cast<const __m128i*>(s + 12))));
        _mm_storeu_si128(d + 2, spreadFourPixels(_mm_loadu_si128(reinterpret_cast<const __m128i*>(s + 24))));
        _mm_storeu_si128(d + 3, spreadFourPixels(_mm_loadu_si128(reinterpret_cast<const __m128i*>(s + 36))));
    }
    for (; i < pixels; ++i) {
        dst[4 * i] = src[3 * i];
        dst[4 * i + 1] = src[3 * i + 1];
        dst[4 * i + 2] = src[3 * i + 2];
        dst[4 * i + 3] = 255;
    }
}

const HotRows kSse2Rows = {"sse2", fourByteToGreySse2<0, 2>, fourByteToGreySse2<2, 0>,
                           rgb888ToRgba8888Sse2};

}  // namespace

const HotRows* sse2HotRows() { return &kSse2Rows; }

}  // namespace bytes
}  // namespace KROCOLOR

#else

namespace KROCOLOR {
namespace bytes {
const HotRows* sse2HotRows() { return nullptr; }
}  // namespace bytes
}  // namespace KROCOLOR

#endif
