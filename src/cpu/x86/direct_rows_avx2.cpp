// Direct rows, eight lanes on AVX2 (built with -mavx2, no FMA; called only
// after the processor reported AVX2).
#include "color/x86/vector_ops_avx2.h"
#include "cpu/x86/direct_rows_impl.h"

namespace KROCOLOR {

DirectRow directRowAvx2(const ColorPlan& plan, int32_t srcFormat, int32_t dstFormat) {
    return direct::rowFor<Avx2>(plan, srcFormat, dstFormat);
}

}  // namespace KROCOLOR
