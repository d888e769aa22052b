// The SIMD convertor's fixed-point rows against the scalar convertor, for
// every matrix and range they serve: every 8-bit (Y, U, V) triple, every
// (R, G, B) triple (a quarter of them for chroma), then awkward frames (vector tails, odd chroma,
// padded rows ending at a guard page) on each instruction set. Padding bytes
// are filled alike in both destinations and compared too, so a row that
// writes past its bytes fails.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <tuple>

#include "KROColorFunctions.h"
#include "color/row_isa.h"
#include "core/pixel_format_table.h"
#include "cpu/cpu_context.h"
#include "cpu/xsimd/fixed_point_rows.h"
#include "cpu/xsimd/xsimd_context.h"
#include "support/frame_buffers.h"

using namespace KROCOLOR;
using KROCOLOR::test::FrameBuffers;
using KROCOLOR::test::Placement;

namespace {

using Case = std::tuple<int32_t /*matrix*/, int32_t /*range*/>;

// The largest byte difference between what the scalar and the SIMD
// convertor write from `src`, after making sure the fixed-point rows serve
// the conversion.
int largestDifference(const FrameBuffers& src, int32_t dstFormat, const Case& c, int pad = 0,
                      Placement placement = Placement::Heap) {
    const auto [matrix, range] = c;
    FrameBuffers scalar(dstFormat, src.width(), src.height(), pad, placement);
    FrameBuffers simd(dstFormat, src.width(), src.height(), pad, placement);
    for (int p = 0; p < simd.planeCount(); ++p) {
        std::memset(scalar.plane(p), 0x5A, scalar.size(p));
        std::memset(simd.plane(p), 0x5A, simd.size(p));
    }
    const KROFrame s = src.frame(kColorPrimariesBT709, kColorTransferBT709, matrix, range);
    KROFrame ds = scalar.frame(kColorPrimariesBT709, kColorTransferBT709, matrix, range);
    KROFrame dv = simd.frame(kColorPrimariesBT709, kColorTransferBT709, matrix, range);

    fixedpoint::FixedPointPlan plan;
    EXPECT_TRUE(fixedpoint::makeFixedPointPlan(
        makeColorPlan(colorSideOf(s), colorSideOf(dv), 10000), s.format, dv.format, plan));
    CPUContext reference;
    XSimdCPUContext vector;
    EXPECT_EQ(reference.convertColor(&s, &ds), kKROSuccess);
    EXPECT_EQ(vector.convertColor(&s, &dv), kKROSuccess);
    // Codes are compared as stored: bytes, or little-endian words in units of
    // the sample's lowest bit (a trailing odd byte of a padded word row too).
    const FormatTraits& t = *formatTraits(dstFormat);
    const int unit = t.bytesPerSample, lsb = 1 << t.msbShift;
    int worst = 0;
    for (int p = 0; p < simd.planeCount(); ++p) {
        const uint8_t *a = simd.plane(p), *b = scalar.plane(p);
        const size_t n = simd.size(p), whole = n / unit * unit;
        for (size_t i = 0; i < whole; i += unit) {
            const int wa = unit == 1 ? a[i] : a[i] | a[i + 1] << 8, wb = unit == 1 ? b[i] : b[i] | b[i + 1] << 8;
            worst = std::max(worst, (std::abs(wa - wb) + lsb - 1) / lsb);
        }
        if (whole < n) worst = std::max(worst, std::abs(a[n - 1] - b[n - 1]));
    }
    return worst;
}

class FixedRows : public ::testing::TestWithParam<Case> {};

// A 4096 x 4096 NV12 frame holds each (U, V) pair in 64 chroma blocks whose
// 4 x 64 luma samples run through every Y code.
TEST_P(FixedRows, EveryYuvTripleWithinOneCode) {
    constexpr int kSide = 4096, kChromaSide = kSide / 2;
    FrameBuffers src(kKRONV12Format, kSide, kSide);
    for (int cy = 0; cy < kChromaSide; ++cy)
        for (int cx = 0; cx < kChromaSide; ++cx) {
            const int q = cy * kChromaSide + cx;
            src.plane(1)[cy * src.stride(1) + 2 * cx] = static_cast<uint8_t>(q);
            src.plane(1)[cy * src.stride(1) + 2 * cx + 1] = static_cast<uint8_t>(q >> 8);
            for (int sub = 0; sub < 4; ++sub)
                src.plane(0)[(2 * cy + sub / 2) * src.stride(0) + 2 * cx + sub % 2] =
                    static_cast<uint8_t>(4 * (q >> 16) + sub);
        }
    EXPECT_LE(largestDifference(src, kKRORGBA8888Format, GetParam()), 1);
}

// A 4096 x 4096 RGBA frame holds every (R, G, B) triple once, so every luma
// is checked. Chroma is stored from the even pixels of even rows; those hold
// the triples with even R and G, with every B.
TEST_P(FixedRows, EveryRgbTripleWithinOneCode) {
    constexpr int kSide = 4096;
    FrameBuffers src(kKRORGBA8888Format, kSide, kSide);
    for (int y = 0; y < kSide; ++y)
        for (int x = 0; x < kSide; ++x) {
            const int a = x >> 1, b = y >> 1;
            uint8_t* px = src.plane(0) + y * src.stride(0) + 4 * x;
            px[0] = static_cast<uint8_t>(2 * (a & 127) + (x & 1));
            px[1] = static_cast<uint8_t>(2 * (b & 127) + (y & 1));
            px[2] = static_cast<uint8_t>((a >> 7) + 16 * (b >> 7));
            px[3] = static_cast<uint8_t>(x ^ y);
        }
    EXPECT_LE(largestDifference(src, kKRONV12Format, GetParam()), 1);
}

// Vector steps and scalar tails, odd widths and heights, padded rows and
// planes ending at a guard page, every layout of each side (10-bit ones from
// random words, bits above the tenth included), on every instruction set the
// processor has.
TEST_P(FixedRows, AwkwardFramesOnEveryInstructionSet) {
    const int32_t yuvFormats[] = {kKRONV12Format, kKROYUV420PFormat, kKRONV1210LEFormat, kKROYUV420P10LEFormat};
    const int32_t rgbFormats[] = {kKRORGBA8888Format, kKROBGRA8888Format};
    const int sizes[][2] = {{1, 1}, {7, 3}, {17, 5}, {33, 9}, {66, 31}, {256, 130}};
    for (RowIsa isa : {RowIsa::SSE2, RowIsa::AVX2}) {
        if (static_cast<int>(isa) > static_cast<int>(bestRowIsa())) continue;
        forceRowIsa(isa);
        for (int32_t yuv : yuvFormats)
            for (int32_t rgb : rgbFormats)
                for (const auto& wh : sizes)
                    for (int pad : {0, 3}) {
                        FrameBuffers y(yuv, wh[0], wh[1], pad), r(rgb, wh[0], wh[1], pad);
                        y.fillRandom(wh[0] + pad);
                        if (yuv == kKROYUV420P10LEFormat)  // most words in range, every other one not
                            for (int p = 0; p < y.planeCount(); ++p)
                                for (size_t i = 1; i < y.size(p); i += 4) y.plane(p)[i] &= 3;
                        r.fillRandom(wh[1] + pad);
                        const Placement at = pad ? Placement::EndAtGuard : Placement::Heap;
                        EXPECT_LE(largestDifference(y, rgb, GetParam(), pad, at), 1)
                            << yuv << "->" << rgb << " " << wh[0] << "x" << wh[1] << " pad " << pad;
                        EXPECT_LE(largestDifference(r, yuv, GetParam(), pad, at), 1)
                            << rgb << "->" << yuv << " " << wh[0] << "x" << wh[1] << " pad " << pad;
                    }
    }
    resetRowIsa();
}

INSTANTIATE_TEST_SUITE_P(MatricesAndRanges, FixedRows,
                         ::testing::Combine(::testing::Values(kColorMatrixBT470BG, kColorMatrixBT709,
                                                              kColorMatrixBT2020_NCL),
                                            ::testing::Values(kColorRangeMpeg, kColorRangeJpeg)));

}  // namespace
