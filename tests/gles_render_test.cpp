// GLRenderContext on the headless context, held to the render pass's model
// (support/gpu_program_model: transfers without a curve pass values
// unchanged, pairs without a table keep their values), plus the shared GPU
// conversion cases through the public object.
#include <cmath>
#include <cstring>
#include <tuple>
#include <vector>

#include "KROColorFunctions.h"
#include "gles/gl_render_context.h"
#include "support/gles_fixture.h"
#include "support/gpu_conversion_cases.h"
#include "support/frame_buffers.h"

using namespace KROCOLOR;
using KROCOLOR::test::FrameBuffers;
using KROCOLOR::test::GLESTest;

namespace {

struct ColourCase {
    const char* name;
    test::Colour src, dst;
    const char* peak;  // "src_max_luminance", or null
};

// Only the render pass scales PQ light by the source peak and by the
// destination's transfer (PQ or HLG); the shared cases take every transfer
// into and out of BT.709 and every primaries pair.
const ColourCase kCases[] = {
    {"BT.709 to BT.2020", {1, 1}, {9, 14}, nullptr},
    {"PQ mastered at 1000 keeps luminance", {9, 16}, {1, 16}, "1000"},
    {"PQ at the default peak is a tenth as bright", {9, 16}, {1, 16}, nullptr},
    {"PQ to HLG", {9, 16}, {9, 18}, nullptr},
};

// The result of the formulas, and the range it spans when every linear
// channel moves by `slack` times the largest linear channel before the
// destination curve. The shader's single-precision PQ EOTF loses about 1e-4
// of relative precision to the cancellation in f - c1 (its relative error
// is some hundred times that of pow), and the PQ OETF's infinite slope at
// black turns such an error in a near-zero channel into several codes.
struct Expected {
    test::Rgba value, low, high;
};
Expected expectedPixel(const ColourCase& c, test::Rgba p, double slack = 0) {
    const test::GpuProgram g = test::GpuProgram::Gles;
    p = test::decodeLight(g, p, c.src, c.dst, c.peak ? std::atof(c.peak) : 10000);
    const Matrix3& table = test::primariesTable(g, c.src.primaries, c.dst.primaries);
    const double largest = std::fmax(p[0], std::fmax(p[1], p[2]));
    test::Rgba q = p, lo = p, hi = p;
    for (int k = 0; k < 3; ++k) {
        double v = 0;
        for (int j = 0; j < 3; ++j) v += static_cast<double>(table.m[k][j]) * p[j];
        auto limit = [](double x) { return std::fmin(std::fmax(x, 0.0), 1.0); };
        q[k] = limit(v);
        lo[k] = limit(v - slack * largest);
        hi[k] = limit(v + slack * largest);
    }
    return {test::encodeLight(g, q, c.src, c.dst), test::encodeLight(g, lo, c.src, c.dst),
            test::encodeLight(g, hi, c.src, c.dst)};
}

// One step of a half float (11 significant bits) at x. Drivers may round
// floats to halves either way (llvmpipe truncates), so a stored value is
// within one step of the float.
double halfStep(double x) {
    int e = 0;
    std::frexp(x, &e);
    return std::ldexp(1.0, std::max(e, -13) - 11);
}

class GLRender : public GLESTest {
protected:
    // Converts host frames, descriptions taken from the case.
    KROReturn run(GLRenderContext& gl, const FrameBuffers& in, FrameBuffers& out, const test::Colour& s, const test::Colour& d,
                  const char* peak = nullptr) {
        KROFrame src = in.frame(s.primaries, s.transfer, 1, 1), dst = out.frame(d.primaries, d.transfer, 1, 1);
        gl.setMetaData(peak ? MetaData{{"src_max_luminance", peak}} : MetaData{});
        return gl.convertColor(&src, &dst);
    }
    static KROFrame texture(int32_t format, int width, int height, int name) {
        KROFrame f;
        f.format = format;
        f.width = width;
        f.height = height;
        f.planes[0] = reinterpret_cast<uint8_t*>(static_cast<uintptr_t>(name));
        return f;
    }
};

// RGBA8888 in and out for the render pass's own curve cases, with padded
// rows on both sides.
TEST_F(GLRender, ColourCasesOnRgba8WithinOneCode) {
    GLRenderContext gl(nullptr, nullptr);
    for (const ColourCase& c : kCases) {
        FrameBuffers in(kKRORGBA8888Format, 16, 4, 12), out(kKRORGBA8888Format, 16, 4, 8);
        in.fillRandom(17);
        out.fillRandom(5);
        std::vector<uint8_t> before(out.plane(0), out.plane(0) + out.size(0));
        ASSERT_EQ(run(gl, in, out, c.src, c.dst, c.peak), kKROSuccess) << c.name;
        for (int y = 0; y < 4; ++y) {
            for (int x = 0; x < 16; ++x) {
                const uint8_t* s = in.plane(0) + y * in.stride(0) + x * 4;
                const uint8_t* o = out.plane(0) + y * out.stride(0) + x * 4;
                const double slack = c.src.transfer == 16 ? 1e-4 : 0;
                const Expected e = expectedPixel(c, {s[0] / 255.0, s[1] / 255.0, s[2] / 255.0, s[3] / 255.0}, slack);
                for (int k = 0; k < 4; ++k) {
                    ASSERT_GE(o[k], std::lround(e.low[k] * 255) - 1) << c.name << " " << c.src.primaries << "->" << c.dst.primaries << " at " << x << "," << y;
                    ASSERT_LE(o[k], std::lround(e.high[k] * 255) + 1) << c.name << " " << c.src.primaries << "->" << c.dst.primaries << " at " << x << "," << y;
                }
            }
            // The destination's row padding is never written.
            EXPECT_EQ(0, std::memcmp(out.plane(0) + y * out.stride(0) + 64, before.data() + y * out.stride(0) + 64, 8));
        }
    }
}

// RGBA16 through half-float textures: samples / 65535 are stored as halves,
// converted, stored as halves again and read back times 65535, truncated.
TEST_F(GLRender, Rgba16ThroughHalfFloatTextures) {
    GLRenderContext gl(nullptr, nullptr);
    for (const ColourCase* c : {&kCases[1], &kCases[0]}) {
        FrameBuffers in(kKRORGBA16LEFormat, 5, 3, 6), out(kKRORGBA16LEFormat, 5, 3, 2);
        in.fillRandom(3);
        ASSERT_EQ(run(gl, in, out, c->src, c->dst, c->peak), kKROSuccess);
        EXPECT_EQ(gl.ownedOutput().format, kKRORGBAFloat16Texture2DFormat);
        for (int y = 0; y < 3; ++y)
            for (int i = 0; i < 5 * 4; ++i) {  // all five pixels of each row
                uint16_t s[4], o;
                std::memcpy(s, in.plane(0) + y * in.stride(0) + (i / 4) * 8, 8);
                std::memcpy(&o, out.plane(0) + y * out.stride(0) + i * 2, 2);
                const test::Rgba p{s[0] / 65535.0, s[1] / 65535.0, s[2] / 65535.0, s[3] / 65535.0};
                // Source and result are each stored as halves, within a
                // step of the float: the expected range runs over the
                // source box of one step per channel (its corners bound the
                // monotonic curves and table rows), widened by a result
                // step and the truncation.
                const int k = i % 4;
                double low = 2, high = -1;
                for (int corner = 0; corner < 16; ++corner) {
                    test::Rgba q = p;
                    for (int j = 0; j < 4; ++j)
                        q[j] = std::fmin(std::fmax(q[j] + (corner >> j & 1 ? 1 : -1) * halfStep(p[j]), 0.0), 1.0);
                    const double v = expectedPixel(*c, q).value[k];
                    low = std::fmin(low, v);
                    high = std::fmax(high, v);
                }
                ASSERT_GE(o, std::floor((low - halfStep(low)) * 65535) - 1) << c->name << " " << y << "," << i;
                ASSERT_LE(o, std::ceil((high + halfStep(high)) * 65535)) << c->name << " " << y << "," << i;
            }
    }
}

TEST_F(GLRender, HostFramesOfEveryFormatThroughTheStagingPaths) {
    test::GlesBackend gles;
    test::checkHostFormatsThroughStaging(gles, kKROLoadGLES31FunctionError);
}

// One draw over the destination viewport samples the source bilinearly,
// clamped at the edges. llvmpipe (like most GPUs) weighs 8-bit texels with
// 8-bit fractions: at most one code of weight error between neighbours
// that differ by up to 255, plus the final rounding, hence 2 codes.
TEST_F(GLRender, ScalingIsOneBilinearDraw) {
    GLRenderContext gl(nullptr, nullptr);
    const struct {
        int sw, sh, dw, dh;
    } sizes[] = {{4, 2, 8, 4}, {4, 4, 2, 2}, {5, 3, 7, 2}, {3, 1, 11, 5}};
    for (const auto& z : sizes) {
        FrameBuffers in(kKRORGBA8888Format, z.sw, z.sh), out(kKRORGBA8888Format, z.dw, z.dh);
        in.fillRandom(static_cast<uint32_t>(z.sw * 10 + z.dw));
        ASSERT_EQ(run(gl, in, out, {1, 1}, {1, 1}), kKROSuccess);
        auto texel = [&](int x, int y, int k) {
            x = std::min(std::max(x, 0), z.sw - 1);
            y = std::min(std::max(y, 0), z.sh - 1);
            return in.plane(0)[y * z.sw * 4 + x * 4 + k] / 255.0;
        };
        for (int y = 0; y < z.dh; ++y)
            for (int x = 0; x < z.dw; ++x) {
                const double u = (x + 0.5) * z.sw / z.dw - 0.5, v = (y + 0.5) * z.sh / z.dh - 0.5;
                const int x0 = static_cast<int>(std::floor(u)), y0 = static_cast<int>(std::floor(v));
                const double fx = u - x0, fy = v - y0;
                for (int k = 0; k < 4; ++k) {
                    const double e = (1 - fy) * ((1 - fx) * texel(x0, y0, k) + fx * texel(x0 + 1, y0, k)) +
                                     fy * ((1 - fx) * texel(x0, y0 + 1, k) + fx * texel(x0 + 1, y0 + 1, k));
                    ASSERT_NEAR(out.plane(0)[y * z.dw * 4 + x * 4 + k], e * 255, 2)
                        << z.sw << "x" << z.sh << "->" << z.dw << "x" << z.dh << " at " << x << "," << y;
                }
            }
    }
}

// Texture descriptors are drawn directly; formats alone (201 to 202) do not
// change samples. The host's GL state survives the call: program and source
// texture stay bound, framebuffer and viewport come back. A GL error the
// host left behind is reported at the draw's first check (level "E", printed
// while the threshold is at most 5) and never fails it.
TEST_F(GLRender, TexturesDirectlyAndTheHostsStateAround) {
    GLRenderContext gl(nullptr, nullptr);
    const int source = KROOpenGL::createTexture2D(3, 2, GL_RGBA);
    const int target = KROOpenGL::createTexture2D(3, 2, GL_RGBA16F);
    const uint8_t pixels[24] = {0, 51, 102, 153, 204, 255, 1, 2, 3, 4, 5, 6, 250, 128, 64, 32, 16, 8, 7, 77, 177, 0, 9, 99};
    ASSERT_TRUE(KROOpenGL::writeRGBADataToTexture2D(const_cast<uint8_t*>(pixels), 12, 3, 2, source));
    GLuint hostFb = 0;
    glGenFramebuffers(1, &hostFb);
    glBindFramebuffer(GL_FRAMEBUFFER, hostFb);
    glViewport(3, 4, 50, 60);

    KROFrame in = texture(kKRORGBA8888Texture2DFormat, 3, 2, source),
             out = texture(kKRORGBAFloat16Texture2DFormat, 3, 2, target);
    in.primaries = out.primaries = 9;
    in.transfer = out.transfer = 16;
    for (int level : {6, 4}) {
        GLRenderContext::logLevel = level;
        glBindTexture(GL_RGBA, 0);  // GL_INVALID_ENUM
        testing::internal::CaptureStdout();
        ASSERT_EQ(gl.convertColor(&in, &out), kKROSuccess);
        EXPECT_EQ(testing::internal::GetCapturedStdout(),
                  level > 5 ? "" : "E/KROColorFunctions: [KROCOLOR::GLRenderContext::runKernelFunction(694)]:> "
                                   "GLRenderContext color transfer, glGetError 500\n");
    }

    GLint program = 0, texture = 0, framebuffer = 0, viewport[4] = {};
    glGetIntegerv(GL_CURRENT_PROGRAM, &program);
    glGetIntegerv(GL_TEXTURE_BINDING_2D, &texture);
    glGetIntegerv(GL_FRAMEBUFFER_BINDING, &framebuffer);
    glGetIntegerv(GL_VIEWPORT, viewport);
    EXPECT_EQ(static_cast<unsigned>(program), gl.program());
    EXPECT_EQ(texture, source);
    EXPECT_EQ(static_cast<GLuint>(framebuffer), hostFb);
    EXPECT_EQ(std::vector<GLint>(viewport, viewport + 4), (std::vector<GLint>{3, 4, 50, 60}));

    float back[24];
    ASSERT_TRUE(KROOpenGL::readRGBA16DataFromTexture2D(target, 3, 2, back));
    for (int i = 0; i < 24; ++i) EXPECT_NEAR(back[i], pixels[i] / 255.0, halfStep(pixels[i] / 255.0)) << i;

    glBindFramebuffer(GL_FRAMEBUFFER, 0);
    glDeleteFramebuffers(1, &hostFb);
    GLuint names[2] = {static_cast<GLuint>(source), static_cast<GLuint>(target)};
    glDeleteTextures(2, names);
}

// Once the first call made them, later calls of the same shape make no GL
// objects; a destination of another size replaces only its texture.
TEST_F(GLRender, SteadyStateMakesNoGlObjects) {
    GLRenderContext gl(nullptr, nullptr);
    FrameBuffers in(kKRONV12Format, 8, 4), out(kKRORGBA8888Format, 8, 4), wider(kKRORGBA8888Format, 10, 4);
    in.fillRandom(4);
    ASSERT_EQ(run(gl, in, out, {1, 1}, {9, 14}), kKROSuccess);
    const unsigned names[] = {gl.program(), gl.framebuffer(), gl.vertexBuffer()};
    const KROFrame input = gl.ownedInput(), output = gl.ownedOutput();
    for (int i = 0; i < 3; ++i) ASSERT_EQ(run(gl, in, out, {1, 1}, {9, 14}), kKROSuccess);
    EXPECT_EQ(std::make_tuple(names[0], names[1], names[2], input.planes[0], output.planes[0], input.name),
              std::make_tuple(gl.program(), gl.framebuffer(), gl.vertexBuffer(), gl.ownedInput().planes[0],
                              gl.ownedOutput().planes[0], gl.ownedInput().name));
    ASSERT_EQ(run(gl, in, wider, {1, 1}, {9, 14}), kKROSuccess);
    EXPECT_EQ(input.name, gl.ownedInput().name);
    EXPECT_NE(output.name, gl.ownedOutput().name);
}

// Bad descriptors: code 20, nothing written to host memory.
TEST_F(GLRender, BadInputIsRefusedWithoutWriting) {
    GLRenderContext gl(nullptr, nullptr);
    FrameBuffers in(kKRORGBA8888Format, 4, 4), out(kKRORGBA8888Format, 4, 4);
    in.fillRandom(1);
    out.fillRandom(2);
    const std::vector<uint8_t> before(out.plane(0), out.plane(0) + out.size(0));
    KROFrame s = in.frame(1, 1), d = out.frame(9, 14);
    KROFrame noPlane = s, noTexture = s, cuda = s, unknown = s;
    noPlane.planes[0] = nullptr;
    noTexture.format = kKRORGBA8888Texture2DFormat;
    noTexture.planes[0] = nullptr;
    cuda.format = 301;
    unknown.format = 999;
    EXPECT_EQ(gl.convertColor(nullptr, &d), kKROLoadGLES31FunctionError);
    EXPECT_EQ(gl.convertColor(&s, nullptr), kKROLoadGLES31FunctionError);
    for (const KROFrame* bad : {&noPlane, &noTexture, &cuda, &unknown})
        EXPECT_EQ(gl.convertColor(bad, &d), kKROLoadGLES31FunctionError) << bad->format;
    KROFrame texDst = d;
    texDst.format = kKRORGB888Texture2DFormat;  // a texture name of 0
    texDst.planes[0] = nullptr;
    EXPECT_EQ(gl.convertColor(&s, &texDst), kKROLoadGLES31FunctionError);
    EXPECT_EQ(0, std::memcmp(out.plane(0), before.data(), before.size()));
}

// Without a current context every GL call is a no-op: no texture name can
// be made and the conversion fails cleanly.
TEST_F(GLRender, WithoutACurrentContextTheConversionFails) {
    ASSERT_TRUE(eglMakeCurrent(gl_->display(), EGL_NO_SURFACE, EGL_NO_SURFACE, EGL_NO_CONTEXT));
    {
        GLRenderContext gl(nullptr, nullptr);
        FrameBuffers in(kKRORGBA8888Format, 4, 4), out(kKRORGBA8888Format, 4, 4);
        in.fillRandom(1);
        EXPECT_EQ(run(gl, in, out, {1, 1}, {9, 14}), kKROLoadGLES31FunctionError);
    }
    ASSERT_TRUE(gl_->makeCurrent());
}

// The public object reaches this convertor for OpenGL ES on both sides.
TEST_F(GLRender, CurvesAndPrimariesThroughThePublicObject) {
    test::GlesBackend gles;
    test::checkCurvesAndPrimaries(gles, kKRORGBA8888Texture2DFormat, {kKRORGBA8888Texture2DFormat});
}

}  // namespace
