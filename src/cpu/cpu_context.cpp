#include "cpu/cpu_context.h"

#include <cerrno>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <new>
#include <system_error>

#include "core/convertor.h"
#include "color/color_science.h"
#include "cpu/cpu_task.h"
#include "cpu/geometry_kernels.h"
#include "cpu/sample_access.h"
#include "cpu/x86/direct_rows.h"

namespace KROCOLOR {

namespace {

// Pixels converted per step of a row: small enough for the stack, large
// enough that the per-chunk calls vanish against the per-pixel work.
constexpr int kChunk = 256;

bool sameSize(const KROFrame& a, const KROFrame& b) {
    return a.width == b.width && a.height == b.height;
}

}  // namespace

bool sameCopyStrides(const KROFrame& a, const KROFrame& b) {
    const FormatTraits* t = formatTraits(a.format);
    const int planes = t ? planeCount(*t) : 0;
    for (int p = 0; p < (planes > 3 ? planes : 3); ++p)
        if (a.strides[p] != b.strides[p]) return false;
    return true;
}

int32_t parseLuminance(const char* text) {
    errno = 0;
    char* end = nullptr;
    const long long value = std::strtoll(text, &end, 10);
    if (end == text) return 0;
    if (value > INT32_MAX) return INT32_MAX;
    if (value < INT32_MIN) return INT32_MIN;
    return static_cast<int32_t>(value);
}

void copyFramePlanes(const KROFrame& src, KROFrame& dst) {
    const FormatTraits* t = formatTraits(src.format);
    if (!isCpuAddressable(t)) return;
    for (int p = 0; p < planeCount(*t); ++p) {
        int64_t bytes = int64_t{src.strides[p]} * src.height;
        // Chroma planes of vertically subsampled formats hold half the rows;
        // the count is halved with truncation, as the plane layout defines it.
        if ((p == 1 || p == 2) && t->layout != PlaneLayout::Packed) bytes >>= t->chromaShiftY;
        if (bytes > 0) std::memcpy(dst.planes[p], src.planes[p], static_cast<size_t>(bytes));
    }
}

void runColorStage(const KROFrame& src, KROFrame& dst, int32_t sourcePeak, bool threaded) {
    const SampleAccess reader = sampleAccessFor(src.format);
    const SampleAccess writer = sampleAccessFor(dst.format);
    if (!reader.readRow || !writer.writeRow) return;  // not addressable: nothing to do
    const ColorPlan plan = makeColorPlan(colorSideOf(src), colorSideOf(dst), sourcePeak);
    const PixelPipeline pipeline(plan);
    // The common 8-bit video <-> RGB conversions by matrix run straight from
    // bytes to bytes over the whole vectors of a row; the general pass takes
    // what is left (and everything when no direct row applies).
    const DirectRow direct = directRowFor(plan, src.format, dst.format, rowIsa());
    const int width = dst.width;

    auto convertRow = [&](int y) {
        NativePixel in[kChunk];
        NativePixel out[kChunk];
        const int first = direct ? direct(plan, src, dst, y, width) : 0;
        for (int x = first; x < width; x += kChunk) {
            const int n = width - x < kChunk ? width - x : kChunk;
            reader.readRow(src, y, x, n, in);
            pipeline.run(in, out, n);
            writer.writeRow(dst, y, x, n, out);
        }
    };
    if (!threaded) {
        for (int y = 0; y < dst.height; ++y) convertRow(y);
        return;
    }
    // Whole rows per thread: threads never share a cache line of output
    // except at row ends, and each row's decisions are made once.
    CPUTask pool(kDefaultThreadCount);
    pool.runIndices(dst.height, convertRow);
    pool.join();
}

CPUContext::~CPUContext() {
    if (sws_) releaseSwsContext(sws_);
}

void updateSourcePeak(const MetaData& metaData, int32_t& peak) {
    const auto it = metaData.find("src_max_luminance");
    if (it != metaData.end()) peak = parseLuminance(it->second.c_str());
}

KROReturn CPUContext::convertColor(const KROFrame* src, KROFrame* dst) {
    if (!src || !dst) return kKROInputParamError;
    try {
        if (useSwscale_) return convertWithSwscale(*src, *dst) ? kKROSuccess : kKRORunCPUKernelError;
        updateSourcePeak(metaData_, sourcePeak_);

        if (sameSize(*src, *dst)) {
            if (sameCopyStrides(*src, *dst) && sameDescription(*src, *dst)) {
                copyFramePlanes(*src, *dst);
                return kKROSuccess;
            }
            runColorStage(*src, *dst, sourcePeak_, useWorkerPool(dst->width, dst->height));
            return kKROSuccess;
        }

        const bool threaded =
            useWorkerPool(src->width, src->height) && useWorkerPool(dst->width, dst->height);
        const KROFrame* scaleSource = src;
        if (!sameDescription(*src, *dst)) {
            if (!colorStage_.ensure(dst->format, src->width, src->height)) return kKRORunCPUKernelError;
            KROFrame& stage = colorStage_.frame();
            stage.range = dst->range;
            stage.primaries = dst->primaries;
            stage.transfer = dst->transfer;
            stage.matrix = dst->matrix;
            runColorStage(*src, stage, sourcePeak_, threaded);
            scaleSource = &stage;
        }
        return scaleFrame(*scaleSource, *dst, threaded);
    } catch (...) {
        // Memory that runs out (intermediate frames, the pool's job copies).
        return kKRORunCPUKernelError;
    }
}

KROReturn CPUContext::rotate(const KROFrame* src, KROFrame* dst, int orientation) {
    return rotateFrame(src, dst, orientation);
}

KROReturn CPUContext::crop(const KROFrame* src, KROFrame* dst, int left, int top) {
    return cropFrame(src, dst, left, top);
}

std::unique_ptr<IConvertor> createCPUConvertor(bool useSwscale, KROReturn& error) {
    std::unique_ptr<CPUContext> context(new (std::nothrow) CPUContext());
    if (!context) {
        error = kKROUnknownError;
        return nullptr;
    }
    if (useSwscale) context->setUseSwscale(true);
    return context;
}

}  // namespace KROCOLOR
