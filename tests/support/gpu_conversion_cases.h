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
// (a format into itself at its own size keeps its description) and padded
// rows here and there; a backend that stages host twins as device
// frames also gets each side as a host frame.
void checkFormatPairs(GpuBackend& backend);

// Every transfer into and out of BT.709 and the primaries pairs, from `src`
// into each of `dsts`.
void checkCurvesAndPrimaries(GpuBackend& backend, int32_t src, const std::vector<int32_t>& dsts);

// A host frame as it is staged without the layout step: RGB888 expanded with
// alpha 255 into RGBA8888, RGBA frames copied.
void stageAsRgba(const FrameBuffers& host, FrameBuffers& rgba);

// Host frames of every format (but RGBA16, which each backend stages its
// own way) into and out of the device's RGBA8888 texture: RGB888 expanded
// with alpha 255 and RGBA8888 as they are, every other format through the
// CPU layout step (libswscale as the oracle). CMYK, which libswscale cannot
// lay out, is refused as a source with `cmykRefusal`, leaving the
// destination as it was; as a destination its failure goes unreported.
void checkHostFormatsThroughStaging(GpuBackend& backend, KROReturn cmykRefusal);

}  // namespace test
}  // namespace KROCOLOR
