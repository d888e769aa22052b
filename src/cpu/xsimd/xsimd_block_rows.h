// Block cursors over one row of the 8-bit formats that have vector readers
// and writers: gather(x, c) fills the channel vectors of pixels x ..
// x+kLanes-1 (x a multiple of kLanes) with the samples the scalar reader
// returns; scatter stores their codes exactly where the scalar writer stores
// them. Both work four pixels (one SSE2 register) at a time.
#pragma once

#include <cstring>

#include "core/frame.h"
#include "core/pixel_format_table.h"
#include "cpu/xsimd/xsimd_vector.h"

namespace KROCOLOR {
namespace simd {
namespace KRO_SIMD_NS {

inline __m128i load32(const uint8_t* p) {
    int32_t v;
    std::memcpy(&v, p, sizeof v);
    return _mm_cvtsi32_si128(v);
}
inline __m128 bytesToFloats(__m128i bytes) {  // the low four bytes
    const __m128i z = _mm_setzero_si128();
    return _mm_cvtepi32_ps(_mm_unpacklo_epi16(_mm_unpacklo_epi8(bytes, z), z));
}

// The whole-vector gather and scatter of a cursor with four-pixel ones.
template <class Row>
struct InHalves {
    // Forced inline: as calls, the two halves' shuffles cost more than the
    // wider arithmetic saves.
    [[gnu::always_inline]] static void gather(const Row& row, int x, VF c[4]) {
        __m128 h[4][kHalves];
        for (int i = 0; i < kHalves; ++i) {
            __m128 q[4];
            row.gather4(x + 4 * i, q);
            for (int k = 0; k < 4; ++k) h[k][i] = q[k];
        }
        for (int k = 0; k < 4; ++k) c[k] = join(h[k]);
    }
    [[gnu::always_inline]] static void scatter(const Row& row, int x, const VI q[4]) {
        for (int i = 0; i < kHalves; ++i) {
            const __m128i h[4] = {half(q[0], i), half(q[1], i), half(q[2], i), half(q[3], i)};
            row.scatter4(x + 4 * i, h);
        }
    }
};

// 8-bit planar and semi-planar YUV: four luma bytes per block and the chroma
// of the blocks covering them; chroma is stored only by the pixels at the
// top-left corner of their chroma block.
template <int32_t Code>
struct YUV8Row {
    static constexpr const FormatTraits& t = *formatTraits(Code);
    static_assert(t.bytesPerSample == 1 && t.layout != PlaneLayout::Packed && !t.hasAlpha, "8-bit YUV");
    static constexpr int sx = t.chromaShiftX;
    static constexpr bool kSemi = t.layout == PlaneLayout::SemiPlanar;
    uint8_t* luma;
    uint8_t* u;
    uint8_t* v;
    bool chromaRow;

    YUV8Row(const KROFrame& f, int y) {
        const int cy = y >> t.chromaShiftY;
        luma = f.planes[0] + ptrdiff_t{y} * f.strides[0];
        u = f.planes[1] + ptrdiff_t{cy} * f.strides[1];
        v = kSemi ? u : f.planes[2] + ptrdiff_t{cy} * f.strides[2];
        chromaRow = (y & ((1 << t.chromaShiftY) - 1)) == 0;
    }

    [[gnu::always_inline]] void gather(int x, VF c[4]) const { InHalves<YUV8Row>::gather(*this, x, c); }
    [[gnu::always_inline]] void scatter(int x, const VI q[4]) const { InHalves<YUV8Row>::scatter(*this, x, q); }

