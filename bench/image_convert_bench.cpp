// KROImageConvert on a 4096 x 4096 image: RGBA8888 -> I8, RGB888 -> RGBA8888
// and AI88 -> RGBA8888, beside memcpy of the larger of the two buffers and,
// where present, libyuv's closest equivalents doing the same bytes-in /
// bytes-out work:
//   RGBA8888 -> I8    libyuv ABGRToJ400: libyuv's "ABGR" is R, G, B, A in
//                     memory, so the input bytes are ours; J400 is full-range
//                     BT.601 grey, with libyuv's own 8-bit fixed-point weights
//                     (values may differ by one from ours).
//   RGB888 -> RGBA8888 libyuv RGB24ToARGB: B, G, R in, B, G, R, A out, the same
//                     byte movement as R, G, B in, R, G, B, A out.
//   AI88 -> RGBA8888  libyuv has no grey+alpha expansion; J400ToARGB (1 byte
//                     in, 4 out, alpha 255) is shown as the nearest, with half
//                     our input bytes.
// After the runs a table gives each time in ms and its ratio to memcpy.
#include <benchmark/benchmark.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <map>
#include <string>
#include <vector>

#include "KROColorFunctions.h"
#include "cpu/image_convert_rows.h"

#ifdef KRO_HAVE_LIBYUV
#include <libyuv.h>
#endif

