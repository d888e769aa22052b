// Frames in CUDA device memory that the convertor owns: staged copies of host
// frames (in the host format's device twin) and the intermediate frame of a
// scaled conversion. The record is the ordinary frame descriptor whose plane
// entries hold device addresses.
#pragma once

#include <cstdint>

#include "core/frame.h"

namespace KROCOLOR {
namespace cuda {

// The device twin a host format is staged through, or 0 when it has none.
int32_t deviceTwinOf(int32_t hostFormat);

// Frees the planes and the record; accepts null.
void releaseDeviceFrame(KROFrame* frame);

// A device frame of `format` at w x h laid out as the kernels address it
// (chroma rows and pairs rounded up for odd sizes). Null when a plane cannot
// be allocated, or when a size or stride would overflow (`overflow` is then
// set and nothing was allocated).
KROFrame* createIntermediateFrame(int32_t format, int32_t width, int32_t height, bool& overflow);

// Brings host frame `host` into the owned staged frame `staged` (kept when
// its geometry still matches, replaced otherwise), copying the pixels up
// unless `upload` is false; formats with only full-size planes always upload,
// so every byte of the staged frame is defined. Returns kKROSuccess,
// kKROInputParamError for a byte count that would overflow (nothing
// allocated), or kKROLoadCUDAKernelError (no twin, allocation or copy failed).
KROReturn stageHostFrame(const KROFrame& host, KROFrame*& staged, bool upload);

// Copies a staged frame back into the caller's host frame when it is that
// frame's twin; any other pairing copies nothing.
void downloadFrame(const KROFrame& device, const KROFrame& host);

}  // namespace cuda
}  // namespace KROCOLOR
