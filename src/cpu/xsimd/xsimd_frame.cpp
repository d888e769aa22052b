#include "cpu/xsimd/xsimd_frame.h"

#include "cpu/intermediate_frame.h"

namespace KROCOLOR {

void XSimdFrame::build(int32_t format, int width, int height) {
    release();
    built_ = true;
    frame_.format = format;
    frame_.width = width;
    frame_.height = height;
    frame_.name = nextFrameName();
    int32_t strides[4];
    size_t sizes[4];
    if (!layOutPlanes(format, width, height, PlanePadding{}, strides, sizes)) return;
    for (int p = 0; p < planeCount(*formatTraits(format)); ++p) {
        frame_.planes[p] = static_cast<uint8_t*>(KROXSimd::malloc(sizes[p]));
        if (!frame_.planes[p]) return;
        frame_.strides[p] = strides[p];
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
