// The direct rows, written once over an operation set V (vector_ops_*.h) and
// instantiated per instruction set in that set's translation unit. The
// arithmetic is that of the vector colour stages (vector_rows_impl.h), which
// mirror the inline kernels operation for operation: normalisation, the
// clamped matrix, quantisation. Only whole vectors are converted; the
// caller's general pass takes the rest of the row.
#pragma once

#include <cstddef>
#include <cstdint>

#include "color/color_constants.h"
#include "color/x86/vector_rows_impl.h"
#include "core/pixel_format_table.h"
#include "cpu/x86/direct_rows.h"

namespace KROCOLOR {
namespace direct {

template <int32_t Code>
struct Layout {
    static constexpr const FormatTraits& t = *formatTraits(Code);
    static constexpr bool kSemi = t.layout == PlaneLayout::SemiPlanar;
    static constexpr int kShiftX = t.chromaShiftX;
    static constexpr int kShiftY = t.chromaShiftY;
    static constexpr int kBytes = t.samplesPerPixel;  // packed RGB: bytes per pixel
    static constexpr int kR = t.order[0], kG = t.order[1], kB = t.order[2];
    static constexpr bool kAlpha = t.order[3] != kNoComponent;
    static constexpr int kA = kAlpha ? t.order[3] : 0;
    // An interleaved chroma plane holds one pair per two pixels.
    static_assert(!kSemi || kShiftX == 1, "semi-planar chroma pairs cover two pixels");
};

inline const uint8_t* rowOf(const KROFrame& f, int plane, int row) {
    return f.planes[plane] + ptrdiff_t{row} * f.strides[plane];
}
inline uint8_t* rowOf(KROFrame& f, int plane, int row) {
    return f.planes[plane] + ptrdiff_t{row} * f.strides[plane];
}

// 8-bit YUV (Yuv) -> 8-bit packed RGB (Rgb): kernels::normaliseYUV*, then
// yuvToRgbWith, then quantiseRGB (alpha, where stored, is the full code).
// With 8-bit samples the limited-range step is 1 and x / 1 is x exactly, so
// that division is left out. Chroma shared by two pixels across is
// normalised once and then given to both.
template <class V, int32_t Yuv, int32_t Rgb, SampleRule Rule>
int yuvToRgbRow(const ColorPlan& p, const KROFrame& src, KROFrame& dst, int y, int width) {
    using F = typename V::F;
    using I = typename V::I;
    using S = Layout<Yuv>;
    using D = Layout<Rgb>;
    constexpr int L = V::kLanes;
    constexpr int kStep = S::kShiftX == 1 ? 2 * L : L;  // pixels per vector of chroma
    const int whole = width / kStep * kStep;
    const int cy = y >> S::kShiftY;
    const uint8_t* luma = rowOf(src, 0, y);
    const uint8_t* u = rowOf(src, 1, cy);
    const uint8_t* v = S::kSemi ? u : rowOf(src, 2, cy);
    uint8_t* out = rowOf(dst, 0, y);
    const Matrix3& m = p.yuvToRgb;
    const F maxIn = V::set(p.src.maxCode), half = V::set(p.src.half);
    const F black = V::set(kVideoBlack), lumaSpan = V::set(kVideoLumaSpan);
    const F chromaZero = V::set(kVideoChromaZero), chromaSpan = V::set(kVideoChromaSpan);
    const float maxCode = p.dst.maxCode;
    const F maxOut = V::set(maxCode);
    alignas(32) int32_t codes[3][L];

    const auto chroma = [&](I c) {
        const F f = Rule == SampleRule::YUVLimited ? V::div(V::sub(V::toFloat(c), chromaZero), chromaSpan)
                                                   : V::div(V::sub(V::toFloat(c), half), maxIn);
        return vrows::clampTo<V>(f, -0.5f, 0.5f);
    };
    // Pixels x .. x + L - 1 with their normalised chroma.
    const auto pixels = [&](int x, F c1, F c2) {
        const F yf = V::toFloat(V::loadBytes(luma + x));
        const F c0 = vrows::clamp01<V>(Rule == SampleRule::YUVLimited ? V::div(V::sub(yf, black), lumaSpan)
                                                                      : V::div(yf, maxIn));
        const I r = vrows::toCode<V>(V::mul(vrows::clamp01<V>(vrows::dot<V>(m.m[0], c0, c1, c2)), maxOut), maxCode);
        const I g = vrows::toCode<V>(V::mul(vrows::clamp01<V>(vrows::dot<V>(m.m[1], c0, c1, c2)), maxOut), maxCode);
        const I b = vrows::toCode<V>(V::mul(vrows::clamp01<V>(vrows::dot<V>(m.m[2], c0, c1, c2)), maxOut), maxCode);
        if constexpr (D::kBytes == 4) {
            I w = V::template shiftedOr<8 * D::kR>(V::setInt(0), r);
            w = V::template shiftedOr<8 * D::kG>(w, g);
            w = V::template shiftedOr<8 * D::kB>(w, b);
            if constexpr (D::kAlpha) w = V::template shiftedOr<8 * D::kA>(w, V::setInt(static_cast<int>(maxCode)));
            V::storeWords(out + 4 * ptrdiff_t{x}, w);
        } else {
            V::storeInt(codes[0], r);
            V::storeInt(codes[1], g);
            V::storeInt(codes[2], b);
            uint8_t* px = out + ptrdiff_t{x} * D::kBytes;
            for (int i = 0; i < L; ++i, px += D::kBytes) {
                px[D::kR] = static_cast<uint8_t>(codes[0][i]);
                px[D::kG] = static_cast<uint8_t>(codes[1][i]);
                px[D::kB] = static_cast<uint8_t>(codes[2][i]);
            }
        }
    };

    for (int x = 0; x < whole; x += kStep) {
        I uc, vc;
        if constexpr (S::kSemi) {
            V::loadPairs(u + x, uc, vc);  // the pairs of pixels x .. x + 2L - 1
        } else if constexpr (S::kShiftX == 1) {
            uc = V::loadBytes(u + x / 2);
            vc = V::loadBytes(v + x / 2);
        } else {
            uc = V::loadBytes(u + x);
            vc = V::loadBytes(v + x);
        }
        const F cu = chroma(uc), cv = chroma(vc);
        if constexpr (S::kShiftX == 1) {
            pixels(x, V::twiceLow(cu), V::twiceLow(cv));
            pixels(x + L, V::twiceHigh(cu), V::twiceHigh(cv));
        } else {
            pixels(x, cu, cv);
        }
    }
    return whole;
}

// 8-bit packed RGB (Rgb) -> 8-bit YUV (Yuv): kernels::normaliseRGB, then
// rgbToYuvWith, then quantiseYUV*. Chroma is worked out and stored only on
// the rows and at the pixels that carry it (the top-left pixel of each
// chroma block, as the sample writers do); the limited-range step of 8-bit
// samples is 1, and x * 1 is x exactly, so that product is left out.
template <class V, int32_t Rgb, int32_t Yuv, SampleRule Rule>
int rgbToYuvRow(const ColorPlan& p, const KROFrame& src, KROFrame& dst, int y, int width) {
    using F = typename V::F;
    using I = typename V::I;
    using S = Layout<Rgb>;
    using D = Layout<Yuv>;
    constexpr int L = V::kLanes;
    const int whole = width / L * L;
    const bool chromaRow = (y & ((1 << D::kShiftY) - 1)) == 0;
    const int cy = y >> D::kShiftY;
    const uint8_t* in = rowOf(src, 0, y);
    uint8_t* luma = rowOf(dst, 0, y);
    uint8_t* u = rowOf(dst, 1, cy);
    uint8_t* v = D::kSemi ? u : rowOf(dst, 2, cy);
    const Matrix3& m = p.rgbToYuv;
    const F maxIn = V::set(p.src.maxCode);
    const FormatRule& out = p.dst;
    const float maxCode = out.maxCode;
    const F maxOut = V::set(maxCode), half = V::set(out.half);
    const F black = V::set(kVideoBlack), lumaSpan = V::set(kVideoLumaSpan);
    const F chromaZero = V::set(kVideoChromaZero), chromaSpan = V::set(kVideoChromaSpan);
    alignas(32) int32_t codes[3][L];
    for (int x = 0; x < whole; x += L) {
        I rc, gc, bc;
        if constexpr (S::kBytes == 4) {
            const I w = V::loadWords(in + 4 * ptrdiff_t{x});
            rc = V::template byteAt<8 * S::kR>(w);
            gc = V::template byteAt<8 * S::kG>(w);
            bc = V::template byteAt<8 * S::kB>(w);
        } else {
            const uint8_t* px = in + ptrdiff_t{x} * S::kBytes;
            for (int i = 0; i < L; ++i, px += S::kBytes) {
                codes[0][i] = px[S::kR];
                codes[1][i] = px[S::kG];
                codes[2][i] = px[S::kB];
            }
            rc = V::loadInt(codes[0]);
            gc = V::loadInt(codes[1]);
            bc = V::loadInt(codes[2]);
        }
        const F r = vrows::clamp01<V>(V::div(V::toFloat(rc), maxIn));
        const F g = vrows::clamp01<V>(V::div(V::toFloat(gc), maxIn));
        const F b = vrows::clamp01<V>(V::div(V::toFloat(bc), maxIn));
        const F c0 = vrows::clamp01<V>(vrows::dot<V>(m.m[0], r, g, b));
        V::storeBytes(luma + x, Rule == SampleRule::YUVLimited
                                    ? vrows::toCode<V>(V::add(V::mul(c0, lumaSpan), black), maxCode)
                                    : vrows::toCode<V>(V::mul(c0, maxOut), maxCode));
        if (!chromaRow) continue;
        const F c1 = vrows::clampTo<V>(vrows::dot<V>(m.m[1], r, g, b), -0.5f, 0.5f);
        const F c2 = vrows::clampTo<V>(vrows::dot<V>(m.m[2], r, g, b), -0.5f, 0.5f);
        if constexpr (Rule == SampleRule::YUVLimited) {
            V::storeInt(codes[1], vrows::toCode<V>(V::add(V::mul(c1, chromaSpan), chromaZero), maxCode));
            V::storeInt(codes[2], vrows::toCode<V>(V::add(V::mul(c2, chromaSpan), chromaZero), maxCode));
        } else {
            V::storeInt(codes[1], vrows::toCode<V>(V::add(V::mul(c1, maxOut), half), maxCode));
            V::storeInt(codes[2], vrows::toCode<V>(V::add(V::mul(c2, maxOut), half), maxCode));
        }
        for (int i = 0; i < L; i += 1 << D::kShiftX) {
            const ptrdiff_t cx = (x + i) >> D::kShiftX;
            if constexpr (D::kSemi) {
                u[2 * cx] = static_cast<uint8_t>(codes[1][i]);
                u[2 * cx + 1] = static_cast<uint8_t>(codes[2][i]);
            } else {
                u[cx] = static_cast<uint8_t>(codes[1][i]);
                v[cx] = static_cast<uint8_t>(codes[2][i]);
            }
        }
    }
    return whole;
}

// The row between one YUV and one RGB format, in the direction asked for.
template <class V, int32_t Yuv, int32_t Rgb, SampleRule Rule, bool ToRgb>
DirectRow rowBetween() {
    if constexpr (ToRgb)
        return &yuvToRgbRow<V, Yuv, Rgb, Rule>;
    else
        return &rgbToYuvRow<V, Rgb, Yuv, Rule>;
}

// The 8-bit packed RGB formats.
template <class V, int32_t Yuv, SampleRule Rule, bool ToRgb>
DirectRow forRgb(int32_t rgb) {
    switch (rgb) {
    case kKRORGB888Format: return rowBetween<V, Yuv, kKRORGB888Format, Rule, ToRgb>();
    case kKRORGBA8888Format: return rowBetween<V, Yuv, kKRORGBA8888Format, Rule, ToRgb>();
    case kKROBGR888Format: return rowBetween<V, Yuv, kKROBGR888Format, Rule, ToRgb>();
    case kKROBGRA8888Format: return rowBetween<V, Yuv, kKROBGRA8888Format, Rule, ToRgb>();
    default: return nullptr;
    }
}

// The YUV formats with 8-bit samples and chroma blocks at most two pixels
// wide.
template <class V, SampleRule Rule, bool ToRgb>
DirectRow forYuv(int32_t yuv, int32_t rgb) {
    switch (yuv) {
    case kKRONV12Format: return forRgb<V, kKRONV12Format, Rule, ToRgb>(rgb);
    case kKROYUV420PFormat: return forRgb<V, kKROYUV420PFormat, Rule, ToRgb>(rgb);
    case kKROYUV422PFormat: return forRgb<V, kKROYUV422PFormat, Rule, ToRgb>(rgb);
    case kKROYUV444PFormat: return forRgb<V, kKROYUV444PFormat, Rule, ToRgb>(rgb);
    default: return nullptr;
    }
}

template <class V>
DirectRow rowFor(const ColorPlan& p, int32_t srcFormat, int32_t dstFormat) {
    const auto yuv8 = [](const FormatRule& r) {
        return (r.kind == SampleRule::YUVLimited || r.kind == SampleRule::YUVFull) && r.maxCode == kFullScale8 &&
               !r.hasAlpha;
    };
    const auto rgb8 = [](const FormatRule& r) { return r.kind == SampleRule::RGB && r.maxCode == kFullScale8; };
    if (p.linearStages || p.src.scale != 1.0f || p.dst.scale != 1.0f) return nullptr;  // 8-bit only
    if (p.toRgb == MatrixStage::Fixed && p.toYuv == MatrixStage::None && yuv8(p.src) && rgb8(p.dst))
        return p.src.kind == SampleRule::YUVLimited ? forYuv<V, SampleRule::YUVLimited, true>(srcFormat, dstFormat)
                                                    : forYuv<V, SampleRule::YUVFull, true>(srcFormat, dstFormat);
    if (p.toRgb == MatrixStage::None && p.toYuv == MatrixStage::Fixed && rgb8(p.src) && yuv8(p.dst))
        return p.dst.kind == SampleRule::YUVLimited ? forYuv<V, SampleRule::YUVLimited, false>(dstFormat, srcFormat)
                                                    : forYuv<V, SampleRule::YUVFull, false>(dstFormat, srcFormat);
    return nullptr;
}

}  // namespace direct
}  // namespace KROCOLOR
