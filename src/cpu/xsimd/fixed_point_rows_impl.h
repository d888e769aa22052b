// The fixed-point rows, written once over an instruction-set struct V (SSE2:
// 8 pixels per step; AVX2: 16) and instantiated by each instruction set's
// translation unit with its own V, declared in an unnamed namespace there,
// so no code built for one set is ever linked into a caller of another.
//
// V supplies, on registers I of 16-bit lanes (N = V::kPixels of them):
//   loadBytes(p)       N bytes -> N lanes
//   loadHalfDup(p)     N/2 bytes, each twice -> N lanes
//   loadPixels(p,a,b)  4N bytes as two registers of 32-bit pixels
//   loadSemiDup(p,u,v) N bytes u0 v0 u1 v1 ... -> u0 u0 u1 u1 ... and v alike
//   evens(a,b)         pixels 0, 2, 4, ... of a then b, as one register
//   pairs01(px), pairs2(px)  bytes 0 and 1 of each 32-bit pixel as two
//                      16-bit lanes; byte 2 and zero
//   packLinear(a,b)    32-bit lanes of a then b -> N 16-bit lanes, in order
//   storePixels(p,lo,hi)  the two halves made by unpacking, in order
//   storeLuma(p,x)     N lanes -> N bytes
//   storeSemi(p,x)     U0..U(N/2-1) V0..V(N/2-1) lanes -> interleaved bytes
//   storePlanar(u,v,x) the same lanes -> N/2 bytes each
//   loadWords, loadHalfDupWords, storeLumaWords, storeSemiWords,
//   storePlanarWords   the same for little-endian 16-bit samples
// and the plain integer operations named after their instructions.
//
// Vector steps cover x < (width rounded down to N); the rest of the row goes
// through the scalar form in fixed_point_plan.h. Every load and store stays
// inside the bytes that the scalar reader and writer of the same pixels
// touch, so rows ending at their allocation are safe.
#pragma once

#include <cstddef>

#include "KROColorFunctions.h"
#include "core/pixel_format_table.h"
#include "cpu/xsimd/fixed_point_plan.h"

