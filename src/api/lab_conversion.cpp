// convertToLab: one non-linear RGB colour of a named colour space to CIE
// L*a*b* relative to D65. The transfer curves are the colour science's own;
// only the RGB-to-XYZ matrices and the white point belong to this file.
#include <cmath>

#include "KROColorFunctions.h"
#include "color/color_science.h"

namespace KROCOLOR {

namespace {

// Linear RGB to CIE XYZ (D65), rows X, Y, Z. Each is the normalised
// primary matrix of its colour space: BT.2020 from ITU-R BT.2020 primaries,
// Display P3 from the SMPTE EG 432-1 primaries with the D65 white, and
// BT.709 / sRGB from ITU-R BT.709 (= IEC 61966-2-1) primaries. Kept in
// double precision because the XYZ step is evaluated in double.
struct XyzMatrix {
    double m[3][3];
};

constexpr XyzMatrix kBT2020ToXYZ = {{{0.636958, 0.1446169, 0.168881},
                                     {0.2627002, 0.6779981, 0.0593017},
                                     {0, 0.0280727, 1.0609851}}};
constexpr XyzMatrix kDisplayP3ToXYZ = {{{0.4865709, 0.2656677, 0.1982173},
                                        {0.2289746, 0.6917385, 0.0792869},
                                        {0, 0.0451134, 1.0439444}}};
constexpr XyzMatrix kSRGBToXYZ = {{{0.4123908, 0.3575843, 0.1804808},
                                   {0.212639, 0.7151687, 0.0721923},
                                   {0.0193308, 0.1191948, 0.9505322}}};

// The D65 reference white of the L*a*b* step (Y normalised to 1).
constexpr float kWhiteX = 0.950456f;
constexpr float kWhiteZ = 1.088754f;

// CIE 1976 threshold (6/29)^3 and the slope and offset of the linear segment
// below it, with the rounded constants of the classic formulation.
constexpr float kLabEpsilon = 0.008856f;
constexpr double kLabEpsilonDouble = 0.008856;
constexpr float kLabSlope = 7.787f;
constexpr float kLabOffset = 16.0f / 116.0f;

inline float labF(float t) { return std::pow(t, 1.0f / 3.0f); }

// The three linearisations of the table; every other pair takes sRGB.
struct Linearised {
    Pixel rgb;
    const XyzMatrix* toXyz;
};

Linearised linearise(KROColorPrimaries primaries, KROColorTransfer transfer, float r, float g, float b) {
    const Pixel signal{r, g, b, 1.0f};
    if (primaries == kColorPrimariesBT2020 && transfer == kColorTransferARIB_STD_B67)
        return {HLG_EOTF(signal), &kBT2020ToXYZ};  // 1.0 = nominal peak (203 cd/m2)
    if (primaries == kColorPrimariesBT2020 && transfer == kColorTransferSMPTE2084)
        // The ratio for an HLG destination is 10: 1.0 = 1000 cd/m2, and
        // brighter signals exceed 1. The source peak does not enter it.
        return {PQ_EOTF(signal, 10000, kColorTransferARIB_STD_B67), &kBT2020ToXYZ};
    if (primaries == kColorPrimariesSMPTE432 && transfer == kColorTransferBT709)
        return {eotf(signal, kColorTransferBT709), &kDisplayP3ToXYZ};
    return {eotf(signal, kColorTransferIEC61966_2_1), &kSRGBToXYZ};  // clamped to [0, 1]
}

inline float row(const XyzMatrix& m, int k, const Pixel& p) {
    return static_cast<float>(m.m[k][0] * double(p.c0) + m.m[k][1] * double(p.c1) + m.m[k][2] * double(p.c2));
}

}  // namespace

KROReturn convertToLab(KROColorPrimaries primaries, KROColorTransfer transfer, float r, float g, float b, float* L,
                       float* A, float* B) {
    const Linearised lin = linearise(primaries, transfer, r, g, b);
    const float X = row(*lin.toXyz, 0, lin.rgb);
    const float Y = row(*lin.toXyz, 1, lin.rgb);
    const float Z = row(*lin.toXyz, 2, lin.rgb);

    const float tx = X / kWhiteX;
    const float tz = Z / kWhiteZ;
    const float fx = tx > kLabEpsilon ? labF(tx) : kLabSlope * tx + kLabOffset;
    const float fy = Y > kLabEpsilon ? labF(Y) : kLabSlope * Y + kLabOffset;
    // The Z test compares in double precision (the float threshold is a
    // hair above 0.008856); results differ only at the boundary itself.
    const float fz = double(tz) > kLabEpsilonDouble ? labF(tz) : kLabSlope * tz + kLabOffset;

    // L* has no upper limit: PQ signals above 1000 cd/m2 give Y > 1.
    *L = std::fmax(116.0f * fy - 16.0f, 0.0f);
    *A = 500.0f * (fx - fy);
    *B = 200.0f * (fy - fz);
    return kKROSuccess;
}

}  // namespace KROCOLOR
