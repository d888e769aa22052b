// Loading pixels into a block and storing them back, one instantiation per
// layout so the per-pixel loops carry no format decisions.
#include <cstring>

#include "icc/icc_stages.h"

namespace KROCOLOR {
namespace icc {
namespace {

// 16-bit samples move as one unaligned 16-bit access, byte-swapped when
// their order is not the machine's.
#if defined(__BYTE_ORDER__) && __BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__
constexpr bool kHostBigEndian = false;
#else
constexpr bool kHostBigEndian = true;
#endif

template <bool Wide, bool BigEndian>
inline uint32_t readSample(const uint8_t* p) {
    if (!Wide) return p[0];
    uint16_t v;
    std::memcpy(&v, p, 2);
    return BigEndian != kHostBigEndian ? __builtin_bswap16(v) : v;
}

template <bool Wide, bool BigEndian>
inline void writeSample(uint8_t* p, uint32_t v) {
    if (!Wide) {
        p[0] = static_cast<uint8_t>(v);
        return;
    }
    uint16_t w = static_cast<uint16_t>(v);
    if (BigEndian != kHostBigEndian) w = __builtin_bswap16(w);
    std::memcpy(p, &w, 2);
}

template <int Channels, bool Wide, bool BigEndian, bool Swap, bool Tabulated>
void loadPixels(const uint8_t* src, PixelBlock& b, int n, const StageData& d) {
    constexpr int kSample = Wide ? 2 : 1;
    constexpr int kPixel = Channels * kSample;
    constexpr float kScale = Wide ? 1.0f / 65535.0f : 1.0f / 255.0f;
    constexpr int kRed = Swap ? 2 : 0, kBlue = Swap ? 0 : 2;
    for (int i = 0; i < n; ++i) {
        const uint8_t* p = src + i * kPixel;
        const uint32_t r = readSample<Wide, BigEndian>(p + kRed * kSample);
        const uint32_t g = readSample<Wide, BigEndian>(p + kSample);
        const uint32_t bl = readSample<Wide, BigEndian>(p + kBlue * kSample);
        if (Tabulated) {
            b.c[0][i] = d.tables[0][r];
            b.c[1][i] = d.tables[1][g];
            b.c[2][i] = d.tables[2][bl];
        } else {
            b.c[0][i] = static_cast<float>(r) * kScale;
            b.c[1][i] = static_cast<float>(g) * kScale;
            b.c[2][i] = static_cast<float>(bl) * kScale;
        }
        b.c[3][i] = Channels == 4 ? static_cast<float>(readSample<Wide, BigEndian>(p + 3 * kSample)) * kScale
                                  : 1.0f;
    }
}

// Codes are the clamped values rounded half up; the batched storers
// quantise the whole block first (vectorised), the others value by value.
template <int Channels, bool Wide, bool BigEndian, bool Swap, bool Batched>
void storePixels(const PixelBlock& b, uint8_t* dst, int n, QuantiseFn quantiseBlock) {
    constexpr int kSample = Wide ? 2 : 1;
    constexpr int kPixel = Channels * kSample;
    constexpr float kMax = Wide ? 65535.0f : 255.0f;
    constexpr int kRed = Swap ? 2 : 0, kBlue = Swap ? 0 : 2;
    if (Batched) {
        CodeBlock codes;
        quantiseBlock(b, Channels, kMax, codes, n);
        for (int i = 0; i < n; ++i) {
            uint8_t* p = dst + i * kPixel;
            writeSample<Wide, BigEndian>(p + kRed * kSample, codes.c[0][i]);
            writeSample<Wide, BigEndian>(p + kSample, codes.c[1][i]);
            writeSample<Wide, BigEndian>(p + kBlue * kSample, codes.c[2][i]);
            if (Channels == 4) writeSample<Wide, BigEndian>(p + 3 * kSample, codes.c[3][i]);
        }
        return;
    }
    for (int i = 0; i < n; ++i) {
        uint8_t* p = dst + i * kPixel;
        writeSample<Wide, BigEndian>(p + kRed * kSample, quantise(b.c[0][i], kMax));
        writeSample<Wide, BigEndian>(p + kSample, quantise(b.c[1][i], kMax));
        writeSample<Wide, BigEndian>(p + kBlue * kSample, quantise(b.c[2][i], kMax));
        if (Channels == 4) writeSample<Wide, BigEndian>(p + 3 * kSample, quantise(b.c[3][i], kMax));
    }
}

template <int Channels, bool Wide, bool BigEndian, bool Swap>
LoadFn loader(bool tabulated) {
    return tabulated ? &loadPixels<Channels, Wide, BigEndian, Swap, true>
                     : &loadPixels<Channels, Wide, BigEndian, Swap, false>;
}

template <int Channels, bool Wide, bool BigEndian>
LoadFn loaderSwap(const PixelLayout& l, bool tabulated) {
    return l.swapRedBlue ? loader<Channels, Wide, BigEndian, true>(tabulated)
                         : loader<Channels, Wide, BigEndian, false>(tabulated);
}

template <int Channels, bool Wide, bool BigEndian, bool Swap>
StoreFn storer(bool batched) {
    return batched ? &storePixels<Channels, Wide, BigEndian, Swap, true>
                      : &storePixels<Channels, Wide, BigEndian, Swap, false>;
}

template <int Channels, bool Wide, bool BigEndian>
StoreFn storerSwap(const PixelLayout& l, bool batched) {
    return l.swapRedBlue ? storer<Channels, Wide, BigEndian, true>(batched)
                         : storer<Channels, Wide, BigEndian, false>(batched);
}

}  // namespace

LoadFn selectLoader(const PixelLayout& l, bool tabulated) {
    if (l.bytesPerSample == 1)
        return l.channels == 4 ? loaderSwap<4, false, false>(l, tabulated) : loaderSwap<3, false, false>(l, tabulated);
    if (l.bigEndian)
        return l.channels == 4 ? loaderSwap<4, true, true>(l, tabulated) : loaderSwap<3, true, true>(l, tabulated);
    return l.channels == 4 ? loaderSwap<4, true, false>(l, tabulated) : loaderSwap<3, true, false>(l, tabulated);
}

StoreFn selectStorer(const PixelLayout& l, bool v) {
    if (l.bytesPerSample == 1)
        return l.channels == 4 ? storerSwap<4, false, false>(l, v) : storerSwap<3, false, false>(l, v);
    if (l.bigEndian) return l.channels == 4 ? storerSwap<4, true, true>(l, v) : storerSwap<3, true, true>(l, v);
    return l.channels == 4 ? storerSwap<4, true, false>(l, v) : storerSwap<3, true, false>(l, v);
}

bool describeLayout(ICCPixelFormat format, PixelLayout* layout) {
    struct Row {
        int32_t format;
        PixelLayout layout;
    };
    static constexpr Row kRows[] = {
        {kICCPixelFormatRGB888, {3, 1, false, false}},
        {kICCPixelFormatBGR888, {3, 1, false, true}},
        {kICCPixelFormatRGBA8888, {4, 1, false, false}},
        {kICCPixelFormatBGRA8888, {4, 1, false, true}},
        {kICCPixelFormatRGB161616LE, {3, 2, false, false}},
        {kICCPixelFormatBGR161616LE, {3, 2, false, true}},
        {kICCPixelFormatRGBA16161616LE, {4, 2, false, false}},
        {kICCPixelFormatBGRA16161616LE, {4, 2, false, true}},
        {kICCPixelFormatRGB161616BE, {3, 2, true, false}},
        {kICCPixelFormatBGR161616BE, {3, 2, true, true}},
        {kICCPixelFormatRGBA16161616BE, {4, 2, true, false}},
        {kICCPixelFormatBGRA16161616BE, {4, 2, true, true}},
    };
    for (const Row& row : kRows)
        if (row.format == format) {
            *layout = row.layout;
            return true;
        }
    return false;
}

}  // namespace icc
}  // namespace KROCOLOR
