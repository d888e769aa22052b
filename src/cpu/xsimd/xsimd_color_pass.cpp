// The colour pass of the SIMD CPU convertor. The per-frame decisions (sample
// readers and writers, normalisation, matrices, curves, PQ factors) are
// taken once into a VectorPlan: a reader, up to five stages and a writer,
// each a loop over a chunk of a row held as channel vectors (lane i = pixel
// x + i). Every stage is the scalar kernel of color/pixel_kernels.h in
// lane-wise form. Normalisation multiplies by reciprocals where the scalar
// kernels divide (a last-bit difference, never more than one code).
#include <cstring>

#include "KROColorFunctions.h"
#include "color/color_science.h"
#include "color/color_tables.h"
#include "color/pixel_kernels.h"
#include "cpu/cpu_task.h"
#include "cpu/sample_access.h"
#include "cpu/xsimd/xsimd_curves.h"
#include "cpu/xsimd/xsimd_passes.h"
#include "cpu/xsimd/xsimd_vector.h"

namespace KROCOLOR {
namespace {

using namespace simd;

// Pixels per chunk of a row: a multiple of the lane count, and small enough
// that the channel vectors of a chunk stay in the first-level cache.
constexpr int kChunk = 64;

struct Lanes {
    alignas(16) float c[4][kChunk];  // channel k of pixel i at c[k][i]

