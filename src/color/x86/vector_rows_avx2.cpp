// Eight-lane colour stages. Built with -mavx2 and nothing more (no FMA):
// only called after the processor reported AVX2 support.
#include "color/x86/vector_ops_avx2.h"
#include "color/x86/vector_rows_impl.h"

namespace KROCOLOR {

const VectorRows& vectorRowsAvx2() {
    static const VectorRows rows = vrows::vectorRowsFor<Avx2>();
    return rows;
}

}  // namespace KROCOLOR
