#include "gles_conversion.h"

#include <EGL/egl.h>
#include <EGL/eglext.h>
#include <GLES3/gl3.h>

#include <cstring>

#include "cli_error.h"
#include "frame_pipeline.h"

namespace krocolor {

using namespace KROCOLOR;

namespace {

constexpr int kRgba = 102, kRgbaTexture = 201;

struct GlesContext {
    EGLDisplay display = EGL_NO_DISPLAY;
    EGLContext context = EGL_NO_CONTEXT;
    std::string failure;
};

// Made on first use and kept for the life of the process.
GlesContext& glesContext() {
    static GlesContext gl = [] {
        GlesContext c;
        // The surfaceless platform needs no X11 or Wayland display.
        c.display = eglGetPlatformDisplay(EGL_PLATFORM_SURFACELESS_MESA, EGL_DEFAULT_DISPLAY, nullptr);
        const EGLint config[] = {EGL_RENDERABLE_TYPE, EGL_OPENGL_ES3_BIT, EGL_SURFACE_TYPE, EGL_PBUFFER_BIT, EGL_NONE};
        const EGLint version[] = {EGL_CONTEXT_MAJOR_VERSION, 3, EGL_NONE};
        EGLConfig chosen = nullptr;
        EGLint count = 0;
        if (c.display == EGL_NO_DISPLAY) {
            c.failure = "no EGL display on the surfaceless platform";
        } else if (!eglInitialize(c.display, nullptr, nullptr)) {
            c.failure = "EGL could not be initialised on the surfaceless platform";
        } else if (!eglBindAPI(EGL_OPENGL_ES_API) || !eglChooseConfig(c.display, config, &chosen, 1, &count) ||
                   count < 1) {
            c.failure = "no EGL configuration renders OpenGL ES 3";
        } else {
            c.context = eglCreateContext(c.display, chosen, EGL_NO_CONTEXT, version);
            if (c.context == EGL_NO_CONTEXT) c.failure = "no OpenGL ES 3 context could be created";
        }
        return c;
    }();
    return gl;
}

void describe(KROColorFunctions& f, const ColorDescription& a, const ColorDescription& b, const char* what) {
    const KROReturn rc = f.setColorspaceDetails(
        static_cast<KROColorPrimaries>(a.primaries), static_cast<KROColorTransfer>(a.transfer),
        static_cast<KROColorMatrix>(a.matrix), static_cast<KROColorRange>(a.range),
        static_cast<KROColorPrimaries>(b.primaries), static_cast<KROColorTransfer>(b.transfer),
        static_cast<KROColorMatrix>(b.matrix), static_cast<KROColorRange>(b.range));
    if (rc != kKROSuccess) libraryFailure(what, rc);
}

// A CPU conversion that changes only the layout (same description both sides).
std::unique_ptr<KROColorFunctions> layoutConversion(int w, int h, int from, int to, const ColorDescription& color,
                                                    bool keepSourceColor) {
    std::unique_ptr<KROColorFunctions> f(KROColorFunctions::create(
        w, h, static_cast<KROPixelFormat>(from), w, h, static_cast<KROPixelFormat>(to)));
    if (!f) failure("out of memory creating a layout conversion");
    describe(*f, color, color, "the library refused the colour description");
    f->setKeepSourceColor(keepSourceColor);
    return f;
}

void convert(KROColorFunctions& f, Image& in, Image& out, const char* what) {
    auto a = in.pointers();
    auto b = out.pointers();
    const KROReturn rc = f.transcode(a.src, a.strides, b.dst, b.strides);
    if (rc != kKROSuccess) libraryFailure(what, rc);
}

}  // namespace

std::string makeGlesContextCurrent() {
    GlesContext& gl = glesContext();
    if (!gl.failure.empty()) return gl.failure;
    if (!eglMakeCurrent(gl.display, EGL_NO_SURFACE, EGL_NO_SURFACE, gl.context))
        return "the OpenGL ES context could not be made current";
    return "";
}

GlesConversion::GlesConversion(const PipelineSettings& s, int w, int h, int ow, int oh) {
    const std::string why = makeGlesContextCurrent();
    if (!why.empty()) failure("backend gles: " + why);
    if (s.inFormat->code != kRgba) {
        toRgba_ = layoutConversion(w, h, s.inFormat->code, kRgba, s.inColor, s.keepSourceColor);
        rgbaIn_ = Image(*pixelFormatByCode(kRgba), w, h);
    }
    rgbaOut_ = Image(*pixelFormatByCode(kRgba), ow, oh);
    if (s.outFormat->code != kRgba)
        fromRgba_ = layoutConversion(ow, oh, kRgba, s.outFormat->code, s.outColor, s.keepSourceColor);

    srcTexture_ = KROOpenGL::createTexture2D(w, h, GL_RGBA);
    dstTexture_ = KROOpenGL::createTexture2D(ow, oh, GL_RGBA);
    if (!srcTexture_ || !dstTexture_) failure("backend gles: no texture could be created");

    onGpu_.reset(KROColorFunctions::create(w, h, static_cast<KROPixelFormat>(kRgbaTexture), ow, oh,
                                           static_cast<KROPixelFormat>(kRgbaTexture)));
    if (!onGpu_) failure("out of memory creating the colour conversion");
    describe(*onGpu_, s.inColor, s.outColor, "the library refused the colour description");
    KROHWContext hw;
    hw.srcType = hw.dstType = 2;
    hw.srcHandle = hw.dstHandle = glesContext().context;
    onGpu_->setHWContext(hw);
    onGpu_->setKeepSourceColor(s.keepSourceColor);
    for (const auto& kv : s.metadata) onGpu_->setMetaData(kv.first.c_str(), kv.second.c_str());
}

GlesConversion::~GlesConversion() {
    onGpu_.reset();  // its GL objects go while the context is still current
    const GLuint textures[] = {static_cast<GLuint>(srcTexture_), static_cast<GLuint>(dstTexture_)};
    glDeleteTextures(2, textures);
}

void GlesConversion::run(Image& in, Image& out) {
    Image* rgba = &in;
    if (toRgba_) {
        convert(*toRgba_, in, rgbaIn_, "layout of the input as rgba failed");
        rgba = &rgbaIn_;
    }
    if (!KROOpenGL::writeRGBADataToTexture2D(rgba->data(), rgba->stride(0), rgba->width(), rgba->height(),
                                             srcTexture_))
        failure("backend gles: the upload was refused");
    // Texture frames: plane 0 carries the texture name.
    const uint8_t* srcPlanes[4] = {reinterpret_cast<const uint8_t*>(static_cast<uintptr_t>(srcTexture_))};
    uint8_t* dstPlanes[4] = {reinterpret_cast<uint8_t*>(static_cast<uintptr_t>(dstTexture_))};
    const int strides[4] = {0, 0, 0, 0};
    const KROReturn rc = onGpu_->transcode(srcPlanes, strides, dstPlanes, strides);
    if (rc != kKROSuccess) libraryFailure("conversion on backend gles failed", rc);
    Image& target = fromRgba_ ? rgbaOut_ : out;
    if (!KROOpenGL::readRGBADataFromTexture2D(dstTexture_, target.width(), target.height(), target.data()))
        failure("backend gles: the read-back was refused");
    if (fromRgba_) convert(*fromRgba_, rgbaOut_, out, "layout of the result failed");
}

}  // namespace krocolor
