// The colour pass of the SIMD CPU convertor: the frame's colour plan is made
// once, mapped to vector stages of the processor's width
// (xsimd_vector_plan.h) and carried out chunk by chunk along each row; the
// last (width mod lanes) pixels of a row go through the scalar pipeline with
// the same plan. This unit names no SIMD type.
#include "color/color_science.h"
#include "cpu/cpu_task.h"
#include "cpu/xsimd/xsimd_passes.h"
#include "cpu/xsimd/xsimd_vector_plan.h"

namespace KROCOLOR {

void xsimdColorPass(const KROFrame& src, KROFrame& dst, int32_t sourcePeak, bool threaded) {
    using namespace simd;
    const ColorPlan colour = makeColorPlan(colorSideOf(src), colorSideOf(dst), sourcePeak);
    const VectorPlan plan = makeVectorPlan(colour, src.format, dst.format);
    if (!plan.reader || !plan.writer) return;  // not addressable: nothing to do
    const PixelPipeline tail(colour);
    const int width = dst.width;
    const int vectorWidth = width & ~(plan.lanes - 1);

    auto convertRow = [&](int y) {
        Lanes lanes;
        for (int x0 = 0; x0 < vectorWidth; x0 += kChunk) {
            const int n = vectorWidth - x0 < kChunk ? vectorWidth - x0 : kChunk;
            if (plan.fused) {
                plan.fused(plan, src, dst, y, x0, n);
                continue;
            }
            plan.read(plan, src, y, x0, n, lanes);
            for (int s = 0; s < plan.stageCount; ++s) plan.stages[s](plan, lanes, n);
            plan.write(plan, dst, y, x0, n, lanes);
        }
        if (vectorWidth < width) {
            NativePixel rest[kMaxLanes];
            const int n = width - vectorWidth;
            plan.reader.readRow(src, y, vectorWidth, n, rest);
            tail.run(rest, rest, n);
            plan.writer.writeRow(dst, y, vectorWidth, n, rest);
        }
    };
    if (!threaded) {
        for (int y = 0; y < dst.height; ++y) convertRow(y);
        return;
    }
    CPUTask pool(kDefaultThreadCount);
    pool.runIndices(dst.height, convertRow);
    pool.join();
}

}  // namespace KROCOLOR