    void gather4(int x, __m128 c[4]) const {
        const __m128i z = _mm_setzero_si128();
        c[0] = bytesToFloats(load32(luma + x));
        if constexpr (kSemi) {  // u0 v0 u1 v1 for chroma samples x/2, x/2 + 1
            const __m128i uv = _mm_unpacklo_epi16(_mm_unpacklo_epi8(load32(u + 2 * (x >> 1)), z), z);
            c[1] = _mm_cvtepi32_ps(_mm_shuffle_epi32(uv, _MM_SHUFFLE(2, 2, 0, 0)));
            c[2] = _mm_cvtepi32_ps(_mm_shuffle_epi32(uv, _MM_SHUFFLE(3, 3, 1, 1)));
        } else if constexpr (sx == 0) {
            c[1] = bytesToFloats(load32(u + x));
            c[2] = bytesToFloats(load32(v + x));
        } else if constexpr (sx == 1) {
            const int cx = x >> 1;
            c[1] = _mm_cvtepi32_ps(_mm_setr_epi32(u[cx], u[cx], u[cx + 1], u[cx + 1]));
            c[2] = _mm_cvtepi32_ps(_mm_setr_epi32(v[cx], v[cx], v[cx + 1], v[cx + 1]));
        } else {
            const int cx = x >> sx;
            c[1] = _mm_set1_ps(static_cast<float>(u[cx]));
            c[2] = _mm_set1_ps(static_cast<float>(v[cx]));
        }
        c[3] = _mm_set1_ps(1.0f);
    }

    void scatter4(int x, const __m128i q[4]) const {
        const __m128i y16 = _mm_packs_epi32(q[0], q[0]);
        const int32_t y8 = _mm_cvtsi128_si32(_mm_packus_epi16(y16, y16));
        std::memcpy(luma + x, &y8, sizeof y8);
        if (!chromaRow) return;
        alignas(16) int32_t cu[4], cv[4];
        _mm_store_si128(reinterpret_cast<__m128i*>(cu), q[1]);
        _mm_store_si128(reinterpret_cast<__m128i*>(cv), q[2]);
        for (int lane = 0; lane < 4; lane += 1 << sx) {
            const ptrdiff_t cx = (x + lane) >> sx;
            if constexpr (kSemi) {
                u[2 * cx] = static_cast<uint8_t>(cu[lane]);
                u[2 * cx + 1] = static_cast<uint8_t>(cv[lane]);
            } else {
                u[cx] = static_cast<uint8_t>(cu[lane]);
                v[cx] = static_cast<uint8_t>(cv[lane]);
            }
        }
    }
};

// Planar YUV in little-endian 16-bit words without alpha (10, 12 and 16
// bits: YUV420P10, YUV422P10, YUV444P10, YUV444P12, YUV444P16): read only.
// The scalar reader returns the whole stored word, so the vector one does too.
template <int32_t Code>
struct YUV16Row {
    static constexpr const FormatTraits& t = *formatTraits(Code);
    static_assert(t.bytesPerSample == 2 && t.layout == PlaneLayout::Planar && !t.hasAlpha && !t.bigEndian &&
                      t.msbShift == 0 && t.chromaShiftX <= 1,
                  "planar little-endian words");
    static constexpr int sx = t.chromaShiftX;
    const uint8_t* luma;  // rows need not be 2-byte aligned
    const uint8_t* u;
    const uint8_t* v;

    YUV16Row(const KROFrame& f, int y) {
        const int cy = y >> t.chromaShiftY;
        luma = f.planes[0] + ptrdiff_t{y} * f.strides[0];
        u = f.planes[1] + ptrdiff_t{cy} * f.strides[1];
        v = f.planes[2] + ptrdiff_t{cy} * f.strides[2];
    }

    [[gnu::always_inline]] void gather(int x, VF c[4]) const { InHalves<YUV16Row>::gather(*this, x, c); }

