// KROImageConvert: grey arithmetic, the direct converters, the dispatchers
// and transcodeFormat. Expected pixels are written out here from the
// published layouts, never taken from the converters themselves. Buffers
// hold the exact byte counts against a guard page, so the first byte read or
// written past them (or before them) faults.
#include <gtest/gtest.h>

#include <climits>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>
#include <utility>
#include <vector>

#include "KROColorFunctions.h"
#include "cpu/image_convert_rows.h"
#include "support/guarded_block.h"

namespace KROCOLOR {
namespace {

using testing::internal::CaptureStdout;
using testing::internal::GetCapturedStdout;
using test::Placement;

// The grey value by its defining formula (division and all).
uint8_t referenceGrey(unsigned r, unsigned g, unsigned b) {
    return static_cast<uint8_t>((299u * r + 587u * g + 114u * b + 500u) / 1000u);
}

// Exactly `n` bytes against a guard page, filled with a pattern from `seed`.
struct ExactBuffer : test::GuardedBlock {
    explicit ExactBuffer(size_t n, Placement placement = Placement::EndAtGuard, uint32_t seed = 0)
        : GuardedBlock(n, placement), data(GuardedBlock::data()) {
        uint32_t s = seed * 2654435761u + 1;
        for (size_t i = 0; seed && i < n; ++i) data[i] = static_cast<uint8_t>((s = s * 1664525u + 1013904223u) >> 24);
    }
    uint8_t* data;
};

TEST(ImageConvertGrey, EveryRgbColourMatchesTheFormula) {
    // All 2^24 colours, one red value per pass, through each grey converter.
    const size_t n = 65536;
    ExactBuffer rgb(n * 3), rgba(n * 4), bgra(n * 4), expected(n), fromRgb(n), fromRgba(n), fromBgra(n), scalar(n);
    for (unsigned r = 0; r < 256; ++r) {
        for (unsigned gb = 0; gb < n; ++gb) {
            const uint8_t g = static_cast<uint8_t>(gb >> 8), b = static_cast<uint8_t>(gb), a = uint8_t(gb * 7);
            const uint8_t px[4] = {static_cast<uint8_t>(r), g, b, a}, swapped[4] = {b, g, static_cast<uint8_t>(r), a};
            std::memcpy(rgb.data + 3 * gb, px, 3);
            std::memcpy(rgba.data + 4 * gb, px, 4);
            std::memcpy(bgra.data + 4 * gb, swapped, 4);
            expected.data[gb] = referenceGrey(r, g, b);
        }
        KROImageConvert::convertRGB888ToI8(rgb.data, n * 3, fromRgb.data);
        KROImageConvert::convertRGBA8888ToI8(rgba.data, n * 4, fromRgba.data);
        KROImageConvert::convertBGRA8888ToI8(bgra.data, n * 4, fromBgra.data);
        bytes::scalarHotRows().rgba8888ToI8(rgba.data, scalar.data, n);
        const char* names[] = {"RGB888", "RGBA8888", "BGRA8888", "portable RGBA8888"};
        const ExactBuffer* outputs[] = {&fromRgb, &fromRgba, &fromBgra, &scalar};
        for (int i = 0; i < 4; ++i) ASSERT_EQ(0, std::memcmp(expected.data, outputs[i]->data, n)) << names[i] << ", R = " << r;
    }
}

// --- Direct converters, and the portable versions of the vector rows ------

using DirectFn = void (*)(const uint8_t*, unsigned int, uint8_t*);
using PixelRule = void (*)(const uint8_t* in, uint8_t* out);

struct DirectCase {
    const char* name;
    DirectFn convert;
    unsigned srcBytes, dstBytes;
    PixelRule rule;  // one output pixel from one input pixel, as documented
};

using KI = KROImageConvert;
const PixelRule kGreyOfRgb = [](const uint8_t* i, uint8_t* o) { o[0] = referenceGrey(i[0], i[1], i[2]); };
const PixelRule kGreyOfBgr = [](const uint8_t* i, uint8_t* o) { o[0] = referenceGrey(i[2], i[1], i[0]); };
const PixelRule kRgbOpaque = [](const uint8_t* i, uint8_t* o) { o[0] = i[0], o[1] = i[1], o[2] = i[2], o[3] = 255; };
const DirectCase kDirect[] = {
    {"AI88ToA8", KI::convertAI88ToA8, 2, 1, [](const uint8_t* i, uint8_t* o) { o[0] = i[1]; }},
    {"AI88ToI8", KI::convertAI88ToI8, 2, 1, [](const uint8_t* i, uint8_t* o) { o[0] = i[0]; }},
    {"AI88ToRGB888", KI::convertAI88ToRGB888, 2, 3, [](const uint8_t* i, uint8_t* o) { o[0] = o[1] = o[2] = i[0]; }},
    {"AI88ToRGBA8888", KI::convertAI88ToRGBA8888, 2, 4,
     [](const uint8_t* i, uint8_t* o) { o[0] = o[1] = o[2] = i[0], o[3] = i[1]; }},
    {"I8ToAI88", KI::convertI8ToAI88, 1, 2, [](const uint8_t* i, uint8_t* o) { o[0] = i[0], o[1] = 255; }},
    {"I8ToRGB888", KI::convertI8ToRGB888, 1, 3, [](const uint8_t* i, uint8_t* o) { o[0] = o[1] = o[2] = i[0]; }},
    {"I8ToRGBA8888", KI::convertI8ToRGBA8888, 1, 4,
     [](const uint8_t* i, uint8_t* o) { o[0] = o[1] = o[2] = i[0], o[3] = 255; }},
    {"RGB888ToA8", KI::convertRGB888ToA8, 3, 1, kGreyOfRgb},
    {"RGB888ToI8", KI::convertRGB888ToI8, 3, 1, kGreyOfRgb},
    {"RGB888ToAI88", KI::convertRGB888ToAI88, 3, 2,
     [](const uint8_t* i, uint8_t* o) { o[0] = referenceGrey(i[0], i[1], i[2]), o[1] = 255; }},
    {"RGB888ToRGBA8888", KI::convertRGB888ToRGBA8888, 3, 4, kRgbOpaque},
    {"RGBA8888ToA8", KI::convertRGBA8888ToA8, 4, 1, [](const uint8_t* i, uint8_t* o) { o[0] = i[3]; }},
    {"RGBA8888ToI8", KI::convertRGBA8888ToI8, 4, 1, kGreyOfRgb},
    {"RGBA8888ToAI88", KI::convertRGBA8888ToAI88, 4, 2,
     [](const uint8_t* i, uint8_t* o) { o[0] = referenceGrey(i[0], i[1], i[2]), o[1] = i[3]; }},
    {"RGBA8888ToRGB888", KI::convertRGBA8888ToRGB888, 4, 3,
     [](const uint8_t* i, uint8_t* o) { o[0] = i[0], o[1] = i[1], o[2] = i[2]; }},
    {"BGRA8888ToAI88", KI::convertBGRA8888ToAI88, 4, 2,
     [](const uint8_t* i, uint8_t* o) { o[0] = referenceGrey(i[2], i[1], i[0]), o[1] = i[3]; }},
    {"BGRA8888ToI8", [](const uint8_t* s, unsigned n, uint8_t* d) { KI::convertBGRA8888ToI8(s, n, d); }, 4, 1, kGreyOfBgr},
    // The public converters run the vector rows; these are their fallbacks.
    {"PortableRGBA8888ToI8",
     [](const uint8_t* s, unsigned n, uint8_t* d) { if (s) bytes::scalarHotRows().rgba8888ToI8(s, d, n / 4); }, 4, 1,
     kGreyOfRgb},
    {"PortableBGRA8888ToI8",
     [](const uint8_t* s, unsigned n, uint8_t* d) { if (s) bytes::scalarHotRows().bgra8888ToI8(s, d, n / 4); }, 4, 1,
     kGreyOfBgr},
    {"PortableRGB888ToRGBA8888",
     [](const uint8_t* s, unsigned n, uint8_t* d) { if (s) bytes::scalarHotRows().rgb888ToRgba8888(s, d, n / 3); }, 3,
     4, kRgbOpaque},
};

class ImageConvertDirect : public testing::TestWithParam<DirectCase> {};

// Every length up to two and a half 16-pixel vector blocks, with every
// partial-pixel tail, against either guard; a null source writes nothing.
TEST_P(ImageConvertDirect, WholePixelsOnlyAtEveryLength) {
    const DirectCase& c = GetParam();
    for (unsigned pixels = 0; pixels <= 40; ++pixels) {
        for (unsigned extra = 0; extra < 2 * c.srcBytes; ++extra) {
            const unsigned srcSize = pixels * c.srcBytes + extra % c.srcBytes;
            const Placement placement = extra < c.srcBytes ? Placement::EndAtGuard : Placement::StartAfterGuard;
            ExactBuffer src(srcSize, placement, srcSize + 1), dst(size_t(pixels) * c.dstBytes, placement),
                expected(size_t(pixels) * c.dstBytes);
            for (unsigned p = 0; p < pixels; ++p) c.rule(src.data + p * c.srcBytes, expected.data + p * c.dstBytes);
            c.convert(src.data, srcSize, dst.data);
            ASSERT_EQ(0, std::memcmp(expected.data, dst.data, dst.size())) << "pixels " << pixels << " extra " << extra;
        }
    }
    uint8_t dst[8] = {7, 7, 7, 7, 7, 7, 7, 7};
    c.convert(nullptr, 8, dst);
    for (uint8_t v : dst) EXPECT_EQ(7, v);
}

INSTANTIATE_TEST_SUITE_P(AllConverters, ImageConvertDirect, testing::ValuesIn(kDirect),
                         [](const testing::TestParamInfo<DirectCase>& info) { return info.param.name; });

// --- Five-parameter BGRA8888 to grey with rows ------------------------------

TEST(ImageConvertStrided, PacksWholeRowsAndRefusesMeaninglessGeometry) {
    const int width = 5, stride = 24, rows = 3;
    // Two full rows plus a row that ends early: only floor(n / stride) rows.
    const unsigned srcSize = stride * (rows - 1) + width * 4;
    ExactBuffer src(srcSize, Placement::EndAtGuard, 42), dst(size_t(width) * (rows - 1) + 1);
    dst.data[dst.size() - 1] = 0xAB;
    KI::convertBGRA8888ToI8(src.data, srcSize, width, stride, dst.data);
    for (int y = 0; y < rows - 1; ++y)
        for (int x = 0; x < width; ++x) {
            const uint8_t* p = src.data + y * stride + 4 * x;
            EXPECT_EQ(referenceGrey(p[2], p[1], p[0]), dst.data[y * width + x]) << y << "," << x;
        }
    EXPECT_EQ(0xAB, dst.data[dst.size() - 1]) << "the partial row is not converted";

    struct {
        const uint8_t* src;
        unsigned size;
        int width, stride;
    } refused[] = {{src.data, 64, 4, 0}, {src.data, 64, 4, 15},  {src.data, 64, 0, 16},    {src.data, 64, -2, 16},
                   {src.data, 0, 4, 16}, {nullptr, 64, 4, 16}, {src.data, 64, 4, -16}, {src.data, 64, INT_MAX, INT_MAX}};
    for (const auto& c : refused) {
        uint8_t out[16];
        std::memset(out, 0xCD, sizeof out);
        KI::convertBGRA8888ToI8(c.src, c.size, c.width, c.stride, out);
        for (uint8_t v : out) ASSERT_EQ(0xCD, v) << "width " << c.width << " stride " << c.stride;
    }
}

// --- Dispatchers and transcodeFormat ----------------------------------------

// The byte layouts by name, as the converters spell them.
struct Layout {
    const char* name;
    KROPixelFormat format;
    unsigned bytes;
};
const Layout kLayouts[] = {{"RGB888", kKRORGB888Format, 3}, {"RGBA8888", kKRORGBA8888Format, 4},
                           {"BGRA8888", kKROBGRA8888Format, 4}, {"A8", kKROA8Format, 1},
                           {"I8", kKROI8Format, 1},         {"AI88", kKROAI88Format, 2}};

using DispatchFn = KROReturn (*)(const uint8_t*, unsigned int, KROPixelFormat, uint8_t**, unsigned int*);
const std::pair<DispatchFn, Layout> kDispatchers[] = {{KI::convertRGB888ToFormat, kLayouts[0]},
                                                      {KI::convertRGBA8888ToFormat, kLayouts[1]},
                                                      {KI::convertI8ToFormat, kLayouts[4]},
                                                      {KI::convertAI88ToFormat, kLayouts[5]}};

// One allocating call: its code, what it printed, and its outputs (which
// start as a marker pointer and size 12345, to see whether they are written).
struct Call {
    KROReturn rc;
    std::string printed;
    uint8_t* out;
    unsigned size;
    bool untouched() const { return out == reinterpret_cast<const uint8_t*>(this) && size == 12345; }
    bool cleared() const { return out == nullptr && size == 0; }
    template <typename F>
    explicit Call(F call) : out(reinterpret_cast<uint8_t*>(this)), size(12345) {
        CaptureStdout();
        rc = call(&out, &size);
        printed = GetCapturedStdout();
    }
    ~Call() {
        if (rc == kKROSuccess) std::free(out);
    }
};

// Every dispatcher against every byte layout (and two other codes) as
// target, at whole and partial pixel counts. A dispatcher takes exactly the
// targets that have a direct converter from its source, and its output size
// is whole pixels times the target's bytes, except two documented rules
// (RGBA8888 to AI88: n / 2, AI88 to RGBA8888: 2n) whose extra bytes are zero.
// transcodeFormat from the same source gives the same answer, except that
// the same format is a plain copy (checked with the refusals below).
TEST(ImageConvertDispatch, EveryDispatcherAndTarget) {
    std::vector<Layout> targets(std::begin(kLayouts), std::end(kLayouts));
    targets.push_back({"NV12", kKRONV12Format, 0});
    targets.push_back({"0", KROPixelFormat(0), 0});
    for (const auto& [dispatch, from] : kDispatchers) {
        const std::string name = std::string("convert") + from.name + "ToFormat";
        for (const Layout& to : targets) {
            const DirectCase* direct = nullptr;
            for (const DirectCase& c : kDirect)
                if (std::string(from.name) + "To" + to.name == c.name) direct = &c;
            for (unsigned n : {from.bytes * 6, from.bytes * 7 - 1}) {
                SCOPED_TRACE(name + " to " + to.name + " n " + std::to_string(n));
                ExactBuffer src(n, Placement::EndAtGuard, n + to.format);
                const Call got([&](uint8_t** o, unsigned* s) { return dispatch(src.data, n, to.format, o, s); });
                const Call viaTranscode(
                    [&](uint8_t** o, unsigned* s) { return KI::transcodeFormat(from.format, src.data, n, to.format, o, s); });
                if (to.format != from.format) {
                    EXPECT_EQ(got.rc, viaTranscode.rc);
                    EXPECT_EQ(got.printed, viaTranscode.printed);
                    ASSERT_EQ(got.size, viaTranscode.size);
                    EXPECT_TRUE(!got.size || !std::memcmp(got.out, viaTranscode.out, got.size));
                }
                if (!direct) {
                    EXPECT_EQ(kKROUnknownError, got.rc);
                    EXPECT_EQ(name + " unsupported to format " + std::to_string(to.format), got.printed);
                    EXPECT_TRUE(got.cleared());
                    continue;
                }
                ASSERT_EQ(kKROSuccess, got.rc);
                EXPECT_EQ("", got.printed);
                const unsigned written = n / from.bytes * to.bytes;
                const bool rgbaToAi88 = from.format == kKRORGBA8888Format && to.format == kKROAI88Format;
                const bool ai88ToRgba = from.format == kKROAI88Format && to.format == kKRORGBA8888Format;
                ASSERT_EQ(rgbaToAi88 ? n / 2 : ai88ToRgba ? 2 * n : written, got.size);
                ExactBuffer want(written);
                direct->convert(src.data, n, want.data);
                EXPECT_EQ(0, std::memcmp(want.data, got.out, written));
                for (size_t i = written; i < got.size; ++i) EXPECT_EQ(0, got.out[i]) << i;
            }
        }
    }
}

TEST(ImageConvertDispatch, RefusalsOfTranscodeFormatAndOversizedOutputs) {
    const uint8_t px[8] = {1, 2, 3, 4, 5, 6, 7, 8};
    // 2^30 grey bytes would give a 2^32-byte RGBA8888 buffer; the one-byte
    // source shows nothing is read before the refusal.
    const Call huge([&](uint8_t** o, unsigned* s) { return KI::convertI8ToFormat(px, 1u << 30, kKRORGBA8888Format, o, s); });
    EXPECT_EQ(kKROUnknownError, huge.rc);
    EXPECT_TRUE(huge.cleared());
    // An empty source is an input error that clears the outputs.
    for (const uint8_t* src : {static_cast<const uint8_t*>(nullptr), px}) {
        const unsigned n = src ? 0 : 4;
        const Call empty([&](uint8_t** o, unsigned* s) { return KI::transcodeFormat(kKRORGBA8888Format, src, n, kKROI8Format, o, s); });
        EXPECT_EQ(kKROInputParamError, empty.rc);
        EXPECT_TRUE(empty.cleared());
    }
    // Sources outside the host formats leave the outputs alone.
    for (int code : {100, 127, 130, 201, 302}) {
        const Call c([&](uint8_t** o, unsigned* s) { return KI::transcodeFormat(KROPixelFormat(code), px, 4, kKROI8Format, o, s); });
        EXPECT_EQ(kKROInputParamError, c.rc) << code;
        EXPECT_TRUE(c.untouched()) << code;
    }
    // Host sources without a dispatcher: a plain copy to themselves, else
    // refused with a message.
    for (int code : {103, 120, 121, 126}) {
        const KROPixelFormat f = KROPixelFormat(code);
        const Call copy([&](uint8_t** o, unsigned* s) { return KI::transcodeFormat(f, px, 7, f, o, s); });
        ASSERT_EQ(kKROSuccess, copy.rc);
        EXPECT_EQ("", copy.printed);
        ASSERT_EQ(7u, copy.size);
        EXPECT_EQ(0, std::memcmp(px, copy.out, 7));
        const KROPixelFormat to = code == 120 ? kKRORGBA8888Format : kKRORGB888Format;
        const Call c([&](uint8_t** o, unsigned* s) { return KI::transcodeFormat(f, px, 8, to, o, s); });
        EXPECT_EQ(kKROUnknownError, c.rc);
        EXPECT_EQ("transcodeFormat unsupported format " + std::to_string(code) + " to format " + std::to_string(to),
                  c.printed);
        EXPECT_TRUE(c.cleared());
    }
}

}  // namespace
}  // namespace KROCOLOR
