// Scalar CPU convertor beside libswscale on the same 1920x1080 frames.
// Our path runs through the public API with its worker threads; libswscale
// runs single-threaded as an application would call it by default.
#include <benchmark/benchmark.h>

#include <cstring>
#include <memory>
#include <vector>

extern "C" {
#include <libswscale/swscale.h>
}

#include "KROColorFunctions.h"
#include "color/row_isa.h"
#include "ratio_reporter.h"

using namespace KROCOLOR;

namespace {

constexpr int kW = 1920, kH = 1080;

struct Planes {
    std::vector<std::vector<uint8_t>> data;
    std::vector<int> strides;
    std::vector<const uint8_t*> in;
    std::vector<uint8_t*> out;
    Planes(std::initializer_list<std::pair<int, int>> shape) {  // (stride, rows) per plane
        uint32_t seed = 1;
        for (auto [stride, rows] : shape) {
            data.emplace_back(size_t(stride) * rows);
            for (auto& b : data.back()) b = uint8_t((seed = seed * 1664525u + 1013904223u) >> 24);
            strides.push_back(stride);
        }
        for (auto& d : data) {
            in.push_back(d.data());
            out.push_back(d.data());
        }
    }
};

// 10-bit samples must stay below 1024 for the swscale reader.
void limitTo10Bits(Planes& p) {
    for (auto& d : p.data)
        for (size_t i = 1; i < d.size(); i += 2) d[i] &= 0x03;
}

void runOurs(benchmark::State& state, KROColorFunctions& f, Planes& src, Planes& dst) {
    f.transcode(src.in.data(), src.strides.data(), dst.out.data(), dst.strides.data());  // builds the convertor
    for (auto _ : state) {
        const KROReturn rc = f.transcode(src.in.data(), src.strides.data(), dst.out.data(), dst.strides.data());
        if (rc != kKROSuccess) state.SkipWithError(queryKROReturn(rc));
        benchmark::ClobberMemory();
    }
}

void runSwscale(benchmark::State& state, int sw, int sh, AVPixelFormat sf, int dw, int dh, AVPixelFormat df,
                int flags, int srcSpace, int dstSpace, int srcFull, Planes& src, Planes& dst) {
    SwsContext* sws = sws_getContext(sw, sh, sf, dw, dh, df, flags, nullptr, nullptr, nullptr);
    sws_setColorspaceDetails(sws, sws_getCoefficients(srcSpace), srcFull, sws_getCoefficients(dstSpace), 1, 0,
                             1 << 16, 1 << 16);
    for (auto _ : state) {
        sws_scale(sws, src.in.data(), src.strides.data(), 0, sh, dst.out.data(), dst.strides.data());
        benchmark::ClobberMemory();
    }
    sws_freeContext(sws);
}

void BM_NV12toRGBA_ours(benchmark::State& state) {
    Planes src({{kW, kH}, {kW, kH / 2}}), dst({{kW * 4, kH}});
    std::unique_ptr<KROColorFunctions> f(KROColorFunctions::create(kW, kH, kKRONV12Format, kW, kH, kKRORGBA8888Format));
    f->setColorspaceDetails(kColorPrimariesBT709, kColorTransferBT709, kColorMatrixBT709, kColorRangeMpeg,
                            kColorPrimariesBT709, kColorTransferBT709, kColorMatrixRGB, kColorRangeJpeg);
    runOurs(state, *f, src, dst);
}

void BM_RGBAtoNV12_ours(benchmark::State& state) {
    Planes src({{kW * 4, kH}}), dst({{kW, kH}, {kW, kH / 2}});
    std::unique_ptr<KROColorFunctions> f(KROColorFunctions::create(kW, kH, kKRORGBA8888Format, kW, kH, kKRONV12Format));
    f->setColorspaceDetails(kColorPrimariesBT709, kColorTransferBT709, kColorMatrixRGB, kColorRangeJpeg,
                            kColorPrimariesBT709, kColorTransferBT709, kColorMatrixBT709, kColorRangeMpeg);
    runOurs(state, *f, src, dst);
}

// A small frame: what a stage costs beyond its pixels (thread hand-off and
// join) shows here, where at 1080p it disappears in the pixel work.
void BM_NV12toRGBA_64x64_ours(benchmark::State& state) {
    constexpr int w = 64, h = 64;
    Planes src({{w, h}, {w, h / 2}}), dst({{w * 4, h}});
    std::unique_ptr<KROColorFunctions> f(KROColorFunctions::create(w, h, kKRONV12Format, w, h, kKRORGBA8888Format));
    f->setColorspaceDetails(kColorPrimariesBT709, kColorTransferBT709, kColorMatrixBT709, kColorRangeMpeg,
                            kColorPrimariesBT709, kColorTransferBT709, kColorMatrixRGB, kColorRangeJpeg);
    runOurs(state, *f, src, dst);
}

void BM_NV12toRGBA_swscale(benchmark::State& state) {
    Planes src({{kW, kH}, {kW, kH / 2}}), dst({{kW * 4, kH}});
    runSwscale(state, kW, kH, AV_PIX_FMT_NV12, kW, kH, AV_PIX_FMT_RGBA,
               SWS_BILINEAR | SWS_ACCURATE_RND | SWS_FULL_CHR_H_INT, SWS_CS_ITU709, SWS_CS_ITU709, 0, src, dst);
}

void BM_PQ10toSDR_ours(benchmark::State& state) {
    Planes src({{kW * 2, kH}, {kW, kH / 2}, {kW, kH / 2}}), dst({{kW * 4, kH}});
    limitTo10Bits(src);
    std::unique_ptr<KROColorFunctions> f(KROColorFunctions::create(kW, kH, kKROYUV420P10LEFormat, kW, kH, kKRORGBA8888Format));
    f->setColorspaceDetails(kColorPrimariesBT2020, kColorTransferSMPTE2084, kColorMatrixBT2020_NCL, kColorRangeMpeg,
                            kColorPrimariesBT709, kColorTransferBT709, kColorMatrixRGB, kColorRangeJpeg);
    runOurs(state, *f, src, dst);
}

// The same conversions with the colour stages forced to one pixel at a
// time: what the vector stages gain (the bytes are the same).
template <void (*Ours)(benchmark::State&)>
void plainRows(benchmark::State& state) {
    forceRowIsa(RowIsa::Plain);
    Ours(state);
    resetRowIsa();
}

// libswscale has no transfer or primaries conversion: this is only its
// matrix-and-format part of the same job, for scale.
void BM_PQ10toSDR_swscale_matrix_only(benchmark::State& state) {
    Planes src({{kW * 2, kH}, {kW, kH / 2}, {kW, kH / 2}}), dst({{kW * 4, kH}});
    limitTo10Bits(src);
    runSwscale(state, kW, kH, AV_PIX_FMT_YUV420P10LE, kW, kH, AV_PIX_FMT_RGBA,
               SWS_BILINEAR | SWS_ACCURATE_RND | SWS_FULL_CHR_H_INT, SWS_CS_BT2020, SWS_CS_ITU709, 0, src, dst);
}

void BM_RGBA1080to720_ours(benchmark::State& state) {
    Planes src({{kW * 4, kH}}), dst({{1280 * 4, 720}});
    std::unique_ptr<KROColorFunctions> f(KROColorFunctions::create(kW, kH, kKRORGBA8888Format, 1280, 720, kKRORGBA8888Format));
    runOurs(state, *f, src, dst);
}

void BM_RGBA1080to720_swscale(benchmark::State& state) {
    Planes src({{kW * 4, kH}}), dst({{1280 * 4, 720}});
    runSwscale(state, kW, kH, AV_PIX_FMT_RGBA, 1280, 720, AV_PIX_FMT_RGBA, SWS_BILINEAR, SWS_CS_ITU709,
               SWS_CS_ITU709, 1, src, dst);
}

}  // namespace

