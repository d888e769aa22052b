// convertToLab against values worked out independently from the published
// formulas by tests/tools/color_expected.py (its last table). That script
// shares no code with the library and works in double precision, so the
// single-precision results agree to well within 0.01.
#include <gtest/gtest.h>

#include "KROColorFunctions.h"

namespace KROCOLOR {
namespace {

struct LabCase {
    const char* label;
    int primaries, transfer;
    float r, g, b;
    double L, a, bStar;
};

// Output of tests/tools/color_expected.py ("convertToLab rows"); its black
// rows are checked more tightly by BlackIsZeroExceptForTheHlgBlackLift.
const LabCase kCases[] = {
    {"srgb white", 1, 13, 1.0f, 1.0f, 1.0f, 100.0000, -0.0000, -0.0186},
    {"srgb red", 1, 13, 1.0f, 0.0f, 0.0f, 53.2371, 80.0901, 67.1984},
    {"srgb green", 1, 13, 0.0f, 1.0f, 0.0f, 87.7355, -86.1816, 83.1777},
    {"srgb blue", 1, 13, 0.0f, 0.0f, 1.0f, 32.3009, 79.1953, -107.8732},
    {"dark skin", 1, 13, 0.450980395f, 0.321568638f, 0.266666681f, 38.0162, 11.7947, 13.6565},
    {"light skin", 1, 13, 0.760784328f, 0.588235319f, 0.509803951f, 65.6666, 13.6719, 16.8864},
    {"blue sky", 1, 13, 0.384313732f, 0.478431374f, 0.615686297f, 50.6283, 0.3740, -21.6124},
    {"foliage", 1, 13, 0.34117648f, 0.423529416f, 0.262745112f, 42.9981, -15.8767, 20.4445},
    {"orange", 1, 13, 0.839215696f, 0.494117647f, 0.172549024f, 61.1345, 28.0995, 56.1243},
    {"neutral 5", 1, 13, 0.478431374f, 0.478431374f, 0.474509805f, 51.1947, -0.1999, 0.5352},
    {"negative input", 1, 13, -0.200000003f, -0.100000001f, -0.5f, 0.0000, 0.0000, 0.0000},
    {"bt709 transfer takes srgb", 1, 1, 0.5f, 0.25f, 0.75f, 41.1557, 51.4149, -56.4635},
    {"bt2020 sdr takes srgb", 9, 1, 0.5f, 0.25f, 0.75f, 41.1557, 51.4149, -56.4635},
    {"p3 srgb transfer takes srgb", 12, 13, 0.5f, 0.25f, 0.75f, 41.1557, 51.4149, -56.4635},
    {"pq 100 nits", 9, 16, 0.508078396f, 0.508078396f, 0.508078396f, 37.8424, -0.0000, -0.0086},
    {"pq 1000 nits", 9, 16, 0.751827121f, 0.751827121f, 0.751827121f, 100.0000, -0.0000, -0.0186},
    {"pq 4000 nits", 9, 16, 0.902572393f, 0.902572393f, 0.902572393f, 168.1385, -0.0000, -0.0295},
    {"pq colour", 9, 16, 0.600000024f, 0.449999988f, 0.300000012f, 38.2392, 45.2038, 48.7557},
    {"hlg peak white", 9, 18, 1.0f, 1.0f, 1.0f, 100.0000, -0.0000, -0.0186},
    {"hlg colour", 9, 18, 0.800000012f, 0.300000012f, 0.100000001f, 43.6775, 73.0940, 67.0514},
    {"hlg reference white", 9, 18, 0.75f, 0.75f, 0.75f, 61.7145, -0.0000, -0.0125},
    {"p3 red", 12, 1, 1.0f, 0.0f, 0.0f, 54.9666, 94.0925, 94.7699},
    {"p3 colour", 12, 1, 0.5f, 0.400000006f, 0.300000012f, 50.3867, 7.7994, 19.1943},
    {"p3 dark (linear segment)", 12, 1, 0.0500000007f, 0.0199999996f, 0.0700000003f, 6.1893, 12.7015, -11.1757},
};

void lab(int primaries, int transfer, float r, float g, float b, float* out) {
    EXPECT_EQ(kKROSuccess, convertToLab(static_cast<KROColorPrimaries>(primaries),
                                        static_cast<KROColorTransfer>(transfer), r, g, b, &out[0], &out[1], &out[2]));
}

TEST(LabConversion, MatchesIndependentlyComputedValues) {
    for (const LabCase& c : kCases) {
        float out[3] = {-1, -1, -1};
        lab(c.primaries, c.transfer, c.r, c.g, c.b, out);
        EXPECT_NEAR(c.L, out[0], 0.01) << c.label;
        EXPECT_NEAR(c.a, out[1], 0.01) << c.label;
        EXPECT_NEAR(c.bStar, out[2], 0.01) << c.label;
    }
}

// Black gives exactly zero on every path but HLG (9/18), whose black lift
// leaves Y = Lb / Lw = 2.463054e-5, i.e. L* = 903.3 x Y.
TEST(LabConversion, BlackIsZeroExceptForTheHlgBlackLift) {
    const int pairs[][2] = {{1, 1}, {1, 13}, {9, 16}, {9, 14}, {12, 1}, {12, 13}, {5, 6}, {23, 18}, {0, 0}, {9, 18}};
    for (const auto& p : pairs) {
        float out[3] = {-1, -1, -1};
        lab(p[0], p[1], 0, 0, 0, out);
        if (p[0] == 9 && p[1] == 18) {
            EXPECT_NEAR(903.3 * 2.463054e-5, out[0], 1e-4);
        } else {
            EXPECT_FLOAT_EQ(0.0f, out[0]) << p[0] << "/" << p[1];
        }
        EXPECT_NEAR(0.0f, out[1], 1e-4) << p[0] << "/" << p[1];
        EXPECT_NEAR(0.0f, out[2], 1e-4) << p[0] << "/" << p[1];
    }
}

}  // namespace
}  // namespace KROCOLOR
