// Normalisation, quantisation, YUV matrices, primaries and whole-pixel
// conversions. Expected codes are worked out by hand (shown) or by
// tests/tools/color_expected.py from the published formulas.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "KROColorFunctions.h"
#include "color/color_science.h"
#include "color/color_constants.h"

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
    EXPECT_CODES(convert(codes(126, 100, 200), side(kKRONV12Format), side(kKROBGR888Format)), 255,
                 96, 69);
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
}

TEST(ColorPixel, LimitedRangeAlphaUsesVideoScale) {
    const Pixel opaque{0.0f, 0.0f, 0.0f, 1.0f};
    // 255 * 2^(d-8): 1020 at 10 bits, 4080 at 12 bits; full range 1023 / 4095.
    EXPECT_EQ(quantise(opaque, *formatTraits(kKROYUVA444P10LEFormat), kColorRangeMpeg).c[3], 1020);
    EXPECT_EQ(quantise(opaque, *formatTraits(kKROYUVA444P12LEFormat), kColorRangeMpeg).c[3], 4080);
    EXPECT_EQ(quantise(opaque, *formatTraits(kKROYUVA444P10LEFormat), kColorRangeJpeg).c[3], 1023);
    EXPECT_EQ(quantise(opaque, *formatTraits(kKROYUVA444P12LEFormat), kColorRangeJpeg).c[3], 4095);
    // Reading: limited alpha 510 of 10 bits is 510/4/255 = 0.5.
    EXPECT_FLOAT_EQ(normalise(NativePixel{{64, 512, 512, 510}}, *formatTraits(kKROYUVA444P10LEFormat),
                              kColorRangeMpeg)
                        .a,
                    0.5f);
    // An RGBA source reaching a YUVA destination is opaque: RGB->YUV sets alpha.
    EXPECT_EQ(convert(codes(10, 20, 30, 77), side(kKRORGBA8888Format),
                      side(kKROYUVA444P10LEFormat))
                  .c[3],
              1020);
}

TEST(ColorPixel, IdenticalDescriptionsRequantise) {
    const ColorSide s = side(kKRONV12Format);
    EXPECT_TRUE(sameDescription(s, s));
    // Y 10 -> clamped to 0 -> 16; U 250 -> clamped to 0.5 -> 240; 128 stays.
    EXPECT_CODES(convert(codes(10, 250, 128), s, s), 16, 240, 128);
    EXPECT_CODES(convert(codes(240, 3, 100), s, s), 235, 16, 100);
    // A full-range description keeps every in-range code.
    const ColorSide f = side(kKROYUV444P10LEFormat, kColorRangeJpeg);
    EXPECT_CODES(convert(codes(0, 1023, 517), f, f), 0, 1023, 517);
    // Range values other than 2 are all limited.
    EXPECT_TRUE(sameDescription(side(kKRONV12Format, 0), side(kKRONV12Format, 0)));
    EXPECT_CODES(convert(codes(10, 250, 128), side(kKRONV12Format, 7), side(kKRONV12Format, 7)), 16,
                 240, 128);
}

