#include "cpu/xsimd/xsimd_context.h"

#include <new>

#include "color/color_plan.h"
#include "core/convertor.h"
#include "cpu/cpu_context.h"
#include "cpu/geometry_kernels.h"
#include "cpu/xsimd/xsimd_passes.h"

namespace KROCOLOR {

KROReturn XSimdCPUContext::convertColor(const KROFrame* src, KROFrame* dst) {
    if (!src || !dst) return kKROInputParamError;
    try {
        updateSourcePeak(metaData_, sourcePeak_);
        if (src->width == dst->width && src->height == dst->height) {
            if (sameDescription(*src, *dst) && sameCopyStrides(*src, *dst)) {
                copyFramePlanes(*src, *dst);
                return kKROSuccess;
            }
            xsimdColorPass(*src, *dst, sourcePeak_, useWorkerPool(dst->width, dst->height));
            return kKROSuccess;
        }

        const bool threaded =
            useWorkerPool(src->width, src->height) && useWorkerPool(dst->width, dst->height);
        // With identical descriptions the stored codes are scaled as they
        // are, exactly as the scalar convertor does; otherwise the colour
        // pass runs first, at source size, into the intermediate frame.
        const KROFrame* scaleSource = src;
        if (!sameDescription(*src, *dst)) {
            if (!intermediate_.fits(dst->format, src->width, src->height))
                intermediate_.build(dst->format, src->width, src->height);
            if (!intermediate_.usable()) return kKRORunCPUKernelError;
            KROFrame& stage = intermediate_.frame();
            stage.range = dst->range;
            stage.primaries = dst->primaries;
            stage.transfer = dst->transfer;
            stage.matrix = dst->matrix;
            xsimdColorPass(*src, stage, sourcePeak_, threaded);
            scaleSource = &stage;
        }
        return xsimdScalePass(*scaleSource, *dst, threaded) ? kKROSuccess : kKRORunCPUKernelError;
    } catch (...) {
        // Memory that runs out (intermediate frames, the pool's job copies).
        return kKRORunCPUKernelError;
    }
}

// Rotation and cropping are not vectorised: the scalar kernels, one pixel
// per pool item.
KROReturn XSimdCPUContext::rotate(const KROFrame* src, KROFrame* dst, int orientation) {
    return rotateFrame(src, dst, orientation, GeometrySchedule::Pixels);
}

KROReturn XSimdCPUContext::crop(const KROFrame* src, KROFrame* dst, int left, int top) {
    return cropFrame(src, dst, left, top, GeometrySchedule::Pixels);
}

std::unique_ptr<IConvertor> createSimdConvertor(KROReturn& error) {
    std::unique_ptr<XSimdCPUContext> context(new (std::nothrow) XSimdCPUContext());
    if (!context) error = kKROUnknownError;
    return context;
}

}  // namespace KROCOLOR
