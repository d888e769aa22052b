// makeColorPlan and the selections it is made of: every decision of the
// colour pipeline by colour enumeration value, in one place.
#include "color/color_plan.h"

#include "KROColorFunctions.h"
#include "color/color_constants.h"

namespace KROCOLOR {

namespace {

// One YUV matrix value and the tables it selects.
struct YuvPair {
    const Matrix3* toRgb;
    const Matrix3* toYuv;
};

YuvPair yuvPair(int32_t matrix) {
    switch (matrix) {
    case kColorMatrixBT470BG:
    case kColorMatrixSMPTE170M:
    case kColorMatrixSMPTE2085:
    case kColorMatrixCHROMA_DERIVED_NCL:
        return {&kBT601YUVtoRGB, &kBT601RGBtoYUV};
    case kColorMatrixBT2020_NCL:
        return {&kBT2020YUVtoRGB, &kBT2020RGBtoYUV};
    case kColorMatrixYCGCO:
        return {&kYCGCOYUVtoRGB, &kYCGCORGBtoYUV};
    case kColorMatrixBT709:
    default:  // RGB, unspecified, FCC, SMPTE 240M, ICtCp, ... take BT.709
        return {&kBT709YUVtoRGB, &kBT709RGBtoYUV};
    }
}

// (source primaries, destination primaries) -> matrix; every pair not listed
// here, equal pairs included, is the identity. BT.470BG and SMPTE 170M are
// both treated as BT.601 without a conversion between them.
struct PrimariesPair {
    int32_t src;
    int32_t dst;
    const Matrix3* matrix;
};

constexpr PrimariesPair kPrimariesPairs[] = {
    {kColorPrimariesBT709, kColorPrimariesBT470BG, &kBT709ToBT601},
    {kColorPrimariesBT709, kColorPrimariesSMPTE170M, &kBT709ToBT601_525},
    {kColorPrimariesBT709, kColorPrimariesBT2020, &kBT709ToBT2020},
    {kColorPrimariesBT709, kColorPrimariesSMPTE431, &kBT709toDCIP3},
    {kColorPrimariesBT709, kColorPrimariesSMPTE432, &kBT709toDisplayP3},
    {kColorPrimariesBT709, kColorPrimariesProPhoto, &kBT709toProPhoto},

    {kColorPrimariesBT470BG, kColorPrimariesBT709, &kBT601ToBT709},
    {kColorPrimariesBT470BG, kColorPrimariesBT2020, &kBT601ToBT2020},
    {kColorPrimariesBT470BG, kColorPrimariesSMPTE431, &kBT601toDCIP3},
    {kColorPrimariesBT470BG, kColorPrimariesSMPTE432, &kBT601toDisplayP3},

    {kColorPrimariesSMPTE170M, kColorPrimariesBT709, &kBT601_525toBT709},
    {kColorPrimariesSMPTE170M, kColorPrimariesBT2020, &kBT601_525toBT2020},
    {kColorPrimariesSMPTE170M, kColorPrimariesSMPTE431, &kBT601_525toDCIP3},
    {kColorPrimariesSMPTE170M, kColorPrimariesSMPTE432, &kBT601_525toDisplayP3},

    {kColorPrimariesBT2020, kColorPrimariesBT709, &kBT2020ToBT709},
    {kColorPrimariesBT2020, kColorPrimariesBT470BG, &kBT2020ToBT601},
    {kColorPrimariesBT2020, kColorPrimariesSMPTE170M, &kBT2020ToBT601_525},
    {kColorPrimariesBT2020, kColorPrimariesSMPTE431, &kBT2020toDCIP3},
    {kColorPrimariesBT2020, kColorPrimariesSMPTE432, &kBT2020toDisplayP3},

    {kColorPrimariesSMPTE431, kColorPrimariesBT709, &kDCIP3toBT709},
    {kColorPrimariesSMPTE431, kColorPrimariesBT470BG, &kDCIP3toBT601},
    {kColorPrimariesSMPTE431, kColorPrimariesSMPTE170M, &kDCIP3toBT601_525},
    {kColorPrimariesSMPTE431, kColorPrimariesBT2020, &kDCIP3toBT2020},
    {kColorPrimariesSMPTE431, kColorPrimariesSMPTE432, &kDCIP3toDisplayP3},

    {kColorPrimariesSMPTE432, kColorPrimariesBT709, &kDisplayP3toBT709},
    {kColorPrimariesSMPTE432, kColorPrimariesBT470BG, &kDisplayP3toBT601},
    {kColorPrimariesSMPTE432, kColorPrimariesSMPTE170M, &kDisplayP3toBT601_525},
    {kColorPrimariesSMPTE432, kColorPrimariesBT2020, &kDisplayP3toBT2020},
    {kColorPrimariesSMPTE432, kColorPrimariesSMPTE431, &kDisplayP3toDCIP3},

    // Adobe RGB has its own table only towards BT.709; towards every other
    // destination it borrows the BT.709 source tables.
    {kColorPrimariesAdobeRGB, kColorPrimariesBT709, &kAdobeRGBtoBT709},
    {kColorPrimariesAdobeRGB, kColorPrimariesBT470BG, &kBT709ToBT601},
    {kColorPrimariesAdobeRGB, kColorPrimariesSMPTE170M, &kBT709ToBT601_525},
    {kColorPrimariesAdobeRGB, kColorPrimariesBT2020, &kBT709ToBT2020},
    {kColorPrimariesAdobeRGB, kColorPrimariesSMPTE431, &kBT709toDCIP3},
    {kColorPrimariesAdobeRGB, kColorPrimariesSMPTE432, &kBT709toDisplayP3},

    {kColorPrimariesProPhoto, kColorPrimariesBT709, &kProPhototoBT709},
};

}  // namespace

MatrixStage matrixStage(int32_t matrix) {
    return matrix == kColorMatrixBT2020_CL ? MatrixStage::BT2020ConstantLuminance : MatrixStage::Fixed;
}

const Matrix3& yuvToRgbTable(int32_t matrix) { return *yuvPair(matrix).toRgb; }
const Matrix3& rgbToYuvTable(int32_t matrix) { return *yuvPair(matrix).toYuv; }

const Matrix3& primariesMatrix(int32_t srcPrimaries, int32_t dstPrimaries) {
    for (const PrimariesPair& p : kPrimariesPairs)
        if (p.src == srcPrimaries && p.dst == dstPrimaries) return *p.matrix;
    return kIdentity;
}

Curve genericEotfCurve(int32_t transfer) {
    switch (transfer) {
    case kColorTransferGAMMA22: return Curve::Gamma22;
    case kColorTransferGAMMA18: return Curve::Gamma18;
    case kColorTransferDCIP3: return Curve::Gamma26;
    case kColorTransferIEC61966_2_4: return Curve::XvYCC;
    case kColorTransferIEC61966_2_1: return Curve::SRGB;
    case kColorTransferBT2020_12: return Curve::BT2020_12;
    case kColorTransferARIB_STD_B67: return Curve::HLG;
    default: return Curve::BT709;  // 1, 5, 6, 14, LINEAR, PQ and every value without a curve
    }
}

// The same curves, except that BT.601 and BT.2020 10-bit encode without the
// clamp of BT.709.
Curve genericOetfCurve(int32_t transfer) {
    switch (transfer) {
    case kColorTransferGAMMA28:
    case kColorTransferSMPTE170M:
    case kColorTransferBT2020_10: return Curve::BT709Unclamped;
    default: return genericEotfCurve(transfer);
    }
}

double pqEotfRatio(int32_t sourcePeak, int32_t dstTransfer) {
    if (dstTransfer == kColorTransferARIB_STD_B67) return kPqRatioToHlg;
    if (dstTransfer == kColorTransferSMPTE2084) return kPqReferencePeak / static_cast<double>(sourcePeak);
    return kPqRatioToSdr;
}

float pqOetfScale(int32_t srcTransfer) {
    return srcTransfer == kColorTransferARIB_STD_B67 || srcTransfer == kColorTransferSMPTE2084 ? kPqScaleFromHdr
                                                                                                : kPqScaleFromSdr;
}

FormatRule formatRule(const FormatTraits* format, int32_t range) {
    FormatRule r{SampleRule::None, false, 255.0f, 1.0f, 128.0f};
    if (!format || format->depth < 8 || format->depth > 16) return r;
    switch (format->colorClass) {
    case ColorClass::RGB:
        r.kind = SampleRule::RGB;
        r.hasAlpha = format->hasAlpha;
        break;
    case ColorClass::CMYK:
        r.kind = SampleRule::CMYK;
        break;
    case ColorClass::YUV:
        r.kind = range == kColorRangeJpeg ? SampleRule::YUVFull : SampleRule::YUVLimited;
        r.hasAlpha = format->hasAlpha;
        break;
    default:
        return r;
    }
    const unsigned d = format->depth;
    r.maxCode = static_cast<float>((1u << d) - 1u);  // 255, 1023, 4095, 65535
    r.scale = static_cast<float>(1u << (d - 8));     // 1, 4, 16, 256
    r.half = static_cast<float>(1u << (d - 1));      // 128, 512, 2048, 32768
    return r;
}

bool sameDescription(const ColorSide& a, const ColorSide& b) {
    return a.format == b.format && a.range == b.range && a.primaries == b.primaries &&
           a.transfer == b.transfer && a.matrix == b.matrix;
}

namespace {

bool isYuv(const FormatTraits* f) { return f && f->colorClass == ColorClass::YUV; }

// The single-precision form of pqEotfRatio: the peak converted to float and
// the quotient formed in float.
float pqEotfRatioSingle(int32_t sourcePeak, int32_t dstTransfer) {
    if (dstTransfer == kColorTransferSMPTE2084)
        return static_cast<float>(kPqReferencePeak) / static_cast<float>(sourcePeak);
    return static_cast<float>(pqEotfRatio(sourcePeak, dstTransfer));
}

}  // namespace

ColorPlan makeColorPlan(const ColorSide& src, const ColorSide& dst, int32_t sourcePeak) {
    ColorPlan p{};
    p.src = formatRule(src.format, src.range);
    p.dst = formatRule(dst.format, dst.range);
    p.toRgb = MatrixStage::None;
    p.yuvToRgb = yuvToRgbTable(src.matrix);
    p.linearStages = false;
    p.decode = genericEotfCurve(src.transfer);
    p.primaries = primariesMatrix(src.primaries, dst.primaries);
    p.encode = genericOetfCurve(dst.transfer);
    p.toYuv = MatrixStage::None;
    p.rgbToYuv = rgbToYuvTable(dst.matrix);
    p.pqRatio = pqEotfRatio(sourcePeak, dst.transfer);
    p.pqRatioSingle = pqEotfRatioSingle(sourcePeak, dst.transfer);
    p.pqScale = pqOetfScale(src.transfer);
    p.sourcePeak = sourcePeak;
    if (sameDescription(src, dst)) return p;  // normalise and quantise only

    if (isYuv(src.format)) p.toRgb = matrixStage(src.matrix);
    if (src.primaries != dst.primaries || src.transfer != dst.transfer) {
        p.linearStages = true;
        if (src.transfer == kColorTransferSMPTE2084) p.decode = Curve::PQ;
        if (dst.transfer == kColorTransferSMPTE2084) p.encode = Curve::PQ;
    }
    if (isYuv(dst.format)) p.toYuv = matrixStage(dst.matrix);
    return p;
}

}  // namespace KROCOLOR
