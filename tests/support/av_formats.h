// The libavutil twin of every host format that has one, written out from
// libavutil's format names, for the tests that hold a path to libswscale
// called directly.
#pragma once

#include <cstdint>

extern "C" {
#include <libavutil/pixfmt.h>
}

namespace KROCOLOR {
namespace test {

inline AVPixelFormat avFormat(int32_t format) {
    static const AVPixelFormat twins[] = {
        AV_PIX_FMT_RGB24,       AV_PIX_FMT_RGBA,        AV_PIX_FMT_NV12,        AV_PIX_FMT_YUV420P,
        AV_PIX_FMT_YUV422P,     AV_PIX_FMT_YUV444P,     AV_PIX_FMT_YUV420P10LE, AV_PIX_FMT_P010LE,
        AV_PIX_FMT_P016LE,      AV_PIX_FMT_YUV422P10LE, AV_PIX_FMT_YUV444P10LE, AV_PIX_FMT_YUV444P12LE,
        AV_PIX_FMT_YUV444P16LE, AV_PIX_FMT_RGBA64LE,    AV_PIX_FMT_RGBA64BE,    AV_PIX_FMT_YUV411P,
        AV_PIX_FMT_RGB48LE,     AV_PIX_FMT_RGB48BE,     AV_PIX_FMT_BGR24,       AV_PIX_FMT_BGRA,  // 101-120
        AV_PIX_FMT_NONE,        AV_PIX_FMT_NONE,        AV_PIX_FMT_NONE,                          // 121-123
        AV_PIX_FMT_YUVA444P10LE, AV_PIX_FMT_YUVA444P12LE};                                        // 124, 125
    return format >= 101 && format <= 125 ? twins[format - 101] : AV_PIX_FMT_NONE;
}

}  // namespace test
}  // namespace KROCOLOR