    void load(int i, VF v[4]) const {
        for (int k = 0; k < 4; ++k) v[k] = VF::load_aligned(&c[k][i]);
    }
    void store(int i, const VF v[4]) {
        for (int k = 0; k < 4; ++k) v[k].store_aligned(&c[k][i]);
    }
};

struct VectorPlan;
using ReadStage = void (*)(const VectorPlan&, const KROFrame&, int y, int x0, int n, Lanes&);
using ColourStage = void (*)(const VectorPlan&, Lanes&, int n);
using WriteStage = void (*)(const VectorPlan&, KROFrame&, int y, int x0, int n, const Lanes&);
using FusedStage = void (*)(const VectorPlan&, const KROFrame&, KROFrame&, int y, int x0, int n);

struct VectorPlan {
    SampleAccess reader;
    SampleAccess writer;
    FormatRule src;
    FormatRule dst;
    const Matrix3* yuvToRgb;
    const Matrix3* rgbToYuv;
    const Matrix3* primaries;
    float pqRatio;   // PQ decoding output factor
    float pqScale;   // PQ encoding input factor
    float hlgGamma;  // HLG system gamma for the nominal 203 cd/m2 peak
    ReadStage read;
    ColourStage stages[5];
    int stageCount;
    WriteStage write;
    FusedStage fused;  // the whole chunk in one pass, or null
};

// ---- normalisation: codes (as floats) -> working values ------------------

// Values formed from stored codes are never NaN, so a plain min/max limit
// gives what the NaN-aware clamp gives.
[[gnu::always_inline]] inline VF clampFinite(const VF& v, float lo, float hi) {
    return VF(_mm_max_ps(_mm_min_ps(v, _mm_set1_ps(hi)), _mm_set1_ps(lo)));
}

[[gnu::always_inline]] inline void normaliseRGB(const FormatRule& r, VF c[4]) {
    const VF m(1.0f / r.maxCode);
    for (int k = 0; k < 3; ++k) c[k] = clamp01(c[k] * m);
    c[3] = r.hasAlpha ? clamp01(c[3] * m) : VF(1.0f);
}

[[gnu::always_inline]] inline void normaliseCMYK(const FormatRule&, VF c[4]) {
    const VF full(255.0f), one(1.0f);
    const VF k = one - c[3] / full;
    for (int i = 0; i < 3; ++i) c[i] = clamp01((one - c[i] / full) * k);
    c[3] = one;
}

// ITU-R BT.601/BT.709 video levels, shifted up by d-8 bits for deeper samples.
[[gnu::always_inline]] inline void normaliseYUVLimited(const FormatRule& r, VF c[4]) {
    const VF s(1.0f / r.scale);  // a power of two: exact
    const VF y = (c[0] * s - VF(16.0f)) * VF(1.0f / 219.0f);
    const VF u = (c[1] * s - VF(128.0f)) * VF(1.0f / 224.0f);
    const VF v = (c[2] * s - VF(128.0f)) * VF(1.0f / 224.0f);
    const VF a = r.hasAlpha ? c[3] * s * VF(1.0f / 255.0f) : VF(1.0f);
    c[0] = clamp01(y);
    c[1] = clampFinite(u, -0.5f, 0.5f);
    c[2] = clampFinite(v, -0.5f, 0.5f);
    c[3] = clamp01(a);
}

[[gnu::always_inline]] inline void normaliseYUVFull(const FormatRule& r, VF c[4]) {
    const VF m(1.0f / r.maxCode), h(r.half);
    const VF y = c[0] * m;
    const VF u = (c[1] - h) * m;
    const VF v = (c[2] - h) * m;
    const VF a = r.hasAlpha ? c[3] * m : VF(1.0f);
    c[0] = clamp01(y);
    c[1] = clampFinite(u, -0.5f, 0.5f);
    c[2] = clampFinite(v, -0.5f, 0.5f);
    c[3] = clamp01(a);
}

[[gnu::always_inline]] inline void normaliseNone(const FormatRule&, VF c[4]) {
    for (int k = 0; k < 4; ++k) c[k] = VF(0.0f);
}

// ---- quantisation: working values -> codes --------------------------------

[[gnu::always_inline]] inline void quantiseRGB(const FormatRule& r, const VF c[4], VI q[4]) {
    const float m = r.maxCode;
    for (int k = 0; k < 3; ++k) q[k] = toCode(c[k] * VF(m), m);
    q[3] = r.hasAlpha ? toCode(c[3] * VF(m), m) : VI(static_cast<int32_t>(m));
}

[[gnu::always_inline]] inline void quantiseCMYK(const FormatRule&, const VF c[4], VI q[4]) {
    const VF r = clamp01(c[0]), g = clamp01(c[1]), b = clamp01(c[2]);
    const VF maxRgb = xsimd::select(r > g, xsimd::select(r > b, r, b), xsimd::select(g > b, g, b));
    const VF one(1.0f), zero(0.0f), full(255.0f);
    const VF k = one - maxRgb;
    const VB chromatic = k < one;  // pure black stores C = M = Y = 0
    const VF cc = xsimd::select(chromatic, (one - r - k) / (one - k), zero);
    const VF mm = xsimd::select(chromatic, (one - g - k) / (one - k), zero);
    const VF yy = xsimd::select(chromatic, (one - b - k) / (one - k), zero);
    q[0] = toCode(clamp01(cc) * full, 255.0f);
    q[1] = toCode(clamp01(mm) * full, 255.0f);
    q[2] = toCode(clamp01(yy) * full, 255.0f);
    q[3] = toCode(clamp01(k) * full, 255.0f);
}

[[gnu::always_inline]] inline void quantiseYUVLimited(const FormatRule& r, const VF c[4], VI q[4]) {
    const float m = r.maxCode;
    const VF s(r.scale);
    q[0] = toCode((c[0] * VF(219.0f) + VF(16.0f)) * s, m);
    q[1] = toCode((c[1] * VF(224.0f) + VF(128.0f)) * s, m);
    q[2] = toCode((c[2] * VF(224.0f) + VF(128.0f)) * s, m);
    q[3] = toCode(c[3] * VF(255.0f) * s, m);  // opaque is 255 * 2^(d-8)
}

[[gnu::always_inline]] inline void quantiseYUVFull(const FormatRule& r, const VF c[4], VI q[4]) {
    const float m = r.maxCode;
    const VF mv(m), h(r.half);
    q[0] = toCode(c[0] * mv, m);
    q[1] = toCode(c[1] * mv + h, m);
    q[2] = toCode(c[2] * mv + h, m);
    q[3] = toCode(c[3] * mv, m);
}

[[gnu::always_inline]] inline void quantiseNone(const FormatRule&, const VF[4], VI q[4]) {
    for (int k = 0; k < 4; ++k) q[k] = VI(0);
}

using Normaliser = void (*)(const FormatRule&, VF[4]);
using Quantiser = void (*)(const FormatRule&, const VF[4], VI[4]);

// ---- matrices --------------------------------------------------------------

inline void multiply(const Matrix3& m, VF c[4]) {
    const VF x0 = c[0], x1 = c[1], x2 = c[2];
    for (int k = 0; k < 3; ++k)
        c[k] = VF(m.m[k][0]) * x0 + VF(m.m[k][1]) * x1 + VF(m.m[k][2]) * x2;
}

inline void yuvToRgbBlock(const Matrix3& m, VF c[4]) {
    multiply(m, c);
    for (int k = 0; k < 3; ++k) c[k] = clamp01(c[k]);
    c[3] = VF(1.0f);
}

inline void rgbToYuvBlock(const Matrix3& m, VF c[4]) {
    multiply(m, c);
    c[0] = clamp01(c[0]);
    c[1] = clampTo(c[1], -0.5f, 0.5f);
    c[2] = clampTo(c[2], -0.5f, 0.5f);
    c[3] = VF(1.0f);
}

// ---- readers ----------------------------------------------------------------

// Any format: the scalar row reader gathers the stored pixels, which are
// then turned into channel vectors four at a time.
template <Normaliser N>
void readAny(const VectorPlan& p, const KROFrame& f, int y, int x0, int n, Lanes& out) {
    NativePixel buf[kChunk];
    p.reader.readRow(f, y, x0, n, buf);
    for (int i = 0; i < n; i += kLanes) {
        VF c[4];
        codesToChannels(buf + i, c);
        N(p.src, c);
        out.store(i, c);
    }
}

inline __m128i load32(const uint8_t* p) {
    int32_t v;
    std::memcpy(&v, p, sizeof v);
    return _mm_cvtsi32_si128(v);
}
inline VF bytesToFloats(__m128i bytes) {  // the low four bytes
    const __m128i z = _mm_setzero_si128();
    return VF(_mm_cvtepi32_ps(_mm_unpacklo_epi16(_mm_unpacklo_epi8(bytes, z), z)));
}

// Block cursors over one row of the 8-bit formats that have vector readers
// and writers: gather(x, c) fills the four channel vectors of pixels x .. x+3
// (x a multiple of 4) with the samples the scalar reader returns; scatter
// stores four pixels' codes exactly where the scalar writer stores them.

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

