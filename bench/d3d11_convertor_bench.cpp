// The Direct3D 11 convertor on the device the platform offers (on Linux the
// Vulkan layer: lavapipe on the CPU, or a GPU's Vulkan driver), through the
// public API: texture to texture at 1920x1080, the same with scaling to
// 1280x720, and host NV12 to host RGBA through the convertor's textures. The
// host rows also time the two CPU-side steps alone (upload: layout change and
// staging write; read-back: staging read), so their share of a frame shows.
#include <benchmark/benchmark.h>

#include <cstdint>
#include <memory>
#include <vector>

#include "KROColorFunctions.h"

#if KRO_HAVE_D3D11_CONVERTOR

#include "cpu/cpu_context.h"
#include "d3d11/d3d11_api.h"

using namespace KROCOLOR;

namespace {

constexpr int kW = 1920, kH = 1080;

ID3D11Manager* device() {
    static ID3D11Manager* manager = KRODirectX::createID3D11Device(0);
    return manager;
}

KROHWContext contextOf(ID3D11Manager* m) {
    KROHWContext c;
    c.srcType = c.dstType = kKROHWTypeD3D11;
    c.srcHandle = c.dstHandle = m->device;
    c.srcQueue = c.dstQueue = m->context;
    return c;
}

std::vector<uint8_t> noise(size_t bytes) {
    std::vector<uint8_t> v(bytes);
    uint32_t seed = 1;
    for (auto& b : v) b = uint8_t((seed = seed * 1664525u + 1013904223u) >> 24);
    return v;
}

// An NV12 texture holding noise, uploaded through a staging texture.
ID3D11Texture2D* nv12Texture(ID3D11Manager* m) {
    ID3D11Texture2D* texture = KRODirectX::createID3D11Texture2D(m, kW, kH, DXGI_FORMAT_NV12);
    ID3D11Texture2D* staging = KRODirectX::createStagingID3D11Texture2D(m, kW, kH, DXGI_FORMAT_NV12);
    const std::vector<uint8_t> pixels = noise(size_t(kW) * kH * 3 / 2);
    KRODirectX::writeDataToStagingID3D11Texture2D(m, staging, 0, pixels.data(), kW, kW, kH);
    KRODirectX::writeDataToID3D11Texture2D(m, staging, 0, texture, 0);
    staging->Release();
    return texture;
}

std::unique_ptr<KROColorFunctions> nv12ToRgba(int srcFormat, int dstFormat, int dw, int dh) {
    std::unique_ptr<KROColorFunctions> f(KROColorFunctions::create(kW, kH, KROPixelFormat(srcFormat), dw, dh,
                                                                   KROPixelFormat(dstFormat)));
    f->setColorspaceDetails(kColorPrimariesBT709, kColorTransferBT709, kColorMatrixBT709, kColorRangeMpeg,
                            kColorPrimariesBT709, kColorTransferBT709, kColorMatrixRGB, kColorRangeJpeg);
    f->setHWContext(contextOf(device()));
    return f;
}

void run(benchmark::State& state, KROColorFunctions& f, const uint8_t* const* src, const int* srcStrides,
         uint8_t* const* dst, const int* dstStrides) {
    for (auto _ : state) {
        const KROReturn rc = f.transcode(src, srcStrides, dst, dstStrides);  // ends waiting for the GPU
        if (rc != kKROSuccess) state.SkipWithError(queryKROReturn(rc));
    }
}

void TextureToTexture(benchmark::State& state) {
    ID3D11Manager* m = device();
    if (!m) return state.SkipWithError("no Direct3D 11 device");
    const int dw = int(state.range(0)), dh = int(state.range(1));
    ID3D11Texture2D* in = nv12Texture(m);
    ID3D11Texture2D* out = KRODirectX::createID3D11Texture2D(m, dw, dh, DXGI_FORMAT_R8G8B8A8_UNORM);
    auto f = nv12ToRgba(kKRONV12D3D11Texture2DFormat, kKRORGBA8888D3D11Texture2DFormat, dw, dh);
    const uint8_t* src[4] = {reinterpret_cast<const uint8_t*>(in)};
    uint8_t* dst[4] = {reinterpret_cast<uint8_t*>(out)};
    const int strides[4] = {0, 0, 0, 0};
    f->transcode(src, strides, dst, strides);  // compiles the program, makes the shaders
    run(state, *f, src, strides, dst, strides);
    in->Release();
    out->Release();
}
BENCHMARK(TextureToTexture)->Args({kW, kH})->Args({1280, 720})->Unit(benchmark::kMillisecond)->UseRealTime();

// Host NV12 to host RGBA: libswscale into RGBA8888, staging upload, the
// colour pass, staging read-back.
void HostThroughTextures(benchmark::State& state) {
    ID3D11Manager* m = device();
    if (!m) return state.SkipWithError("no Direct3D 11 device");
    std::vector<uint8_t> y = noise(size_t(kW) * kH), uv = noise(size_t(kW) * kH / 2), rgba(size_t(kW) * kH * 4);
    const uint8_t* src[4] = {y.data(), uv.data()};
    const int srcStrides[4] = {kW, kW};
    uint8_t* dst[4] = {rgba.data()};
    const int dstStrides[4] = {kW * 4};
    auto f = nv12ToRgba(kKRONV12Format, kKRORGBA8888Format, kW, kH);
    f->transcode(src, srcStrides, dst, dstStrides);
    run(state, *f, src, srcStrides, dst, dstStrides);
}
BENCHMARK(HostThroughTextures)->Unit(benchmark::kMillisecond)->UseRealTime();

// The CPU side of the upload alone: NV12 into RGBA8888 through libswscale,
// then the staging write and the queued copy into the texture (waited for).
void HostUploadStep(benchmark::State& state) {
    ID3D11Manager* m = device();
    if (!m) return state.SkipWithError("no Direct3D 11 device");
    std::vector<uint8_t> y = noise(size_t(kW) * kH), uv = noise(size_t(kW) * kH / 2), rgba(size_t(kW) * kH * 4);
    KROFrame nv12, packed;
    nv12.width = packed.width = kW;
    nv12.height = packed.height = kH;
    nv12.format = kKRONV12Format;
    packed.format = kKRORGBA8888Format;
    nv12.primaries = packed.primaries = nv12.transfer = packed.transfer = nv12.matrix = packed.matrix = 1;
    nv12.range = packed.range = 1;
    nv12.planes[0] = y.data();
    nv12.planes[1] = uv.data();
    nv12.strides[0] = nv12.strides[1] = kW;
    packed.planes[0] = rgba.data();
    packed.strides[0] = kW * 4;
    CPUContext layout;
    layout.setUseSwscale(true);
    ID3D11Texture2D* texture = KRODirectX::createID3D11Texture2D(m, kW, kH, DXGI_FORMAT_R8G8B8A8_UNORM);
    ID3D11Query* query = nullptr;
    KRODirectX::createID3D11EventQuery(m, &query);
    for (auto _ : state) {
        layout.convertColor(&nv12, &packed);
        ID3D11Texture2D* staging = KRODirectX::createStagingID3D11Texture2D(m, kW, kH, DXGI_FORMAT_R8G8B8A8_UNORM);
        KRODirectX::writeDataToStagingID3D11Texture2D(m, staging, 0, rgba.data(), kW * 4, kW, kH);
        KRODirectX::writeDataToID3D11Texture2D(m, staging, 0, texture, 0);
        m->context->End(query);
        m->context->Flush();
        KRODirectX::queryID3D11GetDataWithTimeout(m, query, 1000);
        staging->Release();
    }
    query->Release();
    texture->Release();
}
BENCHMARK(HostUploadStep)->Unit(benchmark::kMillisecond)->UseRealTime();

// The read-back alone: texture into staging, staging into host memory.
void HostReadBackStep(benchmark::State& state) {
    ID3D11Manager* m = device();
    if (!m) return state.SkipWithError("no Direct3D 11 device");
    std::vector<uint8_t> rgba(size_t(kW) * kH * 4);
    ID3D11Texture2D* texture = KRODirectX::createID3D11Texture2D(m, kW, kH, DXGI_FORMAT_R8G8B8A8_UNORM);
    for (auto _ : state) {
        ID3D11Texture2D* staging = KRODirectX::createStagingID3D11Texture2D(m, kW, kH, DXGI_FORMAT_R8G8B8A8_UNORM);
        KRODirectX::readDataFromID3D11Texture2D(m, texture, 0, staging, 0);
        KRODirectX::readDataFromStagingID3D11Texture2D(m, rgba.data(), kW * 4, kW, kH, staging, 0);
        staging->Release();
    }
    texture->Release();
}
BENCHMARK(HostReadBackStep)->Unit(benchmark::kMillisecond)->UseRealTime();

}  // namespace

#endif  // KRO_HAVE_D3D11_CONVERTOR

BENCHMARK_MAIN();
