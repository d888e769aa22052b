// The ICC engine's own rules: profile acceptance, curve parsing and
// evaluation, the fast power, inversions, and the pixel stages of a transform
// (layouts, alpha, CMYK inversion). Agreement with Little CMS is in
// icc_oracle_test.cpp.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <functional>
#include <vector>

#include "fuzz/icc_profile_builder.h"
#include "icc/icc_curves.h"
#include "icc/icc_engine.h"
#include "icc/icc_math.h"
#include "support/icc_test_profiles.h"

namespace KROCOLOR {
namespace {

using namespace iccbuild;
const int kPriorities[2] = {0, 1};

bool parses(const Bytes& b, ICCProfile* out = nullptr) {
    ICCProfile p;
    return test::parseAsThePathDoes(b, out ? out : &p);
}

// ---------------------------------------------------------------- fast power

TEST(ICCFastPow, SpecialValuesFollowTheirRules) {
    EXPECT_EQ(icc::fastPow(0.0f, 2.4f), 0.0f);
    EXPECT_EQ(icc::fastPow(1.0f, 0.3f), 1.0f);
    EXPECT_EQ(icc::fastPow(-0.5f, 2.0f), 0.0f);
    EXPECT_EQ(icc::fastExp2(129.0f), INFINITY);
    for (float x : {-128.0f, NAN}) EXPECT_EQ(icc::fastExp2(x), 0.0f) << x;
}

TEST(ICCFastPow, StaysCloseToThePowerOverTheCurveRange) {
    for (float g : {0.4166667f, 1.0f / 2.2f, 1.8f, 2.2f, 2.4f})
        for (int i = 1; i <= 1000; ++i) {
            const float x = static_cast<float>(i) / 1000.0f;
            const double exact = std::pow(static_cast<double>(x), static_cast<double>(g));
            EXPECT_NEAR(icc::fastPow(x, g), exact, 5e-4 * exact + 1e-7) << x << "^" << g;
        }
}

// ---------------------------------------------------------------- acceptance

Bytes identityA2B() {
    return mft2(3, 3, 2, [](const double* c, int o) { return c[o]; });
}

struct Mutation {
    const char* name;
    std::function<void(Bytes&)> apply;
    bool accepted;
};

class ICCAcceptance : public ::testing::TestWithParam<Mutation> {};

// The base profile ends with an unused tag, so that one rule can be broken
// on a tag the engine never reads.
TEST_P(ICCAcceptance, ProfileIsAcceptedOrRefused) {
    Bytes b = matrixProfile(curvGamma(0x0233), {{"zzzz", xyz(0, 0, 0)}});
    ASSERT_TRUE(parses(b));
    GetParam().apply(b);
    EXPECT_EQ(parses(b), GetParam().accepted);
}

const Mutation kMutations[] = {
    {"unchanged", [](Bytes&) {}, true},
    {"131 bytes", [](Bytes& b) { b.resize(131); }, false},
    {"signature", [](Bytes& b) { b[36] = 'x'; }, false},
    {"version 5", [](Bytes& b) { b[8] = 5; }, false},
    {"version 2", [](Bytes& b) { b[8] = 2; }, true},
    {"illuminant X off by 0.02", [](Bytes& b) { set32(b, 68, static_cast<uint32_t>((0.9642 + 0.02) * 65536)); }, false},
    {"illuminant X off by 0.005", [](Bytes& b) { set32(b, 68, static_cast<uint32_t>((0.9642 + 0.005) * 65536)); }, true},
    {"declared size beyond the bytes", [](Bytes& b) { set32(b, 0, static_cast<uint32_t>(b.size() + 4)); }, false},
    {"tag table beyond the declared size", [](Bytes& b) { set32(b, 128, 1000); }, false},
    {"tag smaller than 4 bytes", [](Bytes& b) { set32(b, 132 + 8, 3); }, false},
    {"PCS RGB", [](Bytes& b) { std::memcpy(&b[20], "RGB ", 4); }, false},
    {"PCS Lab", [](Bytes& b) { std::memcpy(&b[20], "Lab ", 4); }, true},
    {"colorant of the wrong type", [](Bytes& b) { std::memcpy(&b[b[132 + 4 + 2] * 256 + b[132 + 4 + 3]], "XYZx", 4); }, false},
    {"no colorants, no A2B", [](Bytes& b) { std::memcpy(&b[132], "rXYx", 4); }, false},
    {"curve of an unknown type", [](Bytes& b) { std::memcpy(&b[b[132 + 36 + 6] * 256 + b[132 + 36 + 7]], "curw", 4); }, false},
    // The unused 20-byte element ends the profile; one byte more reaches past it.
    {"unused tag beyond the declared size", [](Bytes& b) { set32(b, 132 + 12 * 6 + 8, 21); }, false},
    {"TRC without colorants or A2B",
     [](Bytes& b) { b = profile({{"rTRC", curvGamma(0x0100)}, {"gTRC", {}, 0}, {"bTRC", {}, 0}}); }, false},
    {"TRC without colorants, with an A2B",
     [](Bytes& b) {
         b = profile({{"rTRC", curvGamma(0x0100)}, {"gTRC", {}, 0}, {"bTRC", {}, 0}, {"A2B0", identityA2B()}});
     },
     true},
    {"grey with a Lab connection space",
     [](Bytes& b) { b = profile({{"kTRC", curvGamma(0x0200)}}, "GRAY", "Lab "); }, false},
    {"cicp of 10 bytes",
     [](Bytes& b) { b = matrixProfile(curvGamma(0x0233), {{"cicp", Bytes{'c', 'i', 'c', 'p', 0, 0, 0, 0, 9, 16}}}); },
     false},
};

INSTANTIATE_TEST_SUITE_P(Rules, ICCAcceptance, ::testing::ValuesIn(kMutations),
                         [](const ::testing::TestParamInfo<Mutation>& info) {
                             std::string n;
                             for (const char* c = info.param.name; *c; ++c) n += std::isalnum(static_cast<unsigned char>(*c)) ? *c : '_';
                             return n;
                         });

TEST(ICCAcceptance, PrioritiesPickTheFirstTableFoundAndRefuseUnknownOnes) {
    const Bytes b = profile({{"A2B1", identityA2B()}});
    ICCProfile p;
    EXPECT_TRUE(parseICCProfile(b.data(), b.size(), kPriorities, 2, &p));
    EXPECT_TRUE(p.hasA2B);
    const int only0[1] = {0};
    EXPECT_FALSE(parseICCProfile(b.data(), b.size(), only0, 1, &p)) << "no A2B0, no matrix";
    const int bad[2] = {3, 1};
    EXPECT_FALSE(parseICCProfile(b.data(), b.size(), bad, 2, &p));
}

TEST(ICCAcceptance, GreyProfileUsesItsCurveForAllChannelsAndTheIlluminantAsMatrix) {
    ICCProfile p;
    ASSERT_TRUE(parses(profile({{"kTRC", curvGamma(0x0200)}}, "GRAY", "XYZ "), &p));
    EXPECT_TRUE(p.hasTRC && p.hasToXYZD50);
    for (int i = 0; i < 3; ++i) EXPECT_EQ(p.trc[i].parametric.g, 2.0f);
    EXPECT_NEAR(p.toXYZD50[0][0], 0.9642f, 1e-4);
    EXPECT_NEAR(p.toXYZD50[2][2], 0.8249f, 1e-4);
    EXPECT_EQ(p.toXYZD50[0][1], 0.0f);
}

TEST(ICCAcceptance, CICPTagIsRead) {
    Bytes cicp = element("cicp");
    cicp.insert(cicp.end(), {9, 16, 0, 1});
    ICCProfile p;
    ASSERT_TRUE(parses(matrixProfile(curvGamma(0x0233), {{"cicp", cicp}}), &p));
    EXPECT_TRUE(p.hasCICP);
    EXPECT_EQ(p.cicp[0], 9);
    EXPECT_EQ(p.cicp[1], 16);
    EXPECT_EQ(p.cicp[3], 1);
}

// ---------------------------------------------------------------- curves

// The parsed curve points into the profile bytes, which stay alive here
// until the next call.
ICCCurve parsedRedCurve(const Bytes& curve, bool* ok) {
    static Bytes bytes;
    bytes = matrixProfile(curve);
    ICCProfile p;
    *ok = parses(bytes, &p);
    return p.trc[0];
}

// Each curve as the red curve of a matrix profile, evaluated over the 8-bit
// codes against its formula worked out here; a null formula means the
// profile is refused.
struct CurveCase {
    const char* name;
    Bytes curve;
    std::function<double(double)> formula;
    double tolerance;
};

class ICCCurves : public ::testing::TestWithParam<CurveCase> {};

TEST_P(ICCCurves, EvaluateToTheirFormulaOrAreRefused) {
    const CurveCase& c = GetParam();
    bool ok;
    const ICCCurve curve = parsedRedCurve(c.curve, &ok);
    ASSERT_EQ(ok, c.formula != nullptr);
    if (!ok) return;
    for (int i = 0; i <= 255; ++i) {
        const double x = i / 255.0;
        EXPECT_NEAR(icc::evalCurve(curve, static_cast<float>(x)), c.formula(x), c.tolerance) << i;
    }
}

// Interpolation in the three-entry table {0, 65535, 32768}.
double tableFormula(double x) {
    const double mid = 32768 / 65535.0;
    return x <= 0.5 ? 2 * x : 1 + (mid - 1) * (2 * x - 1);
}

// One-entry curv and para type 3 curves are parsed in icc_path_test.cpp (the
// embedded Adobe RGB and Display P3 profiles), the fast power's accuracy is
// checked above, and installed profiles with one-entry curv, para types 0
// and 3 and long tables are evaluated against Little CMS.
const CurveCase kCurves[] = {
    // Type 2: Y = (aX + b)^g + c for X >= -b/a, else c.
    {"para2", para(2, {1.0, 0.5, -0.25, 0.125}), [](double x) { return (x >= 0.5 ? 0.5 * x - 0.25 : 0) + 0.125; }, 1e-4},
    {"curv_table", curvTable({0, 65535, 32768}), tableFormula, 1e-6},
    {"para1_a_zero", para(1, {2.2, 0.0, 0.1}), nullptr, 0},
    {"para_type5", para(5, {1, 1, 0, 0, 0, 0, 0}), nullptr, 0},
    {"para4_negative_c", para(4, {2.2, 1, 0, -1, 0, 0, 0}), nullptr, 0},
    {"para4_missing_last",
     [] {
         Bytes b = para(4, {2.2, 1, 0, 0, 0, 0, 0});
         b.resize(b.size() - 4);
         return b;
     }(),
     nullptr, 0},
};

INSTANTIATE_TEST_SUITE_P(Types, ICCCurves, ::testing::ValuesIn(kCurves),
                         [](const ::testing::TestParamInfo<CurveCase>& info) { return std::string(info.param.name); });

// Table inputs are clamped to [0, 1]. Identity tables in LUTs may become the
// identity function, but a table that is not a line through 0 with slope 1
// keeps its values.
TEST(ICCCurveTables, ClampTheirInputAndKeepNonIdentityValues) {
    bool ok;
    const ICCCurve c = parsedRedCurve(curvTable({0, 65535, 32768}), &ok);
    ASSERT_TRUE(ok);
    EXPECT_FLOAT_EQ(icc::evalCurve(c, -3.0f), 0.0f);
    EXPECT_NEAR(icc::evalCurve(c, 7.0f), 32768 / 65535.0, 1e-6);
    Bytes lut = identityA2B();
    lut[52 + 2] = 0x10;  // first input table, entry 1: 0x10ff instead of 0xffff
    const Bytes bytes = profile({{"A2B0", lut}});  // the record points into these
    ICCProfile p;
    ASSERT_TRUE(parses(bytes, &p));
    EXPECT_NEAR(icc::evalCurve(p.A2B.inputCurves[0], 0.5f), 0.5 * 0x10ff / 65535.0, 1e-6);
    EXPECT_NEAR(icc::evalCurve(p.A2B.inputCurves[1], 0.5f), 0.5, 1e-4);  // the fast power
}

// ---------------------------------------------------------------- inversions
// The values of inverted matrices and parametric curves are checked against
// Little CMS in icc_oracle_test.cpp, with every profile as destination.

TEST(ICCInversion, SRGBCurveInverseRoundTripsAndMapsOneToOne) {
    const ICCTransferFunction srgb = kICCsRGBProfile.trc[0].parametric;
    ICCTransferFunction inv;
    ASSERT_TRUE(icc::invertTransferFunction(srgb, &inv));
    EXPECT_EQ(icc::evalTransferFunction(inv, icc::evalTransferFunction(srgb, 1.0f)), 1.0f);
    for (int i = 0; i <= 100; ++i) {
        const float x = i / 100.0f;
        EXPECT_NEAR(icc::evalTransferFunction(inv, icc::evalTransferFunction(srgb, x)), x, 5e-4) << x;
    }
}

TEST(ICCInversion, DiscontinuousOrInvalidFunctionsHaveNoInverse) {
    ICCTransferFunction inv;
    // Pieces 0.1 apart at d (far more than 1/512).
    EXPECT_FALSE(icc::invertTransferFunction({2.2f, 1, 0, 1, 0.5f, 0, 0.1f}, &inv));
    // Within 1/1024: accepted.
    EXPECT_TRUE(icc::invertTransferFunction({1.0f, 1, 0, 1, 0.5f, 0.0009765625f, 0}, &inv));
    EXPECT_FALSE(icc::invertTransferFunction({-1.0f, 1, 0, 0, 0, 0, 0}, &inv));
}

TEST(ICCInversion, SingularMatricesHaveNoInverse) {
    float inv[3][3];
    const float singular[3][3] = {{1, 2, 3}, {2, 4, 6}, {0, 0, 1}};
    EXPECT_FALSE(icc::invertMatrix3x3(singular, inv));
    const float tiny[3][3] = {{1e-20f, 0, 0}, {0, 1e-20f, 0}, {0, 0, 1e-20f}};
    EXPECT_FALSE(icc::invertMatrix3x3(tiny, inv)) << "1/det beyond the float range";
}

TEST(ICCInversion, EightBitTableInvertsIntoAnEightBitTableOfTheSameSize) {
    // y = x^2 tabulated in 256 bytes; its inverse is sqrt.
    std::vector<uint8_t> table(256);
    for (int i = 0; i < 256; ++i) table[static_cast<size_t>(i)] = static_cast<uint8_t>(std::lround(255.0 * (i / 255.0) * (i / 255.0)));
    ICCCurve curve{};
    curve.tableEntries = 256;
    curve.table8 = table.data();
    std::vector<uint8_t> storage;
    ICCCurve inverse;
    icc::invertTableCurve(curve, storage, &inverse);
    EXPECT_EQ(inverse.tableEntries, 256u);
    ASSERT_NE(inverse.table8, nullptr);
    EXPECT_EQ(inverse.table16, nullptr);
    EXPECT_EQ(storage.size(), 256u);
    for (int j = 16; j < 256; j += 16) EXPECT_NEAR(inverse.table8[j], 255.0 * std::sqrt(j / 255.0), 2.0) << j;
    EXPECT_EQ(inverse.table8[255], 255);
    // Inputs 0..8 all round to 0 in the table; the inverse of 0 lies on that
    // flat start (its far end, next to where the curve starts rising).
    EXPECT_EQ(table[inverse.table8[0]], 0);
    EXPECT_GE(inverse.table8[0], 1);
}

// ---------------------------------------------------------------- transforms

TEST(ICCTransform, SameRecordOrNoProfilesLeavePixelsUnchanged) {
    std::vector<uint8_t> in, out;
    for (int i = 0; i < 256; ++i) in.insert(in.end(), {uint8_t(i), uint8_t(255 - i), uint8_t(i * 7), uint8_t(i / 2)});
    out.resize(in.size());
    ASSERT_TRUE(transformICC(in.data(), kICCPixelFormatRGBA8888, kICCAlphaUnpremultiplied, nullptr, out.data(),
                             kICCPixelFormatRGBA8888, kICCAlphaUnpremultiplied, nullptr, 256));
    EXPECT_EQ(in, out);
    ICCProfile p3;
    const Bytes b = matrixProfile(curvGamma(0x0233));
    ASSERT_TRUE(parses(b, &p3));
    ASSERT_TRUE(transformICC(in.data(), kICCPixelFormatRGBA8888, kICCAlphaUnpremultiplied, &p3, out.data(),
                             kICCPixelFormatRGBA8888, kICCAlphaUnpremultiplied, &p3, 256));
    EXPECT_EQ(in, out);
}

// White maps to the sum of the published sRGB colorants (0.964279, 1.000000,
// 0.825088: the D50 white as those profiles round it). Conversions between
// real profiles in both directions are compared with Little CMS in
// icc_oracle_test.cpp.
TEST(ICCTransform, SRGBWhiteInXYZIsTheSumOfThePublishedColorants) {
    const uint16_t white[3] = {65535, 65535, 65535};
    uint16_t w[3];
    ASSERT_TRUE(transformICC(white, kICCPixelFormatRGB161616LE, kICCAlphaOpaque, nullptr, w, kICCPixelFormatRGB161616LE,
                             kICCAlphaOpaque, &kICCXYZD50Profile, 1));
    const double colorantSum[3] = {0.964279, 1.0, 0.825088};
    for (int k = 0; k < 3; ++k) EXPECT_NEAR(w[k], colorantSum[k] * 65535, 8) << k;
}

// Without profiles the pixel stages alone: layouts, byte orders, widening
// (x 257) and alpha. Premultiplied colour is divided by alpha and multiplied
// back, which gives the input codes again; alpha 0 gives colour 0.
struct PixelCase {
    const char* name;
    ICCPixelFormat srcLayout;
    ICCAlphaFormat srcAlpha;
    ICCPixelFormat dstLayout;
    ICCAlphaFormat dstAlpha;
    size_t pixels;
    std::vector<uint8_t> in, expected;
};

const PixelCase kPixelCases[] = {
    {"RGB to RGBA", kICCPixelFormatRGB888, kICCAlphaUnpremultiplied, kICCPixelFormatRGBA8888, kICCAlphaUnpremultiplied,
     1, {1, 128, 255}, {1, 128, 255, 255}},
    {"RGBA to BGRA", kICCPixelFormatRGBA8888, kICCAlphaUnpremultiplied, kICCPixelFormatBGRA8888,
     kICCAlphaUnpremultiplied, 1, {10, 20, 30, 40}, {30, 20, 10, 40}},
    {"big-endian RGB to little-endian RGBA", kICCPixelFormatRGB161616BE, kICCAlphaUnpremultiplied,
     kICCPixelFormatRGBA16161616LE, kICCAlphaUnpremultiplied, 1, {0x12, 0x34, 0xAB, 0xCD, 0x00, 0x01},
     {0x34, 0x12, 0xCD, 0xAB, 0x01, 0x00, 0xFF, 0xFF}},
    {"8-bit RGB to big-endian BGR", kICCPixelFormatRGB888, kICCAlphaOpaque, kICCPixelFormatBGR161616BE,
     kICCAlphaOpaque, 1, {1, 128, 255}, {0xFF, 0xFF, 0x80, 0x80, 0x01, 0x01}},
    {"opaque", kICCPixelFormatRGBA8888, kICCAlphaOpaque, kICCPixelFormatRGBA8888, kICCAlphaOpaque, 2,
     {100, 50, 20, 128, 200, 200, 200, 0}, {100, 50, 20, 255, 200, 200, 200, 255}},
    {"premultiplied both sides", kICCPixelFormatRGBA8888, kICCAlphaPremultiplied, kICCPixelFormatRGBA8888,
     kICCAlphaPremultiplied, 2, {100, 50, 20, 128, 200, 200, 200, 0}, {100, 50, 20, 128, 0, 0, 0, 0}},
    // 100 / (128/255) = 199.2, 50 / (128/255) = 99.6, 20 / (128/255) = 39.8
    {"premultiplied to unpremultiplied", kICCPixelFormatRGBA8888, kICCAlphaPremultiplied, kICCPixelFormatRGBA8888,
     kICCAlphaUnpremultiplied, 2, {100, 50, 20, 128, 200, 200, 200, 0}, {199, 100, 40, 128, 0, 0, 0, 0}},
};

TEST(ICCTransform, PixelStagesWithoutProfiles) {
    for (const PixelCase& c : kPixelCases) {
        std::vector<uint8_t> out(c.expected.size(), 0xEE);
        ASSERT_TRUE(transformICC(c.in.data(), c.srcLayout, c.srcAlpha, nullptr, out.data(), c.dstLayout, c.dstAlpha,
                                 nullptr, c.pixels))
            << c.name;
        EXPECT_EQ(out, c.expected) << c.name;
    }
}

// Refused runs write nothing; a destination needs invertible curves, a source
// does not.
TEST(ICCTransform, RefusesOversizedMismatchedInPlaceAndNonInvertibleRuns) {
    uint8_t px[8] = {};
    const size_t tooMany = (size_t(1) << 31) / 3 + 1;  // 3 bytes each reaches 2^31
    EXPECT_FALSE(transformICC(px, kICCPixelFormatRGB888, kICCAlphaOpaque, nullptr, px, kICCPixelFormatRGB888,
                              kICCAlphaOpaque, nullptr, tooMany));
    EXPECT_FALSE(transformICC(px, kICCPixelFormatRGB888, kICCAlphaOpaque, nullptr, px, kICCPixelFormatRGBA8888,
                              kICCAlphaOpaque, nullptr, 1));
    EXPECT_FALSE(transformICC(px, static_cast<ICCPixelFormat>(14), kICCAlphaOpaque, nullptr, px + 4,
                              kICCPixelFormatRGBA8888, kICCAlphaOpaque, nullptr, 1));
    EXPECT_TRUE(transformICC(px, kICCPixelFormatRGBA8888, kICCAlphaOpaque, nullptr, px, kICCPixelFormatBGRA8888,
                             kICCAlphaOpaque, nullptr, 2));
    ICCProfile p;
    // pieces meet 0.25 apart at d = 0.5: no inverse
    ASSERT_TRUE(parses(matrixProfile(para(4, {1.0, 1.0, 0.0, 1.0, 0.5, 0.0, 0.25})), &p));
    uint8_t out[3] = {7, 7, 7};
    EXPECT_FALSE(transformICC(px, kICCPixelFormatRGB888, kICCAlphaOpaque, nullptr, out, kICCPixelFormatRGB888,
                              kICCAlphaOpaque, &p, 1));
    EXPECT_EQ(out[0], 7) << "nothing written";
    EXPECT_TRUE(transformICC(px, kICCPixelFormatRGB888, kICCAlphaOpaque, &p, out, kICCPixelFormatRGB888,
                             kICCAlphaOpaque, nullptr, 1))
        << "as a source it needs no inverse";
}

}  // namespace
}  // namespace KROCOLOR
