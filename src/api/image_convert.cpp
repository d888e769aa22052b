// KROImageConvert: converters between packed 8-bit layouts without colour
// meaning (RGB888, RGBA8888, BGRA8888, A8, I8, AI88). Direct converters
// write into the caller's buffer; the dispatchers and transcodeFormat
// allocate their output with malloc, and the caller releases it with free.
//
// Every converter handles the whole pixels of its source (byteCount divided
// by the source's bytes per pixel); trailing bytes of a partial pixel are
// never read, so a count below one pixel writes nothing.
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "KROColorFunctions.h"
#include "cpu/image_convert_rows.h"
#include "core/pixel_format_table.h"

namespace KROCOLOR {

namespace {

// Bytes per pixel of the byte layouts.
constexpr unsigned kRGB888Bytes = 3;
constexpr unsigned kRGBA8888Bytes = 4;
constexpr unsigned kAI88Bytes = 2;
constexpr unsigned kI8Bytes = 1;

inline void runRow(bytes::RowFn row, const uint8_t* src, unsigned int srcSize, unsigned bytesPerPixel,
                   uint8_t* dst) {
    if (!src || !dst) return;
    const size_t pixels = srcSize / bytesPerPixel;
    if (pixels) row(src, dst, pixels);
}

// One accepted target of a dispatcher. The output size is
// (byteCount / sizeDivisor) * sizeMultiplier, as the interface defines it;
// for a whole number of source pixels it is pixels x targetBytes.
struct Route {
    KROPixelFormat target;
    unsigned targetBytes;  // bytes per output pixel
    unsigned sizeDivisor;
    unsigned sizeMultiplier;
    void (*convert)(const uint8_t*, unsigned int, uint8_t*);
};

struct Dispatcher {
    const char* refusal;  // printed, without a line end, for a refused target
    unsigned sourceBytes;  // bytes per source pixel
    Route routes[4];
    unsigned routeCount;
};

const Dispatcher kFromRGB888 = {
    "convertRGB888ToFormat unsupported to format %d",
    kRGB888Bytes,
    {{kKRORGBA8888Format, kRGBA8888Bytes, 3, 4, KROImageConvert::convertRGB888ToRGBA8888},
     {kKROA8Format, kI8Bytes, 3, 1, KROImageConvert::convertRGB888ToA8},
     {kKROI8Format, kI8Bytes, 3, 1, KROImageConvert::convertRGB888ToI8},
     {kKROAI88Format, kAI88Bytes, 3, 2, KROImageConvert::convertRGB888ToAI88}},
    4};

const Dispatcher kFromRGBA8888 = {
    "convertRGBA8888ToFormat unsupported to format %d",
    kRGBA8888Bytes,
    {{kKRORGB888Format, kRGB888Bytes, 4, 3, KROImageConvert::convertRGBA8888ToRGB888},
     {kKROA8Format, kI8Bytes, 4, 1, KROImageConvert::convertRGBA8888ToA8},
     {kKROI8Format, kI8Bytes, 4, 1, KROImageConvert::convertRGBA8888ToI8},
     // n / 2 rather than (n / 4) x 2: counts of 4k + 2 and 4k + 3 leave a
     // byte past the last pixel.
     {kKROAI88Format, kAI88Bytes, 2, 1, KROImageConvert::convertRGBA8888ToAI88}},
    4};

const Dispatcher kFromI8 = {
    "convertI8ToFormat unsupported to format %d",
    kI8Bytes,
    {{kKRORGB888Format, kRGB888Bytes, 1, 3, KROImageConvert::convertI8ToRGB888},
     {kKRORGBA8888Format, kRGBA8888Bytes, 1, 4, KROImageConvert::convertI8ToRGBA8888},
     {kKROAI88Format, kAI88Bytes, 1, 2, KROImageConvert::convertI8ToAI88},
     {}},
    3};

const Dispatcher kFromAI88 = {
    "convertAI88ToFormat unsupported to format %d",
    kAI88Bytes,
    {{kKRORGB888Format, kRGB888Bytes, 2, 3, KROImageConvert::convertAI88ToRGB888},
     // 2n rather than (n / 2) x 4: an odd count leaves two bytes past the
     // last pixel.
     {kKRORGBA8888Format, kRGBA8888Bytes, 1, 2, KROImageConvert::convertAI88ToRGBA8888},
     {kKROA8Format, kI8Bytes, 2, 1, KROImageConvert::convertAI88ToA8},
     {kKROI8Format, kI8Bytes, 2, 1, KROImageConvert::convertAI88ToI8}},
    4};

inline void storeResult(uint8_t** dst, unsigned int* dstSize, uint8_t* buffer, unsigned int size) {
    *dst = buffer;
    *dstSize = size;
}

// Allocates `size` bytes (at least one, so success never yields null).
inline uint8_t* allocateOutput(uint64_t size) {
    return static_cast<uint8_t*>(std::malloc(static_cast<size_t>(size ? size : 1)));
}

KROReturn dispatch(const Dispatcher& d, const uint8_t* src, unsigned int srcSize, KROPixelFormat target,
                   uint8_t** dst, unsigned int* dstSize) {
    if (!dst || !dstSize) return kKROInputParamError;
    const Route* route = nullptr;
    for (unsigned k = 0; k < d.routeCount; ++k)
        if (d.routes[k].target == target) route = &d.routes[k];
    if (!route) {
        std::printf(d.refusal, static_cast<int>(target));
        storeResult(dst, dstSize, nullptr, 0);
        return kKROUnknownError;
    }
    if (!src || srcSize == 0) {
        storeResult(dst, dstSize, nullptr, 0);
        return kKROInputParamError;
    }
    // Computed in 64 bits: I8 to RGBA8888 quadruples the count, which can
    // exceed what the unsigned size can report; such requests are refused
    // before anything is allocated.
    const uint64_t size = uint64_t(srcSize / route->sizeDivisor) * route->sizeMultiplier;
    uint8_t* buffer = size <= UINT_MAX ? allocateOutput(size) : nullptr;
    if (!buffer) {
        storeResult(dst, dstSize, nullptr, 0);
        return kKROUnknownError;
    }
    route->convert(src, srcSize, buffer);
    const uint64_t written = uint64_t(srcSize / d.sourceBytes) * route->targetBytes;
    if (size > written) std::memset(buffer + written, 0, static_cast<size_t>(size - written));
    storeResult(dst, dstSize, buffer, static_cast<unsigned int>(size));
    return kKROSuccess;
}

}  // namespace

void KROImageConvert::convertAI88ToA8(const uint8_t* src, unsigned int srcSize, uint8_t* dst) {
    runRow(bytes::ai88ToA8, src, srcSize, kAI88Bytes, dst);
}
void KROImageConvert::convertAI88ToI8(const uint8_t* src, unsigned int srcSize, uint8_t* dst) {
    runRow(bytes::ai88ToI8, src, srcSize, kAI88Bytes, dst);
}
void KROImageConvert::convertAI88ToRGB888(const uint8_t* src, unsigned int srcSize, uint8_t* dst) {
    runRow(bytes::ai88ToRgb888, src, srcSize, kAI88Bytes, dst);
}
void KROImageConvert::convertAI88ToRGBA8888(const uint8_t* src, unsigned int srcSize, uint8_t* dst) {
    runRow(bytes::ai88ToRgba8888, src, srcSize, kAI88Bytes, dst);
}
void KROImageConvert::convertI8ToAI88(const uint8_t* src, unsigned int srcSize, uint8_t* dst) {
    runRow(bytes::i8ToAi88, src, srcSize, kI8Bytes, dst);
}
void KROImageConvert::convertI8ToRGB888(const uint8_t* src, unsigned int srcSize, uint8_t* dst) {
    runRow(bytes::i8ToRgb888, src, srcSize, kI8Bytes, dst);
}
void KROImageConvert::convertI8ToRGBA8888(const uint8_t* src, unsigned int srcSize, uint8_t* dst) {
    runRow(bytes::i8ToRgba8888, src, srcSize, kI8Bytes, dst);
}
// The grey value doubles as alpha: a grey image becomes a coverage mask.
void KROImageConvert::convertRGB888ToA8(const uint8_t* src, unsigned int srcSize, uint8_t* dst) {
    runRow(bytes::rgb888ToI8, src, srcSize, kRGB888Bytes, dst);
}
void KROImageConvert::convertRGB888ToI8(const uint8_t* src, unsigned int srcSize, uint8_t* dst) {
    runRow(bytes::rgb888ToI8, src, srcSize, kRGB888Bytes, dst);
}
void KROImageConvert::convertRGB888ToAI88(const uint8_t* src, unsigned int srcSize, uint8_t* dst) {
    runRow(bytes::rgb888ToAi88, src, srcSize, kRGB888Bytes, dst);
}
void KROImageConvert::convertRGB888ToRGBA8888(const uint8_t* src, unsigned int srcSize, uint8_t* dst) {
    runRow(bytes::activeHotRows().rgb888ToRgba8888, src, srcSize, kRGB888Bytes, dst);
}
void KROImageConvert::convertRGBA8888ToA8(const uint8_t* src, unsigned int srcSize, uint8_t* dst) {
    runRow(bytes::rgba8888ToA8, src, srcSize, kRGBA8888Bytes, dst);
}
void KROImageConvert::convertRGBA8888ToI8(const uint8_t* src, unsigned int srcSize, uint8_t* dst) {
    runRow(bytes::activeHotRows().rgba8888ToI8, src, srcSize, kRGBA8888Bytes, dst);
}
void KROImageConvert::convertRGBA8888ToAI88(const uint8_t* src, unsigned int srcSize, uint8_t* dst) {
    runRow(bytes::rgba8888ToAi88, src, srcSize, kRGBA8888Bytes, dst);
}
void KROImageConvert::convertRGBA8888ToRGB888(const uint8_t* src, unsigned int srcSize, uint8_t* dst) {
    runRow(bytes::rgba8888ToRgb888, src, srcSize, kRGBA8888Bytes, dst);
}
void KROImageConvert::convertBGRA8888ToAI88(const uint8_t* src, unsigned int srcSize, uint8_t* dst) {
    runRow(bytes::bgra8888ToAi88, src, srcSize, kRGBA8888Bytes, dst);
}
void KROImageConvert::convertBGRA8888ToI8(const uint8_t* src, unsigned int srcSize, uint8_t* dst) {
    runRow(bytes::activeHotRows().bgra8888ToI8, src, srcSize, kRGBA8888Bytes, dst);
}

// Rows of `width` pixels, `stride` bytes apart, packed into width grey bytes
// per row. A stride below one row of pixels (0 included) or a width below 1
// describes no valid image and writes nothing; the checks run in 64 bits so
// no product overflows and nothing divides by zero.
void KROImageConvert::convertBGRA8888ToI8(const uint8_t* src, unsigned int srcSize, int width, int stride,
                                          uint8_t* dst) {
    if (!src || srcSize == 0 || !dst || width <= 0) return;
    const int64_t rowBytes = int64_t(width) * kRGBA8888Bytes;
    if (int64_t(stride) < rowBytes) return;
    const uint64_t rows = uint64_t(srcSize) / uint64_t(stride);
    const bytes::RowFn row = bytes::activeHotRows().bgra8888ToI8;
    for (uint64_t y = 0; y < rows; ++y)
        row(src + y * uint64_t(stride), dst + y * uint64_t(width), static_cast<size_t>(width));
}

KROReturn KROImageConvert::convertRGB888ToFormat(const uint8_t* src, unsigned int srcSize, KROPixelFormat target,
                                                 uint8_t** dst, unsigned int* dstSize) {
    return dispatch(kFromRGB888, src, srcSize, target, dst, dstSize);
}
KROReturn KROImageConvert::convertRGBA8888ToFormat(const uint8_t* src, unsigned int srcSize,
                                                   KROPixelFormat target, uint8_t** dst, unsigned int* dstSize) {
    return dispatch(kFromRGBA8888, src, srcSize, target, dst, dstSize);
}
KROReturn KROImageConvert::convertI8ToFormat(const uint8_t* src, unsigned int srcSize, KROPixelFormat target,
                                             uint8_t** dst, unsigned int* dstSize) {
    return dispatch(kFromI8, src, srcSize, target, dst, dstSize);
}
KROReturn KROImageConvert::convertAI88ToFormat(const uint8_t* src, unsigned int srcSize, KROPixelFormat target,
                                               uint8_t** dst, unsigned int* dstSize) {
    return dispatch(kFromAI88, src, srcSize, target, dst, dstSize);
}

KROReturn KROImageConvert::transcodeFormat(KROPixelFormat srcFormat, const uint8_t* src, unsigned int srcSize,
                                           KROPixelFormat dstFormat, uint8_t** dst, unsigned int* dstSize) {
    if (!dst || !dstSize) return kKROInputParamError;
    if (!src || srcSize == 0) {
        storeResult(dst, dstSize, nullptr, 0);
        return kKROInputParamError;
    }
    // Only host-memory formats are byte buffers; anything else is refused
    // without touching the out-pointers.
    if (!isHostFormat(srcFormat)) return kKROInputParamError;
    if (dstFormat == srcFormat) {
        uint8_t* copy = allocateOutput(srcSize);
        if (!copy) {
            storeResult(dst, dstSize, nullptr, 0);
            return kKROUnknownError;
        }
        std::memcpy(copy, src, srcSize);
        storeResult(dst, dstSize, copy, srcSize);
        return kKROSuccess;
    }
    switch (srcFormat) {
        case kKRORGB888Format: return dispatch(kFromRGB888, src, srcSize, dstFormat, dst, dstSize);
        case kKRORGBA8888Format: return dispatch(kFromRGBA8888, src, srcSize, dstFormat, dst, dstSize);
        case kKROI8Format: return dispatch(kFromI8, src, srcSize, dstFormat, dst, dstSize);
        case kKROAI88Format: return dispatch(kFromAI88, src, srcSize, dstFormat, dst, dstSize);
        default:
            std::printf("transcodeFormat unsupported format %d to format %d", static_cast<int>(srcFormat),
                        static_cast<int>(dstFormat));
            storeResult(dst, dstSize, nullptr, 0);
            return kKROUnknownError;
    }
}

}  // namespace KROCOLOR
