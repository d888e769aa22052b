// Inline per-pixel kernels of the colour pipeline. Both the one-pixel
// functions of color_science.h and the row loops of PixelPipeline are built
// from these, so the two produce bit-identical results by construction.
#pragma once

#include <cmath>
#include <cstdint>

#include "color/color_constants.h"
#include "color/color_plan.h"
#include "color/pixel.h"
#include "color/pixel_block.h"
#include "color/transfer_curves.h"

namespace KROCOLOR {
namespace kernels {

// [lo, hi] limit that maps NaN to 0.
inline float clampTo(float v, float lo, float hi) {
    return v >= lo ? (v <= hi ? v : hi) : (v < lo ? lo : 0.0f);
}
inline float clamp01(float v) { return curves::clamp01(v); }
inline float clampChroma(float v) { return clampTo(v, -0.5f, 0.5f); }

// Round half away from zero, then limit to [0, maxCode]; NaN gives 0.
// Equal to limiting std::round(v), without the library call: below 0 (and
// NaN) the result is 0 whatever the rounding, at or above maxCode it is
// maxCode, and in between v - trunc(v) is exact, so the half test is exact.
inline uint16_t toCode(float v, float maxCode) {
    if (!(v > 0.0f)) return 0;
    if (v >= maxCode) return static_cast<uint16_t>(maxCode);
    const int i = static_cast<int>(v);
    return static_cast<uint16_t>(i + (v - static_cast<float>(i) >= 0.5f ? 1 : 0));
}

// --- Normalisation: stored codes -> working pixel --------------------------

inline Pixel normaliseRGB(const NativePixel& n, const FormatRule& r) {
    const float m = r.maxCode;
    return Pixel{clamp01(n.c[0] / m), clamp01(n.c[1] / m), clamp01(n.c[2] / m),
                 r.hasAlpha ? clamp01(n.c[3] / m) : 1.0f};
}

inline Pixel normaliseCMYK(const NativePixel& n, const FormatRule&) {
    const float k = 1.0f - n.c[3] / kFullScale8;
    return Pixel{clamp01((1.0f - n.c[0] / kFullScale8) * k), clamp01((1.0f - n.c[1] / kFullScale8) * k),
                 clamp01((1.0f - n.c[2] / kFullScale8) * k), 1.0f};
}

// ITU-R BT.601/BT.709 video levels: Y 16..235, chroma 16..240 at 8 bits,
// the same levels shifted up by d-8 bits for deeper samples.
inline Pixel normaliseYUVLimited(const NativePixel& n, const FormatRule& r) {
    const float s = r.scale;
    const float y = (n.c[0] / s - kVideoBlack) / kVideoLumaSpan;
    const float u = (n.c[1] / s - kVideoChromaZero) / kVideoChromaSpan;
    const float v = (n.c[2] / s - kVideoChromaZero) / kVideoChromaSpan;
    const float a = r.hasAlpha ? n.c[3] / s / kFullScale8 : 1.0f;
    return Pixel{clamp01(y), clampChroma(u), clampChroma(v), clamp01(a)};
}

inline Pixel normaliseYUVFull(const NativePixel& n, const FormatRule& r) {
    const float m = r.maxCode;
    const float y = n.c[0] / m;
    const float u = (n.c[1] - r.half) / m;
    const float v = (n.c[2] - r.half) / m;
    const float a = r.hasAlpha ? n.c[3] / m : 1.0f;
    return Pixel{clamp01(y), clampChroma(u), clampChroma(v), clamp01(a)};
}

inline Pixel normaliseNone(const NativePixel&, const FormatRule&) { return Pixel{0, 0, 0, 0}; }

// --- Quantisation: working pixel -> codes to store -------------------------

inline NativePixel quantiseRGB(const Pixel& p, const FormatRule& r) {
    const float m = r.maxCode;
    return NativePixel{{toCode(p.c0 * m, m), toCode(p.c1 * m, m), toCode(p.c2 * m, m),
                        r.hasAlpha ? toCode(p.a * m, m) : static_cast<uint16_t>(m)}};
}

inline NativePixel quantiseCMYK(const Pixel& p, const FormatRule&) {
    const float r = clamp01(p.c0), g = clamp01(p.c1), b = clamp01(p.c2);
    const float maxRgb = r > g ? (r > b ? r : b) : (g > b ? g : b);
    const float k = 1.0f - maxRgb;
    float c = 0.0f, m = 0.0f, y = 0.0f;
    if (k < 1.0f) {
        c = (1.0f - r - k) / (1.0f - k);
        m = (1.0f - g - k) / (1.0f - k);
        y = (1.0f - b - k) / (1.0f - k);
    }
    const float f = kFullScale8;
    return NativePixel{{toCode(clamp01(c) * f, f), toCode(clamp01(m) * f, f), toCode(clamp01(y) * f, f),
                        toCode(clamp01(k) * f, f)}};
}

// Limited-range alpha uses 255 * 2^(d-8), so opaque is 1020 at 10 bits.
inline NativePixel quantiseYUVLimited(const Pixel& p, const FormatRule& r) {
    const float s = r.scale, m = r.maxCode;
    return NativePixel{{toCode((p.c0 * kVideoLumaSpan + kVideoBlack) * s, m),
                        toCode((p.c1 * kVideoChromaSpan + kVideoChromaZero) * s, m),
                        toCode((p.c2 * kVideoChromaSpan + kVideoChromaZero) * s, m),
                        toCode(p.a * kFullScale8 * s, m)}};
}

inline NativePixel quantiseYUVFull(const Pixel& p, const FormatRule& r) {
    const float m = r.maxCode;
    return NativePixel{{toCode(p.c0 * m, m), toCode(p.c1 * m + r.half, m),
                        toCode(p.c2 * m + r.half, m), toCode(p.a * m, m)}};
}

inline NativePixel quantiseNone(const Pixel&, const FormatRule&) { return NativePixel{{0, 0, 0, 0}}; }

// --- Matrices ---------------------------------------------------------------

inline Pixel multiply(const Matrix3& m, const Pixel& p) {
    return Pixel{m.m[0][0] * p.c0 + m.m[0][1] * p.c1 + m.m[0][2] * p.c2,
                 m.m[1][0] * p.c0 + m.m[1][1] * p.c1 + m.m[1][2] * p.c2,
                 m.m[2][0] * p.c0 + m.m[2][1] * p.c1 + m.m[2][2] * p.c2, p.a};
}

inline Pixel yuvToRgbWith(const Matrix3& m, const Pixel& p) {
    const Pixel q = multiply(m, p);
    return Pixel{clamp01(q.c0), clamp01(q.c1), clamp01(q.c2), 1.0f};
}

// BT.2020 constant luminance: the table follows the signs of U and V; a
// component of exactly zero belongs to the "at most zero" class.
inline Pixel yuvToRgbBT2020CL(const Pixel& p) {
    const int cls = (p.c1 > 0.0f ? 2 : 0) + (p.c2 > 0.0f ? 1 : 0);
    return yuvToRgbWith(*kBT2020CLYUVtoRGB[cls], p);
}

inline Pixel rgbToYuvWith(const Matrix3& m, const Pixel& p) {
    const Pixel q = multiply(m, p);
    return Pixel{clamp01(q.c0), clampChroma(q.c1), clampChroma(q.c2), 1.0f};
}

// The class comes from B'-Y' and R'-Y' with Y' formed in double precision.
inline Pixel rgbToYuvBT2020CL(const Pixel& p) {
    const double y = kBT2020LumaR * static_cast<double>(p.c0) + kBT2020LumaG * static_cast<double>(p.c1) +
                     kBT2020LumaB * static_cast<double>(p.c2);
    const int cls = (static_cast<double>(p.c2) - y > 0.0 ? 2 : 0) +
                    (static_cast<double>(p.c0) - y > 0.0 ? 1 : 0);
    return rgbToYuvWith(*kBT2020CLRGBtoYUV[cls], p);
}

// --- Transfer -----------------------------------------------------------------

template <float (*F)(float)>
inline Pixel perChannel(const Pixel& p) {
    return Pixel{F(p.c0), F(p.c1), F(p.c2), p.a};
}

// ITU-R BT.2100 HLG EOTF with the display model of color_constants.h: black
// lift, inverse OETF, then the OOTF Ys^(gamma-1) with Ys over BT.2020 weights.
inline Pixel hlgEotf(const Pixel& p) {
    using namespace curves;
    const float oneMinusBeta = 1.0f - kHlgBeta;
    const float lr = oneMinusBeta * p.c0 + kHlgBeta;
    const float lg = oneMinusBeta * p.c1 + kHlgBeta;
    const float lb = oneMinusBeta * p.c2 + kHlgBeta;
    const float er = HLGInverseOETF(lr > 0.0f ? lr : 0.0f);
    const float eg = HLGInverseOETF(lg > 0.0f ? lg : 0.0f);
    const float eb = HLGInverseOETF(lb > 0.0f ? lb : 0.0f);
    const double ys = kBT2020LumaR * static_cast<double>(er) + kBT2020LumaG * static_cast<double>(eg) +
                      kBT2020LumaB * static_cast<double>(eb);
    const float ootf = static_cast<float>(std::pow(ys, static_cast<double>(kHlgGamma) - 1.0));
    return Pixel{ootf * er, ootf * eg, ootf * eb, 1.0f};
}

inline float pqEotfChannel(float x, double ratio) {
    return static_cast<float>(static_cast<double>(curves::PQ_EOTF_unscaled(x)) * ratio);
}
inline Pixel pqEotf(const Pixel& p, double ratio) {
    return Pixel{pqEotfChannel(p.c0, ratio), pqEotfChannel(p.c1, ratio),
                 pqEotfChannel(p.c2, ratio), p.a};
}
inline Pixel pqOetf(const Pixel& p, float scale) {
    return Pixel{curves::PQ_OETF_unscaled(p.c0 * scale), curves::PQ_OETF_unscaled(p.c1 * scale),
                 curves::PQ_OETF_unscaled(p.c2 * scale), p.a};
}

// --- Row loops: one kernel over a run of pixels, no per-pixel dispatch -------

using PixelStage = void (*)(const ColorPlan&, Pixel*, int);

template <float (*F)(float)>
void rowCurve(const ColorPlan&, Pixel* px, int n) {
    for (int i = 0; i < n; ++i) px[i] = perChannel<F>(px[i]);
}

// The same curve over a block held one array per component: still one call
// per sample (a vector curve would differ in the last bit).
using BlockCurve = void (*)(PixelBlock&, int);

template <float (*F)(float)>
void blockCurve(PixelBlock& b, int n) {
    for (int i = 0; i < n; ++i) b.c0[i] = F(b.c0[i]);
    for (int i = 0; i < n; ++i) b.c1[i] = F(b.c1[i]);
    for (int i = 0; i < n; ++i) b.c2[i] = F(b.c2[i]);
}

}  // namespace kernels
}  // namespace KROCOLOR
