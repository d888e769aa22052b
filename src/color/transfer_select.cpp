#include "color/transfer_select.h"

#include "KROColorFunctions.h"

namespace KROCOLOR {

namespace {

template <float (*F)(float)>
constexpr CurveChoice choice() {
    return CurveChoice{F, &kernels::rowCurve<F>};
}

}  // namespace

CurveChoice genericEotf(int32_t transfer) {
    using namespace curves;
    switch (transfer) {
    case kColorTransferGAMMA28:
    case kColorTransferSMPTE170M:
        return choice<BT601_EOTF>();
    case kColorTransferGAMMA22:
        return choice<GAMMA22_EOTF>();
    case kColorTransferGAMMA18:
        return choice<GAMMA18_EOTF>();
    case kColorTransferDCIP3:
        return choice<DCIP3_EOTF>();
    case kColorTransferIEC61966_2_4:
        return choice<XVYCC_EOTF>();
    case kColorTransferIEC61966_2_1:
        return choice<sRGB_EOTF>();
    case kColorTransferBT2020_10:
        return choice<BT2020_EOTF>();
    case kColorTransferBT2020_12:
        return choice<BT2020_EOTF_12>();
    default:
        return choice<BT709_EOTF>();
    }
}

CurveChoice genericOetf(int32_t transfer) {
    using namespace curves;
    switch (transfer) {
    case kColorTransferGAMMA28:
    case kColorTransferSMPTE170M:
        return choice<BT601_OETF>();
    case kColorTransferGAMMA22:
        return choice<GAMMA22_OETF>();
    case kColorTransferGAMMA18:
        return choice<GAMMA18_OETF>();
    case kColorTransferDCIP3:
        return choice<DCIP3_OETF>();
    case kColorTransferIEC61966_2_4:
        return choice<XVYCC_OETF>();
    case kColorTransferIEC61966_2_1:
        return choice<sRGB_OETF>();
    case kColorTransferBT2020_10:
        return choice<BT2020_OETF>();
    case kColorTransferBT2020_12:
        return choice<BT2020_OETF_12>();
    case kColorTransferARIB_STD_B67:
        return choice<HLG_OETF>();
    default:
        return choice<BT709_OETF>();
    }
}

}  // namespace KROCOLOR
