// Direct rows, four lanes on SSE2.
#include "color/x86/vector_ops_sse2.h"
#include "cpu/x86/direct_rows_impl.h"

namespace KROCOLOR {

DirectRow directRowSse2(const ColorPlan& plan, int32_t srcFormat, int32_t dstFormat) {
    return direct::rowFor<Sse2>(plan, srcFormat, dstFormat);
}

}  // namespace KROCOLOR
