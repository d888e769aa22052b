// Vectorised versions of the stages that dominate a conversion: transfer
// functions (the fast power), the 3x3 matrix, clamping and the codes a store
// writes. One body (icc_lane_stages.inc) is compiled for SSE2 (four lanes,
// always present on x86-64) and for AVX2 (eight lanes, chosen at run time
// when the processor has it). Neither enables fused multiply-add, and every
// lane performs the scalar code's IEEE operations in the scalar order, so all
// three versions give the same bits.
#include "icc/icc_stages.h"

#include <cmath>

#include "icc/icc_math.h"

#if defined(__x86_64__) || defined(__i386__)
#include <immintrin.h>
#define KRO_ICC_X86 1
#endif

namespace KROCOLOR {
namespace icc {

#if defined(KRO_ICC_X86) && defined(__SSE2__)

#define KRO_LANES

namespace sse2 {

struct V {
    static constexpr int kLanes = 4;
    __m128 v;

    static V load(const float* p) { return {_mm_load_ps(p)}; }
    static void store(float* p, V x) { _mm_store_ps(p, x.v); }
    static void storeTruncated(uint32_t* p, V x) {
        _mm_store_si128(reinterpret_cast<__m128i*>(p), _mm_cvttps_epi32(x.v));
    }
    static V splat(float f) { return {_mm_set1_ps(f)}; }
    static V zero() { return {_mm_setzero_ps()}; }
    static V add(V a, V b) { return {_mm_add_ps(a.v, b.v)}; }
    static V sub(V a, V b) { return {_mm_sub_ps(a.v, b.v)}; }
    static V mul(V a, V b) { return {_mm_mul_ps(a.v, b.v)}; }
    static V div(V a, V b) { return {_mm_div_ps(a.v, b.v)}; }
    static V lt(V a, V b) { return {_mm_cmplt_ps(a.v, b.v)}; }
    static V gt(V a, V b) { return {_mm_cmpgt_ps(a.v, b.v)}; }
    static V ge(V a, V b) { return {_mm_cmpge_ps(a.v, b.v)}; }
    static V eq(V a, V b) { return {_mm_cmpeq_ps(a.v, b.v)}; }
    static V bitAnd(V a, V b) { return {_mm_and_ps(a.v, b.v)}; }
    static V bitOr(V a, V b) { return {_mm_or_ps(a.v, b.v)}; }
    static V bitAndNot(V mask, V b) { return {_mm_andnot_ps(mask.v, b.v)}; }
    // The bit pattern of x read as a signed integer, converted to float.
    static V intToFloat(V x) { return {_mm_cvtepi32_ps(_mm_castps_si128(x.v))}; }
    // The float whose bits are (bits(x) & keep) | set.
    static V withBits(V x, int32_t keep, int32_t set) {
        const __m128i bits = _mm_and_si128(_mm_castps_si128(x.v), _mm_set1_epi32(keep));
        return {_mm_castsi128_ps(_mm_or_si128(bits, _mm_set1_epi32(set)))};
    }
    // Truncation towards zero, as a float (lanes beyond int32 are garbage).
    static V truncate(V x) { return {_mm_cvtepi32_ps(_mm_cvttps_epi32(x.v))}; }
    // The float whose bits are the truncated integer value of x.
    static V truncatedBits(V x) { return {_mm_castsi128_ps(_mm_cvttps_epi32(x.v))}; }
};

#include "icc/icc_lane_stages.inc"

}  // namespace sse2

#undef KRO_LANES
#define KRO_LANES __attribute__((target("avx2")))

namespace avx2 {

struct V {
    static constexpr int kLanes = 8;
    __m256 v;

    KRO_LANES static V load(const float* p) { return {_mm256_load_ps(p)}; }
    KRO_LANES static void store(float* p, V x) { _mm256_store_ps(p, x.v); }
    KRO_LANES static void storeTruncated(uint32_t* p, V x) {
        _mm256_store_si256(reinterpret_cast<__m256i*>(p), _mm256_cvttps_epi32(x.v));
    }
    KRO_LANES static V splat(float f) { return {_mm256_set1_ps(f)}; }
    KRO_LANES static V zero() { return {_mm256_setzero_ps()}; }
    KRO_LANES static V add(V a, V b) { return {_mm256_add_ps(a.v, b.v)}; }
    KRO_LANES static V sub(V a, V b) { return {_mm256_sub_ps(a.v, b.v)}; }
    KRO_LANES static V mul(V a, V b) { return {_mm256_mul_ps(a.v, b.v)}; }
    KRO_LANES static V div(V a, V b) { return {_mm256_div_ps(a.v, b.v)}; }
    // Ordered, non-signalling comparisons: the SSE2 predicates' results.
    KRO_LANES static V lt(V a, V b) { return {_mm256_cmp_ps(a.v, b.v, _CMP_LT_OQ)}; }
    KRO_LANES static V gt(V a, V b) { return {_mm256_cmp_ps(a.v, b.v, _CMP_GT_OQ)}; }
    KRO_LANES static V ge(V a, V b) { return {_mm256_cmp_ps(a.v, b.v, _CMP_GE_OQ)}; }
    KRO_LANES static V eq(V a, V b) { return {_mm256_cmp_ps(a.v, b.v, _CMP_EQ_OQ)}; }
    KRO_LANES static V bitAnd(V a, V b) { return {_mm256_and_ps(a.v, b.v)}; }
    KRO_LANES static V bitOr(V a, V b) { return {_mm256_or_ps(a.v, b.v)}; }
    KRO_LANES static V bitAndNot(V mask, V b) { return {_mm256_andnot_ps(mask.v, b.v)}; }
    KRO_LANES static V intToFloat(V x) { return {_mm256_cvtepi32_ps(_mm256_castps_si256(x.v))}; }
    KRO_LANES static V withBits(V x, int32_t keep, int32_t set) {
        const __m256i bits = _mm256_and_si256(_mm256_castps_si256(x.v), _mm256_set1_epi32(keep));
        return {_mm256_castsi256_ps(_mm256_or_si256(bits, _mm256_set1_epi32(set)))};
    }
    KRO_LANES static V truncate(V x) { return {_mm256_cvtepi32_ps(_mm256_cvttps_epi32(x.v))}; }
    KRO_LANES static V truncatedBits(V x) { return {_mm256_castsi256_ps(_mm256_cvttps_epi32(x.v))}; }
};

#include "icc/icc_lane_stages.inc"

}  // namespace avx2

#undef KRO_LANES

VectorStages vectorStages(bool allowAVX2) {
    static const bool haveAVX2 = [] {
        __builtin_cpu_init();
        return __builtin_cpu_supports("avx2") != 0;
    }();
    if (allowAVX2 && haveAVX2)
        return {avx2::transferFunctions, avx2::matrix, avx2::clamp, avx2::quantiseBlock, 8};
    return {sse2::transferFunctions, sse2::matrix, sse2::clamp, sse2::quantiseBlock, 4};
}

#else

namespace {
void quantisePlain(const PixelBlock& b, int channels, float maxCode, CodeBlock& codes, int n) {
    for (int ch = 0; ch < channels; ++ch)
        for (int i = 0; i < n; ++i) codes.c[ch][i] = quantise(b.c[ch][i], maxCode);
}
}  // namespace

VectorStages vectorStages(bool) { return {stageTransferFunctions, stageMatrix, stageClamp, quantisePlain, 1}; }

#endif

}  // namespace icc
}  // namespace KROCOLOR
