#include "color/row_isa.h"

#include <atomic>

namespace KROCOLOR {

namespace {

// -1: automatic; otherwise the forced RowIsa value.
std::atomic<int> forced{-1};

}  // namespace

RowIsa bestRowIsa() {
#if defined(__x86_64__) || defined(__i386__)
    static const RowIsa best = __builtin_cpu_supports("avx2") ? RowIsa::AVX2 : RowIsa::SSE2;
    return best;
#else
    return RowIsa::Plain;
#endif
}

RowIsa rowIsa() {
    const int f = forced.load(std::memory_order_relaxed);
    const RowIsa best = bestRowIsa();
    if (f < 0) return best;
    return static_cast<int>(best) < f ? best : static_cast<RowIsa>(f);
}

void forceRowIsa(RowIsa isa) { forced.store(static_cast<int>(isa), std::memory_order_relaxed); }
void resetRowIsa() { forced.store(-1, std::memory_order_relaxed); }

}  // namespace KROCOLOR
