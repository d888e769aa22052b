// The scale pass of the SIMD CPU convertor: the four-tap averaging filter of
// the scalar scale kernel (cpu/geometry_kernels.cpp) on stored codes, four
// destination pixels per step. Tap positions are computed four lanes at a
// time with the scalar kernel's single-precision arithmetic, so the taps,
// and with them the integer averages, are exactly the scalar ones.
#include <atomic>
#include <cstring>
#include <new>
#include <vector>

#include "cpu/cpu_task.h"
#include "cpu/geometry_kernels.h"
#include "cpu/sample_access.h"
#include "cpu/xsimd/xsimd_passes.h"
#include "cpu/xsimd/xsimd_vector.h"

namespace KROCOLOR {
namespace {

using namespace simd::KRO_SIMD_NS;  // the scaler is built for SSE2 only

// Half the width of the {w, 1, w} filter folded into two bilinear taps:
// w = min(max((ratio - 1) / 2, 0), 1), offset = w / (w + 1/2).
// trunc((i + 0.5) * ratio -/+ offset) for four positions, limited to the
// source (the limit never moves a tap for valid sizes).
void tapsOf4(int i, float ratio, float offset, int size, int32_t* first, int32_t* second) {
    const VF centre = (VF(_mm_cvtepi32_ps(_mm_setr_epi32(i, i + 1, i + 2, i + 3))) + VF(0.5f)) * VF(ratio);
    const __m128i lo = _mm_set1_epi32(0), hi = _mm_set1_epi32(size - 1);
    auto limit = [&](__m128i v) {  // SSE2 has no 32-bit min/max
        v = _mm_andnot_si128(_mm_cmplt_epi32(v, lo), v);
        const __m128i over = _mm_cmpgt_epi32(v, hi);
        return _mm_or_si128(_mm_and_si128(over, hi), _mm_andnot_si128(over, v));
    };
    _mm_storeu_si128(reinterpret_cast<__m128i*>(first), limit(_mm_cvttps_epi32(centre - VF(offset))));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(second), limit(_mm_cvttps_epi32(centre + VF(offset))));
}

struct Taps {
    std::vector<int32_t> first, second;  // padded to a multiple of four
};

Taps tapsFor(int count) {
    Taps t;
    const size_t padded = static_cast<size_t>((count + kLanes - 1) & ~(kLanes - 1));
    t.first.resize(padded);
    t.second.resize(padded);
    return t;
}

// Four 8-bit samples per pixel (RGBA, BGRA, CMYK): whole pixels are gathered
// as 32-bit words and averaged byte-wise in 16-bit lanes.
void scaleRowPacked4x8(const KROFrame& src, KROFrame& dst, const Taps& cols, int yTop, int yBottom, int y) {
    const uint8_t* top = src.planes[0] + ptrdiff_t{yTop} * src.strides[0];
    const uint8_t* bottom = src.planes[0] + ptrdiff_t{yBottom} * src.strides[0];
    uint8_t* out = dst.planes[0] + ptrdiff_t{y} * dst.strides[0];
    auto word = [](const uint8_t* row, int32_t x) {
        int32_t v;
        std::memcpy(&v, row + 4 * ptrdiff_t{x}, sizeof v);
        return v;
    };
    const __m128i z = _mm_setzero_si128();
    const int width = dst.width;
    int x = 0;
    for (; x + kLanes <= width; x += kLanes) {
        const int32_t* a = &cols.first[static_cast<size_t>(x)];
        const int32_t* b = &cols.second[static_cast<size_t>(x)];
        const __m128i p00 = _mm_setr_epi32(word(top, a[0]), word(top, a[1]), word(top, a[2]), word(top, a[3]));
        const __m128i p10 = _mm_setr_epi32(word(top, b[0]), word(top, b[1]), word(top, b[2]), word(top, b[3]));
        const __m128i p01 =
            _mm_setr_epi32(word(bottom, a[0]), word(bottom, a[1]), word(bottom, a[2]), word(bottom, a[3]));
        const __m128i p11 =
            _mm_setr_epi32(word(bottom, b[0]), word(bottom, b[1]), word(bottom, b[2]), word(bottom, b[3]));
        __m128i lo = _mm_add_epi16(_mm_add_epi16(_mm_unpacklo_epi8(p00, z), _mm_unpacklo_epi8(p10, z)),
                                   _mm_add_epi16(_mm_unpacklo_epi8(p01, z), _mm_unpacklo_epi8(p11, z)));
        __m128i hi = _mm_add_epi16(_mm_add_epi16(_mm_unpackhi_epi8(p00, z), _mm_unpackhi_epi8(p10, z)),
                                   _mm_add_epi16(_mm_unpackhi_epi8(p01, z), _mm_unpackhi_epi8(p11, z)));
        lo = _mm_srli_epi16(lo, 2);
        hi = _mm_srli_epi16(hi, 2);
        _mm_storeu_si128(reinterpret_cast<__m128i*>(out + 4 * ptrdiff_t{x}), _mm_packus_epi16(lo, hi));
    }
    // The scalar kernel's rule for the last (width mod 4) pixels.
    for (; x < width; ++x) {
        const int32_t a = cols.first[static_cast<size_t>(x)], b = cols.second[static_cast<size_t>(x)];
        for (int k = 0; k < 4; ++k)
            out[4 * ptrdiff_t{x} + k] = static_cast<uint8_t>(
                (unsigned{top[4 * a + k]} + top[4 * b + k] + bottom[4 * a + k] + bottom[4 * b + k]) >> 2);
    }
}

// Any other format: the scalar row reader gathers both source rows, each
// destination pixel's four taps are summed as 32-bit lanes (one per
// component), and the scalar row writer stores the result.
bool scaleRowAny(const SampleAccess& access, const KROFrame& src, KROFrame& dst, const Taps& cols, int yTop,
                 int yBottom, int y) {
    std::vector<NativePixel> top, bottom, out;
    try {
        top.resize(static_cast<size_t>(src.width));
        bottom.resize(static_cast<size_t>(src.width));
        out.resize(static_cast<size_t>(dst.width) + 1);
    } catch (const std::bad_alloc&) {
        return false;
    }
    access.readRow(src, yTop, 0, src.width, top.data());
    const NativePixel* lower = top.data();
    if (yBottom != yTop) {
        access.readRow(src, yBottom, 0, src.width, bottom.data());
        lower = bottom.data();
    }
    const __m128i z = _mm_setzero_si128();
    auto widen = [&z](const NativePixel& p) {
        return _mm_unpacklo_epi16(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(&p)), z);
    };
    const __m128i bias = _mm_set1_epi32(32768);
    const __m128i flip = _mm_set1_epi16(static_cast<short>(0x8000));
    const int width = dst.width;
    for (int x = 0; x < width; x += 2) {  // two pixels per 128-bit store
        __m128i sums[2];
        for (int j = 0; j < 2; ++j) {
            const size_t i = static_cast<size_t>(x + j < width ? x + j : x);
            const int32_t a = cols.first[i], b = cols.second[i];
            const __m128i s = _mm_add_epi32(_mm_add_epi32(widen(top[a]), widen(top[b])),
                                            _mm_add_epi32(widen(lower[a]), widen(lower[b])));
            sums[j] = _mm_sub_epi32(_mm_srli_epi32(s, 2), bias);
        }
        _mm_storeu_si128(reinterpret_cast<__m128i*>(&out[static_cast<size_t>(x)]),
                         _mm_xor_si128(_mm_packs_epi32(sums[0], sums[1]), flip));
    }
    access.writeRow(dst, y, 0, width, out.data());
    return true;
}

}  // namespace

