// KROCropFunctions and KRORotateFunctions: thin fronts that validate, select a
// convertor for (format, format) and call its crop or rotate slot.
#include <cstring>
#include <new>

#include "api/api_guard.h"
#include "api/backend_selection.h"
#include "core/convertor.h"
#include "core/frame.h"

namespace KROCOLOR {

namespace {

// The state both fronts share, with the steps of their transcode.
struct GeometryState {
    bool& rebuild;
    KROHWContext*& hwContext;
    IConvertor*& convertor;
    bool hwSync;
};

KROReturn setGeometryContext(GeometryState s, const KROHWContext& context) {
    if (!s.hwContext) {
        s.hwContext = new (std::nothrow) KROHWContext();
        if (!s.hwContext) return kKROUnknownError;
        *s.hwContext = context;
        return kKROSuccess;
    }
    // The records are compared as a whole, field by field (padding excluded).
    const KROHWContext& h = *s.hwContext;
    const bool same = h.srcHandle == context.srcHandle && h.srcQueue == context.srcQueue &&
                      h.srcType == context.srcType && h.dstHandle == context.dstHandle &&
                      h.dstQueue == context.dstQueue && h.dstType == context.dstType;
    if (!same) {
        *s.hwContext = context;
        s.rebuild = true;
    }
    return kKROSuccess;
}

// Steps 1-7 of both transcodes; `run` performs step 8 on the built frames.
template <typename Run>
KROReturn geometryTranscode(GeometryState s, GeometryKind kind, int32_t format, int srcW, int srcH,
                            int dstW, int dstH, const uint8_t* const srcPlanes[],
                            const int srcStrides[], uint8_t* const dstPlanes[],
                            const int dstStrides[], Run run) {
    if (!srcPlanes || !srcStrides || !dstPlanes || !dstStrides) return kKROInputParamError;
    return guarded([&]() -> KROReturn {
        if (s.rebuild) {
            delete s.convertor;
            s.convertor = nullptr;
            s.rebuild = false;
        }
        if (!s.hwContext) {
            s.hwContext = new (std::nothrow) KROHWContext();
            if (!s.hwContext) return kKROUnknownError;
        }
        const int32_t srcType = s.hwContext->srcType;
        if (srcType != kKROHWTypeCPU && srcType != kKROHWTypeCUDA && srcType != kKROHWTypeXSimd)
            return kKROInputParamError;
        if (!isHostFormat(format) && !isCUDAFormat(format)) return kKROInputParamError;
        if (srcW <= 0 || srcH <= 0 || dstW <= 0 || dstH <= 0) return kKROInputParamError;

        KROFrame src;
        src.width = srcW;
        src.height = srcH;
        src.format = format;
        KROFrame dst;
        dst.width = dstW;
        dst.height = dstH;
        dst.format = format;
        if (!buildGeometryFrame(src, kind, srcPlanes, srcStrides) ||
            !buildGeometryFrame(dst, kind, const_cast<const uint8_t* const*>(dstPlanes), dstStrides))
            return kKROInputPixelFormatNotSupported;
        if (validateHostFrame(src) != kKROSuccess || validateHostFrame(dst) != kKROSuccess)
            return kKROInputParamError;

        if (!s.convertor) {
            Selection chosen = selectConvertor(format, format, *s.hwContext);
            if (!chosen.convertor) {
                takeSelectionError();  // the shared copy is cleared as it always was
                return chosen.code;
            }
            chosen.convertor->setHWSync(s.hwSync);
            s.convertor = chosen.convertor.release();
        }
        return run(*s.convertor, src, dst);
    });
}

}  // namespace

// ----------------------------------------------------------------- crop ----

KROCropFunctions* KROCropFunctions::create(int srcW, int srcH, KROPixelFormat format, int x, int y,
                                           int width, int height) {
    if (x < 0 || y < 0 || width < 1 || height < 1) return nullptr;
    if (int64_t{x} + width > srcW || int64_t{y} + height > srcH) return nullptr;
    return new (std::nothrow) KROCropFunctions(srcW, srcH, format, x, y, width, height);
}

KROCropFunctions::KROCropFunctions(int srcW, int srcH, KROPixelFormat fmt, int x, int y, int width,
                                   int height)
    : srcWidth(srcW), srcHeight(srcH), format(fmt), cropX(x), cropY(y), cropWidth(width),
      cropHeight(height), rebuild(true), hwContext(nullptr), convertor(nullptr), hwSync(true) {}

KROCropFunctions::~KROCropFunctions() {
    delete hwContext;
    delete convertor;
}

// Copies own their HW context record and build their own convertor.
KROCropFunctions::KROCropFunctions(const KROCropFunctions& o)
    : srcWidth(o.srcWidth), srcHeight(o.srcHeight), format(o.format), cropX(o.cropX),
      cropY(o.cropY), cropWidth(o.cropWidth), cropHeight(o.cropHeight), rebuild(true),
      hwContext(o.hwContext ? new (std::nothrow) KROHWContext(*o.hwContext) : nullptr),
      convertor(nullptr), hwSync(o.hwSync) {}

KROCropFunctions& KROCropFunctions::operator=(const KROCropFunctions& o) {
    if (this == &o) return *this;
    KROCropFunctions copy(o);
    std::swap(srcWidth, copy.srcWidth);
    std::swap(srcHeight, copy.srcHeight);
    std::swap(format, copy.format);
    std::swap(cropX, copy.cropX);
    std::swap(cropY, copy.cropY);
    std::swap(cropWidth, copy.cropWidth);
    std::swap(cropHeight, copy.cropHeight);
    std::swap(rebuild, copy.rebuild);
    std::swap(hwContext, copy.hwContext);
    std::swap(convertor, copy.convertor);
    std::swap(hwSync, copy.hwSync);
    return *this;
}

KROReturn KROCropFunctions::getcropRect(int* x, int* y, int* width, int* height) {
    if (x) *x = cropX;
    if (y) *y = cropY;
    if (width) *width = cropWidth;
    if (height) *height = cropHeight;
    return kKROSuccess;
}

KROReturn KROCropFunctions::setHWContext(const KROHWContext& context) {
    return setGeometryContext({rebuild, hwContext, convertor, hwSync}, context);
}

KROReturn KROCropFunctions::setHWSync(bool sync) {
    hwSync = sync;
    return kKROSuccess;
}

KROReturn KROCropFunctions::transcode(const uint8_t* const srcPlanes[], const int srcStrides[],
                                      uint8_t* const dstPlanes[], const int dstStrides[]) {
    return geometryTranscode({rebuild, hwContext, convertor, hwSync}, GeometryKind::Crop, format,
                             srcWidth, srcHeight, cropWidth, cropHeight, srcPlanes, srcStrides,
                             dstPlanes, dstStrides, [&](IConvertor& c, KROFrame& s, KROFrame& d) {
                                 return c.crop(&s, &d, cropX, cropY);
                             });
}

// --------------------------------------------------------------- rotate ----

KRORotateFunctions* KRORotateFunctions::create(int srcW, int srcH, KROPixelFormat format,
                                               int orientation) {
    if (orientation < 1 || orientation > 8) return nullptr;
    return new (std::nothrow) KRORotateFunctions(srcW, srcH, format, orientation);
}

KRORotateFunctions::KRORotateFunctions(int srcW, int srcH, KROPixelFormat fmt, int orient)
    : srcWidth(srcW), srcHeight(srcH), format(fmt), orientation(orient),
      dstWidth(orient >= 5 ? srcH : srcW), dstHeight(orient >= 5 ? srcW : srcH), rebuild(true),
      hwContext(nullptr), convertor(nullptr), hwSync(true) {}

KRORotateFunctions::~KRORotateFunctions() {
    delete hwContext;
    delete convertor;
}

KRORotateFunctions::KRORotateFunctions(const KRORotateFunctions& o)
    : srcWidth(o.srcWidth), srcHeight(o.srcHeight), format(o.format), orientation(o.orientation),
      dstWidth(o.dstWidth), dstHeight(o.dstHeight), rebuild(true),
      hwContext(o.hwContext ? new (std::nothrow) KROHWContext(*o.hwContext) : nullptr),
      convertor(nullptr), hwSync(o.hwSync) {}

KRORotateFunctions& KRORotateFunctions::operator=(const KRORotateFunctions& o) {
    if (this == &o) return *this;
    KRORotateFunctions copy(o);
    std::swap(srcWidth, copy.srcWidth);
    std::swap(srcHeight, copy.srcHeight);
    std::swap(format, copy.format);
    std::swap(orientation, copy.orientation);
    std::swap(dstWidth, copy.dstWidth);
    std::swap(dstHeight, copy.dstHeight);
    std::swap(rebuild, copy.rebuild);
    std::swap(hwContext, copy.hwContext);
    std::swap(convertor, copy.convertor);
    std::swap(hwSync, copy.hwSync);
    return *this;
}

KROReturn KRORotateFunctions::getDstWH(int* width, int* height) {
    if (width) *width = dstWidth;
    if (height) *height = dstHeight;
    return kKROSuccess;
}

KROReturn KRORotateFunctions::setHWContext(const KROHWContext& context) {
    return setGeometryContext({rebuild, hwContext, convertor, hwSync}, context);
}

KROReturn KRORotateFunctions::setHWSync(bool sync) {
    hwSync = sync;
    return kKROSuccess;
}

KROReturn KRORotateFunctions::transcode(const uint8_t* const srcPlanes[], const int srcStrides[],
                                        uint8_t* const dstPlanes[], const int dstStrides[]) {
    return geometryTranscode({rebuild, hwContext, convertor, hwSync}, GeometryKind::Rotate, format,
                             srcWidth, srcHeight, dstWidth, dstHeight, srcPlanes, srcStrides,
                             dstPlanes, dstStrides, [&](IConvertor& c, KROFrame& s, KROFrame& d) {
                                 return c.rotate(&s, &d, orientation);
                             });
}

}  // namespace KROCOLOR
