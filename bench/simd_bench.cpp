// The SIMD CPU convertor beside the scalar one and the peers (libswscale,
// libyuv, zimg) on the same 1920x1080 frames, with memcpy of the bytes the
// conversion writes as the physical limit. Our convertors run through the
// public API with their own worker threads; each peer runs single-threaded
// and on two threads (the frame cut into two row bands), as an application
// would call it. After the timings the program prints the ratios of both of
// our paths to memcpy and to every peer, and each peer's largest difference
// from our scalar output on the same input. A 64x64 row shows what a call
// costs before the pixels count.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <memory>
#include <string>
#include <thread>
#include <utility>
#include <vector>

extern "C" {
#include <libswscale/swscale.h>
}
#ifdef KRO_HAVE_LIBYUV
#include <libyuv.h>
#endif
#ifdef KRO_HAVE_ZIMG
#include <zimg.h>
#endif

#include "KROColorFunctions.h"
#include "cpu/xsimd/xsimd_vector_plan.h"
#include "ratio_reporter.h"

using namespace KROCOLOR;

namespace {

constexpr int kW = 1920, kH = 1080;
constexpr int kTiny = 64;  // the small frame: what a call costs before the pixels count

// ---- frames -----------------------------------------------------------------

// Planes of one image; chroma planes of 4:2:0 formats carry half the rows.
struct Image {
    std::vector<std::vector<uint8_t>> data;
    std::vector<int> strides;
    std::vector<int> rowShift;  // log2 of the vertical subsampling per plane
    mutable std::vector<const uint8_t*> in;
    std::vector<uint8_t*> out;

