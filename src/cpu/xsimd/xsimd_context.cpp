#include "cpu/xsimd/xsimd_context.h"

#include <exception>
#include <new>

#include "api/backend_selection.h"
#include "cpu/cpu_context.h"
#include "cpu/cpu_task.h"
#include "cpu/geometry_kernels.h"
#include "cpu/sample_access.h"
#include "cpu/xsimd/xsimd_passes.h"

namespace KROCOLOR {

namespace {

bool sameColour(const KROFrame& a, const KROFrame& b) {
    return a.format == b.format && a.range == b.range && a.primaries == b.primaries &&
           a.transfer == b.transfer && a.matrix == b.matrix;
}

// One destination pixel at a time, as the scalar geometry kernels define it:
// row-major on the calling thread for small frames, otherwise interleaved
// single pixels over a pool of worker threads.
template <typename PixelJob>
KROReturn runPerPixel(int width, int height, const PixelJob& job) {
    if (!useWorkerPool(width, height)) {
        for (int y = 0; y < height; ++y)
            for (int x = 0; x < width; ++x) job(x, y);
        return kKROSuccess;
    }
    try {
        CPUTask pool(kDefaultThreadCount);
        pool.runPixels(width, height, job);
        pool.join();
    } catch (const std::exception&) {
        return kKRORunCPUKernelError;
    }
    return kKROSuccess;
}

}  // namespace

void XSimdCPUContext::readSourcePeak() {
    const auto it = metaData_.find("src_max_luminance");
    if (it != metaData_.end()) sourcePeak_ = parseLuminance(it->second.c_str());
}

KROReturn XSimdCPUContext::convertColor(const KROFrame* src, KROFrame* dst) {
    if (!src || !dst) return kKROInputParamError;
    try {
        readSourcePeak();
        if (src->width == dst->width && src->height == dst->height) {
            if (sameColour(*src, *dst) && sameCopyStrides(*src, *dst)) {
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
        if (!sameColour(*src, *dst)) {
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
        // Worker threads that cannot start, or memory that runs out.
        return kKRORunCPUKernelError;
    }
}

KROReturn XSimdCPUContext::rotate(const KROFrame* src, KROFrame* dst, int orientation) {
    if (!src || !dst) return kKROInputParamError;
    if (orientation < 1 || orientation > 8) return kKROSuccess;
    const SampleAccess access = sampleAccessFor(dst->format);
    if (!access) return kKROSuccess;
    // Only the destination size the orientation implies keeps every mapped
    // position inside the source.
    const bool transposing = orientation >= 5;
    const int W = src->width, H = src->height;
    if (dst->width != (transposing ? H : W) || dst->height != (transposing ? W : H) || dst->width <= 0 ||
        dst->height <= 0)
        return kKROSuccess;
    if (!hostPlanesPresent(*src) || !hostPlanesPresent(*dst)) return kKROInputParamError;

    const KROFrame& s = *src;
    KROFrame& d = *dst;
    return runPerPixel(d.width, d.height, [&access, &s, &d, orientation, W, H](int x, int y) {
        int sx = x, sy = y;
        switch (orientation) {  // EXIF orientation tag values
        case 2: sx = W - 1 - x; break;
        case 3: sx = W - 1 - x; sy = H - 1 - y; break;
        case 4: sy = H - 1 - y; break;
        case 5: sx = y; sy = x; break;
        case 6: sx = y; sy = H - 1 - x; break;
        case 7: sx = W - 1 - y; sy = H - 1 - x; break;
        case 8: sx = W - 1 - y; sy = x; break;
        default: break;
        }
        writePixel(access, d, x, y, readPixel(access, s, sx, sy));
    });
}

KROReturn XSimdCPUContext::crop(const KROFrame* src, KROFrame* dst, int left, int top) {
    if (!src || !dst) return kKROInputParamError;
    const SampleAccess access = sampleAccessFor(dst->format);
    if (!access) return kKROSuccess;
    if (left < 0 || top < 0 || dst->width <= 0 || dst->height <= 0) return kKROSuccess;
    if (int64_t{dst->width} + left > src->width || int64_t{dst->height} + top > src->height)
        return kKROSuccess;  // the rectangle does not fit inside the source
    if (!hostPlanesPresent(*src) || !hostPlanesPresent(*dst)) return kKROInputParamError;

    const KROFrame& s = *src;
    KROFrame& d = *dst;
    return runPerPixel(d.width, d.height, [&access, &s, &d, left, top](int x, int y) {
        writePixel(access, d, x, y, readPixel(access, s, x + left, y + top));
    });
}

std::unique_ptr<IConvertor> createSimdConvertor(KROReturn& error) {
    std::unique_ptr<XSimdCPUContext> context(new (std::nothrow) XSimdCPUContext());
    if (!context) error = kKROUnknownError;
    return context;
}

}  // namespace KROCOLOR
