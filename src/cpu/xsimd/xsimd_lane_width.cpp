// Which vector width the SIMD colour pass runs: AVX2 (eight lanes) when the
// processor has it, SSE2 (four lanes, part of every x86-64 processor)
// otherwise, or narrower when a test or benchmark asks for it.
#include <atomic>

#include "cpu/xsimd/xsimd_vector_plan.h"

namespace KROCOLOR {
namespace simd {
namespace {

std::atomic<int> laneLimit{kMaxLanes};

bool processorHasAVX2() {
#if (defined(__x86_64__) || defined(__i386__)) && defined(__GNUC__)
    static const bool has = __builtin_cpu_supports("avx2") != 0;
    return has;
#else
    return false;
#endif
}

}  // namespace

void setLaneLimit(int lanes) { laneLimit.store(lanes, std::memory_order_relaxed); }

int activeLanes() { return laneLimit.load(std::memory_order_relaxed) >= 8 && processorHasAVX2() ? 8 : 4; }

VectorPlan makeVectorPlan(const ColorPlan& colour, int32_t srcFormat, int32_t dstFormat) {
#if defined(__x86_64__) || defined(__i386__)
    if (activeLanes() == 8) return avx2::makeVectorPlan(colour, srcFormat, dstFormat);
#endif
    return sse2::makeVectorPlan(colour, srcFormat, dstFormat);
}

}  // namespace simd
}  // namespace KROCOLOR
