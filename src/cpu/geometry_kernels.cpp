#include "cpu/geometry_kernels.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <exception>
#include <new>
#include <system_error>
#include <vector>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

#include "core/pixel_format_table.h"
#include "cpu/cpu_task.h"
#include "cpu/sample_access.h"

namespace KROCOLOR {
namespace {

// Pixels moved per reader/writer call: small enough for the stack, large
// enough that the indirect calls vanish next to the copying.
constexpr int kChunk = 256;
// Destination rows handled together by the transposing orientations (5-8):
// one source row run of kBand pixels feeds kBand destination rows.
constexpr int kBand = 32;

// Runs job(0) .. job(count - 1), spread over a pool (item i on slot i mod 10)
// or in order on the calling thread. Every item writes its own destination
// rows, so the result does not depend on the choice.
template <typename Job>
KROReturn runItems(int count, bool threaded, const Job& job) {
    if (!threaded) {
        for (int i = 0; i < count; ++i) job(i);
        return kKROSuccess;
    }
    try {
        CPUTask task(kDefaultThreadCount);
        task.runIndices(count, job);
        task.join();
    } catch (const std::exception&) {
        // No memory for the slots' copies of the job, raised before any slot
        // runs (workers that cannot start only leave more slots to the
        // calling thread).
        return kKRORunCPUKernelError;
    }
    return kKROSuccess;
}

// One destination pixel per item: row-major on the calling thread for small
// frames, otherwise single pixels interleaved over the pool.
template <typename PixelJob>
KROReturn runPerPixel(int width, int height, const PixelJob& job) {
    if (!useWorkerPool(width, height)) {
        for (int y = 0; y < height; ++y)
            for (int x = 0; x < width; ++x) job(x, y);
        return kKROSuccess;
    }
    try {
        CPUTask pool(kDefaultThreadCount);
        pool.runPixels(width, height, job);
        pool.join();
    } catch (const std::exception&) {
        return kKRORunCPUKernelError;
    }
    return kKROSuccess;
}

// ---- rotate --------------------------------------------------------------

// The source pixel that destination (x, y) takes for an EXIF orientation,
// with W x H the source size.
void orientedSource(int orientation, int W, int H, int x, int y, int& sx, int& sy) {
    sx = x;
    sy = y;
    switch (orientation) {
    case 2: sx = W - 1 - x; break;
    case 3: sx = W - 1 - x; sy = H - 1 - y; break;
    case 4: sy = H - 1 - y; break;
    case 5: sx = y; sy = x; break;
    case 6: sx = y; sy = H - 1 - x; break;
    case 7: sx = W - 1 - y; sy = H - 1 - x; break;
    case 8: sx = W - 1 - y; sy = x; break;
    default: break;
    }
}

// Orientations 1-4 keep rows as rows: destination row y is source row y
// (or H - 1 - y), read forwards or mirrored.
void rotateRowKeeping(const SampleAccess& a, const KROFrame& src, KROFrame& dst, int orientation, int y) {
    const bool flipV = orientation == 3 || orientation == 4;
    const bool mirror = orientation == 2 || orientation == 3;
    const int sy = flipV ? src.height - 1 - y : y;
    NativePixel buf[kChunk];
    for (int x = 0; x < dst.width; x += kChunk) {
        const int n = std::min(kChunk, dst.width - x);
        if (!mirror) {
            a.readRow(src, sy, x, n, buf);
        } else {
            a.readRow(src, sy, src.width - x - n, n, buf);  // sx = W - 1 - x, for x .. x + n - 1
            std::reverse(buf, buf + n);
        }
        a.writeRow(dst, y, x, n, buf);
    }
}

// Orientations 5-8 turn source columns into destination rows. Destination
// row y comes from source column y (5, 6) or W - 1 - y (7, 8); destination
// column x from source row x (5, 8) or H - 1 - x (6, 7). A band of kBand
// destination rows is gathered from short runs of source rows.
void rotateBandTransposing(const SampleAccess& a, const KROFrame& src, KROFrame& dst, int orientation,
                           int band) {
    const int y0 = band * kBand;
    const int b = std::min(kBand, dst.height - y0);
    const bool colsForward = orientation == 5 || orientation == 6;
    const bool rowsForward = orientation == 5 || orientation == 8;
    const int firstCol = colsForward ? y0 : src.width - y0 - b;
    constexpr int kTileColumns = 32;
    NativePixel tile[kTileColumns * kBand];
    NativePixel out[kTileColumns];
    for (int x = 0; x < dst.width; x += kTileColumns) {
        const int n = std::min(kTileColumns, dst.width - x);
        for (int j = 0; j < n; ++j) {
            const int sy = rowsForward ? x + j : src.height - 1 - (x + j);
            a.readRow(src, sy, firstCol, b, &tile[j * kBand]);
        }
        for (int r = 0; r < b; ++r) {
            const int k = colsForward ? r : b - 1 - r;
            for (int j = 0; j < n; ++j) out[j] = tile[j * kBand + k];
            a.writeRow(dst, y0 + r, x, n, out);
        }
    }
}

// ---- scale ---------------------------------------------------------------

// Half the width of the {w, 1, w} filter folded into two bilinear taps:
// w = clamp((ratio - 1) / 2, 0, 1), offset = w / (w + 1/2). 0 when
// enlarging, 2/3 from a factor of 3 on. Single precision throughout.
struct Taps {
    int first, second;
};

// Taps of destination position i at ratio `scale` over `size` source
// samples: trunc((i + 0.5) * scale -/+ offset). The clamp never moves a tap
// for valid sizes; it keeps a rounding accident from leaving the source.
Taps tapsAt(int i, float scale, float offset, int size) {
    const float centre = (static_cast<float>(i) + 0.5f) * scale;
    const int t0 = static_cast<int>(std::trunc(centre - offset));
    const int t1 = static_cast<int>(std::trunc(centre + offset));
    return Taps{std::min(std::max(t0, 0), size - 1), std::min(std::max(t1, 0), size - 1)};
}

}  // namespace

KROReturn rotateFrame(const KROFrame* src, KROFrame* dst, int orientation, GeometrySchedule schedule) {
    if (!src || !dst) return kKROInputParamError;
    if (orientation < 1 || orientation > 8) return kKROSuccess;
    const SampleAccess access = sampleAccessFor(dst->format);
    if (!access) return kKROSuccess;
    // Only the destination size the orientation implies keeps every mapped
    // position inside the source.
    const bool transposing = orientation >= 5;
    const int wantW = transposing ? src->height : src->width;
    const int wantH = transposing ? src->width : src->height;
    if (dst->width != wantW || dst->height != wantH || dst->width <= 0 || dst->height <= 0)
        return kKROSuccess;
    if (!hostPlanesPresent(*src) || !hostPlanesPresent(*dst)) return kKROInputParamError;

    const bool threaded = useWorkerPool(dst->width, dst->height);
    const KROFrame& s = *src;
    KROFrame& d = *dst;
    if (schedule == GeometrySchedule::Pixels) {
        const int W = s.width, H = s.height;
        return runPerPixel(d.width, d.height, [&access, &s, &d, orientation, W, H](int x, int y) {
            int sx, sy;
            orientedSource(orientation, W, H, x, y, sx, sy);
            writePixel(access, d, x, y, readPixel(access, s, sx, sy));
        });
    }
    if (!transposing)
        return runItems(d.height, threaded,
                        [&access, &s, &d, orientation](int y) { rotateRowKeeping(access, s, d, orientation, y); });
    const int bands = (d.height + kBand - 1) / kBand;
    return runItems(bands, threaded, [&access, &s, &d, orientation](int band) {
        rotateBandTransposing(access, s, d, orientation, band);
    });
}

KROReturn cropFrame(const KROFrame* src, KROFrame* dst, int left, int top, GeometrySchedule schedule) {
    if (!src || !dst) return kKROInputParamError;
    const SampleAccess access = sampleAccessFor(dst->format);
    if (!access) return kKROSuccess;
    if (left < 0 || top < 0 || dst->width <= 0 || dst->height <= 0) return kKROSuccess;
    if (int64_t{dst->width} + left > src->width || int64_t{dst->height} + top > src->height)
        return kKROSuccess;  // the rectangle does not fit inside the source
    if (!hostPlanesPresent(*src) || !hostPlanesPresent(*dst)) return kKROInputParamError;

    const KROFrame& s = *src;
    KROFrame& d = *dst;
    if (schedule == GeometrySchedule::Pixels) {
        return runPerPixel(d.width, d.height, [&access, &s, &d, left, top](int x, int y) {
            writePixel(access, d, x, y, readPixel(access, s, x + left, y + top));
        });
    }
    return runItems(d.height, useWorkerPool(d.width, d.height), [&access, &s, &d, left, top](int y) {
        NativePixel buf[kChunk];
        for (int x = 0; x < d.width; x += kChunk) {
            const int n = std::min(kChunk, d.width - x);
            access.readRow(s, y + top, x + left, n, buf);
            access.writeRow(d, y, x, n, buf);
        }
    });
}

float scaleTapOffset(float ratio) {
    const float w = std::min(std::max(0.5f * (ratio - 1.0f), 0.0f), 1.0f);
    return w / (w + 0.5f);
}

// One destination row of an 8-bit packed format: every stored byte is one
// component at a fixed place in the pixel, so the four-tap average of the
// codes is the average of the bytes at that place, taken straight from the
// two source rows without unpacking the pixels.
template <int Bytes>
void scaleRowPacked8(const uint8_t* top, const uint8_t* lower, const Taps* columns, int width, uint8_t* out) {
    int x = 0;
#if defined(__SSE2__)
    if constexpr (Bytes == 4) {
        auto word = [](const uint8_t* row, int i) {
            int32_t w;
            std::memcpy(&w, row + 4 * ptrdiff_t{i}, 4);
            return w;
        };
        auto taps = [&](const uint8_t* row, int x0, bool second) {
            auto at = [&](int k) { return word(row, second ? columns[x0 + k].second : columns[x0 + k].first); };
            return _mm_set_epi32(at(3), at(2), at(1), at(0));
        };
        const __m128i z = _mm_setzero_si128();
        for (; x + 4 <= width; x += 4) {
            const __m128i a = taps(top, x, false), b = taps(top, x, true);
            const __m128i c = taps(lower, x, false), d = taps(lower, x, true);
            const __m128i lo = _mm_add_epi16(_mm_add_epi16(_mm_unpacklo_epi8(a, z), _mm_unpacklo_epi8(b, z)),
                                             _mm_add_epi16(_mm_unpacklo_epi8(c, z), _mm_unpacklo_epi8(d, z)));
            const __m128i hi = _mm_add_epi16(_mm_add_epi16(_mm_unpackhi_epi8(a, z), _mm_unpackhi_epi8(b, z)),
                                             _mm_add_epi16(_mm_unpackhi_epi8(c, z), _mm_unpackhi_epi8(d, z)));
            _mm_storeu_si128(reinterpret_cast<__m128i*>(out + 4 * ptrdiff_t{x}),
                             _mm_packus_epi16(_mm_srli_epi16(lo, 2), _mm_srli_epi16(hi, 2)));
        }
    }
#endif
    for (; x < width; ++x) {
        const uint8_t* p00 = top + ptrdiff_t{columns[x].first} * Bytes;
        const uint8_t* p10 = top + ptrdiff_t{columns[x].second} * Bytes;
        const uint8_t* p01 = lower + ptrdiff_t{columns[x].first} * Bytes;
        const uint8_t* p11 = lower + ptrdiff_t{columns[x].second} * Bytes;
        for (int k = 0; k < Bytes; ++k)
            out[ptrdiff_t{x} * Bytes + k] = static_cast<uint8_t>((unsigned{p00[k]} + p10[k] + p01[k] + p11[k]) >> 2);
    }
}

using PackedScaleRow = void (*)(const uint8_t*, const uint8_t*, const Taps*, int, uint8_t*);

PackedScaleRow packedScaleRowFor(int32_t format) {
    const FormatTraits* t = formatTraits(format);
    if (!t || t->layout != PlaneLayout::Packed || t->bytesPerSample != 1) return nullptr;
    if (t->samplesPerPixel == 4) return &scaleRowPacked8<4>;
    if (t->samplesPerPixel == 3) return &scaleRowPacked8<3>;
    return nullptr;
}

KROReturn scaleFrame(const KROFrame& src, KROFrame& dst, bool threaded) {
    const SampleAccess access = sampleAccessFor(dst.format);
    if (!access) return kKROSuccess;
    const int W = src.width, H = src.height, dW = dst.width, dH = dst.height;
    if (W <= 0 || H <= 0 || dW <= 0 || dH <= 0) return kKROSuccess;
    if (!hostPlanesPresent(src) || !hostPlanesPresent(dst)) return kKROInputParamError;

    const float hs = static_cast<float>(W) / static_cast<float>(dW);
    const float vs = static_cast<float>(H) / static_cast<float>(dH);
    const float dx = scaleTapOffset(hs);
    const float dy = scaleTapOffset(vs);

    // Tap columns depend only on x: computed once for the frame.
    std::vector<Taps> columns;
    try {
        columns.resize(static_cast<size_t>(dW));
    } catch (const std::bad_alloc&) {
        return kKRORunCPUKernelError;
    }
    for (int x = 0; x < dW; ++x) columns[static_cast<size_t>(x)] = tapsAt(x, hs, dx, W);

    // Slot `slot` of `slots` converts destination rows slot, slot + slots, ...
    // with its own row buffers.
    const PackedScaleRow packed = packedScaleRowFor(dst.format);
    const auto rows = [&](int slot, int slots) -> bool {
        if (packed) {
            for (int y = slot; y < dH; y += slots) {
                const Taps r = tapsAt(y, vs, dy, H);
                packed(src.planes[0] + ptrdiff_t{r.first} * src.strides[0],
                       src.planes[0] + ptrdiff_t{r.second} * src.strides[0], columns.data(), dW,
                       dst.planes[0] + ptrdiff_t{y} * dst.strides[0]);
            }
            return true;
        }
        try {
            std::vector<NativePixel> top(static_cast<size_t>(W)), bottom(static_cast<size_t>(W));
            std::vector<NativePixel> out(static_cast<size_t>(dW));
            for (int y = slot; y < dH; y += slots) {
                const Taps r = tapsAt(y, vs, dy, H);
                access.readRow(src, r.first, 0, W, top.data());
                const NativePixel* lower = top.data();
                if (r.second != r.first) {
                    access.readRow(src, r.second, 0, W, bottom.data());
                    lower = bottom.data();
                }
                for (int x = 0; x < dW; ++x) {
                    const Taps& c = columns[static_cast<size_t>(x)];
                    const NativePixel& p00 = top[static_cast<size_t>(c.first)];
                    const NativePixel& p10 = top[static_cast<size_t>(c.second)];
                    const NativePixel& p01 = lower[c.first];
                    const NativePixel& p11 = lower[c.second];
                    NativePixel& o = out[static_cast<size_t>(x)];
                    for (int k = 0; k < 4; ++k)
                        o.c[k] = static_cast<uint16_t>(
                            (uint32_t{p00.c[k]} + p10.c[k] + p01.c[k] + p11.c[k]) >> 2);
                }
                access.writeRow(dst, y, 0, dW, out.data());
            }
            return true;
        } catch (const std::bad_alloc&) {
            return false;
        }
    };

    if (!(threaded && useWorkerPool(dW, dH))) return rows(0, 1) ? kKROSuccess : kKRORunCPUKernelError;
    try {
        CPUTask task(kDefaultThreadCount);
        task.runSlices(rows);
        task.join();
        return task.hasFailed() ? kKRORunCPUKernelError : kKROSuccess;
    } catch (const std::exception&) {
        return kKRORunCPUKernelError;
    }
}

}  // namespace KROCOLOR