    Image() = default;
    Image(std::initializer_list<std::pair<int, int>> shape, int rows) {  // (stride, rowShift) per plane
        for (auto [stride, shift] : shape) {
            data.emplace_back(size_t(stride) * (rows >> shift));
            strides.push_back(stride);
            rowShift.push_back(shift);
        }
        refresh();
    }
    void refresh() {
        in.clear();
        out.clear();
        for (auto& d : data) {
            in.push_back(d.data());
            out.push_back(d.data());
        }
    }
    void fillRandom(uint32_t seed) {
        for (auto& d : data)
            for (auto& b : d) b = uint8_t((seed = seed * 1664525u + 1013904223u) >> 24);
    }
    // Plane pointers of the band starting at image row `row`.
    std::vector<const uint8_t*> inAt(int row) const {
        std::vector<const uint8_t*> p;
        for (size_t i = 0; i < data.size(); ++i) p.push_back(data[i].data() + size_t(row >> rowShift[i]) * strides[i]);
        return p;
    }
    std::vector<uint8_t*> outAt(int row) {
        std::vector<uint8_t*> p;
        for (size_t i = 0; i < data.size(); ++i) p.push_back(data[i].data() + size_t(row >> rowShift[i]) * strides[i]);
        return p;
    }
    size_t bytes() const {
        size_t n = 0;
        for (auto& d : data) n += d.size();
        return n;
    }
};

Image rgba(int w, int h) { return Image({{w * 4, 0}}, h); }
Image nv12(int w, int h) { return Image({{w, 0}, {w, 1}}, h); }
Image yuv420p(int w, int h) { return Image({{w, 0}, {w / 2, 1}, {w / 2, 1}}, h); }
Image planes8(int w, int h, int n) {
    Image i;
    for (int p = 0; p < n; ++p) {
        i.data.emplace_back(size_t(w) * h);
        i.strides.push_back(w);
        i.rowShift.push_back(0);
    }
    i.refresh();
    return i;
}

// Runs band(0, n) .. band(n - 1, n), band 0 on the calling thread.
void inBands(int n, const std::function<void(int, int)>& band) {
    std::vector<std::thread> others;
    for (int b = 1; b < n; ++b) others.emplace_back(band, b, n);
    band(0, n);
    for (auto& t : others) t.join();
}

// ---- one row of the table -----------------------------------------------------

struct Peer {
    std::string name;
    std::function<void(int threads)> run;
    std::function<std::pair<int, double>()> difference;  // (largest, mean) against our scalar output
};

struct Conversion {
    std::string name;
    std::function<void()> scalar, simd;
    size_t writtenBytes = 0;
    std::vector<Peer> peers;
};

std::pair<int, double> compareBytes(const std::vector<std::pair<const uint8_t*, const uint8_t*>>& runs, size_t n) {
    int worst = 0;
    double sum = 0;
    size_t count = 0;
    for (auto [a, b] : runs) {
        for (size_t i = 0; i < n; ++i) {
            const int d = std::abs(int(a[i]) - int(b[i]));
            worst = std::max(worst, d);
            sum += d;
        }
        count += n;
    }
    return {worst, count ? sum / double(count) : 0.0};
}

// Packed RGBA (R, G, B of every pixel) against three R, G, B planes.
std::pair<int, double> compareRgbaWithPlanes(const Image& ours, const Image& planes, int w, int h) {
    int worst = 0;
    double sum = 0;
    for (int y = 0; y < h; ++y)
        for (int x = 0; x < w; ++x)
            for (int c = 0; c < 3; ++c) {
                const int d = std::abs(int(ours.data[0][size_t(y) * ours.strides[0] + 4 * x + c]) -
                                       int(planes.data[c][size_t(y) * planes.strides[c] + x]));
                worst = std::max(worst, d);
                sum += d;
            }
    return {worst, sum / (3.0 * w * h)};
}

std::unique_ptr<KROColorFunctions> ourConvertor(int sw, int sh, KROPixelFormat sf, int dw, int dh, KROPixelFormat df,
                                                int hwType, const int32_t colour[8]) {
    std::unique_ptr<KROColorFunctions> f(KROColorFunctions::create(sw, sh, sf, dw, dh, df));
    f->setColorspaceDetails(KROColorPrimaries(colour[0]), KROColorTransfer(colour[1]), KROColorMatrix(colour[2]),
                            KROColorRange(colour[3]), KROColorPrimaries(colour[4]), KROColorTransfer(colour[5]),
                            KROColorMatrix(colour[6]), KROColorRange(colour[7]));
    KROHWContext hw;
    hw.srcType = hwType;
    f->setHWContext(hw);
    return f;
}

// Our scalar and SIMD paths on `src`, writing `scalarOut` and `simdOut`.
void addOurs(Conversion& c, int sw, int sh, KROPixelFormat sf, int dw, int dh, KROPixelFormat df,
             const int32_t colour[8], const Image& src, Image& scalarOut, Image& simdOut) {
    std::shared_ptr<KROColorFunctions> scalar = ourConvertor(sw, sh, sf, dw, dh, df, kKROHWTypeCPU, colour);
    std::shared_ptr<KROColorFunctions> simd = ourConvertor(sw, sh, sf, dw, dh, df, kKROHWTypeXSimd, colour);
    c.scalar = [scalar, &src, &scalarOut] {
        if (scalar->transcode(src.in.data(), src.strides.data(), scalarOut.out.data(), scalarOut.strides.data()))
            std::abort();
    };
    c.simd = [simd, &src, &simdOut] {
        if (simd->transcode(src.in.data(), src.strides.data(), simdOut.out.data(), simdOut.strides.data()))
            std::abort();
    };
    c.writtenBytes = scalarOut.bytes();
}

// libswscale: one context per band (a band is an independent picture).
Peer swscalePeer(const std::string& name, int sw, int sh, AVPixelFormat sf, int dw, int dh, AVPixelFormat df,
                 int flags, int srcSpace, int srcFull, int dstSpace, int dstFull, const Image& src, Image& dst) {
    struct Contexts {
        std::vector<SwsContext*> one, two;
        ~Contexts() {
            for (auto* c : one) sws_freeContext(c);
            for (auto* c : two) sws_freeContext(c);
        }
    };
    auto ctx = std::make_shared<Contexts>();
    for (int n : {1, 2})
        for (int b = 0; b < n; ++b) {
            SwsContext* s = sws_getContext(sw, sh / n, sf, dw, dh / n, df, flags, nullptr, nullptr, nullptr);
            sws_setColorspaceDetails(s, sws_getCoefficients(srcSpace), srcFull, sws_getCoefficients(dstSpace), dstFull,
                                     0, 1 << 16, 1 << 16);
            (n == 1 ? ctx->one : ctx->two).push_back(s);
        }
    Peer p;
    p.name = name;
    p.run = [ctx, sh, dh, &src, &dst](int threads) {
        inBands(threads, [&](int b, int n) {
            SwsContext* s = (n == 1 ? ctx->one : ctx->two)[b];
            auto in = src.inAt(b * sh / n);
            auto out = dst.outAt(b * dh / n);
            sws_scale(s, in.data(), src.strides.data(), 0, sh / n, out.data(), dst.strides.data());
        });
    };
    return p;
}

#ifdef KRO_HAVE_LIBYUV
// libyuv's BT.709 limited-range NV12 or YUV420P (planar) to RGBA on the top
// w x h of `in`, in row bands.
Peer libyuvToRgba(bool planar, const Image& in, Image& out, int w, int h) {
    Peer p;
    p.name = "libyuv";
    p.run = [planar, &in, &out, w, h](int threads) {
        inBands(threads, [&](int b, int n) {
            auto ip = in.inAt(b * h / n);
            auto op = out.outAt(b * h / n);
            if (planar)  // ABGR in libyuv's naming is R, G, B, A in memory: U and V swap places
                libyuv::I420ToARGBMatrix(ip[0], in.strides[0], ip[2], in.strides[2], ip[1], in.strides[1], op[0],
                                         out.strides[0], &libyuv::kYvuH709Constants, w, h / n);
            else
                libyuv::NV12ToABGRMatrix(ip[0], in.strides[0], ip[1], in.strides[1], op[0], out.strides[0],
                                         &libyuv::kYuvH709Constants, w, h / n);
        });
    };
    return p;
}
#endif

#ifdef KRO_HAVE_ZIMG
// zimg on planar buffers: one graph per band height, with its scratch.
struct ZimgGraphs {
    std::vector<zimg_filter_graph*> graphs;
    std::vector<void*> tmp;
    ~ZimgGraphs() {
        for (auto* g : graphs) zimg_filter_graph_free(g);
        for (void* t : tmp) std::free(t);
    }
};

Peer zimgPeer(const std::string& name, zimg_image_format inFmt, zimg_image_format outFmt,
              const zimg_graph_builder_params& params, const Image& src, Image& dst) {
    auto g = std::make_shared<ZimgGraphs>();
    const unsigned sh = inFmt.height, dh = outFmt.height;
    for (int n : {1, 2}) {
        zimg_image_format a = inFmt, b = outFmt;
        a.height = sh / n;
        b.height = dh / n;
        zimg_filter_graph* graph = zimg_filter_graph_build(&a, &b, &params);
        if (!graph) {
            char msg[256];
            zimg_get_last_error(msg, sizeof msg);
            std::fprintf(stderr, "zimg: %s\n", msg);
            std::abort();
        }
        size_t tmpSize = 0;
        zimg_filter_graph_get_tmp_size(graph, &tmpSize);
        g->graphs.push_back(graph);
        for (int b2 = 0; b2 < n; ++b2) g->tmp.push_back(std::aligned_alloc(64, (tmpSize + 63) / 64 * 64));
    }
    Peer p;
    p.name = name;
    p.run = [g, sh, dh, &src, &dst](int threads) {
        inBands(threads, [&](int b, int n) {
            zimg_image_buffer_const in;
            zimg_image_buffer out;
            in.version = ZIMG_API_VERSION;
            out.version = ZIMG_API_VERSION;
            auto ip = src.inAt(b * int(sh) / n);
            auto op = dst.outAt(b * int(dh) / n);
            for (size_t i = 0; i < 4; ++i) {
                in.plane[i].data = i < ip.size() ? ip[i] : nullptr;
                in.plane[i].stride = i < ip.size() ? src.strides[i] : 0;
                in.plane[i].mask = ZIMG_BUFFER_MAX;
                out.plane[i].data = i < op.size() ? op[i] : nullptr;
                out.plane[i].stride = i < op.size() ? dst.strides[i] : 0;
                out.plane[i].mask = ZIMG_BUFFER_MAX;
            }
            void* tmp = g->tmp[n == 1 ? 0 : 1 + b];
            if (zimg_filter_graph_process(g->graphs[n - 1], &in, &out, tmp, nullptr, nullptr, nullptr, nullptr))
                std::abort();
        });
    };
    return p;
}

zimg_image_format zimgFormat(unsigned w, unsigned h, zimg_color_family_e family, zimg_pixel_type_e type,
                             unsigned depth, unsigned subsample, zimg_matrix_coefficients_e matrix,
                             zimg_transfer_characteristics_e transfer, zimg_color_primaries_e primaries,
                             zimg_pixel_range_e range) {
    zimg_image_format f;
    zimg_image_format_default(&f, ZIMG_API_VERSION);
    f.width = w;
    f.height = h;
    f.color_family = family;
    f.pixel_type = type;
    f.depth = depth;
    f.subsample_w = subsample;
    f.subsample_h = subsample;
    f.matrix_coefficients = matrix;
    f.transfer_characteristics = transfer;
    f.color_primaries = primaries;
    f.pixel_range = range;
    return f;
}

zimg_graph_builder_params zimgParams(zimg_resample_filter_e filter, bool approximate, double peak) {
    zimg_graph_builder_params p;
    zimg_graph_builder_params_default(&p, ZIMG_API_VERSION);
    p.resample_filter = filter;
    p.resample_filter_uv = ZIMG_RESIZE_BILINEAR;
    p.cpu_type = ZIMG_CPU_AUTO;
    p.allow_approximate_gamma = approximate;
    p.nominal_peak_luminance = peak;
    return p;
}
#endif

// Everything the conversions read and write lives here for the whole run.
struct Frames {
    Image nv12In = nv12(kW, kH), yuvIn = yuv420p(kW, kH), rgbaIn = rgba(kW, kH), pqIn = Image({{2 * kW, 0}, {kW, 1}, {kW, 1}}, kH);
    Image rgbaPlanar = planes8(kW, kH, 4);  // the RGBA input as R, G, B, A planes (zimg)
    Image rgbaScalar = rgba(kW, kH), rgbaSimd = rgba(kW, kH), rgbaPeer = rgba(kW, kH), rgbPlanesPeer = planes8(kW, kH, 3);
    Image nv12Scalar = nv12(kW, kH), nv12Simd = nv12(kW, kH), nv12Peer = nv12(kW, kH), yuvPeer = yuv420p(kW, kH);
    Image smallScalar = rgba(1280, 720), smallSimd = rgba(1280, 720), smallPeer = rgba(1280, 720),
          smallPlanesPeer = planes8(1280, 720, 4);
    Image copyOut = rgba(kW, kH);
    // The small-frame row reads the top-left corner of nv12In in place.
    Image tinyScalar = rgba(kTiny, kTiny), tinySimd = rgba(kTiny, kTiny), tinyPeer = rgba(kTiny, kTiny);

