// Caller-side host frames for tests: one block per plane, sized exactly
// stride x rows (the last row's padding included), on the heap or against an
// inaccessible page, so the first byte read or written outside a plane is
// reported (AddressSanitizer) or faults (guard page).
#pragma once

#include <cstdint>
#include <cstring>
#include <memory>

#include "core/frame.h"
#include "core/pixel_format_table.h"
#include "support/guarded_block.h"

namespace KROCOLOR {
namespace test {

class HostFrame {
public:
    // `pad` bytes are added to every plane's minimal row.
    HostFrame(int32_t format, int width, int height, int pad = 0, Placement placement = Placement::Heap) {
        frame.width = width;
        frame.height = height;
        frame.format = format;
        const FormatTraits* t = formatTraits(format);
        planes = t ? planeCount(*t) : 0;
        for (int p = 0; p < planes; ++p) {
            rows[p] = planeRows(*t, p, height);
            frame.strides[p] = static_cast<int32_t>(planeRowBytes(*t, p, width) + pad);
            sizes[p] = static_cast<size_t>(frame.strides[p] * rows[p]);
            storage[p].reset(new GuardedBlock(sizes[p], placement));
            frame.planes[p] = storage[p]->data();
        }
    }
    void fill(uint8_t value) {
        for (int p = 0; p < planes; ++p) std::memset(frame.planes[p], value, sizes[p]);
    }
    uint8_t* plane(int p) { return frame.planes[p]; }

    KROFrame frame;
    int planes = 0;
    int64_t rows[4] = {0, 0, 0, 0};
    size_t sizes[4] = {0, 0, 0, 0};

private:
    std::unique_ptr<GuardedBlock> storage[4];
};

}  // namespace test
}  // namespace KROCOLOR
