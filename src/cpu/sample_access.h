// Reading and writing the stored samples of host-memory frames. One reader
// and one writer per format, chosen once per frame from the format table;
// the colour pipeline and the crop, rotate and scale kernels all go through
// them, a row (or a run of a row) at a time.
//
// Addressing: byte strides for 8-bit formats; for 16-bit formats the stride
// is counted in whole 16-bit words (byte stride / 2). Words are assembled
// from bytes, so planes need no alignment. Big-endian formats (115, 118) are
// byte-swapped; P010 (108) words are shifted down by 6 on reading and up by 6
// on writing. BGR formats are reordered to R, G, B. Formats without stored
// alpha read alpha as the maximum code (RGB: 255 or 65535) or 1 (YUV); CMYK
// reads C, M, Y, K.
#pragma once

#include "core/frame.h"
#include "color/pixel.h"

namespace KROCOLOR {

// Row accessors for one format. Pixels x0 .. x0 + count - 1 of row y; the
// caller guarantees they lie inside the frame and that the frame's planes and
// strides describe it. The frame's own `format` field is not consulted: the
// layout is the one the accessors were chosen for.
// Readers return the chroma of the block containing each pixel; writers
// store luma (or the packed samples) of every pixel but chroma only for
// pixels at the top-left corner of their chroma block (that pixel's own
// chroma, not an average); packed formats without alpha store no alpha.
struct SampleAccess {
    void (*readRow)(const KROFrame& frame, int y, int x0, int count, NativePixel* out);
    void (*writeRow)(KROFrame& frame, int y, int x0, int count, const NativePixel* in);

    explicit operator bool() const { return readRow != nullptr && writeRow != nullptr; }
};

// Null accessors (both members null) for formats the CPU cannot address:
// 121-123 and every non-host code.
SampleAccess sampleAccessFor(int32_t format);

// Single-pixel conveniences over the row accessors (tests, odd corners; the
// hot loops use the row accessors).
NativePixel readPixel(const SampleAccess& access, const KROFrame& frame, int x, int y);
void writePixel(const SampleAccess& access, KROFrame& frame, int x, int y, const NativePixel& p);

}  // namespace KROCOLOR
