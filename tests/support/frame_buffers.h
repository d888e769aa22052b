// Caller-side frame buffers for tests: every plane is its own allocation of
// exactly stride x rows bytes, so the first byte read or written past a plane
// lands outside its allocation and AddressSanitizer reports it.
#pragma once

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <vector>

#include "api/frame.h"
#include "api/pixel_format_table.h"

namespace KROCOLOR {
namespace test {

class FrameBuffers {
public:
    // `padding` extra bytes at the end of every row (a stride wider than the row).
    FrameBuffers(int32_t format, int width, int height, int padding = 0)
        : format_(format), width_(width), height_(height) {
        const FormatTraits* t = formatTraits(format);
        for (int p = 0; t && p < KROCOLOR::planeCount(*t); ++p) {
            strides_[p] = static_cast<int>(planeRowBytes(*t, p, width)) + padding;
            const size_t bytes = static_cast<size_t>(strides_[p]) * planeRows(*t, p, height);
            planes_[p].reset(static_cast<uint8_t*>(std::malloc(bytes ? bytes : 1)));
            sizes_[p] = bytes;
            std::memset(planes_[p].get(), 0, bytes);
            pointers_[p] = planes_[p].get();
        }
    }

    int32_t format() const { return format_; }
    int width() const { return width_; }
    int height() const { return height_; }
    uint8_t* plane(int p) { return pointers_[p]; }
    const uint8_t* plane(int p) const { return pointers_[p]; }
    size_t size(int p) const { return sizes_[p]; }
    int stride(int p) const { return strides_[p]; }
    int planeCount() const {
        int n = 0;
        while (n < 4 && pointers_[n]) ++n;
        return n;
    }

    // Arrays in the shape transcode() takes.
    const uint8_t* const* srcPlanes() const { return constPointers(); }
    uint8_t* const* dstPlanes() { return pointers_; }
    const int* strides() const { return strides_; }

    // Fills every byte with a deterministic pseudo-random pattern.
    void fillRandom(uint32_t seed) {
        for (int p = 0; p < planeCount(); ++p)
            for (size_t i = 0; i < sizes_[p]; ++i) {
                seed = seed * 1664525u + 1013904223u;
                pointers_[p][i] = static_cast<uint8_t>(seed >> 24);
            }
    }

    KROFrame frame(int32_t primaries = 0, int32_t transfer = 0, int32_t matrix = 0,
                   int32_t range = 0) {
        KROFrame f;
        f.width = width_;
        f.height = height_;
        f.format = format_;
        f.primaries = primaries;
        f.transfer = transfer;
        f.matrix = matrix;
        f.range = range;
        for (int p = 0; p < 4; ++p) {
            f.planes[p] = pointers_[p];
            f.strides[p] = strides_[p];
        }
        return f;
    }

private:
    struct Free {
        void operator()(uint8_t* p) const { std::free(p); }
    };
    const uint8_t* const* constPointers() const {
        for (int p = 0; p < 4; ++p) constPointers_[p] = pointers_[p];
        return constPointers_;
    }

    int32_t format_;
    int width_, height_;
    std::unique_ptr<uint8_t, Free> planes_[4];
    uint8_t* pointers_[4] = {nullptr, nullptr, nullptr, nullptr};
    mutable const uint8_t* constPointers_[4] = {nullptr, nullptr, nullptr, nullptr};
    int strides_[4] = {0, 0, 0, 0};
    size_t sizes_[4] = {0, 0, 0, 0};
};

}  // namespace test
}  // namespace KROCOLOR
