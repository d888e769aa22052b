#include "cpu/xsimd/xsimd_sample_stages.h"

#include "KROColorFunctions.h"
#include "cpu/xsimd/xsimd_block_rows.h"
#include "cpu/xsimd/xsimd_color_stages.h"
#include "cpu/xsimd/xsimd_sample_kernels.h"

namespace KROCOLOR {
namespace simd {
namespace KRO_SIMD_NS {
namespace {

// ---- readers ----------------------------------------------------------------

// Any format: the scalar row reader gathers the stored pixels, which are
// then turned into channel vectors four at a time.
template <Normaliser N>
void readAny(const VectorPlan& p, const KROFrame& f, int y, int x0, int n, Lanes& out) {
    NativePixel buf[kChunk];
    p.reader.readRow(f, y, x0, n, buf);
    for (int i = 0; i < n; i += kLanes) {
        VF c[4];
        codesToChannels(buf + i, c);
        N(p.colour.src, c);
        out.store(i, c);
    }
}

template <class Row, Normaliser N>
void readBlocks(const VectorPlan& p, const KROFrame& f, int y, int x0, int n, Lanes& out) {
    const Row row(f, y);
    for (int i = 0; i < n; i += kLanes) {
        VF c[4];
        row.gather(x0 + i, c);
        N(p.colour.src, c);
        out.store(i, c);
    }
}

// ---- writers ----------------------------------------------------------------

template <Quantiser Q>
void writeAny(const VectorPlan& p, KROFrame& f, int y, int x0, int n, const Lanes& in) {
    NativePixel buf[kChunk];
    for (int i = 0; i < n; i += kLanes) {
        VF c[4];
        VI q[4];
        in.load(i, c);
        Q(p.colour.dst, c, q);
        channelsToCodes(q, buf + i);
    }
    p.writer.writeRow(f, y, x0, n, buf);
}

template <class Row, Quantiser Q>
void writeBlocks(const VectorPlan& p, KROFrame& f, int y, int x0, int n, const Lanes& in) {
    const Row row(f, y);
    for (int i = 0; i < n; i += kLanes) {
        VF c[4];
        VI q[4];
        in.load(i, c);
        Q(p.colour.dst, c, q);
        row.scatter(x0 + i, q);
    }
}

// The common conversions without curves (a YUV matrix on one side, or
// nothing but a range or layout change) in one pass per block: gather,
// normalise, the plan's only matrix, quantise, scatter.
enum class FusedMatrix { None, YuvToRgb, RgbToYuv };

// The rules and the matrix are copied to locals first: the stores through
// the destination rows could alias the plan, which would otherwise make the
// compiler reload and re-broadcast every constant for every block.
template <class In, Normaliser N, FusedMatrix M, class Out, Quantiser Q>
void fusedRow(const VectorPlan& p, const KROFrame& src, KROFrame& dst, int y, int x0, int n) {
    const In in(src, y);
    const Out out(dst, y);
    const FormatRule srcRule = p.colour.src, dstRule = p.colour.dst;
    const Matrix3 matrix = M == FusedMatrix::RgbToYuv ? p.colour.rgbToYuv : p.colour.yuvToRgb;
    for (int i = 0; i < n; i += kLanes) {
        VF c[4];
        VI q[4];
        in.gather(x0 + i, c);
        N(srcRule, c);
        if constexpr (M == FusedMatrix::YuvToRgb) yuvToRgbBlock(matrix, c);
        if constexpr (M == FusedMatrix::RgbToYuv) rgbToYuvBlock(matrix, c);
        Q(dstRule, c, q);
        out.scatter(x0 + i, q);
    }
}

template <Normaliser N>
ReadStage readerFor(int32_t format) {
    switch (format) {
    case kKRONV12Format: return &readBlocks<YUV8Row<kKRONV12Format>, N>;
    case kKROYUV420PFormat: return &readBlocks<YUV8Row<kKROYUV420PFormat>, N>;
    case kKROYUV422PFormat: return &readBlocks<YUV8Row<kKROYUV422PFormat>, N>;
    case kKROYUV444PFormat: return &readBlocks<YUV8Row<kKROYUV444PFormat>, N>;
    case kKROYUV411PFormat: return &readBlocks<YUV8Row<kKROYUV411PFormat>, N>;
    case kKRORGBA8888Format: return &readBlocks<Packed4x8Row<kKRORGBA8888Format>, N>;
    case kKROBGRA8888Format: return &readBlocks<Packed4x8Row<kKROBGRA8888Format>, N>;
    case kKROCMYK8888Format: return &readBlocks<Packed4x8Row<kKROCMYK8888Format>, N>;
    case kKROYUV420P10LEFormat: return &readBlocks<YUV16Row<kKROYUV420P10LEFormat>, N>;
    case kKROYUV422P10LEFormat: return &readBlocks<YUV16Row<kKROYUV422P10LEFormat>, N>;
    case kKROYUV444P10LEFormat: return &readBlocks<YUV16Row<kKROYUV444P10LEFormat>, N>;
    case kKROYUV444P12LEFormat: return &readBlocks<YUV16Row<kKROYUV444P12LEFormat>, N>;
    case kKROYUV444P16LEFormat: return &readBlocks<YUV16Row<kKROYUV444P16LEFormat>, N>;
    default: return &readAny<N>;
    }
}

template <Quantiser Q>
WriteStage writerFor(int32_t format) {
    switch (format) {
    case kKRONV12Format: return &writeBlocks<YUV8Row<kKRONV12Format>, Q>;
    case kKROYUV420PFormat: return &writeBlocks<YUV8Row<kKROYUV420PFormat>, Q>;
    case kKROYUV422PFormat: return &writeBlocks<YUV8Row<kKROYUV422PFormat>, Q>;
    case kKROYUV444PFormat: return &writeBlocks<YUV8Row<kKROYUV444PFormat>, Q>;
    case kKROYUV411PFormat: return &writeBlocks<YUV8Row<kKROYUV411PFormat>, Q>;
    case kKRORGBA8888Format: return &writeBlocks<Packed4x8Row<kKRORGBA8888Format>, Q>;
    case kKROBGRA8888Format: return &writeBlocks<Packed4x8Row<kKROBGRA8888Format>, Q>;
    case kKROCMYK8888Format: return &writeBlocks<Packed4x8Row<kKROCMYK8888Format>, Q>;
    default: return &writeAny<Q>;
    }
}

// The fused kernels cover the 8-bit conversions between 4:2:0 YUV (NV12,
// YUV420P) and packed RGBA or BGRA with one fixed matrix and no curves.
template <class Rgb>
FusedStage fusedFromYuv(int32_t yuvFormat, SampleRule yuvRule) {
    const bool full = yuvRule == SampleRule::YUVFull;
    switch (yuvFormat) {
    case kKRONV12Format:
        return full ? &fusedRow<YUV8Row<kKRONV12Format>, normaliseYUVFull, FusedMatrix::YuvToRgb, Rgb, quantiseRGB>
                    : &fusedRow<YUV8Row<kKRONV12Format>, normaliseYUVLimited, FusedMatrix::YuvToRgb, Rgb, quantiseRGB>;
    case kKROYUV420PFormat:
        return full ? &fusedRow<YUV8Row<kKROYUV420PFormat>, normaliseYUVFull, FusedMatrix::YuvToRgb, Rgb, quantiseRGB>
                    : &fusedRow<YUV8Row<kKROYUV420PFormat>, normaliseYUVLimited, FusedMatrix::YuvToRgb, Rgb, quantiseRGB>;
    default: return nullptr;
    }
}

template <class Rgb>
FusedStage fusedToYuv(int32_t yuvFormat, SampleRule yuvRule) {
    const bool full = yuvRule == SampleRule::YUVFull;
    switch (yuvFormat) {
    case kKRONV12Format:
        return full ? &fusedRow<Rgb, normaliseRGB, FusedMatrix::RgbToYuv, YUV8Row<kKRONV12Format>, quantiseYUVFull>
                    : &fusedRow<Rgb, normaliseRGB, FusedMatrix::RgbToYuv, YUV8Row<kKRONV12Format>, quantiseYUVLimited>;
    case kKROYUV420PFormat:
        return full ? &fusedRow<Rgb, normaliseRGB, FusedMatrix::RgbToYuv, YUV8Row<kKROYUV420PFormat>, quantiseYUVFull>
                    : &fusedRow<Rgb, normaliseRGB, FusedMatrix::RgbToYuv, YUV8Row<kKROYUV420PFormat>, quantiseYUVLimited>;
    default: return nullptr;
    }
}

}  // namespace

ReadStage chooseReader(int32_t format, SampleRule kind) {
    switch (kind) {
    case SampleRule::RGB: return readerFor<normaliseRGB>(format);
    case SampleRule::CMYK: return readerFor<normaliseCMYK>(format);
    case SampleRule::YUVLimited: return readerFor<normaliseYUVLimited>(format);
    case SampleRule::YUVFull: return readerFor<normaliseYUVFull>(format);
    case SampleRule::None: break;
    }
    return &readAny<normaliseNone>;
}

WriteStage chooseWriter(int32_t format, SampleRule kind) {
    switch (kind) {
    case SampleRule::RGB: return writerFor<quantiseRGB>(format);
    case SampleRule::CMYK: return writerFor<quantiseCMYK>(format);
    case SampleRule::YUVLimited: return writerFor<quantiseYUVLimited>(format);
    case SampleRule::YUVFull: return writerFor<quantiseYUVFull>(format);
    case SampleRule::None: break;
    }
    return &writeAny<quantiseNone>;
}

FusedStage chooseFused(const ColorPlan& colour, int32_t srcFormat, int32_t dstFormat) {
    if (colour.linearStages) return nullptr;
    if (colour.toRgb == MatrixStage::Fixed && colour.toYuv == MatrixStage::None) {
        if (dstFormat == kKRORGBA8888Format) return fusedFromYuv<Packed4x8Row<kKRORGBA8888Format>>(srcFormat, colour.src.kind);
        if (dstFormat == kKROBGRA8888Format) return fusedFromYuv<Packed4x8Row<kKROBGRA8888Format>>(srcFormat, colour.src.kind);
    }
    if (colour.toRgb == MatrixStage::None && colour.toYuv == MatrixStage::Fixed) {
        if (srcFormat == kKRORGBA8888Format) return fusedToYuv<Packed4x8Row<kKRORGBA8888Format>>(dstFormat, colour.dst.kind);
        if (srcFormat == kKROBGRA8888Format) return fusedToYuv<Packed4x8Row<kKROBGRA8888Format>>(dstFormat, colour.dst.kind);
    }
    return nullptr;
}
}  // namespace KRO_SIMD_NS
}  // namespace simd
}  // namespace KROCOLOR
