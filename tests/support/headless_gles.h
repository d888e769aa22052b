// A headless OpenGL ES 3 context for tests and benchmarks: Mesa's
// surfaceless EGL platform (no window system, llvmpipe where there is no
// GPU), one context per process, made current without a surface.
#pragma once

#include <EGL/egl.h>

#include <string>

namespace KROCOLOR {
namespace test {

class HeadlessGLES {
public:
    // The process's context, made on first use; null with `why` set when no
    // display or ES 3 context can be had.
    static HeadlessGLES* get(std::string* why = nullptr);
    // Makes the context current on the calling thread.
    bool makeCurrent() const;

    EGLDisplay display() const { return display_; }
    EGLContext context() const { return context_; }

private:
    HeadlessGLES() = default;
    EGLDisplay display_ = EGL_NO_DISPLAY;
    EGLContext context_ = EGL_NO_CONTEXT;
};

}  // namespace test
}  // namespace KROCOLOR
