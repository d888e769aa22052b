// The transcoding object's own rules: argument checks, colour defaults,
// rebuilds and the settings it hands to its convertor. A spy convertor is
// planted in the public `convertor` member to see what transcode passes on.
#include <gtest/gtest.h>

#include <array>
#include <memory>
#include <tuple>

#include "KROColorFunctions.h"
#include "api/backend_selection.h"
#include "core/convertor.h"
#include "cpu/cpu_context.h"
#include "support/frame_buffers.h"

using namespace KROCOLOR;
using KROCOLOR::test::FrameBuffers;

namespace {

using Color = std::array<int32_t, 4>;  // primaries, transfer, matrix, range

Color colorOf(const KROFrame& f) { return {f.primaries, f.transfer, f.matrix, f.range}; }

struct SpyLog {
    int calls = 0;
    KROFrame src, dst;
    MetaData meta;
};

class SpyConvertor : public IConvertor {
public:
    explicit SpyConvertor(SpyLog& log) : log_(log) {}
    KROReturn convertColor(const KROFrame* src, KROFrame* dst) override {
        ++log_.calls;
        log_.src = *src;
        log_.dst = *dst;
        log_.meta = metaData_;
        return kKROSuccess;
    }

private:
    SpyLog& log_;
};

KROReturn transcode(KROColorFunctions& f, const FrameBuffers& src, FrameBuffers& dst) {
    return f.transcode(src.srcPlanes(), src.strides(), dst.dstPlanes(), dst.strides());
}

// Plants a spy and runs one transcode; returns what the spy saw.
SpyLog transcodeWithSpy(KROColorFunctions& f) {
    SpyLog log;
    f.rebuild = false;
    delete f.convertor;
    f.convertor = new SpyConvertor(log);
    FrameBuffers src(kKRORGBA8888Format, f.srcWidth, f.srcHeight), dst(kKRORGBA8888Format, f.dstWidth, f.dstHeight);
    EXPECT_EQ(transcode(f, src, dst), kKROSuccess);
    delete f.convertor;
    f.convertor = nullptr;
    return log;
}

}  // namespace

// Unspecified values are defaulted by the pixel count (1280 x 720 and more
// is HD); LOG_SQRT becomes sRGB and YCgCo becomes BT.709; matrix 0 (RGB) and
// values without a rule pass unchanged; the keep flag passes everything.
TEST(ColorFunctionsObject, DescriptionRules) {
    const struct {
        Color stored;
        int w, h;
        bool keep;
        Color want;
    } cases[] = {{{0, 0, 0, 1}, 1280, 720, false, {1, 1, 0, 1}},    {{0, 0, 0, 1}, 1280, 719, false, {5, 6, 0, 1}},
                 {{0, 0, 0, 1}, 3840, 2160, false, {1, 1, 0, 1}},   {{0, 0, 0, 1}, 921600, 1, false, {1, 1, 0, 1}},
                 {{2, 10, 8, 0}, 1920, 1080, false, {1, 13, 1, 1}}, {{3, 0, -1, 2}, 720, 576, false, {5, 6, 6, 2}},
                 {{-7, -3, 3, 5}, 8, 8, false, {-7, -3, 6, 5}},     {{0, 10, 8, 0}, 1920, 1080, true, {0, 10, 8, 0}}};
    for (const auto& c : cases) {
        const ColorDescription got = describeColor({c.stored[0], c.stored[1], c.stored[2], c.stored[3]}, c.w, c.h, c.keep);
        EXPECT_EQ((Color{got.primaries, got.transfer, got.matrix, got.range}), c.want) << "case " << &c - cases;
    }
}

