// The CUDA convertor device to device with the sync flag off, timed with
// CUDA events over many frames, beside a device-to-device cuMemcpy of the
// same byte count (bytes read plus written per conversion). Reports GB/s of
// each and the conversion's share of the copy's bandwidth. Runs on the first
// libcuda.so.1 the loader finds: on the CPU stand-in the figures only show
// that the path works, not what a GPU does.
#include <benchmark/benchmark.h>

#include <dlfcn.h>

#include <cstdio>
#include <memory>
#include <string>

#include "KROColorFunctions.h"
#include "core/frame.h"
#include "cuda/cuda_context.h"
#include "cuda/cuda_driver.h"

using namespace KROCOLOR;

namespace {

using ElapsedFn = CUresult CUDAAPI(float*, CUevent, CUevent);

// Driver, device 0's primary context, and cuEventElapsedTime (not in the
// loader's table, so looked up beside it).
struct Device {
    CudaFunctions* f = nullptr;
    void* context = nullptr;
    ElapsedFn* elapsed = nullptr;
    std::string why;

    Device() {
        if (!KROCuda::init()) { why = "no CUDA driver (libcuda.so.1)"; return; }
        f = static_cast<CudaFunctions*>(KROCuda::_cu);
        elapsed = reinterpret_cast<ElapsedFn*>(dlsym(f->lib, "cuEventElapsedTime"));
        if (!elapsed) { why = "the driver has no cuEventElapsedTime"; return; }
        if (KROCuda::getDeviceCount() < 1 || !(context = KROCuda::retainDevicePrimaryCtx(0))) { why = "no device"; return; }
        KROCuda::pushContext(context);
        if (!KROCuda::checkCUDAPTXSupported()) why = "the library carries no kernel program the driver accepts";
    }
};

Device& device() {
    static Device d;
    return d;
}

// A device frame of a format at w x h with packed rows.
struct Frame {
    KROFrame f;
    uint64_t bytes = 0;
    Frame(int32_t format, int w, int h, int primaries, int transfer, int matrix, int range) {
        f.format = format;
        f.width = w;
        f.height = h;
        f.primaries = primaries, f.transfer = transfer, f.matrix = matrix, f.range = range;
        auto plane = [&](int p, int stride, int rows) {
            f.strides[p] = stride;
            f.planes[p] = static_cast<uint8_t*>(KROCuda::malloc(uint64_t(stride) * rows));
            bytes += uint64_t(stride) * rows;
        };
        switch (format) {
            case 302: plane(0, 4 * w, h); break;
            case 303: plane(0, w, h); plane(1, w, h / 2); break;
            case 307: plane(0, 2 * w, h); plane(1, 2 * w, h / 2); break;
        }
    }
    ~Frame() {
        for (uint8_t* p : f.planes) KROCuda::free(p);
    }
};

// Times `body` between two events per batch of frames; reports GB/s of
// `bytes` moved per call (GB/s).
template <typename Body>
void timeOnDevice(benchmark::State& state, uint64_t bytes, Body body) {
    Device& d = device();
    if (!d.why.empty()) {
        state.SkipWithError(d.why.c_str());
        return;
    }
    CUevent start = nullptr, stop = nullptr;
    d.f->cuEventCreate(&start, 0);
    d.f->cuEventCreate(&stop, 0);
    body();  // warm-up: module load, intermediate frames
    constexpr int kBatch = 4;
    for (auto _ : state) {
        d.f->cuEventRecord(start, nullptr);
        for (int i = 0; i < kBatch; ++i) body();
        d.f->cuEventRecord(stop, nullptr);
        d.f->cuEventSynchronize(stop);
        float ms = 0;
        d.elapsed(&ms, start, stop);
        state.SetIterationTime(ms / 1000.0 / kBatch);
    }
    d.f->cuEventDestroy(start);
    d.f->cuEventDestroy(stop);
    // Printed as "GB=<value>/s".
    state.counters["GB"] = benchmark::Counter(double(bytes) / 1e9, benchmark::Counter::kIsIterationInvariantRate);
}

void convert(benchmark::State& state, Frame& src, Frame& dst, uint64_t written) {
    Device& d = device();
    if (!d.why.empty()) {
        state.SkipWithError(d.why.c_str());
        return;
    }
    std::unique_ptr<CudaContext> c = CudaContext::create(d.context, nullptr);
    c->setHWSync(false);
    timeOnDevice(state, src.bytes + written, [&] { c->convertColor(&src.f, &dst.f); });
}

void copyOf(benchmark::State& state, uint64_t total) {
    Device& d = device();
    if (!d.why.empty()) {
        state.SkipWithError(d.why.c_str());
        return;
    }
    // A copy of n bytes reads n and writes n: the same traffic as `total`.
    const uint64_t n = total / 2;
    void* a = KROCuda::malloc(n);
    void* b = KROCuda::malloc(n);
    timeOnDevice(state, 2 * n, [&] { KROCuda::memcpy(b, a, n); });
    KROCuda::free(a);
    KROCuda::free(b);
}

constexpr int kW = 3840, kH = 2160;

void BM_P010toRGBA_4K(benchmark::State& state) {
    if (!device().why.empty()) return state.SkipWithError(device().why.c_str());
    Frame src(307, kW, kH, 9, 16, 9, 1), dst(302, kW, kH, 1, 1, 1, 2);
    convert(state, src, dst, dst.bytes);
}
void BM_P010toRGBA_4K_copy(benchmark::State& state) {
    copyOf(state, uint64_t(kW) * kH * 3 + uint64_t(kW) * kH * 4);
}
void BM_NV12_4KtoRGBA_1080p(benchmark::State& state) {
    if (!device().why.empty()) return state.SkipWithError(device().why.c_str());
    Frame src(303, kW, kH, 1, 1, 1, 1), dst(302, kW / 2, kH / 2, 1, 1, 1, 2);
    convert(state, src, dst, dst.bytes);
}
void BM_NV12_4KtoRGBA_1080p_copy(benchmark::State& state) {
    copyOf(state, uint64_t(kW) * kH * 3 / 2 + uint64_t(kW / 2) * (kH / 2) * 4);
}

}  // namespace

BENCHMARK(BM_P010toRGBA_4K)->UseManualTime()->Unit(benchmark::kMillisecond)->MinTime(0.5);
BENCHMARK(BM_P010toRGBA_4K_copy)->UseManualTime()->Unit(benchmark::kMillisecond)->MinTime(0.5);
BENCHMARK(BM_NV12_4KtoRGBA_1080p)->UseManualTime()->Unit(benchmark::kMillisecond)->MinTime(0.5);
BENCHMARK(BM_NV12_4KtoRGBA_1080p_copy)->UseManualTime()->Unit(benchmark::kMillisecond)->MinTime(0.5);

BENCHMARK_MAIN();
