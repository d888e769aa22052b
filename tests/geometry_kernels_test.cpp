#include "cpu/geometry_kernels.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <functional>
#include <vector>

#include "cpu/cpu_context.h"
#include "cpu/sample_access.h"
#include "cpu/xsimd/xsimd_context.h"
#include "support/format_sweep.h"
#include "support/host_frame.h"

namespace KROCOLOR {
namespace {

using test::guardPlacement;
using test::HostFrame;
using PixelAt = std::function<NativePixel(int x, int y)>;

// A distinct code per pixel and component, kept within 8 bits for byte
// formats and within 10 bits otherwise (valid for every test format).
NativePixel codeAt(int32_t format, int x, int y) {
    const uint16_t mask = formatTraits(format)->bytesPerSample == 1 ? 0xFF : 0x3FF;
    NativePixel p;
    for (int k = 0; k < 4; ++k) p.c[k] = static_cast<uint16_t>((x * 29 + y * 71 + k * 97 + 5) & mask);
    return p;
}

void fillFrame(HostFrame& f) {
    const SampleAccess a = sampleAccessFor(f.frame.format);
    std::vector<NativePixel> row(static_cast<size_t>(f.frame.width));
    for (int y = 0; y < f.frame.height; ++y) {
        for (int x = 0; x < f.frame.width; ++x) row[static_cast<size_t>(x)] = codeAt(f.frame.format, x, y);
        a.writeRow(f.frame, y, 0, f.frame.width, row.data());
    }
}

// Every pixel of `dst` must read as `want` gives it, with the chroma of the
// pixel at the top-left corner of its chroma block (the only one that writes
// chroma).
void expectFrame(const KROFrame& dst, const PixelAt& want) {
    const FormatTraits& t = *formatTraits(dst.format);
    const SampleAccess a = sampleAccessFor(dst.format);
    for (int y = 0; y < dst.height; ++y) {
        for (int x = 0; x < dst.width; ++x) {
            NativePixel e = want(x, y);
            const NativePixel corner = want(x >> t.chromaShiftX << t.chromaShiftX, y >> t.chromaShiftY << t.chromaShiftY);
            e.c[1] = corner.c[1];
            e.c[2] = corner.c[2];
            const NativePixel got = readPixel(a, dst, x, y);
            for (int k = 0; k < 4; ++k)
                ASSERT_EQ(got.c[k], e.c[k]) << "format " << dst.format << " at " << x << "," << y << " k " << k;
        }
    }
}

void expectUntouched(const HostFrame& f, uint8_t sentinel) {
    for (int p = 0; p < f.planes; ++p)
        for (size_t i = 0; i < f.sizes[p]; ++i) ASSERT_EQ(f.frame.planes[p][i], sentinel) << p << " " << i;
}

// Source position of destination pixel (x, y) for EXIF orientation o, source W x H.
void sourceOf(int o, int x, int y, int W, int H, int& sx, int& sy) {
    switch (o) {
    case 1: sx = x; sy = y; break;
    case 2: sx = W - 1 - x; sy = y; break;
    case 3: sx = W - 1 - x; sy = H - 1 - y; break;
    case 4: sx = x; sy = H - 1 - y; break;
    case 5: sx = y; sy = x; break;
    case 6: sx = y; sy = H - 1 - x; break;
    case 7: sx = W - 1 - y; sy = H - 1 - x; break;
    default: sx = W - 1 - y; sy = x; break;
    }
}

// ---- rotate ----------------------------------------------------------------

class GeometrySweep : public ::testing::TestWithParam<int32_t> {};

// Every orientation and an edge-reaching crop of every format at the awkward
// sizes, through the scalar and the SIMD convertor, on planes that end at or
// start after a guard page: the samples move as the tables say and nothing
// outside the planes is touched.
TEST_P(GeometrySweep, RotateAndCropFollowTheTablesInsideThePlanes) {
    const int32_t format = GetParam();
    const SampleAccess a = sampleAccessFor(format);
    CPUContext scalar;
    XSimdCPUContext simd;
    IConvertor* const convertors[] = {&scalar, &simd};
    unsigned i = 0;
    for (const test::FrameSize& size : test::kAwkwardSizes) {
        const int W = size.width, H = size.height;
        HostFrame src(format, W, H, i % 3 == 2 ? 3 : 0, guardPlacement(i));
        fillFrame(src);
        for (IConvertor* c : convertors) {
            ++i;
            for (int o = 1; o <= 8; ++o) {
                SCOPED_TRACE(::testing::Message() << W << "x" << H << " orientation " << o << " case " << i);
                const bool turn = o >= 5;
                HostFrame dst(format, turn ? H : W, turn ? W : H, 0, guardPlacement(i + o));
                ASSERT_EQ(c->rotate(&src.frame, &dst.frame, o), kKROSuccess);
                expectFrame(dst.frame, [&](int x, int y) {
                    int sx, sy;
                    sourceOf(o, x, y, W, H, sx, sy);
                    return readPixel(a, src.frame, sx, sy);
                });
            }
            // The rectangle from (W/3, H/2) to the bottom-right corner.
            const int left = W / 3, top = H / 2;
            SCOPED_TRACE(::testing::Message() << W << "x" << H << " crop at " << left << "," << top);
            HostFrame dst(format, W - left, H - top, 0, guardPlacement(i + 1));
            ASSERT_EQ(c->crop(&src.frame, &dst.frame, left, top), kKROSuccess);
            expectFrame(dst.frame, [&](int x, int y) { return readPixel(a, src.frame, x + left, y + top); });
        }
    }
}

INSTANTIATE_TEST_SUITE_P(CpuFormats, GeometrySweep, ::testing::ValuesIn(test::cpuFormats()));

TEST(GeometryTest, Orientation6TurnsBottomLeftToTopLeft) {
    HostFrame src(101, 4, 2);
    // Row 0: 1 2 3 4, row 1: 5 6 7 8 (R only; G = B = 0).
    for (int i = 0; i < 8; ++i) src.plane(0)[(i / 4) * 12 + (i % 4) * 3] = static_cast<uint8_t>(i + 1);
    HostFrame dst(101, 2, 4);
    ASSERT_EQ(rotateFrame(&src.frame, &dst.frame, 6), kKROSuccess);
    // 90 degrees clockwise: rows read 5 1 / 6 2 / 7 3 / 8 4.
    const uint8_t want[4][2] = {{5, 1}, {6, 2}, {7, 3}, {8, 4}};
    for (int y = 0; y < 4; ++y)
        for (int x = 0; x < 2; ++x) EXPECT_EQ(dst.plane(0)[y * 6 + x * 3], want[y][x]) << x << "," << y;
}

TEST(GeometryTest, Orientation1CopiesP010TopTenBitsAndAlphaPlanes) {
    HostFrame src(108, 2, 2);
    const uint8_t luma[8] = {0xFF, 0xFF, 0x41, 0x80, 0x3F, 0x00, 0xC0, 0x12};
    std::memcpy(src.plane(0), luma, 8);
    HostFrame dst(108, 2, 2);
    ASSERT_EQ(rotateFrame(&src.frame, &dst.frame, 1), kKROSuccess);
    const uint8_t want[8] = {0xC0, 0xFF, 0x40, 0x80, 0x00, 0x00, 0xC0, 0x12};
    EXPECT_EQ(std::memcmp(dst.plane(0), want, 8), 0);

    HostFrame a(125, 3, 1);
    const uint8_t alpha[6] = {0xFF, 0x0F, 0x01, 0x00, 0x34, 0x02};
    std::memcpy(a.plane(3), alpha, 6);
    HostFrame b(125, 3, 1);
    ASSERT_EQ(rotateFrame(&a.frame, &b.frame, 1), kKROSuccess);
    EXPECT_EQ(std::memcmp(b.plane(3), alpha, 6), 0);
}

TEST(GeometryTest, RotateRefusals) {
    HostFrame src(102, 12, 10);
    fillFrame(src);
    HostFrame sameSize(102, 12, 10);
    sameSize.fill(0x77);
    for (int o : {0, 9, -1, 100}) {
        EXPECT_EQ(rotateFrame(&src.frame, &sameSize.frame, o), kKROSuccess);
    }
    // A turned orientation needs a 10 x 12 destination; 12 x 10 is refused.
    EXPECT_EQ(rotateFrame(&src.frame, &sameSize.frame, 6), kKROSuccess);
    expectUntouched(sameSize, 0x77);
    HostFrame turned(102, 10, 12);
    turned.fill(0x77);
    EXPECT_EQ(rotateFrame(&src.frame, &turned.frame, 3), kKROSuccess);
    HostFrame small(102, 4, 4);
    small.fill(0x77);
    EXPECT_EQ(rotateFrame(&src.frame, &small.frame, 1), kKROSuccess);
    expectUntouched(turned, 0x77);
    expectUntouched(small, 0x77);

    EXPECT_EQ(rotateFrame(nullptr, &sameSize.frame, 1), kKROInputParamError);
    EXPECT_EQ(rotateFrame(&src.frame, nullptr, 1), kKROInputParamError);
    // Formats the CPU kernels cannot address write nothing.
    KROFrame texture = src.frame;
    texture.format = 201;
    EXPECT_EQ(rotateFrame(&src.frame, &texture, 1), kKROSuccess);
}

// ---- crop ------------------------------------------------------------------

TEST(GeometryTest, CropThatDoesNotFitWritesNothing) {
    HostFrame src(102, 10, 10);
    fillFrame(src);
    HostFrame dst(102, 9, 8);
    dst.fill(0x33);
    EXPECT_EQ(cropFrame(&src.frame, &dst.frame, 2, 3), kKROSuccess);
    expectUntouched(dst, 0x33);
    HostFrame fits(102, 4, 4);
    fits.fill(0x33);
    EXPECT_EQ(cropFrame(&src.frame, &fits.frame, -1, 0), kKROSuccess);
    EXPECT_EQ(cropFrame(&src.frame, &fits.frame, 0, -2), kKROSuccess);
    EXPECT_EQ(cropFrame(&src.frame, &fits.frame, 7, 0), kKROSuccess);
    expectUntouched(fits, 0x33);
    EXPECT_EQ(cropFrame(&src.frame, &fits.frame, 6, 6), kKROSuccess);  // exactly at the corner
    EXPECT_EQ(fits.plane(0)[0], src.plane(0)[6 * 40 + 6 * 4]);
    EXPECT_EQ(cropFrame(nullptr, &fits.frame, 0, 0), kKROInputParamError);
    EXPECT_EQ(cropFrame(&src.frame, nullptr, 0, 0), kKROInputParamError);
}

// ---- scale -----------------------------------------------------------------

// One destination pixel of the four-tap average, in single precision as the
// filter is defined: taps at trunc((i + 0.5) * ratio -/+ offset).
NativePixel scaledPixel(const SampleAccess& a, const KROFrame& src, int x, int y, int dW, int dH) {
    const float hs = static_cast<float>(src.width) / static_cast<float>(dW);
    const float vs = static_cast<float>(src.height) / static_cast<float>(dH);
    const float wh = std::fmin(std::fmax(0.5f * (hs - 1.0f), 0.0f), 1.0f);
    const float wv = std::fmin(std::fmax(0.5f * (vs - 1.0f), 0.0f), 1.0f);
    const float dx = wh / (wh + 0.5f), dy = wv / (wv + 0.5f);
    const float xi = (static_cast<float>(x) + 0.5f) * hs, yi = (static_cast<float>(y) + 0.5f) * vs;
    const int x0 = static_cast<int>(std::trunc(xi - dx)), x1 = static_cast<int>(std::trunc(xi + dx));
    const int y0 = static_cast<int>(std::trunc(yi - dy)), y1 = static_cast<int>(std::trunc(yi + dy));
    const NativePixel p[4] = {readPixel(a, src, x0, y0), readPixel(a, src, x1, y0), readPixel(a, src, x0, y1),
                              readPixel(a, src, x1, y1)};
    NativePixel out;
    for (int k = 0; k < 4; ++k) out.c[k] = static_cast<uint16_t>((p[0].c[k] + p[1].c[k] + p[2].c[k] + p[3].c[k]) / 4);
    return out;
}

TEST(GeometryTest, ScaleByTwoAveragesColumnPairs) {
    HostFrame src(101, 1920, 2);
    for (int y = 0; y < 2; ++y)
        for (int i = 0; i < 1920 * 3; ++i) src.plane(0)[y * 5760 + i] = static_cast<uint8_t>((i * 7 + y * 3) % 256);
    HostFrame dst(101, 960, 2);
    ASSERT_EQ(scaleFrame(src.frame, dst.frame, true), kKROSuccess);
    // hs = 2: offset 0.5, centre 2x + 1, taps 2x and 2x + 1 (vs = 1: same row twice).
    for (int y = 0; y < 2; ++y)
        for (int x = 0; x < 960; ++x)
            for (int k = 0; k < 3; ++k) {
                const int a = src.plane(0)[y * 5760 + (2 * x) * 3 + k];
                const int b = src.plane(0)[y * 5760 + (2 * x + 1) * 3 + k];
                ASSERT_EQ(dst.plane(0)[y * 2880 + x * 3 + k], (2 * a + 2 * b) >> 2) << x << " " << k;
            }
}

TEST(GeometryTest, EnlargingIsNearestNeighbour) {
    HostFrame src(102, 100, 1);
    for (int i = 0; i < 400; ++i) src.plane(0)[i] = static_cast<uint8_t>(i * 13);
    HostFrame dst(102, 300, 1);
    ASSERT_EQ(scaleFrame(src.frame, dst.frame, false), kKROSuccess);
    for (int x = 0; x < 300; ++x) {
        const int sx = (2 * x + 1) / 6;  // trunc((x + 0.5) / 3)
        ASSERT_EQ(std::memcmp(dst.plane(0) + 4 * x, src.plane(0) + 4 * sx, 4), 0) << x;
    }
}

TEST(GeometryTest, AverageTruncates) {
    HostFrame src(106, 2, 2);
    const uint8_t luma[4] = {1, 2, 2, 2};
    std::memcpy(src.plane(0), luma, 4);
    const uint8_t u[4] = {255, 255, 255, 254};
    std::memcpy(src.plane(1), u, 4);
    HostFrame dst(106, 1, 1);
    ASSERT_EQ(scaleFrame(src.frame, dst.frame, false), kKROSuccess);
    EXPECT_EQ(dst.plane(0)[0], 1);    // 7 / 4
    EXPECT_EQ(dst.plane(1)[0], 254);  // 1019 / 4
    EXPECT_EQ(dst.plane(2)[0], 0);
}

struct ScaleCase {
    int32_t format;
    int sw, sh, dw, dh;
};

class GeometryScale : public ::testing::TestWithParam<ScaleCase> {};

TEST_P(GeometryScale, MatchesTheFilterAndThreadsAgree) {
    const ScaleCase c = GetParam();
    HostFrame src(c.format, c.sw, c.sh, 2, test::Placement::EndAtGuard);
    fillFrame(src);
    const SampleAccess a = sampleAccessFor(c.format);
    HostFrame serial(c.format, c.dw, c.dh, 0, test::Placement::EndAtGuard),
        pooled(c.format, c.dw, c.dh, 0, test::Placement::StartAfterGuard);
    serial.fill(0x5A);
    pooled.fill(0x5A);
    ASSERT_EQ(scaleFrame(src.frame, serial.frame, false), kKROSuccess);
    ASSERT_EQ(scaleFrame(src.frame, pooled.frame, true), kKROSuccess);
    for (int p = 0; p < serial.planes; ++p) EXPECT_EQ(std::memcmp(serial.plane(p), pooled.plane(p), serial.sizes[p]), 0) << p;
    expectFrame(serial.frame, [&](int x, int y) { return scaledPixel(a, src.frame, x, y, c.dw, c.dh); });
}

INSTANTIATE_TEST_SUITE_P(Geometry, GeometryScale,
                         ::testing::Values(ScaleCase{102, 64, 48, 30, 22}, ScaleCase{103, 64, 48, 30, 22},
                                           ScaleCase{103, 17, 13, 40, 35}, ScaleCase{107, 50, 37, 15, 11},
                                           ScaleCase{116, 33, 20, 70, 10}, ScaleCase{115, 45, 12, 11, 40},
                                           ScaleCase{124, 23, 29, 31, 13}, ScaleCase{126, 300, 10, 14, 10},
                                           ScaleCase{119, 7, 5, 7, 5}),
                         [](const ::testing::TestParamInfo<ScaleCase>& info) {
                             const ScaleCase& c = info.param;
                             return "Format" + std::to_string(c.format) + "_" + std::to_string(c.sw) + "x" +
                                    std::to_string(c.sh) + "_to_" + std::to_string(c.dw) + "x" + std::to_string(c.dh);
                         });

}  // namespace
}  // namespace KROCOLOR
