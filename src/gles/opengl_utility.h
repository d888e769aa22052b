// OpenGLUtility: an off-screen OpenGL ES context on EGL for hosts and tools
// that have none of their own (two 1 x 1 pbuffer surfaces, one to draw and
// one to read). The convertor never uses it: it works on whatever context
// the host made current.
#pragma once

#include <EGL/egl.h>

namespace KROCOLOR {

class OpenGLUtility {
public:
    // Initialises `display` and makes a context (sharing objects with
    // `share`, or EGL_NO_CONTEXT) with its two surfaces. Does not make it
    // current and never terminates the display. On failure every output is
    // null and nothing made is left behind.
    static bool createGLContext(EGLContext* context, EGLDisplay display, EGLSurface* draw, EGLSurface* read,
                                EGLContext share);
    // Destroys both surfaces and the context and nulls all four handles,
    // the display included; false (nothing changed) when any is null.
    static bool destroyGLContext(EGLContext* context, EGLDisplay* display, EGLSurface* draw, EGLSurface* read);
    // All four non-null: makes the context current. Only the display:
    // releases the current context. Anything else fails with a message.
    static bool makeCurrentContext(EGLContext context, EGLDisplay display, EGLSurface draw, EGLSurface read);

    static EGLContext getCurrentContext();
    static EGLDisplay getCurrentDisplay();
    static EGLSurface getCurrentDrawSurface();
    static EGLSurface getCurrentReadSurface();
};

}  // namespace KROCOLOR
