// convertToLab: one non-linear RGB colour of a named colour space to CIE
// L*a*b* relative to D65. The transfer curves, the RGB-to-XYZ matrices and
// the L*a*b* constants are the colour science's own (color_constants.h).
#include <cmath>

#include "KROColorFunctions.h"
#include "color/color_constants.h"
#include "color/color_science.h"

namespace KROCOLOR {

namespace {

inline float labF(float t) { return std::pow(t, 1.0f / 3.0f); }

// The three linearisations of the table; every other pair takes sRGB.
struct Linearised {
    Pixel rgb;
    const Matrix3d* toXyz;
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

inline float row(const Matrix3d& m, int k, const Pixel& p) {
    return static_cast<float>(m.m[k][0] * double(p.c0) + m.m[k][1] * double(p.c1) + m.m[k][2] * double(p.c2));
}

}  // namespace

KROReturn convertToLab(KROColorPrimaries primaries, KROColorTransfer transfer, float r, float g, float b, float* L,
                       float* A, float* B) {
    const Linearised lin = linearise(primaries, transfer, r, g, b);
    const float X = row(*lin.toXyz, 0, lin.rgb);
    const float Y = row(*lin.toXyz, 1, lin.rgb);
    const float Z = row(*lin.toXyz, 2, lin.rgb);

    const float tx = X / kD65WhiteX;
    const float tz = Z / kD65WhiteZ;
    const float epsilon = static_cast<float>(kLabEpsilon);
    const float fx = tx > epsilon ? labF(tx) : kLabSlope * tx + kLabOffset;
    const float fy = Y > epsilon ? labF(Y) : kLabSlope * Y + kLabOffset;
    // The Z test compares in double precision (the float threshold is a
    // hair above 0.008856); results differ only at the boundary itself.
    const float fz = double(tz) > kLabEpsilon ? labF(tz) : kLabSlope * tz + kLabOffset;

    // L* has no upper limit: PQ signals above 1000 cd/m2 give Y > 1.
    *L = std::fmax(116.0f * fy - 16.0f, 0.0f);
    *A = 500.0f * (fx - fy);
    *B = 200.0f * (fy - fz);
    return kKROSuccess;
}

}  // namespace KROCOLOR
