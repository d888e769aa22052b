// The SIMD CPU convertor's own behaviour: its aligned allocator, the
// intermediate frame, and its eight-lane (AVX2) rows giving the bytes of its
// four-lane (SSE2) ones. Its selection, pixels, pass-through copy, rotation
// and cropping are held in backend_selection_test, conformance_test,
// cpu_convertor_test and geometry_kernels_test.
#include <gtest/gtest.h>

#include <cstring>

#include "KROColorFunctions.h"
#include "cpu/xsimd/xsimd_context.h"
#include "cpu/xsimd/xsimd_passes.h"
#include "cpu/xsimd/xsimd_vector_plan.h"
#include "support/format_sweep.h"
#include "support/frame_buffers.h"

using namespace KROCOLOR;
using KROCOLOR::test::FrameBuffers;

namespace {

TEST(XSimdMemory, BlocksAreAlignedUsableAndFreed) {
    for (uint64_t size : {0ull, 1ull, 63ull, 64ull, 65ull, 4097ull}) {
        uint8_t* p = static_cast<uint8_t*>(KROXSimd::malloc(size));
        ASSERT_NE(p, nullptr) << size;
        EXPECT_EQ(reinterpret_cast<uintptr_t>(p) % 64, 0u);
        if (size) std::memset(p, 0xA5, size);  // every byte promised is usable
        KROXSimd::free(p);
    }
    KROXSimd::free(nullptr);
    for (uint64_t huge : {UINT64_MAX, UINT64_MAX - 70}) EXPECT_EQ(KROXSimd::malloc(huge), nullptr) << huge;
    alignas(64) static uint8_t block[128];
    EXPECT_TRUE(KROXSimd::isAligned(block, 64) && KROXSimd::isAligned(block + 8, 8));
    EXPECT_FALSE(KROXSimd::isAligned(block + 1, 2) || KROXSimd::isAligned(block + 8, 16));
}

// Absent frames are refused; a byte-only format has no intermediate layout,
// so scaling into it fails, and keeps failing for the same geometry.
TEST(XSimdConvertor, Refusals) {
    XSimdCPUContext c;
    KROFrame f;
    EXPECT_EQ(c.convertColor(nullptr, &f), kKROInputParamError);
    EXPECT_EQ(c.convertColor(&f, nullptr), kKROInputParamError);
    FrameBuffers src(kKRORGBA8888Format, 8, 8), grey(kKROI8Format, 4, 4);
    KROFrame s = src.frame(1, 1, 0, kColorRangeJpeg), d = grey.frame(9, 0, 0, 0);
    EXPECT_EQ(c.convertColor(&s, &d), kKRORunCPUKernelError);
    EXPECT_EQ(c.convertColor(&s, &d), kKRORunCPUKernelError);
}

TEST(XSimdConvertor, IntermediateFrameIsReusedAndReplaced) {
    XSimdCPUContext c;
    FrameBuffers src(kKROYUV420PFormat, 64, 36);
    src.fillRandom(1);
    FrameBuffers half(kKROYUV420PFormat, 32, 18), rgba(kKRORGBA8888Format, 32, 18);
    KROFrame s = src.frame(1, 1, 1, kColorRangeMpeg);
    KROFrame d = half.frame(1, 1, 1, kColorRangeJpeg);  // full range: a colour pass runs
    ASSERT_EQ(c.convertColor(&s, &d), kKROSuccess);
    const std::string first = c.intermediateFrame().frame().name;
    EXPECT_EQ(first.rfind("KROFrame-", 0), 0u);
    EXPECT_EQ(c.intermediateFrame().frame().width, 64);
    EXPECT_TRUE(KROXSimd::isAligned(c.intermediateFrame().frame().planes[1], 64));
    ASSERT_EQ(c.convertColor(&s, &d), kKROSuccess);
    EXPECT_EQ(c.intermediateFrame().frame().name, first);
    KROFrame r = rgba.frame(1, 1, 0, kColorRangeJpeg);
    ASSERT_EQ(c.convertColor(&s, &r), kKROSuccess);
    EXPECT_NE(c.intermediateFrame().frame().name, first);
    EXPECT_EQ(c.intermediateFrame().frame().format, kKRORGBA8888Format);
}

// Eight lanes may only change speed: every frame's bytes are those of the
// four-lane rows, for every host format pair, curves with powers, exponentials
// and logarithms, the constant-luminance matrix and matrix-only conversions,
// and widths that leave every remainder after eight- and four-pixel blocks
// (77 = one 64-pixel chunk, one 8-pixel block, one 4-pixel block, one pixel).
TEST(XSimdConvertor, EightLanesGiveTheBytesOfFourLanes) {
    simd::setLaneLimit(8);
    if (simd::activeLanes() != 8) GTEST_SKIP() << "this processor has no AVX2";
    const test::DescriptionPair cases[] = {
        {"PQ to SDR", {9, 16, 9, 1}, {1, 1, 1, 2}, 1000},
        {"SDR to PQ", {1, 1, 1, 2}, {9, 16, 9, 1}, 10000},
        {"HLG to SDR", {9, 18, 9, 1}, {1, 1, 1, 2}, 10000},
        {"SDR to HLG", {1, 1, 1, 2}, {9, 18, 9, 1}, 10000},
        {"sRGB to BT.709", {12, 13, 1, 2}, {1, 1, 1, 1}, 10000},
        {"gamma 2.2 to gamma 1.8", {23, 4, 1, 2}, {1, 19, 5, 1}, 10000},
        {"BT.2020 constant luminance", {9, 15, 10, 1}, {9, 14, 10, 2}, 10000},
        {"matrix and range only", {1, 1, 1, 1}, {1, 1, 6, 2}, 10000},
    };
    std::vector<int> widths;
    for (int w = 1; w <= 19; ++w) widths.push_back(w);
    widths.push_back(77);
    const std::vector<int32_t> formats = test::cpuFormats();
    for (int32_t sf : formats)
        for (int w : widths) {
            FrameBuffers src(sf, w, 2);
            src.fillRandom(static_cast<uint32_t>(sf * 131 + w));
            for (int32_t df : formats)
                for (const test::DescriptionPair& c : cases) {
                    FrameBuffers out[2] = {FrameBuffers(df, w, 2), FrameBuffers(df, w, 2)};
                    for (int i = 0; i < 2; ++i) {
                        out[i].fill(0x5A);
                        simd::setLaneLimit(i ? 4 : 8);
                        KROFrame d = out[i].frame(c.dst);
                        xsimdColorPass(src.frame(c.src), d, c.peak, false);
                    }
                    for (int p = 0; p < out[0].planeCount(); ++p)
                        ASSERT_EQ(std::memcmp(out[0].plane(p), out[1].plane(p), out[0].size(p)), 0)
                            << sf << " -> " << df << ", width " << w << ", " << c.name << ", plane " << p;
                }
        }
    simd::setLaneLimit(simd::kMaxLanes);
}

}  // namespace