    // Smooth test pictures (ramps and slow waves with a little texture):
    // differences between filters and matrices then mean what they say,
    // where noise would turn every chroma filter into a large difference.
    static uint8_t wave(int x, int y, int phase, int lo, int hi) {
        const double v = 0.5 + 0.35 * std::sin((x + 3 * phase) * 0.011 + y * 0.004 * (phase + 1)) +
                         0.15 * std::cos((x * 0.7 - y) * 0.05 + phase);
        return uint8_t(lo + (hi - lo) * std::min(1.0, std::max(0.0, v)));
    }
    Frames() {
        for (int y = 0; y < kH; ++y)
            for (int x = 0; x < kW; ++x) {
                nv12In.data[0][size_t(y) * kW + x] = wave(x, y, 0, 16, 235);
                for (int c = 0; c < 4; ++c) rgbaIn.data[0][(size_t(y) * kW + x) * 4 + c] = c == 3 ? 255 : wave(x, y, c + 1, 0, 255);
                const int pq = 64 + (wave(x, y, 5, 0, 255) * (940 - 64)) / 255;  // limited-range 10-bit luma
                pqIn.data[0][(size_t(y) * kW + x) * 2] = uint8_t(pq & 0xFF);
                pqIn.data[0][(size_t(y) * kW + x) * 2 + 1] = uint8_t(pq >> 8);
            }
        for (int y = 0; y < kH / 2; ++y)
            for (int x = 0; x < kW / 2; ++x) {
                nv12In.data[1][size_t(y) * kW + 2 * x] = wave(2 * x, 2 * y, 2, 16, 240);
                nv12In.data[1][size_t(y) * kW + 2 * x + 1] = wave(2 * x, 2 * y, 3, 16, 240);
                for (int c = 1; c < 3; ++c) {
                    const int v = 64 + (wave(2 * x, 2 * y, 5 + c, 0, 255) * (960 - 64)) / 255;
                    pqIn.data[c][(size_t(y) * kW / 2 + x) * 2] = uint8_t(v & 0xFF);
                    pqIn.data[c][(size_t(y) * kW / 2 + x) * 2 + 1] = uint8_t(v >> 8);
                }
            }
        // The 4:2:0 planar input carries the same samples as the NV12 one.
        yuvIn.data[0] = nv12In.data[0];
        for (size_t i = 0; i < yuvIn.data[1].size(); ++i) {
            yuvIn.data[1][i] = nv12In.data[1][2 * i];
            yuvIn.data[2][i] = nv12In.data[1][2 * i + 1];
        }
        yuvIn.refresh();
        for (size_t i = 0; i < size_t(kW) * kH; ++i)
            for (int c = 0; c < 4; ++c) rgbaPlanar.data[c][i] = rgbaIn.data[0][4 * i + c];
    }
};

Frames& frames() {
    static Frames f;
    return f;
}

std::vector<Conversion> buildTable() {
    Frames& F = frames();
    std::vector<Conversion> table;
    const int32_t bt709ToRgb[8] = {1, 1, 1, kColorRangeMpeg, 1, 1, 0, kColorRangeJpeg};
    const int32_t rgbToBt709[8] = {1, 1, 0, kColorRangeJpeg, 1, 1, 1, kColorRangeMpeg};
    const int32_t pqToSdr[8] = {9, 16, 9, kColorRangeMpeg, 1, 1, 0, kColorRangeJpeg};
    const int32_t hlgToSdr[8] = {9, 18, 9, kColorRangeMpeg, 1, 1, 0, kColorRangeJpeg};
    const int32_t rgbSame[8] = {1, 1, 0, kColorRangeJpeg, 1, 1, 0, kColorRangeJpeg};
    const size_t rgbaBytes = size_t(kW) * kH * 4;
    // A peer's packed output against ours, byte for byte.
    auto packedDiff = [](const Image& ours, const Image& peer) {
        return [&ours, &peer] { return compareBytes({{ours.data[0].data(), peer.data[0].data()}}, ours.data[0].size()); };
    };
    auto rgbPlanesDiff = [&F] { return compareRgbaWithPlanes(F.rgbaScalar, F.rgbPlanesPeer, kW, kH); };
    (void)rgbaBytes;
    (void)rgbPlanesDiff;

    // NV12 and YUV420P to RGBA: the same samples, the same peers.
    for (int planar = 0; planar < 2; ++planar) {
        Conversion c;
        c.name = planar ? "YUV420PtoRGBA" : "NV12toRGBA";
        const Image& in = planar ? F.yuvIn : F.nv12In;
        addOurs(c, kW, kH, planar ? kKROYUV420PFormat : kKRONV12Format, kW, kH, kKRORGBA8888Format, bt709ToRgb, in,
                F.rgbaScalar, F.rgbaSimd);
        Peer sws = swscalePeer("swscale", kW, kH, planar ? AV_PIX_FMT_YUV420P : AV_PIX_FMT_NV12, kW, kH,
                               AV_PIX_FMT_RGBA, SWS_BILINEAR | SWS_ACCURATE_RND, SWS_CS_ITU709, 0, SWS_CS_ITU709, 1,
                               in, F.rgbaPeer);
        sws.difference = packedDiff(F.rgbaScalar, F.rgbaPeer);
        c.peers.push_back(sws);
#ifdef KRO_HAVE_LIBYUV
        Peer yuv = libyuvToRgba(planar, in, F.rgbaPeer, kW, kH);
        yuv.difference = packedDiff(F.rgbaScalar, F.rgbaPeer);
        c.peers.push_back(yuv);
#endif
#ifdef KRO_HAVE_ZIMG
        // zimg reads planar chroma only: it gets the YUV420P copy of the
        // same samples, and writes planar R, G, B (no packing step).
        Peer z = zimgPeer("zimg",
                          zimgFormat(kW, kH, ZIMG_COLOR_YUV, ZIMG_PIXEL_BYTE, 8, 1, ZIMG_MATRIX_BT709,
                                     ZIMG_TRANSFER_BT709, ZIMG_PRIMARIES_BT709, ZIMG_RANGE_LIMITED),
                          zimgFormat(kW, kH, ZIMG_COLOR_RGB, ZIMG_PIXEL_BYTE, 8, 0, ZIMG_MATRIX_RGB,
                                     ZIMG_TRANSFER_BT709, ZIMG_PRIMARIES_BT709, ZIMG_RANGE_FULL),
                          zimgParams(ZIMG_RESIZE_BILINEAR, false, 100.0), F.yuvIn, F.rgbPlanesPeer);
        z.difference = rgbPlanesDiff;
        c.peers.push_back(z);
#endif
        table.push_back(std::move(c));
    }

    // A 64x64 NV12 frame to RGBA end to end.
    {
        Conversion c;
        c.name = "NV12toRGBA64x64";
        addOurs(c, kTiny, kTiny, kKRONV12Format, kTiny, kTiny, kKRORGBA8888Format, bt709ToRgb, F.nv12In, F.tinyScalar,
                F.tinySimd);
#ifdef KRO_HAVE_LIBYUV
        Peer yuv = libyuvToRgba(false, F.nv12In, F.tinyPeer, kTiny, kTiny);
        yuv.difference = packedDiff(F.tinyScalar, F.tinyPeer);
        c.peers.push_back(yuv);
#endif
        table.push_back(std::move(c));
    }

    {
        Conversion c;
        c.name = "RGBAtoNV12";
        addOurs(c, kW, kH, kKRORGBA8888Format, kW, kH, kKRONV12Format, rgbToBt709, F.rgbaIn, F.nv12Scalar, F.nv12Simd);
        auto nv12Diff = [&F] {
            return compareBytes({{F.nv12Scalar.data[0].data(), F.nv12Peer.data[0].data()},
                                 {F.nv12Scalar.data[1].data(), F.nv12Peer.data[1].data()}},
                                F.nv12Scalar.data[1].size());
        };
        Peer sws = swscalePeer("swscale", kW, kH, AV_PIX_FMT_RGBA, kW, kH, AV_PIX_FMT_NV12,
                               SWS_BILINEAR | SWS_ACCURATE_RND, SWS_CS_ITU709, 1, SWS_CS_ITU709, 0, F.rgbaIn,
                               F.nv12Peer);
        sws.difference = nv12Diff;
        c.peers.push_back(sws);
#ifdef KRO_HAVE_LIBYUV
        // libyuv's RGB to NV12 has BT.601 coefficients only.
        Peer yuv;
        yuv.name = "libyuv_bt601";
        yuv.run = [&F](int threads) {
            inBands(threads, [&](int b, int n) {
                auto ip = F.rgbaIn.inAt(b * kH / n);
                auto op = F.nv12Peer.outAt(b * kH / n);
                libyuv::ABGRToNV12(ip[0], F.rgbaIn.strides[0], op[0], F.nv12Peer.strides[0], op[1],
                                   F.nv12Peer.strides[1], kW, kH / n);
            });
        };
        yuv.difference = nv12Diff;
        c.peers.push_back(yuv);
#endif
#ifdef KRO_HAVE_ZIMG
        // zimg reads R, G, B planes and writes YUV420P (filtered chroma).
        Peer z = zimgPeer("zimg",
                          zimgFormat(kW, kH, ZIMG_COLOR_RGB, ZIMG_PIXEL_BYTE, 8, 0, ZIMG_MATRIX_RGB,
                                     ZIMG_TRANSFER_BT709, ZIMG_PRIMARIES_BT709, ZIMG_RANGE_FULL),
                          zimgFormat(kW, kH, ZIMG_COLOR_YUV, ZIMG_PIXEL_BYTE, 8, 1, ZIMG_MATRIX_BT709,
                                     ZIMG_TRANSFER_BT709, ZIMG_PRIMARIES_BT709, ZIMG_RANGE_LIMITED),
                          zimgParams(ZIMG_RESIZE_BILINEAR, false, 100.0), F.rgbaPlanar, F.yuvPeer);
        z.difference = [&F] {
            int worst = 0;
            double sum = 0;
            const size_t luma = size_t(kW) * kH, chroma = luma / 4;
            for (size_t i = 0; i < luma; ++i) {
                const int d = std::abs(int(F.nv12Scalar.data[0][i]) - int(F.yuvPeer.data[0][i]));
                worst = std::max(worst, d);
                sum += d;
            }
            for (size_t i = 0; i < chroma; ++i)
                for (int c2 = 0; c2 < 2; ++c2) {
                    const int d = std::abs(int(F.nv12Scalar.data[1][2 * i + c2]) - int(F.yuvPeer.data[1 + c2][i]));
                    worst = std::max(worst, d);
                    sum += d;
                }
            return std::pair<int, double>{worst, sum / double(luma + 2 * chroma)};
        };
        c.peers.push_back(z);
#endif
        table.push_back(std::move(c));
    }

    {
        Conversion c;
        c.name = "PQ10toSDR";
        addOurs(c, kW, kH, kKROYUV420P10LEFormat, kW, kH, kKRORGBA8888Format, pqToSdr, F.pqIn, F.rgbaScalar,
                F.rgbaSimd);
#ifdef KRO_HAVE_ZIMG
        // 500 cd/m2 is SDR white on our side, so it is zimg's nominal peak.
        for (bool approximate : {false, true}) {
            Peer z = zimgPeer(approximate ? "zimg_approx" : "zimg_exact",
                              zimgFormat(kW, kH, ZIMG_COLOR_YUV, ZIMG_PIXEL_WORD, 10, 1, ZIMG_MATRIX_BT2020_NCL,
                                         ZIMG_TRANSFER_ST2084, ZIMG_PRIMARIES_BT2020, ZIMG_RANGE_LIMITED),
                              zimgFormat(kW, kH, ZIMG_COLOR_RGB, ZIMG_PIXEL_BYTE, 8, 0, ZIMG_MATRIX_RGB,
                                         ZIMG_TRANSFER_BT709, ZIMG_PRIMARIES_BT709, ZIMG_RANGE_FULL),
                              zimgParams(ZIMG_RESIZE_BILINEAR, approximate, 500.0), F.pqIn, F.rgbPlanesPeer);
            z.difference = rgbPlanesDiff;
            c.peers.push_back(z);
        }
#endif
        table.push_back(std::move(c));
    }

    {  // the same frame read as HLG: the other HDR curve, ours only
        Conversion c;
        c.name = "HLG10toSDR";
        addOurs(c, kW, kH, kKROYUV420P10LEFormat, kW, kH, kKRORGBA8888Format, hlgToSdr, F.pqIn, F.rgbaScalar,
                F.rgbaSimd);
        table.push_back(std::move(c));
    }

    {
        Conversion c;
        c.name = "RGBA1080to720";
        addOurs(c, kW, kH, kKRORGBA8888Format, 1280, 720, kKRORGBA8888Format, rgbSame, F.rgbaIn, F.smallScalar,
                F.smallSimd);
        const auto smallDiff = packedDiff(F.smallScalar, F.smallPeer);
        for (auto [flags, name] : {std::pair<int, const char*>{SWS_BILINEAR, "swscale_bilinear"}, {SWS_AREA, "swscale_area"}}) {
            Peer sws = swscalePeer(name, kW, kH, AV_PIX_FMT_RGBA, 1280, 720, AV_PIX_FMT_RGBA, flags, SWS_CS_ITU709, 1,
                                   SWS_CS_ITU709, 1, F.rgbaIn, F.smallPeer);
            sws.difference = smallDiff;
            c.peers.push_back(sws);
        }
#ifdef KRO_HAVE_LIBYUV
        Peer yuv;
        yuv.name = "libyuv_box";
        yuv.run = [&F](int threads) {
            inBands(threads, [&](int b, int n) {
                auto ip = F.rgbaIn.inAt(b * kH / n);
                auto op = F.smallPeer.outAt(b * 720 / n);
                libyuv::ARGBScale(ip[0], F.rgbaIn.strides[0], kW, kH / n, op[0], F.smallPeer.strides[0], 1280, 720 / n,
                                  libyuv::kFilterBox);
            });
        };
        yuv.difference = smallDiff;
        c.peers.push_back(yuv);
#endif
#ifdef KRO_HAVE_ZIMG
        zimg_image_format in = zimgFormat(kW, kH, ZIMG_COLOR_RGB, ZIMG_PIXEL_BYTE, 8, 0, ZIMG_MATRIX_RGB,
                                          ZIMG_TRANSFER_BT709, ZIMG_PRIMARIES_BT709, ZIMG_RANGE_FULL);
        in.alpha = ZIMG_ALPHA_STRAIGHT;
        zimg_image_format out = in;
        out.width = 1280;
        out.height = 720;
        Peer z = zimgPeer("zimg_bilinear", in, out, zimgParams(ZIMG_RESIZE_BILINEAR, false, 100.0), F.rgbaPlanar,
                          F.smallPlanesPeer);
        z.difference = [&F] {
            int worst = 0;
            double sum = 0;
            for (size_t i = 0; i < size_t(1280) * 720; ++i)
                for (int c2 = 0; c2 < 4; ++c2) {
                    const int d = std::abs(int(F.smallScalar.data[0][4 * i + c2]) - int(F.smallPlanesPeer.data[c2][i]));
                    worst = std::max(worst, d);
                    sum += d;
                }
            return std::pair<int, double>{worst, sum / (4.0 * 1280 * 720)};
        };
        c.peers.push_back(z);
#endif
        table.push_back(std::move(c));
    }
    return table;
}

std::vector<Conversion>& table() {
    static std::vector<Conversion> t = buildTable();
    return t;
}

void registerAll() {
    for (Conversion& c : table()) {
        auto reg = [](const std::string& name, std::function<void()> job) {
            benchmark::RegisterBenchmark(name.c_str(), [job](benchmark::State& s) {
                for (auto _ : s) {
                    job();
                    benchmark::ClobberMemory();
                }
            })->Unit(benchmark::kMillisecond)->UseRealTime()->MinTime(0.5);
        };
        reg(c.name + "_scalar", c.scalar);
        reg(c.name + "_simd", c.simd);
        // The same convertor held to four lanes (SSE2): what eight buy.
        auto simd = c.simd;
        reg(c.name + "_simd4", [simd] {
            simd::setLaneLimit(4);
            simd();
            simd::setLaneLimit(simd::kMaxLanes);
        });
        const size_t bytes = c.writtenBytes;
        for (int threads : {1, 2})
            reg(c.name + "_memcpy_" + std::to_string(threads) + "t", [bytes, threads] {
                Frames& F = frames();
                inBands(threads, [&](int b, int n) {
                    const size_t from = bytes * b / n, to = bytes * (b + 1) / n;
                    std::memcpy(F.copyOut.data[0].data() + from, F.rgbaIn.data[0].data() + from, to - from);
                });
            });
        for (Peer& p : c.peers)
            for (int threads : {1, 2}) {
                auto run = p.run;
                reg(c.name + "_" + p.name + "_" + std::to_string(threads) + "t", [run, threads] { run(threads); });
            }
    }
}

void printDifferences() {
    std::printf("\n%-40s %12s %12s\n", "largest difference from our scalar output", "max code", "mean");
    for (Conversion& c : table()) {
        c.scalar();
        c.simd();
        for (Peer& p : c.peers) {
            p.run(1);
            const auto d = p.difference();
            std::printf("%-40s %12d %12.3f\n", (c.name + " " + p.name).c_str(), d.first, d.second);
        }
    }
}

}  // namespace

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    registerAll();
    krobench::RatioReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    std::vector<std::pair<std::string, std::string>> pairs;
    for (Conversion& c : table()) {
        pairs.push_back({c.name + "_simd", c.name + "_scalar"});
        for (const char* ours : {"_scalar", "_simd"}) {
            pairs.push_back({c.name + ours, c.name + "_memcpy_1t"});
            pairs.push_back({c.name + ours, c.name + "_memcpy_2t"});
            for (Peer& p : c.peers)
                for (int t : {1, 2}) pairs.push_back({c.name + ours, c.name + "_" + p.name + "_" + std::to_string(t) + "t"});
        }
    }
    reporter.printRatios(pairs);
    printDifferences();
    benchmark::Shutdown();
    return 0;
}
