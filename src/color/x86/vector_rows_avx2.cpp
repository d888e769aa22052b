// Eight-lane colour stages. Built with -mavx2 and nothing more (no FMA):
// only called after the processor reported AVX2 support.
#include <immintrin.h>

#include "color/x86/vector_rows_impl.h"

namespace KROCOLOR {

namespace {

struct Avx2 {
    using F = __m256;
    using I = __m256i;
    static constexpr int kLanes = 8;

    static F load(const float* p) { return _mm256_load_ps(p); }
    static void store(float* p, F v) { _mm256_store_ps(p, v); }
    static void storeInt(int32_t* p, I v) { _mm256_store_si256(reinterpret_cast<__m256i*>(p), v); }
    static F set(float v) { return _mm256_set1_ps(v); }
    static I setInt(int v) { return _mm256_set1_epi32(v); }
    static F add(F a, F b) { return _mm256_add_ps(a, b); }
    static F sub(F a, F b) { return _mm256_sub_ps(a, b); }
    static F mul(F a, F b) { return _mm256_mul_ps(a, b); }
    static F div(F a, F b) { return _mm256_div_ps(a, b); }
    // Ordered comparisons: false where either side is NaN, as in C++.
    static F gt(F a, F b) { return _mm256_cmp_ps(a, b, _CMP_GT_OQ); }
    static F ge(F a, F b) { return _mm256_cmp_ps(a, b, _CMP_GE_OQ); }
    static F lt(F a, F b) { return _mm256_cmp_ps(a, b, _CMP_LT_OQ); }
    static F le(F a, F b) { return _mm256_cmp_ps(a, b, _CMP_LE_OQ); }
    static F select(F mask, F t, F f) { return _mm256_blendv_ps(f, t, mask); }
    static F keep(F mask, F v) { return _mm256_and_ps(mask, v); }  // v where set, +0 elsewhere
    static I truncate(F v) { return _mm256_cvttps_epi32(v); }
    static F toFloat(I v) { return _mm256_cvtepi32_ps(v); }
    static I subInt(I a, I b) { return _mm256_sub_epi32(a, b); }
    static I asInt(F v) { return _mm256_castps_si256(v); }
    static F asFloat(I v) { return _mm256_castsi256_ps(v); }

};

}  // namespace

const VectorRows& vectorRowsAvx2() {
    static const VectorRows rows = vrows::vectorRowsFor<Avx2>();
    return rows;
}

}  // namespace KROCOLOR
