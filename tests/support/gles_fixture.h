// Every GL test runs with the process's headless ES 3 context current and
// ends with no GL error pending. The OpenGL ES row of the GPU test hook:
// RGBA8888 textures filled and read with KROOpenGL on that context.
#pragma once

#include <GLES3/gl3.h>
#include <gtest/gtest.h>

#include <cstring>
#include <vector>

#include "support/gpu_backend.h"
#include "support/headless_gles.h"

namespace KROCOLOR {
namespace test {

class GLESTest : public ::testing::Test {
protected:
    void SetUp() override {
        std::string why;
        gl_ = HeadlessGLES::get(&why);
        ASSERT_NE(gl_, nullptr) << why;
        ASSERT_TRUE(gl_->makeCurrent());
        while (glGetError() != GL_NO_ERROR) {
        }
    }
    void TearDown() override {
        if (gl_ && gl_->makeCurrent()) {
            EXPECT_EQ(glGetError(), static_cast<GLenum>(GL_NO_ERROR));
        }
    }
    HeadlessGLES* gl_ = nullptr;
};

class GlesBackend : public GpuBackend {
public:
    const char* name() const override { return "gles"; }
    std::string unavailable() const override { return HeadlessGLES::get(nullptr) ? "" : "no headless OpenGL ES 3 context"; }
    KROHWContext context() const override {
        KROHWContext c;
        c.srcType = c.dstType = kKROHWTypeGLES;
        return c;
    }
    GpuProgram program() const override { return GpuProgram::Gles; }
    std::vector<int32_t> deviceFormats() const override { return {kKRORGBA8888Texture2DFormat}; }
    bool isDeviceFormat(int32_t format) const override { return format >= 201 && format <= 203; }
    bool stagesHostTwins() const override { return true; }
    bool takesHostDestination(int32_t format) const override { return format != kKRORGB888Format; }
    int32_t hostTwin(int32_t) const override { return kKRORGBA8888Format; }
    std::unique_ptr<DeviceFrame> upload(int32_t, const FrameBuffers& pixels) override {
        auto frame = std::make_unique<Texture>(KROOpenGL::createTexture2D(pixels.width(), pixels.height(), GL_RGBA));
        if (!KROOpenGL::writeRGBADataToTexture2D(const_cast<uint8_t*>(pixels.plane(0)), pixels.stride(0),
                                                 pixels.width(), pixels.height(), frame->name()))
            return nullptr;
        return frame;
    }
    bool download(const DeviceFrame& frame, FrameBuffers& pixels) override {
        const size_t row = size_t(pixels.width()) * 4;
        std::vector<uint8_t> packed(row * size_t(pixels.height()));
        if (!KROOpenGL::readRGBADataFromTexture2D(static_cast<const Texture&>(frame).name(), pixels.width(),
                                                  pixels.height(), packed.data()))
            return false;
        for (int y = 0; y < pixels.height(); ++y)
            std::memcpy(pixels.plane(0) + size_t(y) * size_t(pixels.stride(0)), &packed[row * size_t(y)], row);
        return true;
    }

private:
    struct Texture : DeviceFrame {
        explicit Texture(int name) { planes_[0] = reinterpret_cast<uint8_t*>(static_cast<uintptr_t>(name)); }
        ~Texture() override {
            const GLuint texture = GLuint(name());
            glDeleteTextures(1, &texture);
        }
        int name() const { return int(reinterpret_cast<uintptr_t>(planes_[0])); }
        const uint8_t* const* planes() const override { return planes_; }
        const int* strides() const override { return strides_; }
        uint8_t* planes_[4] = {nullptr, nullptr, nullptr, nullptr};
        int strides_[4] = {0, 0, 0, 0};
    };
};

}  // namespace test
}  // namespace KROCOLOR
