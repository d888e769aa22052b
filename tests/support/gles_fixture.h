// Every GL test runs with the process's headless ES 3 context current and
// ends with no GL error pending.
#pragma once

#include <GLES3/gl3.h>
#include <gtest/gtest.h>

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

}  // namespace test
}  // namespace KROCOLOR
