// The command line's vocabulary: every spelling the options document must
// resolve to the H.273 / KROPixelFormat code it names, and the format table
// must describe each layout's byte size the way FFmpeg lays the frames out.
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
const NameCase kNameCases[] = {
    {ColorKind::Primaries, "bt709", 1},       {ColorKind::Primaries, "709", 1},
    {ColorKind::Primaries, "bt470bg", 5},     {ColorKind::Primaries, "smpte170m", 6},
    {ColorKind::Primaries, "bt2020", 9},      {ColorKind::Primaries, "2020", 9},
    {ColorKind::Primaries, "smpte431", 11},   {ColorKind::Primaries, "dci-p3", 11},
    {ColorKind::Primaries, "smpte432", 12},   {ColorKind::Primaries, "display-p3", 12},
    {ColorKind::Primaries, "adobe", 23},      {ColorKind::Primaries, "prophoto", 24},
    {ColorKind::Primaries, "BT2020", 9},      {ColorKind::Primaries, "22", 22},
    {ColorKind::Transfer, "smpte2084", 16},   {ColorKind::Transfer, "pq", 16},
    {ColorKind::Transfer, "arib-std-b67", 18}, {ColorKind::Transfer, "hlg", 18},
    {ColorKind::Transfer, "iec61966-2-1", 13}, {ColorKind::Transfer, "srgb", 13},
    {ColorKind::Transfer, "gamma1.8", 19},    {ColorKind::Transfer, "gamma2.2", 4},
    {ColorKind::Transfer, "gamma2.6", 100},   {ColorKind::Transfer, "bt709", 1},
    {ColorKind::Transfer, "linear", 8},       {ColorKind::Transfer, "bt2020-10", 14},
    {ColorKind::Matrix, "bt709", 1},          {ColorKind::Matrix, "bt2020nc", 9},
    {ColorKind::Matrix, "bt2020c", 10},       {ColorKind::Matrix, "ycgco", 8},
    {ColorKind::Matrix, "rgb", 0},            {ColorKind::Matrix, "gbr", 0},
    {ColorKind::Matrix, "smpte170m", 6},      {ColorKind::Matrix, "bt470bg", 5},
    {ColorKind::Range, "tv", 1},              {ColorKind::Range, "limited", 1},
    {ColorKind::Range, "mpeg", 1},            {ColorKind::Range, "pc", 2},
    {ColorKind::Range, "full", 2},            {ColorKind::Range, "jpeg", 2},
    {ColorKind::Range, "-1", -1},
    {ColorKind::Primaries, "bt2021", kRefused}, {ColorKind::Transfer, "pq2", kRefused},
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

struct FormatCase {
    const char* name;
    int code;
    int width, height;
    size_t frameBytes;  // as FFmpeg's rawvideo stores the frame (no padding)
};

// Frame sizes worked out by hand from each layout; odd sizes round the
// chroma planes up (ceil(w/2) samples for 4:2:0 and 4:2:2, ceil(w/4) for 4:1:1).
const FormatCase kFormatCases[] = {
    {"rgb24", 101, 5, 3, 5 * 3 * 3},
    {"rgba", 102, 5, 3, 5 * 3 * 4},
    {"nv12", 103, 5, 3, 5 * 3 + 6 * 2},               // UV plane: 3 pairs x 2 rows
    {"yuv420p", 104, 5, 3, 15 + 2 * (3 * 2)},
    {"yuv422p", 105, 5, 3, 15 + 2 * (3 * 3)},
    {"yuv444p", 106, 5, 3, 3 * 15},
    {"yuv420p10le", 107, 4, 2, 2 * (8 + 2 * 2)},
    {"p010le", 108, 4, 2, 2 * (8 + 4)},
    {"p016le", 109, 4, 2, 2 * (8 + 4)},
    {"yuv422p10le", 110, 4, 2, 2 * (8 + 2 * 4)},
    {"yuv444p10le", 111, 4, 2, 2 * 24},
    {"yuv444p12le", 112, 4, 2, 2 * 24},
    {"yuv444p16le", 113, 4, 2, 2 * 24},
    {"rgba64le", 114, 4, 2, 8 * 8},
    {"rgba64be", 115, 4, 2, 8 * 8},
    {"yuv411p", 116, 9, 2, 18 + 2 * (3 * 2)},
    {"rgb48le", 117, 4, 2, 6 * 8},
    {"rgb48be", 118, 4, 2, 6 * 8},
    {"bgr24", 119, 4, 2, 3 * 8},
    {"bgra", 120, 4, 2, 4 * 8},
    {"yuva444p10le", 124, 4, 2, 2 * 32},
    {"yuva444p12le", 125, 4, 2, 2 * 32},
    {"cmyk", 126, 4, 2, 4 * 8},
};

TEST(KrocolorFormats, NamesCodesAndFrameSizes) {
    for (const auto& c : kFormatCases) {
        const PixelFormatInfo* byName = findPixelFormat(c.name);
        ASSERT_NE(byName, nullptr) << c.name;
        EXPECT_EQ(byName->code, c.code) << c.name;
        EXPECT_EQ(findPixelFormat(std::to_string(c.code)), byName) << c.name;
        FrameGeometry g;
        std::string why;
        ASSERT_TRUE(computeGeometry(*byName, c.width, c.height, g, why)) << why;
        EXPECT_EQ(g.frameBytes, c.frameBytes) << c.name;
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
