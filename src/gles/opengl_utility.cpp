#include "gles/opengl_utility.h"

#include <cstdio>

namespace KROCOLOR {

namespace {

// RGBA8888 pbuffers for an ES 2 compatible context; drivers hand out ES 3
// contexts for these configs where they can.
constexpr EGLint kConfigAttributes[] = {
    EGL_BUFFER_SIZE, 32, EGL_RED_SIZE, 8, EGL_GREEN_SIZE, 8, EGL_BLUE_SIZE, 8, EGL_ALPHA_SIZE, 8,
    EGL_RENDERABLE_TYPE, EGL_OPENGL_ES2_BIT, EGL_SURFACE_TYPE, EGL_PBUFFER_BIT, EGL_NONE};
constexpr EGLint kPbufferAttributes[] = {EGL_WIDTH, 1, EGL_HEIGHT, 1, EGL_NONE};
constexpr EGLint kContextAttributes[] = {EGL_CONTEXT_CLIENT_VERSION, 2, EGL_NONE};

void reportSurfaceError(EGLint error) {
    switch (error) {
    case EGL_BAD_ALLOC: std::printf("OpenGLUtility createGLContext Not enough resources available\n"); break;
    case EGL_BAD_CONFIG: std::printf("OpenGLUtility createGLContext provided EGLConfig is invalid\n"); break;
    case EGL_BAD_MATCH: std::printf("OpenGLUtility createGLContext Check window and EGLConfig attributes\n"); break;
    case EGL_BAD_PARAMETER:
        std::printf("OpenGLUtility createGLContext provided EGL_WIDTH and EGL_HEIGHT is invalid\n");
        break;
    default: break;
    }
}

}  // namespace

bool OpenGLUtility::createGLContext(EGLContext* context, EGLDisplay display, EGLSurface* draw, EGLSurface* read,
                                    EGLContext share) {
    if (!context || !draw || !read) return false;
    *context = EGL_NO_CONTEXT;
    *draw = EGL_NO_SURFACE;
    *read = EGL_NO_SURFACE;
    if (display == EGL_NO_DISPLAY) {
        std::printf("OpenGLUtility createGLContext Unable to open connection to local windowing system\n");
        return false;
    }
    if (!eglInitialize(display, nullptr, nullptr)) {
        std::printf("OpenGLUtility createGLContext Unable to initialize EGL\n");
        return false;
    }
    // A successful choice with no matching config leaves `config` null; the
    // surface and context calls then fail with EGL_BAD_CONFIG and say so.
    EGLConfig config = nullptr;
    EGLint count = 0;
    if (!eglChooseConfig(display, kConfigAttributes, &config, 1, &count)) {
        std::printf("OpenGLUtility createGLContext some config is wrong");
        return false;
    }
    // The error of the first surface that fails is the one reported; a
    // later successful call would otherwise clear it.
    EGLSurface drawSurface = eglCreatePbufferSurface(display, config, kPbufferAttributes);
    EGLint surfaceError = drawSurface == EGL_NO_SURFACE ? eglGetError() : EGL_SUCCESS;
    EGLSurface readSurface = eglCreatePbufferSurface(display, config, kPbufferAttributes);
    if (readSurface == EGL_NO_SURFACE && surfaceError == EGL_SUCCESS) surfaceError = eglGetError();
    if (drawSurface == EGL_NO_SURFACE || readSurface == EGL_NO_SURFACE) reportSurfaceError(surfaceError);

    EGLContext made = eglCreateContext(display, config, share ? share : EGL_NO_CONTEXT, kContextAttributes);
    if (made == EGL_NO_CONTEXT) {
        std::printf("OpenGLUtility createGLContext EGL_NO_CONTEXT");
        if (eglGetError() == EGL_BAD_CONFIG) std::printf("OpenGLUtility createGLContext EGL_BAD_CONFIG\n");
    }
    if (made != EGL_NO_CONTEXT && drawSurface != EGL_NO_SURFACE && readSurface != EGL_NO_SURFACE) {
        *context = made;
        *draw = drawSurface;
        *read = readSurface;
        return true;
    }
    if (drawSurface != EGL_NO_SURFACE) eglDestroySurface(display, drawSurface);
    if (readSurface != EGL_NO_SURFACE) eglDestroySurface(display, readSurface);
    if (made != EGL_NO_CONTEXT) eglDestroyContext(display, made);
    return false;
}

bool OpenGLUtility::destroyGLContext(EGLContext* context, EGLDisplay* display, EGLSurface* draw, EGLSurface* read) {
    if (!context || !display || !draw || !read || !*context || !*display || !*draw || !*read) return false;
    eglDestroySurface(*display, *draw);
    eglDestroySurface(*display, *read);
    eglDestroyContext(*display, *context);
    *context = EGL_NO_CONTEXT;
    *display = EGL_NO_DISPLAY;
    *draw = EGL_NO_SURFACE;
    *read = EGL_NO_SURFACE;
    return true;
}

bool OpenGLUtility::makeCurrentContext(EGLContext context, EGLDisplay display, EGLSurface draw, EGLSurface read) {
    if (context && display && draw && read) {
        if (eglMakeCurrent(display, draw, read, context)) return true;
        eglGetError();  // fetched so that it does not linger for the host
        return false;
    }
    if (display && !context && !draw && !read) {
        if (eglMakeCurrent(display, EGL_NO_SURFACE, EGL_NO_SURFACE, EGL_NO_CONTEXT)) return true;
        std::printf("OpenGLUtility makeCurrentContext failed %d\n", eglGetError());
        return false;
    }
    std::printf("OpenGLUtility makeCurrentContext failed, context %p display %p draw %p read %p\n", context, display,
                draw, read);
    return false;
}

EGLContext OpenGLUtility::getCurrentContext() { return eglGetCurrentContext(); }
EGLDisplay OpenGLUtility::getCurrentDisplay() { return eglGetCurrentDisplay(); }
EGLSurface OpenGLUtility::getCurrentDrawSurface() { return eglGetCurrentSurface(EGL_DRAW); }
EGLSurface OpenGLUtility::getCurrentReadSurface() { return eglGetCurrentSurface(EGL_READ); }

}  // namespace KROCOLOR
