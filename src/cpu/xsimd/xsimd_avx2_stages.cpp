// The eight-lane build of the SIMD colour stages: the same bodies as the
// SSE2 build, compiled with -mavx2 (sources.cmake) into simd::avx2. Fused
// multiply-add stays off, so both widths give the same bits wherever they run
// the same formulas. Only processors that report AVX2 reach these stages
// (xsimd_lane_width.cpp).
#if defined(__AVX2__)
#include "cpu/xsimd/xsimd_color_stages.cpp"
#include "cpu/xsimd/xsimd_sample_stages.cpp"
#include "cpu/xsimd/xsimd_vector_plan.cpp"
#endif
