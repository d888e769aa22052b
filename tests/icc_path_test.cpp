// The ICC path behind KROColorFunctions in ICC mode: formats, refusals that
// leave the destination untouched, CMYK sources, bands, strides, resizing
// on guard-page planes, and the two embedded profiles.
#include <gtest/gtest.h>

#include <array>
#include <cstring>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "KROColorFunctions.h"
#include "icc/icc_path.h"
#include "fuzz/icc_profile_builder.h"
#include "icc/icc_engine.h"
#include "support/format_sweep.h"
#include "support/frame_buffers.h"
#include "support/icc_test_profiles.h"

namespace KROCOLOR {
namespace {

using namespace iccbuild;

// One ICC-mode transcode; profile vectors may be empty (sRGB).
KROReturn transcodeICC(int sw, int sh, int32_t sf, const uint8_t* src, int srcStride, int dw, int dh, int32_t df,
                       uint8_t* dst, int dstStride, const Bytes& srcProfile = {}, const Bytes& dstProfile = {}) {
    std::unique_ptr<KROColorFunctions> f(KROColorFunctions::create(sw, sh, static_cast<KROPixelFormat>(sf), dw, dh,
                                                                   static_cast<KROPixelFormat>(df)));
    f->setType(kKROProfileTypeICC);
    f->setICCProfile(srcProfile.empty() ? nullptr : srcProfile.data(), static_cast<int>(srcProfile.size()),
                     dstProfile.empty() ? nullptr : dstProfile.data(), static_cast<int>(dstProfile.size()));
    const uint8_t* in[4] = {src, nullptr, nullptr, nullptr};
    uint8_t* out[4] = {dst, nullptr, nullptr, nullptr};
    const int inStrides[4] = {srcStride, 0, 0, 0};
    const int outStrides[4] = {dstStride, 0, 0, 0};
    return f->transcode(in, inStrides, out, outStrides);
}

TEST(ICCPath, SwitchingToICCModeReleasesTheColourConvertor) {
    test::FrameBuffers src(kKRORGBA8888Format, 4, 4), dst(kKRORGBA8888Format, 4, 4);
    std::unique_ptr<KROColorFunctions> f(KROColorFunctions::create(4, 4, kKRORGBA8888Format, 4, 4, kKRORGBA8888Format));
    ASSERT_EQ(f->transcode(src.srcPlanes(), src.strides(), dst.dstPlanes(), dst.strides()), kKROSuccess);
    ASSERT_NE(f->convertor, nullptr);
    f->setType(kKROProfileTypeICC);
    EXPECT_EQ(f->transcode(src.srcPlanes(), src.strides(), dst.dstPlanes(), dst.strides()), kKROSuccess);
    EXPECT_EQ(f->convertor, nullptr);
}

struct Refusal {
    const char* name;
    int32_t srcFormat, dstFormat;
    size_t srcProfileBytes, dstProfileBytes;  // 0: none, else a truncated profile of that size
    KROReturn expected;
};

class ICCPathRefusal : public ::testing::TestWithParam<Refusal> {};

TEST_P(ICCPathRefusal, RefusesAndWritesNothing) {
    const Refusal& r = GetParam();
    std::vector<uint8_t> src(16 * 16 * 8, 0x40), dst(16 * 16 * 8, 0xEE);
    const Bytes adobe = test::embeddedAdobe();
    Bytes srcProfile, dstProfile;
    if (r.srcProfileBytes) srcProfile.assign(adobe.begin(), adobe.begin() + static_cast<ptrdiff_t>(r.srcProfileBytes));
    if (r.dstProfileBytes) dstProfile.assign(adobe.begin(), adobe.begin() + static_cast<ptrdiff_t>(r.dstProfileBytes));
    EXPECT_EQ(transcodeICC(16, 16, r.srcFormat, src.data(), 16 * 8, 16, 16, r.dstFormat, dst.data(), 16 * 8,
                           srcProfile, dstProfile),
              r.expected);
    for (uint8_t v : dst) ASSERT_EQ(v, 0xEE);
}

const Refusal kRefusals[] = {
    {"DestinationCMYK", kKRORGBA8888Format, kKROCMYK8888Format, 0, 0, kKROInputPixelFormatNotSupported},
    {"SourceNV12", kKRONV12Format, kKRORGBA8888Format, 0, 0, kKROInputPixelFormatNotSupported},
    {"SourceBGRA", kKROBGRA8888Format, kKRORGBA8888Format, 0, 0, kKROInputPixelFormatNotSupported},
    {"SourceProfileOf131Bytes", kKRORGBA8888Format, kKRORGB888Format, 131, 0, kKROInvalidICCProfile},
    {"DestinationProfileOf131Bytes", kKRORGB16LEFormat, kKRORGBA16BEFormat, 0, 131, kKROInvalidICCProfile},
    {"TruncatedProfile", kKROCMYK8888Format, kKRORGBA8888Format, 500, 0, kKROInvalidICCProfile},
};

INSTANTIATE_TEST_SUITE_P(Cases, ICCPathRefusal, ::testing::ValuesIn(kRefusals),
                         [](const ::testing::TestParamInfo<Refusal>& info) { return std::string(info.param.name); });

TEST(ICCPath, CMYKWithoutProfileIsPlainInkOnWhite) {
    const uint8_t src[8] = {0, 0, 0, 0, 255, 0, 0, 0};
    uint8_t dst[8];
    ASSERT_EQ(transcodeICC(2, 1, kKROCMYK8888Format, src, 8, 2, 1, kKRORGBA8888Format, dst, 8), kKROSuccess);
    const uint8_t expected[8] = {255, 255, 255, 255, 0, 255, 255, 255};
    EXPECT_EQ(std::memcmp(dst, expected, 8), 0);
}

// CMYK profile with a neutral A2B: XYZ = (1 - C)(1 - K) x D50 white.
Bytes cmykProfile(const std::string& description) {
    return profile({{"desc", textDesc(description)},
                    {"A2B0", mft2(4, 3, 2,
                                  [](const double* c, int o) {
                                      const double w[3] = {0.9642, 1.0, 0.8249};
                                      return (1 - c[0]) * (1 - c[3]) * w[o] * 32768.0 / 65535.0;
                                  })}},
                   "CMYK", "XYZ ", 0x02100000, "prtr");
}

// With a known print profile 255 means no ink: (255, 255, 255, 255) is
// C x K / 255 = 255 on every channel before the profile is applied; the
// profile then inverts it back to no ink, and its neutral table gives the
// lattice white, half of D50 in XYZ (the table's 32768/65535 scale): linear
// 0.5 on each sRGB channel, 188 encoded. Any other print condition reads the
// same bytes as full ink: black.
TEST(ICCPath, KnownPrintProfilesReadCMYKAsStoredInverted) {
    const uint8_t noInk[4] = {255, 255, 255, 255};
    for (const char* name : {"Japan Color 2001 Coated", "US Web Coated (SWOP) v2", "Photoshop 5 Default CMYK",
                             "Generic DeviceCMYK", "Coated FOGRA39"}) {
        const bool known = std::string(name) != "Coated FOGRA39";
        uint8_t out[4];
        ASSERT_EQ(transcodeICC(1, 1, kKROCMYK8888Format, noInk, 4, 1, 1, kKRORGBA8888Format, out, 4, cmykProfile(name)),
                  kKROSuccess);
        for (int c = 0; c < 3; ++c) EXPECT_NEAR(out[c], known ? 188 : 0, known ? 2 : 0) << name << " " << c;
        EXPECT_EQ(out[3], 255);
    }
}

TEST(ICCPath, OnlyCMYKProfilesWithAReadableDescriptionAreKnownPrintProfiles) {
    // An RGB profile is never a print profile, whatever its description.
    const Bytes rgb = matrixProfile(curvGamma(0x0233), {{"desc", textDesc("US Web Coated (SWOP) v2")}});
    EXPECT_FALSE(isKnownCMYKPrintProfile(rgb.data(), static_cast<int>(rgb.size())));
    // A 'desc' whose ASCII count runs past the end is skipped, not read.
    Bytes truncated = cmykProfile("US Web Coated");
    const size_t descAt = 132 + 2 * 12;
    set32(truncated, descAt + 8, 0x7fffffff);
    EXPECT_FALSE(isKnownCMYKPrintProfile(truncated.data(), static_cast<int>(truncated.size())));
}

// The engine layout of each packed format the path converts.
struct ICCFormat {
    int32_t format;
    ICCPixelFormat layout;
    int bytesPerPixel;
};
const ICCFormat kICCFormats[] = {{kKRORGB888Format, kICCPixelFormatRGB888, 3},
                                 {kKRORGBA8888Format, kICCPixelFormatRGBA8888, 4},
                                 {kKRORGBA16LEFormat, kICCPixelFormatRGBA16161616LE, 8},
                                 {kKRORGBA16BEFormat, kICCPixelFormatRGBA16161616BE, 8},
                                 {kKRORGB16LEFormat, kICCPixelFormatRGB161616LE, 6},
                                 {kKRORGB16BEFormat, kICCPixelFormatRGB161616BE, 6}};

class ICCPathSweep : public ::testing::TestWithParam<ICCFormat> {};

// Every source (CMYK included) into every destination layout at the awkward
// sizes (13 and 33 rows are split into bands, the last ones short or empty),
// same size and resized, with planes against a guard page, into
// Display P3 or, every other case, with no profiles at all (sRGB to sRGB).
// Every row equals one engine run over that row, banded or not, and row
// padding stays untouched. Resized sources are one flat colour, which stays
// flat through any resize: there every pixel is that colour converted. (The
// scalar convertor that resizes counts 16-bit strides in words, so resized
// sources are padded by an even number of bytes.)
TEST_P(ICCPathSweep, EveryDestinationAtAwkwardSizes) {
    const ICCFormat& sf = GetParam();
    const Bytes p3 = test::embeddedP3();
    ICCProfile parsed;
    ASSERT_TRUE(test::parseAsThePathDoes(p3, &parsed));
    unsigned i = 0;
    for (const ICCFormat& df : kICCFormats)
        for (const test::FrameSize& size : test::kAwkwardSizes)
            for (const bool resized : {false, true}) {
                ++i;
                const int w = size.width, h = size.height, dw = resized ? h : w, dh = resized ? w : h;
                const int srcStride = w * sf.bytesPerPixel + (i % 3 == 0 ? (resized ? 6 : 5) : 0), dstStride = dw * df.bytesPerPixel + 3 * (i % 2);
                test::GuardedBlock src(size_t(srcStride) * h, test::guardPlacement(i)),
                    dst(size_t(dstStride) * dh, test::guardPlacement(i / 2));
                for (size_t k = 0; k < src.size(); ++k)
                    src.data()[k] = static_cast<uint8_t>((resized ? k % srcStride % sf.bytesPerPixel : k) * 131 + i);
                std::memset(dst.data(), 0x5A, dst.size());
                const bool toP3 = (i / 2) % 2 == 0;  // i is odd at the same size
                SCOPED_TRACE(::testing::Message() << sf.format << " " << w << "x" << h << " -> " << df.format << " " << dw << "x" << dh << (toP3 ? " P3" : ""));
                ASSERT_EQ(transcodeICC(w, h, sf.format, src.data(), srcStride, dw, dh, df.format, dst.data(), dstStride, {}, toP3 ? p3 : Bytes{}),
                          kKROSuccess);
                if (sf.format == kKROCMYK8888Format) continue;
                std::vector<uint8_t> row(size_t(dw) * df.bytesPerPixel);
                for (int y = 0; y < dh; ++y) {
                    ASSERT_TRUE(transformICC(src.data() + (resized ? 0 : y * srcStride), sf.layout, kICCAlphaUnpremultiplied, nullptr, row.data(),
                                             df.layout, kICCAlphaUnpremultiplied, toP3 ? &parsed : nullptr, resized ? 1 : w));
                    for (int x = 1; resized && x < dw; ++x)
                        std::memcpy(&row[size_t(x) * df.bytesPerPixel], row.data(), df.bytesPerPixel);
                    const uint8_t* out = dst.data() + y * dstStride;
                    ASSERT_EQ(std::memcmp(row.data(), out, row.size()), 0) << "row " << y;
                    for (int x = int(row.size()); x < dstStride; ++x) ASSERT_EQ(out[x], 0x5A);
                }
            }
}

INSTANTIATE_TEST_SUITE_P(Sources, ICCPathSweep,
                         ::testing::Values(kICCFormats[0], kICCFormats[1], kICCFormats[2], kICCFormats[3], kICCFormats[4],
                                           kICCFormats[5], ICCFormat{kKROCMYK8888Format, kICCPixelFormatRGBA8888, 4}),
                         [](const ::testing::TestParamInfo<ICCFormat>& info) { return std::to_string(info.param.format); });

// ---------------------------------------------------------------- embedded profiles

uint32_t be32(const uint8_t* p) { return (uint32_t(p[0]) << 24) | (uint32_t(p[1]) << 16) | (uint32_t(p[2]) << 8) | p[3]; }
double fixed(const uint8_t* p) { return static_cast<int32_t>(be32(p)) / 65536.0; }

struct EmbeddedCase {
    const char* name;
    Bytes (*bytes)();
    size_t size;
    uint32_t version;
    std::vector<std::string> tags;
    std::vector<std::pair<std::string, std::array<double, 3>>> xyzTags;  // as published
    bool sharedCurves;                                                   // gTRC and bTRC must point where rTRC does
    ICCTransferFunction curve;                                           // of every channel
    float curveTolerance;
};

void PrintTo(const EmbeddedCase& e, std::ostream* os) { *os << e.name; }

class ICCEmbedded : public ::testing::TestWithParam<EmbeddedCase> {};

TEST_P(ICCEmbedded, HeaderTagsValuesAndCurves) {
    const EmbeddedCase& e = GetParam();
    const Bytes b = e.bytes();
    ASSERT_EQ(b.size(), e.size);
    EXPECT_EQ(be32(&b[0]), e.size);
    EXPECT_EQ(be32(&b[8]), e.version);
    EXPECT_EQ(std::string(b.begin() + 12, b.begin() + 24), "mntrRGB XYZ ");
    ASSERT_EQ(be32(&b[128]), e.tags.size());
    std::map<std::string, uint32_t> offsets;
    for (size_t i = 0; i < e.tags.size(); ++i) {
        EXPECT_EQ(std::string(b.begin() + 132 + 12 * i, b.begin() + 136 + 12 * i), e.tags[i]) << i;
        offsets[e.tags[i]] = be32(&b[136 + 12 * i]);
    }
    for (const auto& tag : e.xyzTags)
        for (int k = 0; k < 3; ++k)
            EXPECT_NEAR(fixed(&b[offsets[tag.first] + 8 + 4 * k]), tag.second[size_t(k)], 1.0 / 65536) << tag.first;
    EXPECT_TRUE(!e.sharedCurves || (offsets["gTRC"] == offsets["rTRC"] && offsets["bTRC"] == offsets["rTRC"]));
    ICCProfile p;
    ASSERT_TRUE(test::parseAsThePathDoes(b, &p));
    const ICCTransferFunction& x = e.curve;
    for (const ICCCurve& c : p.trc) {
        const ICCTransferFunction& t = c.parametric;
        const float got[7] = {t.g, t.a, t.b, t.c, t.d, t.e, t.f}, want[7] = {x.g, x.a, x.b, x.c, x.d, x.e, x.f};
        for (int k = 0; k < 7; ++k) EXPECT_NEAR(got[k], want[k], e.curveTolerance) << k;
    }
    // Conversions with either profile on either side are compared with Little CMS in icc_oracle_test.
}

const EmbeddedCase kEmbedded[] = {
    {"DisplayP3", test::embeddedP3, 536, 0x04000000,
     {"desc", "cprt", "wtpt", "rXYZ", "gXYZ", "bXYZ", "rTRC", "chad", "bTRC", "gTRC"},
     {{"rXYZ", {0.515121, 0.241196, -0.001053}},
      {"gXYZ", {0.291977, 0.692245, 0.041885}},
      {"bXYZ", {0.157104, 0.066574, 0.784073}},
      {"wtpt", {0.9642, 1.0, 0.8249}}},
     true,
     {2.4f, 1 / 1.055f, 0.055f / 1.055f, 1 / 12.92f, 0.04045f, 0, 0},
     1e-4f},
    {"AdobeRGB1998", test::embeddedAdobe, 560, 0x02100000,
     {"cprt", "desc", "wtpt", "bkpt", "rTRC", "gTRC", "bTRC", "rXYZ", "gXYZ", "bXYZ"},
     {{"rXYZ", {0.609741, 0.311111, 0.01947}},
      {"gXYZ", {0.205276, 0.625671, 0.060867}},
      {"bXYZ", {0.149185, 0.063217, 0.744568}},
      {"wtpt", {0.950455, 1.0, 1.08905}},
      {"bkpt", {0, 0, 0}}},
     false,
     {2.19921875f, 1, 0, 0, 0, 0, 0},  // one-entry curv: 563/256
     0},
};

INSTANTIATE_TEST_SUITE_P(Profiles, ICCEmbedded, ::testing::ValuesIn(kEmbedded),
                         [](const ::testing::TestParamInfo<EmbeddedCase>& info) { return std::string(info.param.name); });

TEST(ICCEmbedded, NoSRGBBytesAreEmbedded) {
    EXPECT_EQ(KROColorFunctions::getSRGBICCProfile(), nullptr);
    EXPECT_EQ(KROColorFunctions::getSRGBICCProfileSize(), 0);
}

}  // namespace
}  // namespace KROCOLOR
