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
#include <vector>

#include "KROColorFunctions.h"
#include "cpu/image_convert_rows.h"
#include "support/guarded_block.h"

namespace KROCOLOR {
namespace {

using testing::internal::CaptureStdout;
using testing::internal::GetCapturedStdout;

// The grey value by its defining formula (division and all).
uint8_t referenceGrey(unsigned r, unsigned g, unsigned b) {
    return static_cast<uint8_t>((299u * r + 587u * g + 114u * b + 500u) / 1000u);
}

using test::Placement;

// Exactly `n` bytes ending at a guard page, or starting right after one.
struct ExactBuffer {
    explicit ExactBuffer(size_t n, Placement placement = Placement::EndAtGuard)
        : block(n, placement), size(n), data(block.data()) {}
    test::GuardedBlock block;
    size_t size;
    uint8_t* data;
};

constexpr Placement kPlacements[] = {Placement::EndAtGuard, Placement::StartAfterGuard};

void fillPattern(uint8_t* p, size_t n, uint32_t seed) {
    uint32_t s = seed * 2654435761u + 1;
    for (size_t i = 0; i < n; ++i) {
        s = s * 1664525u + 1013904223u;
        p[i] = static_cast<uint8_t>(s >> 24);
    }
}

// --- Grey arithmetic ------------------------------------------------------

TEST(ImageConvertGrey, MultiplyShiftDividesExactlyOverTheWholeRange) {
    // The two steps of bytes::divideBy1000 for every value they can meet.
    for (uint32_t y = 0; y <= 255500u / 8; ++y) ASSERT_EQ((y * 33555u) >> 22, y / 125) << y;
    for (uint32_t x = 0; x <= 255500u; ++x) ASSERT_EQ(bytes::divideBy1000(x), x / 1000) << x;
}

TEST(ImageConvertGrey, EveryRgbColourMatchesTheFormula) {
    // All 2^24 colours, one red value per pass, through each grey converter.
    const size_t n = 65536;
    ExactBuffer rgb(n * 3), rgba(n * 4), bgra(n * 4), expected(n);
    ExactBuffer fromRgb(n), fromRgba(n), fromBgra(n), fromRgbaScalar(n);
    for (unsigned r = 0; r < 256; ++r) {
        for (unsigned gb = 0; gb < n; ++gb) {
            const uint8_t g = static_cast<uint8_t>(gb >> 8), b = static_cast<uint8_t>(gb);
            const uint8_t px[4] = {static_cast<uint8_t>(r), g, b, static_cast<uint8_t>(gb * 7)};
            std::memcpy(rgb.data + 3 * gb, px, 3);
            std::memcpy(rgba.data + 4 * gb, px, 4);
            const uint8_t swapped[4] = {b, g, static_cast<uint8_t>(r), px[3]};
            std::memcpy(bgra.data + 4 * gb, swapped, 4);
            expected.data[gb] = referenceGrey(r, g, b);
        }
        KROImageConvert::convertRGB888ToI8(rgb.data, n * 3, fromRgb.data);
        KROImageConvert::convertRGBA8888ToI8(rgba.data, n * 4, fromRgba.data);
        KROImageConvert::convertBGRA8888ToI8(bgra.data, n * 4, fromBgra.data);
        bytes::scalarHotRows().rgba8888ToI8(rgba.data, fromRgbaScalar.data, n);
        ASSERT_EQ(0, std::memcmp(expected.data, fromRgb.data, n)) << "RGB888, R = " << r;
        ASSERT_EQ(0, std::memcmp(expected.data, fromRgba.data, n)) << "RGBA8888, R = " << r;
        ASSERT_EQ(0, std::memcmp(expected.data, fromBgra.data, n)) << "BGRA8888, R = " << r;
        ASSERT_EQ(0, std::memcmp(expected.data, fromRgbaScalar.data, n)) << "scalar RGBA8888, R = " << r;
    }
}

// --- Direct converters ----------------------------------------------------

using DirectFn = void (*)(const uint8_t*, unsigned int, uint8_t*);
using PixelRule = void (*)(const uint8_t* in, uint8_t* out);

struct DirectCase {
    const char* name;
    DirectFn convert;
    unsigned srcBytes, dstBytes;
    PixelRule rule;  // one output pixel from one input pixel, as documented
};

const DirectCase kDirect[] = {
    {"AI88ToA8", KROImageConvert::convertAI88ToA8, 2, 1, [](const uint8_t* i, uint8_t* o) { o[0] = i[1]; }},
    {"AI88ToI8", KROImageConvert::convertAI88ToI8, 2, 1, [](const uint8_t* i, uint8_t* o) { o[0] = i[0]; }},
    {"AI88ToRGB888", KROImageConvert::convertAI88ToRGB888, 2, 3,
     [](const uint8_t* i, uint8_t* o) { o[0] = o[1] = o[2] = i[0]; }},
    {"AI88ToRGBA8888", KROImageConvert::convertAI88ToRGBA8888, 2, 4,
     [](const uint8_t* i, uint8_t* o) { o[0] = o[1] = o[2] = i[0], o[3] = i[1]; }},
    {"I8ToAI88", KROImageConvert::convertI8ToAI88, 1, 2, [](const uint8_t* i, uint8_t* o) { o[0] = i[0], o[1] = 255; }},
    {"I8ToRGB888", KROImageConvert::convertI8ToRGB888, 1, 3,
     [](const uint8_t* i, uint8_t* o) { o[0] = o[1] = o[2] = i[0]; }},
    {"I8ToRGBA8888", KROImageConvert::convertI8ToRGBA8888, 1, 4,
     [](const uint8_t* i, uint8_t* o) { o[0] = o[1] = o[2] = i[0], o[3] = 255; }},
    {"RGB888ToA8", KROImageConvert::convertRGB888ToA8, 3, 1,
     [](const uint8_t* i, uint8_t* o) { o[0] = referenceGrey(i[0], i[1], i[2]); }},
    {"RGB888ToI8", KROImageConvert::convertRGB888ToI8, 3, 1,
     [](const uint8_t* i, uint8_t* o) { o[0] = referenceGrey(i[0], i[1], i[2]); }},
    {"RGB888ToAI88", KROImageConvert::convertRGB888ToAI88, 3, 2,
     [](const uint8_t* i, uint8_t* o) { o[0] = referenceGrey(i[0], i[1], i[2]), o[1] = 255; }},
    {"RGB888ToRGBA8888", KROImageConvert::convertRGB888ToRGBA8888, 3, 4,
     [](const uint8_t* i, uint8_t* o) { o[0] = i[0], o[1] = i[1], o[2] = i[2], o[3] = 255; }},
    {"RGBA8888ToA8", KROImageConvert::convertRGBA8888ToA8, 4, 1, [](const uint8_t* i, uint8_t* o) { o[0] = i[3]; }},
    {"RGBA8888ToI8", KROImageConvert::convertRGBA8888ToI8, 4, 1,
     [](const uint8_t* i, uint8_t* o) { o[0] = referenceGrey(i[0], i[1], i[2]); }},
    {"RGBA8888ToAI88", KROImageConvert::convertRGBA8888ToAI88, 4, 2,
     [](const uint8_t* i, uint8_t* o) { o[0] = referenceGrey(i[0], i[1], i[2]), o[1] = i[3]; }},
    {"RGBA8888ToRGB888", KROImageConvert::convertRGBA8888ToRGB888, 4, 3,
     [](const uint8_t* i, uint8_t* o) { o[0] = i[0], o[1] = i[1], o[2] = i[2]; }},
    {"BGRA8888ToAI88", KROImageConvert::convertBGRA8888ToAI88, 4, 2,
     [](const uint8_t* i, uint8_t* o) { o[0] = referenceGrey(i[2], i[1], i[0]), o[1] = i[3]; }},
    {"BGRA8888ToI8",
     [](const uint8_t* s, unsigned int n, uint8_t* d) { KROImageConvert::convertBGRA8888ToI8(s, n, d); }, 4, 1,
     [](const uint8_t* i, uint8_t* o) { o[0] = referenceGrey(i[2], i[1], i[0]); }},
};

class ImageConvertDirect : public testing::TestWithParam<DirectCase> {};

TEST_P(ImageConvertDirect, WholePixelsOnlyAtEveryLength) {
    const DirectCase& c = GetParam();
    // Lengths around the vector widths, each with every partial-pixel tail.
    for (unsigned pixels : {0u, 1u, 2u, 5u, 15u, 16u, 17u, 18u, 19u, 33u, 64u, 101u}) {
        for (unsigned extra = 0; extra < 2 * c.srcBytes; ++extra) {
            const unsigned srcSize = pixels * c.srcBytes + extra % c.srcBytes;
            const Placement placement = kPlacements[extra / c.srcBytes];
            ExactBuffer src(srcSize, placement), dst(size_t(pixels) * c.dstBytes, placement),
                expected(size_t(pixels) * c.dstBytes);
            fillPattern(src.data, srcSize, srcSize);
            for (unsigned p = 0; p < pixels; ++p) c.rule(src.data + p * c.srcBytes, expected.data + p * c.dstBytes);
            c.convert(src.data, srcSize, dst.data);
            ASSERT_EQ(0, std::memcmp(expected.data, dst.data, dst.size))
                << c.name << " pixels " << pixels << " extra " << extra;
        }
    }
}

TEST_P(ImageConvertDirect, NullSourceWritesNothing) {
    const DirectCase& c = GetParam();
    uint8_t dst[8] = {7, 7, 7, 7, 7, 7, 7, 7};
    c.convert(nullptr, 8, dst);
    for (uint8_t v : dst) EXPECT_EQ(7, v);
}

INSTANTIATE_TEST_SUITE_P(AllConverters, ImageConvertDirect, testing::ValuesIn(kDirect),
                         [](const testing::TestParamInfo<DirectCase>& info) { return info.param.name; });

TEST(ImageConvertRows, FastRowsMatchPortableRowsAtAnyAlignment) {
    const bytes::HotRows* fast = bytes::sse2HotRows();
    if (!fast) GTEST_SKIP() << "no SSE2 rows in this build";
    const bytes::HotRows& ref = bytes::scalarHotRows();
    struct Row {
        bytes::RowFn fast, ref;
        unsigned srcBytes, dstBytes;
    } rows[] = {{fast->rgba8888ToI8, ref.rgba8888ToI8, 4, 1},
                {fast->bgra8888ToI8, ref.bgra8888ToI8, 4, 1},
                {fast->rgb888ToRgba8888, ref.rgb888ToRgba8888, 3, 4}};
    for (const Row& row : rows) {
        for (unsigned offset = 0; offset < 8; ++offset) {
            for (unsigned pixels = 0; pixels < 80; ++pixels) {
                // Source offsets 0-3, first with the blocks ending at a
                // guard page, then with them starting after one.
                const Placement placement = kPlacements[offset / 4];
                ExactBuffer src(offset % 4 + pixels * row.srcBytes, placement);
                ExactBuffer a(pixels * row.dstBytes, placement), b(pixels * row.dstBytes);
                fillPattern(src.data, src.size, pixels * 4 + offset);
                row.fast(src.data + offset % 4, a.data, pixels);
                row.ref(src.data + offset % 4, b.data, pixels);
                ASSERT_EQ(0, std::memcmp(a.data, b.data, a.size)) << "pixels " << pixels << " offset " << offset;
            }
        }
    }
}

// --- Five-parameter BGRA8888 to grey with rows ------------------------------

TEST(ImageConvertStrided, PacksWholeRowsAndSkipsPadding) {
    const int width = 5, stride = 24, rows = 3;
    // Two full rows plus a row that ends early: only floor(n / stride) rows.
    const unsigned srcSize = stride * (rows - 1) + width * 4;
    ExactBuffer src(srcSize), dst(size_t(width) * (rows - 1) + 1);
    fillPattern(src.data, srcSize, 42);
    std::memset(dst.data, 0xAB, dst.size);
    KROImageConvert::convertBGRA8888ToI8(src.data, srcSize, width, stride, dst.data);
    for (int y = 0; y < rows - 1; ++y)
        for (int x = 0; x < width; ++x) {
            const uint8_t* p = src.data + y * stride + 4 * x;
            EXPECT_EQ(referenceGrey(p[2], p[1], p[0]), dst.data[y * width + x]) << y << "," << x;
        }
    EXPECT_EQ(0xAB, dst.data[dst.size - 1]) << "the partial row is not converted";
}

TEST(ImageConvertStrided, MeaninglessGeometryWritesNothing) {
    uint8_t src[64];
    fillPattern(src, sizeof src, 1);
    struct {
        const uint8_t* src;
        unsigned size;
        int width, stride;
    } cases[] = {{src, 64, 4, 0},  {src, 64, 4, 15}, {src, 64, 0, 16},   {src, 64, -2, 16},
                 {src, 0, 4, 16},  {nullptr, 64, 4, 16}, {src, 64, 4, -16}, {src, 64, INT_MAX, INT_MAX}};
    for (const auto& c : cases) {
        uint8_t dst[16];
        std::memset(dst, 0xCD, sizeof dst);
        KROImageConvert::convertBGRA8888ToI8(c.src, c.size, c.width, c.stride, dst);
        for (uint8_t v : dst) ASSERT_EQ(0xCD, v) << "width " << c.width << " stride " << c.stride;
    }
}

// --- Dispatchers -------------------------------------------------------------

using DispatchFn = KROReturn (*)(const uint8_t*, unsigned int, KROPixelFormat, uint8_t**, unsigned int*);

struct Dispatcher {
    const char* name;
    DispatchFn dispatch;
    KROPixelFormat source;
    unsigned srcBytes;
};

const Dispatcher kDispatchers[] = {
    {"convertRGB888ToFormat", KROImageConvert::convertRGB888ToFormat, kKRORGB888Format, 3},
    {"convertRGBA8888ToFormat", KROImageConvert::convertRGBA8888ToFormat, kKRORGBA8888Format, 4},
    {"convertI8ToFormat", KROImageConvert::convertI8ToFormat, kKROI8Format, 1},
    {"convertAI88ToFormat", KROImageConvert::convertAI88ToFormat, kKROAI88Format, 2},
};

struct Expectation {
    KROPixelFormat source, target;
    DirectFn same;                   // null: refused
    unsigned (*size)(unsigned n);    // the documented output size
    unsigned dstBytes;
};

// The documented table, including the sizes for counts that are not a whole
// number of pixels.
const Expectation kTable[] = {
    {kKRORGB888Format, kKRORGBA8888Format, KROImageConvert::convertRGB888ToRGBA8888, [](unsigned n) { return n / 3 * 4; }, 4},
    {kKRORGB888Format, kKROA8Format, KROImageConvert::convertRGB888ToA8, [](unsigned n) { return n / 3; }, 1},
    {kKRORGB888Format, kKROI8Format, KROImageConvert::convertRGB888ToI8, [](unsigned n) { return n / 3; }, 1},
    {kKRORGB888Format, kKROAI88Format, KROImageConvert::convertRGB888ToAI88, [](unsigned n) { return n / 3 * 2; }, 2},
    {kKRORGBA8888Format, kKRORGB888Format, KROImageConvert::convertRGBA8888ToRGB888, [](unsigned n) { return n / 4 * 3; }, 3},
    {kKRORGBA8888Format, kKROA8Format, KROImageConvert::convertRGBA8888ToA8, [](unsigned n) { return n / 4; }, 1},
    {kKRORGBA8888Format, kKROI8Format, KROImageConvert::convertRGBA8888ToI8, [](unsigned n) { return n / 4; }, 1},
    {kKRORGBA8888Format, kKROAI88Format, KROImageConvert::convertRGBA8888ToAI88, [](unsigned n) { return n / 2; }, 2},
    {kKROI8Format, kKRORGB888Format, KROImageConvert::convertI8ToRGB888, [](unsigned n) { return 3 * n; }, 3},
    {kKROI8Format, kKRORGBA8888Format, KROImageConvert::convertI8ToRGBA8888, [](unsigned n) { return 4 * n; }, 4},
    {kKROI8Format, kKROAI88Format, KROImageConvert::convertI8ToAI88, [](unsigned n) { return 2 * n; }, 2},
    {kKROAI88Format, kKRORGB888Format, KROImageConvert::convertAI88ToRGB888, [](unsigned n) { return n / 2 * 3; }, 3},
    {kKROAI88Format, kKRORGBA8888Format, KROImageConvert::convertAI88ToRGBA8888, [](unsigned n) { return 2 * n; }, 4},
    {kKROAI88Format, kKROA8Format, KROImageConvert::convertAI88ToA8, [](unsigned n) { return n / 2; }, 1},
    {kKROAI88Format, kKROI8Format, KROImageConvert::convertAI88ToI8, [](unsigned n) { return n / 2; }, 1},
};

const Expectation* lookup(KROPixelFormat source, KROPixelFormat target) {
    for (const Expectation& e : kTable)
        if (e.source == source && e.target == target) return &e;
    return nullptr;
}

// Every dispatcher against every byte layout (and a few other codes) as
// target, at whole and partial pixel counts.
TEST(ImageConvertDispatch, EveryDispatcherAndTarget) {
    const KROPixelFormat targets[] = {kKRORGB888Format, kKRORGBA8888Format, kKROBGRA8888Format, kKROA8Format,
                                      kKROI8Format,     kKROAI88Format,     kKRONV12Format,     static_cast<KROPixelFormat>(0)};
    for (const Dispatcher& d : kDispatchers) {
        for (KROPixelFormat target : targets) {
            const Expectation* e = lookup(d.source, target);
            for (unsigned n : {d.srcBytes * 6, d.srcBytes * 6 + d.srcBytes - 1}) {
                SCOPED_TRACE(std::string(d.name) + " to " + std::to_string(target) + " n " + std::to_string(n));
                ExactBuffer src(n);
                fillPattern(src.data, n, n + target);
                uint8_t* out = reinterpret_cast<uint8_t*>(&out);  // any non-null value
                unsigned outSize = 12345;
                CaptureStdout();
                const KROReturn rc = d.dispatch(src.data, n, target, &out, &outSize);
                const std::string printed = GetCapturedStdout();
                if (!e) {
                    EXPECT_EQ(kKROUnknownError, rc);
                    EXPECT_EQ(std::string(d.name) + " unsupported to format " + std::to_string(target), printed);
                    EXPECT_EQ(nullptr, out);
                    EXPECT_EQ(0u, outSize);
                    continue;
                }
                ASSERT_EQ(kKROSuccess, rc);
                EXPECT_EQ("", printed);
                ASSERT_NE(nullptr, out);
                ASSERT_EQ(e->size(n), outSize);
                // Whole pixels as the direct converter writes them; any byte
                // the size rule adds beyond them is zero.
                const size_t written = size_t(n / d.srcBytes) * e->dstBytes;
                ASSERT_LE(written, outSize);
                ExactBuffer direct(written);
                e->same(src.data, n, direct.data);
                EXPECT_EQ(0, std::memcmp(direct.data, out, written));
                for (size_t i = written; i < outSize; ++i) EXPECT_EQ(0, out[i]) << i;
                std::free(out);
            }
        }
    }
}

TEST(ImageConvertDispatch, OutputTooLargeToReportIsRefusedWithoutReading) {
    // 2^30 grey bytes would give a 2^32-byte RGBA8888 buffer; the one-byte
    // source shows nothing is read before the refusal.
    const uint8_t one = 0;
    uint8_t* out = reinterpret_cast<uint8_t*>(&out);
    unsigned size = 1;
    EXPECT_EQ(kKROUnknownError, KROImageConvert::convertI8ToFormat(&one, 1u << 30, kKRORGBA8888Format, &out, &size));
    EXPECT_EQ(nullptr, out);
    EXPECT_EQ(0u, size);
}

// --- transcodeFormat ----------------------------------------------------------

TEST(ImageConvertTranscode, EmptySourceIsAnInputError) {
    const uint8_t px[4] = {1, 2, 3, 4};
    uint8_t* out = reinterpret_cast<uint8_t*>(&out);
    unsigned size = 9;
    EXPECT_EQ(kKROInputParamError, KROImageConvert::transcodeFormat(kKRORGBA8888Format, nullptr, 4,
                                                                    kKROI8Format, &out, &size));
    EXPECT_EQ(nullptr, out);
    EXPECT_EQ(0u, size);
    out = reinterpret_cast<uint8_t*>(&out);
    size = 9;
    EXPECT_EQ(kKROInputParamError,
              KROImageConvert::transcodeFormat(kKRORGBA8888Format, px, 0, kKROI8Format, &out, &size));
    EXPECT_EQ(nullptr, out);
    EXPECT_EQ(0u, size);
}

TEST(ImageConvertTranscode, SourceOutsideHostFormatsLeavesOutputsAlone) {
    const uint8_t px[4] = {1, 2, 3, 4};
    for (int code : {100, 127, 130, 201, 302}) {
        uint8_t* out = reinterpret_cast<uint8_t*>(&out);
        unsigned size = 9;
        EXPECT_EQ(kKROInputParamError, KROImageConvert::transcodeFormat(static_cast<KROPixelFormat>(code), px, 4,
                                                                        kKROI8Format, &out, &size));
        EXPECT_EQ(reinterpret_cast<uint8_t*>(&out), out) << code;
        EXPECT_EQ(9u, size) << code;
    }
}

TEST(ImageConvertTranscode, SameFormatIsAPlainCopy) {
    for (int code : {101, 103, 120, 121, 123, 126}) {
        ExactBuffer src(13);
        fillPattern(src.data, 13, code);
        uint8_t* out = nullptr;
        unsigned size = 0;
        CaptureStdout();
        const KROPixelFormat f = static_cast<KROPixelFormat>(code);
        EXPECT_EQ(kKROSuccess, KROImageConvert::transcodeFormat(f, src.data, 13, f, &out, &size));
        EXPECT_EQ("", GetCapturedStdout());
        ASSERT_EQ(13u, size);
        ASSERT_NE(nullptr, out);
        EXPECT_NE(src.data, out);
        EXPECT_EQ(0, std::memcmp(src.data, out, 13));
        std::free(out);
    }
}

TEST(ImageConvertTranscode, ByteSourcesGoThroughTheirDispatcher) {
    for (const Dispatcher& d : kDispatchers) {
        for (KROPixelFormat target : {kKRORGB888Format, kKRORGBA8888Format, kKROA8Format, kKROI8Format,
                                      kKROAI88Format, kKROBGRA8888Format}) {
            if (target == d.source) continue;
            const unsigned n = d.srcBytes * 9;
            ExactBuffer src(n);
            fillPattern(src.data, n, target);
            uint8_t *viaTranscode = nullptr, *viaDispatcher = nullptr;
            unsigned sizeT = 0, sizeD = 0;
            CaptureStdout();
            const KROReturn rcT = KROImageConvert::transcodeFormat(d.source, src.data, n, target, &viaTranscode, &sizeT);
            const std::string printedT = GetCapturedStdout();
            CaptureStdout();
            const KROReturn rcD = d.dispatch(src.data, n, target, &viaDispatcher, &sizeD);
            const std::string printedD = GetCapturedStdout();
            EXPECT_EQ(rcD, rcT);
            EXPECT_EQ(printedD, printedT);
            ASSERT_EQ(sizeD, sizeT);
            if (sizeT) {
                EXPECT_EQ(0, std::memcmp(viaDispatcher, viaTranscode, sizeT));
            }
            EXPECT_EQ(lookup(d.source, target) ? kKROSuccess : kKROUnknownError, rcT);
            std::free(viaTranscode);
            std::free(viaDispatcher);
        }
    }
}

TEST(ImageConvertTranscode, OtherSourcesAreUnsupported) {
    const uint8_t px[8] = {1, 2, 3, 4, 5, 6, 7, 8};
    struct {
        KROPixelFormat from, to;
    } cases[] = {{kKROBGRA8888Format, kKRORGBA8888Format}, {kKROA8Format, kKROI8Format}, {kKRONV12Format, kKRORGB888Format}};
    for (const auto& c : cases) {
        uint8_t* out = reinterpret_cast<uint8_t*>(&out);
        unsigned size = 5;
        CaptureStdout();
        EXPECT_EQ(kKROUnknownError, KROImageConvert::transcodeFormat(c.from, px, 8, c.to, &out, &size));
        EXPECT_EQ("transcodeFormat unsupported format " + std::to_string(c.from) + " to format " +
                      std::to_string(c.to),
                  GetCapturedStdout());
        EXPECT_EQ(nullptr, out);
        EXPECT_EQ(0u, size);
    }
}

}  // namespace
}  // namespace KROCOLOR
