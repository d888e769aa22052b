// CPUContext's libswscale path: the libswscale twin of each host format, one
// scaling context per size and format pair, colourspace details chosen by
// primaries and pixel count, and a copy out of libswscale's own output frame.
//
// libswscale reads and writes in wide vector chunks: it reads up to a few
// dozen bytes past the last row of a source plane, stores past the end of
// output rows, and de-interleaves chroma with aligned stores. None of that
// may reach the caller's memory, so the source is staged into padded,
// aligned planes of ours, libswscale writes into padded, aligned planes of
// ours, and only the rows' own bytes are copied in and out.
#include <cstring>

extern "C" {
#include <libswscale/swscale.h>
}

#include "cpu/cpu_context.h"

namespace KROCOLOR {

namespace {

// Rows start on 64-byte boundaries (the widest vector store), every row has
// at least 64 bytes of slack, and every plane 256 bytes after its last row:
// more than any libswscale kernel reads or writes beyond the samples.
constexpr PlanePadding kSwscalePadding{64, 64, 256};

// The libswscale pixel format of a host format (libavutil 59 values), or
// AV_PIX_FMT_NONE for formats libswscale has no twin of (CMYK, byte layouts).
AVPixelFormat swscaleFormat(int32_t format) {
    switch (format) {
    case kKRORGB888Format: return AV_PIX_FMT_RGB24;
    case kKRORGBA8888Format: return AV_PIX_FMT_RGBA;
    case kKRONV12Format: return AV_PIX_FMT_NV12;
    case kKROYUV420PFormat: return AV_PIX_FMT_YUV420P;
    case kKROYUV422PFormat: return AV_PIX_FMT_YUV422P;
    case kKROYUV444PFormat: return AV_PIX_FMT_YUV444P;
    case kKROYUV420P10LEFormat: return AV_PIX_FMT_YUV420P10LE;
    case kKRONV1210LEFormat: return AV_PIX_FMT_P010LE;
    case kKRONV1216LEFormat: return AV_PIX_FMT_P016LE;
    case kKROYUV422P10LEFormat: return AV_PIX_FMT_YUV422P10LE;
    case kKROYUV444P10LEFormat: return AV_PIX_FMT_YUV444P10LE;
    case kKROYUV444P12LEFormat: return AV_PIX_FMT_YUV444P12LE;
    case kKROYUV444P16LEFormat: return AV_PIX_FMT_YUV444P16LE;
    case kKRORGBA16LEFormat: return AV_PIX_FMT_RGBA64LE;
    case kKRORGBA16BEFormat: return AV_PIX_FMT_RGBA64BE;
    case kKROYUV411PFormat: return AV_PIX_FMT_YUV411P;
    case kKRORGB16LEFormat: return AV_PIX_FMT_RGB48LE;
    case kKRORGB16BEFormat: return AV_PIX_FMT_RGB48BE;
    case kKROBGR888Format: return AV_PIX_FMT_BGR24;
    case kKROBGRA8888Format: return AV_PIX_FMT_BGRA;
    case kKROYUVA444P10LEFormat: return AV_PIX_FMT_YUVA444P10LE;
    case kKROYUVA444P12LEFormat: return AV_PIX_FMT_YUVA444P12LE;
    default: return AV_PIX_FMT_NONE;
    }
}

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

// Copies the rows of every plane of `from` into `to` (same format and size),
// each row to its own place in `to`'s strides; bytes between rows are not
// touched on either side.
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
    const AVPixelFormat srcFormat = swscaleFormat(src.format);
    const AVPixelFormat dstFormat = swscaleFormat(dst.format);
    if (srcFormat == AV_PIX_FMT_NONE || dstFormat == AV_PIX_FMT_NONE) return false;
    // The context is kept while frames keep the sizes and formats it was made
    // for; the front object lets sizes change without a rebuild, and a
    // context made for other sizes would write past the frames.
    const SwsShape shape{src.width, src.height, src.format, dst.width, dst.height, dst.format};
    if (sws_ && !(swsShape_ == shape)) {
        releaseSwsContext(sws_);
        sws_ = nullptr;
    }
    if (!sws_) {
        sws_ = sws_getContext(src.width, src.height, srcFormat, dst.width, dst.height, dstFormat,
                              SWS_BICUBIC, nullptr, nullptr, nullptr);
        if (!sws_) return false;
        swsShape_ = shape;
    }
    const int srcSpace = swsColorspace(src);
    const int dstSpace = swsColorspace(dst);
    if (srcSpace != SWS_CS_ITU601 && dstSpace != SWS_CS_ITU601) {
        sws_setColorspaceDetails(sws_, sws_getCoefficients(srcSpace),
                                 src.range == kColorRangeJpeg ? 1 : 0,
                                 sws_getCoefficients(dstSpace),
                                 dst.range == kColorRangeJpeg ? 1 : 0, 0, 1 << 16, 1 << 16);
    }
    if (!swscaleInput_.ensure(src.format, src.width, src.height, kSwscalePadding)) return false;
    if (!swscaleOutput_.ensure(dst.format, dst.width, dst.height, kSwscalePadding)) return false;
    KROFrame& in = swscaleInput_.frame();
    KROFrame& out = swscaleOutput_.frame();
    copyRows(src, in);
    const int rows = sws_scale(sws_, in.planes, in.strides, 0, src.height, out.planes, out.strides);
    if (rows < 0) return false;
    copyRows(out, dst);
    return true;
}

}  // namespace KROCOLOR
