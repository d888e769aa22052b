// Selection of the constant tables by colour enumeration value.
#include "color/color_tables.h"

#include "KROColorFunctions.h"
#include "color/color_science.h"

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

YuvMatrixKind yuvMatrixKind(int32_t matrix) {
    return matrix == kColorMatrixBT2020_CL ? YuvMatrixKind::BT2020ConstantLuminance
                                           : YuvMatrixKind::Fixed;
}

const Matrix3& yuvToRgbTable(int32_t matrix) { return *yuvPair(matrix).toRgb; }
const Matrix3& rgbToYuvTable(int32_t matrix) { return *yuvPair(matrix).toYuv; }

const Matrix3& primariesMatrix(int32_t srcPrimaries, int32_t dstPrimaries) {
    for (const PrimariesPair& p : kPrimariesPairs)
        if (p.src == srcPrimaries && p.dst == dstPrimaries) return *p.matrix;
    return kIdentity;
}

}  // namespace KROCOLOR
