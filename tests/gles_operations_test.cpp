// KROOpenGL and OpenGLUtility on the headless context: programs, textures,
// strided uploads and reads, and the EGL utility's context handling.
#include <EGL/egl.h>

#include <cmath>
#include <vector>

#include "KROColorFunctions.h"
#include "support/gles_fixture.h"
#include "gles/opengl_utility.h"

using namespace KROCOLOR;
using KROCOLOR::test::GLESTest;

namespace {

constexpr char kVertex[] = "attribute vec4 p; void main() { gl_Position = p; }";
constexpr char kFragment[] = "precision mediump float; void main() { gl_FragColor = vec4(1.0); }";

// Shader and program objects alive among the first names (the test's own
// context has made few).
int liveObjects(GLboolean (*is)(GLuint)) {
    int n = 0;
    for (GLuint name = 1; name < 256; ++name) n += is(name) ? 1 : 0;
    return n;
}

class OpenGLOperations : public GLESTest {};

TEST_F(OpenGLOperations, RenderProgramsLinkOrLeaveNothingBehind) {
    int program = 0;
    ASSERT_TRUE(KROOpenGL::createRenderProgram(kVertex, kFragment, &program));
    EXPECT_TRUE(glIsProgram(static_cast<GLuint>(program)));
    glDeleteProgram(static_cast<GLuint>(program));

    const int shaders = liveObjects(glIsShader), programs = liveObjects(glIsProgram);
    const char* broken = "void main() { gl_FragColor = undefinedName; }";
    // A varying the vertex stage never writes compiles but does not link.
    const char* unlinked = "precision mediump float; varying vec4 v; void main() { gl_FragColor = v; }";
    for (auto [vertex, fragment] : {std::pair{broken, kFragment}, std::pair{kVertex, broken},
                                    std::pair{kVertex, unlinked}}) {
        program = -1;
        testing::internal::CaptureStdout();
        EXPECT_FALSE(KROOpenGL::createRenderProgram(vertex, fragment, &program));
        EXPECT_EQ(testing::internal::GetCapturedStdout().rfind("KROOpenGL createRenderProgram failed ", 0), 0u);
        EXPECT_EQ(program, -1);
        EXPECT_EQ(liveObjects(glIsShader), shaders);
        EXPECT_EQ(liveObjects(glIsProgram), programs);
    }
}

TEST_F(OpenGLOperations, ComputeProgramsNeedAShaderThatLinks) {
    int program = -1;
    EXPECT_FALSE(KROOpenGL::createComputeProgram(0, &program));
    // A vertex shader alone is not a complete program.
    const GLuint vertex = glCreateShader(GL_VERTEX_SHADER);
    const char* source = kVertex;
    glShaderSource(vertex, 1, &source, nullptr);
    glCompileShader(vertex);
    const int programs = liveObjects(glIsProgram);
    testing::internal::CaptureStdout();
    EXPECT_FALSE(KROOpenGL::createComputeProgram(static_cast<int>(vertex), &program));
    EXPECT_EQ(testing::internal::GetCapturedStdout().rfind("KROOpenGL createComputeProgram failed ", 0), 0u);
    EXPECT_EQ(liveObjects(glIsProgram), programs);
    EXPECT_TRUE(glIsShader(vertex));  // the caller's shader is left alone
    glDeleteShader(vertex);
    EXPECT_EQ(program, -1);
}

// Rows `stride` bytes apart reach GL as rows of stride / pixel-size pixels:
// a stride not divisible by the pixel size is rounded down.
TEST_F(OpenGLOperations, StridedUploadsReadBackRowByRow) {
    constexpr int w = 5, h = 3;
    const struct {
        int pixelBytes, stride;
    } cases[] = {{4, w * 4}, {4, w * 4 + 16}, {4, w * 4 + 18}, {3, w * 3 + 2}, {3, w * 3 + 7}};
    for (const auto& c : cases) {
        std::vector<uint8_t> source(static_cast<size_t>(c.stride) * h);
        for (size_t i = 0; i < source.size(); ++i) source[i] = static_cast<uint8_t>(i * 7 + 3);
        const int texture = KROOpenGL::createTexture2D(w, h, c.pixelBytes == 4 ? GL_RGBA : GL_RGB);
        ASSERT_TRUE(c.pixelBytes == 4 ? KROOpenGL::writeRGBADataToTexture2D(source.data(), c.stride, w, h, texture)
                                      : KROOpenGL::writeRGBDataToTexture2D(source.data(), c.stride, w, h, texture));
        std::vector<uint8_t> out(w * h * 4 + 1, 0xEE);
        ASSERT_TRUE(KROOpenGL::readRGBADataFromTexture2D(texture, w, h, out.data()));
        const int rowBytes = c.stride / c.pixelBytes * c.pixelBytes;
        for (int y = 0; y < h; ++y)
            for (int x = 0; x < w; ++x)
                for (int k = 0; k < 4; ++k) {
                    const int expected = k < c.pixelBytes ? source[y * rowBytes + x * c.pixelBytes + k] : 255;
                    ASSERT_EQ(out[(y * w + x) * 4 + k], expected) << c.stride << " " << x << "," << y << "," << k;
                }
        EXPECT_EQ(out.back(), 0xEE);  // reads pack rows without padding
        GLuint name = static_cast<GLuint>(texture);
        glDeleteTextures(1, &name);
    }
}

// Floats in and out of a half-float texture: values a half holds exactly
// come back exactly, others within one half-float step (2^-10 relative;
// drivers may round either way).
TEST_F(OpenGLOperations, Rgba16FloatRoundTripAndReadsRestoreTheFramebuffer) {
    constexpr int w = 3, h = 2;
    const float values[] = {0.0f, 0.25f, 1.0f, 2.5f, -1.5f, 0.125f, 1.0f / 3.0f, 0.7f, 65504.0f, 1e-3f, 0.5f, 0.9f};
    std::vector<float> source(w * 4 * h + 4, 99.0f);  // stride of w + 1 pixels
    for (int y = 0; y < h; ++y)
        for (int i = 0; i < w * 4; ++i) source[y * (w + 1) * 4 + i] = values[(y * w * 4 + i) % 12];
    const int texture = KROOpenGL::createTexture2D(w, h, GL_RGBA16F);
    ASSERT_TRUE(KROOpenGL::writeRGBA16DataToTexture2D(source.data(), (w + 1) * 16, w, h, texture));

    GLuint hostFb = 0;
    glGenFramebuffers(1, &hostFb);
    glBindFramebuffer(GL_FRAMEBUFFER, hostFb);
    std::vector<float> out(w * h * 4);
    ASSERT_TRUE(KROOpenGL::readRGBA16DataFromTexture2D(texture, w, h, out.data()));
    GLint bound = 0;
    glGetIntegerv(GL_FRAMEBUFFER_BINDING, &bound);
    EXPECT_EQ(static_cast<GLuint>(bound), hostFb);
    for (int i = 0; i < w * h * 4; ++i) {
        const float v = values[i % 12];
        EXPECT_NEAR(out[i], v, std::fabs(v) * std::ldexp(1.0f, -10)) << i;
    }
    EXPECT_EQ(out[1], 0.25f);
    EXPECT_EQ(out[4], -1.5f);

    // Refusals: texture 0 or no buffer, nothing touched.
    EXPECT_FALSE(KROOpenGL::readRGBADataFromTexture2D(0, w, h, out.data()));
    EXPECT_FALSE(KROOpenGL::readRGBA16DataFromTexture2D(texture, w, h, nullptr));
    EXPECT_FALSE(KROOpenGL::writeRGBADataToTexture2D(source.data(), w * 4, w, h, 0));
    EXPECT_FALSE(KROOpenGL::writeRGBDataToTexture2D(nullptr, w * 3, w, h, texture));
    glBindFramebuffer(GL_FRAMEBUFFER, 0);
    glDeleteFramebuffers(1, &hostFb);
    GLuint name = static_cast<GLuint>(texture);
    glDeleteTextures(1, &name);
}

TEST_F(OpenGLOperations, UtilityContextsCreateMakeCurrentDestroyAndNoDisplay) {
    EGLDisplay display = gl_->display();
    EGLContext context = nullptr;
    EGLSurface draw = nullptr, read = nullptr;
    ASSERT_TRUE(OpenGLUtility::createGLContext(&context, display, &draw, &read, EGL_NO_CONTEXT));
    ASSERT_TRUE(context && draw && read);
    EXPECT_NE(draw, read);

    ASSERT_TRUE(OpenGLUtility::makeCurrentContext(context, display, draw, read));
    EXPECT_EQ(OpenGLUtility::getCurrentContext(), context);
    EXPECT_EQ(OpenGLUtility::getCurrentDisplay(), display);
    EXPECT_EQ(OpenGLUtility::getCurrentDrawSurface(), draw);
    EXPECT_EQ(OpenGLUtility::getCurrentReadSurface(), read);

    // Only the display: releases the current context.
    EXPECT_TRUE(OpenGLUtility::makeCurrentContext(nullptr, display, nullptr, nullptr));
    EXPECT_EQ(OpenGLUtility::getCurrentContext(), EGL_NO_CONTEXT);

    // Any other mixture fails and says what it was given.
    testing::internal::CaptureStdout();
    EXPECT_FALSE(OpenGLUtility::makeCurrentContext(context, nullptr, draw, read));
    EXPECT_EQ(testing::internal::GetCapturedStdout().rfind("OpenGLUtility makeCurrentContext failed, context ", 0),
              0u);

    // A null handle: nothing destroyed, nothing changed.
    EGLDisplay noDisplay = nullptr;
    EXPECT_FALSE(OpenGLUtility::destroyGLContext(&context, &noDisplay, &draw, &read));
    EXPECT_TRUE(context && draw && read);
    EXPECT_TRUE(OpenGLUtility::destroyGLContext(&context, &display, &draw, &read));
    EXPECT_TRUE(!context && !display && !draw && !read);

    // No display: creation fails and clears the outputs.
    context = reinterpret_cast<EGLContext>(1);
    draw = read = reinterpret_cast<EGLSurface>(1);
    testing::internal::CaptureStdout();
    EXPECT_FALSE(OpenGLUtility::createGLContext(&context, EGL_NO_DISPLAY, &draw, &read, EGL_NO_CONTEXT));
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "OpenGLUtility createGLContext Unable to open connection to local windowing system\n");
    EXPECT_TRUE(!context && !draw && !read);
}

}  // namespace
