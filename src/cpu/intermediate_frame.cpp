#include "cpu/intermediate_frame.h"

#include <climits>
#include <cstdint>

extern "C" {
#include <libavutil/mem.h>
}

namespace KROCOLOR {

bool layOutPlanes(int32_t format, int width, int height, const PlanePadding& padding,
                  int32_t strides[4], size_t sizes[4]) {
    const FormatTraits* t = formatTraits(format);
    if (!isCpuAddressable(t) || width <= 0 || height <= 0) return false;
    const int64_t align = padding.strideAlign > 1 ? padding.strideAlign : 1;
    for (int p = 0; p < 4; ++p) {
        strides[p] = 0;
        sizes[p] = 0;
    }
    for (int p = 0; p < planeCount(*t); ++p) {
        // Row bytes are below 2^34 for int widths, so the padded stride and
        // the plane size are checked step by step.
        const int64_t stride = (planeRowBytes(*t, p, width) + padding.rowSlack + align - 1) / align * align;
        if (stride > INT32_MAX) return false;
        const int64_t rows = planeRows(*t, p, height);
        if (rows > (INT64_MAX - padding.tailBytes) / stride) return false;
        const int64_t size = stride * rows + padding.tailBytes;
        if (static_cast<uint64_t>(size) > SIZE_MAX / 2) return false;
        strides[p] = static_cast<int32_t>(stride);
        sizes[p] = static_cast<size_t>(size);
    }
    return true;
}

bool IntermediateFrame::ensure(int32_t format, int width, int height, const PlanePadding& padding) {
    if (allocated() && frame_.format == format && frame_.width == width && frame_.height == height &&
        padding_ == padding)
        return true;
    release();
    int32_t strides[4];
    size_t sizes[4];
    if (!layOutPlanes(format, width, height, padding, strides, sizes)) return false;
    for (int p = 0; p < planeCount(*formatTraits(format)); ++p) {
        frame_.planes[p] = static_cast<uint8_t*>(av_mallocz(sizes[p]));
        frame_.strides[p] = strides[p];
        if (!frame_.planes[p]) {
            release();
            return false;
        }
    }
    frame_.width = width;
    frame_.height = height;
    frame_.format = format;
    frame_.name = nextFrameName();
    padding_ = padding;
    return true;
}

void IntermediateFrame::release() {
    for (int p = 0; p < 4; ++p) {
        av_free(frame_.planes[p]);
        frame_.planes[p] = nullptr;
        frame_.strides[p] = 0;
    }
    frame_.width = frame_.height = 0;
    frame_.format = 0;
    frame_.name.clear();
    padding_ = PlanePadding{};
}

}  // namespace KROCOLOR