    static __m128i words(const uint8_t* row, int x) {  // the low four words
        return _mm_unpacklo_epi16(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(row + 2 * ptrdiff_t{x})),
                                  _mm_setzero_si128());
    }
    void gather4(int x, __m128 c[4]) const {
        c[0] = _mm_cvtepi32_ps(words(luma, x));
        if constexpr (sx == 0) {
            c[1] = _mm_cvtepi32_ps(words(u, x));
            c[2] = _mm_cvtepi32_ps(words(v, x));
        } else {  // chroma words x/2 and x/2 + 1 (no further: the row may end), each for two pixels
            const ptrdiff_t at = 2 * ptrdiff_t{x >> 1};
            const __m128i z = _mm_setzero_si128();
            c[1] = _mm_cvtepi32_ps(_mm_shuffle_epi32(_mm_unpacklo_epi16(load32(u + at), z), _MM_SHUFFLE(1, 1, 0, 0)));
            c[2] = _mm_cvtepi32_ps(_mm_shuffle_epi32(_mm_unpacklo_epi16(load32(v + at), z), _MM_SHUFFLE(1, 1, 0, 0)));
        }
        c[3] = _mm_set1_ps(1.0f);
    }
};

// 8-bit packed formats with four samples per pixel (RGBA, BGRA, CMYK).
template <int32_t Code>
struct Packed4x8Row {
    static constexpr const FormatTraits& t = *formatTraits(Code);
    static_assert(t.bytesPerSample == 1 && t.samplesPerPixel == 4 && t.order[3] == 3, "four bytes per pixel");
    // Which component sits at each position of the pixel.
    static constexpr int at0 = t.order[0] == 0 ? 0 : t.order[1] == 0 ? 1 : 2;
    static constexpr int at1 = t.order[0] == 1 ? 0 : t.order[1] == 1 ? 1 : 2;
    static constexpr int at2 = t.order[0] == 2 ? 0 : t.order[1] == 2 ? 1 : 2;
    uint8_t* row;

    Packed4x8Row(const KROFrame& f, int y) : row(f.planes[0] + ptrdiff_t{y} * f.strides[0]) {}

    [[gnu::always_inline]] void gather(int x, VF c[4]) const { InHalves<Packed4x8Row>::gather(*this, x, c); }
#if defined(__AVX2__)
    // Eight pixels: each 128-bit half packs its four pixels' codes to bytes
    // by position, [pos0 x4 | pos1 x4 | pos2 x4 | pos3 x4], and one byte
    // shuffle turns that into pixel order.
    [[gnu::always_inline]] void scatter(int x, const VI q[4]) const {
        const __m256i b = _mm256_packus_epi16(_mm256_packs_epi32(q[at0], q[at1]), _mm256_packs_epi32(q[at2], q[3]));
        const __m256i order = _mm256_setr_epi8(0, 4, 8, 12, 1, 5, 9, 13, 2, 6, 10, 14, 3, 7, 11, 15,  //
                                               0, 4, 8, 12, 1, 5, 9, 13, 2, 6, 10, 14, 3, 7, 11, 15);
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(row + 4 * ptrdiff_t{x}), _mm256_shuffle_epi8(b, order));
    }
#else
    [[gnu::always_inline]] void scatter(int x, const VI q[4]) const { InHalves<Packed4x8Row>::scatter(*this, x, q); }
#endif

    void gather4(int x, __m128 c[4]) const {
        const __m128i z = _mm_setzero_si128();
        const __m128i px = _mm_loadu_si128(reinterpret_cast<const __m128i*>(row + 4 * ptrdiff_t{x}));
        alignas(16) NativePixel stored[4];
        _mm_store_si128(reinterpret_cast<__m128i*>(stored), _mm_unpacklo_epi8(px, z));
        _mm_store_si128(reinterpret_cast<__m128i*>(stored + 2), _mm_unpackhi_epi8(px, z));
        __m128 s[4];
        codesToChannels4(stored, s);  // s[k]: the sample at position k of each pixel
        for (int k = 0; k < 4; ++k) c[k] = s[t.order[k]];
    }

    // Codes are packed to bytes as [pos0 x4 | pos2 x4 | pos1 x4 | pos3 x4],
    // which two interleaving steps turn into pixel order.
    void scatter4(int x, const __m128i q[4]) const {
        const __m128i b = _mm_packus_epi16(_mm_packs_epi32(q[at0], q[at2]), _mm_packs_epi32(q[at1], q[3]));
        const __m128i e = _mm_unpacklo_epi8(b, _mm_srli_si128(b, 8));
        const __m128i px = _mm_unpacklo_epi16(e, _mm_srli_si128(e, 8));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(row + 4 * ptrdiff_t{x}), px);
    }
};

}  // namespace KRO_SIMD_NS
}  // namespace simd
}  // namespace KROCOLOR