    void gather(int x, VF c[4]) const {
        const __m128i z = _mm_setzero_si128();
        c[0] = bytesToFloats(load32(luma + x));
        if constexpr (kSemi) {  // u0 v0 u1 v1 for chroma samples x/2, x/2 + 1
            const __m128i uv = _mm_unpacklo_epi16(_mm_unpacklo_epi8(load32(u + 2 * (x >> 1)), z), z);
            c[1] = VF(_mm_cvtepi32_ps(_mm_shuffle_epi32(uv, _MM_SHUFFLE(2, 2, 0, 0))));
            c[2] = VF(_mm_cvtepi32_ps(_mm_shuffle_epi32(uv, _MM_SHUFFLE(3, 3, 1, 1))));
        } else if constexpr (sx == 0) {
            c[1] = bytesToFloats(load32(u + x));
            c[2] = bytesToFloats(load32(v + x));
        } else if constexpr (sx == 1) {
            const int cx = x >> 1;
            c[1] = VF(_mm_cvtepi32_ps(_mm_setr_epi32(u[cx], u[cx], u[cx + 1], u[cx + 1])));
            c[2] = VF(_mm_cvtepi32_ps(_mm_setr_epi32(v[cx], v[cx], v[cx + 1], v[cx + 1])));
        } else {
            const int cx = x >> sx;
            c[1] = VF(static_cast<float>(u[cx]));
            c[2] = VF(static_cast<float>(v[cx]));
        }
        c[3] = VF(1.0f);
    }

