#include "cpu/xsimd/xsimd_color_stages.h"

#include "color/color_constants.h"
#include "cpu/xsimd/xsimd_curves.h"

namespace KROCOLOR {
namespace simd {
namespace KRO_SIMD_NS {
namespace {

void yuvToRgbFixed(const VectorPlan& p, Lanes& l, int n) {
    for (int i = 0; i < n; i += kLanes) {
        VF c[4];
        l.load(i, c);
        yuvToRgbBlock(p.colour.yuvToRgb, c);
        l.store(i, c);
    }
}

void rgbToYuvFixed(const VectorPlan& p, Lanes& l, int n) {
    for (int i = 0; i < n; i += kLanes) {
        VF c[4];
        l.load(i, c);
        rgbToYuvBlock(p.colour.rgbToYuv, c);
        l.store(i, c);
    }
}

// BT.2020 constant luminance: each lane takes the coefficients of its own
// sign class, table[first * 2 + second].
inline void multiplyByClass(const Matrix3* const table[4], const VB& first, const VB& second, VF c[4]) {
    const VF x0 = c[0], x1 = c[1], x2 = c[2];
    for (int k = 0; k < 3; ++k) {
        VF m[3];
        for (int j = 0; j < 3; ++j)
            m[j] = xsimd::select(first, xsimd::select(second, VF(table[3]->m[k][j]), VF(table[2]->m[k][j])),
                                 xsimd::select(second, VF(table[1]->m[k][j]), VF(table[0]->m[k][j])));
        c[k] = m[0] * x0 + m[1] * x1 + m[2] * x2;
    }
}

void yuvToRgbBT2020CL(const VectorPlan&, Lanes& l, int n) {
    for (int i = 0; i < n; i += kLanes) {
        VF c[4];
        l.load(i, c);
        multiplyByClass(kBT2020CLYUVtoRGB, c[1] > VF(0.0f), c[2] > VF(0.0f), c);
        for (int k = 0; k < 3; ++k) c[k] = clamp01(c[k]);
        c[3] = VF(1.0f);
        l.store(i, c);
    }
}

// B' - Y' > 0 and R' - Y' > 0 with Y' formed in double precision, two lanes
// per SSE2 double vector, the masks narrowed back to four float lanes; an
// eight-lane vector goes through as two halves.
inline void chromaClasses4(__m128 rv, __m128 gv, __m128 bv, __m128& bPositive, __m128& rPositive) {
    __m128d bMask[2], rMask[2];
    for (int half = 0; half < 2; ++half) {
        const __m128d rd = _mm_cvtps_pd(half ? _mm_movehl_ps(rv, rv) : rv);
        const __m128d gd = _mm_cvtps_pd(half ? _mm_movehl_ps(gv, gv) : gv);
        const __m128d bd = _mm_cvtps_pd(half ? _mm_movehl_ps(bv, bv) : bv);
        const __m128d yd =
            _mm_add_pd(_mm_add_pd(_mm_mul_pd(_mm_set1_pd(kBT2020LumaR), rd), _mm_mul_pd(_mm_set1_pd(kBT2020LumaG), gd)),
                       _mm_mul_pd(_mm_set1_pd(kBT2020LumaB), bd));
        bMask[half] = _mm_cmpgt_pd(_mm_sub_pd(bd, yd), _mm_setzero_pd());
        rMask[half] = _mm_cmpgt_pd(_mm_sub_pd(rd, yd), _mm_setzero_pd());
    }
    bPositive = _mm_shuffle_ps(_mm_castpd_ps(bMask[0]), _mm_castpd_ps(bMask[1]), _MM_SHUFFLE(2, 0, 2, 0));
    rPositive = _mm_shuffle_ps(_mm_castpd_ps(rMask[0]), _mm_castpd_ps(rMask[1]), _MM_SHUFFLE(2, 0, 2, 0));
}
inline void chromaClasses(const VF& r, const VF& g, const VF& b, VB& bPositive, VB& rPositive) {
    __m128 bh[kHalves], rh[kHalves];
    for (int i = 0; i < kHalves; ++i) chromaClasses4(half(r, i), half(g, i), half(b, i), bh[i], rh[i]);
    bPositive = VB(static_cast<VF::register_type>(join(bh)));
    rPositive = VB(static_cast<VF::register_type>(join(rh)));
}

void rgbToYuvBT2020CL(const VectorPlan&, Lanes& l, int n) {
    for (int i = 0; i < n; i += kLanes) {
        VF c[4];
        l.load(i, c);
        VB bPositive, rPositive;
        chromaClasses(c[0], c[1], c[2], bPositive, rPositive);
        multiplyByClass(kBT2020CLRGBtoYUV, bPositive, rPositive, c);
        c[0] = clamp01(c[0]);
        c[1] = clampTo(c[1], -0.5f, 0.5f);
        c[2] = clampTo(c[2], -0.5f, 0.5f);
        c[3] = VF(1.0f);
        l.store(i, c);
    }
}

void multiplyPrimaries(const VectorPlan& p, Lanes& l, int n) {
    for (int i = 0; i < n; i += kLanes) {
        VF c[4];
        l.load(i, c);
        multiply(p.colour.primaries, c);
        l.store(i, c);
    }
}

// A curve applied to R, G and B, one channel vector at a time.
template <VF (*F)(const VF&)>
void curveStage(const VectorPlan&, Lanes& l, int n) {
    for (int k = 0; k < 3; ++k)
        for (int i = 0; i < n; i += kLanes) F(VF::load_aligned(&l.c[k][i])).store_aligned(&l.c[k][i]);
}

// ITU-R BT.2100 HLG EOTF: black lift, inverse OETF, then the OOTF
// Ys^(gamma - 1) over the three channels together; alpha becomes 1.
void hlgEotfStage(const VectorPlan& p, Lanes& l, int n) {
    const VF oneMinusBeta(1.0f - kHlgBeta), beta(kHlgBeta), zero(0.0f);
    const VF exponent(p.hlgGamma - 1.0f);
    const VF kr(static_cast<float>(kBT2020LumaR)), kg(static_cast<float>(kBT2020LumaG)),
        kb(static_cast<float>(kBT2020LumaB));
    for (int i = 0; i < n; i += kLanes) {
        VF c[4];
        l.load(i, c);
        VF e[3];
        for (int k = 0; k < 3; ++k) {
            const VF lifted = oneMinusBeta * c[k] + beta;
            e[k] = hlgInverseOetf(xsimd::select(lifted > zero, lifted, zero));
        }
        const VF ys = kr * e[0] + kg * e[1] + kb * e[2];
        const VF ootf = xsimd::exp(exponent * xsimd::log(ys));
        for (int k = 0; k < 3; ++k) c[k] = ootf * e[k];
        c[3] = VF(1.0f);
        l.store(i, c);
    }
}

void pqEotfStage(const VectorPlan& p, Lanes& l, int n) {
    const VF ratio(p.colour.pqRatioSingle);
    for (int k = 0; k < 3; ++k)
        for (int i = 0; i < n; i += kLanes)
            (pqEotfUnscaled(VF::load_aligned(&l.c[k][i])) * ratio).store_aligned(&l.c[k][i]);
}

void pqOetfStage(const VectorPlan& p, Lanes& l, int n) {
    const VF scale(p.colour.pqScale);
    for (int k = 0; k < 3; ++k)
        for (int i = 0; i < n; i += kLanes)
            pqOetfUnscaled(VF::load_aligned(&l.c[k][i]) * scale).store_aligned(&l.c[k][i]);
}

}  // namespace

ColourStage toRgbStage(MatrixStage stage) {
    return stage == MatrixStage::BT2020ConstantLuminance ? &yuvToRgbBT2020CL : &yuvToRgbFixed;
}

ColourStage toYuvStage(MatrixStage stage) {
    return stage == MatrixStage::BT2020ConstantLuminance ? &rgbToYuvBT2020CL : &rgbToYuvFixed;
}

ColourStage primariesStage() { return &multiplyPrimaries; }

// HLG decodes the three channels together; every other curve one channel
// vector at a time.
ColourStage decodeStage(Curve curve) {
    switch (curve) {
    case Curve::BT2020_12: return &curveStage<bt2020_12Eotf>;
    case Curve::Gamma22: return &curveStage<gamma22Eotf>;
    case Curve::Gamma18: return &curveStage<gamma18Eotf>;
    case Curve::Gamma26: return &curveStage<dcip3Eotf>;
    case Curve::XvYCC: return &curveStage<xvyccEotf>;
    case Curve::SRGB: return &curveStage<srgbEotf>;
    case Curve::HLG: return &hlgEotfStage;
    case Curve::PQ: return &pqEotfStage;
    case Curve::BT709:
    case Curve::BT709Unclamped: break;
    }
    return &curveStage<bt709Eotf>;
}

ColourStage encodeStage(Curve curve) {
    switch (curve) {
    case Curve::BT709Unclamped: return &curveStage<bt709OetfUnclamped>;
    case Curve::BT2020_12: return &curveStage<bt2020_12Oetf>;
    case Curve::Gamma22: return &curveStage<gamma22Oetf>;
    case Curve::Gamma18: return &curveStage<gamma18Oetf>;
    case Curve::Gamma26: return &curveStage<dcip3Oetf>;
    case Curve::XvYCC: return &curveStage<xvyccOetf>;
    case Curve::SRGB: return &curveStage<srgbOetf>;
    case Curve::HLG: return &curveStage<hlgOetf>;
    case Curve::PQ: return &pqOetfStage;
    case Curve::BT709: break;
    }
    return &curveStage<bt709Oetf>;  // clamped
}

}  // namespace KRO_SIMD_NS
}  // namespace simd
}  // namespace KROCOLOR
