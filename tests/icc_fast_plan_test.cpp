// The fast conversion plan (curves tabulated per input code, four-lane
// stages) against the plain plan that evaluates every stage value by value:
// the bytes must be identical for every layout, alpha format and profile,
// in both directions. Profiles: the built-in and embedded ones, synthetic
// table-curve, parametric and CMYK lookup profiles, and every profile of the
// installed collections, which must each parse unless a rule refuses it.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <random>
#include <set>
#include <string>
#include <vector>

#include "fuzz/icc_profile_builder.h"
#include "icc/icc_curves.h"
#include "icc/icc_engine.h"
#include "icc/icc_stages.h"
#include "icc/icc_transform.h"
#include "support/icc_test_profiles.h"

namespace KROCOLOR {
namespace {

using namespace iccbuild;

struct ProfileCase {
    std::string name;
    Bytes bytes;                         // empty for a built-in record
    const ICCProfile* builtin = nullptr;  // null with empty bytes: sRGB
};

void PrintTo(const ProfileCase& c, std::ostream* os) { *os << c.name; }

std::vector<ProfileCase> profileCases() {
    std::vector<ProfileCase> cases = {
        {"XYZD50", {}, &kICCXYZD50Profile},
        {"DisplayP3", test::embeddedP3()},
        {"AdobeRGB", test::embeddedAdobe()},
        {"Table8", matrixProfile(curvTable([] {
             std::vector<uint16_t> t(256);
             for (int i = 0; i < 256; ++i) t[i] = static_cast<uint16_t>(65535.0 * std::pow(i / 255.0, 1.8) + 0.5);
             return t;
         }()))},
        {"Para4", matrixProfile(para(4, {2.6, 0.95, 0.05, 0.08, 0.06, 0.001, 0.0}))},
        {"CMYKLut", profile({{"A2B0", mft2(4, 3, 3,
                                           [](const double* c, int o) {
                                               return (1 - c[o]) * (1 - c[3]) * 0.5 + 0.01 * c[(o + 1) % 3];
                                           })}},
                            "CMYK", "XYZ ", 0x02100000, "prtr")},
    };
    for (test::InstalledProfile& p : test::installedProfiles()) cases.push_back({p.path, std::move(p.bytes)});
    return cases;
}

// The installed profiles with neither conversion route, as read off their
// headers and tag tables: no A2B, and no TRC with a colorant matrix.
const std::set<std::string> kRefusedInstalledProfiles = {
    "Gray-CIE_L.icc",         // grey with a Lab connection space: its curve gives no matrix
    "colord/Crayons.icc",     // named colours: Lab data with only a B2A0 table
    "colord/x11-colors.icc",  // likewise
};

const ICCPixelFormat kLayouts[] = {
    kICCPixelFormatRGB888,         kICCPixelFormatBGR888,         kICCPixelFormatRGBA8888,
    kICCPixelFormatBGRA8888,       kICCPixelFormatRGB161616LE,    kICCPixelFormatBGR161616LE,
    kICCPixelFormatRGBA16161616LE, kICCPixelFormatBGRA16161616LE, kICCPixelFormatRGB161616BE,
    kICCPixelFormatBGR161616BE,    kICCPixelFormatRGBA16161616BE, kICCPixelFormatBGRA16161616BE,
};
constexpr int kLayoutCount = sizeof kLayouts / sizeof kLayouts[0];

class ICCFastPlan : public ::testing::TestWithParam<ProfileCase> {};

// Runs of 523 pixels (eight blocks and a tail of 11) and of 3 pixels: whole
// groups of four, a partial group, and a run shorter than one group.
TEST_P(ICCFastPlan, MatchesThePlainPlanByteForByte) {
    const ProfileCase& c = GetParam();
    ICCProfile parsed;
    const ICCProfile* profile = c.builtin;
    if (!c.bytes.empty()) {
        const bool refused = kRefusedInstalledProfiles.count(c.name) > 0;
        ASSERT_NE(test::parseAsThePathDoes(c.bytes, &parsed), refused) << c.name;
        if (refused) GTEST_SKIP() << c.name << " is refused";
        profile = &parsed;
    }
    const bool cmyk = profile && profile->dataColorSpace == kICCSigCMYK;
    std::mt19937 random(7);
    constexpr size_t kPixels = 523, kShort = 3;
    std::vector<uint8_t> src(8 * kPixels), fast(8 * kPixels), plain(8 * kPixels);
    int checked = 0;
    for (int direction = 0; direction < (cmyk ? 1 : 2); ++direction) {
        const ICCProfile* from = direction == 0 ? profile : nullptr;
        const ICCProfile* to = direction == 0 ? nullptr : profile;
        for (int s = 0; s < kLayoutCount; ++s)
            for (int k = 0; k < 3; ++k) {
                const ICCPixelFormat srcLayout = kLayouts[s];
                const ICCPixelFormat dstLayout = kLayouts[(s * 5 + k * 7 + direction) % kLayoutCount];
                const auto srcAlpha = static_cast<ICCAlphaFormat>((s + k) % 3);
                const auto dstAlpha = static_cast<ICCAlphaFormat>((s + 2 * k + direction) % 3);
                for (uint8_t& b : src) b = static_cast<uint8_t>(random());
                icc::ICCTransform fastPlan, plainPlan;
                // A large expected size makes 16-bit sources tabulate too;
                // every other plan keeps to four lanes.
                const auto kind = (s + k) % 2 ? icc::ICCPlanKind::kFast : icc::ICCPlanKind::kFastFourLanes;
                const bool built =
                    fastPlan.build(srcLayout, srcAlpha, from, dstLayout, dstAlpha, to, size_t(1) << 20, kind);
                ASSERT_EQ(built, plainPlan.build(srcLayout, srcAlpha, from, dstLayout, dstAlpha, to, size_t(1) << 20,
                                                 icc::ICCPlanKind::kPlain));
                if (!built) continue;
                std::fill(fast.begin(), fast.end(), 0xA5);
                std::fill(plain.begin(), plain.end(), 0xA5);
                const size_t srcBpp = size_t(fastPlan.srcLayout().bytesPerPixel());
                const size_t dstBpp = size_t(fastPlan.dstLayout().bytesPerPixel());
                for (size_t at : {size_t(0), kPixels - kShort}) {
                    const size_t count = at == 0 ? kPixels - kShort : kShort;
                    ASSERT_TRUE(fastPlan.run(src.data() + at * srcBpp, fast.data() + at * dstBpp, count));
                    ASSERT_TRUE(plainPlan.run(src.data() + at * srcBpp, plain.data() + at * dstBpp, count));
                }
                ASSERT_EQ(fast, plain) << c.name << " direction " << direction << " layouts " << srcLayout << " -> "
                                       << dstLayout << " alpha " << srcAlpha << " -> " << dstAlpha;
                ++checked;
            }
    }
    EXPECT_GT(checked, 0) << c.name << " converted in neither direction";
}

INSTANTIATE_TEST_SUITE_P(Profiles, ICCFastPlan, ::testing::ValuesIn(profileCases()),
                         [](const ::testing::TestParamInfo<ProfileCase>& info) {
                             std::string name = info.param.name.substr(0, info.param.name.rfind('.'));
                             std::replace_if(
                                 name.begin(), name.end(),
                                 [](char c) { return !std::isalnum(static_cast<unsigned char>(c)); }, '_');
                             return name;
                         });

bool sameBits(float a, float b) { return (std::isnan(a) && std::isnan(b)) || std::memcmp(&a, &b, 4) == 0; }

// The four-lane stages on values the pixel sweep cannot reach: a stride
// through every float bit pattern (negatives, denormals, infinities, NaN)
// and every 16-bit code, through the sRGB curve, its inverse and curves with
// extreme exponents, with offsets on both sides of zero.
TEST(ICCFastPlanStages, FourLaneStagesMatchTheScalarStagesOnEveryKindOfFloat) {
    std::vector<float> values;
    for (uint64_t bits = 0; bits < (uint64_t(1) << 32); bits += 40009) {
        float v;
        const uint32_t b32 = static_cast<uint32_t>(bits);
        std::memcpy(&v, &b32, 4);
        values.push_back(v);
    }
    for (int code = 0; code <= 65535; ++code) values.push_back(static_cast<float>(code) / 65535.0f);
    for (float v : {0.0f, -0.0f, 1.0f, -1.0f, INFINITY, -INFINITY, NAN, 0.04045f, 1e-30f}) values.push_back(v);
    while (values.size() % icc::kBlockPixels != 5) values.push_back(0.5f);  // a partial last block

    std::vector<ICCTransferFunction> functions = {kICCsRGBProfile.trc[0].parametric,
                                                  {2.19921875f, 1, 0, 0, 0, 0, 0},
                                                  {0.05f, 1.3f, -0.2f, 3.0f, 0.1f, -0.3f, 0.01f},
                                                  {40.0f, 0.5f, 0.5f, 0, 0, 0, 0}};
    ICCTransferFunction inverse;
    ASSERT_TRUE(icc::invertTransferFunction(functions[0], &inverse));
    functions.push_back(inverse);

    icc::StageData d;
    d.channels = 4;
    for (int ch = 0; ch < 3; ++ch) d.curves[ch].parametric = functions[size_t(ch)];
    d.curves[3].parametric = functions[3];
    const float m[3][4] = {{0.4f, 1.7f, -0.3f, 0.01f}, {-2.5f, 0.3f, 1e-3f, 0.0f}, {1e30f, -1e30f, 0.2f, -0.5f}};
    std::memcpy(d.matrix, m, sizeof m);
    for (int shift = 0; shift < 2; ++shift) {
        if (shift) d.curves[0].parametric = functions[4];
        for (size_t at = 0; at < values.size(); at += icc::kBlockPixels) {
            const int n = static_cast<int>(std::min<size_t>(icc::kBlockPixels, values.size() - at));
            icc::PixelBlock in;
            for (int ch = 0; ch < 4; ++ch)
                for (int i = 0; i < n; ++i) in.c[ch][i] = values[at + size_t((i + 17 * ch + shift) % n)];
            for (bool wide : {false, true}) {
                const icc::VectorStages v = icc::vectorStages(wide);
                using Pair = std::pair<icc::StageFn, icc::StageFn>;
                for (const Pair& stages : {Pair{v.transferFunctions, icc::stageTransferFunctions},
                                           Pair{v.matrix, icc::stageMatrix}, Pair{v.clamp, icc::stageClamp}}) {
                    icc::PixelBlock a = in, b = in;
                    stages.first(d, a, n);
                    stages.second(d, b, n);
                    for (int ch = 0; ch < 4; ++ch)
                        for (int i = 0; i < n; ++i)
                            ASSERT_TRUE(sameBits(a.c[ch][i], b.c[ch][i]))
                                << v.lanes << " lanes: input " << in.c[ch][i] << " gave " << a.c[ch][i] << " and "
                                << b.c[ch][i];
                }
                icc::CodeBlock codes;
                v.quantise(in, 4, 65535.0f, codes, n);
                for (int ch = 0; ch < 4; ++ch)
                    for (int i = 0; i < n; ++i) ASSERT_EQ(codes.c[ch][i], icc::quantise(in.c[ch][i], 65535.0f));
            }
        }
    }
}

}  // namespace
}  // namespace KROCOLOR
