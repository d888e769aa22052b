#include "cpu/sample_access.h"

#include <gtest/gtest.h>

#include <cstring>
#include <vector>

#include "support/host_frame.h"

namespace KROCOLOR {
namespace {

using test::HostFrame;

// The stored layout of every CPU-addressable host format, written out here
// from the published layout tables independently of the library's format
// table: where each sample of pixel (x, y) lives.
enum class Kind { Packed, Semi, Planar };
struct Layout {
    int32_t code;
    Kind kind;
    int bytes;         // 1 = bytes, 2 = 16-bit words
    int depth;         // significant bits of a sample
    int spp;           // packed: samples per pixel
    int pos[4];        // packed: sample position of component k, -1 when absent
    bool bigEndian;
    int msbShift;      // P010: value sits 6 bits up
    int shiftX, shiftY;
    bool alphaPlane;
};

constexpr Layout kLayouts[] = {
    {101, Kind::Packed, 1, 8, 3, {0, 1, 2, -1}, false, 0, 0, 0, false},
    {102, Kind::Packed, 1, 8, 4, {0, 1, 2, 3}, false, 0, 0, 0, false},
    {103, Kind::Semi, 1, 8, 0, {}, false, 0, 1, 1, false},
    {104, Kind::Planar, 1, 8, 0, {}, false, 0, 1, 1, false},
    {105, Kind::Planar, 1, 8, 0, {}, false, 0, 1, 0, false},
    {106, Kind::Planar, 1, 8, 0, {}, false, 0, 0, 0, false},
    {107, Kind::Planar, 2, 10, 0, {}, false, 0, 1, 1, false},
    {108, Kind::Semi, 2, 10, 0, {}, false, 6, 1, 1, false},
    {109, Kind::Semi, 2, 16, 0, {}, false, 0, 1, 1, false},
    {110, Kind::Planar, 2, 10, 0, {}, false, 0, 1, 0, false},
    {111, Kind::Planar, 2, 10, 0, {}, false, 0, 0, 0, false},
    {112, Kind::Planar, 2, 12, 0, {}, false, 0, 0, 0, false},
    {113, Kind::Planar, 2, 16, 0, {}, false, 0, 0, 0, false},
    {114, Kind::Packed, 2, 16, 4, {0, 1, 2, 3}, false, 0, 0, 0, false},
    {115, Kind::Packed, 2, 16, 4, {0, 1, 2, 3}, true, 0, 0, 0, false},
    {116, Kind::Planar, 1, 8, 0, {}, false, 0, 2, 0, false},
    {117, Kind::Packed, 2, 16, 3, {0, 1, 2, -1}, false, 0, 0, 0, false},
    {118, Kind::Packed, 2, 16, 3, {0, 1, 2, -1}, true, 0, 0, 0, false},
    {119, Kind::Packed, 1, 8, 3, {2, 1, 0, -1}, false, 0, 0, 0, false},
    {120, Kind::Packed, 1, 8, 4, {2, 1, 0, 3}, false, 0, 0, 0, false},
    {124, Kind::Planar, 2, 10, 0, {}, false, 0, 0, 0, true},
    {125, Kind::Planar, 2, 12, 0, {}, false, 0, 0, 0, true},
    {126, Kind::Packed, 1, 8, 4, {0, 1, 2, 3}, false, 0, 0, 0, false},
};

// Byte offset of row `row` in a plane: 16-bit planes count whole words.
int64_t rowOffset(const Layout& l, int32_t stride, int row) {
    return int64_t{row} * (l.bytes == 1 ? stride : (stride / 2) * 2);
}

void storeSample(const Layout& l, uint8_t* at, uint16_t value) {
    if (l.bytes == 1) {
        *at = static_cast<uint8_t>(value);
        return;
    }
    const uint16_t w = static_cast<uint16_t>(value << l.msbShift);
    at[l.bigEndian ? 0 : 1] = static_cast<uint8_t>(w >> 8);
    at[l.bigEndian ? 1 : 0] = static_cast<uint8_t>(w & 0xFF);
}

// A distinct code for component k of pixel (x, y), within the format's depth.
uint16_t codeFor(const Layout& l, int x, int y, int k) {
    const uint32_t base = static_cast<uint32_t>(x * 37 + y * 101 + k * 53 + 11);
    switch (l.depth) {
    case 8: return static_cast<uint16_t>(base & 0xFF);
    case 10: return static_cast<uint16_t>((base * 3) & 0x3FF);
    case 12: return static_cast<uint16_t>((base * 13) & 0xFFF);
    default: return static_cast<uint16_t>((base * 257 + k) & 0xFFFF);
    }
}

NativePixel pixelFor(const Layout& l, int x, int y) {
    NativePixel p;
    for (int k = 0; k < 4; ++k) p.c[k] = codeFor(l, x, y, k);
    return p;
}

// The bytes a writer must leave after writing pixelFor() at every pixel of
// frame `f` (whose planes were pre-filled with `sentinel`).
std::vector<std::vector<uint8_t>> expectedPlanes(const Layout& l, const HostFrame& f, uint8_t sentinel) {
    std::vector<std::vector<uint8_t>> planes;
    for (int p = 0; p < f.planes; ++p) planes.emplace_back(f.sizes[p], sentinel);
    const KROFrame& fr = f.frame;
    for (int y = 0; y < fr.height; ++y) {
        for (int x = 0; x < fr.width; ++x) {
            const NativePixel v = pixelFor(l, x, y);
            if (l.kind == Kind::Packed) {
                for (int k = 0; k < 4; ++k) {
                    if (l.pos[k] < 0) continue;
                    const int64_t at = rowOffset(l, fr.strides[0], y) + (int64_t{l.spp} * x + l.pos[k]) * l.bytes;
                    storeSample(l, &planes[0][at], v.c[k]);
                }
                continue;
            }
            storeSample(l, &planes[0][rowOffset(l, fr.strides[0], y) + int64_t{x} * l.bytes], v.c[0]);
            if (l.alphaPlane)
                storeSample(l, &planes[3][rowOffset(l, fr.strides[3], y) + int64_t{x} * l.bytes], v.c[3]);
            const bool topLeft = x % (1 << l.shiftX) == 0 && y % (1 << l.shiftY) == 0;
            if (!topLeft) continue;
            const int cx = x >> l.shiftX, cy = y >> l.shiftY;
            if (l.kind == Kind::Semi) {
                const int64_t at = rowOffset(l, fr.strides[1], cy) + int64_t{2} * cx * l.bytes;
                storeSample(l, &planes[1][at], v.c[1]);
                storeSample(l, &planes[1][at + l.bytes], v.c[2]);
            } else {
                storeSample(l, &planes[1][rowOffset(l, fr.strides[1], cy) + int64_t{cx} * l.bytes], v.c[1]);
                storeSample(l, &planes[2][rowOffset(l, fr.strides[2], cy) + int64_t{cx} * l.bytes], v.c[2]);
            }
        }
    }
    return planes;
}

// What the reader must return at (x, y) after that write.
NativePixel expectedRead(const Layout& l, int x, int y) {
    NativePixel e = pixelFor(l, x, y);
    if (l.kind == Kind::Packed) {
        if (l.pos[3] < 0) e.c[3] = l.bytes == 1 ? 255 : 65535;
        return e;
    }
    const NativePixel corner = pixelFor(l, x & ~((1 << l.shiftX) - 1), y & ~((1 << l.shiftY) - 1));
    e.c[1] = corner.c[1];
    e.c[2] = corner.c[2];
    if (!l.alphaPlane) e.c[3] = 1;
    return e;
}

void expectPlanesEqual(const HostFrame& f, const std::vector<std::vector<uint8_t>>& want) {
    for (int p = 0; p < f.planes; ++p) {
        const uint8_t* got = f.frame.planes[p];
        for (size_t i = 0; i < f.sizes[p]; ++i)
            ASSERT_EQ(got[i], want[p][i]) << "plane " << p << " byte " << i;
    }
}

class SampleAccessSweep : public ::testing::TestWithParam<Layout> {};

TEST_P(SampleAccessSweep, WritesTheTableAddressesAndReadsThemBack) {
    const Layout& l = GetParam();
    const SampleAccess access = sampleAccessFor(l.code);
    ASSERT_TRUE(access);
    const int sizes[][2] = {{5, 3}, {8, 4}, {1, 1}, {7, 5}};
    for (const auto& wh : sizes) {
        for (int pad : {0, 3}) {
            SCOPED_TRACE(testing::Message() << l.code << " " << wh[0] << "x" << wh[1] << " pad " << pad);
            const int w = wh[0], h = wh[1];
            HostFrame whole(l.code, w, h, pad);
            HostFrame pieces(l.code, w, h, pad);
            whole.fill(0xA5);
            pieces.fill(0xA5);
            std::vector<NativePixel> row(static_cast<size_t>(w));
            for (int y = 0; y < h; ++y) {
                for (int x = 0; x < w; ++x) row[static_cast<size_t>(x)] = pixelFor(l, x, y);
                access.writeRow(whole.frame, y, 0, w, row.data());
                // The same row in runs starting at odd and even positions.
                for (int x0 = 0; x0 < w;) {
                    const int n = std::min(x0 % 2 ? 2 : 1, w - x0);
                    access.writeRow(pieces.frame, y, x0, n, &row[static_cast<size_t>(x0)]);
                    x0 += n;
                }
            }
            const auto want = expectedPlanes(l, whole, 0xA5);
            expectPlanesEqual(whole, want);
            expectPlanesEqual(pieces, want);

            for (int y = 0; y < h; ++y) {
                access.readRow(whole.frame, y, 0, w, row.data());
                for (int x = 0; x < w; ++x) {
                    const NativePixel e = expectedRead(l, x, y);
                    for (int k = 0; k < 4; ++k)
                        ASSERT_EQ(row[static_cast<size_t>(x)].c[k], e.c[k]) << "x " << x << " y " << y << " k " << k;
                }
                // A run read from inside the row matches the whole-row read.
                if (w > 2) {
                    NativePixel mid[2];
                    access.readRow(whole.frame, y, w - 2, 2, mid);
                    EXPECT_EQ(std::memcmp(mid, &row[static_cast<size_t>(w - 2)], sizeof mid), 0);
                }
            }
        }
    }
}

INSTANTIATE_TEST_SUITE_P(SampleAccess, SampleAccessSweep, ::testing::ValuesIn(kLayouts),
                         [](const ::testing::TestParamInfo<Layout>& info) {
                             return "Format" + std::to_string(info.param.code);
                         });

TEST(SampleAccessTest, EveryAddressableFormatIsCoveredAndOthersAreNull) {
    int covered = 0;
    for (int32_t code = 0; code < 800; ++code) {
        bool listed = false;
        for (const Layout& l : kLayouts) listed = listed || l.code == code;
        const SampleAccess a = sampleAccessFor(code);
        EXPECT_EQ(a.readRow != nullptr, listed) << code;
        EXPECT_EQ(a.writeRow != nullptr, listed) << code;
        covered += listed;
    }
    EXPECT_EQ(covered, 23);
    for (int32_t code : {121, 122, 123, 201, 301, 303, 401, 501, 601, -1}) EXPECT_FALSE(sampleAccessFor(code)) << code;
}

TEST(SampleAccessTest, BigEndianWordsAreSwapped) {
    HostFrame f(115, 1, 1);
    const uint8_t bytes[8] = {0x12, 0x34, 0x56, 0x78, 0x9A, 0xBC, 0xDE, 0xF0};
    std::memcpy(f.plane(0), bytes, 8);
    const SampleAccess a = sampleAccessFor(115);
    NativePixel p = readPixel(a, f.frame, 0, 0);
    EXPECT_EQ(p.c[0], 0x1234);
    EXPECT_EQ(p.c[1], 0x5678);
    EXPECT_EQ(p.c[2], 0x9ABC);
    EXPECT_EQ(p.c[3], 0xDEF0);
    writePixel(a, f.frame, 0, 0, NativePixel{{0xA1B2, 0x0001, 0xFF00, 0x8000}});
    const uint8_t want[8] = {0xA1, 0xB2, 0x00, 0x01, 0xFF, 0x00, 0x80, 0x00};
    EXPECT_EQ(std::memcmp(f.plane(0), want, 8), 0);

    HostFrame g(118, 1, 1);
    std::memcpy(g.plane(0), bytes, 6);
    p = readPixel(sampleAccessFor(118), g.frame, 0, 0);
    EXPECT_EQ(p.c[0], 0x1234);
    EXPECT_EQ(p.c[2], 0x9ABC);
    EXPECT_EQ(p.c[3], 0xFFFF);  // no stored alpha: the maximum code

    HostFrame le(117, 1, 1);
    std::memcpy(le.plane(0), bytes, 6);
    p = readPixel(sampleAccessFor(117), le.frame, 0, 0);
    EXPECT_EQ(p.c[0], 0x3412);
    EXPECT_EQ(p.c[3], 0xFFFF);
}

TEST(SampleAccessTest, P010KeepsTheTopTenBits) {
    HostFrame f(108, 2, 2);
    const SampleAccess a = sampleAccessFor(108);
    // Y(0,0) = 0xFFC0 -> 1023; Y(1,0) = 0x007F -> 1 (low six bits dropped).
    const uint8_t luma[4] = {0xC0, 0xFF, 0x7F, 0x00};
    std::memcpy(f.plane(0), luma, 4);
    // U = 0x8000 -> 512, V = 0x0040 -> 1.
    const uint8_t chroma[4] = {0x00, 0x80, 0x40, 0x00};
    std::memcpy(f.plane(1), chroma, 4);
    NativePixel row[2];
    a.readRow(f.frame, 0, 0, 2, row);
    EXPECT_EQ(row[0].c[0], 1023);
    EXPECT_EQ(row[1].c[0], 1);
    EXPECT_EQ(row[1].c[1], 512);
    EXPECT_EQ(row[1].c[2], 1);
    EXPECT_EQ(row[1].c[3], 1);  // YUV without alpha
    // Writing back reproduces the stored words with the low six bits cleared.
    a.writeRow(f.frame, 0, 0, 2, row);
    const uint8_t lumaBack[4] = {0xC0, 0xFF, 0x40, 0x00};
    EXPECT_EQ(std::memcmp(f.plane(0), lumaBack, 4), 0);
    EXPECT_EQ(std::memcmp(f.plane(1), chroma, 4), 0);
}

TEST(SampleAccessTest, NV12ChromaSitsAtHalfRowAndEvenColumn) {
    HostFrame f(103, 4, 4, 2);  // strides 6 and 6
    ASSERT_EQ(f.frame.strides[1], 6);
    for (size_t i = 0; i < f.sizes[1]; ++i) f.plane(1)[i] = static_cast<uint8_t>(100 + i);
    const SampleAccess a = sampleAccessFor(103);
    // Pixel (3, 3): chroma at (3/2)*6 + 2*(3/2) = 8, V at 9.
    NativePixel p = readPixel(a, f.frame, 3, 3);
    EXPECT_EQ(p.c[1], 108);
    EXPECT_EQ(p.c[2], 109);
    p = readPixel(a, f.frame, 1, 2);  // (2/2)*6 + 0 = 6
    EXPECT_EQ(p.c[1], 106);
    EXPECT_EQ(p.c[2], 107);
}

TEST(SampleAccessTest, YUV411ChromaPerFourColumns) {
    HostFrame f(116, 8, 1);
    f.plane(1)[0] = 10;
    f.plane(1)[1] = 20;
    f.plane(2)[0] = 30;
    f.plane(2)[1] = 40;
    const SampleAccess a = sampleAccessFor(116);
    NativePixel row[8];
    a.readRow(f.frame, 0, 0, 8, row);
    for (int x = 0; x < 8; ++x) {
        EXPECT_EQ(row[x].c[1], x < 4 ? 10 : 20) << x;
        EXPECT_EQ(row[x].c[2], x < 4 ? 30 : 40) << x;
    }
    // Only x = 4 of the run 1..6 starts a block.
    for (int x = 0; x < 8; ++x) row[x] = NativePixel{{static_cast<uint16_t>(x), 7, 8, 0}};
    a.writeRow(f.frame, 0, 1, 6, &row[1]);
    EXPECT_EQ(f.plane(1)[0], 10);
    EXPECT_EQ(f.plane(1)[1], 7);
    EXPECT_EQ(f.plane(2)[1], 8);
    EXPECT_EQ(f.plane(0)[0], 0);
    EXPECT_EQ(f.plane(0)[6], 6);
    EXPECT_EQ(f.plane(0)[7], 0);
}

TEST(SampleAccessTest, OddRowsOf420WriteNoChroma) {
    HostFrame f(104, 4, 4);
    f.fill(0x55);
    const SampleAccess a = sampleAccessFor(104);
    const NativePixel row[4] = {{{1, 2, 3, 0}}, {{4, 5, 6, 0}}, {{7, 8, 9, 0}}, {{10, 11, 12, 0}}};
    a.writeRow(f.frame, 1, 0, 4, row);
    for (size_t i = 0; i < f.sizes[1]; ++i) EXPECT_EQ(f.plane(1)[i], 0x55);
    for (size_t i = 0; i < f.sizes[2]; ++i) EXPECT_EQ(f.plane(2)[i], 0x55);
    EXPECT_EQ(f.plane(0)[4 + 3], 10);
    a.writeRow(f.frame, 2, 0, 4, row);  // even row: pixels 0 and 2 write their own chroma
    EXPECT_EQ(f.plane(1)[2 + 0], 2);
    EXPECT_EQ(f.plane(1)[2 + 1], 8);
    EXPECT_EQ(f.plane(2)[2 + 1], 9);
}

TEST(SampleAccessTest, ByteOrderOfPackedFormats) {
    const uint8_t bytes[4] = {1, 2, 3, 4};
    struct Case {
        int32_t code;
        uint16_t want[4];
    } cases[] = {
        {101, {1, 2, 3, 255}}, {119, {3, 2, 1, 255}}, {102, {1, 2, 3, 4}},
        {120, {3, 2, 1, 4}},   {126, {1, 2, 3, 4}},
    };
    for (const Case& c : cases) {
        HostFrame f(c.code, 1, 1);
        std::memcpy(f.plane(0), bytes, f.sizes[0]);
        const NativePixel p = readPixel(sampleAccessFor(c.code), f.frame, 0, 0);
        for (int k = 0; k < 4; ++k) EXPECT_EQ(p.c[k], c.want[k]) << c.code << " " << k;
    }
}

TEST(SampleAccessTest, AlphaPlaneOf444Alpha) {
    HostFrame f(124, 2, 1);
    const uint8_t alpha[4] = {0xFF, 0x03, 0x00, 0x02};
    std::memcpy(f.plane(3), alpha, 4);
    const SampleAccess a = sampleAccessFor(124);
    EXPECT_EQ(readPixel(a, f.frame, 0, 0).c[3], 0x3FF);
    EXPECT_EQ(readPixel(a, f.frame, 1, 0).c[3], 0x200);
}

}  // namespace
}  // namespace KROCOLOR