    void scatter(int x, const VI q[4]) const {
        const __m128i y16 = _mm_packs_epi32(q[0], q[0]);
        const int32_t y8 = _mm_cvtsi128_si32(_mm_packus_epi16(y16, y16));
        std::memcpy(luma + x, &y8, sizeof y8);
        if (!chromaRow) return;
        alignas(16) int32_t cu[4], cv[4];
        q[1].store_aligned(cu);
        q[2].store_aligned(cv);
        for (int lane = 0; lane < kLanes; lane += 1 << sx) {
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

    void gather(int x, VF c[4]) const {
        const __m128i z = _mm_setzero_si128();
        const __m128i px = _mm_loadu_si128(reinterpret_cast<const __m128i*>(row + 4 * ptrdiff_t{x}));
        alignas(16) NativePixel stored[4];
        _mm_store_si128(reinterpret_cast<__m128i*>(stored), _mm_unpacklo_epi8(px, z));
        _mm_store_si128(reinterpret_cast<__m128i*>(stored + 2), _mm_unpackhi_epi8(px, z));
        VF s[4];
        codesToChannels(stored, s);  // s[k]: the sample at position k of each pixel
        for (int k = 0; k < 4; ++k) c[k] = s[t.order[k]];
    }

    // Codes are packed to bytes as [pos0 x4 | pos2 x4 | pos1 x4 | pos3 x4],
    // which two interleaving steps turn into pixel order.
    void scatter(int x, const VI q[4]) const {
        const __m128i b = _mm_packus_epi16(_mm_packs_epi32(q[at0], q[at2]), _mm_packs_epi32(q[at1], q[3]));
        const __m128i e = _mm_unpacklo_epi8(b, _mm_srli_si128(b, 8));
        const __m128i px = _mm_unpacklo_epi16(e, _mm_srli_si128(e, 8));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(row + 4 * ptrdiff_t{x}), px);
    }
};

template <class Row, Normaliser N>
void readBlocks(const VectorPlan& p, const KROFrame& f, int y, int x0, int n, Lanes& out) {
    const Row row(f, y);
    for (int i = 0; i < n; i += kLanes) {
        VF c[4];
        row.gather(x0 + i, c);
        N(p.src, c);
        out.store(i, c);
    }
}

// ---- writers ----------------------------------------------------------------

template <Quantiser Q>
void writeAny(const VectorPlan& p, KROFrame& f, int y, int x0, int n, const Lanes& in) {
    NativePixel buf[kChunk];
    for (int i = 0; i < n; i += kLanes) {
        VF c[4];
        VI q[4];
        in.load(i, c);
        Q(p.dst, c, q);
        channelsToCodes(q, buf + i);
    }
    p.writer.writeRow(f, y, x0, n, buf);
}

template <class Row, Quantiser Q>
void writeBlocks(const VectorPlan& p, KROFrame& f, int y, int x0, int n, const Lanes& in) {
    const Row row(f, y);
    for (int i = 0; i < n; i += kLanes) {
        VF c[4];
        VI q[4];
        in.load(i, c);
        Q(p.dst, c, q);
        row.scatter(x0 + i, q);
    }
}

// The common conversions without curves (a YUV matrix on one side, or
// nothing but a range or layout change) in one pass per block: gather,
// normalise, the matrix of the plan's only stage, quantise, scatter.
enum class FusedMatrix { None, YuvToRgb, RgbToYuv };

// The rules and the matrix are copied to locals first: the stores through
// the destination rows could alias the plan, which would otherwise make the
// compiler reload and re-broadcast every constant for every block.
template <class In, Normaliser N, FusedMatrix M, class Out, Quantiser Q>
void fusedRow(const VectorPlan& p, const KROFrame& src, KROFrame& dst, int y, int x0, int n) {
    const In in(src, y);
    const Out out(dst, y);
    const FormatRule srcRule = p.src, dstRule = p.dst;
    const Matrix3 matrix = M == FusedMatrix::RgbToYuv ? *p.rgbToYuv : *p.yuvToRgb;
    for (int i = 0; i < n; i += kLanes) {
        VF c[4];
        VI q[4];
        in.gather(x0 + i, c);
        N(srcRule, c);
        if constexpr (M == FusedMatrix::YuvToRgb) yuvToRgbBlock(matrix, c);
        if constexpr (M == FusedMatrix::RgbToYuv) rgbToYuvBlock(matrix, c);
        Q(dstRule, c, q);
        out.scatter(x0 + i, q);
    }
}

// ---- colour stages ----------------------------------------------------------

void yuvToRgbFixed(const VectorPlan& p, Lanes& l, int n) {
    for (int i = 0; i < n; i += kLanes) {
        VF c[4];
        l.load(i, c);
        yuvToRgbBlock(*p.yuvToRgb, c);
        l.store(i, c);
    }
}

void rgbToYuvFixed(const VectorPlan& p, Lanes& l, int n) {
    for (int i = 0; i < n; i += kLanes) {
        VF c[4];
        l.load(i, c);
        rgbToYuvBlock(*p.rgbToYuv, c);
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
// per SSE2 double vector, the masks narrowed back to four float lanes.
inline void chromaClasses(const VF& r, const VF& g, const VF& b, VB& bPositive, VB& rPositive) {
    const __m128 rv = r, gv = g, bv = b;
    __m128d bMask[2], rMask[2];
    for (int half = 0; half < 2; ++half) {
        const __m128d rd = _mm_cvtps_pd(half ? _mm_movehl_ps(rv, rv) : rv);
        const __m128d gd = _mm_cvtps_pd(half ? _mm_movehl_ps(gv, gv) : gv);
        const __m128d bd = _mm_cvtps_pd(half ? _mm_movehl_ps(bv, bv) : bv);
        const __m128d yd = _mm_add_pd(_mm_add_pd(_mm_mul_pd(_mm_set1_pd(0.2627), rd), _mm_mul_pd(_mm_set1_pd(0.678), gd)),
                                      _mm_mul_pd(_mm_set1_pd(0.0593), bd));
        bMask[half] = _mm_cmpgt_pd(_mm_sub_pd(bd, yd), _mm_setzero_pd());
        rMask[half] = _mm_cmpgt_pd(_mm_sub_pd(rd, yd), _mm_setzero_pd());
    }
    bPositive = VB(_mm_shuffle_ps(_mm_castpd_ps(bMask[0]), _mm_castpd_ps(bMask[1]), _MM_SHUFFLE(2, 0, 2, 0)));
    rPositive = VB(_mm_shuffle_ps(_mm_castpd_ps(rMask[0]), _mm_castpd_ps(rMask[1]), _MM_SHUFFLE(2, 0, 2, 0)));
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

void primariesStage(const VectorPlan& p, Lanes& l, int n) {
    for (int i = 0; i < n; i += kLanes) {
        VF c[4];
        l.load(i, c);
        multiply(*p.primaries, c);
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
    using namespace curves;
    const VF oneMinusBeta(1.0f - kHlgBeta), beta(kHlgBeta), zero(0.0f);
    const VF exponent(p.hlgGamma - 1.0f);
    for (int i = 0; i < n; i += kLanes) {
        VF c[4];
        l.load(i, c);
        VF e[3];
        for (int k = 0; k < 3; ++k) {
            const VF lifted = oneMinusBeta * c[k] + beta;
            e[k] = hlgInverseOetf(xsimd::select(lifted > zero, lifted, zero));
        }
        const VF ys = VF(0.2627f) * e[0] + VF(0.678f) * e[1] + VF(0.0593f) * e[2];
        const VF ootf = xsimd::exp(exponent * xsimd::log(ys));
        for (int k = 0; k < 3; ++k) c[k] = ootf * e[k];
        c[3] = VF(1.0f);
        l.store(i, c);
    }
}

void pqEotfStage(const VectorPlan& p, Lanes& l, int n) {
    const VF ratio(p.pqRatio);
    for (int k = 0; k < 3; ++k)
        for (int i = 0; i < n; i += kLanes)
            (pqEotfUnscaled(VF::load_aligned(&l.c[k][i])) * ratio).store_aligned(&l.c[k][i]);
}

void pqOetfStage(const VectorPlan& p, Lanes& l, int n) {
    const VF scale(p.pqScale);
    for (int k = 0; k < 3; ++k)
        for (int i = 0; i < n; i += kLanes)
            pqOetfUnscaled(VF::load_aligned(&l.c[k][i]) * scale).store_aligned(&l.c[k][i]);
}

// ---- planning -----------------------------------------------------------------

ColourStage eotfStage(int32_t transfer) {
    switch (transfer) {
    case kColorTransferGAMMA22: return &curveStage<gamma22Eotf>;
    case kColorTransferGAMMA18: return &curveStage<gamma18Eotf>;
    case kColorTransferDCIP3: return &curveStage<dcip3Eotf>;
    case kColorTransferIEC61966_2_4: return &curveStage<xvyccEotf>;
    case kColorTransferIEC61966_2_1: return &curveStage<srgbEotf>;
    case kColorTransferBT2020_12: return &curveStage<bt2020_12Eotf>;
    default: return &curveStage<bt709Eotf>;  // 1, 5, 6, 14 and every value without a curve
    }
}

ColourStage oetfStage(int32_t transfer) {
    switch (transfer) {
    case kColorTransferGAMMA28:
    case kColorTransferSMPTE170M:
    case kColorTransferBT2020_10: return &curveStage<bt709OetfUnclamped>;
    case kColorTransferGAMMA22: return &curveStage<gamma22Oetf>;
    case kColorTransferGAMMA18: return &curveStage<gamma18Oetf>;
    case kColorTransferDCIP3: return &curveStage<dcip3Oetf>;
    case kColorTransferIEC61966_2_4: return &curveStage<xvyccOetf>;
    case kColorTransferIEC61966_2_1: return &curveStage<srgbOetf>;
    case kColorTransferBT2020_12: return &curveStage<bt2020_12Oetf>;
    case kColorTransferARIB_STD_B67: return &curveStage<hlgOetf>;
    default: return &curveStage<bt709Oetf>;  // BT.709 clamps
    }
}

template <Normaliser N>
ReadStage readerFor(int32_t format) {
    switch (format) {
    case kKRONV12Format: return &readBlocks<YUV8Row<kKRONV12Format>, N>;
    case kKROYUV420PFormat: return &readBlocks<YUV8Row<kKROYUV420PFormat>, N>;
    case kKROYUV422PFormat: return &readBlocks<YUV8Row<kKROYUV422PFormat>, N>;
    case kKROYUV444PFormat: return &readBlocks<YUV8Row<kKROYUV444PFormat>, N>;
    case kKROYUV411PFormat: return &readBlocks<YUV8Row<kKROYUV411PFormat>, N>;
    case kKRORGBA8888Format: return &readBlocks<Packed4x8Row<kKRORGBA8888Format>, N>;
    case kKROBGRA8888Format: return &readBlocks<Packed4x8Row<kKROBGRA8888Format>, N>;
    case kKROCMYK8888Format: return &readBlocks<Packed4x8Row<kKROCMYK8888Format>, N>;
    default: return &readAny<N>;
    }
}

ReadStage chooseReader(int32_t format, SampleRule kind) {
    switch (kind) {
    case SampleRule::RGB: return readerFor<normaliseRGB>(format);
    case SampleRule::CMYK: return readerFor<normaliseCMYK>(format);
    case SampleRule::YUVLimited: return readerFor<normaliseYUVLimited>(format);
    case SampleRule::YUVFull: return readerFor<normaliseYUVFull>(format);
    case SampleRule::None: break;
    }
    return &readAny<normaliseNone>;
}

template <Quantiser Q>
WriteStage writerFor(int32_t format) {
    switch (format) {
    case kKRONV12Format: return &writeBlocks<YUV8Row<kKRONV12Format>, Q>;
    case kKROYUV420PFormat: return &writeBlocks<YUV8Row<kKROYUV420PFormat>, Q>;
    case kKROYUV422PFormat: return &writeBlocks<YUV8Row<kKROYUV422PFormat>, Q>;
    case kKROYUV444PFormat: return &writeBlocks<YUV8Row<kKROYUV444PFormat>, Q>;
    case kKROYUV411PFormat: return &writeBlocks<YUV8Row<kKROYUV411PFormat>, Q>;
    case kKRORGBA8888Format: return &writeBlocks<Packed4x8Row<kKRORGBA8888Format>, Q>;
    case kKROBGRA8888Format: return &writeBlocks<Packed4x8Row<kKROBGRA8888Format>, Q>;
    case kKROCMYK8888Format: return &writeBlocks<Packed4x8Row<kKROCMYK8888Format>, Q>;
    default: return &writeAny<Q>;
    }
}

WriteStage chooseWriter(int32_t format, SampleRule kind) {
    switch (kind) {
    case SampleRule::RGB: return writerFor<quantiseRGB>(format);
    case SampleRule::CMYK: return writerFor<quantiseCMYK>(format);
    case SampleRule::YUVLimited: return writerFor<quantiseYUVLimited>(format);
    case SampleRule::YUVFull: return writerFor<quantiseYUVFull>(format);
    case SampleRule::None: break;
    }
    return &writeAny<quantiseNone>;
}

ColorSide colorSide(const KROFrame& f) {
    return ColorSide{formatTraits(f.format), f.range, f.primaries, f.transfer, f.matrix};
}

bool isYuv(const FormatTraits* f) { return f && f->colorClass == ColorClass::YUV; }

// The fused kernels cover the 8-bit conversions between 4:2:0 YUV (NV12,
// YUV420P) and packed RGBA or BGRA with one fixed matrix and no curves.
template <class Rgb>
FusedStage fusedFromYuv(int32_t yuvFormat, SampleRule yuvRule) {
    const bool full = yuvRule == SampleRule::YUVFull;
    switch (yuvFormat) {
    case kKRONV12Format:
        return full ? &fusedRow<YUV8Row<kKRONV12Format>, normaliseYUVFull, FusedMatrix::YuvToRgb, Rgb, quantiseRGB>
                    : &fusedRow<YUV8Row<kKRONV12Format>, normaliseYUVLimited, FusedMatrix::YuvToRgb, Rgb, quantiseRGB>;
    case kKROYUV420PFormat:
        return full ? &fusedRow<YUV8Row<kKROYUV420PFormat>, normaliseYUVFull, FusedMatrix::YuvToRgb, Rgb, quantiseRGB>
                    : &fusedRow<YUV8Row<kKROYUV420PFormat>, normaliseYUVLimited, FusedMatrix::YuvToRgb, Rgb, quantiseRGB>;
    default: return nullptr;
    }
}

template <class Rgb>
FusedStage fusedToYuv(int32_t yuvFormat, SampleRule yuvRule) {
    const bool full = yuvRule == SampleRule::YUVFull;
    switch (yuvFormat) {
    case kKRONV12Format:
        return full ? &fusedRow<Rgb, normaliseRGB, FusedMatrix::RgbToYuv, YUV8Row<kKRONV12Format>, quantiseYUVFull>
                    : &fusedRow<Rgb, normaliseRGB, FusedMatrix::RgbToYuv, YUV8Row<kKRONV12Format>, quantiseYUVLimited>;
    case kKROYUV420PFormat:
        return full ? &fusedRow<Rgb, normaliseRGB, FusedMatrix::RgbToYuv, YUV8Row<kKROYUV420PFormat>, quantiseYUVFull>
                    : &fusedRow<Rgb, normaliseRGB, FusedMatrix::RgbToYuv, YUV8Row<kKROYUV420PFormat>, quantiseYUVLimited>;
    default: return nullptr;
    }
}

FusedStage chooseFused(const VectorPlan& p, int32_t srcFormat, int32_t dstFormat) {
    if (p.stageCount != 1) return nullptr;
    if (p.stages[0] == &yuvToRgbFixed) {
        if (dstFormat == kKRORGBA8888Format) return fusedFromYuv<Packed4x8Row<kKRORGBA8888Format>>(srcFormat, p.src.kind);
        if (dstFormat == kKROBGRA8888Format) return fusedFromYuv<Packed4x8Row<kKROBGRA8888Format>>(srcFormat, p.src.kind);
    }
    if (p.stages[0] == &rgbToYuvFixed) {
        if (srcFormat == kKRORGBA8888Format) return fusedToYuv<Packed4x8Row<kKRORGBA8888Format>>(dstFormat, p.dst.kind);
        if (srcFormat == kKROBGRA8888Format) return fusedToYuv<Packed4x8Row<kKROBGRA8888Format>>(dstFormat, p.dst.kind);
    }
    return nullptr;
}

VectorPlan makePlan(const KROFrame& src, const KROFrame& dst, int32_t sourcePeak) {
    const ColorSide s = colorSide(src), d = colorSide(dst);
    VectorPlan p{};
    p.reader = sampleAccessFor(src.format);
    p.writer = sampleAccessFor(dst.format);
    p.src = formatRule(s.format, s.range);
    p.dst = formatRule(d.format, d.range);
    p.yuvToRgb = &yuvToRgbTable(s.matrix);
    p.rgbToYuv = &rgbToYuvTable(d.matrix);
    p.primaries = &primariesMatrix(s.primaries, d.primaries);
    // PQ towards PQ scales by 10000 / Lpk with the peak taken as a float32.
    p.pqRatio = d.transfer == kColorTransferARIB_STD_B67 ? 10.0f
                : d.transfer == kColorTransferSMPTE2084   ? 10000.0f / static_cast<float>(sourcePeak)
                                                          : 20.0f;
    p.pqScale = kernels::pqOetfScale(s.transfer);
    // BT.2100 system gamma 1.2 + 0.42 log10(Lw / 1000) at Lw = 203 cd/m2.
    p.hlgGamma = (VF(1.2f) + VF(0.42f) * xsimd::log10(VF(203.0f / 1000.0f))).get(0);
    p.read = chooseReader(src.format, p.src.kind);
    p.write = chooseWriter(dst.format, p.dst.kind);
    if (sameDescription(s, d)) return p;  // normalise and quantise only

    if (isYuv(s.format))
        p.stages[p.stageCount++] = yuvMatrixKind(s.matrix) == YuvMatrixKind::BT2020ConstantLuminance
                                       ? &yuvToRgbBT2020CL
                                       : &yuvToRgbFixed;
    if (s.primaries != d.primaries || s.transfer != d.transfer) {
        if (s.transfer == kColorTransferARIB_STD_B67)
            p.stages[p.stageCount++] = &hlgEotfStage;
        else if (s.transfer == kColorTransferSMPTE2084)
            p.stages[p.stageCount++] = &pqEotfStage;
        else
            p.stages[p.stageCount++] = eotfStage(s.transfer);
        p.stages[p.stageCount++] = &primariesStage;
        p.stages[p.stageCount++] =
            d.transfer == kColorTransferSMPTE2084 ? &pqOetfStage : oetfStage(d.transfer);
    }
    if (isYuv(d.format))
        p.stages[p.stageCount++] = yuvMatrixKind(d.matrix) == YuvMatrixKind::BT2020ConstantLuminance
                                       ? &rgbToYuvBT2020CL
                                       : &rgbToYuvFixed;
    p.fused = chooseFused(p, src.format, dst.format);
    return p;
}

}  // namespace

void xsimdColorPass(const KROFrame& src, KROFrame& dst, int32_t sourcePeak, bool threaded) {
    const VectorPlan plan = makePlan(src, dst, sourcePeak);
    if (!plan.reader || !plan.writer) return;  // not addressable: nothing to do
    // The scalar pipeline with the same arguments converts the row tails.
    const PixelPipeline tail(colorSide(src), colorSide(dst), sourcePeak);
    const int width = dst.width;
    const int vectorWidth = width & ~(kLanes - 1);

    auto convertRow = [&](int y) {
        Lanes lanes;
        for (int x0 = 0; x0 < vectorWidth; x0 += kChunk) {
            const int n = vectorWidth - x0 < kChunk ? vectorWidth - x0 : kChunk;
            if (plan.fused) {
                plan.fused(plan, src, dst, y, x0, n);
                continue;
            }
            plan.read(plan, src, y, x0, n, lanes);
            for (int s = 0; s < plan.stageCount; ++s) plan.stages[s](plan, lanes, n);
            plan.write(plan, dst, y, x0, n, lanes);
        }
        if (vectorWidth < width) {
            NativePixel rest[kLanes];
            const int n = width - vectorWidth;
            plan.reader.readRow(src, y, vectorWidth, n, rest);
            tail.run(rest, rest, n);
            plan.writer.writeRow(dst, y, vectorWidth, n, rest);
        }
    };
    if (!threaded) {
        for (int y = 0; y < dst.height; ++y) convertRow(y);
        return;
    }
    CPUTask pool(kDefaultThreadCount);
    pool.runIndices(dst.height, convertRow);
    pool.join();
}

}  // namespace KROCOLOR
