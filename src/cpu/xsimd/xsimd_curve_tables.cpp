#include "cpu/xsimd/xsimd_curve_tables.h"

#include <algorithm>
#include <cmath>
#include <cstring>

#include "color/color_constants.h"

namespace KROCOLOR {
namespace simd {
namespace {

int32_t bitsOf(float x) {
    int32_t b;
    std::memcpy(&b, &x, sizeof b);
    return b;
}
float floatOf(int32_t b) {
    float x;
    std::memcpy(&x, &b, sizeof x);
    return x;
}

// Quadratic through the curve at the start, the middle and the end of each
// segment, in double: neighbours meet, and a segment's start (1.0 among
// them) is the curve's own value rounded to float.
template <class F>
CurveTable build(int loExponent, int hiExponent, int segmentsPerOctaveLog2, bool zeroBelow, F curve) {
    CurveTable t;
    t.lo = std::ldexp(1.0f, loExponent);
    t.hi = std::ldexp(1.0f, hiExponent);
    t.shift = 23 - segmentsPerOctaveLog2;
    t.first = bitsOf(t.lo) >> t.shift;
    const int32_t end = bitsOf(t.hi) >> t.shift;
    t.last = end - t.first - 1;
    t.zeroBelow = zeroBelow;
    t.segments.resize(static_cast<size_t>(end - t.first));
    for (int32_t s = t.first; s < end; ++s) {
        const double x0 = floatOf(s << t.shift), x1 = floatOf((s + 1) << t.shift), h = x1 - x0;
        double d[3], y[3];
        for (int i = 0; i < 3; ++i) {
            d[i] = h * 0.5 * i;
            y[i] = curve(x0 + d[i]);
        }
        // Newton's divided differences, then expanded around d = 0.
        const double f01 = (y[1] - y[0]) / (d[1] - d[0]), f12 = (y[2] - y[1]) / (d[2] - d[1]);
        const double c2 = (f12 - f01) / (d[2] - d[0]);
        const double c1 = f01 - c2 * (d[0] + d[1]);
        const double c0 = y[0] - d[0] * (c1 + c2 * d[0]);
        t.segments[static_cast<size_t>(s - t.first)] = {
            {static_cast<float>(c0), static_cast<float>(c1), static_cast<float>(c2), 0.0f}};
    }
    return t;
}

}  // namespace

const CurveTable& pqEotfTable() {
    static const CurveTable t = build(-21, 1, 8, true, [](double x) {
        const double f = std::pow(x, static_cast<double>(kPqInverseM2));
        const double num = std::max(0.0, f - kPqC1);
        return std::pow(num / (kPqC2 - kPqC3 * f), static_cast<double>(kPqInverseM1));
    });
    return t;
}

const CurveTable& bt709OetfPowerTable() {
    static const CurveTable t = build(-6, 6, 5, false, [](double x) {
        return kBT709Alpha * std::pow(x, static_cast<double>(kBT709OetfPower)) - kBT709Offset;
    });
    return t;
}

const CurveTable& hlgInverseOetfExpTable() {
    static const CurveTable t = build(-1, 1, 7, false, [](double x) {
        return (std::exp((x - static_cast<double>(kHlgC)) / kHlgA) + kHlgB) / 12.0;
    });
    return t;
}

const CurveTable& hlgOotfTable() {
    static const CurveTable t = build(-17, 1, 5, false, [](double ys) {
        return std::pow(ys, static_cast<double>(kHlgGamma) - 1.0);
    });
    return t;
}

}  // namespace simd
}  // namespace KROCOLOR
