// Four-lane colour stages on SSE2, which every x86-64 processor has.
#include <emmintrin.h>

#include "color/x86/vector_rows_impl.h"

namespace KROCOLOR {

namespace {

struct Sse2 {
    using F = __m128;
    using I = __m128i;
    static constexpr int kLanes = 4;

    static F load(const float* p) { return _mm_load_ps(p); }
    static void store(float* p, F v) { _mm_store_ps(p, v); }
    static void storeInt(int32_t* p, I v) { _mm_store_si128(reinterpret_cast<__m128i*>(p), v); }
    static F set(float v) { return _mm_set1_ps(v); }
    static I setInt(int v) { return _mm_set1_epi32(v); }
    static F add(F a, F b) { return _mm_add_ps(a, b); }
    static F sub(F a, F b) { return _mm_sub_ps(a, b); }
    static F mul(F a, F b) { return _mm_mul_ps(a, b); }
    static F div(F a, F b) { return _mm_div_ps(a, b); }
    // Ordered comparisons: false where either side is NaN, as in C++.
    static F gt(F a, F b) { return _mm_cmpgt_ps(a, b); }
    static F ge(F a, F b) { return _mm_cmpge_ps(a, b); }
    static F lt(F a, F b) { return _mm_cmplt_ps(a, b); }
    static F le(F a, F b) { return _mm_cmple_ps(a, b); }
    static F select(F mask, F t, F f) { return _mm_or_ps(_mm_and_ps(mask, t), _mm_andnot_ps(mask, f)); }
    static F keep(F mask, F v) { return _mm_and_ps(mask, v); }  // v where set, +0 elsewhere
    static I truncate(F v) { return _mm_cvttps_epi32(v); }
    static F toFloat(I v) { return _mm_cvtepi32_ps(v); }
    static I subInt(I a, I b) { return _mm_sub_epi32(a, b); }
    static I asInt(F v) { return _mm_castps_si128(v); }
    static F asFloat(I v) { return _mm_castsi128_ps(v); }

};

}  // namespace

const VectorRows& vectorRowsSse2() {
    static const VectorRows rows = vrows::vectorRowsFor<Sse2>();
    return rows;
}

}  // namespace KROCOLOR
