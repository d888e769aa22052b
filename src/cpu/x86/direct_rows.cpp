#include "cpu/x86/direct_rows.h"

namespace KROCOLOR {

DirectRow directRowFor(const ColorPlan& plan, int32_t srcFormat, int32_t dstFormat, RowIsa isa) {
#if KRO_HAVE_X86_VECTOR_ROWS
    if (isa == RowIsa::AVX2) return directRowAvx2(plan, srcFormat, dstFormat);
    if (isa == RowIsa::SSE2) return directRowSse2(plan, srcFormat, dstFormat);
#else
    (void)plan, (void)srcFormat, (void)dstFormat, (void)isa;
#endif
    return nullptr;
}

}  // namespace KROCOLOR
