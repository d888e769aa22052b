// Row kernels of the byte-format converters (KROImageConvert): each converts
// `pixels` whole pixels from one packed 8-bit layout to another. The public
// converters decide sizes and buffers; these only loop.
#pragma once

#include <cstddef>
#include <cstdint>

namespace KROCOLOR {
namespace bytes {

// Grey from 8-bit R, G, B: I = (299 R + 587 G + 114 B + 500) / 1000, the
// rounded BT.601 luma weights in integer arithmetic.
//
// Exact evaluation in 32-bit lanes without a division: x = 299 R + 587 G +
// 114 B + 500 is at most 255500, and x / 1000 = (x >> 3) / 125 (floor of a
// floor). y = x >> 3 is at most 31937 and y / 125 = (y * 33555) >> 22: with
// 33555 = 2^22 / 125 + 0.568, the product overshoots y / 125 by at most
// 31937 * 0.568 / 2^22 < 0.0044, below the 1/125 gap to the next integer,
// so the floor is unchanged. Both y and 33555 fit in 16 bits, so the
// product's top bits are a 16-bit "multiply high" followed by a shift of 6.
// image_convert_test checks both steps for every value they can take.
constexpr uint32_t kGreyWeightR = 299;
constexpr uint32_t kGreyWeightG = 587;
constexpr uint32_t kGreyWeightB = 114;
constexpr uint32_t kGreyBias = 500;
constexpr uint32_t kDiv125Multiplier = 33555;
constexpr uint32_t kDiv125Shift = 22;

constexpr uint32_t greyDividend(uint32_t r, uint32_t g, uint32_t b) {
    return kGreyWeightR * r + kGreyWeightG * g + kGreyWeightB * b + kGreyBias;
}
constexpr uint32_t divideBy1000(uint32_t x) {  // exact for x <= 255500
    return ((x >> 3) * kDiv125Multiplier) >> kDiv125Shift;
}
constexpr uint8_t greyOf(uint32_t r, uint32_t g, uint32_t b) {
    return static_cast<uint8_t>(divideBy1000(greyDividend(r, g, b)));
}

using RowFn = void (*)(const uint8_t* src, uint8_t* dst, size_t pixels);

// The rows that carry the bulk of the work, in interchangeable versions.
struct HotRows {
    const char* name;
    RowFn rgba8888ToI8;
    RowFn bgra8888ToI8;
    RowFn rgb888ToRgba8888;
};

// Plain C++ rows, always present; the reference for every other version.
const HotRows& scalarHotRows();
// SSE2 rows (every x86-64 processor has SSE2); null where not built.
const HotRows* sse2HotRows();
// The fastest version this build offers: chosen once, used by KROImageConvert.
const HotRows& activeHotRows();

// Rows with a single version: simple enough for the compiler to vectorise.
void ai88ToA8(const uint8_t* src, uint8_t* dst, size_t pixels);
void ai88ToI8(const uint8_t* src, uint8_t* dst, size_t pixels);
void ai88ToRgb888(const uint8_t* src, uint8_t* dst, size_t pixels);
void ai88ToRgba8888(const uint8_t* src, uint8_t* dst, size_t pixels);
void i8ToAi88(const uint8_t* src, uint8_t* dst, size_t pixels);
void i8ToRgb888(const uint8_t* src, uint8_t* dst, size_t pixels);
void i8ToRgba8888(const uint8_t* src, uint8_t* dst, size_t pixels);
void rgb888ToI8(const uint8_t* src, uint8_t* dst, size_t pixels);  // also the A8 output
void rgb888ToAi88(const uint8_t* src, uint8_t* dst, size_t pixels);
void rgba8888ToA8(const uint8_t* src, uint8_t* dst, size_t pixels);
void rgba8888ToAi88(const uint8_t* src, uint8_t* dst, size_t pixels);
void rgba8888ToRgb888(const uint8_t* src, uint8_t* dst, size_t pixels);
void bgra8888ToAi88(const uint8_t* src, uint8_t* dst, size_t pixels);

}  // namespace bytes
}  // namespace KROCOLOR
