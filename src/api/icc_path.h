// Conversion by ICC profiles, used by KROColorFunctions::transcode when its
// profile type is kKROProfileTypeICC. Packed host formats only: plane 0 and
// stride 0 of each side.
#pragma once

#include <cstdint>

#include "KROColorFunctions.h"

namespace KROCOLOR {

struct ICCImage {
    const uint8_t* pixels;  // plane 0
    int stride;             // bytes per row
    int32_t format;         // KROPixelFormat
    int width, height;
    const uint8_t* profile;  // ICC bytes, or null for sRGB
    int profileSize;
};

// `dstPixels` receives the result; nothing is written when a format or a
// profile is refused.
KROReturn convertWithICCProfiles(const ICCImage& src, const ICCImage& dst, uint8_t* dstPixels);

}  // namespace KROCOLOR
