// Turning the colour options of a command line into the two colour
// descriptions of a conversion, with defaults that change nothing the user
// did not ask to change.
#pragma once

#include <string>

#include "args.h"
#include "frame_pipeline.h"

namespace krocolor {

// Input side: --in-primaries, --in-transfer, --in-matrix, --in-range; what
// is not given comes from the file (y4m range) or, as the library itself
// would choose, from the format and frame size: RGB files are sRGB and full
// range; YUV frames of 1280x720 or more are BT.709, smaller ones BT.601.
ColorDescription resolveInputColor(const Args& args, const PixelFormatInfo& format, int width, int height,
                                   int fileRange);

// Output side: --primaries, --transfer, --matrix, --range; what is not
// given keeps the input's meaning (same primaries and transfer; the input's
// matrix and range for YUV to YUV; identity matrix and full range for RGB).
ColorDescription resolveOutputColor(const Args& args, const ColorDescription& in, const PixelFormatInfo& inFormat,
                                    const PixelFormatInfo& outFormat, int width, int height);

// "primaries bt2020 (9), transfer smpte2084 (16), matrix bt2020nc (9), range tv (1)"
std::string describeColor(const ColorDescription& c);

// Looks a pixel format up by name or code; usage error when unknown.
const PixelFormatInfo& requirePixelFormat(const std::string& option, const std::string& text);

}  // namespace krocolor
