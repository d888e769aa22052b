// The transcoding object's own rules: argument checks, colour defaults,
// rebuilds and the settings it hands to its convertor. A spy convertor is
// planted in the public `convertor` member to see what transcode passes on.
#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <vector>

#include "KROColorFunctions.h"
#include "api/backend_selection.h"
#include "core/convertor.h"
#include "cpu/cpu_context.h"

using namespace KROCOLOR;

namespace {

struct SpyLog {
    int calls = 0;
    int destroyed = 0;
    KROFrame src, dst;
    MetaData meta;
};

class SpyConvertor : public IConvertor {
public:
    explicit SpyConvertor(SpyLog& log) : log_(log) {}
    ~SpyConvertor() override { ++log_.destroyed; }
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

// Packed RGBA buffers large enough for the sizes used here.
struct Buffers {
    explicit Buffers(int w, int h) : src(size_t(w) * h * 4), dst(size_t(w) * h * 4) {}
    std::vector<uint8_t> src, dst;
    const uint8_t* srcPlanes[1];
    uint8_t* dstPlanes[1];
    int srcStrides[1];
    int dstStrides[1];
    void bind(int sw, int dw) {
        srcPlanes[0] = src.data();
        dstPlanes[0] = dst.data();
        srcStrides[0] = sw * 4;
        dstStrides[0] = dw * 4;
    }
};

// Plants a spy and runs one transcode; returns what the spy saw.
SpyLog transcodeWithSpy(KROColorFunctions& f) {
    SpyLog log;
    f.rebuild = false;
    delete f.convertor;
    f.convertor = new SpyConvertor(log);
    Buffers b(std::max(f.srcWidth, f.dstWidth), std::max(f.srcHeight, f.dstHeight));
    b.bind(f.srcWidth, f.dstWidth);
    EXPECT_EQ(f.transcode(b.srcPlanes, b.srcStrides, b.dstPlanes, b.dstStrides), kKROSuccess);
    delete f.convertor;
    f.convertor = nullptr;
    return log;
}

struct DefaultsCase {
    int w, h;
    int32_t primaries, transfer, matrix, range;
};

class ColorDefaults : public ::testing::TestWithParam<DefaultsCase> {};

}  // namespace

// Initial members (0, 0, 0, 1): primaries and transfer are defaulted by size;
// matrix 0 means RGB and is kept.
TEST_P(ColorDefaults, UnspecifiedValuesFollowThePixelCount) {
    const DefaultsCase c = GetParam();
    std::unique_ptr<KROColorFunctions> f(KROColorFunctions::create(c.w, c.h, kKRORGBA8888Format, c.w, c.h, kKRORGBA8888Format));
    const SpyLog log = transcodeWithSpy(*f);
    ASSERT_EQ(log.calls, 1);
    for (const KROFrame* fr : {&log.src, &log.dst}) {
        EXPECT_EQ(fr->primaries, c.primaries);
        EXPECT_EQ(fr->transfer, c.transfer);
        EXPECT_EQ(fr->matrix, c.matrix);
        EXPECT_EQ(fr->range, c.range);
        EXPECT_TRUE(fr->name.empty());
    }
}

INSTANTIATE_TEST_SUITE_P(Sizes, ColorDefaults,
                         ::testing::Values(DefaultsCase{1280, 720, 1, 1, 0, 1},
                                           DefaultsCase{1280, 719, 5, 6, 0, 1},
                                           DefaultsCase{3840, 2160, 1, 1, 0, 1},
                                           DefaultsCase{921600, 1, 1, 1, 0, 1},
                                           DefaultsCase{16, 16, 5, 6, 0, 1}));

TEST(ColorDescription, RewritesAndKeepFlag) {
    // Stored: unspecified matrix, LOG_SQRT transfer, YCgCo matrix, range 0.
    const ColorDescription hd = describeColor({2, 10, 8, 0}, 1920, 1080, false);
    EXPECT_EQ(hd.primaries, 1);
    EXPECT_EQ(hd.transfer, 13);
    EXPECT_EQ(hd.matrix, 1);
    EXPECT_EQ(hd.range, 1);
    const ColorDescription sd = describeColor({3, 0, -1, 2}, 720, 576, false);
    EXPECT_EQ(sd.primaries, 5);
    EXPECT_EQ(sd.transfer, 6);
    EXPECT_EQ(sd.matrix, 6);
    EXPECT_EQ(sd.range, 2);
    // Values without a rule pass unchanged, negative ones included.
    const ColorDescription odd = describeColor({-7, -3, 3, 5}, 8, 8, false);
    EXPECT_EQ(odd.primaries, -7);
    EXPECT_EQ(odd.transfer, -3);
    EXPECT_EQ(odd.matrix, 6);
    EXPECT_EQ(odd.range, 5);
    const ColorDescription kept = describeColor({0, 10, 8, 0}, 1920, 1080, true);
    EXPECT_EQ(kept.primaries, 0);
    EXPECT_EQ(kept.transfer, 10);
    EXPECT_EQ(kept.matrix, 8);
    EXPECT_EQ(kept.range, 0);
}

TEST(ColorFunctionsObject, KeepSourceColorAppliesToBothSides) {
    std::unique_ptr<KROColorFunctions> f(KROColorFunctions::create(1920, 1080, kKRORGBA8888Format, 64, 64, kKRORGBA8888Format));
    ASSERT_EQ(f->setColorspaceDetails(kColorPrimariesBT709, kColorTransferLOG_SQRT, kColorMatrixYCGCO, kColorRangeJpeg,
                                      kColorPrimariesUNSPECIFIED, kColorTransferUNSPECIFIED, kColorMatrixUNSPECIFIED,
                                      kColorRangeUNSPECIFIED),
              kKROSuccess);
    SpyLog log = transcodeWithSpy(*f);
    EXPECT_EQ(log.src.transfer, 13);
    EXPECT_EQ(log.src.matrix, 1);
    EXPECT_EQ(log.dst.primaries, 5);
    f->setKeepSourceColor(true);
    log = transcodeWithSpy(*f);
    EXPECT_EQ(log.src.transfer, 10);
    EXPECT_EQ(log.src.matrix, 8);
    EXPECT_EQ(log.dst.primaries, 2);
    EXPECT_EQ(log.dst.range, 0);
    // The stored members never change.
    EXPECT_EQ(f->srcTransfer, 10);
}

TEST(ColorFunctionsObject, FramesCarrySizesFormatsPlanesAndMetadata) {
    std::unique_ptr<KROColorFunctions> f(KROColorFunctions::create(32, 16, kKRORGBA8888Format, 8, 4, kKRORGBA8888Format));
    f->setMetaData("src_max_luminance", "1000");
    f->setMetaData("src_max_luminance", "4000");
    f->setMetaData("other", "x");
    const SpyLog log = transcodeWithSpy(*f);
    EXPECT_EQ(log.src.width, 32);
    EXPECT_EQ(log.src.height, 16);
    EXPECT_EQ(log.dst.width, 8);
    EXPECT_EQ(log.dst.height, 4);
    EXPECT_EQ(log.src.strides[0], 32 * 4);
    EXPECT_EQ(log.src.planes[1], nullptr);
    EXPECT_EQ(log.meta.at("src_max_luminance"), "4000");
    EXPECT_EQ(log.meta.size(), 2u);
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
    EXPECT_EQ(f->srcTransfer, 1000);
    EXPECT_EQ(f->dstRange, -1);
}

TEST(ColorFunctionsObject, RebuildOnlyWhenASettingThatShapesTheConvertorChanges) {
    std::unique_ptr<KROColorFunctions> f(KROColorFunctions::create(16, 16, kKRORGBA8888Format, 16, 16, kKRORGBA8888Format));
    f->rebuild = false;
    f->setColorspaceDetails(kColorPrimariesBT709, kColorTransferBT709, kColorMatrixBT709, kColorRangeMpeg,
                            kColorPrimariesBT709, kColorTransferBT709, kColorMatrixBT709, kColorRangeMpeg);
    EXPECT_TRUE(f->rebuild);
    f->rebuild = false;
    f->setColorspaceDetails(kColorPrimariesBT709, kColorTransferBT709, kColorMatrixBT709, kColorRangeMpeg,
                            kColorPrimariesBT709, kColorTransferBT709, kColorMatrixBT709, kColorRangeMpeg);
    EXPECT_FALSE(f->rebuild) << "same values twice rebuild once";

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
    Buffers b(16, 16);
    b.bind(16, 16);
    ASSERT_EQ(f->transcode(b.srcPlanes, b.srcStrides, b.dstPlanes, b.dstStrides), kKROSuccess);
    IConvertor* first = f->convertor;
    ASSERT_NE(first, nullptr);
    EXPECT_TRUE(first->hwSync());
    f->setHWSync(false);
    ASSERT_EQ(f->transcode(b.srcPlanes, b.srcStrides, b.dstPlanes, b.dstStrides), kKROSuccess);
    EXPECT_EQ(f->convertor, first) << "kept without a rebuild";
    EXPECT_TRUE(f->convertor->hwSync());
    f->setType(static_cast<KROProfileType>(7));
    f->setType(kKROProfileTypeColorSpace);
    ASSERT_EQ(f->transcode(b.srcPlanes, b.srcStrides, b.dstPlanes, b.dstStrides), kKROSuccess);
    EXPECT_FALSE(f->convertor->hwSync());
}

TEST(ColorFunctionsObject, BadArgumentsReturnInputParamError) {
    std::unique_ptr<KROColorFunctions> f(KROColorFunctions::create(kKRORGBA8888Format, kKRORGBA8888Format));
    Buffers b(4, 4);
    b.bind(4, 4);
    EXPECT_EQ(f->transcode(b.srcPlanes, b.srcStrides, b.dstPlanes, b.dstStrides), kKROInputParamError)
        << "two-parameter create leaves the sizes at 0";
    f->setSrcDimensions(4, 4);
    f->setDstDimensions(4, -4);
    EXPECT_EQ(f->transcode(b.srcPlanes, b.srcStrides, b.dstPlanes, b.dstStrides), kKROInputParamError);
    f->setDstDimensions(4, 4);
    EXPECT_EQ(f->transcode(nullptr, b.srcStrides, b.dstPlanes, b.dstStrides), kKROInputParamError);
    EXPECT_EQ(f->transcode(b.srcPlanes, nullptr, b.dstPlanes, b.dstStrides), kKROInputParamError);
    EXPECT_EQ(f->transcode(b.srcPlanes, b.srcStrides, nullptr, b.dstStrides), kKROInputParamError);
    EXPECT_EQ(f->transcode(b.srcPlanes, b.srcStrides, b.dstPlanes, nullptr), kKROInputParamError);
    EXPECT_EQ(f->transcode(b.srcPlanes, b.srcStrides, b.dstPlanes, b.dstStrides), kKROSuccess);

    // A null plane or a stride shorter than the row is refused before anything is written.
    const uint8_t* nullPlanes[1] = {nullptr};
    EXPECT_EQ(f->transcode(nullPlanes, b.srcStrides, b.dstPlanes, b.dstStrides), kKROInputParamError);
    const int shortStride[1] = {15};
    EXPECT_EQ(f->transcode(b.srcPlanes, shortStride, b.dstPlanes, b.dstStrides), kKROInputParamError);
}

TEST(ColorFunctionsObject, HugeSizesAreRefusedBeforeAnyAllocation) {
    // 600 million pixels wide: a row of RGBA16 would need more than a 32-bit stride.
    std::unique_ptr<KROColorFunctions> f(KROColorFunctions::create(600000000, 2, kKRORGBA16LEFormat, 4, 4, kKRORGBA8888Format));
    Buffers b(4, 4);
    b.bind(4, 4);
    const int hugeStride[1] = {INT32_MAX};
    EXPECT_EQ(f->transcode(b.srcPlanes, hugeStride, b.dstPlanes, b.dstStrides), kKROInputParamError);
}

TEST(ColorFunctionsObject, FormatsTheFrameCannotCarryAreRefused) {
    Buffers b(4, 4);
    b.bind(4, 4);
    for (int32_t code : {121, 122, 123, 606, 607, 99, 130, 700}) {
        std::unique_ptr<KROColorFunctions> f(KROColorFunctions::create(4, 4, static_cast<KROPixelFormat>(code), 4, 4, kKRORGBA8888Format));
        EXPECT_EQ(f->transcode(b.srcPlanes, b.srcStrides, b.dstPlanes, b.dstStrides), kKROInputPixelFormatNotSupported) << code;
        EXPECT_EQ(f->convertor, nullptr);
        std::unique_ptr<KROColorFunctions> g(KROColorFunctions::create(4, 4, kKRORGBA8888Format, 4, 4, static_cast<KROPixelFormat>(code)));
        EXPECT_EQ(g->transcode(b.srcPlanes, b.srcStrides, b.dstPlanes, b.dstStrides), kKROInputPixelFormatNotSupported) << code;
    }
}

TEST(ColorFunctionsObject, SelectionFailuresReturnTheirCodeAndAreRetried) {
    std::unique_ptr<KROColorFunctions> f(KROColorFunctions::create(4, 4, kKRORGBA8888Format, 4, 4, kKRORGBA8888Format));
    Buffers b(4, 4);
    b.bind(4, 4);
    KROHWContext cuda;
    cuda.srcType = cuda.dstType = kKROHWTypeCUDA;
    cuda.srcHandle = &b;
    cuda.dstHandle = nullptr;
    f->setHWContext(cuda);
    EXPECT_EQ(f->transcode(b.srcPlanes, b.srcStrides, b.dstPlanes, b.dstStrides), kKROFormatHWContextMismatch);
    EXPECT_EQ(takeSelectionError(), kKROSuccess) << "transcode consumed the code";
    // A GL texture source with a zero-filled context falls through to rule 11.
    std::unique_ptr<KROColorFunctions> g(KROColorFunctions::create(4, 4, kKRORGBA8888Texture2DFormat, 4, 4, kKRORGBA8888Format));
    EXPECT_EQ(g->transcode(b.srcPlanes, b.srcStrides, b.dstPlanes, b.dstStrides), kKROInputParamError);
    // After cleanup the object behaves as if no context had been set.
    f->cleanup();
    EXPECT_EQ(f->hwContext, nullptr);
    EXPECT_EQ(f->transcode(b.srcPlanes, b.srcStrides, b.dstPlanes, b.dstStrides), kKROSuccess);
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

TEST(ColorFunctionsObject, StagingRowsThatWouldNotFitAStrideAreRefused) {
    // 400 million RGB888 pixels fit a 32-bit row (1.2 GB), but staged in
    // RGBA16 before a scale they would need 3.2 GB rows.
    std::unique_ptr<KROColorFunctions> f(KROColorFunctions::create(400000000, 1, kKRORGB888Format, 4, 4, kKRORGBA16LEFormat));
    std::vector<uint8_t> tiny(4 * 4 * 8);
    const uint8_t* src[] = {tiny.data()};
    const int srcStrides[] = {1200000000};
    uint8_t* dst[] = {tiny.data()};
    const int dstStrides[] = {32};
    EXPECT_EQ(f->transcode(src, srcStrides, dst, dstStrides), kKROInputParamError);
}