bool xsimdScalePass(const KROFrame& src, KROFrame& dst, bool threaded) {
    const SampleAccess access = sampleAccessFor(dst.format);
    if (!access) return true;
    const int W = src.width, H = src.height, dW = dst.width, dH = dst.height;
    if (W <= 0 || H <= 0 || dW <= 0 || dH <= 0) return true;
    if (!hostPlanesPresent(src) || !hostPlanesPresent(dst)) return false;

    const float sx = static_cast<float>(W) / static_cast<float>(dW);
    const float sy = static_cast<float>(H) / static_cast<float>(dH);
    const float dx = scaleTapOffset(sx);
    const float dy = scaleTapOffset(sy);

    Taps cols, rows;
    try {
        cols = tapsFor(dW);
        rows = tapsFor(dH);
    } catch (const std::bad_alloc&) {
        return false;
    }
    for (int x = 0; x < dW; x += kLanes) tapsOf4(x, sx, dx, W, &cols.first[x], &cols.second[x]);
    for (int y = 0; y < dH; y += kLanes) tapsOf4(y, sy, dy, H, &rows.first[y], &rows.second[y]);

    const FormatTraits* t = formatTraits(dst.format);
    const bool packed4x8 = t->layout == PlaneLayout::Packed && t->bytesPerSample == 1 && t->samplesPerPixel == 4;
    std::atomic<bool> failed{false};
    auto scaleRow = [&](int y) {
        const int yTop = rows.first[static_cast<size_t>(y)], yBottom = rows.second[static_cast<size_t>(y)];
        if (packed4x8)
            scaleRowPacked4x8(src, dst, cols, yTop, yBottom, y);
        else if (!scaleRowAny(access, src, dst, cols, yTop, yBottom, y))
            failed.store(true, std::memory_order_relaxed);
    };
    if (!(threaded && useWorkerPool(dW, dH))) {
        for (int y = 0; y < dH; ++y) scaleRow(y);
    } else {
        CPUTask pool(kDefaultThreadCount);
        pool.runIndices(dH, scaleRow);
        pool.join();
    }
    return !failed.load();
}

}  // namespace KROCOLOR
