// PixelPipeline: a colour plan carried out over runs of pixels. The plan's
// stages become a short list of stage functions, each a loop over a block of
// pixels; run() calls each stage once per block, so no decision is taken per
// pixel. Two forms of every list exist:
//  - per pixel: an array of Pixel, each stage one inline kernel of
//    pixel_kernels.h per pixel (the reference form, RowIsa::Plain);
//  - per block: one array per component, matrix, normalising and quantising
//    stages on vectors (x86/vector_rows.h) doing the kernels' operations in
//    the kernels' order, transfer curves still one call per sample unless an
//    exact shortcut of code_thresholds.h applies.
// Both give the same bytes for every input.
#include "color/pixel_pipeline.h"

#include "color/code_thresholds.h"
#include "color/color_science.h"
#include "color/curve_functions.h"
#include "color/pixel_kernels.h"
#if KRO_HAVE_X86_VECTOR_ROWS
#include "color/x86/vector_rows.h"
#endif

namespace KROCOLOR {

namespace {

// --- Per-pixel stage loops ---------------------------------------------------

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

// --- Block stages ------------------------------------------------------------

using Ctx = PixelPipeline::BlockContext;

Pixel pixelAt(const PixelBlock& b, int i) { return Pixel{b.c0[i], b.c1[i], b.c2[i], b.a[i]}; }
void setPixel(PixelBlock& b, int i, const Pixel& p) {
    b.c0[i] = p.c0;
    b.c1[i] = p.c1;
    b.c2[i] = p.c2;
    b.a[i] = p.a;
}
// Vector stages run whole vectors of eight: lanes past n hold zeros.
void zeroTail(PixelBlock& b, int n) {
    for (int i = n; i < ((n + 7) & ~7); ++i) setPixel(b, i, Pixel{0, 0, 0, 0});
}

// Stages without a vector form: the per-pixel kernel on each pixel.
template <Pixel (*K)(const NativePixel&, const FormatRule&)>
void readEachPixel(const Ctx& c, const NativePixel* in, PixelBlock& b, int n) {
    for (int i = 0; i < n; ++i) setPixel(b, i, K(in[i], c.plan.src));
    zeroTail(b, n);
}
template <NativePixel (*K)(const Pixel&, const FormatRule&)>
void writeEachPixel(const Ctx& c, const PixelBlock& b, NativePixel* out, int n) {
    for (int i = 0; i < n; ++i) out[i] = K(pixelAt(b, i), c.plan.dst);
}
template <Pixel (*K)(const Pixel&)>
void eachPixel(const Ctx&, PixelBlock& b, int n) {
    for (int i = 0; i < n; ++i) setPixel(b, i, K(pixelAt(b, i)));
}

void pqEotfBlock(const Ctx& c, PixelBlock& b, int n) {
    const double ratio = c.plan.pqRatio;
    for (int i = 0; i < n; ++i) b.c0[i] = kernels::pqEotfChannel(b.c0[i], ratio);
    for (int i = 0; i < n; ++i) b.c1[i] = kernels::pqEotfChannel(b.c1[i], ratio);
    for (int i = 0; i < n; ++i) b.c2[i] = kernels::pqEotfChannel(b.c2[i], ratio);
}
void pqOetfBlock(const Ctx& c, PixelBlock& b, int n) {
    const float scale = c.plan.pqScale;
    for (int i = 0; i < n; ++i) b.c0[i] = curves::PQ_OETF_unscaled(b.c0[i] * scale);
    for (int i = 0; i < n; ++i) b.c1[i] = curves::PQ_OETF_unscaled(b.c1[i] * scale);
    for (int i = 0; i < n; ++i) b.c2[i] = curves::PQ_OETF_unscaled(b.c2[i] * scale);
}
void decodeCurveBlock(const Ctx& c, PixelBlock& b, int n) { c.decodeCurve(b, n); }
void encodeCurveBlock(const Ctx& c, PixelBlock& b, int n) { c.encodeCurve(b, n); }

#if KRO_HAVE_X86_VECTOR_ROWS

void readRGBVector(const Ctx& c, const NativePixel* in, PixelBlock& b, int n) {
    c.vec->unpack(in, b, n);
    c.vec->normaliseRGB(c.plan.src, b, n);
}
void readYUVLimitedVector(const Ctx& c, const NativePixel* in, PixelBlock& b, int n) {
    c.vec->unpack(in, b, n);
    c.vec->normaliseYUVLimited(c.plan.src, b, n);
}
void readYUVFullVector(const Ctx& c, const NativePixel* in, PixelBlock& b, int n) {
    c.vec->unpack(in, b, n);
    c.vec->normaliseYUVFull(c.plan.src, b, n);
}
// 8-bit RGB source: the decode curve's result per code comes from the table
// (kernels::normaliseRGB, then the curve); alpha is normalised as usual.
// Codes above 255 (never read from 8-bit samples) normalise to 1, like 255.
void readRGBDecoded(const Ctx& c, const NativePixel* in, PixelBlock& b, int n) {
    const float m = c.plan.src.maxCode;
    auto decoded = [&](uint16_t code) { return c.decodeTable[code < 255 ? code : 255]; };
    for (int i = 0; i < n; ++i) {
        b.c0[i] = decoded(in[i].c[0]);
        b.c1[i] = decoded(in[i].c[1]);
        b.c2[i] = decoded(in[i].c[2]);
        b.a[i] = c.plan.src.hasAlpha ? kernels::clamp01(in[i].c[3] / m) : 1.0f;
    }
    zeroTail(b, n);
}

void yuvToRgbVector(const Ctx& c, PixelBlock& b, int n) { c.vec->yuvToRgb(c.plan.yuvToRgb, b, n); }
void rgbToYuvVector(const Ctx& c, PixelBlock& b, int n) { c.vec->rgbToYuv(c.plan.rgbToYuv, b, n); }
void primariesVector(const Ctx& c, PixelBlock& b, int n) { c.vec->primaries(c.plan.primaries, b, n); }
// Encode and quantise to 8 bits in one step (code_thresholds.h). A lookup
// per sample: gathers would not be faster.
void encodeByThresholds(const Ctx& c, PixelBlock& b, int n) {
    const CodeThresholds& t = *c.encodeThresholds;
    for (int i = 0; i < n; ++i) b.c0[i] = static_cast<float>(countThresholds(t, b.c0[i]));
    for (int i = 0; i < n; ++i) b.c1[i] = static_cast<float>(countThresholds(t, b.c1[i]));
    for (int i = 0; i < n; ++i) b.c2[i] = static_cast<float>(countThresholds(t, b.c2[i]));
}

void writeRGBVector(const Ctx& c, const PixelBlock& b, NativePixel* out, int n) {
    c.vec->quantiseRGB(c.plan.dst, b, out, n);
}
void writeCodedRGB(const Ctx& c, const PixelBlock& b, NativePixel* out, int n) {
    c.vec->storeCodedRGB(c.plan.dst, b, out, n);
}
void writeYUVLimitedVector(const Ctx& c, const PixelBlock& b, NativePixel* out, int n) {
    c.vec->quantiseYUVLimited(c.plan.dst, b, out, n);
}
void writeYUVFullVector(const Ctx& c, const PixelBlock& b, NativePixel* out, int n) {
    c.vec->quantiseYUVFull(c.plan.dst, b, out, n);
}

const VectorRows* vectorRowsFor(RowIsa isa) {
    if (isa == RowIsa::AVX2) return &vectorRowsAvx2();
    if (isa == RowIsa::SSE2) return &vectorRowsSse2();
    return nullptr;
}

#else

const VectorRows* vectorRowsFor(RowIsa) { return nullptr; }

#endif

// Pixels converted per block: the working pixels stay on the stack (1 KiB).
constexpr int kBlock = kPixelBlock;

RowIsa narrower(RowIsa a, RowIsa b) { return static_cast<int>(a) < static_cast<int>(b) ? a : b; }

}  // namespace

PixelPipeline::PixelPipeline(const ColorPlan& plan) : PixelPipeline(plan, rowIsa()) {}

PixelPipeline::PixelPipeline(const ColorPlan& plan, RowIsa isa)
    : plan_(plan),
      read_(readStageFor(plan.src.kind)),
      stages_{},
      stageCount_(0),
      write_(writeStageFor(plan.dst.kind)),
      block_{},
      blockRead_(nullptr),
      blockStages_{},
      blockStageCount_(0),
      blockWrite_(nullptr) {
    if (plan.toRgb != MatrixStage::None) stages_[stageCount_++] = toRgbStage(plan.toRgb);
    if (plan.linearStages) {
        stages_[stageCount_++] = decodeStage(plan.decode);
        stages_[stageCount_++] = &primariesStage;
        stages_[stageCount_++] = encodeStage(plan.encode);
    }
    if (plan.toYuv != MatrixStage::None) stages_[stageCount_++] = toYuvStage(plan.toYuv);

    block_.vec = vectorRowsFor(narrower(isa, bestRowIsa()));
    if (block_.vec) buildBlockStages();
}

PixelPipeline::PixelPipeline(const ColorSide& src, const ColorSide& dst, int32_t sourcePeak)
    : PixelPipeline(makeColorPlan(src, dst, sourcePeak)) {}

void PixelPipeline::buildBlockStages() {
#if KRO_HAVE_X86_VECTOR_ROWS
    const ColorPlan& p = plan_;
    BlockContext& c = block_;
    c.plan = p;
    const bool rgb8Source = p.src.kind == SampleRule::RGB && p.src.maxCode == kFullScale8;
    const bool rgb8Destination = p.dst.kind == SampleRule::RGB && p.dst.maxCode == kFullScale8;
    c.decodeByTable = p.linearStages && rgb8Source && p.decode != Curve::HLG;
    if (c.decodeByTable) buildDecodeTable8(p.decode, p.pqRatio, c.decodeTable);
    c.encodeThresholds = p.linearStages && rgb8Destination ? codeThresholds8(p.encode, p.pqScale) : nullptr;

    switch (p.src.kind) {
    case SampleRule::RGB: blockRead_ = c.decodeByTable ? &readRGBDecoded : &readRGBVector; break;
    case SampleRule::YUVLimited: blockRead_ = &readYUVLimitedVector; break;
    case SampleRule::YUVFull: blockRead_ = &readYUVFullVector; break;
    case SampleRule::CMYK: blockRead_ = &readEachPixel<kernels::normaliseCMYK>; break;
    case SampleRule::None: blockRead_ = &readEachPixel<kernels::normaliseNone>; break;
    }

    BlockStage* s = blockStages_;
    if (p.toRgb == MatrixStage::Fixed) *s++ = &yuvToRgbVector;
    if (p.toRgb == MatrixStage::BT2020ConstantLuminance) *s++ = &eachPixel<kernels::yuvToRgbBT2020CL>;
    if (p.linearStages) {
        if (p.decode == Curve::HLG) {
            *s++ = &eachPixel<kernels::hlgEotf>;
        } else if (!c.decodeByTable) {
            if (p.decode == Curve::PQ) {
                *s++ = &pqEotfBlock;
            } else {
                c.decodeCurve = eotfFunctions(p.decode).block;
                *s++ = &decodeCurveBlock;
            }
        }
        *s++ = &primariesVector;
        if (c.encodeThresholds) {
            *s++ = &encodeByThresholds;
        } else if (p.encode == Curve::PQ) {
            *s++ = &pqOetfBlock;
        } else {
            c.encodeCurve = oetfFunctions(p.encode).block;
            *s++ = &encodeCurveBlock;
        }
    }
    if (p.toYuv == MatrixStage::Fixed) *s++ = &rgbToYuvVector;
    if (p.toYuv == MatrixStage::BT2020ConstantLuminance) *s++ = &eachPixel<kernels::rgbToYuvBT2020CL>;
    blockStageCount_ = static_cast<int>(s - blockStages_);

    switch (p.dst.kind) {
    case SampleRule::RGB: blockWrite_ = c.encodeThresholds ? &writeCodedRGB : &writeRGBVector; break;
    case SampleRule::YUVLimited: blockWrite_ = &writeYUVLimitedVector; break;
    case SampleRule::YUVFull: blockWrite_ = &writeYUVFullVector; break;
    case SampleRule::CMYK: blockWrite_ = &writeEachPixel<kernels::quantiseCMYK>; break;
    case SampleRule::None: blockWrite_ = &writeEachPixel<kernels::quantiseNone>; break;
    }
#endif
}

void PixelPipeline::run(const NativePixel* in, NativePixel* out, int count) const {
    if (block_.vec)
        runBlocks(in, out, count);
    else
        runPlain(in, out, count);
}

void PixelPipeline::runPlain(const NativePixel* in, NativePixel* out, int count) const {
    Pixel block[kBlock];
    for (int start = 0; start < count; start += kBlock) {
        const int n = count - start < kBlock ? count - start : kBlock;
        read_(plan_, in + start, block, n);
        for (int s = 0; s < stageCount_; ++s) stages_[s](plan_, block, n);
        write_(plan_, block, out + start, n);
    }
}

void PixelPipeline::runBlocks(const NativePixel* in, NativePixel* out, int count) const {
    PixelBlock block;
    for (int start = 0; start < count; start += kBlock) {
        const int n = count - start < kBlock ? count - start : kBlock;
        blockRead_(block_, in + start, block, n);
        for (int s = 0; s < blockStageCount_; ++s) blockStages_[s](block_, block, n);
        blockWrite_(block_, block, out + start, n);
    }
}

}  // namespace KROCOLOR
