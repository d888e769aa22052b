#include "support/gpu_backend.h"

namespace KROCOLOR {
namespace test {

KROReturn runGpuConversion(GpuBackend& backend, const SideDescription& src, const FrameBuffers& srcPixels,
                           const SideDescription& dst, FrameBuffers& dstPixels) {
    std::unique_ptr<KROColorFunctions> f(KROColorFunctions::create(src.width, src.height,
                                                                   static_cast<KROPixelFormat>(src.format), dst.width,
                                                                   dst.height, static_cast<KROPixelFormat>(dst.format)));
    if (!f) return kKROUnknownError;
    f->setKeepSourceColor(true);
    f->setColorspaceDetails(static_cast<KROColorPrimaries>(src.primaries), static_cast<KROColorTransfer>(src.transfer),
                            static_cast<KROColorMatrix>(src.matrix), static_cast<KROColorRange>(src.range),
                            static_cast<KROColorPrimaries>(dst.primaries), static_cast<KROColorTransfer>(dst.transfer),
                            static_cast<KROColorMatrix>(dst.matrix), static_cast<KROColorRange>(dst.range));
    f->setHWContext(backend.context());

    std::unique_ptr<DeviceFrame> deviceSrc, deviceDst;
    const uint8_t* const* srcPlanes = srcPixels.srcPlanes();
    const int* srcStrides = srcPixels.strides();
    if (backend.isDeviceFormat(src.format)) {
        deviceSrc = backend.upload(src.format, srcPixels);
        if (!deviceSrc) return kKROUnknownError;
        srcPlanes = deviceSrc->planes();
        srcStrides = deviceSrc->strides();
    }
    uint8_t* const* dstPlanes = dstPixels.dstPlanes();
    const int* dstStrides = dstPixels.strides();
    if (backend.isDeviceFormat(dst.format)) {
        deviceDst = backend.upload(dst.format, dstPixels);
        if (!deviceDst) return kKROUnknownError;
        dstPlanes = const_cast<uint8_t* const*>(deviceDst->planes());
        dstStrides = deviceDst->strides();
    }
    const KROReturn result = f->transcode(srcPlanes, srcStrides, dstPlanes, dstStrides);
    if (deviceDst && !backend.download(*deviceDst, dstPixels)) return kKROUnknownError;
    return result;
}

}  // namespace test
}  // namespace KROCOLOR