BENCHMARK(BM_NV12toRGBA_ours)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_NV12toRGBA_swscale)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(plainRows<BM_NV12toRGBA_ours>)->Name("BM_NV12toRGBA_plain")->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_RGBAtoNV12_ours)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(plainRows<BM_RGBAtoNV12_ours>)->Name("BM_RGBAtoNV12_plain")->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_NV12toRGBA_64x64_ours)->Unit(benchmark::kMicrosecond)->UseRealTime();
BENCHMARK(BM_PQ10toSDR_ours)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(plainRows<BM_PQ10toSDR_ours>)->Name("BM_PQ10toSDR_plain")->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_PQ10toSDR_swscale_matrix_only)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_RGBA1080to720_ours)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_RGBA1080to720_swscale)->Unit(benchmark::kMillisecond)->UseRealTime();

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    krobench::RatioReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    reporter.printRatios({{"BM_NV12toRGBA_ours", "BM_NV12toRGBA_swscale"},
                          {"BM_NV12toRGBA_ours", "BM_NV12toRGBA_plain"},
                          {"BM_RGBAtoNV12_ours", "BM_RGBAtoNV12_plain"},
                          {"BM_PQ10toSDR_ours", "BM_PQ10toSDR_plain"},
                          {"BM_PQ10toSDR_ours", "BM_PQ10toSDR_swscale_matrix_only"},
                          {"BM_RGBA1080to720_ours", "BM_RGBA1080to720_swscale"}});
    benchmark::Shutdown();
    return 0;
}
