#include "support/headless_gles.h"

#include <EGL/eglext.h>

#include <cstdlib>

namespace KROCOLOR {
namespace test {

namespace {

// Made once and kept for the life of the process: drivers keep state per
// display, and tearing it down between tests buys nothing.
HeadlessGLES* g_context = nullptr;
std::string g_failure;

// Ends the context before the process exits. llvmpipe runs rasterizer
// threads per context; joined here, they are gone before LeakSanitizer
// stops the process's threads to scan them at exit (it runs last, having
// registered first). The display stays initialised: terminating it unloads
// the driver, and blocks the driver keeps would then be reported from an
// unknown module, past any suppression.
void tearDown() {
    if (!g_context) return;
    eglMakeCurrent(g_context->display(), EGL_NO_SURFACE, EGL_NO_SURFACE, EGL_NO_CONTEXT);
    eglDestroyContext(g_context->display(), g_context->context());
    eglReleaseThread();
    delete g_context;
    g_context = nullptr;
}

}  // namespace

HeadlessGLES* HeadlessGLES::get(std::string* why) {
    if (!g_context && g_failure.empty()) {
        // eglGetDisplay would try X11 first; the surfaceless platform needs
        // no window system at all.
        EGLDisplay display = eglGetPlatformDisplay(EGL_PLATFORM_SURFACELESS_MESA, EGL_DEFAULT_DISPLAY, nullptr);
        EGLint major = 0, minor = 0;
        const EGLint configAttributes[] = {EGL_RENDERABLE_TYPE, EGL_OPENGL_ES3_BIT, EGL_SURFACE_TYPE, EGL_PBUFFER_BIT,
                                           EGL_NONE};
        // Version 3 explicitly: some drivers answer a request for 2 with an
        // ES 2 context, which lacks GL_UNPACK_ROW_LENGTH and RGBA16F targets.
        const EGLint contextAttributes[] = {EGL_CONTEXT_MAJOR_VERSION, 3, EGL_NONE};
        EGLConfig config = nullptr;
        EGLint count = 0;
        if (display == EGL_NO_DISPLAY) {
            g_failure = "no EGL display on the surfaceless platform";
        } else if (!eglInitialize(display, &major, &minor)) {
            g_failure = "eglInitialize failed on the surfaceless platform";
        } else if (!eglBindAPI(EGL_OPENGL_ES_API) ||
                   !eglChooseConfig(display, configAttributes, &config, 1, &count) || count < 1) {
            g_failure = "no EGL config renders OpenGL ES 3";
        } else {
            EGLContext context = eglCreateContext(display, config, EGL_NO_CONTEXT, contextAttributes);
            if (context == EGL_NO_CONTEXT) {
                g_failure = "no OpenGL ES 3 context could be created";
            } else {
                g_context = new HeadlessGLES();
                g_context->display_ = display;
                g_context->context_ = context;
                std::atexit(tearDown);
            }
        }
    }
    if (!g_context && why) *why = g_failure;
    return g_context;
}

bool HeadlessGLES::makeCurrent() const {
    return eglMakeCurrent(display_, EGL_NO_SURFACE, EGL_NO_SURFACE, context_) == EGL_TRUE;
}

}  // namespace test
}  // namespace KROCOLOR
