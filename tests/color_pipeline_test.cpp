// PixelPipeline (decisions per frame, row loops) against convertPixel (one
// pixel, decisions per call): bit-identical over random codes for a grid of
// format pairs and colour descriptions.
#include <gtest/gtest.h>

#include <cstring>
#include <random>
#include <vector>

#include "KROColorFunctions.h"
#include "color/color_science.h"

using namespace KROCOLOR;

namespace {

struct Description {
    const char* name;
    int32_t srcRange, srcPrimaries, srcTransfer, srcMatrix;
    int32_t dstRange, dstPrimaries, dstTransfer, dstMatrix;
    int32_t peak;
};

const Description kDescriptions[] = {
    {"Same", 1, 1, 1, 1, 1, 1, 1, 1, 10000},
    {"RangeOnly", 1, 1, 1, 1, 2, 1, 1, 1, 10000},
    {"MatrixOnly", 2, 1, 1, 1, 2, 1, 1, 5, 10000},
    {"Bt709ToBt2020", 1, 1, 1, 1, 1, 9, 14, 9, 10000},
    {"Bt2020ClToSrgb", 2, 9, 15, 10, 2, 1, 13, 10, 10000},
    {"SrgbToDisplayP3Gamma22", 2, 1, 13, 0, 1, 12, 4, 6, 10000},
    {"PqToSdr", 1, 9, 16, 9, 1, 1, 1, 1, 10000},
    {"PqToHlg", 1, 9, 16, 9, 1, 9, 18, 9, 10000},
    {"PqToPqPeak1000", 1, 9, 16, 9, 2, 1, 16, 1, 1000},
    {"PqToPqPeak400", 1, 9, 16, 10, 1, 12, 16, 9, 400},
    {"HlgToPq", 1, 9, 18, 9, 1, 9, 16, 9, 10000},
    {"HlgToSdr", 2, 9, 18, 9, 1, 1, 1, 1, 10000},
    {"XvyccToDci", 1, 11, 11, 8, 1, 24, 100, 8, 10000},
    {"AdobeGamma18ToBt601", 2, 23, 19, 7, 1, 6, 6, 6, 10000},
    {"UnknownValues", 0, 77, 55, 42, 9, 3, 101, -1, 10000},
};

const int32_t kFormats[] = {
    kKRORGB888Format,       kKRORGBA8888Format,     kKRONV12Format,        kKROYUV411PFormat,
    kKROYUV420P10LEFormat,  kKRONV1210LEFormat,     kKRONV1216LEFormat,    kKROYUV444P12LEFormat,
    kKRORGBA16BEFormat,     kKRORGB16LEFormat,      kKROBGRA8888Format,    kKROYUVA444P10LEFormat,
    kKROYUVA444P12LEFormat, kKROCMYK8888Format,
};

class ColorPipelineSweep : public ::testing::TestWithParam<Description> {};

TEST_P(ColorPipelineSweep, RunMatchesConvertPixelBitExactly) {
    const Description& d = GetParam();
    std::mt19937 rng(12345);
    // 203 pixels: several 64-pixel blocks and a short tail.
    constexpr int kCount = 203;
    std::vector<NativePixel> in(kCount), expected(kCount), out(kCount);
    for (int32_t sf : kFormats) {
        const FormatTraits* st = formatTraits(sf);
        const uint32_t maxCode = (1u << st->depth) - 1u;
        for (int i = 0; i < kCount; ++i)
            for (uint16_t& c : in[i].c)
                // Mostly valid codes; every fourth pixel any 16-bit word.
                c = static_cast<uint16_t>(i % 4 == 3 ? rng() & 0xFFFF : rng() % (maxCode + 1));
        for (int32_t df : kFormats) {
            const ColorSide src{st, d.srcRange, d.srcPrimaries, d.srcTransfer, d.srcMatrix};
            ColorSide dst{formatTraits(df), d.dstRange, d.dstPrimaries, d.dstTransfer, d.dstMatrix};
            if (std::strcmp(d.name, "Same") == 0) dst = src;
            for (int i = 0; i < kCount; ++i) expected[i] = convertPixel(in[i], src, dst, d.peak);
            const PixelPipeline pipeline(src, dst, d.peak);
            pipeline.run(in.data(), out.data(), kCount);
            ASSERT_EQ(std::memcmp(out.data(), expected.data(), sizeof(NativePixel) * kCount), 0)
                << sf << " -> " << df;
            // In place gives the same.
            std::vector<NativePixel> inplace = in;
            pipeline.run(inplace.data(), inplace.data(), kCount);
            ASSERT_EQ(std::memcmp(inplace.data(), expected.data(), sizeof(NativePixel) * kCount), 0)
                << sf << " -> " << df << " in place";
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Descriptions, ColorPipelineSweep, ::testing::ValuesIn(kDescriptions),
                         [](const ::testing::TestParamInfo<Description>& info) {
                             return std::string(info.param.name);
                         });

}  // namespace
