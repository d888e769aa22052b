// OpenGL ES render convertor at 1920x1080 on a headless context (Mesa's
// surfaceless EGL platform; llvmpipe where there is no GPU). A host NV12
// frame to host RGBA is split into its three stages (upload: the CPU
// layout to RGBA and the texture upload; draw; read-back) and timed whole
// through the public API; an RGBA texture is scaled to 1280x720. Every
// timed stage ends with glFinish, so the renderer's queued work is counted.
// The counter new_gl_objects (GL objects made per call once the first call
// has made them) must read 0.
#include <EGL/egl.h>
#include <EGL/eglext.h>
#include <GLES3/gl3.h>
#include <benchmark/benchmark.h>

#include <cstdint>
#include <memory>
#include <vector>

#include "KROColorFunctions.h"
#include "cpu/cpu_context.h"
#include "gles/gl_render_context.h"

using namespace KROCOLOR;

namespace {

constexpr int kW = 1920, kH = 1080, kScaledW = 1280, kScaledH = 720;

bool makeHeadlessContext() {
    static bool made = [] {
        EGLDisplay d = eglGetPlatformDisplay(EGL_PLATFORM_SURFACELESS_MESA, EGL_DEFAULT_DISPLAY, nullptr);
        const EGLint config[] = {EGL_RENDERABLE_TYPE, EGL_OPENGL_ES3_BIT, EGL_SURFACE_TYPE, EGL_PBUFFER_BIT, EGL_NONE};
        const EGLint version[] = {EGL_CONTEXT_MAJOR_VERSION, 3, EGL_NONE};
        EGLConfig c = nullptr;
        EGLint n = 0;
        if (d == EGL_NO_DISPLAY || !eglInitialize(d, nullptr, nullptr) || !eglBindAPI(EGL_OPENGL_ES_API) ||
            !eglChooseConfig(d, config, &c, 1, &n) || n < 1)
            return false;
        EGLContext ctx = eglCreateContext(d, c, EGL_NO_CONTEXT, version);
        return ctx != EGL_NO_CONTEXT && eglMakeCurrent(d, EGL_NO_SURFACE, EGL_NO_SURFACE, ctx);
    }();
    return made;
}

std::vector<uint8_t> randomBytes(size_t n) {
    std::vector<uint8_t> v(n);
    uint32_t seed = 1;
    for (auto& b : v) b = static_cast<uint8_t>((seed = seed * 1664525u + 1013904223u) >> 24);
    return v;
}

KROFrame hostFrame(int32_t format, int w, int h, uint8_t* p0, int s0, uint8_t* p1 = nullptr, int s1 = 0) {
    KROFrame f;
    f.width = w;
    f.height = h;
    f.format = format;
    f.primaries = f.transfer = f.matrix = f.range = 1;
    f.planes[0] = p0;
    f.planes[1] = p1;
    f.strides[0] = s0;
    f.strides[1] = s1;
    return f;
}

KROFrame textureFrame(int32_t format, int w, int h, int texture, int primaries, int transfer) {
    KROFrame f;
    f.width = w;
    f.height = h;
    f.format = format;
    f.primaries = primaries;
    f.transfer = transfer;
    f.matrix = f.range = 1;
    f.planes[0] = reinterpret_cast<uint8_t*>(static_cast<uintptr_t>(texture));
    return f;
}

// Counts calls after which any GL object of the convertor changed name.
struct ObjectWatch {
    const GLRenderContext& gl;
    unsigned names[3];
    const uint8_t* textures[2];
    explicit ObjectWatch(const GLRenderContext& g) : gl(g) { take(); }
    void take() {
        names[0] = gl.program();
        names[1] = gl.framebuffer();
        names[2] = gl.vertexBuffer();
        textures[0] = gl.ownedInput().planes[0];
        textures[1] = gl.ownedOutput().planes[0];
    }
    int changed() {
        const unsigned before[3] = {names[0], names[1], names[2]};
        const uint8_t* t[2] = {textures[0], textures[1]};
        take();
        int n = 0;
        for (int i = 0; i < 3; ++i) n += before[i] != names[i];
        for (int i = 0; i < 2; ++i) n += t[i] != textures[i];
        return n;
    }
};

#define REQUIRE_CONTEXT(state)                                                   \
    if (!makeHeadlessContext()) {                                                \
        state.SkipWithError("no headless OpenGL ES 3 context on this machine"); \
        return;                                                                  \
    }

// The whole road: host NV12 BT.709 -> host RGBA BT.2020 (curves and table).
void BM_Nv12ToRgba_Total(benchmark::State& state) {
    REQUIRE_CONTEXT(state);
    std::vector<uint8_t> y = randomBytes(size_t(kW) * kH), uv = randomBytes(size_t(kW) * kH / 2),
                         rgba(size_t(kW) * kH * 4);
    KROFrame src = hostFrame(kKRONV12Format, kW, kH, y.data(), kW, uv.data(), kW);
    KROFrame dst = hostFrame(kKRORGBA8888Format, kW, kH, rgba.data(), kW * 4);
    dst.primaries = 9;
    dst.transfer = 14;
    GLRenderContext gl(nullptr, nullptr);
    gl.convertColor(&src, &dst);  // makes program, textures, staging frame
    ObjectWatch watch(gl);
    int64_t made = 0;
    for (auto _ : state) {
        gl.convertColor(&src, &dst);  // the read-back waits for the draw
        made += watch.changed();
    }
    state.counters["new_gl_objects"] = benchmark::Counter(double(made), benchmark::Counter::kAvgIterations);
}

// Stage 1: NV12 laid out as RGBA on the CPU (libswscale) and uploaded.
void BM_Nv12ToRgba_Upload(benchmark::State& state) {
    REQUIRE_CONTEXT(state);
    std::vector<uint8_t> y = randomBytes(size_t(kW) * kH), uv = randomBytes(size_t(kW) * kH / 2),
                         rgba(size_t(kW) * kH * 4);
    KROFrame src = hostFrame(kKRONV12Format, kW, kH, y.data(), kW, uv.data(), kW);
    KROFrame staged = hostFrame(kKRORGBA8888Format, kW, kH, rgba.data(), kW * 4);
    CPUContext layout;
    layout.setUseSwscale(true);
    const int texture = KROOpenGL::createTexture2D(kW, kH, GL_RGBA);
    for (auto _ : state) {
        layout.convertColor(&src, &staged);
        KROOpenGL::writeRGBADataToTexture2D(rgba.data(), kW * 4, kW, kH, texture);
        glFinish();
    }
    const GLuint name = static_cast<GLuint>(texture);
    glDeleteTextures(1, &name);
}

// Stage 2 (and the scaling case): one draw, texture to texture; the third
// argument 0 keeps the light (samples pass through the program), 1 converts
// BT.709 to BT.2020 (both curves and the table per fragment).
void BM_RgbaTexture_Draw(benchmark::State& state) {
    REQUIRE_CONTEXT(state);
    const int dw = int(state.range(0)), dh = int(state.range(1));
    const bool convert = state.range(2) != 0;
    std::vector<uint8_t> rgba = randomBytes(size_t(kW) * kH * 4);
    const int in = KROOpenGL::createTexture2D(kW, kH, GL_RGBA), out = KROOpenGL::createTexture2D(dw, dh, GL_RGBA);
    KROOpenGL::writeRGBADataToTexture2D(rgba.data(), kW * 4, kW, kH, in);
    KROFrame src = textureFrame(kKRORGBA8888Texture2DFormat, kW, kH, in, 1, 1);
    KROFrame dst = textureFrame(kKRORGBA8888Texture2DFormat, dw, dh, out, convert ? 9 : 1, convert ? 14 : 1);
    GLRenderContext gl(nullptr, nullptr);
    gl.convertColor(&src, &dst);
    glFinish();
    ObjectWatch watch(gl);
    int64_t made = 0;
    for (auto _ : state) {
        gl.convertColor(&src, &dst);
        glFinish();
        made += watch.changed();
    }
    state.counters["new_gl_objects"] = benchmark::Counter(double(made), benchmark::Counter::kAvgIterations);
    const GLuint names[] = {static_cast<GLuint>(in), static_cast<GLuint>(out)};
    glDeleteTextures(2, names);
}

// Stage 3: the RGBA texture read back into host memory.
void BM_RgbaTexture_ReadBack(benchmark::State& state) {
    REQUIRE_CONTEXT(state);
    std::vector<uint8_t> rgba = randomBytes(size_t(kW) * kH * 4);
    const int texture = KROOpenGL::createTexture2D(kW, kH, GL_RGBA);
    KROOpenGL::writeRGBADataToTexture2D(rgba.data(), kW * 4, kW, kH, texture);
    glFinish();
    for (auto _ : state) KROOpenGL::readRGBADataFromTexture2D(texture, kW, kH, rgba.data());
    const GLuint name = static_cast<GLuint>(texture);
    glDeleteTextures(1, &name);
}

}  // namespace

BENCHMARK(BM_Nv12ToRgba_Total)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_Nv12ToRgba_Upload)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_RgbaTexture_Draw)
    ->ArgNames({"w", "h", "convert"})
    ->Args({kW, kH, 1})
    ->Args({kScaledW, kScaledH, 1})
    ->Args({kScaledW, kScaledH, 0})
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();
BENCHMARK(BM_RgbaTexture_ReadBack)->Unit(benchmark::kMillisecond)->UseRealTime();

BENCHMARK_MAIN();
