// The ICC profile engine: parses ICC.1 profiles (versions 2 and 4) into
// ICCProfile records and converts runs of pixels from one profile to another
// through the profile connection space (XYZ or Lab relative to D50).
// Failures are false results; nothing here prints or throws.
#pragma once

#include <cstddef>
#include <cstdint>

#include "icc/icc_types.h"

namespace KROCOLOR {

// Built-in records used when a profile is absent: sRGB (IEC 61966-2-1 curve,
// D50-adapted colorants) and linear XYZ D50.
extern const ICCProfile kICCsRGBProfile;
extern const ICCProfile kICCXYZD50Profile;

// Parses `length` bytes into `profile` without copying them. `priorities`
// lists which A2B<p>/B2A<p> tags to try, in order (each 0, 1 or 2).
bool parseICCProfile(const uint8_t* bytes, size_t length, const int* priorities, int priorityCount,
                     ICCProfile* profile);

// Converts `count` pixels. A null profile means kICCsRGBProfile. The two
// buffers may be the same memory only when their pixels have the same size.
bool transformICC(const void* src, ICCPixelFormat srcFormat, ICCAlphaFormat srcAlpha,
                  const ICCProfile* srcProfile, void* dst, ICCPixelFormat dstFormat,
                  ICCAlphaFormat dstAlpha, const ICCProfile* dstProfile, size_t count);

}  // namespace KROCOLOR
