// The CPU crop, rotate and scale kernels against the orientation table and
// the filter formula, every format on guard-page planes.
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
#include "support/frame_buffers.h"

namespace KROCOLOR {
namespace {

using test::guardPlacement;
using test::FrameBuffers;
using PixelAt = std::function<NativePixel(int x, int y)>;

// A distinct code per pixel and component, kept within 8 bits for byte
// formats and within 10 bits otherwise (valid for every test format).
NativePixel codeAt(int32_t format, int x, int y) {
    const uint16_t mask = formatTraits(format)->bytesPerSample == 1 ? 0xFF : 0x3FF;
    NativePixel p;
    for (int k = 0; k < 4; ++k) p.c[k] = static_cast<uint16_t>((x * 29 + y * 71 + k * 97 + 5) & mask);
    return p;
}

void fillFrame(FrameBuffers& f) {
    const SampleAccess a = sampleAccessFor(f.format());
    std::vector<NativePixel> row(static_cast<size_t>(f.width()));
    for (int y = 0; y < f.height(); ++y) {
        for (int x = 0; x < f.width(); ++x) row[static_cast<size_t>(x)] = codeAt(f.format(), x, y);
        a.writeRow(*f.raw(), y, 0, f.width(), row.data());
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
        FrameBuffers src(format, W, H, i % 3 == 2 ? 3 : 0, guardPlacement(i));
        fillFrame(src);
        for (IConvertor* c : convertors) {
            ++i;
            for (int o = 1; o <= 8; ++o) {
                SCOPED_TRACE(::testing::Message() << W << "x" << H << " orientation " << o << " case " << i);
                const bool turn = o >= 5;
                FrameBuffers dst(format, turn ? H : W, turn ? W : H, 0, guardPlacement(i + o));
                ASSERT_EQ(c->rotate(src.raw(), dst.raw(), o), kKROSuccess);
                expectFrame(*dst.raw(), [&](int x, int y) {
                    int sx, sy;
                    sourceOf(o, x, y, W, H, sx, sy);
                    return readPixel(a, *src.raw(), sx, sy);
                });
            }
            // The rectangle from (W/3, H/2) to the bottom-right corner.
            const int left = W / 3, top = H / 2;
            SCOPED_TRACE(::testing::Message() << W << "x" << H << " crop at " << left << "," << top);
            FrameBuffers dst(format, W - left, H - top, 0, guardPlacement(i + 1));
            ASSERT_EQ(c->crop(src.raw(), dst.raw(), left, top), kKROSuccess);
            expectFrame(*dst.raw(), [&](int x, int y) { return readPixel(a, *src.raw(), x + left, y + top); });
        }
    }
}

INSTANTIATE_TEST_SUITE_P(CpuFormats, GeometrySweep, ::testing::ValuesIn(test::cpuFormats()));

// 108 words keep their top ten bits; the low six come back as zero.
TEST(GeometryTest, Orientation1CopiesP010TopTenBits) {
    FrameBuffers src(108, 2, 2), dst(108, 2, 2);
    const uint8_t luma[8] = {0xFF, 0xFF, 0x41, 0x80, 0x3F, 0x00, 0xC0, 0x12};
    std::memcpy(src.plane(0), luma, 8);
    ASSERT_EQ(rotateFrame(src.raw(), dst.raw(), 1), kKROSuccess);
    const uint8_t want[8] = {0xC0, 0xFF, 0x40, 0x80, 0x00, 0x00, 0xC0, 0x12};
    EXPECT_EQ(std::memcmp(dst.plane(0), want, 8), 0);
}

// Orientations outside 1-8, destinations of the wrong size and rectangles
// outside the source write nothing (and still succeed); a turned
// orientation needs a 10 x 12 destination for a 12 x 10 source.
TEST(GeometryTest, MisfitsWriteNothing) {
    FrameBuffers src(102, 12, 10);
    fillFrame(src);
    const struct {
        bool crop;
        int w, h, a, b;  // orientation, or left and top
    } misfits[] = {{false, 12, 10, 0, 0}, {false, 12, 10, 9, 0},  {false, 12, 10, -1, 0}, {false, 12, 10, 100, 0},
                   {false, 12, 10, 6, 0}, {false, 10, 12, 3, 0},  {false, 4, 4, 1, 0},    {true, 11, 8, 2, 3},
                   {true, 4, 4, -1, 0},   {true, 4, 4, 0, -2},    {true, 4, 4, 9, 0}};
    for (const auto& m : misfits) {
        FrameBuffers dst(102, m.w, m.h);
        dst.fill(0x77);
        EXPECT_EQ(m.crop ? cropFrame(src.raw(), dst.raw(), m.a, m.b) : rotateFrame(src.raw(), dst.raw(), m.a),
                  kKROSuccess);
        for (size_t i = 0; i < dst.size(0); ++i) ASSERT_EQ(dst.plane(0)[i], 0x77) << m.w << "x" << m.h << " " << m.a;
    }
    EXPECT_EQ(rotateFrame(nullptr, src.raw(), 1), kKROInputParamError);
    EXPECT_EQ(rotateFrame(src.raw(), nullptr, 1), kKROInputParamError);
    EXPECT_EQ(cropFrame(nullptr, src.raw(), 0, 0), kKROInputParamError);
    EXPECT_EQ(cropFrame(src.raw(), nullptr, 0, 0), kKROInputParamError);
    // Formats the CPU kernels cannot address write nothing.
    KROFrame texture = *src.raw();
    texture.format = 201;
    EXPECT_EQ(rotateFrame(src.raw(), &texture, 1), kKROSuccess);
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

struct ScaleCase {
    int32_t format;
    int sw, sh, dw, dh;
};

class GeometryScale : public ::testing::TestWithParam<ScaleCase> {};

TEST_P(GeometryScale, MatchesTheFilterAndThreadsAgree) {
    const ScaleCase c = GetParam();
    FrameBuffers src(c.format, c.sw, c.sh, 2, test::Placement::EndAtGuard);
    fillFrame(src);
    const SampleAccess a = sampleAccessFor(c.format);
    FrameBuffers serial(c.format, c.dw, c.dh, 0, test::Placement::EndAtGuard),
        pooled(c.format, c.dw, c.dh, 0, test::Placement::StartAfterGuard);
    serial.fill(0x5A);
    pooled.fill(0x5A);
    ASSERT_EQ(scaleFrame(*src.raw(), *serial.raw(), false), kKROSuccess);
    ASSERT_EQ(scaleFrame(*src.raw(), *pooled.raw(), true), kKROSuccess);
    for (int p = 0; p < serial.planeCount(); ++p) EXPECT_EQ(std::memcmp(serial.plane(p), pooled.plane(p), serial.size(p)), 0) << p;
    expectFrame(*serial.raw(), [&](int x, int y) { return scaledPixel(a, *src.raw(), x, y, c.dw, c.dh); });
}

INSTANTIATE_TEST_SUITE_P(Geometry, GeometryScale,
                         ::testing::Values(ScaleCase{102, 64, 48, 30, 22}, ScaleCase{103, 64, 48, 30, 22},
                                           ScaleCase{103, 17, 13, 40, 35}, ScaleCase{107, 50, 37, 15, 11},
                                           ScaleCase{116, 33, 20, 70, 10}, ScaleCase{115, 45, 12, 11, 40},
                                           ScaleCase{124, 23, 29, 31, 13}, ScaleCase{126, 300, 10, 14, 10},
                                           ScaleCase{119, 7, 5, 7, 5},
                                           // Halving (taps 2x and 2x + 1) and tripling (nearest neighbour).
                                           ScaleCase{101, 64, 4, 32, 2}, ScaleCase{102, 10, 3, 30, 9}));

}  // namespace
}  // namespace KROCOLOR