namespace KROCOLOR {
namespace fixedpoint {

static inline int32_t pair16(int lowLane, int highLane) {
    return static_cast<int32_t>(static_cast<uint32_t>(static_cast<uint16_t>(lowLane)) |
                                static_cast<uint32_t>(static_cast<uint16_t>(highLane)) << 16);
}

// The YUV side: 4:2:0, semi-planar (NV12, P010) or planar (YUV420P,
// YUV420P10), 8-bit or 10-bit in little-endian words, P010's samples in the
// top 10 bits of each word.
template <bool Semi, bool Words, int MsbShift>
struct Yuv420 {
    static constexpr bool kSemi = Semi;
    static constexpr bool kWords = Words;
    static constexpr int kMsbShift = MsbShift;
    static constexpr int kBytes = Words ? 2 : 1;
};

// Start of row `row` of a plane. Word planes count their stride in whole
// words, so an odd byte stride loses its last byte, as everywhere else.
template <class Y, class Plane>
static inline Plane* rowOf(Plane* plane, int32_t stride, int row) {
    const ptrdiff_t unit = Y::kWords ? ptrdiff_t{stride / 2} * 2 : ptrdiff_t{stride};
    return plane + ptrdiff_t{row} * unit;
}

template <class Y>
static inline int sampleAt(const uint8_t* row, ptrdiff_t i) {
    if constexpr (!Y::kWords) {
        return row[i];
    } else {
        const unsigned w = unsigned{row[2 * i]} | unsigned{row[2 * i + 1]} << 8;
        return static_cast<int>(w >> Y::kMsbShift);
    }
}

template <class Y>
static inline void storeSample(uint8_t* row, ptrdiff_t i, int value) {
    if constexpr (!Y::kWords) {
        row[i] = static_cast<uint8_t>(value);
    } else {
        const unsigned w = static_cast<unsigned>(value) << Y::kMsbShift;
        row[2 * i] = static_cast<uint8_t>(w);
        row[2 * i + 1] = static_cast<uint8_t>(w >> 8);
    }
}

// N samples of the YUV side from sample index i of a row, as 16-bit lanes
// no larger than the format's maximum code (words of YUV420P10 may carry
// bits above the tenth; the per-pixel normalisation clamps them to full
// scale, and so does this limit).
template <class V, class Y>
static inline typename V::I loadSamples(const uint8_t* row, ptrdiff_t i) {
    if constexpr (!Y::kWords) {
        return V::loadBytes(row + i);
    } else {
        const typename V::I w = V::loadWords(row + 2 * i);
        if constexpr (Y::kMsbShift != 0) return V::srli16(w, Y::kMsbShift);
        return V::minu16(w, 1023);
    }
}

template <class V, class Y>
static inline typename V::I loadHalfDup(const uint8_t* row, ptrdiff_t i) {
    if constexpr (!Y::kWords) return V::loadHalfDup(row + i);
    else return V::minu16(V::loadHalfDupWords(row + 2 * i), 1023);
}

// Codes 0..255 of the first three positions and opaque alpha, as four
// pixels' bytes in order.
template <class V>
static inline void storeRgba(uint8_t* out, const typename V::I c[3], typename V::I opaque) {
    const typename V::I b02 = V::packus16(c[0], c[2]), b13 = V::packus16(c[1], opaque);
    const typename V::I e = V::unpacklo8(b02, b13), f = V::unpackhi8(b02, b13);
    V::storePixels(out, V::unpacklo16(e, f), V::unpackhi16(e, f));
}

// The chroma of pixels x .. x + N - 1, each sample taken by both pixels of
// its pair.
template <class V, class Y>
static inline void loadChroma(const uint8_t* u, const uint8_t* v, int x, typename V::I& cu, typename V::I& cv) {
    using I = typename V::I;
    if constexpr (Y::kSemi && !Y::kWords) {
        V::loadSemiDup(u + x, cu, cv);
    } else if constexpr (Y::kSemi) {  // u0 v0 u1 v1 ...: each 32-bit lane holds one pair
        const I uv = loadSamples<V, Y>(u, x);
        const I low = V::and_(uv, V::set32(0xFFFF)), high = V::srli32(uv, 16);
        cu = V::or_(low, V::slli32(low, 16));
        cv = V::or_(high, V::slli32(high, 16));
    } else {
        cu = loadHalfDup<V, Y>(u, x / 2);
        cv = loadHalfDup<V, Y>(v, x / 2);
    }
}

// Pixels x0 .. width - 1 of a row, one at a time.
template <class Y>
static inline void yuvToRgbTail(const FixedPointPlan& p, const uint8_t* luma, const uint8_t* u, const uint8_t* v,
                                uint8_t* out, int x0, int width) {
    const int maxCode = Y::kWords ? 1023 : 255;
    auto limited = [maxCode](int c) { return c < maxCode ? c : maxCode; };
    for (int x = x0; x < width; ++x) {
        const ptrdiff_t cx = x >> 1;
        const int cu = Y::kSemi ? sampleAt<Y>(u, 2 * cx) : sampleAt<Y>(u, cx);
        const int cv = Y::kSemi ? sampleAt<Y>(u, 2 * cx + 1) : sampleAt<Y>(v, cx);
        uint8_t* px = out + 4 * ptrdiff_t{x};
        fixedYuvToRgb(p, limited(sampleAt<Y>(luma, x)), limited(cu), limited(cv), px);
        px[3] = 255;
    }
}

// 8-bit samples in the 16-bit form (fixed_point_plan.h). Offsets and limits
// are shifted alike; the chroma offset 2^15 wraps, as the shifted samples
// do, so their difference comes out right.
template <class V, class Y>
void yuvToRgbNarrow(const FixedPointPlan& p, const KROFrame& src, KROFrame& dst, int y) {
    using I = typename V::I;
    constexpr int N = V::kPixels;
    const uint8_t* luma = rowOf<Y>(src.planes[0], src.strides[0], y);
    const uint8_t* u = rowOf<Y>(src.planes[1], src.strides[1], y >> 1);
    const uint8_t* v = Y::kSemi ? u : rowOf<Y>(src.planes[2], src.strides[2], y >> 1);
    uint8_t* out = dst.planes[0] + ptrdiff_t{y} * dst.strides[0];
    const int width = dst.width;
    const int vectorEnd = width / N * N;

    const int up = kNarrowChromaUp - p.chromaShift;  // half codes of full range go up one bit less
    const I yOffset = V::set16(p.yOffset << kNarrowLumaUp), yMax = V::set16(p.yMax << kNarrowLumaUp);
    const I cOffset = V::set16(p.chromaOffset << up);
    const I cLo = V::set16(p.chromaLo * (1 << up)), cHi = V::set16(p.chromaHi << up);
    const I round = V::set16(kNarrowRound), opaque = V::set16(255), zero = V::set16(0);
    I mY[3], mU[3], mV[3];
    for (int k = 0; k < 3; ++k) {
        mY[k] = V::set16(p.narrowY[k]);
        mU[k] = V::set16(p.narrowU[k]);
        mV[k] = V::set16(p.narrowV[k]);
    }
    for (int x = 0; x < vectorEnd; x += N) {
        I cu, cv;
        loadChroma<V, Y>(u, v, x, cu, cv);
        const I yy = V::min16(V::max16(V::sub16(V::sll16(V::loadBytes(luma + x), kNarrowLumaUp), yOffset), zero), yMax);
        cu = V::min16(V::max16(V::sub16(V::sll16(cu, kNarrowChromaUp), cOffset), cLo), cHi);
        cv = V::min16(V::max16(V::sub16(V::sll16(cv, kNarrowChromaUp), cOffset), cLo), cHi);
        I c[3];
        for (int k = 0; k < 3; ++k) {
            const I s = V::add16(V::add16(V::mulhi16(yy, mY[k]), V::mulhi16(cu, mU[k])),
                                 V::add16(V::mulhi16(cv, mV[k]), round));
            c[k] = V::srai16(s, kNarrowBits);
        }
        storeRgba<V>(out + 4 * ptrdiff_t{x}, c, opaque);
    }
    yuvToRgbTail<Y>(p, luma, u, v, out, vectorEnd, width);
}

// 10-bit samples: (Y', U') and (V', 1) pairs through 32-bit multiply-adds.
template <class V, class Y>
void yuvToRgbWide(const FixedPointPlan& p, const KROFrame& src, KROFrame& dst, int y) {
    using I = typename V::I;
    constexpr int N = V::kPixels;
    const uint8_t* luma = rowOf<Y>(src.planes[0], src.strides[0], y);
    const uint8_t* u = rowOf<Y>(src.planes[1], src.strides[1], y >> 1);
    const uint8_t* v = Y::kSemi ? u : rowOf<Y>(src.planes[2], src.strides[2], y >> 1);
    uint8_t* out = dst.planes[0] + ptrdiff_t{y} * dst.strides[0];
    const int width = dst.width;
    const int vectorEnd = width / N * N;

    const I yOffset = V::set16(p.yOffset), yMax = V::set16(p.yMax), zero = V::set16(0);
    const I cOffset = V::set16(p.chromaOffset), cLo = V::set16(p.chromaLo), cHi = V::set16(p.chromaHi);
    const I one = V::set16(1), opaque = V::set16(255);
    const int shift = p.chromaShift;
    I yu[3], v1[3];
    for (int k = 0; k < 3; ++k) {
        yu[k] = V::set32(pair16(p.fromY[k], p.fromU[k]));
        v1[k] = V::set32(pair16(p.fromV[k], kHalf));
    }
    for (int x = 0; x < vectorEnd; x += N) {
        I cu, cv;
        loadChroma<V, Y>(u, v, x, cu, cv);
        const I yy = V::min16(V::max16(V::sub16(loadSamples<V, Y>(luma, x), yOffset), zero), yMax);
        cu = V::min16(V::max16(V::sub16(V::sll16(cu, shift), cOffset), cLo), cHi);
        cv = V::min16(V::max16(V::sub16(V::sll16(cv, shift), cOffset), cLo), cHi);
        const I yuLo = V::unpacklo16(yy, cu), yuHi = V::unpackhi16(yy, cu);
        const I v1Lo = V::unpacklo16(cv, one), v1Hi = V::unpackhi16(cv, one);
        I c[3];
        for (int k = 0; k < 3; ++k) {
            const I lo = V::srai32(V::add32(V::madd(yuLo, yu[k]), V::madd(v1Lo, v1[k])), kFractionBits);
            const I hi = V::srai32(V::add32(V::madd(yuHi, yu[k]), V::madd(v1Hi, v1[k])), kFractionBits);
            c[k] = V::packs32(lo, hi);  // lo and hi came from the same unpack: lanes stay in order
        }
        storeRgba<V>(out + 4 * ptrdiff_t{x}, c, opaque);
    }
    yuvToRgbTail<Y>(p, luma, u, v, out, vectorEnd, width);
}

template <class V, class Y>
void rgbToYuvRow(const FixedPointPlan& p, const KROFrame& src, KROFrame& dst, int y) {
    using I = typename V::I;
    constexpr int N = V::kPixels;
    const uint8_t* in = src.planes[0] + ptrdiff_t{y} * src.strides[0];
    uint8_t* luma = rowOf<Y>(dst.planes[0], dst.strides[0], y);
    uint8_t* u = rowOf<Y>(dst.planes[1], dst.strides[1], y >> 1);
    uint8_t* v = Y::kSemi ? u : rowOf<Y>(dst.planes[2], dst.strides[2], y >> 1);
    const bool chromaRow = (y & 1) == 0;  // chroma comes from the block's top-left pixel
    const int width = dst.width;
    const int vectorEnd = width / N * N;

    I c01[3], c2[3], bias[3];
    for (int j = 0; j < 3; ++j) {
        c01[j] = V::set32(pair16(p.toYuv[j][0], p.toYuv[j][1]));
        c2[j] = V::set32(pair16(p.toYuv[j][2], 0));
        bias[j] = V::set32(p.bias[j]);
    }
    const I yLo = V::set16(p.lo[0]), yHi = V::set16(p.hi[0]), cLo = V::set16(p.lo[1]), cHi = V::set16(p.hi[1]);
    // Component j of each pixel from its byte pairs (pairs01, pairs2).
    auto component = [&](I p01, I p2, int j) {
        return V::srai32(V::add32(V::add32(V::madd(p01, c01[j]), V::madd(p2, c2[j])), bias[j]), p.toYuvBits);
    };

    for (int x = 0; x < vectorEnd; x += N) {
        I a, b;
        V::loadPixels(in + 4 * ptrdiff_t{x}, a, b);
        const I yy = V::min16(
            V::max16(V::packLinear(component(V::pairs01(a), V::pairs2(a), 0), component(V::pairs01(b), V::pairs2(b), 0)),
                     yLo),
            yHi);
        if constexpr (Y::kWords) V::storeLumaWords(luma + 2 * x, V::slli16(yy, Y::kMsbShift));
        else V::storeLuma(luma + x, yy);
        if (!chromaRow) continue;
        const I even = V::evens(a, b), e01 = V::pairs01(even), e2 = V::pairs2(even);
        I uv = V::min16(V::max16(V::packs32(component(e01, e2, 1), component(e01, e2, 2)), cLo), cHi);
        if constexpr (Y::kWords) {
            uv = V::slli16(uv, Y::kMsbShift);
            if constexpr (Y::kSemi) V::storeSemiWords(u + 2 * x, uv);
            else V::storePlanarWords(u + x, v + x, uv);  // x / 2 words
        } else {
            if constexpr (Y::kSemi) V::storeSemi(u + x, uv);
            else V::storePlanar(u + x / 2, v + x / 2, uv);
        }
    }
    for (int x = vectorEnd; x < width; ++x) {
        const uint8_t* px = in + 4 * ptrdiff_t{x};
        storeSample<Y>(luma, x, fixedRgbToYuv(p, px, 0));
        if (!chromaRow || (x & 1)) continue;
        const ptrdiff_t cx = x >> 1;
        if constexpr (Y::kSemi) {
            storeSample<Y>(u, 2 * cx, fixedRgbToYuv(p, px, 1));
            storeSample<Y>(u, 2 * cx + 1, fixedRgbToYuv(p, px, 2));
        } else {
            storeSample<Y>(u, cx, fixedRgbToYuv(p, px, 1));
            storeSample<Y>(v, cx, fixedRgbToYuv(p, px, 2));
        }
    }
}

template <class V, class Y>
FixedRow rowOfSide(bool toRgb) {
    if (!toRgb) return &rgbToYuvRow<V, Y>;
    return Y::kWords ? &yuvToRgbWide<V, Y> : &yuvToRgbNarrow<V, Y>;
}

// The row of a conversion between a 4:2:0 YUV format and a packed four-byte
// RGB layout; `toRgb` says which side is the source.
template <class V>
FixedRow rowFor(int32_t yuvFormat, bool toRgb) {
    switch (yuvFormat) {
    case kKRONV12Format: return rowOfSide<V, Yuv420<true, false, 0>>(toRgb);
    case kKROYUV420PFormat: return rowOfSide<V, Yuv420<false, false, 0>>(toRgb);
    case kKRONV1210LEFormat: return rowOfSide<V, Yuv420<true, true, 6>>(toRgb);
    case kKROYUV420P10LEFormat: return rowOfSide<V, Yuv420<false, true, 0>>(toRgb);
    default: return nullptr;
    }
}

}  // namespace fixedpoint
}  // namespace KROCOLOR
