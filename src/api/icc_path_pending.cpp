// Stand-in for the ICC path until the profile engine lands: ICC mode reports
// that this build cannot convert, and no profile bytes are embedded.
#include "api/icc_path.h"

namespace KROCOLOR {

KROReturn convertWithICCProfiles(const ICCImage&, const ICCImage&, uint8_t*) {
    return kKROPlatformFormatNotSupported;
}

const uint8_t* KROColorFunctions::getSRGBICCProfile() { return nullptr; }
int KROColorFunctions::getSRGBICCProfileSize() { return 0; }
const uint8_t* KROColorFunctions::getDisplayP3ICCProfile() { return nullptr; }
int KROColorFunctions::getDisplayP3ICCProfileSize() { return 0; }
const uint8_t* KROColorFunctions::getAdobeRGBICCProfile() { return nullptr; }
int KROColorFunctions::getAdobeRGBICCProfileSize() { return 0; }

}  // namespace KROCOLOR
