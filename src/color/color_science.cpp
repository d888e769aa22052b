// One-pixel entry points of the colour pipeline. Each takes its decision
// from the selections of color_plan.h and then calls the shared inline
// kernel, so the row loops of PixelPipeline compute exactly the same numbers.
#include "color/color_science.h"

#include "KROColorFunctions.h"
#include "color/curve_functions.h"
#include "color/pixel_kernels.h"

namespace KROCOLOR {

namespace {

Pixel normaliseWith(const NativePixel& codes, const FormatRule& r) {
    switch (r.kind) {
    case SampleRule::RGB: return kernels::normaliseRGB(codes, r);
    case SampleRule::CMYK: return kernels::normaliseCMYK(codes, r);
    case SampleRule::YUVLimited: return kernels::normaliseYUVLimited(codes, r);
    case SampleRule::YUVFull: return kernels::normaliseYUVFull(codes, r);
    case SampleRule::None: break;
    }
    return kernels::normaliseNone(codes, r);
}

NativePixel quantiseWith(const Pixel& p, const FormatRule& r) {
    switch (r.kind) {
    case SampleRule::RGB: return kernels::quantiseRGB(p, r);
    case SampleRule::CMYK: return kernels::quantiseCMYK(p, r);
    case SampleRule::YUVLimited: return kernels::quantiseYUVLimited(p, r);
    case SampleRule::YUVFull: return kernels::quantiseYUVFull(p, r);
    case SampleRule::None: break;
    }
    return kernels::quantiseNone(p, r);
}

Pixel toRgbWith(MatrixStage stage, const Matrix3& m, const Pixel& p) {
    switch (stage) {
    case MatrixStage::Fixed: return kernels::yuvToRgbWith(m, p);
    case MatrixStage::BT2020ConstantLuminance: return kernels::yuvToRgbBT2020CL(p);
    case MatrixStage::None: break;
    }
    return p;
}

Pixel toYuvWith(MatrixStage stage, const Matrix3& m, const Pixel& p) {
    switch (stage) {
    case MatrixStage::Fixed: return kernels::rgbToYuvWith(m, p);
    case MatrixStage::BT2020ConstantLuminance: return kernels::rgbToYuvBT2020CL(p);
    case MatrixStage::None: break;
    }
    return p;
}

Pixel decodeWith(Curve curve, double pqRatio, const Pixel& p) {
    if (curve == Curve::HLG) return kernels::hlgEotf(p);
    if (curve == Curve::PQ) return kernels::pqEotf(p, pqRatio);
    const auto f = eotfFunctions(curve).channel;
    return Pixel{f(p.c0), f(p.c1), f(p.c2), p.a};
}

Pixel encodeWith(Curve curve, float pqScale, const Pixel& p) {
    if (curve == Curve::PQ) return kernels::pqOetf(p, pqScale);
    const auto f = oetfFunctions(curve).channel;
    return Pixel{f(p.c0), f(p.c1), f(p.c2), p.a};
}

MatrixStage stageFor(const FormatTraits& format, int32_t matrix) {
    return format.colorClass == ColorClass::YUV ? matrixStage(matrix) : MatrixStage::None;
}

}  // namespace

Pixel normalise(const NativePixel& codes, const FormatTraits& format, int32_t range) {
    return normaliseWith(codes, formatRule(&format, range));
}

NativePixel quantise(const Pixel& p, const FormatTraits& format, int32_t range) {
    return quantiseWith(p, formatRule(&format, range));
}

Pixel yuvToRgb(const Pixel& p, const FormatTraits& format, int32_t matrix) {
    return toRgbWith(stageFor(format, matrix), yuvToRgbTable(matrix), p);
}

Pixel rgbToYuv(const Pixel& p, const FormatTraits& format, int32_t matrix) {
    return toYuvWith(stageFor(format, matrix), rgbToYuvTable(matrix), p);
}

Pixel eotf(const Pixel& p, int32_t transfer) { return decodeWith(genericEotfCurve(transfer), 0.0, p); }

Pixel oetf(const Pixel& p, int32_t transfer) { return encodeWith(genericOetfCurve(transfer), 0.0f, p); }

Pixel HLG_EOTF(const Pixel& p) { return kernels::hlgEotf(p); }

Pixel HLG_OETF(const Pixel& p) { return kernels::perChannel<curves::HLG_OETF>(p); }

Pixel PQ_EOTF(const Pixel& p, int32_t sourcePeak, int32_t dstTransfer) {
    return kernels::pqEotf(p, pqEotfRatio(sourcePeak, dstTransfer));
}

Pixel PQ_OETF(const Pixel& p, int32_t srcTransfer) { return kernels::pqOetf(p, pqOetfScale(srcTransfer)); }

NativePixel convertPixel(const NativePixel& codes, const ColorSide& src, const ColorSide& dst,
                         int32_t sourcePeak) {
    const ColorPlan plan = makeColorPlan(src, dst, sourcePeak);
    Pixel p = normaliseWith(codes, plan.src);
    p = toRgbWith(plan.toRgb, plan.yuvToRgb, p);
    if (plan.linearStages) {
        p = decodeWith(plan.decode, plan.pqRatio, p);
        p = kernels::multiply(plan.primaries, p);
        p = encodeWith(plan.encode, plan.pqScale, p);
    }
    p = toYuvWith(plan.toYuv, plan.rgbToYuv, p);
    return quantiseWith(p, plan.dst);
}

}  // namespace KROCOLOR
