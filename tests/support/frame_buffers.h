// Caller-side frame buffers in the shape the public API takes (plane and
// stride arrays), over HostFrame's exactly sized planes.
#pragma once

#include "support/host_frame.h"

namespace KROCOLOR {
namespace test {

class FrameBuffers {
public:
    // `padding` extra bytes at the end of every row (a stride wider than the row).
    FrameBuffers(int32_t format, int width, int height, int padding = 0, Placement placement = Placement::Heap)
        : host_(format, width, height, padding, placement) {
        for (int p = 0; p < 4; ++p) constPlanes_[p] = host_.frame.planes[p];
    }

    int32_t format() const { return host_.frame.format; }
    int width() const { return host_.frame.width; }
    int height() const { return host_.frame.height; }
    uint8_t* plane(int p) { return host_.frame.planes[p]; }
    const uint8_t* plane(int p) const { return host_.frame.planes[p]; }
    size_t size(int p) const { return host_.sizes[p]; }
    int stride(int p) const { return host_.frame.strides[p]; }
    int planeCount() const { return host_.planes; }

    // Arrays in the shape transcode() takes.
    const uint8_t* const* srcPlanes() const { return constPlanes_; }
    uint8_t* const* dstPlanes() { return host_.frame.planes; }
    const int* strides() const { return host_.frame.strides; }

    // Fills every byte with a deterministic pseudo-random pattern.
    void fillRandom(uint32_t seed) {
        for (int p = 0; p < planeCount(); ++p)
            for (size_t i = 0; i < size(p); ++i) {
                seed = seed * 1664525u + 1013904223u;
                plane(p)[i] = static_cast<uint8_t>(seed >> 24);
            }
    }

    // The descriptor of these buffers with a colour description.
    KROFrame frame(int32_t primaries = 0, int32_t transfer = 0, int32_t matrix = 0,
                   int32_t range = 0) const {
        KROFrame f = host_.frame;
        f.primaries = primaries;
        f.transfer = transfer;
        f.matrix = matrix;
        f.range = range;
        return f;
    }

private:
    HostFrame host_;
    const uint8_t* constPlanes_[4] = {nullptr, nullptr, nullptr, nullptr};
};

}  // namespace test
}  // namespace KROCOLOR