// What transcode hands its convertor: each side described at its own size
// (HD source, small destination) from the initial members (0, 0, 0, 1), with
// the keep flag reaching both sides; sizes, planes and metadata pass through.
TEST(ColorFunctionsObject, FramesCarryEachSidesDescriptionSizesPlanesAndMetadata) {
    std::unique_ptr<KROColorFunctions> f(KROColorFunctions::create(1280, 720, kKRORGBA8888Format, 8, 4, kKRORGBA8888Format));
    f->setMetaData("src_max_luminance", "1000");
    f->setMetaData("src_max_luminance", "4000");
    f->setMetaData("other", "x");
    SpyLog log = transcodeWithSpy(*f);
    ASSERT_EQ(log.calls, 1);
    EXPECT_EQ(std::make_tuple(log.src.width, log.src.height, log.src.strides[0], log.dst.width, log.dst.height,
                              log.dst.strides[0]),
              std::make_tuple(1280, 720, 1280 * 4, 8, 4, 8 * 4));
    EXPECT_EQ(log.src.planes[1], nullptr);
    EXPECT_TRUE(log.src.name.empty());
    EXPECT_TRUE(log.dst.name.empty());
    EXPECT_EQ(log.meta.at("src_max_luminance"), "4000");
    EXPECT_EQ(log.meta.size(), 2u);
    EXPECT_EQ(colorOf(log.src), (Color{1, 1, 0, 1}));
    EXPECT_EQ(colorOf(log.dst), (Color{5, 6, 0, 1}));
    EXPECT_EQ(f->srcPrimaries, 0) << "the stored members never change";
    f->setKeepSourceColor(true);
    log = transcodeWithSpy(*f);
    EXPECT_EQ(colorOf(log.src), (Color{0, 0, 0, 1}));
    EXPECT_EQ(colorOf(log.dst), (Color{0, 0, 0, 1}));
}

TEST(ColorFunctionsObject, SetColorspaceDetailsRefusesEndMarkersInOrder) {
    std::unique_ptr<KROColorFunctions> f(KROColorFunctions::create(kKRORGB888Format, kKRORGBA8888Format));
    const auto P = [](int v) { return static_cast<KROColorPrimaries>(v); };
    const auto T = [](int v) { return static_cast<KROColorTransfer>(v); };
    const auto M = [](int v) { return static_cast<KROColorMatrix>(v); };
    const auto R = [](int v) { return static_cast<KROColorRange>(v); };
    EXPECT_EQ(f->setColorspaceDetails(P(1), T(1), M(15), R(1), P(25), T(1), M(1), R(1)), kKROColorPrimariesError);
    EXPECT_EQ(f->setColorspaceDetails(P(1), T(101), M(1), R(1), P(1), T(1), M(15), R(1)), kKROColorMatrixError);
    EXPECT_EQ(f->setColorspaceDetails(P(1), T(1), M(1), R(1), P(1), T(101), M(1), R(1)), kKROColorTransferError);
    EXPECT_EQ(f->srcPrimaries, 0) << "nothing stored on refusal";
    EXPECT_EQ(f->setColorspaceDetails(P(-4), T(1000), M(99), R(7), P(26), T(102), M(16), R(-1)), kKROSuccess);
    EXPECT_EQ(std::make_pair(f->srcTransfer, f->dstRange), std::make_pair(1000, -1));
}

TEST(ColorFunctionsObject, RebuildOnlyWhenASettingThatShapesTheConvertorChanges) {
    std::unique_ptr<KROColorFunctions> f(KROColorFunctions::create(16, 16, kKRORGBA8888Format, 16, 16, kKRORGBA8888Format));
    for (bool expected : {true, false}) {  // the same values twice rebuild once
        f->rebuild = false;
        f->setColorspaceDetails(kColorPrimariesBT709, kColorTransferBT709, kColorMatrixBT709, kColorRangeMpeg,
                                kColorPrimariesBT709, kColorTransferBT709, kColorMatrixBT709, kColorRangeMpeg);
        EXPECT_EQ(f->rebuild, expected);
    }
    f->setSrcDimensions(8, 8);
    f->setHWSync(false);
    f->setKeepSourceColor(true);
    f->setMetaData("k", "v");
    const uint8_t icc[4] = {1, 2, 3, 4};
    f->setICCProfile(icc, 4, nullptr, 0);
    EXPECT_FALSE(f->rebuild);
    EXPECT_EQ(f->srcICCSize, 4);
    EXPECT_EQ(f->dstICC, nullptr);

    KROHWContext ctx;
    f->setHWContext(ctx);
    EXPECT_FALSE(f->rebuild) << "the first record is stored without a rebuild";
    f->setHWContext(ctx);
    EXPECT_FALSE(f->rebuild);
    ctx.dstType = kKROHWTypeSwscale;
    f->setHWContext(ctx);
    EXPECT_TRUE(f->rebuild);
    f->rebuild = false;
    f->setType(kKROProfileTypeColorSpace);
    EXPECT_FALSE(f->rebuild);
    f->setType(kKROProfileTypeICC);
    EXPECT_TRUE(f->rebuild);
}