namespace {

constexpr int kWidth = 4096;
constexpr int kHeight = 4096;
constexpr size_t kPixels = size_t(kWidth) * kHeight;

struct Buffers {
    std::vector<uint8_t> src, dst;
    Buffers(size_t srcBytes, size_t dstBytes) : src(srcBytes), dst(dstBytes) {
        uint32_t s = 12345;
        for (uint8_t& b : src) {
            s = s * 1664525u + 1013904223u;
            b = static_cast<uint8_t>(s >> 24);
        }
    }
};

template <typename Body>
void runImage(benchmark::State& state, size_t srcBpp, size_t dstBpp, Body body) {
    Buffers buf(kPixels * srcBpp, kPixels * dstBpp);
    body(buf.src.data(), buf.dst.data());  // touch the pages once
    for (auto _ : state) {
        body(buf.src.data(), buf.dst.data());
        benchmark::DoNotOptimize(buf.dst.data());
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(int64_t(state.iterations()) * int64_t(kPixels * (srcBpp + dstBpp)));
}

void memcpyOf(benchmark::State& state, size_t bytesPerPixel) {
    runImage(state, bytesPerPixel, bytesPerPixel,
             [&](const uint8_t* s, uint8_t* d) { std::memcpy(d, s, kPixels * bytesPerPixel); });
}

// --- RGBA8888 -> I8 ---
void RGBA8888ToI8_kro(benchmark::State& st) {
    runImage(st, 4, 1, [](const uint8_t* s, uint8_t* d) {
        KROCOLOR::KROImageConvert::convertRGBA8888ToI8(s, unsigned(kPixels * 4), d);
    });
}
void RGBA8888ToI8_kroScalarRows(benchmark::State& st) {
    runImage(st, 4, 1, [](const uint8_t* s, uint8_t* d) {
        KROCOLOR::bytes::scalarHotRows().rgba8888ToI8(s, d, kPixels);
    });
}
void RGBA8888ToI8_memcpy64MiB(benchmark::State& st) { memcpyOf(st, 4); }

// --- RGB888 -> RGBA8888 ---
void RGB888ToRGBA8888_kro(benchmark::State& st) {
    runImage(st, 3, 4, [](const uint8_t* s, uint8_t* d) {
        KROCOLOR::KROImageConvert::convertRGB888ToRGBA8888(s, unsigned(kPixels * 3), d);
    });
}
void RGB888ToRGBA8888_kroScalarRows(benchmark::State& st) {
    runImage(st, 3, 4, [](const uint8_t* s, uint8_t* d) {
        KROCOLOR::bytes::scalarHotRows().rgb888ToRgba8888(s, d, kPixels);
    });
}
void RGB888ToRGBA8888_memcpy64MiB(benchmark::State& st) { memcpyOf(st, 4); }

// --- AI88 -> RGBA8888 ---
void AI88ToRGBA8888_kro(benchmark::State& st) {
    runImage(st, 2, 4, [](const uint8_t* s, uint8_t* d) {
        KROCOLOR::KROImageConvert::convertAI88ToRGBA8888(s, unsigned(kPixels * 2), d);
    });
}
void AI88ToRGBA8888_memcpy64MiB(benchmark::State& st) { memcpyOf(st, 4); }

#ifdef KRO_HAVE_LIBYUV
void RGBA8888ToI8_libyuvABGRToJ400(benchmark::State& st) {
    runImage(st, 4, 1, [](const uint8_t* s, uint8_t* d) {
        libyuv::ABGRToJ400(s, kWidth * 4, d, kWidth, kWidth, kHeight);
    });
}
void RGB888ToRGBA8888_libyuvRGB24ToARGB(benchmark::State& st) {
    runImage(st, 3, 4, [](const uint8_t* s, uint8_t* d) {
        libyuv::RGB24ToARGB(s, kWidth * 3, d, kWidth * 4, kWidth, kHeight);
    });
}
void AI88ToRGBA8888_libyuvJ400ToARGB(benchmark::State& st) {
    runImage(st, 1, 4, [](const uint8_t* s, uint8_t* d) {
        libyuv::J400ToARGB(s, kWidth, d, kWidth * 4, kWidth, kHeight);
    });
}
#endif

// Keeps each benchmark's times (the median when repeated) for the table.
// CPU time is shown beside wall time: on a loaded machine it is the steadier.
class RecordingReporter : public benchmark::ConsoleReporter {
public:
    void ReportRuns(const std::vector<Run>& runs) override {
        for (const Run& r : runs) {
            const bool single = r.run_type == Run::RT_Iteration && r.repetitions <= 1;
            const bool median = r.run_type == Run::RT_Aggregate && r.aggregate_name == "median";
            if ((single || median) && r.iterations > 0)  // times are in the run's unit, ms
                times_[r.run_name.function_name] = {r.GetAdjustedRealTime(), r.GetAdjustedCPUTime()};
        }
        ConsoleReporter::ReportRuns(runs);
    }
    void printRatios() const {
        std::printf("\n%-36s %9s %9s %10s %10s\n", "4096x4096", "wall ms", "cpu ms", "wall/memcpy",
                    "cpu/memcpy");
        for (const auto& [name, t] : times_) {
            const auto ref = times_.find(name.substr(0, name.find('_')) + "_memcpy64MiB");
            if (ref == times_.end()) continue;
            std::printf("%-36s %9.2f %9.2f %10.2f %10.2f\n", name.c_str(), t.wall, t.cpu,
                        t.wall / ref->second.wall, t.cpu / ref->second.cpu);
        }
    }

private:
    struct Times {
        double wall, cpu;
    };
    std::map<std::string, Times> times_;
};

}  // namespace

#define KRO_IMAGE_BENCH(fn) BENCHMARK(fn)->Unit(benchmark::kMillisecond)->UseRealTime()
KRO_IMAGE_BENCH(RGBA8888ToI8_kro);
KRO_IMAGE_BENCH(RGBA8888ToI8_kroScalarRows);
KRO_IMAGE_BENCH(RGBA8888ToI8_memcpy64MiB);
KRO_IMAGE_BENCH(RGB888ToRGBA8888_kro);
KRO_IMAGE_BENCH(RGB888ToRGBA8888_kroScalarRows);
KRO_IMAGE_BENCH(RGB888ToRGBA8888_memcpy64MiB);
KRO_IMAGE_BENCH(AI88ToRGBA8888_kro);
KRO_IMAGE_BENCH(AI88ToRGBA8888_memcpy64MiB);
#ifdef KRO_HAVE_LIBYUV
KRO_IMAGE_BENCH(RGBA8888ToI8_libyuvABGRToJ400);
KRO_IMAGE_BENCH(RGB888ToRGBA8888_libyuvRGB24ToARGB);
KRO_IMAGE_BENCH(AI88ToRGBA8888_libyuvJ400ToARGB);
#endif

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
    RecordingReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    reporter.printRatios();
    benchmark::Shutdown();
    return 0;
}
