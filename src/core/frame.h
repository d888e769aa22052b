// The frame descriptor handed to every convertor: size, format, colour
// description, and up to four planes with their byte strides.
#pragma once

#include <cstdint>
#include <string>

#include "KROColorFunctions.h"
#include "core/pixel_format_table.h"

namespace KROCOLOR {

struct KROFrame {
    int32_t width = 0;
    int32_t height = 0;
    int32_t format = 0;
    int32_t primaries = 0;
    int32_t transfer = 0;
    int32_t matrix = 0;
    int32_t range = 0;
    // Empty for caller buffers; "KROFrame-<serial>" for frames a backend owns.
    std::string name;
    int32_t strides[4] = {0, 0, 0, 0};
    // Byte addresses for host and CUDA formats; texture handles otherwise.
    uint8_t* planes[4] = {nullptr, nullptr, nullptr, nullptr};
};

// Fills strides and planes of `frame` (whose format is already set) from the
// caller's arrays, reading only as many entries as the format has planes.
// Returns false, leaving the frame untouched, for formats the descriptor does
// not take.
bool buildFrame(KROFrame& frame, const uint8_t* const planes[], const int strides[]);

// The same with the crop or rotate object's narrower plane table.
enum class GeometryKind { Crop, Rotate };
bool buildGeometryFrame(KROFrame& frame, GeometryKind kind, const uint8_t* const planes[],
                        const int strides[]);

// Colour description of one side as it reaches the convertor: unspecified
// values replaced by defaults chosen by the pixel count.
struct ColorDescription {
    int32_t primaries, transfer, matrix, range;
};
ColorDescription describeColor(const ColorDescription& stored, int32_t width, int32_t height,
                               bool keepAsStored);

// The next "KROFrame-<n>" name; the counter is process-wide and atomic.
std::string nextFrameName();

}  // namespace KROCOLOR

namespace KROCOLOR {

// Host frames only: refuses (kKROInputParamError) a frame whose plane rows
// would not fit a 32-bit byte stride, a null plane, or a stride shorter than
// the plane's row. Other families pass unchecked (their entries are handles).
KROReturn validateHostFrame(const KROFrame& frame);

// True when every plane a host format stores has a non-null pointer (other
// families: false).
bool hostPlanesPresent(const KROFrame& frame);

// True when every plane row of a host format at `width` fits a 32-bit byte
// stride (always true for other families).
bool hostRowsFit(int32_t format, int64_t width);

// Bytes in one row of plane `plane` of a host format at `width` pixels
// (chroma rows rounded up for odd widths); 0 for planes the format lacks.
int64_t planeRowBytes(const FormatTraits& traits, int plane, int64_t width);
// Rows in plane `plane` at `height` pixels (chroma rounded up).
int64_t planeRows(const FormatTraits& traits, int plane, int64_t height);
// Number of planes a host format stores.
int planeCount(const FormatTraits& traits);

}  // namespace KROCOLOR
