#include "cpu/sample_access.h"

#include <gtest/gtest.h>

#include <cstring>
#include <vector>

#include "support/frame_buffers.h"

namespace KROCOLOR {
namespace {

using test::FrameBuffers;

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

// A code for component k of pixel (x, y) with every bit of the format's depth in play.
uint16_t codeFor(const Layout& l, int x, int y, int k) {
    const uint32_t hash = static_cast<uint32_t>(x * 37 + y * 101 + k * 53 + 11) * 2654435761u;
    return static_cast<uint16_t>((hash >> 12) & ((1u << l.depth) - 1));
}

NativePixel pixelFor(const Layout& l, int x, int y) {
    NativePixel p;
    for (int k = 0; k < 4; ++k) p.c[k] = codeFor(l, x, y, k);
    return p;
}

// The bytes a writer must leave after writing pixelFor() at every pixel of
// frame `f` (whose planes were pre-filled with `sentinel`).
std::vector<std::vector<uint8_t>> expectedPlanes(const Layout& l, const FrameBuffers& f, uint8_t sentinel) {
    std::vector<std::vector<uint8_t>> planes;
    for (int p = 0; p < f.planeCount(); ++p) planes.emplace_back(f.size(p), sentinel);
    const KROFrame& fr = *f.raw();
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

void expectPlanesEqual(const FrameBuffers& f, const std::vector<std::vector<uint8_t>>& want) {
    for (int p = 0; p < f.planeCount(); ++p) {
        const uint8_t* got = f.plane(p);
        for (size_t i = 0; i < f.size(p); ++i)
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
            FrameBuffers whole(l.code, w, h, pad), pieces(l.code, w, h, pad);
            whole.fill(0xA5);
            pieces.fill(0xA5);
            std::vector<NativePixel> row(static_cast<size_t>(w));
            for (int y = 0; y < h; ++y) {
                for (int x = 0; x < w; ++x) row[static_cast<size_t>(x)] = pixelFor(l, x, y);
                access.writeRow(*whole.raw(), y, 0, w, row.data());
                // The same row in runs starting at odd and even positions.
                for (int x0 = 0; x0 < w;) {
                    const int n = std::min(x0 % 2 ? 2 : 1, w - x0);
                    access.writeRow(*pieces.raw(), y, x0, n, &row[static_cast<size_t>(x0)]);
                    x0 += n;
                }
            }
            const auto want = expectedPlanes(l, whole, 0xA5);
            expectPlanesEqual(whole, want);
            expectPlanesEqual(pieces, want);

            for (int y = 0; y < h; ++y) {
                access.readRow(*whole.raw(), y, 0, w, row.data());
                for (int x = 0; x < w; ++x) {
                    const NativePixel e = expectedRead(l, x, y);
                    for (int k = 0; k < 4; ++k)
                        ASSERT_EQ(row[static_cast<size_t>(x)].c[k], e.c[k]) << "x " << x << " y " << y << " k " << k;
                }
                // A run read from inside the row matches the whole-row read.
                if (w > 2) {
                    NativePixel mid[2];
                    access.readRow(*whole.raw(), y, w - 2, 2, mid);
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

// Every host format with a CPU layout has accessors; byte formats (121-123)
// and every code outside the host family have none.
TEST(SampleAccessTest, EveryAddressableFormatIsCoveredAndOthersAreNull) {
    for (int32_t code = -1; code < 800; ++code) {
        bool listed = false;
        for (const Layout& l : kLayouts) listed = listed || l.code == code;
        const SampleAccess a = sampleAccessFor(code);
        EXPECT_EQ(a.readRow != nullptr, listed) << code;
        EXPECT_EQ(a.writeRow != nullptr, listed) << code;
    }
}

}  // namespace
}  // namespace KROCOLOR
