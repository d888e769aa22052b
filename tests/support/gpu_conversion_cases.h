// The conversion cases every GPU backend runs through the hook, each held to
// its backend's program model. Written once; each backend's test file runs
// them on its own device (and skips with the reason where it has none).
#pragma once

#include <vector>

#include "support/gpu_backend.h"

namespace KROCOLOR {
namespace test {

// Every pair of the backend's device formats at the source size, reduced and
// enlarged (partial 32 x 16 groups on both axes), colour cases taken in turn
// and padded rows here and there; a backend that stages host twins as device
// frames also gets each side as a host frame.
void checkFormatPairs(GpuBackend& backend);

// Every transfer into and out of BT.709 and the primaries pairs, from `src`
// into each of `dsts`.
void checkCurvesAndPrimaries(GpuBackend& backend, int32_t src, const std::vector<int32_t>& dsts);

}  // namespace test
}  // namespace KROCOLOR
