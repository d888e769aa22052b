#include "support/d3d11_program_model.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>

#include "color/color_constants.h"
#include "support/hlg_reference.h"

namespace KROCOLOR {
namespace test {

namespace {

struct Pixel {
    double c[4];
};

double clamp01(double v) { return std::min(std::max(v, 0.0), 1.0); }
double clampChroma(double v) { return std::min(std::max(v, -0.5), 0.5); }

uint16_t word(const FrameBuffers& f, int p, int x, int y, int index) {
    const uint8_t* row = f.plane(p) + static_cast<size_t>(y) * static_cast<size_t>(f.stride(p));
    const uint8_t* s = row + static_cast<size_t>(x * 8 + index * 2);
    return static_cast<uint16_t>(s[0] | s[1] << 8);
}

void putWord(FrameBuffers& f, int p, size_t offset, double value) {
    const long v = std::lrint(value);
    uint8_t* s = f.plane(p) + offset;
    s[0] = static_cast<uint8_t>(v & 0xff);
    s[1] = static_cast<uint8_t>(v >> 8);
}

// A texel load by integer address; outside the texture every channel is 0.
Pixel readCodes(const FrameBuffers& f, int32_t format, int x, int y) {
    Pixel p{{0, 0, 0, 0}};
    if (x < 0 || y < 0 || x >= f.width() || y >= f.height()) return p;
    const size_t row0 = static_cast<size_t>(y) * static_cast<size_t>(f.stride(0));
    switch (format) {
    case 401:
        for (int k = 0; k < 4; ++k) p.c[k] = f.plane(0)[row0 + static_cast<size_t>(x * 4 + k)];
        break;
    case 402: {
        const uint8_t* s = f.plane(0) + row0 + static_cast<size_t>(x * 4);
        p = Pixel{{double(s[2]), double(s[1]), double(s[0]), double(s[3])}};
        break;
    }
    case 406:
        for (int k = 0; k < 4; ++k) p.c[k] = word(f, 0, x, y, k);
        break;
    case 403: {
        const size_t crow = static_cast<size_t>(y / 2) * static_cast<size_t>(f.stride(1));
        p.c[0] = f.plane(0)[row0 + static_cast<size_t>(x)];
        p.c[1] = f.plane(1)[crow + static_cast<size_t>(x / 2 * 2)];
        p.c[2] = f.plane(1)[crow + static_cast<size_t>(x / 2 * 2 + 1)];
        break;
    }
    case 404: {
        // The R16 views return word / 65535; the program scales that by 1023.
        auto at = [&](int plane, int xx, int yy) {
            const uint8_t* s = f.plane(plane) + static_cast<size_t>(yy) * static_cast<size_t>(f.stride(plane)) +
                               static_cast<size_t>(xx * 2);
            return (s[0] | s[1] << 8) / 65535.0 * 1023.0;
        };
        p.c[0] = at(0, x, y);
        p.c[1] = at(1, x / 2 * 2, y / 2);
        p.c[2] = at(1, x / 2 * 2 + 1, y / 2);
        break;
    }
    default: break;
    }
    return p;
}

Pixel normalise(const Pixel& codes, int32_t format, int32_t range) {
    if (format == 401 || format == 402 || format == 406) {
        const double full = format == 406 ? 65535.0 : 255.0;
        return Pixel{{clamp01(codes.c[0] / full), clamp01(codes.c[1] / full), clamp01(codes.c[2] / full),
                      clamp01(codes.c[3] / full)}};
    }
    if (format != 403 && format != 404) return Pixel{{0, 0, 0, 0}};
    const int depth = format == 404 ? 10 : 8;
    double y, u, v;
    if (range == 2) {
        const double a = std::pow(2.0, depth) - 1, b = std::pow(2.0, depth - 1);
        y = codes.c[0] / a;
        u = (codes.c[1] - b) / a;
        v = (codes.c[2] - b) / a;
    } else {
        const double s = std::pow(2.0, depth - 8);
        y = (codes.c[0] / s - 16) / 219;
        u = (codes.c[1] / s - 128) / 224;
        v = (codes.c[2] / s - 128) / 224;
    }
    return Pixel{{clamp01(y), clampChroma(u), clampChroma(v), 1.0}};
}

// Stores as the program does: unorm views round and saturate, YUV codes are
// rounded half to even before they are stored as code / (2^depth - 1).
void store(FrameBuffers& f, int32_t format, int32_t range, int x, int y, const Pixel& p) {
    const size_t row0 = static_cast<size_t>(y) * static_cast<size_t>(f.stride(0));
    auto unorm8 = [](double c) { return static_cast<uint8_t>(std::lrint(clamp01(c) * 255.0)); };
    switch (format) {
    case 401:
        for (int k = 0; k < 4; ++k) f.plane(0)[row0 + static_cast<size_t>(x * 4 + k)] = unorm8(p.c[k]);
        return;
    case 402: {
        uint8_t* d = f.plane(0) + row0 + static_cast<size_t>(x * 4);
        d[0] = unorm8(p.c[2]);
        d[1] = unorm8(p.c[1]);
        d[2] = unorm8(p.c[0]);
        d[3] = unorm8(p.c[3]);
        return;
    }
    case 406:
        for (int k = 0; k < 4; ++k) putWord(f, 0, row0 + static_cast<size_t>(x * 8 + k * 2), clamp01(p.c[k]) * 65535.0);
        return;
    case 403:
    case 404: {
        const bool full = range == 2;
        double codes[3];
        if (format == 403) {
            codes[0] = std::nearbyint(full ? p.c[0] * 255 : p.c[0] * 219 + 16);
            codes[1] = std::nearbyint(full ? p.c[1] * 255 + 128 : p.c[1] * 224 + 128);
            codes[2] = std::nearbyint(full ? p.c[2] * 255 + 128 : p.c[2] * 224 + 128);
        } else {
            codes[0] = std::nearbyint(full ? p.c[0] * 1023 : (p.c[0] * 219 + 16) * 4);
            codes[1] = std::nearbyint(full ? p.c[1] * 1023 + 512 : (p.c[1] * 224 + 128) * 4);
            codes[2] = std::nearbyint(full ? p.c[2] * 1023 + 512 : (p.c[2] * 224 + 128) * 4);
        }
        const bool chroma = x % 2 == 0 && y % 2 == 0;
        const size_t crow = static_cast<size_t>(y / 2) * static_cast<size_t>(f.stride(1));
        if (format == 403) {
            f.plane(0)[row0 + static_cast<size_t>(x)] = unorm8(codes[0] / 255);
            if (chroma) {
                f.plane(1)[crow + static_cast<size_t>(x)] = unorm8(codes[1] / 255);
                f.plane(1)[crow + static_cast<size_t>(x + 1)] = unorm8(codes[2] / 255);
            }
        } else {
            // A P010 code c becomes the word round(c * 65535 / 1023), not c * 64.
            putWord(f, 0, row0 + static_cast<size_t>(x * 2), clamp01(codes[0] / 1023) * 65535.0);
            if (chroma) {
                putWord(f, 1, crow + static_cast<size_t>(x * 2), clamp01(codes[1] / 1023) * 65535.0);
                putWord(f, 1, crow + static_cast<size_t>(x * 2 + 2), clamp01(codes[2] / 1023) * 65535.0);
            }
        }
        return;
    }
    default: return;
    }
}

const Matrix3& yuvToRgb(int32_t matrix, double u, double v) {
    switch (matrix) {
    case 5: case 6: case 11: case 12: return kBT601YUVtoRGB;
    case 9: return kBT2020YUVtoRGB;
    case 10:
        if (u <= 0) return v <= 0 ? kBT2020YUVtoRGB_00 : kBT2020YUVtoRGB_01;
        return v <= 0 ? kBT2020YUVtoRGB_10 : kBT2020YUVtoRGB_11;
    case 8: return kYCGCOYUVtoRGB;
    default: return kBT709YUVtoRGB;
    }
}

const Matrix3& rgbToYuv(int32_t matrix, const Pixel& p) {
    switch (matrix) {
    case 5: case 6: case 11: case 12: return kBT601RGBtoYUV;
    case 9: return kBT2020RGBtoYUV;
    case 10: {
        const double y = 0.2627 * p.c[0] + 0.678 * p.c[1] + 0.0593 * p.c[2];
        if (p.c[2] - y <= 0) return p.c[0] - y <= 0 ? kBT2020RGBtoYUV_00 : kBT2020RGBtoYUV_01;
        return p.c[0] - y <= 0 ? kBT2020RGBtoYUV_10 : kBT2020RGBtoYUV_11;
    }
    case 8: return kYCGCORGBtoYUV;
    default: return kBT709RGBtoYUV;
    }
}

Pixel multiply(const Matrix3& m, const Pixel& p) {
    Pixel r = p;
    for (int k = 0; k < 3; ++k) r.c[k] = m.m[k][0] * double(p.c[0]) + m.m[k][1] * p.c[1] + m.m[k][2] * p.c[2];
    return r;
}

bool rgbFormat(int32_t format) { return format == 401 || format == 402 || format == 406; }

// Signal to light and back, by the program's own choice of curve family.
enum class Curve { BT709, BT601, BT2020, BT2020_12, XVYCC };
Curve curveOf(int32_t transfer) {
    switch (transfer) {
    case 4: case 5: case 6: return Curve::BT601;
    case 14: return Curve::BT2020;
    case 15: return Curve::BT2020_12;
    case 11: return Curve::XVYCC;
    default: return Curve::BT709;  // sRGB, PQ, gamma 1.8, DCI-P3 and the rest
    }
}

double eotf(double x, Curve c) {
    const double alpha = c == Curve::BT2020_12 ? 1.0993 : 1.099;
    const double threshold = c == Curve::BT2020_12 ? 0.08145 : 0.081;
    if (c == Curve::XVYCC && x <= 0) return -std::pow(-x / 1.099, 1 / 0.45);
    return x < threshold ? x / 4.5 : std::pow((x + alpha - 1) / alpha, 1 / 0.45);
}

double oetf(double x, Curve c) {
    const double alpha = c == Curve::BT2020_12 ? 1.0993 : 1.099;
    const double threshold = c == Curve::BT2020_12 ? 0.0181 : 0.018;
    if (c == Curve::XVYCC && x <= -0.018) return 0.099 - 1.099 * std::pow(-x, 0.45);
    const double v = x < threshold ? 4.5 * x : alpha * std::pow(x, 0.45) - (alpha - 1);
    return c == Curve::BT709 ? clamp01(v) : v;  // only the BT.709 OETF clamps
}

// HLG with Lw 203 cd/m2, Lb 0.005 cd/m2 and gain 1 (ITU-R BT.2100).
Pixel hlgEotf(const Pixel& p) {
    Pixel r{{0, 0, 0, 1.0}};
    hlgToDisplayLight(p.c, r.c);
    return r;
}

Pixel hlgOetf(const Pixel& p) {
    Pixel r = p;
    for (int k = 0; k < 3; ++k)
        r.c[k] = p.c[k] > 1.0 / 12 ? kHlgA * std::log(12 * p.c[k] - kHlgB) + kHlgC : std::sqrt(std::max(0.0, 3 * p.c[k]));
    return r;
}

// The eleven pairs the program knows; everything else keeps the values.
const Matrix3& primariesMatrix(int32_t s, int32_t d) {
    struct Pair {
        int32_t s, d;
        const Matrix3* m;
    };
    static const Pair pairs[] = {
        {9, 1, &kBT2020ToBT709},     {9, 5, &kBT2020ToBT601},     {9, 6, &kBT2020ToBT601_525},
        {5, 1, &kBT601ToBT709},      {5, 9, &kBT601ToBT2020},     {1, 6, &kBT709ToBT601_525},
        {1, 5, &kBT709ToBT601},      {1, 9, &kBT709ToBT2020},     {6, 1, &kBT601_525toBT709},
        {6, 9, &kBT601_525toBT2020}, {23, 1, &kAdobeRGBtoBT709},
    };
    for (const Pair& p : pairs)
        if (p.s == s && p.d == d) return *p.m;
    return kIdentity;
}

Pixel convertPixel(Pixel p, const ProgramDescription& s, const ProgramDescription& d) {
    if (s.format == d.format && s.range == d.range && s.primaries == d.primaries && s.transfer == d.transfer &&
        s.matrix == d.matrix)
        return p;
    if (!rgbFormat(s.format)) {
        p = multiply(yuvToRgb(s.matrix, p.c[1], p.c[2]), p);
        p = Pixel{{clamp01(p.c[0]), clamp01(p.c[1]), clamp01(p.c[2]), 1.0}};
    }
    if (s.primaries != d.primaries || s.transfer != d.transfer) {
        if (s.transfer == 18) {
            p = hlgEotf(p);
        } else {
            for (int k = 0; k < 3; ++k) p.c[k] = eotf(p.c[k], curveOf(s.transfer));
        }
        p = multiply(primariesMatrix(s.primaries, d.primaries), p);
        p = Pixel{{clamp01(p.c[0]), clamp01(p.c[1]), clamp01(p.c[2]), 1.0}};
        if (d.transfer == 18) {
            p = hlgOetf(p);
        } else {
            for (int k = 0; k < 3; ++k) p.c[k] = oetf(p.c[k], curveOf(d.transfer));
        }
    }
    if (!rgbFormat(d.format)) {
        p = multiply(rgbToYuv(d.matrix, p), p);
        p = Pixel{{clamp01(p.c[0]), clampChroma(p.c[1]), clampChroma(p.c[2]), p.c[3]}};
    }
    return p;
}

}  // namespace

int32_t textureTwin(int32_t textureFormat) {
    switch (textureFormat) {
    case 401: return kKRORGBA8888Format;
    case 402: return kKROBGRA8888Format;
    case 403: return kKRONV12Format;
    case 404: return kKRONV1210LEFormat;
    case 406: return kKRORGBA16LEFormat;
    default: return 0;
    }
}

void modelColorPass(const FrameBuffers& in, const ProgramDescription& src, FrameBuffers& out,
                    const ProgramDescription& dst) {
    for (int y = 0; y < in.height(); ++y)
        for (int x = 0; x < in.width(); ++x) {
            const Pixel p = normalise(readCodes(in, src.format, x, y), src.format, src.range);
            store(out, dst.format, dst.range, x, y, convertPixel(p, src, dst));
        }
}

void modelScalePass(const FrameBuffers& in, FrameBuffers& out, int32_t format, int32_t range) {
    // Coordinates in single precision, as the program forms them, so that
    // the truncated tap addresses agree.
    const float hscale = float(in.width()) / float(out.width());
    const float vscale = float(in.height()) / float(out.height());
    const float wh = std::min(std::max(0.5f * (hscale - 1.0f), 0.0f), 1.0f);
    const float wv = std::min(std::max(0.5f * (vscale - 1.0f), 0.0f), 1.0f);
    const float dx = wh / (0.5f + wh), dy = wv / (0.5f + wv);
    for (int yo = 0; yo < out.height(); ++yo)
        for (int xo = 0; xo < out.width(); ++xo) {
            const float xi = (float(xo) + 0.5f) * hscale, yi = (float(yo) + 0.5f) * vscale;
            Pixel mean{{0, 0, 0, 0}};
            for (const float ty : {yi - dy, yi + dy})
                for (const float tx : {xi - dx, xi + dx}) {
                    const Pixel p = normalise(readCodes(in, format, int(tx), int(ty)), format, range);
                    for (int k = 0; k < 4; ++k) mean.c[k] += p.c[k] / 4;
                }
            store(out, format, range, xo, yo, mean);
        }
}

int largestTextureCodeDifference(const FrameBuffers& a, const FrameBuffers& b, int32_t textureFormat) {
    int worst = 0;
    const bool words = textureFormat == 404 || textureFormat == 406;
    for (int p = 0; p < a.planeCount(); ++p)
        for (size_t i = 0; i < a.size(p); i += words ? 2 : 1) {
            int u = a.plane(p)[i], v = b.plane(p)[i];
            if (words) {
                u |= a.plane(p)[i + 1] << 8;
                v |= b.plane(p)[i + 1] << 8;
            }
            if (textureFormat == 404) {
                u = int(std::lrint(u * 1023.0 / 65535.0));
                v = int(std::lrint(v * 1023.0 / 65535.0));
            }
            worst = std::max(worst, std::abs(u - v));
        }
    return worst;
}

}  // namespace test
}  // namespace KROCOLOR
