// The command line's vocabulary: every spelling the options document must
// resolve to the H.273 code it names. The format names are held to FFmpeg's
// descriptors by tests/format_tables_agree_test.cpp.
#include <gtest/gtest.h>

#include "color_names.h"
#include "pixel_formats.h"

namespace krocolor {
namespace {

struct NameCase {
    ColorKind kind;
    const char* text;
    int code;  // kRefused: not a name of that kind
};

constexpr int kRefused = -999;

// Codes from ITU-T H.273 tables 2-4 and the library's additions
// (Adobe RGB 23, ProPhoto 24, pure power 1.8 = 19, pure power 2.6 = 100).
// The aliases the e2e VerboseNames case gives (2020, pq, srgb, limited,
// display-p3) and the names it refuses are not repeated here.
const NameCase kNameCases[] = {
    {ColorKind::Primaries, "bt709", 1},       {ColorKind::Primaries, "709", 1},
    {ColorKind::Primaries, "bt470bg", 5},     {ColorKind::Primaries, "smpte170m", 6},
    {ColorKind::Primaries, "bt2020", 9},      {ColorKind::Primaries, "BT2020", 9},
    {ColorKind::Primaries, "smpte431", 11},   {ColorKind::Primaries, "dci-p3", 11},
    {ColorKind::Primaries, "smpte432", 12},   {ColorKind::Primaries, "22", 22},
    {ColorKind::Primaries, "adobe", 23},      {ColorKind::Primaries, "prophoto", 24},
    {ColorKind::Transfer, "smpte2084", 16},   {ColorKind::Transfer, "iec61966-2-1", 13},
    {ColorKind::Transfer, "arib-std-b67", 18}, {ColorKind::Transfer, "hlg", 18},
    {ColorKind::Transfer, "gamma1.8", 19},    {ColorKind::Transfer, "gamma2.2", 4},
    {ColorKind::Transfer, "gamma2.6", 100},   {ColorKind::Transfer, "bt709", 1},
    {ColorKind::Transfer, "linear", 8},       {ColorKind::Transfer, "bt2020-10", 14},
    {ColorKind::Matrix, "bt709", 1},          {ColorKind::Matrix, "bt2020nc", 9},
    {ColorKind::Matrix, "bt2020c", 10},       {ColorKind::Matrix, "ycgco", 8},
    {ColorKind::Matrix, "rgb", 0},            {ColorKind::Matrix, "gbr", 0},
    {ColorKind::Matrix, "smpte170m", 6},      {ColorKind::Matrix, "bt470bg", 5},
    {ColorKind::Range, "tv", 1},              {ColorKind::Range, "mpeg", 1},
    {ColorKind::Range, "pc", 2},              {ColorKind::Range, "full", 2},
    {ColorKind::Range, "jpeg", 2},            {ColorKind::Range, "-1", -1},
    {ColorKind::Range, "", kRefused},
    {ColorKind::Range, "bt709", kRefused},  // a name of one kind is not a name of another
};

TEST(KrocolorNames, ColourSpellingsResolveToTheirCodesOrAreRefused) {
    for (const auto& c : kNameCases) {
        int code = 0;
        const bool parsed = parseColorValue(c.kind, c.text, code);
        EXPECT_EQ(parsed, c.code != kRefused) << c.text;
        if (parsed) {
            EXPECT_EQ(code, c.code) << colorKindName(c.kind) << " " << c.text;
        }
    }
}

TEST(KrocolorNames, EveryCanonicalNameRoundTrips) {
    for (const auto& n : colorNames()) {
        int code = -999;
        ASSERT_TRUE(parseColorValue(n.kind, n.name, code)) << n.name;
        EXPECT_EQ(code, n.code) << n.name;
        EXPECT_EQ(describeColorValue(n.kind, n.code), std::string(n.name) + " (" + std::to_string(n.code) + ")");
    }
}

TEST(KrocolorFormats, UnknownNamesAndImpossibleSizesAreRefused) {
    EXPECT_EQ(findPixelFormat("unknown-format"), nullptr);
    EXPECT_EQ(findPixelFormat("127"), nullptr);
    const PixelFormatInfo& f = *findPixelFormat("rgba64le");
    FrameGeometry g;
    std::string why;
    EXPECT_FALSE(computeGeometry(f, 0, 10, g, why));
    EXPECT_FALSE(computeGeometry(f, 10, -1, g, why));
    EXPECT_FALSE(computeGeometry(f, kMaxSide + 1, 1, g, why));
    EXPECT_TRUE(computeGeometry(f, kMaxSide, kMaxSide, g, why));
    EXPECT_EQ(g.frameBytes, size_t(kMaxSide) * kMaxSide * 8);
}

}  // namespace
}  // namespace krocolor
