// Normalisation, quantisation, YUV matrices, primaries and whole-pixel
// conversions. Expected codes are worked out by hand (shown) or by
// tests/tools/color_expected.py from the published formulas.
#include <gtest/gtest.h>

#include <array>
#include <cstring>
#include <limits>

#include "KROColorFunctions.h"
#include "color/color_science.h"

using namespace KROCOLOR;

namespace {

ColorSide side(int32_t format, int32_t range = kColorRangeMpeg,
               int32_t primaries = kColorPrimariesBT709, int32_t transfer = kColorTransferBT709,
               int32_t matrix = kColorMatrixBT709) {
    return ColorSide{formatTraits(format), range, primaries, transfer, matrix};
}

NativePixel codes(uint16_t a, uint16_t b, uint16_t c, uint16_t d = 255) {
    return NativePixel{{a, b, c, d}};
}

NativePixel convert(const NativePixel& in, const ColorSide& src, const ColorSide& dst,
                    int32_t peak = 10000) {
    return convertPixel(in, src, dst, peak);
}

#define EXPECT_CODES(px, k0, k1, k2) \
    do {                             \
        const NativePixel q_ = px;   \
        EXPECT_EQ(q_.c[0], k0);      \
        EXPECT_EQ(q_.c[1], k1);      \
        EXPECT_EQ(q_.c[2], k2);      \
    } while (0)

#define EXPECT_PIXEL(px, v0, v1, v2, va) \
    do {                                 \
        const Pixel p_ = px;             \
        EXPECT_FLOAT_EQ(p_.c0, v0);      \
        EXPECT_FLOAT_EQ(p_.c1, v1);      \
        EXPECT_FLOAT_EQ(p_.c2, v2);      \
        EXPECT_FLOAT_EQ(p_.a, va);       \
    } while (0)

TEST(ColorPixel, Bt709LimitedYuvToRgbWorkedByHand) {
    // 8-bit limited range: y = (Y-16)/219, u = (U-128)/224, v = (V-128)/224;
    // R = y + 1.575 v, G = y - 0.187 u - 0.468 v, B = y + 1.856 u; clamp; round(255 c).
    // (126, 100, 200): y = 110/219 = 0.502283, u = -0.125, v = 0.321429
    //   R = 0.502283 + 0.506250 = 1.008533 -> 1 -> 255
    //   G = 0.502283 + 0.023375 - 0.150429 = 0.375230 -> 95.68 -> 96
    //   B = 0.502283 - 0.232000 = 0.270283 -> 68.92 -> 69
    // (81, 90, 150): y = 65/219 = 0.296804, u = -0.169643, v = 0.098214
    //   R = 0.296804 + 0.154688 = 0.451491 -> 115.13 -> 115
    //   G = 0.296804 + 0.031723 - 0.045964 = 0.282563 -> 72.05 -> 72
    //   B = 0.296804 - 0.314857 = -0.018053 -> 0
    const ColorSide src = side(kKROYUV444PFormat);
    const ColorSide dst = side(kKRORGB888Format);
    EXPECT_CODES(convert(codes(126, 100, 200), src, dst), 255, 96, 69);
    EXPECT_CODES(convert(codes(81, 90, 150), src, dst), 115, 72, 0);
    EXPECT_CODES(convert(codes(235, 128, 128), src, dst), 255, 255, 255);
    EXPECT_CODES(convert(codes(16, 128, 128), src, dst), 0, 0, 0);
    // Same through NV12 and the BGR layout (components are R, G, B either way).
    EXPECT_CODES(convert(codes(126, 100, 200), side(kKRONV12Format), side(kKROBGR888Format)), 255, 96, 69);
    // Same format, only the matrix changes: YUV -> RGB (clamped) -> YUV, no curves.
    // R clamped 1, G 0.375230, B 0.270283 (above), then BT.601:
    // Y = 0.299 + 0.5871*0.375230 + 0.114*0.270283 = 0.550112 -> 136.47 -> 136;
    // U = -0.1687 - 0.3313*0.375230 + 0.5*0.270283 = -0.157870 -> 92.64 -> 93;
    // V = 0.5 - 0.4187*0.375230 - 0.0813*0.270283 = 0.320909 -> 199.88 -> 200.
    ColorSide bt601 = src;
    bt601.matrix = kColorMatrixBT470BG;
    EXPECT_CODES(convert(codes(126, 100, 200), src, bt601), 136, 93, 200);
}

TEST(ColorPixel, QuantiseRoundsHalfAwayFromZeroAndLimits) {
    // Full-range 8-bit: Y = 0.5*255 = 127.5 -> 128; U = -0.5*255+128 = 0.5 -> 1
    // (ties-to-even would give 0); V = 0.5*255+128 = 255.5 -> 256 -> 255.
    const Pixel p{0.5f, -0.5f, 0.5f, 1.0f};
    EXPECT_CODES(quantise(p, *formatTraits(kKROYUV444PFormat), kColorRangeJpeg), 128, 1, 255);
    // Full-range 10-bit: a' = 1023, b = 512: U = 0.5 -> 1, V = 1023, Y = 511.5 -> 512.
    EXPECT_CODES(quantise(p, *formatTraits(kKROYUV444P10LEFormat), kColorRangeJpeg), 512, 1, 1023);
    // Limited 8-bit: chroma +-0.5 -> 16 / 240, Y 0.5 -> 125.5 -> 126.
    EXPECT_CODES(quantise(p, *formatTraits(kKRONV12Format), kColorRangeMpeg), 126, 16, 240);
    // Out-of-range and NaN components.
    const float nan = std::numeric_limits<float>::quiet_NaN();
    EXPECT_CODES(quantise(Pixel{-0.3f, 1.7f, nan, 1.0f}, *formatTraits(kKRORGB888Format), 0), 0,
                 255, 0);
    EXPECT_CODES(quantise(Pixel{nan, nan, 2.0f, 1.0f}, *formatTraits(kKROYUV444P16LEFormat), 0), 0,
                 0, 65535);
    EXPECT_CODES(quantise(Pixel{1.0f, 0.25f, 1e30f, 1.0f}, *formatTraits(kKRORGB16LEFormat), 0),
                 65535, 16384, 65535);  // 0.25*65535 = 16383.75
    // RGB without stored alpha reports full scale; RGBA stores round(a * 255).
    EXPECT_EQ(quantise(Pixel{0, 0, 0, 0.0f}, *formatTraits(kKRORGB888Format), 0).c[3], 255);
    EXPECT_EQ(quantise(Pixel{0, 0, 0, 0.5f}, *formatTraits(kKRORGBA8888Format), 0).c[3], 128);
    // Limited-range alpha uses 255 * 2^(d-8): opaque is 1020 at 10 bits and
    // 4080 at 12 bits; full range 1023 / 4095.
    const Pixel opaque{0.0f, 0.0f, 0.0f, 1.0f};
    EXPECT_EQ(quantise(opaque, *formatTraits(kKROYUVA444P10LEFormat), kColorRangeMpeg).c[3], 1020);
    EXPECT_EQ(quantise(opaque, *formatTraits(kKROYUVA444P12LEFormat), kColorRangeMpeg).c[3], 4080);
    EXPECT_EQ(quantise(opaque, *formatTraits(kKROYUVA444P10LEFormat), kColorRangeJpeg).c[3], 1023);
    EXPECT_EQ(quantise(opaque, *formatTraits(kKROYUVA444P12LEFormat), kColorRangeJpeg).c[3], 4095);
    // CMYK: red is K = 0, C = 0, M = Y = 1; grey 0.5 is K = 127.5 -> 128 and
    // no colour; black (and anything clamped to it) K = 1, C = M = Y = 0.
    const auto& cmyk = *formatTraits(kKROCMYK8888Format);
    const NativePixel red = quantise(Pixel{1.0f, 0.0f, 0.0f, 1.0f}, cmyk, 0);
    EXPECT_CODES(red, 0, 255, 255);
    EXPECT_EQ(red.c[3], 0);
    const NativePixel grey = quantise(Pixel{0.5f, 0.5f, 0.5f, 1.0f}, cmyk, 0);
    EXPECT_CODES(grey, 0, 0, 0);
    EXPECT_EQ(grey.c[3], 128);
    const NativePixel black = quantise(Pixel{-1.0f, 0.0f, 0.0f, 1.0f}, cmyk, 0);
    EXPECT_CODES(black, 0, 0, 0);
    EXPECT_EQ(black.c[3], 255);
}

TEST(ColorPixel, IdenticalDescriptionsRequantise) {
    const ColorSide s = side(kKRONV12Format);
    // Y 10 -> clamped to 0 -> 16; U 250 -> clamped to 0.5 -> 240; 128 stays.
    EXPECT_CODES(convert(codes(10, 250, 128), s, s), 16, 240, 128);
    EXPECT_CODES(convert(codes(240, 3, 100), s, s), 235, 16, 100);
    // A full-range description keeps every in-range code.
    const ColorSide f = side(kKROYUV444P10LEFormat, kColorRangeJpeg);
    EXPECT_CODES(convert(codes(0, 1023, 517), f, f), 0, 1023, 517);
    // Range values other than 2 are all limited.
    EXPECT_CODES(convert(codes(10, 250, 128), side(kKRONV12Format, 7), side(kKRONV12Format, 7)), 16,
                 240, 128);
}

TEST(ColorPixel, NormaliseByFormatRule) {
    const auto& p10 = *formatTraits(kKRONV1210LEFormat);
    // 10-bit limited: s = 4; Y 64 -> 0, 940 -> 1; chroma 512 -> 0, 960 -> 0.5.
    EXPECT_PIXEL(normalise(NativePixel{{940, 512, 960, 0}}, p10, kColorRangeMpeg), 1.0f, 0.0f, 0.5f, 1.0f);
    // Full 16-bit: b = 32768, a = 65535; U -32768/65535 is clamped to -0.5.
    EXPECT_PIXEL(normalise(NativePixel{{65535, 0, 32768, 0}}, *formatTraits(kKRONV1216LEFormat), kColorRangeJpeg),
                 1.0f, -0.5f, 0.0f, 1.0f);
    // RGBA 16-bit keeps alpha; RGB888 reads alpha 1.
    EXPECT_FLOAT_EQ(normalise(NativePixel{{0, 0, 0, 32768}}, *formatTraits(kKRORGBA16BEFormat), 0).a,
                    32768.0f / 65535.0f);
    EXPECT_FLOAT_EQ(normalise(NativePixel{{0, 0, 0, 0}}, *formatTraits(kKRORGB888Format), 0).a, 1.0f);
    // CMYK: K' = 1 - K/255, R = (1 - C/255) K'.
    EXPECT_PIXEL(normalise(NativePixel{{0, 255, 51, 51}}, *formatTraits(kKROCMYK8888Format), 0), 0.8f, 0.0f, 0.64f,
                 1.0f);
    // Limited alpha 510 of 10 bits is 510/4/255 = 0.5.
    EXPECT_FLOAT_EQ(
        normalise(NativePixel{{64, 512, 512, 510}}, *formatTraits(kKROYUVA444P10LEFormat), kColorRangeMpeg).a, 0.5f);
    // A byte-only format reads as zeros.
    EXPECT_PIXEL(normalise(NativePixel{{9, 9, 9, 9}}, *formatTraits(kKROI8Format), 0), 0.0f, 0.0f, 0.0f, 0.0f);
}

struct MatrixCase {
    int32_t matrix;
    float r;  // R of (Y, U, V) = (0.5, 0.1, 0.1)
    float b;  // B of the same pixel
};

class ColorPixelMatrix : public ::testing::TestWithParam<MatrixCase> {};

TEST_P(ColorPixelMatrix, SelectsTableByValue) {
    const MatrixCase& m = GetParam();
    const auto& yuv = *formatTraits(kKROYUV444PFormat);
    const Pixel p = yuvToRgb(Pixel{0.5f, 0.1f, 0.1f, 0.3f}, yuv, m.matrix);
    EXPECT_NEAR(p.c0, m.r, 1e-6);
    EXPECT_NEAR(p.c2, m.b, 1e-6);
    EXPECT_EQ(p.a, 1.0f);
    // RGB-class formats never see a matrix.
    const Pixel q = yuvToRgb(Pixel{0.5f, 0.1f, 0.1f, 0.3f}, *formatTraits(kKRORGBA8888Format),
                             m.matrix);
    EXPECT_EQ(q.c1, 0.1f);
    EXPECT_EQ(q.a, 0.3f);
}

// R = Y + Kv V, B = Y + Ku U with each table's coefficients; YCgCo: R = Y - Cg + Co,
// B = Y - Cg - Co. BT.709 for 0 (RGB), 1, 4 (FCC), 7 (SMPTE 240M), 13, 14 and
// unknown values; BT.601 for 5, 6, 11, 12; BT.2020 for 9; YCgCo 8; BT.2020 CL 10.
INSTANTIATE_TEST_SUITE_P(
    Values, ColorPixelMatrix,
    ::testing::Values(MatrixCase{1, 0.6575f, 0.6856f}, MatrixCase{0, 0.6575f, 0.6856f}, MatrixCase{4, 0.6575f, 0.6856f},
                      MatrixCase{7, 0.6575f, 0.6856f}, MatrixCase{13, 0.6575f, 0.6856f}, MatrixCase{14, 0.6575f, 0.6856f},
                      MatrixCase{-3, 0.6575f, 0.6856f}, MatrixCase{5, 0.6402f, 0.6772f}, MatrixCase{6, 0.6402f, 0.6772f},
                      MatrixCase{11, 0.6402f, 0.6772f}, MatrixCase{12, 0.6402f, 0.6772f},
                      MatrixCase{9, 0.64746f, 0.68814f}, MatrixCase{8, 0.5f, 0.3f}, MatrixCase{10, 0.59938f, 0.6582f}));

TEST(ColorPixel, Bt2020ConstantLuminanceClasses) {
    const auto& yuv = *formatTraits(kKROYUV444P16LEFormat);
    const int32_t cl = kColorMatrixBT2020_CL;
    // YUV -> RGB, (Y, U, V) = (0.5, +-0.1, +-0.1):
    //   R = 0.5 + 1.7182 V (V <= 0) or 0.9938 V (V > 0);
    //   B = 0.5 + 1.9404 U (_00), 1.94 U (_01), 1.582 U (U > 0).
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
    // is 1 in double), which is class _00: U = -0.1354 - 0.3494 + 0.4848 = 0 ->
    // 16-bit limited code 128*256 = 32768. The "> 0" class would give
    // U = -0.0001 -> 32762.
    EXPECT_CODES(quantise(rgbToYuv(Pixel{1, 1, 1, 1}, yuv, cl), yuv, kColorRangeMpeg), 60160,
                 32768, 32768);
    // Pure red: Y = 0.2627 -> (0.2627*219 + 16)*256 = 18824.0; B - Y' < 0,
    // R - Y' > 0 -> _01: U = -0.1354 -> (128 - 30.3296) * 256
    // = 25003.6 -> 25004; V = 0.7419 clamped to 0.5 -> 240 * 256 = 61440.
    EXPECT_CODES(quantise(rgbToYuv(Pixel{1, 0, 0, 1}, yuv, cl), yuv, kColorRangeMpeg), 18824,
                 25004, 61440);
}

// The primaries matrices against the conversions derived from the published
// chromaticities with the D65 white (ITU-R BT.709, BT.2020, EBU 3213 for
// BT.470BG, SMPTE 170M, SMPTE EG 432-1): inverse(NPM_dst) * NPM_src. The
// tables are rounded to four decimals. The pairs left out (BT.470BG to
// BT.2020 and Display P3, BT.709 to SMPTE 170M, Display P3 to BT.470BG)
// carry the library's own coefficients, which differ from the derivation.
struct Chromaticities {
    double rx, ry, gx, gy, bx, by;
};

using Matrix3x3 = std::array<std::array<double, 3>, 3>;

Matrix3x3 inverse(const Matrix3x3& m) {
    Matrix3x3 r{};
    const double det = m[0][0] * (m[1][1] * m[2][2] - m[1][2] * m[2][1]) -
                       m[0][1] * (m[1][0] * m[2][2] - m[1][2] * m[2][0]) +
                       m[0][2] * (m[1][0] * m[2][1] - m[1][1] * m[2][0]);
    for (int i = 0; i < 3; ++i)
        for (int j = 0; j < 3; ++j) {
            const int a = (j + 1) % 3, b = (j + 2) % 3, c = (i + 1) % 3, d = (i + 2) % 3;
            r[i][j] = (m[a][c] * m[b][d] - m[a][d] * m[b][c]) / det;
        }
    return r;
}

// RGB -> XYZ with D65 white (0.3127, 0.3290).
Matrix3x3 npm(const Chromaticities& p) {
    const double xy[3][2] = {{p.rx, p.ry}, {p.gx, p.gy}, {p.bx, p.by}};
    Matrix3x3 m{};
    for (int k = 0; k < 3; ++k) {
        m[0][k] = xy[k][0] / xy[k][1];
        m[1][k] = 1.0;
        m[2][k] = (1.0 - xy[k][0] - xy[k][1]) / xy[k][1];
    }
    const double w[3] = {0.3127 / 0.3290, 1.0, (1.0 - 0.3127 - 0.3290) / 0.3290};
    const Matrix3x3 inv = inverse(m);
    for (int k = 0; k < 3; ++k) {
        const double s = inv[k][0] * w[0] + inv[k][1] * w[1] + inv[k][2] * w[2];
        for (int r = 0; r < 3; ++r) m[r][k] *= s;
    }
    return m;
}

Chromaticities chromaticities(int32_t primaries) {
    switch (primaries) {
    case kColorPrimariesBT709: return {0.64, 0.33, 0.30, 0.60, 0.15, 0.06};
    case kColorPrimariesBT470BG: return {0.64, 0.33, 0.29, 0.60, 0.15, 0.06};
    case kColorPrimariesSMPTE170M: return {0.630, 0.340, 0.310, 0.595, 0.155, 0.070};
    case kColorPrimariesBT2020: return {0.708, 0.292, 0.170, 0.797, 0.131, 0.046};
    default: return {0.680, 0.320, 0.265, 0.690, 0.150, 0.060};  // Display P3
    }
}

TEST(ColorPixel, PrimariesMatricesFollowFromChromaticities) {
    const int32_t pairs[][2] = {{1, 9}, {9, 1}, {12, 1}, {1, 12}, {12, 9}, {9, 12}, {5, 1},
                                {1, 5}, {9, 5}, {6, 1}, {6, 9}, {9, 6}};
    for (const auto& pair : pairs) {
        const Matrix3x3 src = npm(chromaticities(pair[0])), toDst = inverse(npm(chromaticities(pair[1])));
        const Matrix3& table = primariesMatrix(pair[0], pair[1]);
        for (int r = 0; r < 3; ++r)
            for (int c = 0; c < 3; ++c) {
                const double derived = toDst[r][0] * src[0][c] + toDst[r][1] * src[1][c] + toDst[r][2] * src[2][c];
                EXPECT_NEAR(table.m[r][c], derived, 1e-4) << pair[0] << "->" << pair[1] << " [" << r << "][" << c << "]";
            }
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
    // BT.709 red (255, 0, 0) -> linear (1, 0, 0) -> BT.2087 matrix column 0
    // (0.6274, 0.0691, 0.0164) -> BT.709 OETF -> 201.97, 58.95, 18.82 (see
    // color_expected.py) -> (202, 59, 19).
    const NativePixel red = codes(255, 0, 0);
    const ColorSide to2020 = side(kKRORGB888Format, 0, kColorPrimariesBT2020);
    EXPECT_CODES(convert(red, side(kKRORGB888Format), to2020), 202, 59, 19);
    EXPECT_CODES(convert(red, side(kKRORGB888Format, 0, kColorPrimariesAdobeRGB), to2020), 202, 59,
                 19);
    // BT.709 -> BT.470BG: 0.9578 -> 249.6 -> 250.
    EXPECT_CODES(convert(red, side(kKRORGB888Format), side(kKRORGB888Format, 0, kColorPrimariesBT470BG)),
                 250, 0, 0);
    // Between the two BT.601 variants nothing changes (identity, same transfer).
    const ColorSide bg = side(kKRORGB888Format, 0, kColorPrimariesBT470BG, kColorTransferSMPTE170M);
    const ColorSide m = side(kKRORGB888Format, 0, kColorPrimariesSMPTE170M, kColorTransferSMPTE170M);
    EXPECT_CODES(convert(red, bg, m), 255, 0, 0);
    EXPECT_CODES(convert(codes(40, 128, 200), m, bg), 40, 128, 200);
}

TEST(ColorPixel, AlphaKeptOnlyBetweenRgbFormatsWithoutHlg) {
    const ColorSide srgb = side(kKRORGBA8888Format, 0, kColorPrimariesBT709, kColorTransferIEC61966_2_1);
    const ColorSide g22 = side(kKRORGBA8888Format, 0, kColorPrimariesBT709, kColorTransferGAMMA22);
    const ColorSide hlg = side(kKRORGBA8888Format, 0, kColorPrimariesBT709, kColorTransferARIB_STD_B67);
    EXPECT_EQ(convert(codes(10, 20, 30, 77), srgb, g22).c[3], 77);
    EXPECT_EQ(convert(codes(10, 20, 30, 77), hlg, g22).c[3], 255);  // the HLG EOTF sets alpha
    // A YUVA destination is opaque: RGB -> YUV sets alpha (1020 at 10-bit limited).
    EXPECT_EQ(convert(codes(10, 20, 30, 77), side(kKRORGBA8888Format), side(kKROYUVA444P10LEFormat)).c[3], 1020);
}

TEST(ColorPixel, PqToPqUsesSourcePeak) {
    // Identity primaries (BT.470BG -> SMPTE 170M) so only the PQ factors act:
    // 10000/Lpk then 0.1. Lpk = 1000 keeps luminance; 10000 divides it by 10.
    const ColorSide src = side(kKRORGB16LEFormat, 0, kColorPrimariesBT470BG, kColorTransferSMPTE2084);
    const ColorSide dst = side(kKRORGB16LEFormat, 0, kColorPrimariesSMPTE170M, kColorTransferSMPTE2084);
    const struct {
        uint16_t in, at1000, at10000;  // color_expected.py "PQ->PQ"
    } cases[] = {{20000, 20000, 10060}, {40000, 40000, 25108}, {60000, 60000, 43616}};
    for (const auto& c : cases) {
        EXPECT_NEAR(convert(codes(c.in, c.in, c.in), src, dst, 1000).c[0], c.at1000, 2);
        EXPECT_NEAR(convert(codes(c.in, c.in, c.in), src, dst, 10000).c[1], c.at10000, 2);
    }
}

}  // namespace
