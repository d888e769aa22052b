#include "cpu/xsimd/xsimd_frame.h"

#include <climits>

namespace KROCOLOR {

void XSimdFrame::build(int32_t format, int width, int height) {
    release();
    built_ = true;
    frame_.format = format;
    frame_.width = width;
    frame_.height = height;
    frame_.name = nextFrameName();
    const FormatTraits* t = formatTraits(format);
    if (!isCpuAddressable(t) || width <= 0 || height <= 0) return;

    const int planes = planeCount(*t);
    int64_t strides[4] = {0, 0, 0, 0};
    int64_t sizes[4] = {0, 0, 0, 0};
    for (int p = 0; p < planes; ++p) {
        strides[p] = planeRowBytes(*t, p, width);
        if (strides[p] > INT32_MAX) return;
        sizes[p] = strides[p] * planeRows(*t, p, height);  // < 2^62: no overflow
    }
    for (int p = 0; p < planes; ++p) {
        frame_.planes[p] = static_cast<uint8_t*>(KROXSimd::malloc(static_cast<uint64_t>(sizes[p])));
        if (!frame_.planes[p]) return;
        frame_.strides[p] = static_cast<int32_t>(strides[p]);
    }
}

bool XSimdFrame::usable() const {
    const FormatTraits* t = formatTraits(frame_.format);
    if (!built_ || !isCpuAddressable(t)) return false;
    const int planes = planeCount(*t);
    for (int p = 0; p < planes; ++p)
        if (!frame_.planes[p]) return false;
    return planes > 0;
}

void XSimdFrame::release() {
    for (int p = 0; p < 4; ++p) {
        KROXSimd::free(frame_.planes[p]);
        frame_.planes[p] = nullptr;
        frame_.strides[p] = 0;
    }
    frame_.width = frame_.height = frame_.format = 0;
    frame_.name.clear();
    built_ = false;
}

}  // namespace KROCOLOR