TEST(ColorPixel, NormaliseByFormatRule) {
    const auto& p10 = *formatTraits(kKRONV1210LEFormat);
    // 10-bit limited: s = 4; Y 64 -> 0, 940 -> 1; chroma 512 -> 0, 960 -> 0.5.
    const Pixel a = normalise(NativePixel{{940, 512, 960, 0}}, p10, kColorRangeMpeg);
    EXPECT_FLOAT_EQ(a.c0, 1.0f);
    EXPECT_FLOAT_EQ(a.c1, 0.0f);
    EXPECT_FLOAT_EQ(a.c2, 0.5f);
    EXPECT_FLOAT_EQ(a.a, 1.0f);  // no stored alpha
    // Full 16-bit: b = 32768, a = 65535.
    const Pixel b = normalise(NativePixel{{65535, 0, 32768, 0}}, *formatTraits(kKRONV1216LEFormat),
                              kColorRangeJpeg);
    EXPECT_FLOAT_EQ(b.c0, 1.0f);
    EXPECT_FLOAT_EQ(b.c1, -0.5f);  // -32768/65535 clamped to -0.5
    EXPECT_FLOAT_EQ(b.c2, 0.0f);
    // RGBA 16-bit keeps alpha; RGB888 reads alpha 1.
    EXPECT_FLOAT_EQ(normalise(NativePixel{{0, 0, 0, 32768}}, *formatTraits(kKRORGBA16BEFormat), 0).a,
                    32768.0f / 65535.0f);
    EXPECT_FLOAT_EQ(normalise(NativePixel{{0, 0, 0, 0}}, *formatTraits(kKRORGB888Format), 0).a, 1.0f);
    // CMYK: K' = 1 - K/255, R = (1 - C/255) K'.
    const Pixel c = normalise(NativePixel{{0, 255, 51, 51}}, *formatTraits(kKROCMYK8888Format), 0);
    EXPECT_FLOAT_EQ(c.c0, 0.8f);
    EXPECT_FLOAT_EQ(c.c1, 0.0f);
    EXPECT_FLOAT_EQ(c.c2, 0.64f);
    EXPECT_FLOAT_EQ(c.a, 1.0f);
    // A byte-only format reads as zeros.
    const Pixel z = normalise(NativePixel{{9, 9, 9, 9}}, *formatTraits(kKROI8Format), 0);
    EXPECT_EQ(z.c0 + z.c1 + z.c2 + z.a, 0.0f);
}

