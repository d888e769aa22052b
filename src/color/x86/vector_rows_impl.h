// The vector colour stages, written once over an operation set V (four
// SSE2 lanes or eight AVX2 lanes) and instantiated by each instruction set's
// translation unit with its own V, declared in an unnamed namespace there:
// every instantiation is local to that unit, so no code built for one
// instruction set can be picked up by another.
//
// Each function mirrors one inline kernel of pixel_kernels.h operation for
// operation; comments name the kernel. Loops run over whole vectors: the
// block is padded (unpack zeroes the lanes past n), and results are stored
// for the first n pixels only.
#pragma once

#include <cstdint>

#include "color/color_constants.h"
#include "color/pixel.h"
#include "color/pixel_block.h"
#include "color/x86/vector_rows.h"

namespace KROCOLOR {
namespace vrows {

template <class V>
inline int wholeVectors(int n) {
    return (n + V::kLanes - 1) / V::kLanes * V::kLanes;
}

// curves::clamp01: v > 0 ? (v < 1 ? v : 1) : +0 (NaN gives +0).
template <class V>
inline typename V::F clamp01(typename V::F v) {
    const typename V::F one = V::set(1.0f);
    return V::keep(V::gt(v, V::set(0.0f)), V::select(V::lt(v, one), v, one));
}

// kernels::clampTo: v >= lo ? (v <= hi ? v : hi) : (v < lo ? lo : +0).
template <class V>
inline typename V::F clampTo(typename V::F v, float lo, float hi) {
    const typename V::F l = V::set(lo), h = V::set(hi);
    const typename V::F inner = V::select(V::le(v, h), v, h);
    const typename V::F outer = V::keep(V::lt(v, l), l);
    return V::select(V::ge(v, l), inner, outer);
}

// kernels::toCode: round half away from zero, limited to [0, maxCode],
// NaN -> 0. v - trunc(v) is exact below maxCode, as in the kernel.
template <class V>
inline typename V::I toCode(typename V::F v, float maxCode) {
    using F = typename V::F;
    const F maxF = V::set(maxCode);
    const typename V::I i = V::truncate(v);
    const F up = V::ge(V::sub(v, V::toFloat(i)), V::set(0.5f));
    const typename V::I rounded = V::subInt(i, V::asInt(up));  // up is -1 where set
    const F limited = V::select(V::ge(v, maxF), V::asFloat(V::setInt(static_cast<int>(maxCode))),
                                V::asFloat(rounded));
    return V::asInt(V::keep(V::gt(v, V::set(0.0f)), limited));
}

template <class V>
void unpack(const NativePixel* in, PixelBlock& b, int n) {
    for (int i = 0; i < n; ++i) {
        b.c0[i] = in[i].c[0];
        b.c1[i] = in[i].c[1];
        b.c2[i] = in[i].c[2];
        b.a[i] = in[i].c[3];
    }
    for (int i = n; i < wholeVectors<V>(n); ++i) b.c0[i] = b.c1[i] = b.c2[i] = b.a[i] = 0.0f;
}

// kernels::normaliseRGB
template <class V>
void normaliseRGB(const FormatRule& r, PixelBlock& b, int n) {
    const typename V::F m = V::set(r.maxCode);
    for (int i = 0; i < wholeVectors<V>(n); i += V::kLanes) {
        V::store(b.c0 + i, clamp01<V>(V::div(V::load(b.c0 + i), m)));
        V::store(b.c1 + i, clamp01<V>(V::div(V::load(b.c1 + i), m)));
        V::store(b.c2 + i, clamp01<V>(V::div(V::load(b.c2 + i), m)));
        V::store(b.a + i, r.hasAlpha ? clamp01<V>(V::div(V::load(b.a + i), m)) : V::set(1.0f));
    }
}

// kernels::normaliseYUVLimited
template <class V>
void normaliseYUVLimited(const FormatRule& r, PixelBlock& b, int n) {
    using F = typename V::F;
    const F s = V::set(r.scale);
    const F black = V::set(kVideoBlack), lumaSpan = V::set(kVideoLumaSpan);
    const F chromaZero = V::set(kVideoChromaZero), chromaSpan = V::set(kVideoChromaSpan);
    for (int i = 0; i < wholeVectors<V>(n); i += V::kLanes) {
        const F y = V::div(V::sub(V::div(V::load(b.c0 + i), s), black), lumaSpan);
        const F u = V::div(V::sub(V::div(V::load(b.c1 + i), s), chromaZero), chromaSpan);
        const F v = V::div(V::sub(V::div(V::load(b.c2 + i), s), chromaZero), chromaSpan);
        const F a = r.hasAlpha ? V::div(V::div(V::load(b.a + i), s), V::set(kFullScale8)) : V::set(1.0f);
        V::store(b.c0 + i, clamp01<V>(y));
        V::store(b.c1 + i, clampTo<V>(u, -0.5f, 0.5f));
        V::store(b.c2 + i, clampTo<V>(v, -0.5f, 0.5f));
        V::store(b.a + i, clamp01<V>(a));
    }
}

// kernels::normaliseYUVFull
template <class V>
void normaliseYUVFull(const FormatRule& r, PixelBlock& b, int n) {
    using F = typename V::F;
    const F m = V::set(r.maxCode), half = V::set(r.half);
    for (int i = 0; i < wholeVectors<V>(n); i += V::kLanes) {
        const F y = V::div(V::load(b.c0 + i), m);
        const F u = V::div(V::sub(V::load(b.c1 + i), half), m);
        const F v = V::div(V::sub(V::load(b.c2 + i), half), m);
        const F a = r.hasAlpha ? V::div(V::load(b.a + i), m) : V::set(1.0f);
        V::store(b.c0 + i, clamp01<V>(y));
        V::store(b.c1 + i, clampTo<V>(u, -0.5f, 0.5f));
        V::store(b.c2 + i, clampTo<V>(v, -0.5f, 0.5f));
        V::store(b.a + i, clamp01<V>(a));
    }
}

// kernels::multiply for one output row: (m0 x0 + m1 x1) + m2 x2.
template <class V>
inline typename V::F dot(const float* row, typename V::F x0, typename V::F x1, typename V::F x2) {
    return V::add(V::add(V::mul(V::set(row[0]), x0), V::mul(V::set(row[1]), x1)), V::mul(V::set(row[2]), x2));
}

// Clamp: 0 none (kernels::multiply), 1 RGB (yuvToRgbWith), 2 YUV (rgbToYuvWith).
template <class V, int Clamp>
void matrixStage(const Matrix3& m, PixelBlock& b, int n) {
    using F = typename V::F;
    for (int i = 0; i < wholeVectors<V>(n); i += V::kLanes) {
        const F x0 = V::load(b.c0 + i), x1 = V::load(b.c1 + i), x2 = V::load(b.c2 + i);
        F r0 = dot<V>(m.m[0], x0, x1, x2);
        F r1 = dot<V>(m.m[1], x0, x1, x2);
        F r2 = dot<V>(m.m[2], x0, x1, x2);
        if constexpr (Clamp == 1) {
            r0 = clamp01<V>(r0);
            r1 = clamp01<V>(r1);
            r2 = clamp01<V>(r2);
        } else if constexpr (Clamp == 2) {
            r0 = clamp01<V>(r0);
            r1 = clampTo<V>(r1, -0.5f, 0.5f);
            r2 = clampTo<V>(r2, -0.5f, 0.5f);
        }
        V::store(b.c0 + i, r0);
        V::store(b.c1 + i, r1);
        V::store(b.c2 + i, r2);
        if constexpr (Clamp != 0) V::store(b.a + i, V::set(1.0f));
    }
}

// Codes of a block, one array per component.
struct CodeBlock {
    alignas(32) int32_t c[4][kPixelBlock];
};

template <class V>
inline void pack(const CodeBlock& codes, NativePixel* out, int n) {
    for (int i = 0; i < n; ++i)
        out[i] = NativePixel{{static_cast<uint16_t>(codes.c[0][i]), static_cast<uint16_t>(codes.c[1][i]),
                              static_cast<uint16_t>(codes.c[2][i]), static_cast<uint16_t>(codes.c[3][i])}};
}

// kernels::quantiseRGB
template <class V>
void quantiseRGB(const FormatRule& r, const PixelBlock& b, NativePixel* out, int n) {
    CodeBlock codes;
    const float mc = r.maxCode;
    const typename V::F m = V::set(mc);
    for (int i = 0; i < wholeVectors<V>(n); i += V::kLanes) {
        V::storeInt(codes.c[0] + i, toCode<V>(V::mul(V::load(b.c0 + i), m), mc));
        V::storeInt(codes.c[1] + i, toCode<V>(V::mul(V::load(b.c1 + i), m), mc));
        V::storeInt(codes.c[2] + i, toCode<V>(V::mul(V::load(b.c2 + i), m), mc));
        V::storeInt(codes.c[3] + i, r.hasAlpha ? toCode<V>(V::mul(V::load(b.a + i), m), mc)
                                              : V::setInt(static_cast<int>(mc)));
    }
    pack<V>(codes, out, n);
}

// quantiseRGB for a block whose c0..c2 already are codes.
template <class V>
void storeCodedRGB(const FormatRule& r, const PixelBlock& b, NativePixel* out, int n) {
    CodeBlock codes;
    const float mc = r.maxCode;
    const typename V::F m = V::set(mc);
    for (int i = 0; i < wholeVectors<V>(n); i += V::kLanes) {
        V::storeInt(codes.c[0] + i, V::truncate(V::load(b.c0 + i)));
        V::storeInt(codes.c[1] + i, V::truncate(V::load(b.c1 + i)));
        V::storeInt(codes.c[2] + i, V::truncate(V::load(b.c2 + i)));
        V::storeInt(codes.c[3] + i, r.hasAlpha ? toCode<V>(V::mul(V::load(b.a + i), m), mc)
                                              : V::setInt(static_cast<int>(mc)));
    }
    pack<V>(codes, out, n);
}

// kernels::quantiseYUVLimited: ((c span + offset) s), alpha (a 255) s.
template <class V>
void quantiseYUVLimited(const FormatRule& r, const PixelBlock& b, NativePixel* out, int n) {
    using F = typename V::F;
    CodeBlock codes;
    const float mc = r.maxCode;
    const F s = V::set(r.scale);
    const F black = V::set(kVideoBlack), lumaSpan = V::set(kVideoLumaSpan);
    const F chromaZero = V::set(kVideoChromaZero), chromaSpan = V::set(kVideoChromaSpan);
    for (int i = 0; i < wholeVectors<V>(n); i += V::kLanes) {
        V::storeInt(codes.c[0] + i, toCode<V>(V::mul(V::add(V::mul(V::load(b.c0 + i), lumaSpan), black), s), mc));
        V::storeInt(codes.c[1] + i,
                    toCode<V>(V::mul(V::add(V::mul(V::load(b.c1 + i), chromaSpan), chromaZero), s), mc));
        V::storeInt(codes.c[2] + i,
                    toCode<V>(V::mul(V::add(V::mul(V::load(b.c2 + i), chromaSpan), chromaZero), s), mc));
        V::storeInt(codes.c[3] + i, toCode<V>(V::mul(V::mul(V::load(b.a + i), V::set(kFullScale8)), s), mc));
    }
    pack<V>(codes, out, n);
}

// kernels::quantiseYUVFull
template <class V>
void quantiseYUVFull(const FormatRule& r, const PixelBlock& b, NativePixel* out, int n) {
    using F = typename V::F;
    CodeBlock codes;
    const float mc = r.maxCode;
    const F m = V::set(mc), half = V::set(r.half);
    for (int i = 0; i < wholeVectors<V>(n); i += V::kLanes) {
        V::storeInt(codes.c[0] + i, toCode<V>(V::mul(V::load(b.c0 + i), m), mc));
        V::storeInt(codes.c[1] + i, toCode<V>(V::add(V::mul(V::load(b.c1 + i), m), half), mc));
        V::storeInt(codes.c[2] + i, toCode<V>(V::add(V::mul(V::load(b.c2 + i), m), half), mc));
        V::storeInt(codes.c[3] + i, toCode<V>(V::mul(V::load(b.a + i), m), mc));
    }
    pack<V>(codes, out, n);
}

template <class V>
VectorRows vectorRowsFor() {
    return VectorRows{&unpack<V>,
                      &normaliseRGB<V>,
                      &normaliseYUVLimited<V>,
                      &normaliseYUVFull<V>,
                      &matrixStage<V, 1>,
                      &matrixStage<V, 2>,
                      &matrixStage<V, 0>,
                      &quantiseRGB<V>,
                      &quantiseYUVLimited<V>,
                      &quantiseYUVFull<V>,
                      &storeCodedRGB<V>};
}

}  // namespace vrows
}  // namespace KROCOLOR
