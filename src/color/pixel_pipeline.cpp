// PixelPipeline: a colour plan carried out over runs of pixels. The plan's
// stages become a short list of stage functions, each a loop over a block of
// pixels built from one inline kernel of pixel_kernels.h; run() calls each
// stage once per block, so no decision is taken per pixel.
#include "color/color_science.h"
#include "color/curve_functions.h"
#include "color/pixel_kernels.h"

namespace KROCOLOR {

namespace {

using kernels::PixelStage;

// --- Stage loops ------------------------------------------------------------

template <Pixel (*K)(const NativePixel&, const FormatRule&)>
void readStage(const ColorPlan& pp, const NativePixel* in, Pixel* px, int n) {
    for (int i = 0; i < n; ++i) px[i] = K(in[i], pp.src);
}

template <NativePixel (*K)(const Pixel&, const FormatRule&)>
void writeStage(const ColorPlan& pp, const Pixel* px, NativePixel* out, int n) {
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

void yuvToRgbFixedStage(const ColorPlan& pp, Pixel* px, int n) {
    const Matrix3& m = pp.yuvToRgb;
    for (int i = 0; i < n; ++i) px[i] = kernels::yuvToRgbWith(m, px[i]);
}
void yuvToRgbCLStage(const ColorPlan&, Pixel* px, int n) {
    for (int i = 0; i < n; ++i) px[i] = kernels::yuvToRgbBT2020CL(px[i]);
}
void rgbToYuvFixedStage(const ColorPlan& pp, Pixel* px, int n) {
    const Matrix3& m = pp.rgbToYuv;
    for (int i = 0; i < n; ++i) px[i] = kernels::rgbToYuvWith(m, px[i]);
}
void rgbToYuvCLStage(const ColorPlan&, Pixel* px, int n) {
    for (int i = 0; i < n; ++i) px[i] = kernels::rgbToYuvBT2020CL(px[i]);
}
void primariesStage(const ColorPlan& pp, Pixel* px, int n) {
    const Matrix3& m = pp.primaries;
    for (int i = 0; i < n; ++i) px[i] = kernels::multiply(m, px[i]);
}
void hlgEotfStage(const ColorPlan&, Pixel* px, int n) {
    for (int i = 0; i < n; ++i) px[i] = kernels::hlgEotf(px[i]);
}
void pqEotfStage(const ColorPlan& pp, Pixel* px, int n) {
    const double ratio = pp.pqRatio;
    for (int i = 0; i < n; ++i) px[i] = kernels::pqEotf(px[i], ratio);
}
void pqOetfStage(const ColorPlan& pp, Pixel* px, int n) {
    const float scale = pp.pqScale;
    for (int i = 0; i < n; ++i) px[i] = kernels::pqOetf(px[i], scale);
}

PixelPipeline::PixelStage toRgbStage(MatrixStage stage) {
    return stage == MatrixStage::BT2020ConstantLuminance ? &yuvToRgbCLStage : &yuvToRgbFixedStage;
}
PixelPipeline::PixelStage toYuvStage(MatrixStage stage) {
    return stage == MatrixStage::BT2020ConstantLuminance ? &rgbToYuvCLStage : &rgbToYuvFixedStage;
}
PixelPipeline::PixelStage decodeStage(Curve curve) {
    if (curve == Curve::HLG) return &hlgEotfStage;
    if (curve == Curve::PQ) return &pqEotfStage;
    return eotfFunctions(curve).row;
}
PixelPipeline::PixelStage encodeStage(Curve curve) {
    if (curve == Curve::PQ) return &pqOetfStage;
    return oetfFunctions(curve).row;  // per channel, HLG included
}

// Pixels converted per block: the working pixels stay on the stack (1 KiB).
constexpr int kBlock = 64;

}  // namespace

PixelPipeline::PixelPipeline(const ColorPlan& plan)
    : plan_(plan),
      read_(readStageFor(plan.src.kind)),
      stages_{},
      stageCount_(0),
      write_(writeStageFor(plan.dst.kind)) {
    if (plan.toRgb != MatrixStage::None) stages_[stageCount_++] = toRgbStage(plan.toRgb);
    if (plan.linearStages) {
        stages_[stageCount_++] = decodeStage(plan.decode);
        stages_[stageCount_++] = &primariesStage;
        stages_[stageCount_++] = encodeStage(plan.encode);
    }
    if (plan.toYuv != MatrixStage::None) stages_[stageCount_++] = toYuvStage(plan.toYuv);
}

PixelPipeline::PixelPipeline(const ColorSide& src, const ColorSide& dst, int32_t sourcePeak)
    : PixelPipeline(makeColorPlan(src, dst, sourcePeak)) {}

void PixelPipeline::run(const NativePixel* in, NativePixel* out, int count) const {
    Pixel block[kBlock];
    for (int start = 0; start < count; start += kBlock) {
        const int n = count - start < kBlock ? count - start : kBlock;
        read_(plan_, in + start, block, n);
        for (int s = 0; s < stageCount_; ++s) stages_[s](plan_, block, n);
        write_(plan_, block, out + start, n);
    }
}

}  // namespace KROCOLOR
