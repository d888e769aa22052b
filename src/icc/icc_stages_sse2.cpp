// Four-lane versions of the stages that dominate a conversion: transfer
// functions (the fast power), the 3x3 matrix, clamping and the codes a store
// writes. Each lane performs the very IEEE single-precision operations of the
// scalar stage in the same order (no reassociation, no fused multiply-add,
// floor and truncation done exactly), so the results are bit for bit those
// of the scalar stages; pixels past the last multiple of four go through the
// scalar stage itself.
#include "icc/icc_stages.h"

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

#include "icc/icc_math.h"

namespace KROCOLOR {
namespace icc {

#if defined(__SSE2__)
namespace {

inline __m128 splat(float v) { return _mm_set1_ps(v); }
inline __m128i splatInt(int32_t v) { return _mm_set1_epi32(v); }

// mask ? a : b
inline __m128 select(__m128 mask, __m128 a, __m128 b) {
    return _mm_or_ps(_mm_and_ps(mask, a), _mm_andnot_ps(mask, b));
}

// fastLog2 of four lanes.
inline __m128 log2x4(__m128 x) {
    const __m128i bits = _mm_castps_si128(x);
    const __m128 e = _mm_mul_ps(_mm_cvtepi32_ps(bits), splat(1.0f / 8388608.0f));
    const __m128 m =
        _mm_castsi128_ps(_mm_or_si128(_mm_and_si128(bits, splatInt(0x7fffff)), splatInt(0x3f000000)));
    const __m128 head = _mm_sub_ps(_mm_sub_ps(e, splat(124.22552f)), _mm_mul_ps(splat(1.4980303f), m));
    return _mm_sub_ps(head, _mm_div_ps(splat(1.72588f), _mm_add_ps(m, splat(0.35208872f))));
}

// fastExp2 of four lanes. floor() is truncation corrected downwards, exact
// for every lane that the range checks keep.
inline __m128 exp2x4(__m128 x) {
    const __m128 truncated = _mm_cvtepi32_ps(_mm_cvttps_epi32(x));
    const __m128 fl = _mm_sub_ps(truncated, _mm_and_ps(_mm_cmpgt_ps(truncated, x), splat(1.0f)));
    const __m128 fr = _mm_sub_ps(x, fl);
    const __m128 sum = _mm_sub_ps(_mm_add_ps(x, splat(121.274055f)), _mm_mul_ps(splat(1.4901291f), fr));
    const __m128 v =
        _mm_mul_ps(_mm_add_ps(sum, _mm_div_ps(splat(27.728024f), _mm_sub_ps(splat(4.8425255f), fr))),
                   splat(8388608.0f));
    __m128 r = _mm_castsi128_ps(_mm_cvttps_epi32(v));
    r = select(_mm_cmpge_ps(v, splat(2147483648.0f)), splat(INFINITY), r);
    r = _mm_and_ps(_mm_cmpge_ps(v, _mm_setzero_ps()), r);  // !(v >= 0), NaN too, gives 0
    r = _mm_and_ps(_mm_cmpge_ps(x, splat(-127.0f)), r);    // !(x >= -127), NaN too, gives 0
    return select(_mm_cmpgt_ps(x, splat(128.0f)), splat(INFINITY), r);
}

inline __m128 powx4(__m128 x, __m128 y) {
    const __m128 zero = _mm_setzero_ps();
    __m128 r = exp2x4(_mm_mul_ps(log2x4(x), y));
    r = _mm_andnot_ps(_mm_cmplt_ps(x, zero), r);
    const __m128 same = _mm_or_ps(_mm_cmpeq_ps(x, zero), _mm_cmpeq_ps(x, splat(1.0f)));
    return select(same, x, r);
}

struct TransferX4 {
    __m128 g, a, b, c, d, e, f;
    explicit TransferX4(const ICCTransferFunction& tf)
        : g(splat(tf.g)), a(splat(tf.a)), b(splat(tf.b)), c(splat(tf.c)), d(splat(tf.d)), e(splat(tf.e)),
          f(splat(tf.f)) {}

