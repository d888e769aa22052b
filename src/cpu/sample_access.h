// Reading and writing the stored samples of host-memory frames. One reader
// and one writer per format, chosen once per frame from the format table;
// the colour pipeline and the crop, rotate and scale kernels all go through
// them.
#pragma once

#include "api/frame.h"
#include "color/pixel.h"

namespace KROCOLOR {

// Row accessors for one format. Pixels x0 .. x0 + count - 1 of row y.
// Readers return the chroma of the block containing each pixel; writers
// store chroma only for pixels at the top-left corner of their block.
struct SampleAccess {
    void (*readRow)(const KROFrame& frame, int y, int x0, int count, NativePixel* out);
    void (*writeRow)(KROFrame& frame, int y, int x0, int count, const NativePixel* in);
};

// Null accessors (both members null) for formats the CPU cannot address.
SampleAccess sampleAccessFor(int32_t format);

// Single-pixel conveniences over the row accessors.
NativePixel readPixel(const SampleAccess& access, const KROFrame& frame, int x, int y);
void writePixel(const SampleAccess& access, KROFrame& frame, int x, int y, const NativePixel& p);

}  // namespace KROCOLOR
