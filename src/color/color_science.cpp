// One-pixel entry points of the colour pipeline. Each decides from the
// enumeration values and then calls the shared inline kernel, so the row
// loops of PixelPipeline compute exactly the same numbers.
#include "color/color_science.h"

#include "KROColorFunctions.h"
#include "color/color_tables.h"
#include "color/pixel_kernels.h"
#include "color/transfer_select.h"

namespace KROCOLOR {

FormatRule formatRule(const FormatTraits* format, int32_t range) {
    FormatRule r{SampleRule::None, false, 255.0f, 1.0f, 128.0f};
    if (!format || format->depth < 8 || format->depth > 16) return r;
    switch (format->colorClass) {
    case ColorClass::RGB:
        r.kind = SampleRule::RGB;
        r.hasAlpha = format->hasAlpha;
        break;
    case ColorClass::CMYK:
        r.kind = SampleRule::CMYK;
        break;
    case ColorClass::YUV:
        r.kind = range == kColorRangeJpeg ? SampleRule::YUVFull : SampleRule::YUVLimited;
        r.hasAlpha = format->hasAlpha;
        break;
    default:
        return r;
    }
    const unsigned d = format->depth;
    r.maxCode = static_cast<float>((1u << d) - 1u);  // 255, 1023, 4095, 65535
    r.scale = static_cast<float>(1u << (d - 8));     // 1, 4, 16, 256
    r.half = static_cast<float>(1u << (d - 1));      // 128, 512, 2048, 32768
    return r;
}

namespace kernels {

double pqEotfRatio(int32_t sourcePeak, int32_t dstTransfer) {
    if (dstTransfer == kColorTransferARIB_STD_B67) return 10.0;
    if (dstTransfer == kColorTransferSMPTE2084) return 10000.0 / static_cast<double>(sourcePeak);
    return 20.0;
}

float pqOetfScale(int32_t srcTransfer) {
    return srcTransfer == kColorTransferARIB_STD_B67 || srcTransfer == kColorTransferSMPTE2084
               ? 0.1f
               : 0.05f;
}

}  // namespace kernels

bool sameDescription(const ColorSide& a, const ColorSide& b) {
    return a.format == b.format && a.range == b.range && a.primaries == b.primaries &&
           a.transfer == b.transfer && a.matrix == b.matrix;
}

Pixel normalise(const NativePixel& codes, const FormatTraits& format, int32_t range) {
    const FormatRule r = formatRule(&format, range);
    switch (r.kind) {
    case SampleRule::RGB: return kernels::normaliseRGB(codes, r);
    case SampleRule::CMYK: return kernels::normaliseCMYK(codes, r);
    case SampleRule::YUVLimited: return kernels::normaliseYUVLimited(codes, r);
    case SampleRule::YUVFull: return kernels::normaliseYUVFull(codes, r);
    case SampleRule::None: break;
    }
    return kernels::normaliseNone(codes, r);
}

NativePixel quantise(const Pixel& p, const FormatTraits& format, int32_t range) {
    const FormatRule r = formatRule(&format, range);
    switch (r.kind) {
    case SampleRule::RGB: return kernels::quantiseRGB(p, r);
    case SampleRule::CMYK: return kernels::quantiseCMYK(p, r);
    case SampleRule::YUVLimited: return kernels::quantiseYUVLimited(p, r);
    case SampleRule::YUVFull: return kernels::quantiseYUVFull(p, r);
    case SampleRule::None: break;
    }
    return kernels::quantiseNone(p, r);
}

Pixel yuvToRgb(const Pixel& p, const FormatTraits& format, int32_t matrix) {
    if (format.colorClass != ColorClass::YUV) return p;
    if (yuvMatrixKind(matrix) == YuvMatrixKind::BT2020ConstantLuminance)
        return kernels::yuvToRgbBT2020CL(p);
    return kernels::yuvToRgbWith(yuvToRgbTable(matrix), p);
}

Pixel rgbToYuv(const Pixel& p, const FormatTraits& format, int32_t matrix) {
    if (format.colorClass != ColorClass::YUV) return p;
    if (yuvMatrixKind(matrix) == YuvMatrixKind::BT2020ConstantLuminance)
        return kernels::rgbToYuvBT2020CL(p);
    return kernels::rgbToYuvWith(rgbToYuvTable(matrix), p);
}

Pixel eotf(const Pixel& p, int32_t transfer) {
    if (transfer == kColorTransferARIB_STD_B67) return HLG_EOTF(p);
    const auto f = genericEotf(transfer).channel;
    return Pixel{f(p.c0), f(p.c1), f(p.c2), p.a};
}

Pixel oetf(const Pixel& p, int32_t transfer) {
    const auto f = genericOetf(transfer).channel;
    return Pixel{f(p.c0), f(p.c1), f(p.c2), p.a};
}

Pixel HLG_EOTF(const Pixel& p) { return kernels::hlgEotf(p); }

Pixel HLG_OETF(const Pixel& p) { return kernels::perChannel<curves::HLG_OETF>(p); }

Pixel PQ_EOTF(const Pixel& p, int32_t sourcePeak, int32_t dstTransfer) {
    return kernels::pqEotf(p, kernels::pqEotfRatio(sourcePeak, dstTransfer));
}

Pixel PQ_OETF(const Pixel& p, int32_t srcTransfer) {
    return kernels::pqOetf(p, kernels::pqOetfScale(srcTransfer));
}

NativePixel convertPixel(const NativePixel& codes, const ColorSide& src, const ColorSide& dst,
                         int32_t sourcePeak) {
    static constexpr FormatTraits kNoFormat{};
    const FormatTraits& sf = src.format ? *src.format : kNoFormat;
    const FormatTraits& df = dst.format ? *dst.format : kNoFormat;

    Pixel p = normalise(codes, sf, src.range);
    if (!sameDescription(src, dst)) {
        p = yuvToRgb(p, sf, src.matrix);
        if (src.primaries != dst.primaries || src.transfer != dst.transfer) {
            if (src.transfer == kColorTransferARIB_STD_B67)
                p = HLG_EOTF(p);
            else if (src.transfer == kColorTransferSMPTE2084)
                p = PQ_EOTF(p, sourcePeak, dst.transfer);
            else
                p = eotf(p, src.transfer);

            p = kernels::multiply(primariesMatrix(src.primaries, dst.primaries), p);

            if (dst.transfer == kColorTransferARIB_STD_B67)
                p = HLG_OETF(p);
            else if (dst.transfer == kColorTransferSMPTE2084)
                p = PQ_OETF(p, src.transfer);
            else
                p = oetf(p, dst.transfer);
        }
        p = rgbToYuv(p, df, dst.matrix);
    }
    return quantise(p, df, dst.range);
}

}  // namespace KROCOLOR