    __m128 operator()(__m128 x) const {
        const __m128 signBit = splat(-0.0f);
        const __m128 s = select(_mm_cmplt_ps(x, _mm_setzero_ps()), splat(-1.0f), splat(1.0f));
        const __m128 t = _mm_andnot_ps(signBit, x);
        const __m128 linear = _mm_mul_ps(s, _mm_add_ps(_mm_mul_ps(c, t), f));
        const __m128 power = _mm_mul_ps(s, _mm_add_ps(powx4(_mm_add_ps(_mm_mul_ps(a, t), b), g), e));
        return select(_mm_cmplt_ps(t, d), linear, power);
    }
};

// x > 0 ? (x < 1 ? x : 1) : 0, NaN giving 0.
inline __m128 clamp01(__m128 x) {
    const __m128 one = splat(1.0f);
    const __m128 below = select(_mm_cmplt_ps(x, one), x, one);
    return _mm_and_ps(_mm_cmpgt_ps(x, _mm_setzero_ps()), below);
}

}  // namespace

void stageTransferFunctionsX4(const StageData& d, PixelBlock& b, int n) {
    const int whole = n & ~3;
    for (int ch = 0; ch < d.channels; ++ch) {
        const ICCTransferFunction& tf = d.curves[ch].parametric;
        const TransferX4 eval(tf);
        float* v = b.c[ch];
        for (int i = 0; i < whole; i += 4) _mm_store_ps(v + i, eval(_mm_load_ps(v + i)));
        for (int i = whole; i < n; ++i) v[i] = evalTransferFunction(tf, v[i]);
    }
}

void stageMatrixX4(const StageData& d, PixelBlock& b, int n) {
    const float(*m)[4] = d.matrix;
    float* r = b.c[0];
    float* g = b.c[1];
    float* bl = b.c[2];
    const int whole = n & ~3;
    __m128 k[3][4];
    for (int row = 0; row < 3; ++row)
        for (int col = 0; col < 4; ++col) k[row][col] = splat(m[row][col]);
    for (int i = 0; i < whole; i += 4) {
        const __m128 x = _mm_load_ps(r + i), y = _mm_load_ps(g + i), z = _mm_load_ps(bl + i);
        __m128 out[3];
        for (int row = 0; row < 3; ++row)
            out[row] = _mm_add_ps(
                _mm_add_ps(_mm_add_ps(_mm_mul_ps(k[row][0], x), _mm_mul_ps(k[row][1], y)), _mm_mul_ps(k[row][2], z)),
                k[row][3]);
        _mm_store_ps(r + i, out[0]);
        _mm_store_ps(g + i, out[1]);
        _mm_store_ps(bl + i, out[2]);
    }
    for (int i = whole; i < n; ++i) applyMatrix(m, r[i], g[i], bl[i]);
}

void stageClampX4(const StageData& d, PixelBlock& b, int n) {
    const int whole = n & ~3;
    for (int ch = 0; ch < d.channels; ++ch) {
        float* v = b.c[ch];
        for (int i = 0; i < whole; i += 4) _mm_store_ps(v + i, clamp01(_mm_load_ps(v + i)));
        for (int i = whole; i < n; ++i) v[i] = clampUnit(v[i]);
    }
}

void quantiseX4(const PixelBlock& b, int channels, float maxCode, CodeBlock& codes, int n) {
    const __m128 scale = splat(maxCode), half = splat(0.5f);
    const int whole = n & ~3;
    for (int ch = 0; ch < channels; ++ch) {
        for (int i = 0; i < whole; i += 4) {
            const __m128 v = _mm_add_ps(_mm_mul_ps(clamp01(_mm_load_ps(b.c[ch] + i)), scale), half);
            _mm_store_si128(reinterpret_cast<__m128i*>(codes.c[ch] + i), _mm_cvttps_epi32(v));
        }
        for (int i = whole; i < n; ++i) codes.c[ch][i] = quantise(b.c[ch][i], maxCode);
    }
}

#else

void stageTransferFunctionsX4(const StageData& d, PixelBlock& b, int n) { stageTransferFunctions(d, b, n); }
void stageMatrixX4(const StageData& d, PixelBlock& b, int n) { stageMatrix(d, b, n); }
void stageClampX4(const StageData& d, PixelBlock& b, int n) { stageClamp(d, b, n); }
void quantiseX4(const PixelBlock& b, int channels, float maxCode, CodeBlock& codes, int n) {
    for (int ch = 0; ch < channels; ++ch)
        for (int i = 0; i < n; ++i) codes.c[ch][i] = quantise(b.c[ch][i], maxCode);
}
#endif

}  // namespace icc
}  // namespace KROCOLOR
