#include "support/gpu_program_model.h"

#include <algorithm>
#include <cmath>

#include "color/color_constants.h"
#include "cpu/sample_access.h"

namespace KROCOLOR {
namespace test {

namespace {

double clampd(double v, double lo, double hi) { return std::min(std::max(v, lo), hi); }

Rgba mul(const Matrix3& m, const Rgba& c) {
    Rgba o = c;
    for (int k = 0; k < 3; ++k) o[k] = double(m.m[k][0]) * c[0] + double(m.m[k][1]) * c[1] + double(m.m[k][2]) * c[2];
    return o;
}

// ---- curves ----
constexpr double kHlgA = 0.17883277, kHlgB = 0.28466892, kHlgC = 0.55991073;

// HLG to display light as every program applies it (ITU-R BT.2100 with a
// nominal peak of 203 cd/m2, black 0.005 cd/m2 and gain 1).
void hlgToDisplayLight(Rgba& p) {
    const double gamma = 1.2 + 0.42 * std::log10(203.0 / 1000.0);
    const double beta = std::sqrt(3 * std::pow(0.005 / 203.0, 1 / gamma));
    for (int k = 0; k < 3; ++k) {
        const double x = std::max(0.0, (1 - beta) * p[k] + beta);
        p[k] = x > 0.5 ? (std::exp((x - kHlgC) / kHlgA) + kHlgB) / 12 : x * x / 3;
    }
    const double g = std::pow(0.2627 * p[0] + 0.678 * p[1] + 0.0593 * p[2], gamma - 1);
    p = {g * p[0], g * p[1], g * p[2], 1};
}

enum class Curve { None, Video, VideoClamped, Video12, Srgb, Gamma18, Gamma22, Gamma26, LogSqrt, XvYcc };

// The pure powers, clamped both ways.
double gammaOf(Curve c) { return c == Curve::Gamma18 ? 1.8 : c == Curve::Gamma22 ? 2.2 : 2.6; }

// The kernels' own curves; every other transfer takes `otherwise`.
Curve cudaCurve(int t, Curve otherwise) {
    switch (t) {
    case 4: return Curve::Gamma22;
    case 10: return Curve::LogSqrt;
    case 11: return Curve::XvYcc;
    case 13: return Curve::Srgb;
    case 19: return Curve::Gamma18;
    case 100: return Curve::Gamma26;
    default: return otherwise;
    }
}

Curve decodeCurve(GpuProgram g, int t) {
    if (t == 15) return Curve::Video12;
    switch (g) {
    case GpuProgram::Cuda: return cudaCurve(t, Curve::Video);
    case GpuProgram::D3D11: return t == 11 ? Curve::XvYcc : Curve::Video;  // PQ, gamma 2.2 and the rest as BT.709
    case GpuProgram::Gles: return t == 1 || t == 6 || t == 14 ? Curve::Video : t == 13 ? Curve::Srgb : Curve::None;
    }
    return Curve::None;
}

Curve encodeCurve(GpuProgram g, int t) {
    if (t == 15) return Curve::Video12;
    if (t == 6 || t == 14) return Curve::Video;  // only the plain BT.709 encoding clamps
    switch (g) {
    case GpuProgram::Cuda: return cudaCurve(t, t == 5 ? Curve::Video : Curve::VideoClamped);
    case GpuProgram::D3D11:
        return t == 4 || t == 5 ? Curve::Video : t == 11 ? Curve::XvYcc : Curve::VideoClamped;
    case GpuProgram::Gles: return t == 1 ? Curve::VideoClamped : t == 13 ? Curve::Srgb : Curve::None;
    }
    return Curve::None;
}

double decode(Curve c, double v) {
    const double alpha = c == Curve::Video12 ? 1.0993 : 1.099, beta = c == Curve::Video12 ? 0.0181 : 0.018;
    switch (c) {
    case Curve::None: return v;
    case Curve::Srgb: return clampd(v < 0.04045 ? v / 12.92 : std::pow((v + 0.055) / 1.055, 2.4), 0, 1);
    case Curve::Gamma18: case Curve::Gamma22: case Curve::Gamma26: return clampd(std::pow(v, gammaOf(c)), 0, 1);
    case Curve::LogSqrt: return std::pow(10.0, 2.5 * (v - 1));
    case Curve::XvYcc:
        if (v <= 0) return -std::pow(-v / 1.099, 1 / 0.45);
        [[fallthrough]];
    default: return v < 4.5 * beta ? v / 4.5 : std::pow((v + alpha - 1) / alpha, 1 / 0.45);
    }
}

double encode(Curve c, double l) {
    const double alpha = c == Curve::Video12 ? 1.0993 : 1.099, beta = c == Curve::Video12 ? 0.0181 : 0.018;
    const double video = l < beta ? 4.5 * l : alpha * std::pow(l, 0.45) - (alpha - 1);
    switch (c) {
    case Curve::None: return l;
    case Curve::Srgb: return clampd(l < 0.0031308 ? 12.92 * l : 1.055 * std::pow(l, 1 / 2.4) - 0.055, 0, 1);
    case Curve::VideoClamped: return clampd(video, 0, 1);
    case Curve::Gamma18: case Curve::Gamma22: case Curve::Gamma26: return clampd(std::pow(l, 1 / gammaOf(c)), 0, 1);
    case Curve::LogSqrt: return l >= 0.00316 ? 1 + std::log10(l) / 2.5 : 0;
    case Curve::XvYcc: return l <= -0.018 ? 0.099 - 1.099 * std::pow(-l, 0.45) : video;
    default: return video;
    }
}

// SMPTE ST 2084.
constexpr double kM1 = 2610.0 / 16384, kM2 = 2523.0 / 4096 * 128, kC1 = 3424.0 / 4096, kC2 = 2413.0 / 4096 * 32,
                 kC3 = 2392.0 / 4096 * 32;

// ---- primaries: the pairs with a table, the fewest programs first ----
const Matrix3& pairTable(GpuProgram g, int s, int d) {
    struct Pair {
        int s, d;
        const Matrix3* m;
        int tier;  // 0 every program, 1 render pass and kernels, 2 kernels only
    };
    static const Pair pairs[] = {
        {9, 1, &kBT2020ToBT709, 0},        {9, 5, &kBT2020ToBT601, 0},        {9, 6, &kBT2020ToBT601_525, 0},
        {5, 1, &kBT601ToBT709, 0},         {5, 9, &kBT601ToBT2020, 0},        {1, 6, &kBT709ToBT601_525, 0},
        {1, 5, &kBT709ToBT601, 0},         {1, 9, &kBT709ToBT2020, 0},        {6, 1, &kBT601_525toBT709, 0},
        {6, 9, &kBT601_525toBT2020, 0},    {23, 1, &kAdobeRGBtoBT709, 0},     {11, 6, &kDCIP3toBT601_525, 1},
        {11, 5, &kDCIP3toBT601, 1},        {11, 1, &kDCIP3toBT709, 1},        {11, 9, &kDCIP3toBT2020, 1},
        {11, 12, &kDCIP3toDisplayP3, 1},   {12, 6, &kDisplayP3toBT601_525, 1}, {12, 5, &kDisplayP3toBT601, 1},
        {12, 1, &kDisplayP3toBT709, 1},    {12, 9, &kDisplayP3toBT2020, 1},   {12, 11, &kDisplayP3toDCIP3, 1},
        {1, 11, &kBT709toDCIP3, 2},        {1, 12, &kBT709toDisplayP3, 2},    {1, 24, &kBT709toProPhoto, 2},
        {5, 11, &kBT601toDCIP3, 2},        {5, 12, &kBT601toDisplayP3, 2},    {6, 11, &kBT601_525toDCIP3, 2},
        {6, 12, &kBT601_525toDisplayP3, 2}, {9, 11, &kBT2020toDCIP3, 2},      {9, 12, &kBT2020toDisplayP3, 2},
        {23, 5, &kBT709ToBT601, 2},        {23, 6, &kBT709ToBT601_525, 2},    {23, 9, &kBT709ToBT2020, 2},
        {23, 11, &kBT709toDCIP3, 2},       {23, 12, &kBT709toDisplayP3, 2},   {24, 1, &kProPhototoBT709, 2},
    };
    const int tiers = g == GpuProgram::Cuda ? 2 : g == GpuProgram::Gles ? 1 : 0;
    for (const Pair& p : pairs)
        if (p.s == s && p.d == d && p.tier <= tiers) return *p.m;
    return kIdentity;
}

const Matrix3& yuvToRgb(int m, double u, double v) {
    switch (m) {
    case 10: return *kBT2020CLYUVtoRGB[(u > 0 ? 2 : 0) + (v > 0 ? 1 : 0)];
    case 5: case 6: case 11: case 12: return kBT601YUVtoRGB;
    case 9: return kBT2020YUVtoRGB;
    case 8: return kYCGCOYUVtoRGB;
    default: return kBT709YUVtoRGB;
    }
}

const Matrix3& rgbToYuv(int m, const Rgba& c) {
    if (m == 10) {
        const double y = 0.2627 * c[0] + 0.678 * c[1] + 0.0593 * c[2];
        return *kBT2020CLRGBtoYUV[(c[2] - y > 0 ? 2 : 0) + (c[0] - y > 0 ? 1 : 0)];
    }
    return m == 5 || m == 6 || m == 11 || m == 12 ? kBT601RGBtoYUV
           : m == 9                              ? kBT2020RGBtoYUV
           : m == 8                              ? kYCGCORGBtoYUV
                                                 : kBT709RGBtoYUV;
}

// ---- samples ----
bool isRgb(int32_t f) { return formatTraits(f)->colorClass == ColorClass::RGB; }

// The Direct3D 11 program reads and writes P010 through unorm16 views:
// word / 65535 scaled by 1023, so the low six bits count on reading, and a
// code c is stored as round(c * 65535 / 1023).
bool unorm16Words(GpuProgram g, int32_t f) { return g == GpuProgram::D3D11 && f == kKRONV1210LEFormat; }

Rgba normalise(const Rgba& c, const FormatTraits& t, int range) {
    const double top = std::pow(2.0, t.depth) - 1;
    if (t.colorClass == ColorClass::RGB)
        return {clampd(c[0] / top, 0, 1), clampd(c[1] / top, 0, 1), clampd(c[2] / top, 0, 1), clampd(c[3] / top, 0, 1)};
    Rgba p;
    if (range == 2) {
        const double mid = std::pow(2.0, t.depth - 1);
        p = {c[0] / top, (c[1] - mid) / top, (c[2] - mid) / top, t.hasAlpha ? c[3] / top : 1};
    } else {
        const double s = std::pow(2.0, t.depth - 8);
        p = {(c[0] / s - 16) / 219, (c[1] / s - 128) / 224, (c[2] / s - 128) / 224, t.hasAlpha ? c[3] / s / 255 : 1};
    }
    return {clampd(p[0], 0, 1), clampd(p[1], -0.5, 0.5), clampd(p[2], -0.5, 0.5), clampd(p[3], 0, 1)};
}

// Outside the frame every code reads as 0 (the Direct3D 11 texture loads).
Rgba read(GpuProgram g, const FrameBuffers& f, int x, int y, int range) {
    const FormatTraits& t = *formatTraits(f.format());
    if (x < 0 || y < 0 || x >= f.width() || y >= f.height()) return normalise({0, 0, 0, 0}, t, range);
    const bool words = unorm16Words(g, f.format());
    const NativePixel n = readPixel(sampleAccessFor(words ? kKRONV1216LEFormat : f.format()), f.frame(), x, y);
    Rgba c{double(n.c[0]), double(n.c[1]), double(n.c[2]), double(n.c[3])};
    if (words)
        for (double& v : c) v = v / 65535 * 1023;
    return normalise(c, t, range);
}

// The kernels round half away from zero, the Direct3D 11 program half to even.
void write(GpuProgram g, FrameBuffers& f, int x, int y, const Rgba& p, int range) {
    const FormatTraits& t = *formatTraits(f.format());
    const double top = std::pow(2.0, t.depth) - 1, mid = std::pow(2.0, t.depth - 1), s = std::pow(2.0, t.depth - 8);
    Rgba c = p;
    if (t.colorClass == ColorClass::RGB) {
        for (double& v : c) v = clampd(v, 0, 1) * top;
    } else if (range == 2) {
        c = {p[0] * top, p[1] * top + mid, p[2] * top + mid, p[3] * top};
    } else {
        c = {(p[0] * 219 + 16) * s, (p[1] * 224 + 128) * s, (p[2] * 224 + 128) * s, p[3] * 255 * s};
    }
    const bool words = unorm16Words(g, f.format());
    NativePixel n;
    for (int k = 0; k < 4; ++k) {
        const double code = clampd(g == GpuProgram::Cuda ? std::round(c[k]) : std::nearbyint(c[k]), 0, top);
        n.c[k] = static_cast<uint16_t>(words ? std::lrint(code * 65535 / 1023) : long(code));
    }
    KROFrame frame = f.frame();
    writePixel(sampleAccessFor(words ? kKRONV1216LEFormat : f.format()), frame, x, y, n);
}

Rgba convertPixel(GpuProgram g, Rgba p, int32_t sf, const Colour& s, int32_t df, const Colour& d) {
    if (sf == df && s.primaries == d.primaries && s.transfer == d.transfer && s.matrix == d.matrix &&
        s.range == d.range)
        return p;
    if (!isRgb(sf)) {
        p = mul(yuvToRgb(s.matrix, p[1], p[2]), p);
        p = {clampd(p[0], 0, 1), clampd(p[1], 0, 1), clampd(p[2], 0, 1), 1};
    }
    if (s.primaries != d.primaries || s.transfer != d.transfer) {
        p = mul(primariesTable(g, s.primaries, d.primaries), decodeLight(g, p, s, d, 10000));
        if (g != GpuProgram::Cuda)  // the kernels leave light outside [0, 1] to the curves
            for (int k = 0; k < 3; ++k) p[k] = clampd(p[k], 0, 1);
        if (g == GpuProgram::D3D11) p[3] = 1;  // the program's primaries step writes alpha 1
        p = encodeLight(g, p, s, d);
    }
    if (!isRgb(df)) {
        p = mul(rgbToYuv(d.matrix, p), p);
        p = {clampd(p[0], 0, 1), clampd(p[1], -0.5, 0.5), clampd(p[2], -0.5, 0.5), 1};
    }
    return p;
}

// The kernels add the four samples' codes as integers and shift by 2; the
// Direct3D 11 program averages the normalised samples and stores the mean.
void scale(GpuProgram g, const FrameBuffers& in, FrameBuffers& out, int range) {
    // Coordinates in single precision, as the programs form them, so that
    // the truncated tap addresses agree.
    const float sx = float(in.width()) / float(out.width()), sy = float(in.height()) / float(out.height());
    const float rx = std::min(std::max((sx - 1) * 0.5f, 0.f), 1.f), ry = std::min(std::max((sy - 1) * 0.5f, 0.f), 1.f);
    const float dx = rx / (rx + 0.5f), dy = ry / (ry + 0.5f);
    const SampleAccess a = sampleAccessFor(in.format());
    for (int y = 0; y < out.height(); ++y)
        for (int x = 0; x < out.width(); ++x) {
            const float cx = (float(x) + 0.5f) * sx, cy = (float(y) + 0.5f) * sy;
            int sum[4] = {0, 0, 0, 0};
            Rgba mean{0, 0, 0, 0};
            for (const float ty : {cy - dy, cy + dy})
                for (const float tx : {cx - dx, cx + dx}) {
                    if (g == GpuProgram::Cuda) {
                        const NativePixel p = readPixel(a, in.frame(), int(tx), int(ty));
                        for (int k = 0; k < 4; ++k) sum[k] += p.c[k];
                    } else {
                        const Rgba p = read(g, in, int(tx), int(ty), range);
                        for (int k = 0; k < 4; ++k) mean[k] += p[k] / 4;
                    }
                }
            if (g == GpuProgram::Cuda) {
                KROFrame frame = out.frame();
                writePixel(a, frame, x, y,
                           NativePixel{{uint16_t(sum[0] >> 2), uint16_t(sum[1] >> 2), uint16_t(sum[2] >> 2),
                                        uint16_t(sum[3] >> 2)}});
            } else {
                write(g, out, x, y, mean, range);
            }
        }
}

}  // namespace

const Matrix3& primariesTable(GpuProgram g, int32_t s, int32_t d) { return pairTable(g, s, d); }

Rgba decodeLight(GpuProgram g, Rgba p, const Colour& s, const Colour& d, double peak) {
    if (s.transfer == 18) {
        hlgToDisplayLight(p);
    } else if (g == GpuProgram::Gles && s.transfer == 16) {
        // PQ light relative to what the destination calls 1.
        const double ratio = d.transfer == 18 ? 10 : d.transfer == 16 ? 10000 / peak : 20;
        for (int k = 0; k < 3; ++k) {
            const double f = std::pow(p[k], 1 / kM2);
            p[k] = clampd(std::pow(std::max(0.0, f - kC1) / (kC2 - kC3 * f), 1 / kM1) * ratio, 0, 1);
        }
    } else {
        for (int k = 0; k < 3; ++k) p[k] = decode(decodeCurve(g, s.transfer), p[k]);
    }
    return p;
}

Rgba encodeLight(GpuProgram g, Rgba p, const Colour& s, const Colour& d) {
    for (int k = 0; k < 3; ++k) {
        const double x = p[k];
        if (d.transfer == 18) {
            p[k] = x > 1.0 / 12 ? kHlgA * std::log(12 * x - kHlgB) + kHlgC : std::sqrt(std::max(0.0, 3 * x));
        } else if (g == GpuProgram::Gles && d.transfer == 16) {
            const double f = std::pow(x * (s.transfer == 16 || s.transfer == 18 ? 0.1 : 0.05), kM1);
            p[k] = std::min(std::pow((kC1 + kC2 * f) / (1 + kC3 * f), kM2), 1.0);
        } else {
            p[k] = encode(encodeCurve(g, d.transfer), x);
        }
    }
    return p;
}

void modelConversion(GpuProgram g, const FrameBuffers& in, const Colour& s, FrameBuffers& out, const Colour& d) {
    const bool scaled = in.width() != out.width() || in.height() != out.height();
    FrameBuffers between(out.format(), in.width(), in.height());
    FrameBuffers& colour = scaled ? between : out;
    for (int y = 0; y < in.height(); ++y)
        for (int x = 0; x < in.width(); ++x)
            write(g, colour, x, y, convertPixel(g, read(g, in, x, y, s.range), in.format(), s, out.format(), d),
                  d.range);
    if (scaled) scale(g, between, out, d.range);
}

}  // namespace test
}  // namespace KROCOLOR
