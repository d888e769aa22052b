#include "api/backend_selection.h"

#include <atomic>

#include "core/pixel_format_table.h"

namespace KROCOLOR {

namespace {

// One integer for the whole process. Objects selecting on different threads
// at once may see each other's codes; relaxed ordering keeps exactly that
// meaning while making the accesses well-defined.
std::atomic<int32_t> g_lastSelectionError{kKROSuccess};

bool hostOr(bool (*family)(int32_t), int32_t code) { return isHostFormat(code) || family(code); }

Selection refuse(KROReturn code) {
    g_lastSelectionError.store(code, std::memory_order_relaxed);
    return Selection{nullptr, code};
}

// A factory that yields nothing without saying why (an allocation failure)
// is reported as an unknown error rather than as a silent success.
// The factory runs first, so its error is read only after it has been set.
template <typename Factory>
Selection build(Factory factory) {
    KROReturn error = kKROSuccess;
    std::unique_ptr<IConvertor> convertor = factory(error);
    if (!convertor) return refuse(error != kKROSuccess ? error : kKROUnknownError);
    return Selection{std::move(convertor), kKROSuccess};
}

}  // namespace

KROReturn takeSelectionError() {
    return static_cast<KROReturn>(g_lastSelectionError.exchange(kKROSuccess, std::memory_order_relaxed));
}

Selection selectConvertor(int32_t s, int32_t d, const KROHWContext& r) {
    g_lastSelectionError.store(kKROSuccess, std::memory_order_relaxed);
    const int32_t st = r.srcType;
    const int32_t dt = r.dstType;

    if (st == kKROHWTypeCUDA && dt == kKROHWTypeCUDA) {
        if (hostOr(isCUDAFormat, s) && hostOr(isCUDAFormat, d) && r.srcHandle == r.dstHandle)
            return build([&](KROReturn& e) { return createCudaConvertor(r.srcHandle, r.srcQueue, e); });
        return refuse(kKROFormatHWContextMismatch);
    }
    if (st == kKROHWTypeD3D11 && dt == kKROHWTypeD3D11) {
        if (hostOr(isD3D11Format, s) && hostOr(isD3D11Format, d) &&
            (r.srcHandle == r.dstHandle || r.srcQueue == r.dstQueue))
            return build([&](KROReturn& e) { return createD3D11Convertor(r.srcHandle, r.srcQueue, e); });
        return refuse(kKROFormatHWContextMismatch);
    }
    if (st == kKROHWTypeReserved && dt == kKROHWTypeReserved &&
        ((hostOr(isOther5Format, s) && hostOr(isOther5Format, d)) ||
         (hostOr(isOther6Format, s) && hostOr(isOther6Format, d)))) {
        const bool same = r.srcHandle == r.dstHandle && r.srcQueue == r.dstQueue;
        return refuse(same ? kKROPlatformFormatNotSupported : kKROFormatHWContextMismatch);
    }
    if (st == kKROHWTypeGLES && dt == kKROHWTypeGLES) {
        if (!hostOr(isGLFormat, s) || !hostOr(isGLFormat, d))
            return refuse(kKROFormatHWContextMismatch);
        if (d == kKRORGB888Texture2DFormat || d == kKRORGB888Format)
            return refuse(kKROInputParamError);
        if (r.srcHandle == r.dstHandle || r.srcQueue == r.dstQueue)
            return build([&](KROReturn& e) { return createGLConvertor(r.srcHandle, r.srcQueue, e); });
        return refuse(kKROFormatHWContextMismatch);
    }
    if (isHostFormat(d) && isHostFormat(s)) {
        if (st == kKROHWTypeXSimd || dt == kKROHWTypeXSimd)
            return build([&](KROReturn& e) { return createSimdConvertor(e); });
        const bool swscale = st == kKROHWTypeSwscale || dt == kKROHWTypeSwscale;
        return build([&](KROReturn& e) { return createCPUConvertor(swscale, e); });
    }
    if (isHostFormat(d) && isCUDAFormat(s)) {
        if (st == kKROHWTypeCUDA && dt == kKROHWTypeCPU) {
            if (!r.srcHandle) return refuse(kKROMissingHWContext);
            return build([&](KROReturn& e) { return createCudaConvertor(r.srcHandle, r.srcQueue, e); });
        }
        return refuse(kKROFormatHWContextMismatch);
    }
    if (isCUDAFormat(d) && isHostFormat(s)) {
        if (st == kKROHWTypeCPU && dt == kKROHWTypeCUDA) {
            if (!r.dstHandle) return refuse(kKROMissingHWContext);
            return build([&](KROReturn& e) { return createCudaConvertor(r.dstHandle, r.dstQueue, e); });
        }
        return refuse(kKROFormatHWContextMismatch);
    }
    if ((isCUDAFormat(d) && isCUDAFormat(s)) || (isD3D11Format(d) && isD3D11Format(s)) ||
        (isOther5Format(d) && isOther5Format(s)) || (isOther6Format(d) && isOther6Format(s)))
        return refuse(kKROFormatHWContextMismatch);
    return refuse(kKROInputParamError);
}

}  // namespace KROCOLOR
