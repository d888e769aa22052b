#include "cpu/sample_access.h"

#include <array>
#include <cstddef>
#include <utility>

namespace KROCOLOR {
namespace {

// Every layout decision below is a compile-time constant of the format's
// table row: one reader and one writer are instantiated per addressable host
// format, so the row loops carry no format switches.
template <int32_t Code>
struct Fmt {
    static constexpr const FormatTraits& t = *formatTraits(Code);
    static constexpr int kBytes = t.bytesPerSample;
    static constexpr bool kBigEndian = t.bigEndian;
    static constexpr int kShift = t.msbShift;
    static constexpr uint16_t kMax = kBytes == 1 ? 0xFF : 0xFFFF;
};

// Start of row `row` of a plane. 16-bit planes count their stride in whole
// words, so an odd byte stride loses its last byte.
template <int Bytes>
inline const uint8_t* rowStart(const uint8_t* plane, int32_t stride, int row) {
    const ptrdiff_t unit = Bytes == 1 ? ptrdiff_t{stride} : ptrdiff_t{stride / 2} * 2;
    return plane + ptrdiff_t{row} * unit;
}
template <int Bytes>
inline uint8_t* rowStart(uint8_t* plane, int32_t stride, int row) {
    return const_cast<uint8_t*>(rowStart<Bytes>(static_cast<const uint8_t*>(plane), stride, row));
}

// Sample i of a row, as stored. Words are assembled from bytes: no alignment
// is assumed and compilers fold the pair into one load.
template <int Bytes, bool BigEndian, int Shift>
inline uint16_t load(const uint8_t* row, ptrdiff_t i) {
    if constexpr (Bytes == 1) {
        return row[i];
    } else {
        const uint8_t* p = row + 2 * i;
        const unsigned v = BigEndian ? (unsigned{p[0]} << 8 | p[1]) : (unsigned{p[1]} << 8 | p[0]);
        return static_cast<uint16_t>(v >> Shift);
    }
}

template <int Bytes, bool BigEndian, int Shift>
inline void store(uint8_t* row, ptrdiff_t i, uint16_t value) {
    if constexpr (Bytes == 1) {
        row[i] = static_cast<uint8_t>(value);
    } else {
        const unsigned v = static_cast<uint16_t>(unsigned{value} << Shift);
        uint8_t* p = row + 2 * i;
        p[BigEndian ? 1 : 0] = static_cast<uint8_t>(v);
        p[BigEndian ? 0 : 1] = static_cast<uint8_t>(v >> 8);
    }
}

// ---- packed RGB / BGR / CMYK -------------------------------------------

template <int32_t Code>
void readPacked(const KROFrame& f, int y, int x0, int count, NativePixel* out) {
    using F = Fmt<Code>;
    constexpr int S = F::t.samplesPerPixel;
    constexpr uint8_t o0 = F::t.order[0], o1 = F::t.order[1], o2 = F::t.order[2], o3 = F::t.order[3];
    const uint8_t* row = rowStart<F::kBytes>(f.planes[0], f.strides[0], y);
    for (int i = 0; i < count; ++i) {
        const ptrdiff_t base = ptrdiff_t{x0 + i} * S;
        NativePixel& p = out[i];
        p.c[0] = load<F::kBytes, F::kBigEndian, 0>(row, base + o0);
        p.c[1] = load<F::kBytes, F::kBigEndian, 0>(row, base + o1);
        p.c[2] = load<F::kBytes, F::kBigEndian, 0>(row, base + o2);
        if constexpr (o3 == kNoComponent)
            p.c[3] = F::kMax;
        else
            p.c[3] = load<F::kBytes, F::kBigEndian, 0>(row, base + o3);
    }
}

template <int32_t Code>
void writePacked(KROFrame& f, int y, int x0, int count, const NativePixel* in) {
    using F = Fmt<Code>;
    constexpr int S = F::t.samplesPerPixel;
    constexpr uint8_t o0 = F::t.order[0], o1 = F::t.order[1], o2 = F::t.order[2], o3 = F::t.order[3];
    uint8_t* row = rowStart<F::kBytes>(f.planes[0], f.strides[0], y);
    for (int i = 0; i < count; ++i) {
        const ptrdiff_t base = ptrdiff_t{x0 + i} * S;
        const NativePixel& p = in[i];
        store<F::kBytes, F::kBigEndian, 0>(row, base + o0, p.c[0]);
        store<F::kBytes, F::kBigEndian, 0>(row, base + o1, p.c[1]);
        store<F::kBytes, F::kBigEndian, 0>(row, base + o2, p.c[2]);
        if constexpr (o3 != kNoComponent) store<F::kBytes, F::kBigEndian, 0>(row, base + o3, p.c[3]);
    }
}

// ---- planar and semi-planar YUV ----------------------------------------

template <int32_t Code>
void readYUV(const KROFrame& f, int y, int x0, int count, NativePixel* out) {
    using F = Fmt<Code>;
    constexpr int B = F::kBytes;
    constexpr bool kBE = F::kBigEndian;
    constexpr int kSh = F::kShift;
    constexpr int sx = F::t.chromaShiftX;
    constexpr bool kSemi = F::t.layout == PlaneLayout::SemiPlanar;
    const int cy = y >> F::t.chromaShiftY;
    const uint8_t* luma = rowStart<B>(f.planes[0], f.strides[0], y);
    const uint8_t* u = rowStart<B>(f.planes[1], f.strides[1], cy);
    const uint8_t* v = kSemi ? u : rowStart<B>(f.planes[2], f.strides[2], cy);
    const uint8_t* a = F::t.hasAlpha ? rowStart<B>(f.planes[3], f.strides[3], y) : nullptr;
    for (int i = 0; i < count; ++i) {
        const int x = x0 + i;
        const ptrdiff_t cx = x >> sx;
        NativePixel& p = out[i];
        p.c[0] = load<B, kBE, kSh>(luma, x);
        if constexpr (kSemi) {
            p.c[1] = load<B, kBE, kSh>(u, 2 * cx);
            p.c[2] = load<B, kBE, kSh>(u, 2 * cx + 1);
        } else {
            p.c[1] = load<B, kBE, kSh>(u, cx);
            p.c[2] = load<B, kBE, kSh>(v, cx);
        }
        if constexpr (F::t.hasAlpha)
            p.c[3] = load<B, kBE, kSh>(a, x);
        else
            p.c[3] = 1;
    }
}

template <int32_t Code>
void writeYUV(KROFrame& f, int y, int x0, int count, const NativePixel* in) {
    using F = Fmt<Code>;
    constexpr int B = F::kBytes;
    constexpr bool kBE = F::kBigEndian;
    constexpr int kSh = F::kShift;
    constexpr int sx = F::t.chromaShiftX;
    constexpr int kBlock = 1 << sx;
    constexpr bool kSemi = F::t.layout == PlaneLayout::SemiPlanar;

    uint8_t* luma = rowStart<B>(f.planes[0], f.strides[0], y);
    for (int i = 0; i < count; ++i) store<B, kBE, kSh>(luma, x0 + i, in[i].c[0]);
    if constexpr (F::t.hasAlpha) {
        uint8_t* a = rowStart<B>(f.planes[3], f.strides[3], y);
        for (int i = 0; i < count; ++i) store<B, kBE, kSh>(a, x0 + i, in[i].c[3]);
    }

    // Chroma comes from the block's top-left pixel only: rows inside a
    // vertical block and pixels inside a horizontal block write none, so
    // threads owning different pixels never write the same sample.
    if ((y & ((1 << F::t.chromaShiftY) - 1)) != 0) return;
    const int cy = y >> F::t.chromaShiftY;
    uint8_t* u = rowStart<B>(f.planes[1], f.strides[1], cy);
    uint8_t* v = kSemi ? u : rowStart<B>(f.planes[2], f.strides[2], cy);
    const int first = (x0 + kBlock - 1) & ~(kBlock - 1);  // first block-aligned x >= x0
    for (int x = first; x < x0 + count; x += kBlock) {
        const NativePixel& p = in[x - x0];
        const ptrdiff_t cx = x >> sx;
        if constexpr (kSemi) {
            store<B, kBE, kSh>(u, 2 * cx, p.c[1]);
            store<B, kBE, kSh>(u, 2 * cx + 1, p.c[2]);
        } else {
            store<B, kBE, kSh>(u, cx, p.c[1]);
            store<B, kBE, kSh>(v, cx, p.c[2]);
        }
    }
}

// ---- selection ------------------------------------------------------------

template <int32_t Code>
constexpr SampleAccess accessFor() {
    constexpr const FormatTraits* t = formatTraits(Code);
    if constexpr (!isCpuAddressable(t)) {
        return SampleAccess{nullptr, nullptr};
    } else if constexpr (t->layout == PlaneLayout::Packed) {
        return SampleAccess{&readPacked<Code>, &writePacked<Code>};
    } else {
        static_assert(t->layout == PlaneLayout::SemiPlanar || t->layout == PlaneLayout::Planar,
                      "host formats are packed, semi-planar or planar");
        static_assert(t->bytesPerSample == 1 || t->bytesPerSample == 2, "bytes or 16-bit words");
        return SampleAccess{&readYUV<Code>, &writeYUV<Code>};
    }
}

constexpr int32_t kFirstHost = 101;
constexpr int32_t kLastHost = 126;

template <size_t... I>
constexpr std::array<SampleAccess, sizeof...(I)> makeAccessTable(std::index_sequence<I...>) {
    return {{accessFor<kFirstHost + static_cast<int32_t>(I)>()...}};
}

constexpr auto kAccessTable =
    makeAccessTable(std::make_index_sequence<static_cast<size_t>(kLastHost - kFirstHost + 1)>());

}  // namespace

SampleAccess sampleAccessFor(int32_t format) {
    if (format < kFirstHost || format > kLastHost) return SampleAccess{nullptr, nullptr};
    return kAccessTable[static_cast<size_t>(format - kFirstHost)];
}

NativePixel readPixel(const SampleAccess& access, const KROFrame& frame, int x, int y) {
    NativePixel p{};
    access.readRow(frame, y, x, 1, &p);
    return p;
}

void writePixel(const SampleAccess& access, KROFrame& frame, int x, int y, const NativePixel& p) {
    access.writeRow(frame, y, x, 1, &p);
}

}  // namespace KROCOLOR