TEST(ColorFunctionsObject, SyncFlagReachesOnlyConvertorsBuiltAfterwards) {
    std::unique_ptr<KROColorFunctions> f(KROColorFunctions::create(16, 16, kKRORGBA8888Format, 16, 16, kKRORGBA8888Format));
    FrameBuffers src(kKRORGBA8888Format, 16, 16), dst(kKRORGBA8888Format, 16, 16);
    ASSERT_EQ(transcode(*f, src, dst), kKROSuccess);
    IConvertor* first = f->convertor;
    ASSERT_NE(first, nullptr);
    EXPECT_TRUE(first->hwSync());
    f->setHWSync(false);
    ASSERT_EQ(transcode(*f, src, dst), kKROSuccess);
    EXPECT_EQ(f->convertor, first) << "kept without a rebuild";
    EXPECT_TRUE(f->convertor->hwSync());
    f->setType(static_cast<KROProfileType>(7));
    f->setType(kKROProfileTypeColorSpace);
    ASSERT_EQ(transcode(*f, src, dst), kKROSuccess);
    EXPECT_FALSE(f->convertor->hwSync());
}

TEST(ColorFunctionsObject, BadArgumentsReturnInputParamError) {
    std::unique_ptr<KROColorFunctions> f(KROColorFunctions::create(kKRORGBA8888Format, kKRORGBA8888Format));
    FrameBuffers src(kKRORGBA8888Format, 4, 4), dst(kKRORGBA8888Format, 4, 4);
    EXPECT_EQ(transcode(*f, src, dst), kKROInputParamError) << "two-parameter create leaves the sizes at 0";
    f->setSrcDimensions(4, 4);
    f->setDstDimensions(4, -4);
    EXPECT_EQ(transcode(*f, src, dst), kKROInputParamError);
    f->setDstDimensions(4, 4);
    EXPECT_EQ(f->transcode(nullptr, src.strides(), dst.dstPlanes(), dst.strides()), kKROInputParamError);
    EXPECT_EQ(f->transcode(src.srcPlanes(), nullptr, dst.dstPlanes(), dst.strides()), kKROInputParamError);
    EXPECT_EQ(f->transcode(src.srcPlanes(), src.strides(), nullptr, dst.strides()), kKROInputParamError);
    EXPECT_EQ(f->transcode(src.srcPlanes(), src.strides(), dst.dstPlanes(), nullptr), kKROInputParamError);
    EXPECT_EQ(transcode(*f, src, dst), kKROSuccess);

    // A null plane or a stride shorter than the row is refused before anything is written.
    const uint8_t* nullPlanes[1] = {nullptr};
    EXPECT_EQ(f->transcode(nullPlanes, src.strides(), dst.dstPlanes(), dst.strides()), kKROInputParamError);
    const int shortStride[1] = {15};
    EXPECT_EQ(f->transcode(src.srcPlanes(), shortStride, dst.dstPlanes(), dst.strides()), kKROInputParamError);
}

// Rows whose byte count would not fit a 32-bit stride are refused before
// anything is allocated: 600 million RGBA16 pixels (4.8 GB; staged as RGB888
// they would fit), and 400 million RGB888 pixels, which fit (1.2 GB) but
// would be staged in the destination's RGBA16 before the scale (3.2 GB).
TEST(ColorFunctionsObject, RowsThatWouldNotFitAStrideAreRefused) {
    FrameBuffers src(kKRORGBA8888Format, 4, 4), dst(kKRORGBA8888Format, 4, 4);
    const struct {
        int width;
        KROPixelFormat srcFormat, dstFormat;
        int srcStride;
    } cases[] = {{600000000, kKRORGBA16LEFormat, kKRORGB888Format, INT32_MAX},
                 {400000000, kKRORGB888Format, kKRORGBA16LEFormat, 1200000000}};
    for (const auto& c : cases) {
        std::unique_ptr<KROColorFunctions> f(KROColorFunctions::create(c.width, 1, c.srcFormat, 4, 4, c.dstFormat));
        const int srcStrides[] = {c.srcStride};
        EXPECT_EQ(f->transcode(src.srcPlanes(), srcStrides, dst.dstPlanes(), dst.strides()), kKROInputParamError) << c.width;
    }
}

