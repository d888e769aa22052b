// The scalar CPU convertor end to end: the copy short-cut (with the SIMD
// convertor's), rows split between chunks and threads on guard-page frames,
// and the source peak from metadata. Every format pair against the
// pixel-by-pixel reference is in cpu_vector_rows_test.cpp, the reference's
// values against worked ones in color_pixel_test.cpp; scaling with and
// without a colour stage is held to the SIMD convertor's separate
// orchestration by conformance_test.cpp; the libswscale path has its own file.
#include <gtest/gtest.h>

#include <utility>
#include <vector>

#include "KROColorFunctions.h"
#include "color/color_science.h"
#include "cpu/cpu_context.h"
#include "cpu/sample_access.h"
#include "cpu/xsimd/xsimd_context.h"
#include "support/format_sweep.h"
#include "support/frame_buffers.h"

using namespace KROCOLOR;
using KROCOLOR::test::FrameBuffers;
using KROCOLOR::test::guardPlacement;

namespace {

const std::vector<int32_t> kHostFormats = test::cpuFormats();

// Pixel by pixel with the single-pixel accessors and convertPixel: the
// straightforward reading of the pipeline that the row-wise, threaded
// convertor must reproduce exactly.
void referenceConvert(const KROFrame& src, KROFrame& dst, int32_t peak) {
    const SampleAccess in = sampleAccessFor(src.format);
    const SampleAccess out = sampleAccessFor(dst.format);
    const ColorSide s{formatTraits(src.format), src.range, src.primaries, src.transfer, src.matrix};
    const ColorSide d{formatTraits(dst.format), dst.range, dst.primaries, dst.transfer, dst.matrix};
    for (int y = 0; y < dst.height; ++y)
        for (int x = 0; x < dst.width; ++x)
            writePixel(out, dst, x, y, convertPixel(readPixel(in, src, x, y), s, d, peak));
}

}  // namespace

// ------------------------------------------------------------ copy short-cut

class CopyShortCut : public ::testing::TestWithParam<int32_t> {};

// Both CPU convertors, every format: random bytes (codes the pipeline would
// clamp included) come back unchanged. Odd heights: half-height chroma
// counts truncate, and the copy must stop inside planes that end at a guard
// page.
TEST_P(CopyShortCut, IdenticalDescriptionsAndStridesCopyBytes) {
    const int32_t format = GetParam();
    const FormatTraits& t = *formatTraits(format);
    CPUContext scalar;
    XSimdCPUContext simd;
    unsigned i = 0;
    for (const test::FrameSize& size : test::kAwkwardSizes)
        for (IConvertor* cpu : {static_cast<IConvertor*>(&scalar), static_cast<IConvertor*>(&simd)}) {
            const int h = size.height, pad = i % 3;
            FrameBuffers src(format, size.width, h, pad, guardPlacement(i)), dst(format, size.width, h, pad, guardPlacement(i + 1));
            src.fillRandom(format + ++i);
            dst.fill(0xA5);
            KROFrame s = src.frame(1, 1, 1, 1), d = dst.frame(1, 1, 1, 1);
            ASSERT_EQ(cpu->convertColor(&s, &d), kKROSuccess);
            for (int p = 0; p < dst.planeCount(); ++p) {
                size_t copied = size_t(src.stride(p)) * h;
                if ((p == 1 || p == 2) && t.layout != PlaneLayout::Packed) copied >>= t.chromaShiftY;
                ASSERT_LE(copied, dst.size(p));
                EXPECT_EQ(std::memcmp(dst.plane(p), src.plane(p), copied), 0) << format << " plane " << p << " case " << i;
                for (size_t k = copied; k < dst.size(p); ++k) ASSERT_EQ(dst.plane(p)[k], 0xA5) << "plane " << p << " case " << i;
            }
        }
}

INSTANTIATE_TEST_SUITE_P(HostFormats, CopyShortCut, ::testing::ValuesIn(kHostFormats));

// --------------------------------------------- rows across chunks and threads

void expectMatchesReference(int32_t srcFormat, int32_t dstFormat, int w, int h) {
    const unsigned i = unsigned(srcFormat + dstFormat + w);
    FrameBuffers src(srcFormat, w, h, 3, guardPlacement(i)), got(dstFormat, w, h, 1, guardPlacement(i + 1)),
        want(dstFormat, w, h, 1);
    src.fillRandom(uint32_t(srcFormat * 1000 + dstFormat));
    // BT.2020 PQ limited -> BT.709 full
    KROFrame s = src.frame(9, 16, 9, 1), g = got.frame(1, 1, 1, 2), r = want.frame(1, 1, 1, 2);
    CPUContext cpu;
    cpu.setMetaData(MetaData{{"src_max_luminance", "1000"}});
    ASSERT_EQ(cpu.convertColor(&s, &g), kKROSuccess);
    referenceConvert(s, r, 1000);
    for (int p = 0; p < want.planeCount(); ++p)
        EXPECT_EQ(std::memcmp(got.plane(p), want.plane(p), want.size(p)), 0)
            << srcFormat << " -> " << dstFormat << " at " << w << "x" << h << " plane " << p;
}

TEST(PipelineSizes, SerialThreadedAndChunkedRowsAgree) {
    const int sizes[][2] = {{1, 1}, {9, 1000}, {64, 48}, {300, 3}, {513, 11}};
    for (const auto& size : sizes)
        for (int32_t srcFormat : {103, 107, 116, 124})
            for (int32_t dstFormat : {102, 105, 108, 126}) expectMatchesReference(srcFormat, dstFormat, size[0], size[1]);
}

// ------------------------------------------------------------- source peak

TEST(SourcePeak, ReadFromMetadataAndKeptBetweenFrames) {
    const std::pair<const char*, int32_t> texts[] = {{"1000", 1000}, {"  42nits", 42}, {"nits", 0},
                                                     {"", 0},         {"-5", -5},      {"99999999999", INT32_MAX}};
    for (const auto& [text, value] : texts) EXPECT_EQ(parseLuminance(text), value) << text;

    FrameBuffers src(kKRORGB16LEFormat, 4, 4), dst(kKRORGB16LEFormat, 4, 4);
    KROFrame s = src.frame(9, 16, 0, 2), d = dst.frame(1, 16, 0, 2);
    CPUContext cpu;
    EXPECT_EQ(cpu.sourcePeakLuminance(), 10000);
    cpu.setMetaData({{"src_max_luminance", "1000"}});
    ASSERT_EQ(cpu.convertColor(&s, &d), kKROSuccess);
    EXPECT_EQ(cpu.sourcePeakLuminance(), 1000);
    cpu.setMetaData({});
    ASSERT_EQ(cpu.convertColor(&s, &d), kKROSuccess);
    EXPECT_EQ(cpu.sourcePeakLuminance(), 1000) << "a map without the key keeps the last peak";
}
