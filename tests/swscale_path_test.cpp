// The scalar convertor's libswscale path (hardware type 1) against libswscale
// called directly on roomy, aligned buffers. Caller planes are sized exactly
// and placed against an unmapped page, so a read or write that libswscale
// makes outside them faults here instead of passing unseen by
// AddressSanitizer.
#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <vector>

extern "C" {
#include <libavutil/log.h>
#include <libavutil/mem.h>
#include <libswscale/swscale.h>
}

#include "KROColorFunctions.h"
#include "cpu/cpu_context.h"
#include "support/av_formats.h"
#include "support/format_sweep.h"
#include "support/frame_buffers.h"

using namespace KROCOLOR;
using KROCOLOR::test::avFormat;
using KROCOLOR::test::FrameBuffers;
using KROCOLOR::test::Placement;

namespace {

std::vector<int32_t> swscaleFormats() {
    std::vector<int32_t> formats;
    for (int32_t f : test::cpuFormats())
        if (avFormat(f) != AV_PIX_FMT_NONE) formats.push_back(f);
    return formats;
}

struct Side {
    int32_t format;
    int width, height;
    int32_t primaries, range;
};

// A frame with 64-byte aligned rows, at least 64 spare bytes after each row
// and two spare rows after each plane (room for whatever libswscale's vector
// loops read or write beyond the samples): every byte set to `spare`, then
// the image rows of `from` (if any) copied in.
struct RoomyFrame {
    RoomyFrame(int32_t format, int width, int height, uint8_t spare, const FrameBuffers* from = nullptr) {
        const FormatTraits& t = *formatTraits(format);
        for (int p = 0; p < planeCount(t); ++p) {
            strides[p] = static_cast<int>((planeRowBytes(t, p, width) + 127) / 64 * 64);
            const size_t size = size_t(strides[p]) * size_t(planeRows(t, p, height) + 2);
            planes[p] = static_cast<uint8_t*>(av_malloc(size));
            std::memset(planes[p], spare, size);
            for (int64_t r = 0; from && r < planeRows(t, p, height); ++r)
                std::memcpy(planes[p] + r * strides[p], from->plane(p) + r * from->stride(p), planeRowBytes(t, p, width));
        }
    }
    ~RoomyFrame() {
        for (uint8_t* p : planes) av_free(p);
    }
    RoomyFrame(const RoomyFrame&) = delete;
    RoomyFrame& operator=(const RoomyFrame&) = delete;
    uint8_t* planes[4] = {nullptr, nullptr, nullptr, nullptr};
    int strides[4] = {0, 0, 0, 0};
};

// A transcoding object on the libswscale path: type 1 on both sides.
std::unique_ptr<KROColorFunctions> swscaleObject(const Side& s, const Side& d) {
    std::unique_ptr<KROColorFunctions> f(KROColorFunctions::create(s.width, s.height, static_cast<KROPixelFormat>(s.format),
                                                                   d.width, d.height, static_cast<KROPixelFormat>(d.format)));
    f->setColorspaceDetails(static_cast<KROColorPrimaries>(s.primaries), kColorTransferBT709, kColorMatrixBT709,
                            static_cast<KROColorRange>(s.range), static_cast<KROColorPrimaries>(d.primaries),
                            kColorTransferBT709, kColorMatrixBT709, static_cast<KROColorRange>(d.range));
    KROHWContext ctx;
    ctx.srcType = ctx.dstType = kKROHWTypeSwscale;
    f->setHWContext(ctx);
    return f;
}

// One frame through `f` into a fresh destination of `d`'s size against
// libswscale's own result: bicubic, colourspace details set only when
// neither side is BT.601 (space 0: libswscale's defaults), on roomy buffers.
// libswscale reads pixel pairs past odd row ends and whole vectors past short
// rows, so some output bytes depend on what lies beyond the image; the frame
// is converted twice, with zeros and with 0xFF around the rows (and in the
// output), and every byte both runs agree on must match. Row padding is not
// libswscale's to fill.
void transcodeAndCompare(KROColorFunctions& f, const Side& s, const FrameBuffers& src, int srcSpace, const Side& d,
                         int dstSpace, int pad, Placement placement) {
    FrameBuffers got(d.format, d.width, d.height, pad, placement);
    const KROReturn rc = f.transcode(src.srcPlanes(), src.strides(), got.dstPlanes(), got.strides());
    std::unique_ptr<SwsContext, void (*)(SwsContext*)> sws(
        sws_getContext(s.width, s.height, avFormat(s.format), d.width, d.height, avFormat(d.format), SWS_BICUBIC,
                       nullptr, nullptr, nullptr),
        sws_freeContext);
    bool refused = !sws;
    if (!refused && srcSpace && dstSpace)
        sws_setColorspaceDetails(sws.get(), sws_getCoefficients(srcSpace), s.range == kColorRangeJpeg,
                                 sws_getCoefficients(dstSpace), d.range == kColorRangeJpeg, 0, 1 << 16, 1 << 16);
    std::unique_ptr<RoomyFrame> want[2];
    for (int run = 0; run < 2 && !refused; ++run) {
        RoomyFrame in(s.format, s.width, s.height, run ? 0xFF : 0x00, &src);
        want[run].reset(new RoomyFrame(d.format, d.width, d.height, run ? 0xFF : 0x00));
        refused = sws_scale(sws.get(), in.planes, in.strides, 0, s.height, want[run]->planes, want[run]->strides) < 0;
    }
    if (refused) {
        EXPECT_EQ(rc, kKRORunCPUKernelError);
        return;
    }
    ASSERT_EQ(rc, kKROSuccess);
    const FormatTraits& t = *formatTraits(d.format);
    for (int p = 0; p < got.planeCount(); ++p)
        for (int64_t r = 0; r < planeRows(t, p, d.height); ++r)
            for (int64_t b = 0; b < planeRowBytes(t, p, d.width); ++b) {
                const uint8_t zeros = want[0]->planes[p][r * want[0]->strides[p] + b];
                if (zeros != want[1]->planes[p][r * want[1]->strides[p] + b]) continue;
                ASSERT_EQ(got.plane(p)[r * got.stride(p) + b], zeros) << "plane " << p << " row " << r << " byte " << b;
            }
}

class QuietLibswscale : public ::testing::Environment {
    void SetUp() override { av_log_set_level(AV_LOG_QUIET); }
};
const auto* const kQuiet = ::testing::AddGlobalTestEnvironment(new QuietLibswscale);

// --------------------------------------------------------- single cases

struct SwsCase {
    const char* name;
    Side src, dst;
    int srcSpace, dstSpace;  // the colourspaces the path must choose; 0 = libswscale's defaults
    int pad;                 // bytes after every row, both sides
    Placement placement;
    int laterWidth, laterHeight;  // then the same object at this destination size (0: no second size)
};

class SwscaleCases : public ::testing::TestWithParam<SwsCase> {};

TEST_P(SwscaleCases, MatchesLibswscaleCalledDirectly) {
    const SwsCase& c = GetParam();
    FrameBuffers src(c.src.format, c.src.width, c.src.height, c.pad, c.placement);
    src.fillRandom(99);
    std::unique_ptr<KROColorFunctions> f = swscaleObject(c.src, c.dst);
    transcodeAndCompare(*f, c.src, src, c.srcSpace, c.dst, c.dstSpace, c.pad, c.placement);
    auto* cpu = dynamic_cast<CPUContext*>(f->convertor);
    ASSERT_NE(cpu, nullptr);
    EXPECT_TRUE(cpu->usesSwscale());
    // A second frame of the same shape runs on the kept context.
    const SwsContext* context = cpu->scalingContext();
    ASSERT_NE(context, nullptr);
    transcodeAndCompare(*f, c.src, src, c.srcSpace, c.dst, c.dstSpace, c.pad, c.placement);
    EXPECT_EQ(cpu->scalingContext(), context);
    if (c.laterWidth) {
        f->setDstDimensions(c.laterWidth, c.laterHeight);
        Side later = c.dst;
        later.width = c.laterWidth;
        later.height = c.laterHeight;
        transcodeAndCompare(*f, c.src, src, c.srcSpace, later, c.dstSpace, c.pad, c.placement);
    }
}

constexpr Placement kEnd = Placement::EndAtGuard, kStart = Placement::StartAfterGuard;
constexpr int32_t kLimited = kColorRangeMpeg, kFull = kColorRangeJpeg;

INSTANTIATE_TEST_SUITE_P(
    Colourspaces, SwscaleCases,
    ::testing::Values(
        // BT.2020 source, HD-sized unspecified destination (709).
        SwsCase{"P10ToBGRA2020", {107, 1280, 720, 9, kLimited}, {120, 1280, 720, 2, kFull}, SWS_CS_BT2020, SWS_CS_ITU709, 0, kStart, 0, 0},
        // Unspecified primaries on an SD frame: libswscale's own defaults.
        SwsCase{"UnspecifiedSD", {104, 1280, 719, 2, kFull}, {101, 640, 360, 1, kFull}, 0, 0, 0, kEnd, 0, 0},
        // BT.601 destination: defaults again, packed to planar with scaling.
        SwsCase{"BT601Destination", {102, 30, 20, 1, kFull}, {106, 45, 31, 6, kLimited}, 0, 0, 0, kStart, 0, 0},
        // A context made for 32x32 must not write 32x32 rows into a 16x16 frame.
        SwsCase{"ContextRemadeAfterSizeChange", {102, 64, 48, 1, kFull}, {102, 32, 32, 1, kFull}, SWS_CS_ITU709,
                SWS_CS_ITU709, 0, kEnd, 16, 16}),
    [](const ::testing::TestParamInfo<SwsCase>& info) { return std::string(info.param.name); });

// ----------------------------------------------------------------- sweep

// Shapes that once read or wrote outside the caller's planes, wrote
// misaligned vectors or converted rows only partly (NV12 chroma
// de-interleaved with aligned stores, the packed 24-bit swap, 4:1:1 chroma
// rows, whole 8-pixel groups of the YUV to RGB24 loop, scaled 2-row frames)
// are all re-found by the sweep below, which meets every format pair at
// widths 1-98, heights 1-8, tight rows and both guard placements.
//
// Odd widths, and even ones whose half is not a multiple of 16.
constexpr int kWidths[] = {1, 2, 3, 7, 17, 34, 50, 98};

class SwscaleSweep : public ::testing::TestWithParam<int32_t> {};

// Every destination format at heights 1-8. Across its eight heights each
// pair meets every width once, both guard placements, same size and scaled
// (up when the width is odd, down when it is even), tight rows and padded.
TEST_P(SwscaleSweep, EveryDestinationAtSmallHeights) {
    const int32_t srcFormat = GetParam();
    unsigned index = 0;
    for (int32_t dstFormat : swscaleFormats()) {
        ++index;
        for (int h = 1; h <= 8; ++h) {
            const int w = kWidths[(index + h) % 8];
            const bool scaled = (h + 1) / 2 % 2 == 1;
            const Placement placement = test::guardPlacement(h);
            const int pad = h == 5 ? 2 : 0;
            const int space = index % 3 ? SWS_CS_ITU709 : SWS_CS_BT2020;
            const Side s{srcFormat, w, h, space == SWS_CS_BT2020 ? 9 : 1, kLimited};
            const Side d{dstFormat, scaled ? (w % 2 ? 2 * w + 1 : w / 2 + 1) : w, scaled ? (h % 2 ? h + 2 : h / 2) : h,
                         1, kFull};
            SCOPED_TRACE(::testing::Message() << srcFormat << " " << s.width << "x" << s.height << " -> " << dstFormat
                                              << " " << d.width << "x" << d.height << " pad " << pad
                                              << (placement == Placement::EndAtGuard ? " end" : " start"));
            FrameBuffers src(srcFormat, s.width, s.height, pad, placement);
            src.fillRandom(index * 8 + h);
            std::unique_ptr<KROColorFunctions> f = swscaleObject(s, d);
            transcodeAndCompare(*f, s, src, space, d, SWS_CS_ITU709, pad, placement);
            if (HasFatalFailure()) return;
        }
    }
}

INSTANTIATE_TEST_SUITE_P(SourceFormats, SwscaleSweep, ::testing::ValuesIn(swscaleFormats()));

// ----------------------------------------------------------- refusals

// The guard pages the frames above rely on: one byte past the end, or one
// before the start, faults.
TEST(GuardedBlockDeathTest, BytesOutsideTheBlockFault) {
    test::GuardedBlock end(5, Placement::EndAtGuard), start(5, Placement::StartAfterGuard);
    volatile uint8_t* past = end.data() + end.size();
    volatile uint8_t* before = start.data() - 1;
    end.data()[4] = start.data()[0] = 1;
    EXPECT_DEATH(past[0] = 1, "");
    EXPECT_DEATH(before[0] = 1, "");
}

TEST(SwscalePathFailures, FormatsWithoutATwinFailWithKernelError) {
    FrameBuffers src(kKROCMYK8888Format, 8, 8), dst(kKRORGBA8888Format, 8, 8);
    KROFrame s = src.frame(1, 1, 1, 1), d = dst.frame(1, 1, 1, 1);
    CPUContext cpu;
    cpu.setUseSwscale(true);
    EXPECT_EQ(cpu.convertColor(&s, &d), kKRORunCPUKernelError);
    EXPECT_EQ(cpu.convertColor(nullptr, &d), kKROInputParamError);
}

}  // namespace