TEST(ColorFunctionsObject, FormatsTheFrameCannotCarryAreRefused) {
    FrameBuffers src(kKRORGBA8888Format, 4, 4), dst(kKRORGBA8888Format, 4, 4);
    for (int32_t code : {121, 122, 123, 606, 607, 99, 130, 700}) {
        const auto other = static_cast<KROPixelFormat>(code);
        std::unique_ptr<KROColorFunctions> f(KROColorFunctions::create(4, 4, other, 4, 4, kKRORGBA8888Format));
        EXPECT_EQ(transcode(*f, src, dst), kKROInputPixelFormatNotSupported) << code;
        EXPECT_EQ(f->convertor, nullptr);
        std::unique_ptr<KROColorFunctions> g(KROColorFunctions::create(4, 4, kKRORGBA8888Format, 4, 4, other));
        EXPECT_EQ(transcode(*g, src, dst), kKROInputPixelFormatNotSupported) << code;
    }
}

TEST(ColorFunctionsObject, SelectionFailuresReturnTheirCodeAndAreRetried) {
    std::unique_ptr<KROColorFunctions> f(KROColorFunctions::create(4, 4, kKRORGBA8888Format, 4, 4, kKRORGBA8888Format));
    FrameBuffers src(kKRORGBA8888Format, 4, 4), dst(kKRORGBA8888Format, 4, 4);
    KROHWContext cuda;
    cuda.srcType = cuda.dstType = kKROHWTypeCUDA;
    cuda.srcHandle = &src;  // the destination's context stays null
    f->setHWContext(cuda);
    EXPECT_EQ(transcode(*f, src, dst), kKROFormatHWContextMismatch);
    EXPECT_EQ(takeSelectionError(), kKROSuccess) << "transcode consumed the code";
    // A GL texture source with a zero-filled context falls through to the last rule.
    std::unique_ptr<KROColorFunctions> g(KROColorFunctions::create(4, 4, kKRORGBA8888Texture2DFormat, 4, 4, kKRORGBA8888Format));
    EXPECT_EQ(transcode(*g, src, dst), kKROInputParamError);
    // After cleanup the object behaves as if no context had been set.
    f->cleanup();
    EXPECT_EQ(f->hwContext, nullptr);
    EXPECT_EQ(transcode(*f, src, dst), kKROSuccess);
    EXPECT_NE(dynamic_cast<CPUContext*>(f->convertor), nullptr);
}

TEST(ColorFunctionsObject, CopiesOwnTheirResources) {
    std::unique_ptr<KROColorFunctions> f(KROColorFunctions::create(4, 4, kKRORGBA8888Format, 4, 4, kKRORGBA8888Format));
    const uint8_t icc[3] = {9, 8, 7};
    f->setICCProfile(icc, 3, icc, 2);
    f->setHWContext(KROHWContext());
    f->setMetaData("a", "b");
    KROColorFunctions copy(*f);
    EXPECT_NE(copy.srcICC, f->srcICC);
    EXPECT_EQ(copy.srcICC[2], 7);
    EXPECT_EQ(copy.dstICCSize, 2);
    EXPECT_NE(copy.hwContext, f->hwContext);
    EXPECT_EQ(copy.metaData.at("a"), "b");
    std::unique_ptr<KROColorFunctions> other(KROColorFunctions::create(kKRORGB888Format, kKRORGB888Format));
    *other = *f;
    EXPECT_EQ(other->srcWidth, 4);
    EXPECT_NE(other->srcICC, f->srcICC);
}
