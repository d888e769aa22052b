// Accessors of the embedded ICC profiles. No sRGB profile bytes are embedded:
// the ICC path uses its built-in sRGB record when a profile is absent.
#include "icc/icc_path.h"

namespace KROCOLOR {

const uint8_t* KROColorFunctions::getSRGBICCProfile() { return nullptr; }
int KROColorFunctions::getSRGBICCProfileSize() { return 0; }
const uint8_t* KROColorFunctions::getDisplayP3ICCProfile() { return kEmbeddedDisplayP3Profile; }
int KROColorFunctions::getDisplayP3ICCProfileSize() { return static_cast<int>(sizeof kEmbeddedDisplayP3Profile); }
const uint8_t* KROColorFunctions::getAdobeRGBICCProfile() { return kEmbeddedAdobeRGBProfile; }
int KROColorFunctions::getAdobeRGBICCProfileSize() { return static_cast<int>(sizeof kEmbeddedAdobeRGBProfile); }

}  // namespace KROCOLOR
