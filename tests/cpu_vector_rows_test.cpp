// The colour pass against the pixel-by-pixel reading of the pipeline
// (readPixel, convertPixel, writePixel): the per-pixel rows, the vector rows
// and the direct rows must all give its bytes for every host format pair
// under a spread of colour descriptions, at awkward sizes and strides; and
// the exact curve shortcuts must reproduce the per-pixel codes for every
// input they can be given.
#include <gtest/gtest.h>

#include <cstring>
#include <iterator>
#include <limits>
#include <memory>
#include <string>

#include "KROColorFunctions.h"
#include "color/code_thresholds.h"
#include "color/color_constants.h"
#include "color/curve_functions.h"
#include "color/pixel_kernels.h"
#include "color/row_isa.h"
#include "color/color_science.h"
#include "cpu/cpu_context.h"
#include "cpu/sample_access.h"
#include "support/format_sweep.h"

using namespace KROCOLOR;
using ColourCase = KROCOLOR::test::DescriptionPair;
using KROCOLOR::test::FrameBuffers;

namespace {

const std::vector<int32_t> kHostFormats = test::cpuFormats();

// Each case sends the pixels through a different set of stages and curves.
const ColourCase kColourCases[] = {
    {"RequantiseOnly", {1, 1, 1, 1}, {1, 1, 1, 1}, 0},
    {"MatrixAndRange", {1, 1, 1, 1}, {1, 1, 5, 2}, 0},
    {"FullRangeMatrix", {1, 1, 6, 2}, {1, 1, 9, 1}, 0},
    {"PQToSDR", {9, 16, 9, 1}, {1, 1, 1, 2}, 0},
    {"PQToPQWithPeak", {9, 16, 9, 2}, {1, 16, 1, 1}, 1000},
    {"HLGToBT2020_12", {9, 18, 10, 1}, {9, 15, 10, 2}, 0},
    {"SRGBToHLG", {1, 13, 0, 2}, {9, 18, 9, 1}, 0},
    {"SDRToPQ", {5, 6, 6, 1}, {9, 16, 9, 1}, 0},
    {"Gamma22ToXvYCC", {12, 4, 8, 2}, {11, 11, 1, 1}, 0},
    {"DCIP3ToSRGB", {11, 100, 1, 1}, {12, 13, 1, 2}, 0},
    {"Gamma18ToBT601", {23, 19, 1, 1}, {6, 6, 6, 1}, 0},
    {"ProPhotoToBT709", {24, 1, 1, 2}, {1, 14, 1, 1}, 0},
    {"BT2020CLToSRGB", {9, 15, 10, 2}, {1, 13, 10, 2}, 0},
    {"PQToHLG", {9, 16, 9, 1}, {9, 18, 9, 1}, 0},
    {"HLGToSDR", {9, 18, 9, 2}, {1, 1, 1, 1}, 0},
    {"UnknownValues", {77, 55, 42, 0}, {3, 101, -1, 9}, 0},
};

// (width, height, row padding of the source, of the destination): odd
// sizes, runs longer than one block, strides wider than a row.
struct Shape {
    int width, height, srcPad, dstPad;
};
const Shape kShapes[] = {{37, 11, 0, 3}, {131, 3, 5, 0}, {1, 1, 1, 0}};

// Converts a random source of `shape` into `dst` on `isa`, or pixel by pixel
// with convertPixel when isa is null.
void convert(int32_t srcFormat, const ColourCase& c, const Shape& s, const RowIsa* isa, FrameBuffers& dst) {
    FrameBuffers src(srcFormat, s.width, s.height, s.srcPad);
    src.fillRandom(static_cast<uint32_t>(srcFormat * 7919 + dst.format() * 104729 + s.width));
    dst.fillRandom(1);
    const KROFrame in = src.frame(c.src);
    KROFrame out = dst.frame(c.dst);
    if (!isa) {
        const SampleAccess reader = sampleAccessFor(srcFormat), writer = sampleAccessFor(dst.format());
        const ColorSide from = colorSideOf(in), to = colorSideOf(out);
        for (int y = 0; y < s.height; ++y)
            for (int x = 0; x < s.width; ++x)
                writePixel(writer, out, x, y, convertPixel(readPixel(reader, in, x, y), from, to, c.peak ? c.peak : 10000));
        return;
    }
    KROReturn error = kKROSuccess;
    std::unique_ptr<IConvertor> cpu = createCPUConvertor(false, error);
    ASSERT_TRUE(cpu);
    if (c.peak) cpu->setMetaData({{"src_max_luminance", std::to_string(c.peak)}});
    forceRowIsa(*isa);
    const KROReturn rc = cpu->convertColor(&in, &out);
    resetRowIsa();
    ASSERT_EQ(rc, kKROSuccess);
}

class RowsMatchPixelReference : public ::testing::TestWithParam<std::tuple<int, int32_t>> {};

TEST_P(RowsMatchPixelReference, EveryDestinationFormat) {
    const ColourCase& c = kColourCases[std::get<0>(GetParam())];
    const int32_t srcFormat = std::get<1>(GetParam());
    for (const int32_t dstFormat : kHostFormats)
        for (const Shape& s : kShapes) {
            FrameBuffers want(dstFormat, s.width, s.height, s.dstPad);
            convert(srcFormat, c, s, nullptr, want);
            for (const RowIsa isa : {RowIsa::Plain, RowIsa::SSE2, RowIsa::AVX2}) {
                if (static_cast<int>(isa) > static_cast<int>(bestRowIsa())) continue;
                FrameBuffers got(dstFormat, s.width, s.height, s.dstPad);
                convert(srcFormat, c, s, &isa, got);
                for (int p = 0; p < want.planeCount(); ++p)
                    ASSERT_EQ(std::memcmp(want.plane(p), got.plane(p), want.size(p)), 0)
                        << srcFormat << " -> " << dstFormat << " " << s.width << "x" << s.height << " plane " << p
                        << " isa " << static_cast<int>(isa);
            }
        }
}

INSTANTIATE_TEST_SUITE_P(AllPairs, RowsMatchPixelReference,
                         ::testing::Combine(::testing::Range(0, static_cast<int>(std::size(kColourCases))),
                                            ::testing::ValuesIn(kHostFormats)),
                         [](const auto& info) {
                             return std::string(kColourCases[std::get<0>(info.param)].name) + "_" +
                                    std::to_string(std::get<1>(info.param));
                         });

// ------------------------------------------------------- exact curve shortcuts

// A float's bits and back.
template <typename To, typename From>
To bitCast(From from) {
    To to;
    std::memcpy(&to, &from, sizeof to);
    return to;
}

// The definition of the threshold code, without the shortcuts of
// countThresholds.
int countAtOrBelow(const CodeThresholds& t, float x) {
    int code = 0;
    for (int k = 1; k < 256; ++k) code += x >= t.t[k] ? 1 : 0;
    return code;
}

// The per-pixel pipeline's code for x: the curve's row stage followed by
// 8-bit RGB quantisation, spelled out with the same inline kernels.
template <float (*F)(float)>
int pipelineCode(float x) {
    return kernels::toCode(F(x) * kFullScale8, kFullScale8);
}

struct EncodeCase {
    Curve curve;
    int (*code)(float);
};

class EncodeThresholds : public ::testing::TestWithParam<EncodeCase> {};

// The thresholds replace curve + quantisation only if that composition is
// monotone. Counting thresholds must give the pipeline's code for every
// float in [0, 1] (the counted code is monotone, so this proves the
// composition monotone there) and at the edges outside it: negative values,
// values above 1, infinities and NaN.
TEST_P(EncodeThresholds, ExactForEveryFloatInUnitRange) {
    const EncodeCase c = GetParam();
    ASSERT_TRUE(encodeHasThresholds(c.curve));
    const CodeThresholds* t = codeThresholds8(c.curve, kPqScaleFromHdr);
    ASSERT_NE(t, nullptr);

    int next = 1;  // the next threshold the ascending sweep must meet
    for (uint32_t b = 0; b <= bitCast<uint32_t>(1.0f); ++b) {
        const float x = bitCast<float>(b);
        while (next < 256 && x >= t->t[next]) ++next;
        const int code = c.code(x);
        if (code != next - 1 || countThresholds(*t, x) != code)
            FAIL() << "code " << code << " at " << x << ", counted " << next - 1 << ", looked up "
                   << countThresholds(*t, x);
    }
    const float inf = std::numeric_limits<float>::infinity();
    const float nan = std::numeric_limits<float>::quiet_NaN();
    for (const float x : {-inf, -1e30f, -2.0f, -1.0f, -0.5f, -0.018f, -1e-6f, -1e-30f, -0.0f, 1.0000001f, 1.5f,
                          2.0f, 20.0f, 1e6f, 1e30f, inf, nan, -nan})
    {
        EXPECT_EQ(c.code(x), countAtOrBelow(*t, x)) << "at " << x;
        EXPECT_EQ(c.code(x), countThresholds(*t, x)) << "at " << x;
    }
    for (uint32_t b = bitCast<uint32_t>(1.0f); b < bitCast<uint32_t>(inf); b += 4099)
        ASSERT_TRUE(c.code(bitCast<float>(b)) == 255 && countThresholds(*t, bitCast<float>(b)) == 255) << bitCast<float>(b);
    for (uint32_t b = bitCast<uint32_t>(-0.0f); b < bitCast<uint32_t>(-inf); b += 4099)
        ASSERT_TRUE(c.code(bitCast<float>(b)) == 0 && countThresholds(*t, bitCast<float>(b)) == 0) << bitCast<float>(b);
}

INSTANTIATE_TEST_SUITE_P(Curves, EncodeThresholds,
                         ::testing::Values(EncodeCase{Curve::BT709, &pipelineCode<curves::BT709_OETF>},
                                           EncodeCase{Curve::BT709Unclamped,
                                                      &pipelineCode<curves::BT709_OETF_unclamped>},
                                           EncodeCase{Curve::BT2020_12, &pipelineCode<curves::BT2020_OETF_12>},
                                           EncodeCase{Curve::SRGB, &pipelineCode<curves::sRGB_OETF>},
                                           EncodeCase{Curve::HLG, &pipelineCode<curves::HLG_OETF>}));

// Curves left to the per-sample path are not offered.
TEST(EncodeThresholdsOffered, OnlyForCurvesCheckedAbove) {
    for (const Curve c : {Curve::Gamma22, Curve::Gamma18, Curve::Gamma26, Curve::XvYCC, Curve::PQ}) {
        EXPECT_FALSE(encodeHasThresholds(c));
        EXPECT_EQ(codeThresholds8(c, kPqScaleFromHdr), nullptr);
    }
}

}  // namespace
