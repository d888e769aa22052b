// The engine's arithmetic: a fast log2/exp2 power approximation used for
// every power in the engine (curve evaluation, inversion and parsing), and the
// transfer-function rules built on it. The constants are those of the widely
// used rational approximations of log2 and exp2 on the IEEE-754 bit pattern
// (P. Mineiro, "fastapprox"), so results are reproducible bit for bit.
#pragma once

#include <cmath>
#include <cstdint>
#include <cstring>

#include "icc/icc_types.h"

namespace KROCOLOR {
namespace icc {

inline float fastLog2(float x) {
    int32_t bits;
    std::memcpy(&bits, &x, sizeof bits);
    const float e = static_cast<float>(bits) * (1.0f / 8388608.0f);  // 2^-23
    const uint32_t mantissaBits = (static_cast<uint32_t>(bits) & 0x7fffffu) | 0x3f000000u;
    float m;
    std::memcpy(&m, &mantissaBits, sizeof m);  // in [0.5, 1)
    return e - 124.22552f - 1.4980303f * m - 1.72588f / (m + 0.35208872f);
}

inline float fastExp2(float x) {
    if (x > 128.0f) return INFINITY;
    if (!(x >= -127.0f)) return 0.0f;  // also NaN
    const float fl = std::floor(x);
    const float fr = x - fl;
    const float v = (x + 121.274055f - 1.4901291f * fr + 27.728024f / (4.8425255f - fr)) * 8388608.0f;
    if (v >= 2147483648.0f) return INFINITY;
    if (!(v >= 0.0f)) return 0.0f;
    const int32_t bits = static_cast<int32_t>(v);
    float result;
    std::memcpy(&result, &bits, sizeof result);
    return result;
}

inline float fastPow(float x, float y) {
    if (x == 0.0f || x == 1.0f) return x;
    if (x < 0.0f) return 0.0f;
    return fastExp2(fastLog2(x) * y);
}

inline float evalTransferFunction(const ICCTransferFunction& tf, float x) {
    const float s = x < 0.0f ? -1.0f : 1.0f;
    const float t = std::fabs(x);
    if (t < tf.d) return s * (tf.c * t + tf.f);
    return s * (fastPow(tf.a * t + tf.b, tf.g) + tf.e);
}

// The acceptance rule of parametric curves: finite values, non-negative a, c,
// d and g, and a power piece that starts at a non-negative base.
inline bool isValidTransferFunction(const ICCTransferFunction& tf) {
    const float v[7] = {tf.g, tf.a, tf.b, tf.c, tf.d, tf.e, tf.f};
    for (float x : v)
        if (!std::isfinite(x)) return false;
    return tf.a >= 0.0f && tf.c >= 0.0f && tf.d >= 0.0f && tf.g >= 0.0f && tf.a * tf.d + tf.b >= 0.0f;
}

}  // namespace icc
}  // namespace KROCOLOR
