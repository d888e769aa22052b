// Portable row kernels of the byte-format converters. The loops are written
// with restrict-qualified pointers and fixed byte offsets so that the
// compiler vectorises them.
#include "cpu/image_convert_rows.h"

#if defined(__GNUC__) || defined(__clang__)
#define KRO_RESTRICT __restrict__
#else
#define KRO_RESTRICT __restrict
#endif

namespace KROCOLOR {
namespace bytes {

namespace {

// Grey of 4-byte pixels with R at byte `kR` and B at byte `kB` (G at 1).
template <int kR, int kB>
void fourByteToGrey(const uint8_t* KRO_RESTRICT src, uint8_t* KRO_RESTRICT dst, size_t pixels) {
    for (size_t i = 0; i < pixels; ++i)
        dst[i] = greyOf(src[4 * i + kR], src[4 * i + 1], src[4 * i + kB]);
}

void rgb888ToRgba8888Scalar(const uint8_t* KRO_RESTRICT src, uint8_t* KRO_RESTRICT dst,
                            size_t pixels) {
    for (size_t i = 0; i < pixels; ++i) {
        dst[4 * i] = src[3 * i];
        dst[4 * i + 1] = src[3 * i + 1];
        dst[4 * i + 2] = src[3 * i + 2];
        dst[4 * i + 3] = 255;
    }
}

const HotRows kScalarRows = {"scalar", fourByteToGrey<0, 2>, fourByteToGrey<2, 0>,
                             rgb888ToRgba8888Scalar};

}  // namespace

const HotRows& scalarHotRows() { return kScalarRows; }

const HotRows& activeHotRows() {
    static const HotRows* const chosen = sse2HotRows() ? sse2HotRows() : &kScalarRows;
    return *chosen;
}

void ai88ToA8(const uint8_t* KRO_RESTRICT src, uint8_t* KRO_RESTRICT dst, size_t pixels) {
    for (size_t i = 0; i < pixels; ++i) dst[i] = src[2 * i + 1];
}

void ai88ToI8(const uint8_t* KRO_RESTRICT src, uint8_t* KRO_RESTRICT dst, size_t pixels) {
    for (size_t i = 0; i < pixels; ++i) dst[i] = src[2 * i];
}

void ai88ToRgb888(const uint8_t* KRO_RESTRICT src, uint8_t* KRO_RESTRICT dst, size_t pixels) {
    for (size_t i = 0; i < pixels; ++i) {
        const uint8_t v = src[2 * i];
        dst[3 * i] = v;
        dst[3 * i + 1] = v;
        dst[3 * i + 2] = v;
    }
}

void ai88ToRgba8888(const uint8_t* KRO_RESTRICT src, uint8_t* KRO_RESTRICT dst, size_t pixels) {
    for (size_t i = 0; i < pixels; ++i) {
        const uint8_t v = src[2 * i];
        dst[4 * i] = v;
        dst[4 * i + 1] = v;
        dst[4 * i + 2] = v;
        dst[4 * i + 3] = src[2 * i + 1];
    }
}

void i8ToAi88(const uint8_t* KRO_RESTRICT src, uint8_t* KRO_RESTRICT dst, size_t pixels) {
    for (size_t i = 0; i < pixels; ++i) {
        dst[2 * i] = src[i];
        dst[2 * i + 1] = 255;
    }
}

void i8ToRgb888(const uint8_t* KRO_RESTRICT src, uint8_t* KRO_RESTRICT dst, size_t pixels) {
    for (size_t i = 0; i < pixels; ++i) {
        dst[3 * i] = src[i];
        dst[3 * i + 1] = src[i];
        dst[3 * i + 2] = src[i];
    }
}

void i8ToRgba8888(const uint8_t* KRO_RESTRICT src, uint8_t* KRO_RESTRICT dst, size_t pixels) {
    for (size_t i = 0; i < pixels; ++i) {
        dst[4 * i] = src[i];
        dst[4 * i + 1] = src[i];
        dst[4 * i + 2] = src[i];
        dst[4 * i + 3] = 255;
    }
}

void rgb888ToI8(const uint8_t* KRO_RESTRICT src, uint8_t* KRO_RESTRICT dst, size_t pixels) {
    for (size_t i = 0; i < pixels; ++i) dst[i] = greyOf(src[3 * i], src[3 * i + 1], src[3 * i + 2]);
}

void rgb888ToAi88(const uint8_t* KRO_RESTRICT src, uint8_t* KRO_RESTRICT dst, size_t pixels) {
    for (size_t i = 0; i < pixels; ++i) {
        dst[2 * i] = greyOf(src[3 * i], src[3 * i + 1], src[3 * i + 2]);
        dst[2 * i + 1] = 255;
    }
}

void rgba8888ToA8(const uint8_t* KRO_RESTRICT src, uint8_t* KRO_RESTRICT dst, size_t pixels) {
    for (size_t i = 0; i < pixels; ++i) dst[i] = src[4 * i + 3];
}

void rgba8888ToAi88(const uint8_t* KRO_RESTRICT src, uint8_t* KRO_RESTRICT dst, size_t pixels) {
    for (size_t i = 0; i < pixels; ++i) {
        dst[2 * i] = greyOf(src[4 * i], src[4 * i + 1], src[4 * i + 2]);
        dst[2 * i + 1] = src[4 * i + 3];
    }
}

void rgba8888ToRgb888(const uint8_t* KRO_RESTRICT src, uint8_t* KRO_RESTRICT dst, size_t pixels) {
    for (size_t i = 0; i < pixels; ++i) {
        dst[3 * i] = src[4 * i];
        dst[3 * i + 1] = src[4 * i + 1];
        dst[3 * i + 2] = src[4 * i + 2];
    }
}

void bgra8888ToAi88(const uint8_t* KRO_RESTRICT src, uint8_t* KRO_RESTRICT dst, size_t pixels) {
    for (size_t i = 0; i < pixels; ++i) {
        dst[2 * i] = greyOf(src[4 * i + 2], src[4 * i + 1], src[4 * i]);
        dst[2 * i + 1] = src[4 * i + 3];
    }
}

}  // namespace bytes
}  // namespace KROCOLOR
