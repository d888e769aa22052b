// CPUContext's libswscale path: format mapping from the format table, one
// scaling context per convertor, colourspace details chosen by primaries and
// pixel count, and a copy out of libswscale's own output frame.
#include <cstring>

extern "C" {
#include <libswscale/swscale.h>
}

#include "cpu/cpu_context.h"

namespace KROCOLOR {

namespace {

// libswscale colourspace of one side, chosen by its primaries and, for
// unspecified primaries, by its pixel count (below 1280x720 means SD).
int swsColorspace(const KROFrame& f) {
    const int64_t pixels = int64_t{f.width} * f.height;
    switch (f.primaries) {
    case kColorPrimariesSMPTE170M: return SWS_CS_ITU601;
    case kColorPrimariesUNSPECIFIED: return pixels < 921600 ? SWS_CS_ITU601 : SWS_CS_ITU709;
    case kColorPrimariesSMPTE240M: return SWS_CS_ITU601;
    case kColorPrimariesBT709: return SWS_CS_ITU709;
    case kColorPrimariesBT2020: return SWS_CS_BT2020;
    default: return SWS_CS_ITU601;
    }
}

// Copies the tightly packed output into the caller's planes row by row, so a
// destination with wider strides receives each row at its own place.
void copyRows(const KROFrame& from, KROFrame& to) {
    const FormatTraits* t = formatTraits(from.format);
    for (int p = 0; p < planeCount(*t); ++p) {
        const int64_t rowBytes = planeRowBytes(*t, p, from.width);
        const int64_t rows = planeRows(*t, p, from.height);
        for (int64_t r = 0; r < rows; ++r)
            std::memcpy(to.planes[p] + r * to.strides[p], from.planes[p] + r * from.strides[p],
                        static_cast<size_t>(rowBytes));
    }
}

}  // namespace

void releaseSwsContext(SwsContext* context) { sws_freeContext(context); }

bool CPUContext::convertWithSwscale(const KROFrame& src, KROFrame& dst) {
    const FormatTraits* st = formatTraits(src.format);
    const FormatTraits* dt = formatTraits(dst.format);
    if (!st || !dt || st->swsFormat == AV_PIX_FMT_NONE || dt->swsFormat == AV_PIX_FMT_NONE)
        return false;
    if (!sws_) {
        sws_ = sws_getContext(src.width, src.height, st->swsFormat, dst.width, dst.height,
                              dt->swsFormat, SWS_BICUBIC, nullptr, nullptr, nullptr);
        if (!sws_) return false;
    }
    const int srcSpace = swsColorspace(src);
    const int dstSpace = swsColorspace(dst);
    if (srcSpace != SWS_CS_ITU601 && dstSpace != SWS_CS_ITU601) {
        sws_setColorspaceDetails(sws_, sws_getCoefficients(srcSpace),
                                 src.range == kColorRangeJpeg ? 1 : 0,
                                 sws_getCoefficients(dstSpace),
                                 dst.range == kColorRangeJpeg ? 1 : 0, 0, 1 << 16, 1 << 16);
    }
    if (!swscaleOutput_.ensure(dst.format, dst.width, dst.height)) return false;
    KROFrame& out = swscaleOutput_.frame();
    const int rows = sws_scale(sws_, src.planes, src.strides, 0, src.height, out.planes, out.strides);
    if (rows < 0) return false;
    copyRows(out, dst);
    return true;
}

}  // namespace KROCOLOR
