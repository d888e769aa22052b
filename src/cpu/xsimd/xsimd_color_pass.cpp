// The colour pass of the SIMD CPU convertor: the frame's colour plan is made
// once, mapped to vector stages of the processor's width
// (xsimd_vector_plan.h) and carried out chunk by chunk along each row. At
// eight lanes a row's last 4..7 pixels go through one four-lane block, so
// that every row is cut exactly as at four lanes: vector blocks over
// (width & ~3) pixels, the last (width mod 4) through the scalar pipeline
// with the same plan. Both widths evaluate the same formulas lane by lane,
// so a frame's bytes do not depend on the width. This unit names no SIMD
// type.
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
    // The four-lane plan for the block between the eight-lane part and the
    // scalar tail (only made when eight lanes run).
    const VectorPlan narrow = plan.lanes > 4 ? sse2::makeVectorPlan(colour, src.format, dst.format) : plan;
    const int width = dst.width;
    const int wideWidth = width & ~(plan.lanes - 1);
    const int vectorWidth = width & ~3;

    // n pixels from x0 (n a multiple of p.lanes, at most kChunk).
    auto runBlocks = [&](const VectorPlan& p, Lanes& lanes, int y, int x0, int n) {
        if (p.fused) {
            p.fused(p, src, dst, y, x0, n);
            return;
        }
        p.read(p, src, y, x0, n, lanes);
        for (int s = 0; s < p.stageCount; ++s) p.stages[s](p, lanes, n);
        p.write(p, dst, y, x0, n, lanes);
    };

    auto convertRow = [&](int y) {
        Lanes lanes;
        for (int x0 = 0; x0 < wideWidth; x0 += kChunk)
            runBlocks(plan, lanes, y, x0, wideWidth - x0 < kChunk ? wideWidth - x0 : kChunk);
        if (wideWidth < vectorWidth) runBlocks(narrow, lanes, y, wideWidth, vectorWidth - wideWidth);
        if (vectorWidth < width) {
            NativePixel rest[4];
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
