// Caller-side frames for tests: one block per plane, sized exactly stride x
// rows (the last row's padding included), on the heap or against an
// inaccessible page, so the first byte read or written outside a plane is
// reported (AddressSanitizer) or faults (guard page). The plane and stride
// arrays come in the shape the public API takes.
#pragma once

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>

#include "core/frame.h"
#include "core/pixel_format_table.h"
#include "cpu/sample_access.h"
#include "support/guarded_block.h"

namespace KROCOLOR {
namespace test {

// A colour description as a KROFrame carries it.
struct Description {
    int32_t primaries, transfer, matrix, range;
};

class FrameBuffers {
public:
    // `padding` extra bytes at the end of every row (a stride wider than the row).
    FrameBuffers(int32_t format, int width, int height, int padding = 0, Placement placement = Placement::Heap) {
        frame_.width = width;
        frame_.height = height;
        frame_.format = format;
        const FormatTraits* t = formatTraits(format);
        planes_ = t ? KROCOLOR::planeCount(*t) : 0;
        for (int p = 0; p < planes_; ++p) {
            frame_.strides[p] = static_cast<int32_t>(planeRowBytes(*t, p, width) + padding);
            sizes_[p] = static_cast<size_t>(frame_.strides[p] * planeRows(*t, p, height));
            storage_[p].reset(new GuardedBlock(sizes_[p], placement));
            constPlanes_[p] = frame_.planes[p] = storage_[p]->data();
        }
    }

    int32_t format() const { return frame_.format; }
    int width() const { return frame_.width; }
    int height() const { return frame_.height; }
    uint8_t* plane(int p) { return frame_.planes[p]; }
    const uint8_t* plane(int p) const { return frame_.planes[p]; }
    size_t size(int p) const { return sizes_[p]; }
    int stride(int p) const { return frame_.strides[p]; }
    int planeCount() const { return planes_; }

    // Arrays in the shape transcode() takes.
    const uint8_t* const* srcPlanes() const { return constPlanes_; }
    uint8_t* const* dstPlanes() { return frame_.planes; }
    const int* strides() const { return frame_.strides; }

    // The descriptor itself (colour fields zero), for kernels that take frame pointers.
    KROFrame* raw() { return &frame_; }
    const KROFrame* raw() const { return &frame_; }

    void fill(uint8_t value) {
        for (int p = 0; p < planes_; ++p) std::memset(frame_.planes[p], value, sizes_[p]);
    }

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
        KROFrame f = frame_;
        f.primaries = primaries;
        f.transfer = transfer;
        f.matrix = matrix;
        f.range = range;
        return f;
    }
    KROFrame frame(const Description& d) const { return frame(d.primaries, d.transfer, d.matrix, d.range); }

private:
    KROFrame frame_;
    int planes_ = 0;
    size_t sizes_[4] = {0, 0, 0, 0};
    std::unique_ptr<GuardedBlock> storage_[4];
    const uint8_t* constPlanes_[4] = {nullptr, nullptr, nullptr, nullptr};
};

// Largest difference of any component code between two frames of one
// format; with `bits`, in steps of codes that wide (8: 8-bit steps).
inline int largestCodeDifference(const FrameBuffers& a, const FrameBuffers& b, int bits = 0) {
    const SampleAccess access = sampleAccessFor(a.format());
    const int shift = bits ? formatTraits(a.format())->depth - bits : 0;
    int worst = 0;
    for (int y = 0; y < a.height(); ++y)
        for (int x = 0; x < a.width(); ++x) {
            const NativePixel p = readPixel(access, *a.raw(), x, y), q = readPixel(access, *b.raw(), x, y);
            for (int k = 0; k < 4; ++k) worst = std::max(worst, std::abs((p.c[k] >> shift) - (q.c[k] >> shift)));
        }
    return worst;
}

}  // namespace test
}  // namespace KROCOLOR
