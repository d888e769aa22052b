// Caller-side host frames for tests: one heap block per plane, sized exactly
// stride x rows, so AddressSanitizer reports the first byte read or written
// past a plane.
#pragma once

#include <cstdint>
#include <cstring>
#include <memory>

#include "core/frame.h"
#include "core/pixel_format_table.h"

namespace KROCOLOR {
namespace test {

class HostFrame {
public:
    // `pad` bytes are added to every plane's minimal row.
    HostFrame(int32_t format, int width, int height, int pad = 0) {
        frame.width = width;
        frame.height = height;
        frame.format = format;
        const FormatTraits* t = formatTraits(format);
        planes = t ? planeCount(*t) : 0;
        for (int p = 0; p < planes; ++p) {
            const int64_t rowBytes = planeRowBytes(*t, p, width);
            rows[p] = planeRows(*t, p, height);
            frame.strides[p] = static_cast<int32_t>(rowBytes + pad);
            sizes[p] = static_cast<size_t>(frame.strides[p] * rows[p]);
            storage[p].reset(new uint8_t[sizes[p] ? sizes[p] : 1]);
            std::memset(storage[p].get(), 0, sizes[p]);
            frame.planes[p] = storage[p].get();
        }
    }
    void fill(uint8_t value) {
        for (int p = 0; p < planes; ++p) std::memset(storage[p].get(), value, sizes[p]);
    }
    uint8_t* plane(int p) { return storage[p].get(); }

    KROFrame frame;
    int planes = 0;
    int64_t rows[4] = {0, 0, 0, 0};
    size_t sizes[4] = {0, 0, 0, 0};

private:
    std::unique_ptr<uint8_t[]> storage[4];
};

}  // namespace test
}  // namespace KROCOLOR
