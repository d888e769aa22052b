// A colour plan carried out over runs of pixels: the plan's stages mapped
// once to row functions built from the same inline kernels as convertPixel,
// so run() gives exactly convertPixel's codes. The stages run several
// pixels per instruction where the processor allows (row_isa.h) and fall
// back to one pixel at a time; every choice gives the same bytes.
// Construction allocates nothing; run() is const and may be called from
// many threads.
#pragma once

#include <cstdint>

#include "color/color_plan.h"
#include "color/pixel.h"
#include "color/pixel_block.h"
#include "color/row_isa.h"

namespace KROCOLOR {

struct VectorRows;

class PixelPipeline {
public:
    // Uses rowIsa() as it is at construction.
    explicit PixelPipeline(const ColorPlan& plan);
    PixelPipeline(const ColorPlan& plan, RowIsa isa);
    PixelPipeline(const ColorSide& src, const ColorSide& dst, int32_t sourcePeak);
    // in and out may be the same array.
    void run(const NativePixel* in, NativePixel* out, int count) const;

    // One pixel at a time, on an array of pixels.
    using ReadStage = void (*)(const ColorPlan&, const NativePixel*, Pixel*, int);
    using PixelStage = void (*)(const ColorPlan&, Pixel*, int);
    using WriteStage = void (*)(const ColorPlan&, const Pixel*, NativePixel*, int);

    // Everything a block stage may need: the plan, the vector functions and
    // the exact curve shortcuts of code_thresholds.h.
    struct BlockContext {
        ColorPlan plan;
        const VectorRows* vec;
        const CodeThresholds* encodeThresholds;  // encode and quantise by search, or null
        bool decodeByTable;
        float decodeTable[256];
        void (*decodeCurve)(PixelBlock&, int);  // generic per-sample curves
        void (*encodeCurve)(PixelBlock&, int);
    };
    // A block of pixels, one array per component.
    using BlockRead = void (*)(const BlockContext&, const NativePixel*, PixelBlock&, int);
    using BlockStage = void (*)(const BlockContext&, PixelBlock&, int);
    using BlockWrite = void (*)(const BlockContext&, const PixelBlock&, NativePixel*, int);

private:
    void buildBlockStages();
    void runPlain(const NativePixel* in, NativePixel* out, int count) const;
    void runBlocks(const NativePixel* in, NativePixel* out, int count) const;

    static constexpr int kMaxStages = 5;  // YUV->RGB, EOTF, primaries, OETF, RGB->YUV
    ColorPlan plan_;
    ReadStage read_;
    PixelStage stages_[kMaxStages];
    int stageCount_;
    WriteStage write_;

    BlockContext block_;  // block_.vec is null: the per-pixel path runs
    BlockRead blockRead_;
    BlockStage blockStages_[kMaxStages];
    int blockStageCount_;
    BlockWrite blockWrite_;
};

}  // namespace KROCOLOR
