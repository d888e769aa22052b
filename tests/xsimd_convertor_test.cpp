// The SIMD CPU convertor's own behaviour: how it is selected, its aligned
// allocator, the pass-through copy, the intermediate frame, the source peak
// luminance, and rotation and cropping through the public objects.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <memory>
#include <vector>

#include "KROColorFunctions.h"
#include "api/backend_selection.h"
#include "cpu/xsimd/xsimd_context.h"
#include "support/frame_buffers.h"

using namespace KROCOLOR;
using KROCOLOR::test::FrameBuffers;

namespace {

bool samePlanes(const FrameBuffers& a, const FrameBuffers& b) {
    for (int p = 0; p < a.planeCount(); ++p)
        if (a.size(p) != b.size(p) || std::memcmp(a.plane(p), b.plane(p), a.size(p)) != 0) return false;
    return true;
}

TEST(XSimdSelection, HardwareTypeSixOnEitherSideYieldsTheSimdConvertor) {
    for (auto [srcType, dstType] : {std::pair<int, int>{0, 6}, {6, 0}, {6, 1}, {1, 6}, {6, 6}}) {
        KROHWContext r;
        r.srcType = srcType;
        r.dstType = dstType;
        std::unique_ptr<IConvertor> c = selectConvertor(kKRONV12Format, kKRORGBA8888Format, r).convertor;
        ASSERT_NE(c, nullptr) << srcType << "/" << dstType;
        EXPECT_NE(dynamic_cast<XSimdCPUContext*>(c.get()), nullptr);
        EXPECT_EQ(takeSelectionError(), kKROSuccess);
    }
}

TEST(XSimdSelection, TranscodeThroughThePublicObjectMatchesTheScalarConvertor) {
    FrameBuffers src(kKRONV12Format, 37, 21, 8);
    src.fillRandom(5);
    FrameBuffers scalarOut(kKRORGBA8888Format, 37, 21), simdOut(kKRORGBA8888Format, 37, 21);
    for (int type : {0, 6}) {
        std::unique_ptr<KROColorFunctions> f(
            KROColorFunctions::create(37, 21, kKRONV12Format, 37, 21, kKRORGBA8888Format));
        ASSERT_EQ(f->setColorspaceDetails(kColorPrimariesBT709, kColorTransferBT709, kColorMatrixBT709,
                                          kColorRangeMpeg, kColorPrimariesBT709, kColorTransferBT709,
                                          kColorMatrixBT709, kColorRangeJpeg),
                  kKROSuccess);
        KROHWContext r;
        r.srcType = type;
        f->setHWContext(r);
        FrameBuffers& out = type == 0 ? scalarOut : simdOut;
        ASSERT_EQ(f->transcode(src.srcPlanes(), src.strides(), out.dstPlanes(), out.strides()), kKROSuccess);
    }
    // No curve runs, so the vector path gives the scalar bytes exactly.
    EXPECT_TRUE(samePlanes(scalarOut, simdOut));
}

// The rotate and crop objects take hardware type 6 (the samples they move
// are swept per format in the geometry tests).
TEST(XSimdGeometry, RotateAndCropObjectsAcceptTypeSix) {
    // Orientation 6 on a 4x2 RGBA source: the top-left destination pixel is
    // the source's bottom-left pixel.
    FrameBuffers src(kKRORGBA8888Format, 4, 2), dst(kKRORGBA8888Format, 2, 4);
    src.fillRandom(3);
    std::unique_ptr<KRORotateFunctions> r(KRORotateFunctions::create(4, 2, kKRORGBA8888Format, 6));
    KROHWContext hw;
    hw.srcType = kKROHWTypeXSimd;
    r->setHWContext(hw);
    ASSERT_EQ(r->transcode(src.srcPlanes(), src.strides(), dst.dstPlanes(), dst.strides()), kKROSuccess);
    EXPECT_NE(dynamic_cast<XSimdCPUContext*>(r->convertor), nullptr);
    EXPECT_EQ(std::memcmp(dst.plane(0), src.plane(0) + src.stride(0), 4), 0);

    // Crop 12x11 at (2, 3) out of a 30x20 YUV420P frame.
    FrameBuffers big(kKROYUV420PFormat, 30, 20, 2), cut(kKROYUV420PFormat, 12, 11);
    big.fillRandom(11);
    std::unique_ptr<KROCropFunctions> c(KROCropFunctions::create(30, 20, kKROYUV420PFormat, 2, 3, 12, 11));
    c->setHWContext(hw);
    ASSERT_EQ(c->transcode(big.srcPlanes(), big.strides(), cut.dstPlanes(), cut.strides()), kKROSuccess);
    EXPECT_NE(dynamic_cast<XSimdCPUContext*>(c->convertor), nullptr);
    EXPECT_EQ(std::memcmp(cut.plane(0), big.plane(0) + 3 * big.stride(0) + 2, 12), 0);
}

TEST(XSimdMemory, BlocksAreAlignedUsableAndFreed) {
    for (uint64_t size : {0ull, 1ull, 63ull, 64ull, 65ull, 4097ull}) {
        uint8_t* p = static_cast<uint8_t*>(KROXSimd::malloc(size));
        ASSERT_NE(p, nullptr) << size;
        EXPECT_TRUE(KROXSimd::isAligned(p, 64));
        EXPECT_EQ(reinterpret_cast<uintptr_t>(p) % 64, 0u);
        if (size) std::memset(p, 0xA5, size);  // every byte promised is usable
        KROXSimd::free(p);
    }
    KROXSimd::free(nullptr);
    EXPECT_EQ(KROXSimd::malloc(UINT64_MAX), nullptr);
    EXPECT_EQ(KROXSimd::malloc(UINT64_MAX - 70), nullptr);
    alignas(64) static uint8_t block[128];
    EXPECT_TRUE(KROXSimd::isAligned(block, 64));
    EXPECT_FALSE(KROXSimd::isAligned(block + 1, 2));
    EXPECT_TRUE(KROXSimd::isAligned(block + 8, 8));
    EXPECT_FALSE(KROXSimd::isAligned(block + 8, 16));
}

// Identical descriptions and strides copy the planes byte for byte, also
// codes the pipeline would clamp (a limited-range Y of 10 stays 10).
TEST(XSimdConvertor, IdenticalDescriptionsCopyEveryFormatUnchanged) {
    for (int32_t format = 101; format <= 126; ++format) {
        if (format >= 121 && format <= 123) continue;
        FrameBuffers src(format, 13, 8, 6), dst(format, 13, 8, 6);
        src.fillRandom(static_cast<uint32_t>(format));
        if (format == kKRONV12Format) src.plane(0)[0] = 10;
        KROFrame s = src.frame(1, 1, 1, kColorRangeMpeg);
        KROFrame d = dst.frame(1, 1, 1, kColorRangeMpeg);
        XSimdCPUContext c;
        ASSERT_EQ(c.convertColor(&s, &d), kKROSuccess);
        EXPECT_TRUE(samePlanes(src, dst)) << format;
    }
}

TEST(XSimdConvertor, NullFramesAreRefused) {
    XSimdCPUContext c;
    KROFrame f;
    EXPECT_EQ(c.convertColor(nullptr, &f), kKROInputParamError);
    EXPECT_EQ(c.convertColor(&f, nullptr), kKROInputParamError);
    EXPECT_EQ(c.rotate(nullptr, &f, 1), kKROInputParamError);
    EXPECT_EQ(c.crop(&f, nullptr, 0, 0), kKROInputParamError);
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

// A byte-only format has no intermediate layout: scaling into it fails,
// and keeps failing for the same geometry.
TEST(XSimdConvertor, DestinationWithoutIntermediateLayoutFails) {
    XSimdCPUContext c;
    FrameBuffers src(kKRORGBA8888Format, 8, 8);
    std::vector<uint8_t> grey(4 * 4);
    KROFrame s = src.frame(1, 1, 0, kColorRangeJpeg);
    KROFrame d;
    d.width = 4;
    d.height = 4;
    d.format = kKROI8Format;
    d.primaries = 9;
    d.planes[0] = grey.data();
    d.strides[0] = 4;
    EXPECT_EQ(c.convertColor(&s, &d), kKRORunCPUKernelError);
    EXPECT_EQ(c.convertColor(&s, &d), kKRORunCPUKernelError);
}

// SMPTE ST 2084 with the published constants, in double precision.
double pqToLinear(double v) {
    const double m1 = 2610.0 / 16384, m2 = 2523.0 / 4096 * 128;
    const double c1 = 3424.0 / 4096, c2 = 2413.0 / 4096 * 32, c3 = 2392.0 / 4096 * 32;
    const double f = std::pow(v, 1 / m2);
    return std::pow(std::max(f - c1, 0.0) / (c2 - c3 * f), 1 / m1);
}
double linearToPq(double y) {
    const double m1 = 2610.0 / 16384, m2 = 2523.0 / 4096 * 128;
    const double c1 = 3424.0 / 4096, c2 = 2413.0 / 4096 * 32, c3 = 2392.0 / 4096 * 32;
    const double f = std::pow(y, m1);
    return std::pow((c1 + c2 * f) / (1 + c3 * f), m2);
}

// PQ to PQ across primaries carries linear light times 1000 / Lpk: one tenth
// with the default peak of 10000 cd/m2, unchanged with "src_max_luminance"
// 1000; the peak stays for later frames without the key.
TEST(XSimdConvertor, SourcePeakLuminanceScalesPqToPq) {
    XSimdCPUContext c;
    FrameBuffers src(kKRORGBA8888Format, 8, 4), dst(kKRORGBA8888Format, 8, 4);
    for (size_t i = 0; i < src.size(0); ++i) src.plane(0)[i] = (i % 4 == 3) ? 255 : 153;
    KROFrame s = src.frame(kColorPrimariesBT2020, kColorTransferSMPTE2084, 0, kColorRangeJpeg);
    KROFrame d = dst.frame(kColorPrimariesBT709, kColorTransferSMPTE2084, 0, kColorRangeJpeg);
    // Grey stays grey: the rows of the BT.2020 to BT.709 matrix sum to 1 +- 1e-4.
    const int tenth = static_cast<int>(std::lround(255 * linearToPq(pqToLinear(153 / 255.0) / 10)));
    ASSERT_EQ(c.convertColor(&s, &d), kKROSuccess);
    EXPECT_NEAR(dst.plane(0)[0], tenth, 1);
    EXPECT_EQ(dst.plane(0)[3], 255);
    c.setMetaData({{"src_max_luminance", "1000"}});
    ASSERT_EQ(c.convertColor(&s, &d), kKROSuccess);
    EXPECT_EQ(c.sourcePeakLuminance(), 1000);
    EXPECT_NEAR(dst.plane(0)[5], 153, 1);
    c.setMetaData({});
    ASSERT_EQ(c.convertColor(&s, &d), kKROSuccess);
    EXPECT_NEAR(dst.plane(0)[6], 153, 1);
}

}  // namespace
