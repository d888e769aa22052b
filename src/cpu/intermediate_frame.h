// Frames a CPU convertor allocates for itself (the colour stage before a
// scale, libswscale's output): tightly packed planes from av_malloc, named
// "KROFrame-<serial>". Subsampled chroma planes are rounded up for odd sizes
// so that every sample the addressing reaches has its own place.
#pragma once

#include "api/frame.h"

namespace KROCOLOR {

class IntermediateFrame {
public:
    IntermediateFrame() = default;
    ~IntermediateFrame() { release(); }
    IntermediateFrame(const IntermediateFrame&) = delete;
    IntermediateFrame& operator=(const IntermediateFrame&) = delete;

    // Keeps the current planes when size and format already match; otherwise
    // reallocates. False (and no planes) when the format has no CPU layout,
    // the sizes would overflow, or memory runs out.
    bool ensure(int32_t format, int width, int height);
    void release();
    bool allocated() const { return frame_.planes[0] != nullptr; }

    KROFrame& frame() { return frame_; }
    const KROFrame& frame() const { return frame_; }

private:
    KROFrame frame_;
};

}  // namespace KROCOLOR
