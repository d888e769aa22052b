// PixelPipeline: the per-pixel pipeline planned once per frame. The plan is a
// short list of stage functions, each a loop over a block of pixels built from
// one inline kernel of pixel_kernels.h; run() calls each stage once per block,
// so no decision is taken per pixel.
#include "KROColorFunctions.h"
#include "color/color_science.h"
#include "color/color_tables.h"
#include "color/pixel_kernels.h"
#include "color/transfer_select.h"

namespace KROCOLOR {

namespace {

using kernels::PixelStage;

// --- Stage loops ------------------------------------------------------------

template <Pixel (*K)(const NativePixel&, const FormatRule&)>
void readStage(const PipelineParams& pp, const NativePixel* in, Pixel* px, int n) {
    for (int i = 0; i < n; ++i) px[i] = K(in[i], pp.src);
}

template <NativePixel (*K)(const Pixel&, const FormatRule&)>
void writeStage(const PipelineParams& pp, const Pixel* px, NativePixel* out, int n) {
    for (int i = 0; i < n; ++i) out[i] = K(px[i], pp.dst);
}

PixelPipeline::ReadStage readStageFor(SampleRule kind) {
    switch (kind) {
    case SampleRule::RGB: return &readStage<kernels::normaliseRGB>;
    case SampleRule::CMYK: return &readStage<kernels::normaliseCMYK>;
    case SampleRule::YUVLimited: return &readStage<kernels::normaliseYUVLimited>;
    case SampleRule::YUVFull: return &readStage<kernels::normaliseYUVFull>;
    case SampleRule::None: break;
    }
    return &readStage<kernels::normaliseNone>;
}

PixelPipeline::WriteStage writeStageFor(SampleRule kind) {
    switch (kind) {
    case SampleRule::RGB: return &writeStage<kernels::quantiseRGB>;
    case SampleRule::CMYK: return &writeStage<kernels::quantiseCMYK>;
    case SampleRule::YUVLimited: return &writeStage<kernels::quantiseYUVLimited>;
    case SampleRule::YUVFull: return &writeStage<kernels::quantiseYUVFull>;
    case SampleRule::None: break;
    }
    return &writeStage<kernels::quantiseNone>;
}

void yuvToRgbFixedStage(const PipelineParams& pp, Pixel* px, int n) {
    const Matrix3& m = *pp.yuvToRgb;
    for (int i = 0; i < n; ++i) px[i] = kernels::yuvToRgbWith(m, px[i]);
}
void yuvToRgbCLStage(const PipelineParams&, Pixel* px, int n) {
    for (int i = 0; i < n; ++i) px[i] = kernels::yuvToRgbBT2020CL(px[i]);
}
void rgbToYuvFixedStage(const PipelineParams& pp, Pixel* px, int n) {
    const Matrix3& m = *pp.rgbToYuv;
    for (int i = 0; i < n; ++i) px[i] = kernels::rgbToYuvWith(m, px[i]);
}
void rgbToYuvCLStage(const PipelineParams&, Pixel* px, int n) {
    for (int i = 0; i < n; ++i) px[i] = kernels::rgbToYuvBT2020CL(px[i]);
}
void primariesStage(const PipelineParams& pp, Pixel* px, int n) {
    const Matrix3& m = *pp.primaries;
    for (int i = 0; i < n; ++i) px[i] = kernels::multiply(m, px[i]);
}
void hlgEotfStage(const PipelineParams&, Pixel* px, int n) {
    for (int i = 0; i < n; ++i) px[i] = kernels::hlgEotf(px[i]);
}
void pqEotfStage(const PipelineParams& pp, Pixel* px, int n) {
    const double ratio = pp.pqRatio;
    for (int i = 0; i < n; ++i) px[i] = kernels::pqEotf(px[i], ratio);
}
void pqOetfStage(const PipelineParams& pp, Pixel* px, int n) {
    const float scale = pp.pqScale;
    for (int i = 0; i < n; ++i) px[i] = kernels::pqOetf(px[i], scale);
}

bool isYuv(const FormatTraits* f) { return f && f->colorClass == ColorClass::YUV; }

// Pixels converted per block: the working pixels stay on the stack (1 KiB).
constexpr int kBlock = 64;

}  // namespace

PixelPipeline::PixelPipeline(const ColorSide& src, const ColorSide& dst, int32_t sourcePeak)
    : params_{formatRule(src.format, src.range),
              formatRule(dst.format, dst.range),
              &yuvToRgbTable(src.matrix),
              &rgbToYuvTable(dst.matrix),
              &primariesMatrix(src.primaries, dst.primaries),
              kernels::pqEotfRatio(sourcePeak, dst.transfer),
              kernels::pqOetfScale(src.transfer)},
      read_(readStageFor(params_.src.kind)),
      stages_{},
      stageCount_(0),
      write_(writeStageFor(params_.dst.kind)) {
    if (sameDescription(src, dst)) return;  // normalise and quantise only

    if (isYuv(src.format))
        stages_[stageCount_++] =
            yuvMatrixKind(src.matrix) == YuvMatrixKind::BT2020ConstantLuminance
                ? &yuvToRgbCLStage
                : &yuvToRgbFixedStage;

    if (src.primaries != dst.primaries || src.transfer != dst.transfer) {
        if (src.transfer == kColorTransferARIB_STD_B67)
            stages_[stageCount_++] = &hlgEotfStage;
        else if (src.transfer == kColorTransferSMPTE2084)
            stages_[stageCount_++] = &pqEotfStage;
        else
            stages_[stageCount_++] = genericEotf(src.transfer).row;

        stages_[stageCount_++] = &primariesStage;

        if (dst.transfer == kColorTransferSMPTE2084)
            stages_[stageCount_++] = &pqOetfStage;
        else  // the generic table carries the per-channel HLG OETF for 18
            stages_[stageCount_++] = genericOetf(dst.transfer).row;
    }

    if (isYuv(dst.format))
        stages_[stageCount_++] =
            yuvMatrixKind(dst.matrix) == YuvMatrixKind::BT2020ConstantLuminance
                ? &rgbToYuvCLStage
                : &rgbToYuvFixedStage;
}

void PixelPipeline::run(const NativePixel* in, NativePixel* out, int count) const {
    Pixel block[kBlock];
    for (int start = 0; start < count; start += kBlock) {
        const int n = count - start < kBlock ? count - start : kBlock;
        read_(params_, in + start, block, n);
        for (int s = 0; s < stageCount_; ++s) stages_[s](params_, block, n);
        write_(params_, block, out + start, n);
    }
}

}  // namespace KROCOLOR
