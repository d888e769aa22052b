// Frames a CPU convertor allocates for itself (the colour stage before a
// scale, libswscale's output): tightly packed planes from av_malloc, named
// "KROFrame-<serial>". Subsampled chroma planes are rounded up for odd sizes
// so that every sample the addressing reaches has its own place.
#pragma once

#include "core/frame.h"

namespace KROCOLOR {

// Room around each plane's rows. The default is tightly packed planes; code
// that hands planes to a library reading or writing in wide vector chunks
// (libswscale) asks for aligned rows with slack after each row and after the
// last one.
struct PlanePadding {
    int strideAlign = 1;  // row strides are multiples of this (a power of two)
    int rowSlack = 0;     // at least this many bytes after each row's samples
    int tailBytes = 0;    // bytes after the last row of each plane
    bool operator==(const PlanePadding& o) const {
        return strideAlign == o.strideAlign && rowSlack == o.rowSlack && tailBytes == o.tailBytes;
    }
};

// Strides and byte sizes of the planes of a frame the library allocates for
// itself. False when the format has no CPU layout, the size is not positive,
// a stride would not fit 32 bits or a plane's size would not fit memory.
bool layOutPlanes(int32_t format, int width, int height, const PlanePadding& padding,
                  int32_t strides[4], size_t sizes[4]);

class IntermediateFrame {
public:
    IntermediateFrame() = default;
    ~IntermediateFrame() { release(); }
    IntermediateFrame(const IntermediateFrame&) = delete;
    IntermediateFrame& operator=(const IntermediateFrame&) = delete;

    // Keeps the current planes when size, format and padding already match;
    // otherwise reallocates. False (and no planes) when the format has no CPU
    // layout, the sizes would overflow, or memory runs out.
    bool ensure(int32_t format, int width, int height, const PlanePadding& padding = {});
    void release();
    bool allocated() const { return frame_.planes[0] != nullptr; }

    KROFrame& frame() { return frame_; }
    const KROFrame& frame() const { return frame_; }

private:
    KROFrame frame_;
    PlanePadding padding_;
};

}  // namespace KROCOLOR
