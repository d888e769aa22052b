// The SIMD convertor against the scalar CPUContext: every host format pair,
// colour descriptions from SDR to PQ, HLG and wide gamuts, sizes around the
// four-pixel block (tails of 0-3 pixels, serial and pooled frames), padded
// strides, and scaling up and down, every frame against a guard page. Correctness of the colour mathematics
// itself is pinned by the scalar convertor's own tests; this sweep keeps the
// vector path from drifting away from it.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <string>
#include <vector>

#include "KROColorFunctions.h"
#include "cpu/cpu_context.h"
#include "cpu/xsimd/xsimd_context.h"
#include "support/format_sweep.h"
#include "support/frame_buffers.h"

using namespace KROCOLOR;
using KROCOLOR::test::FrameBuffers;
using KROCOLOR::test::guardPlacement;

namespace {

struct Description {
    int32_t primaries, transfer, matrix, range;
};

struct ColourCase {
    const char* name;
    Description src, dst;
    const char* peak;  // "src_max_luminance", or null for none
};

constexpr int32_t kLimited = kColorRangeMpeg, kFull = kColorRangeJpeg;

const ColourCase kColourCases[] = {
    {"BT709 limited to full range", {1, 1, 1, kLimited}, {1, 1, 1, kFull}, nullptr},
    {"BT601 SDR to BT709", {5, 6, 5, kLimited}, {1, 1, 1, kLimited}, nullptr},
    {"BT2020 PQ to BT709 SDR", {9, 16, 9, kLimited}, {1, 1, 1, kLimited}, nullptr},
    {"BT2020 PQ to BT709 PQ", {9, 16, 9, kLimited}, {1, 16, 1, kFull}, nullptr},
    {"BT2020 PQ to BT709 PQ, peak 1000", {9, 16, 9, kLimited}, {1, 16, 1, kFull}, "1000"},
    {"HLG to BT709 SDR", {9, 18, 9, kLimited}, {1, 1, 1, kFull}, nullptr},
    {"BT709 SDR to HLG", {1, 1, 1, kFull}, {9, 18, 9, kLimited}, nullptr},
    {"Display P3 to BT709", {12, 13, 1, kFull}, {1, 1, 1, kLimited}, nullptr},
    {"DCI-P3 to BT2020", {11, 100, 1, kFull}, {9, 14, 9, kLimited}, nullptr},
    {"Adobe RGB to BT709", {23, 4, 1, kFull}, {1, 1, 1, kLimited}, nullptr},
    {"ProPhoto to BT709", {24, 19, 1, kFull}, {1, 13, 1, kFull}, nullptr},
    {"xvYCC to BT601", {1, 11, 1, kLimited}, {6, 6, 6, kFull}, nullptr},
    {"BT2020 constant luminance to BT709", {9, 15, 10, kLimited}, {1, 1, 10, kFull}, nullptr},
    {"BT709 to YCgCo", {1, 1, 1, kLimited}, {1, 1, 8, kFull}, nullptr},
    {"SDR to PQ", {1, 1, 1, kFull}, {9, 16, 9, kLimited}, nullptr},
    {"identical descriptions", {1, 1, 1, kLimited}, {1, 1, 1, kLimited}, nullptr},
};
constexpr int kColourCaseCount = static_cast<int>(sizeof(kColourCases) / sizeof(kColourCases[0]));

KROFrame describe(FrameBuffers& b, const Description& d) {
    return b.frame(d.primaries, d.transfer, d.matrix, d.range);
}

// Largest difference, in codes, between two frames of one format; bytes
// outside the samples (row padding) must match exactly.
int largestCodeDifference(const FrameBuffers& a, const FrameBuffers& b) {
    const FormatTraits& t = *formatTraits(a.format());
    int worst = 0;
    for (int p = 0; p < a.planeCount(); ++p) {
        const uint8_t* x = a.plane(p);
        const uint8_t* y = b.plane(p);
        const size_t rowBytes = static_cast<size_t>(planeRowBytes(t, p, a.width()));
        const size_t stride = static_cast<size_t>(a.stride(p));
        for (size_t i = 0; i < a.size(p); i += t.bytesPerSample) {
            if (i % stride >= rowBytes) {
                if (x[i] != y[i]) return 1 << 20;  // padding written
                if (t.bytesPerSample == 2 && x[i + 1] != y[i + 1]) return 1 << 20;
                continue;
            }
            int u = x[i], v = y[i];
            if (t.bytesPerSample == 2) {
                u = t.bigEndian ? (x[i] << 8 | x[i + 1]) : (x[i + 1] << 8 | x[i]);
                v = t.bigEndian ? (y[i] << 8 | y[i + 1]) : (y[i + 1] << 8 | y[i]);
                u >>= t.msbShift;
                v >>= t.msbShift;
            }
            worst = std::max(worst, std::abs(u - v));
        }
    }
    return worst;
}

// Converts one random frame with both convertors and returns the largest
// code difference. Every plane touches a guard page, at its end or its
// start as the seed says, and carries `padding` bytes after each row.
int compareWithScalar(int32_t srcFormat, int32_t dstFormat, const ColourCase& c, int sw, int sh, int dw, int dh,
                      int padding, uint32_t seed) {
    FrameBuffers src(srcFormat, sw, sh, padding, guardPlacement(seed));
    src.fillRandom(seed);
    FrameBuffers scalarOut(dstFormat, dw, dh, padding, guardPlacement(seed + 1)),
        simdOut(dstFormat, dw, dh, padding, guardPlacement(seed));
    scalarOut.fillRandom(seed + 1);
    simdOut.fillRandom(seed + 1);

    KROFrame s = describe(src, c.src);
    KROFrame d1 = describe(scalarOut, c.dst);
    KROFrame d2 = describe(simdOut, c.dst);
    CPUContext scalar;
    XSimdCPUContext simd;
    if (c.peak) {
        scalar.setMetaData({{"src_max_luminance", c.peak}});
        simd.setMetaData({{"src_max_luminance", c.peak}});
    }
    EXPECT_EQ(scalar.convertColor(&s, &d1), kKROSuccess);
    EXPECT_EQ(simd.convertColor(&s, &d2), kKROSuccess);
    return largestCodeDifference(scalarOut, simdOut);
}

// The tolerance of one conversion: one code, except in two places where
// float32 itself cannot promise one code.
//  - A PQ source meets a 16-bit destination. The PQ decoding forms
//    f = V^(1/m2) and then f - c1 with c1 = 0.8359375; for dark and
//    mid-grey signals f lies just above c1, so the difference keeps only a
//    few significant bits of f, and a last-bit difference between xsimd's
//    float32 power and the scalar powf grows by 1/(f - c1) and then by the
//    exponent 1/m1 = 6.28. At 65535 codes the paths disagree by up to a
//    dozen codes (2e-4 of full scale).
//  - PQ to PQ across primaries at 12 bits. Decoded light reaches 10 (peak
//    1000) before the gamut matrix; for saturated colours a matrix row such
//    as -0.1246 R + 1.1329 G - 0.0083 B cancels 0.9 down to 5e-5, keeping
//    only the last bits of float32 (1e-6 at 10), and the PQ encoding is
//    steepest right there (it rises as L^0.16). The two paths round the
//    terms differently, so the channel can differ by several percent of a
//    dark value; after the RGB to YUV matrix that is up to 7 codes of 4095.
int allowedDifference(const ColourCase& c, int32_t dstFormat) {
    const int depth = formatTraits(dstFormat)->depth;
    const bool pqSource = c.src.transfer == kColorTransferSMPTE2084;
    if (pqSource && depth == 16) return 16;
    if (pqSource && c.dst.transfer == kColorTransferSMPTE2084 && c.src.primaries != c.dst.primaries && depth == 12)
        return 8;
    return 1;
}

class XSimdAgainstScalar : public ::testing::TestWithParam<int> {};

// Every format pair with every colour case on three small sizes: block
// tails of 3, 1 and 1 pixels, chroma blocks cut at odd edges.
TEST_P(XSimdAgainstScalar, EveryFormatPairWithinOneCode) {
    const ColourCase& c = kColourCases[GetParam()];
    const std::vector<int32_t> formats = test::cpuFormats();
    const int sizes[][2] = {{3, 7}, {5, 5}, {17, 13}};
    uint32_t seed = 7u + static_cast<uint32_t>(GetParam()) * 1000u;
    for (int32_t sf : formats)
        for (int32_t df : formats)
            for (const auto& sz : sizes) {
                const int diff = compareWithScalar(sf, df, c, sz[0], sz[1], sz[0], sz[1], (seed % 3) * 4, seed);
                ++seed;
                ASSERT_LE(diff, allowedDifference(c, df))
                    << c.name << ": " << sf << " -> " << df << " at " << sz[0] << "x" << sz[1];
            }
}

INSTANTIATE_TEST_SUITE_P(ColourCases, XSimdAgainstScalar, ::testing::Range(0, kColourCaseCount));

// Every format pair at a single pixel, a 9-pixel-wide column converted
// serially, a pooled 64x48 frame and the other awkward sizes (single rows and
// columns, odd chroma, rows around 16 bytes), the colour case rotating so
// that every case meets every size.
class XSimdAgainstScalarSizes : public ::testing::TestWithParam<int32_t> {};

TEST_P(XSimdAgainstScalarSizes, SerialAndPooledFramesWithinOneCode) {
    std::vector<test::FrameSize> sizes = {{1, 1}, {9, 1000}, {64, 48}};
    for (const test::FrameSize& s : test::kAwkwardSizes)
        if (s.width * s.height > 1) sizes.push_back(s);
    const std::vector<int32_t> formats = test::cpuFormats();
    const int first = static_cast<int>(std::find(formats.begin(), formats.end(), GetParam()) - formats.begin());
    for (int d = 0; d < static_cast<int>(formats.size()); ++d) {
        const int pair = first * static_cast<int>(formats.size()) + d + 1;
        for (int s = 0; s < static_cast<int>(sizes.size()); ++s) {
            const ColourCase& c = kColourCases[(pair + s * 5) % kColourCaseCount];
            const auto [w, h] = sizes[size_t(s)];
            const int padding = (s < 3 ? pair : pair + s) % 2 ? 0 : 16;
            const uint32_t seed = static_cast<uint32_t>(s < 3 ? pair * 3 + s : 100000 + pair * 16 + s);
            const int diff = compareWithScalar(GetParam(), formats[size_t(d)], c, w, h, w, h, padding, seed);
            ASSERT_LE(diff, allowedDifference(c, formats[size_t(d)]))
                << c.name << ": " << GetParam() << " -> " << formats[size_t(d)] << " at " << w << "x" << h;
        }
    }
}

INSTANTIATE_TEST_SUITE_P(SourceFormats, XSimdAgainstScalarSizes, ::testing::ValuesIn(test::cpuFormats()));

// Scaling: colour pass into the intermediate frame, then the block scaler;
// up and down, single rows and columns, odd sizes, tails on both sides of
// the scaler. Every destination format meets every geometry, the source
// format rotating.
TEST(XSimdAgainstScalarScaling, UpAndDownWithinOneCode) {
    struct Geometry {
        int sw, sh, dw, dh;
    };
    const Geometry geometries[] = {{17, 13, 5, 9},   {5, 5, 17, 13},  {64, 48, 33, 20}, {30, 20, 97, 61},
                                   {64, 48, 64, 13}, {9, 1000, 3, 500}, {101, 11, 10, 10}, {1, 1, 3, 3},
                                   {3, 3, 1, 1},     {33, 1, 1, 33},  {1, 33, 16, 8},   {16, 8, 15, 7}};
    const std::vector<int32_t> formats = test::cpuFormats();
    uint32_t seed = 99;
    for (const Geometry& g : geometries)
        for (size_t d = 0; d < formats.size(); ++d)
            for (int caseIndex : {0, 2, 5, 15}) {
                const int32_t sf = formats[(d * 7 + seed) % formats.size()], df = formats[d];
                const ColourCase& c = kColourCases[caseIndex];
                const int diff = compareWithScalar(sf, df, c, g.sw, g.sh, g.dw, g.dh, seed % 3 ? 0 : 4, seed);
                ++seed;
                ASSERT_LE(diff, allowedDifference(c, df)) << c.name << ": " << sf << " -> " << df << " " << g.sw << "x"
                                                          << g.sh << " -> " << g.dw << "x" << g.dh;
            }
}

}  // namespace
