#include "color/curve_functions.h"

namespace KROCOLOR {

namespace {

template <float (*F)(float)>
constexpr CurveChoice choice() {
    return CurveChoice{F, &kernels::rowCurve<F>, &kernels::blockCurve<F>};
}

}  // namespace

CurveChoice eotfFunctions(Curve curve) {
    using namespace curves;
    switch (curve) {
    case Curve::BT2020_12: return choice<BT2020_EOTF_12>();
    case Curve::Gamma22: return choice<GAMMA22_EOTF>();
    case Curve::Gamma18: return choice<GAMMA18_EOTF>();
    case Curve::Gamma26: return choice<DCIP3_EOTF>();
    case Curve::XvYCC: return choice<XVYCC_EOTF>();
    case Curve::SRGB: return choice<sRGB_EOTF>();
    case Curve::BT709:
    case Curve::BT709Unclamped:
    case Curve::HLG:
    case Curve::PQ: break;
    }
    return choice<BT709_EOTF>();
}

CurveChoice oetfFunctions(Curve curve) {
    using namespace curves;
    switch (curve) {
    case Curve::BT709Unclamped: return choice<BT709_OETF_unclamped>();
    case Curve::BT2020_12: return choice<BT2020_OETF_12>();
    case Curve::Gamma22: return choice<GAMMA22_OETF>();
    case Curve::Gamma18: return choice<GAMMA18_OETF>();
    case Curve::Gamma26: return choice<DCIP3_OETF>();
    case Curve::XvYCC: return choice<XVYCC_OETF>();
    case Curve::SRGB: return choice<sRGB_OETF>();
    case Curve::HLG: return choice<HLG_OETF>();
    case Curve::BT709:
    case Curve::PQ: break;
    }
    return choice<BT709_OETF>();
}

}  // namespace KROCOLOR
