// Normalisation, quantisation, YUV matrices, primaries and whole-pixel
// conversions. Expected codes are worked out by hand (shown) or by
// tests/tools/color_expected.py from the published formulas.
#include <gtest/gtest.h>

#include <array>
#include <cstring>
#include <limits>
#include <map>

#include "KROColorFunctions.h"
#include "color/color_science.h"

using namespace KROCOLOR;

namespace {

using Codes = std::array<int, 4>;

ColorSide side(int32_t format, int32_t range = kColorRangeMpeg, int32_t primaries = kColorPrimariesBT709,
               int32_t transfer = kColorTransferBT709, int32_t matrix = kColorMatrixBT709) {
    return ColorSide{formatTraits(format), range, primaries, transfer, matrix};
}

Codes codes(const NativePixel& p) { return {p.c[0], p.c[1], p.c[2], p.c[3]}; }

// Compares the components of `want` that are not -1.
void expectCodes(const Codes& got, const Codes& want, int where) {
    for (size_t i = 0; i < 4; ++i)
        if (want[i] >= 0) {
            EXPECT_EQ(got[i], want[i]) << "case " << where << ", component " << i;
        }
}
Codes convert(Codes in, const ColorSide& src, const ColorSide& dst, int32_t peak = 10000) {
    NativePixel n;
    for (int i = 0; i < 4; ++i) n.c[i] = static_cast<uint16_t>(in[i]);
    return codes(convertPixel(n, src, dst, peak));
}
std::array<float, 4> normalised(Codes in, int32_t format, int32_t range = 0) {
    NativePixel n;
    for (int i = 0; i < 4; ++i) n.c[i] = static_cast<uint16_t>(in[i]);
    const Pixel p = normalise(n, *formatTraits(format), range);
    return {p.c0, p.c1, p.c2, p.a};
}
using Floats = std::array<float, 4>;

TEST(ColorPixel, Bt709LimitedYuvToRgbWorkedByHand) {
    // 8-bit limited range: y = (Y-16)/219, u = (U-128)/224, v = (V-128)/224;
    // R = y + 1.575 v, G = y - 0.187 u - 0.468 v, B = y + 1.856 u; clamp; round(255 c).
    // (126, 100, 200): y = 0.502283, u = -0.125, v = 0.321429
    //   R = 1.008533 -> 255; G = 0.375230 -> 95.68 -> 96; B = 0.270283 -> 68.92 -> 69
    // (81, 90, 150): y = 0.296804, u = -0.169643, v = 0.098214
    //   R = 0.451491 -> 115; G = 0.282563 -> 72; B = -0.018053 -> 0
    const ColorSide src = side(kKROYUV444PFormat), dst = side(kKRORGB888Format);
    expectCodes(convert({126, 100, 200, 255}, src, dst), Codes{255, 96, 69, -1}, __LINE__);
    expectCodes(convert({81, 90, 150, 255}, src, dst), Codes{115, 72, 0, -1}, __LINE__);
    expectCodes(convert({235, 128, 128, 255}, src, dst), Codes{255, 255, 255, -1}, __LINE__);
    expectCodes(convert({16, 128, 128, 255}, src, dst), Codes{0, 0, 0, -1}, __LINE__);
    // Same through NV12 and the BGR layout (components are R, G, B either way).
    expectCodes(convert({126, 100, 200, 255}, side(kKRONV12Format), side(kKROBGR888Format)),
                Codes{255, 96, 69, -1}, __LINE__);
    // Same format, only the matrix changes: YUV -> RGB (R clamped to 1) -> BT.601 YUV, no curves:
    // Y = 0.299 + 0.5871*0.375230 + 0.114*0.270283 = 0.550112 -> 136.47 -> 136;
    // U = -0.1687 - 0.3313*0.375230 + 0.5*0.270283 = -0.157870 -> 92.64 -> 93;
    // V = 0.5 - 0.4187*0.375230 - 0.0813*0.270283 = 0.320909 -> 199.88 -> 200.
    expectCodes(convert({126, 100, 200, 255}, src, side(kKROYUV444PFormat, 1, 1, 1, kColorMatrixBT470BG)),
                Codes{136, 93, 200, -1}, __LINE__);
}

TEST(ColorPixel, QuantiseRoundsHalfAwayFromZeroAndLimits) {
    // Full-range 8-bit: Y = 127.5 -> 128; U = -0.5*255+128 = 0.5 -> 1 (ties-to-even
    // would give 0); V = 255.5 -> 255. Full-range 10-bit: U 0.5 -> 1, V 1023,
    // Y 511.5 -> 512. Limited 8-bit: chroma +-0.5 -> 16 / 240, Y 125.5 -> 126.
    const Pixel p{0.5f, -0.5f, 0.5f, 1.0f};
    const float nan = std::numeric_limits<float>::quiet_NaN();
    const struct {
        Pixel in;
        int32_t format, range;
        Codes out;
    } cases[] = {
        {p, kKROYUV444PFormat, kColorRangeJpeg, {128, 1, 255, -1}},
        {p, kKROYUV444P10LEFormat, kColorRangeJpeg, {512, 1, 1023, -1}},
        {p, kKRONV12Format, kColorRangeMpeg, {126, 16, 240, -1}},
        // Out-of-range and NaN components; RGB without stored alpha reports full scale.
        {{-0.3f, 1.7f, nan, 0.0f}, kKRORGB888Format, 0, {0, 255, 0, 255}},
        {{nan, nan, 2.0f, 1.0f}, kKROYUV444P16LEFormat, 0, {0, 0, 65535, -1}},
        {{1.0f, 0.25f, 1e30f, 1.0f}, kKRORGB16LEFormat, 0, {65535, 16384, 65535, -1}},  // 16383.75
        {{0, 0, 0, 0.5f}, kKRORGBA8888Format, 0, {0, 0, 0, 128}},
        // Limited-range alpha uses 255 * 2^(d-8): opaque is 1020 at 10 bits and
        // 4080 at 12 bits; full range 1023 / 4095 (Y, U, V of black).
        {{0, 0, 0, 1}, kKROYUVA444P10LEFormat, kColorRangeMpeg, {64, 512, 512, 1020}},
        {{0, 0, 0, 1}, kKROYUVA444P12LEFormat, kColorRangeMpeg, {256, 2048, 2048, 4080}},
        {{0, 0, 0, 1}, kKROYUVA444P10LEFormat, kColorRangeJpeg, {0, 512, 512, 1023}},
        {{0, 0, 0, 1}, kKROYUVA444P12LEFormat, kColorRangeJpeg, {0, 2048, 2048, 4095}},
        // CMYK: red is C = 0, M = Y = 1, K = 0; grey 0.5 is K = 127.5 -> 128 and no
        // colour; black (and anything clamped to it) K = 1, C = M = Y = 0.
        {{1, 0, 0, 1}, kKROCMYK8888Format, 0, {0, 255, 255, 0}},
        {{0.5f, 0.5f, 0.5f, 1}, kKROCMYK8888Format, 0, {0, 0, 0, 128}},
        {{-1, 0, 0, 1}, kKROCMYK8888Format, 0, {0, 0, 0, 255}},
    };
    for (const auto& c : cases) expectCodes(codes(quantise(c.in, *formatTraits(c.format), c.range)), c.out, c.format);
}

TEST(ColorPixel, IdenticalDescriptionsRequantise) {
    const ColorSide s = side(kKRONV12Format), f = side(kKROYUV444P10LEFormat, kColorRangeJpeg);
    // Y 10 -> clamped to 0 -> 16; U 250 -> clamped to 0.5 -> 240; 128 stays.
    expectCodes(convert({10, 250, 128, 255}, s, s), Codes{16, 240, 128, -1}, __LINE__);
    expectCodes(convert({240, 3, 100, 255}, s, s), Codes{235, 16, 100, -1}, __LINE__);
    // A full-range description keeps every in-range code.
    expectCodes(convert({0, 1023, 517, 0}, f, f), Codes{0, 1023, 517, -1}, __LINE__);
    // Range values other than 2 are all limited.
    expectCodes(convert({10, 250, 128, 255}, side(kKRONV12Format, 7), side(kKRONV12Format, 7)),
                Codes{16, 240, 128, -1}, __LINE__);
}

TEST(ColorPixel, NormaliseByFormatRule) {
    // 10-bit limited: s = 4; Y 64 -> 0, 940 -> 1; chroma 512 -> 0, 960 -> 0.5.
    EXPECT_EQ(normalised({940, 512, 960, 0}, kKRONV1210LEFormat, kColorRangeMpeg), (Floats{1, 0, 0.5f, 1}));
    // Full 16-bit: b = 32768, a = 65535; U -32768/65535 is clamped to -0.5.
    EXPECT_EQ(normalised({65535, 0, 32768, 0}, kKRONV1216LEFormat, kColorRangeJpeg), (Floats{1, -0.5f, 0, 1}));
    // RGBA 16-bit keeps alpha; RGB888 reads alpha 1.
    EXPECT_FLOAT_EQ(normalised({0, 0, 0, 32768}, kKRORGBA16BEFormat)[3], 32768.0f / 65535.0f);
    EXPECT_EQ(normalised({0, 0, 0, 0}, kKRORGB888Format)[3], 1.0f);
    // CMYK: K' = 1 - K/255, R = (1 - C/255) K': K 51 -> 0.8, C 0 -> 0.8, M 255 -> 0, Y 51 -> 0.64.
    const Floats cmyk = normalised({0, 255, 51, 51}, kKROCMYK8888Format);
    for (int i = 0; i < 4; ++i) EXPECT_FLOAT_EQ(cmyk[size_t(i)], (Floats{0.8f, 0, 0.64f, 1})[size_t(i)]) << i;
    // Limited alpha 510 of 10 bits is 510/4/255 = 0.5; a byte-only format reads as zeros.
    EXPECT_FLOAT_EQ(normalised({64, 512, 512, 510}, kKROYUVA444P10LEFormat, kColorRangeMpeg)[3], 0.5f);
    EXPECT_EQ(normalised({9, 9, 9, 9}, kKROI8Format), (Floats{0, 0, 0, 0}));
}

// R = Y + Kv V, B = Y + Ku U for (Y, U, V) = (0.5, 0.1, 0.1) with each table's
// coefficients; YCgCo: R = Y - Cg + Co, B = Y - Cg - Co. BT.709 for 0 (RGB),
// 1, 4 (FCC), 7 (SMPTE 240M), 13, 14 and unknown values; BT.601 for 5, 6,
// 11, 12; BT.2020 for 9; YCgCo 8; BT.2020 CL 10 (class _11).
TEST(ColorPixel, YuvMatrixSelectedByValue) {
    const struct {
        int32_t matrix;
        float r, b;
    } cases[] = {{1, 0.6575f, 0.6856f},   {0, 0.6575f, 0.6856f},  {4, 0.6575f, 0.6856f},  {7, 0.6575f, 0.6856f},
                 {13, 0.6575f, 0.6856f},  {14, 0.6575f, 0.6856f}, {-3, 0.6575f, 0.6856f}, {5, 0.6402f, 0.6772f},
                 {6, 0.6402f, 0.6772f},   {11, 0.6402f, 0.6772f}, {12, 0.6402f, 0.6772f}, {9, 0.64746f, 0.68814f},
                 {8, 0.5f, 0.3f},         {10, 0.59938f, 0.6582f}};
    const Pixel in{0.5f, 0.1f, 0.1f, 0.3f};
    for (const auto& c : cases) {
        const Pixel p = yuvToRgb(in, *formatTraits(kKROYUV444PFormat), c.matrix);
        EXPECT_NEAR(p.c0, c.r, 1e-6) << c.matrix;
        EXPECT_NEAR(p.c2, c.b, 1e-6) << c.matrix;
        EXPECT_EQ(p.a, 1.0f) << c.matrix;
        // RGB-class formats never see a matrix.
        const Pixel q = yuvToRgb(in, *formatTraits(kKRORGBA8888Format), c.matrix);
        EXPECT_EQ(q.c1, 0.1f) << c.matrix;
        EXPECT_EQ(q.a, 0.3f) << c.matrix;
    }
}

TEST(ColorPixel, Bt2020ConstantLuminanceClasses) {
    const auto& yuv = *formatTraits(kKROYUV444P16LEFormat);
    const int32_t cl = kColorMatrixBT2020_CL;
    // YUV -> RGB, (Y, U, V) = (0.5, +-0.1, +-0.1): R = 0.5 + 1.7182 V (V <= 0) or
    // 0.9938 V (V > 0); B = 0.5 + 1.9404 U (_00), 1.94 U (_01), 1.582 U (U > 0).
    const struct {
        float u, v, r, g, b;
    } quads[] = {
        {-0.1f, -0.1f, 0.32818f, 0.5f + 0.01697f + 0.06657f, 0.30596f},  // _00
        {-0.1f, 0.1f, 0.59938f, 0.5f + 0.01697f - 0.03851f, 0.306f},     // _01
        {0.1f, -0.1f, 0.32818f, 0.5f - 0.01384f + 0.06658f, 0.6582f},    // _10
        {0.1f, 0.1f, 0.59938f, 0.5f - 0.01384f - 0.03851f, 0.6582f},     // _11
        {0.0f, 0.0f, 0.5f, 0.5f, 0.5f},
    };
    for (const auto& q : quads) {
        const Pixel p = yuvToRgb(Pixel{0.5f, q.u, q.v, 0.0f}, yuv, cl);
        EXPECT_NEAR(p.c0, q.r, 1e-6) << q.u << "," << q.v;
        EXPECT_NEAR(p.c1, q.g, 1e-6) << q.u << "," << q.v;
        EXPECT_NEAR(p.c2, q.b, 1e-6) << q.u << "," << q.v;
    }
    // RGB -> YUV: white has B - Y' = R - Y' = 0 exactly (0.2627 + 0.678 + 0.0593
    // is 1 in double): class _00, U = -0.1354 - 0.3494 + 0.4848 = 0 -> 16-bit
    // limited 128*256 = 32768 (the "> 0" class would give U = -0.0001 -> 32762).
    // Pure red: Y = 0.2627 -> (0.2627*219 + 16)*256 = 18824.0; class _01:
    // U = -0.1354 -> (128 - 30.3296) * 256 = 25003.6 -> 25004; V = 0.7419 -> 0.5 -> 61440.
    expectCodes(codes(quantise(rgbToYuv(Pixel{1, 1, 1, 1}, yuv, cl), yuv, kColorRangeMpeg)),
                Codes{60160, 32768, 32768, -1}, __LINE__);
    expectCodes(codes(quantise(rgbToYuv(Pixel{1, 0, 0, 1}, yuv, cl), yuv, kColorRangeMpeg)),
                Codes{18824, 25004, 61440, -1}, __LINE__);
}

// The primaries matrices against the conversions derived from the published
// chromaticities with the D65 white (ITU-R BT.709, BT.2020, EBU 3213 for
// BT.470BG, SMPTE 170M, SMPTE EG 432-1): inverse(NPM_dst) * NPM_src, to the
// tables' four decimals. The pairs left out (BT.470BG to BT.2020 and Display
// P3, BT.709 to SMPTE 170M, Display P3 to BT.470BG) carry the library's own
// coefficients, which differ from the derivation.
using M3 = std::array<std::array<double, 3>, 3>;

M3 multiply(const M3& a, const M3& b) {
    M3 r{};
    for (int i = 0; i < 3; ++i)
        for (int j = 0; j < 3; ++j)
            for (int k = 0; k < 3; ++k) r[i][j] += a[i][k] * b[k][j];
    return r;
}

M3 inverse(const M3& m) {  // adjugate / determinant
    M3 r{};
    for (int i = 0; i < 3; ++i)
        for (int j = 0; j < 3; ++j) {
            const int a = (j + 1) % 3, b = (j + 2) % 3, c = (i + 1) % 3, d = (i + 2) % 3;
            r[i][j] = m[a][c] * m[b][d] - m[a][d] * m[b][c];
        }
    const double det = m[0][0] * r[0][0] + m[0][1] * r[1][0] + m[0][2] * r[2][0];
    for (auto& row : r)
        for (double& v : row) v /= det;
    return r;
}

// RGB -> XYZ for primaries (rx, ry, gx, gy, bx, by) and the D65 white (0.3127, 0.3290).
M3 npm(int32_t primaries) {
    const std::map<int32_t, std::array<double, 6>> xy = {
        {kColorPrimariesBT709, {0.64, 0.33, 0.30, 0.60, 0.15, 0.06}},
        {kColorPrimariesBT470BG, {0.64, 0.33, 0.29, 0.60, 0.15, 0.06}},
        {kColorPrimariesSMPTE170M, {0.630, 0.340, 0.310, 0.595, 0.155, 0.070}},
        {kColorPrimariesBT2020, {0.708, 0.292, 0.170, 0.797, 0.131, 0.046}},
        {kColorPrimariesSMPTE432, {0.680, 0.320, 0.265, 0.690, 0.150, 0.060}}};
    const auto& p = xy.at(primaries);
    M3 m{};
    for (int k = 0; k < 3; ++k) {
        const double x = p[size_t(2 * k)], y = p[size_t(2 * k + 1)];
        m[0][k] = x / y, m[1][k] = 1.0, m[2][k] = (1.0 - x - y) / y;
    }
    const M3 s = multiply(inverse(m), M3{{{0.3127 / 0.3290, 0, 0}, {1.0, 0, 0}, {(1.0 - 0.3127 - 0.3290) / 0.3290, 0, 0}}});
    for (int k = 0; k < 3; ++k)
        for (int r = 0; r < 3; ++r) m[r][k] *= s[k][0];
    return m;
}

TEST(ColorPixel, PrimariesMatricesFollowFromChromaticities) {
    const int32_t pairs[][2] = {{1, 9}, {9, 1}, {12, 1}, {1, 12}, {12, 9}, {9, 12},
                                {5, 1}, {1, 5}, {9, 5},  {6, 1},  {6, 9},  {9, 6}};
    for (const auto& pair : pairs) {
        const M3 derived = multiply(inverse(npm(pair[1])), npm(pair[0]));
        const Matrix3& table = primariesMatrix(pair[0], pair[1]);
        for (int r = 0; r < 3; ++r)
            for (int c = 0; c < 3; ++c)
                EXPECT_NEAR(table.m[r][c], derived[r][c], 1e-4) << pair[0] << "->" << pair[1] << " [" << r << "][" << c << "]";
    }
}

bool sameValues(const Matrix3& a, const Matrix3& b) { return std::memcmp(&a, &b, sizeof a) == 0; }

TEST(ColorPixel, PrimariesPairsWithoutATable) {
    const Matrix3 unit{{{1, 0, 0}, {0, 1, 0}, {0, 0, 1}}};
    // No conversion between the two BT.601 variants, towards Adobe RGB, from
    // ProPhoto except to BT.709, between equal or unknown primaries.
    const int32_t identityPairs[][2] = {{5, 6}, {6, 5}, {1, 23}, {24, 9}, {9, 9}, {2, 1}, {-1, 1000}};
    for (const auto& p : identityPairs) EXPECT_TRUE(sameValues(primariesMatrix(p[0], p[1]), unit)) << p[0] << "->" << p[1];
    // Adobe RGB has its own table only towards BT.709; elsewhere it converts as BT.709.
    for (int32_t dst : {5, 6, 9, 11, 12})
        EXPECT_TRUE(sameValues(primariesMatrix(kColorPrimariesAdobeRGB, dst), primariesMatrix(kColorPrimariesBT709, dst)))
            << dst;
    EXPECT_FALSE(sameValues(primariesMatrix(kColorPrimariesAdobeRGB, kColorPrimariesBT709), unit));
}

TEST(ColorPixel, PrimariesConversionEndToEnd) {
    // BT.709 red -> linear (1, 0, 0) -> BT.2087 matrix column 0 (0.6274, 0.0691,
    // 0.0164) -> BT.709 OETF -> 201.97, 58.95, 18.82 (color_expected.py). The
    // other tables are held to their chromaticities above.
    const ColorSide to2020 = side(kKRORGB888Format, 0, kColorPrimariesBT2020);
    expectCodes(convert({255, 0, 0, 255}, side(kKRORGB888Format), to2020), Codes{202, 59, 19, -1}, __LINE__);
}

TEST(ColorPixel, AlphaKeptOnlyBetweenRgbFormatsWithoutHlg) {
    const ColorSide g22 = side(kKRORGBA8888Format, 0, kColorPrimariesBT709, kColorTransferGAMMA22);
    const Codes in{10, 20, 30, 77};
    EXPECT_EQ(convert(in, side(kKRORGBA8888Format, 0, 1, kColorTransferIEC61966_2_1), g22)[3], 77);
    EXPECT_EQ(convert(in, side(kKRORGBA8888Format, 0, 1, kColorTransferARIB_STD_B67), g22)[3], 255);  // HLG EOTF sets it
    // A YUVA destination is opaque: RGB -> YUV sets alpha (1020 at 10-bit limited).
    EXPECT_EQ(convert(in, side(kKRORGBA8888Format), side(kKROYUVA444P10LEFormat))[3], 1020);
}

TEST(ColorPixel, PqToPqUsesSourcePeak) {
    // Identity primaries (BT.470BG -> SMPTE 170M) so only the PQ factors act:
    // 10000/Lpk then 0.1. Lpk = 1000 keeps luminance; 10000 divides it by 10.
    const ColorSide src = side(kKRORGB16LEFormat, 0, kColorPrimariesBT470BG, kColorTransferSMPTE2084);
    const ColorSide dst = side(kKRORGB16LEFormat, 0, kColorPrimariesSMPTE170M, kColorTransferSMPTE2084);
    const int cases[][3] = {{20000, 20000, 10060}, {40000, 40000, 25108}, {60000, 60000, 43616}};  // "PQ->PQ"
    for (const auto& c : cases) {
        EXPECT_NEAR(convert({c[0], c[0], c[0], 0}, src, dst, 1000)[0], c[1], 2);
        EXPECT_NEAR(convert({c[0], c[0], c[0], 0}, src, dst, 10000)[1], c[2], 2);
    }
}

}  // namespace
