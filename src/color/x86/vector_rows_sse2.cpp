// Four-lane colour stages on SSE2, which every x86-64 processor has.
#include "color/x86/vector_ops_sse2.h"
#include "color/x86/vector_rows_impl.h"

namespace KROCOLOR {

const VectorRows& vectorRowsSse2() {
    static const VectorRows rows = vrows::vectorRowsFor<Sse2>();
    return rows;
}

}  // namespace KROCOLOR
