// The two built-in profile records. sRGB uses the IEC 61966-2-1 curve and
// the D50-adapted colorants of the published sRGB profile, stored as the
// s15Fixed16 values such profiles carry (n / 65536).
#include "icc/icc_curves.h"
#include "icc/icc_engine.h"

namespace KROCOLOR {
namespace {

constexpr float fixed(int n) { return static_cast<float>(n) / 65536.0f; }

// IEC 61966-2-1: x <= 0.04045 ? x / 12.92 : ((x + 0.055) / 1.055)^2.4
constexpr ICCTransferFunction kSRGBCurve{2.4f,
                                         static_cast<float>(1.0 / 1.055),
                                         static_cast<float>(0.055 / 1.055),
                                         static_cast<float>(1.0 / 12.92),
                                         0.04045f,
                                         0.0f,
                                         0.0f};

// constexpr, so both records are constant-initialised before any code runs.
constexpr ICCProfile makeMatrixProfile(const ICCTransferFunction& curve, const float (&matrix)[3][3]) {
    ICCProfile p{};
    p.dataColorSpace = kICCSigRGB;
    p.pcs = kICCSigXYZ;
    for (int i = 0; i < 3; ++i) p.trc[i].parametric = curve;
    for (int r = 0; r < 3; ++r)
        for (int c = 0; c < 3; ++c) p.toXYZD50[r][c] = matrix[r][c];
    p.hasTRC = true;
    p.hasToXYZD50 = true;
    return p;
}

constexpr float kSRGBToXYZD50[3][3] = {
    {fixed(28578), fixed(25241), fixed(9376)},  // 0.436066 0.385147 0.143066
    {fixed(14581), fixed(46981), fixed(3972)},  // 0.222488 0.716873 0.0606079
    {fixed(912), fixed(6362), fixed(46799)},    // 0.013916 0.0970764 0.714096
};
constexpr float kUnit[3][3] = {{1, 0, 0}, {0, 1, 0}, {0, 0, 1}};

}  // namespace

constexpr ICCProfile kICCsRGBProfile = makeMatrixProfile(kSRGBCurve, kSRGBToXYZD50);
constexpr ICCProfile kICCXYZD50Profile = makeMatrixProfile(icc::kIdentityTransferFunction, kUnit);

}  // namespace KROCOLOR