TEST(ColorPixel, CmykQuantise) {
    const auto& cmyk = *formatTraits(kKROCMYK8888Format);
    // Red: K = 0, C = 0, M = Y = 1.
    const NativePixel red = quantise(Pixel{1.0f, 0.0f, 0.0f, 1.0f}, cmyk, 0);
    EXPECT_EQ(red.c[0], 0); EXPECT_EQ(red.c[1], 255); EXPECT_EQ(red.c[2], 255); EXPECT_EQ(red.c[3], 0);
    // Grey 0.5: K = 0.5 -> 127.5 -> 128, no colour.
    const NativePixel grey = quantise(Pixel{0.5f, 0.5f, 0.5f, 1.0f}, cmyk, 0);
    EXPECT_EQ(grey.c[0], 0); EXPECT_EQ(grey.c[2], 0); EXPECT_EQ(grey.c[3], 128);
    // Black (and anything clamped to it): K = 1, C = M = Y = 0.
    const NativePixel black = quantise(Pixel{-1.0f, 0.0f, 0.0f, 1.0f}, cmyk, 0);
    EXPECT_EQ(black.c[0], 0); EXPECT_EQ(black.c[1], 0); EXPECT_EQ(black.c[3], 255);
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
// B = Y - Cg - Co.
INSTANTIATE_TEST_SUITE_P(
    Values, ColorPixelMatrix,
    ::testing::Values(MatrixCase{kColorMatrixBT709, 0.6575f, 0.6856f},
                      MatrixCase{kColorMatrixRGB, 0.6575f, 0.6856f},
                      MatrixCase{kColorMatrixFCC, 0.6575f, 0.6856f},
                      MatrixCase{kColorMatrixSMPTE240M, 0.6575f, 0.6856f},
                      MatrixCase{kColorMatrixCHROMA_DERIVED_CL, 0.6575f, 0.6856f},
                      MatrixCase{kColorMatrixICTCP, 0.6575f, 0.6856f},
                      MatrixCase{-3, 0.6575f, 0.6856f},
                      MatrixCase{kColorMatrixBT470BG, 0.6402f, 0.6772f},
                      MatrixCase{kColorMatrixSMPTE170M, 0.6402f, 0.6772f},
                      MatrixCase{kColorMatrixSMPTE2085, 0.6402f, 0.6772f},
                      MatrixCase{kColorMatrixCHROMA_DERIVED_NCL, 0.6402f, 0.6772f},
                      MatrixCase{kColorMatrixBT2020_NCL, 0.64746f, 0.68814f},
                      MatrixCase{kColorMatrixYCGCO, 0.5f, 0.3f},
                      MatrixCase{kColorMatrixBT2020_CL, 0.59938f, 0.6582f}));

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

TEST(ColorPixel, PrimariesPairLookup) {
    const struct {
        int32_t src, dst;
        const Matrix3* expected;
    } pairs[] = {
        {kColorPrimariesBT709, kColorPrimariesBT2020, &kBT709ToBT2020},
        {kColorPrimariesBT2020, kColorPrimariesBT709, &kBT2020ToBT709},
        {kColorPrimariesBT709, kColorPrimariesSMPTE170M, &kBT709ToBT601_525},
        {kColorPrimariesSMPTE432, kColorPrimariesSMPTE431, &kDisplayP3toDCIP3},
        {kColorPrimariesSMPTE431, kColorPrimariesSMPTE432, &kDCIP3toDisplayP3},
        {kColorPrimariesBT709, kColorPrimariesProPhoto, &kBT709toProPhoto},
        {kColorPrimariesProPhoto, kColorPrimariesBT709, &kProPhototoBT709},
        {kColorPrimariesAdobeRGB, kColorPrimariesBT709, &kAdobeRGBtoBT709},
        // Adobe RGB elsewhere borrows the BT.709 source tables.
        {kColorPrimariesAdobeRGB, kColorPrimariesBT2020, &kBT709ToBT2020},
        {kColorPrimariesAdobeRGB, kColorPrimariesBT470BG, &kBT709ToBT601},
        {kColorPrimariesAdobeRGB, kColorPrimariesSMPTE432, &kBT709toDisplayP3},
        // No table: identity.
        {kColorPrimariesBT470BG, kColorPrimariesSMPTE170M, &kIdentity},
        {kColorPrimariesSMPTE170M, kColorPrimariesBT470BG, &kIdentity},
        {kColorPrimariesBT709, kColorPrimariesAdobeRGB, &kIdentity},
        {kColorPrimariesProPhoto, kColorPrimariesBT2020, &kIdentity},
        {kColorPrimariesBT2020, kColorPrimariesBT2020, &kIdentity},
        {kColorPrimariesUNSPECIFIED, kColorPrimariesBT709, &kIdentity},
        {-1, 1000, &kIdentity},
    };
    for (const auto& p : pairs)
        EXPECT_EQ(&primariesMatrix(p.src, p.dst), p.expected) << p.src << "->" << p.dst;
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

TEST(ColorPixel, AlphaThroughTransferChange) {
    const ColorSide srgb = side(kKRORGBA8888Format, 0, kColorPrimariesBT709,
                                kColorTransferIEC61966_2_1);
    const ColorSide g22 = side(kKRORGBA8888Format, 0, kColorPrimariesBT709, kColorTransferGAMMA22);
    const ColorSide hlg = side(kKRORGBA8888Format, 0, kColorPrimariesBT709,
                               kColorTransferARIB_STD_B67);
    EXPECT_EQ(convert(codes(10, 20, 30, 77), srgb, g22).c[3], 77);
    EXPECT_EQ(convert(codes(10, 20, 30, 77), hlg, g22).c[3], 255);  // HLG EOTF sets alpha
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

TEST(ColorPixel, MatrixOnlyChangeGoesThroughRgb) {
    // Same format, different matrix: YUV -> RGB (clamped) -> YUV; no curves.
    // (126, 100, 200) -> R clamped 1, G 0.375230, B 0.270283 (see above), then
    // BT.601: Y = 0.299 + 0.5871*0.375230 + 0.114*0.270283 = 0.550112 -> 136.47 -> 136;
    // U = -0.1687 - 0.3313*0.375230 + 0.5*0.270283 = -0.157870 -> 92.64 -> 93;
    // V = 0.5 - 0.4187*0.375230 - 0.0813*0.270283 = 0.320909 -> 199.88 -> 200.
    const ColorSide a = side(kKROYUV444PFormat);
    ColorSide b = a;
    b.matrix = kColorMatrixBT470BG;
    EXPECT_CODES(convert(codes(126, 100, 200), a, b), 136, 93, 200);
}

}  // namespace
