#include "gles/gl_render_context.h"

#include <GLES3/gl3.h>

#include <cstdint>
#include <cstdio>
#include <cstring>
#include <new>

#include "core/pixel_format_table.h"
#include "gles/gl_programs.h"

namespace KROCOLOR {

int GLRenderContext::logLevel = 4;

namespace {

constexpr int kErrorLevel = 5;  // "E"

// (x, y, u, v) per vertex, drawn as a triangle strip. v = 1 at the top of
// the viewport, so row 0 of the source lands in row 0 of the destination.
constexpr GLfloat kQuadVertices[16] = {
    -1.0f, 1.0f, 0.0f, 1.0f,  //
    -1.0f, -1.0f, 0.0f, 0.0f, //
    1.0f, 1.0f, 1.0f, 1.0f,   //
    1.0f, -1.0f, 1.0f, 0.0f,  //
};

// A check numbered as in the draw's listing, so that a report points at the
// step that raised it.
void checkGLError(int line) {
    const GLenum error = glGetError();
    if (error != GL_NO_ERROR && GLRenderContext::logLevel <= kErrorLevel)
        std::printf("%s/KROColorFunctions: [%s(%d)]:> GLRenderContext color transfer, glGetError %0x\n", "E",
                    "KROCOLOR::GLRenderContext::runKernelFunction", line, error);
}

GLuint textureOf(const KROFrame& frame) {
    return static_cast<GLuint>(reinterpret_cast<uintptr_t>(frame.planes[0]));
}

// The texture frame a host format is staged through.
int32_t textureFormatFor(int32_t hostFormat) {
    switch (hostFormat) {
    case kKRORGB888Format: return kKRORGB888Texture2DFormat;
    case kKRORGBA16LEFormat: return kKRORGBAFloat16Texture2DFormat;
    default: return kKRORGBA8888Texture2DFormat;
    }
}

int internalFormatFor(int32_t textureFormat) {
    switch (textureFormat) {
    case kKRORGBA8888Texture2DFormat: return GL_RGBA;
    case kKRORGBAFloat16Texture2DFormat: return GL_RGBA16F;
    default: return GL_RGB;
    }
}

void copyDescription(const KROFrame& from, KROFrame& to) {
    to.primaries = from.primaries;
    to.transfer = from.transfer;
    to.matrix = from.matrix;
    to.range = from.range;
}

// Keeps `buffer` at exactly `bytes` (reallocated when the size changes);
// false when the size cannot be had.
template <typename T>
bool ensureScratch(std::unique_ptr<T[]>& buffer, size_t& size, size_t bytes) {
    if (buffer && size == bytes) return true;
    buffer.reset(new (std::nothrow) T[bytes / sizeof(T)]);
    size = buffer ? bytes : 0;
    return buffer != nullptr;
}

// width x height x pixelBytes, or 0 when it does not fit memory.
size_t frameBytes(int width, int height, size_t pixelBytes) {
    if (width <= 0 || height <= 0) return 0;
    const size_t w = static_cast<size_t>(width), h = static_cast<size_t>(height);
    if (w > SIZE_MAX / pixelBytes / h) return 0;
    return w * h * pixelBytes;
}

}  // namespace

GLRenderContext::~GLRenderContext() {
    if (program_) glDeleteProgram(program_);
    if (framebuffer_) glDeleteFramebuffers(1, &framebuffer_);
    if (vertexBuffer_) glDeleteBuffers(1, &vertexBuffer_);
    for (KROFrame* owned : {&ownedInput_, &ownedOutput_}) {
        const GLuint texture = textureOf(*owned);
        if (texture) glDeleteTextures(1, &texture);
    }
}

bool GLRenderContext::makeTextureFrame(KROFrame& frame, int32_t format, int width, int height) {
    const GLuint old = textureOf(frame);
    if (old) glDeleteTextures(1, &old);
    frame = KROFrame{};
    const int texture = KROOpenGL::createTexture2D(width, height, internalFormatFor(format));
    if (texture == 0) return false;
    frame.width = width;
    frame.height = height;
    frame.format = format;
    frame.name = nextFrameName();
    frame.planes[0] = reinterpret_cast<uint8_t*>(static_cast<uintptr_t>(texture));
    return true;
}

bool GLRenderContext::prepareFrame(const KROFrame* frame, Side side) {
    const KROFrame*& slot = side == Side::Source ? inputFrame_ : outputFrame_;
    slot = nullptr;
    if (!frame) return false;
    if (isGLFormat(frame->format)) {
        if (textureOf(*frame) == 0) return false;
        slot = frame;
        return true;
    }
    if (!isHostFormat(frame->format) || frame->width <= 0 || frame->height <= 0 || !hostPlanesPresent(*frame))
        return false;
    KROFrame& owned = side == Side::Source ? ownedInput_ : ownedOutput_;
    const int32_t format = textureFormatFor(frame->format);
    if (textureOf(owned) == 0 || owned.format != format || owned.width != frame->width ||
        owned.height != frame->height) {
        if (!makeTextureFrame(owned, format, frame->width, frame->height)) return false;
    }
    copyDescription(*frame, owned);
    slot = &owned;
    return side == Side::Destination || uploadSource(*frame, owned);
}

bool GLRenderContext::uploadSource(const KROFrame& frame, const KROFrame& texture) {
    const int name = static_cast<int>(textureOf(texture));
    const int w = frame.width, h = frame.height;
    switch (frame.format) {
    case kKRORGB888Format:
        return KROOpenGL::writeRGBDataToTexture2D(frame.planes[0], frame.strides[0], w, h, name);
    case kKRORGBA8888Format:
        return KROOpenGL::writeRGBADataToTexture2D(frame.planes[0], frame.strides[0], w, h, name);
    case kKRORGBA16LEFormat: {
        // Half-float textures take floats; samples are normalised here.
        const size_t bytes = frameBytes(w, h, 16);
        if (bytes == 0 || !ensureScratch(uploadScratch_, uploadScratchBytes_, bytes)) return false;
        for (int r = 0; r < h; ++r) {
            const uint8_t* row = frame.planes[0] + static_cast<ptrdiff_t>(r) * frame.strides[0];
            float* out = uploadScratch_.get() + static_cast<size_t>(r) * w * 4;
            for (int i = 0; i < w * 4; ++i) {
                uint16_t sample;
                std::memcpy(&sample, row + 2 * i, 2);
                out[i] = static_cast<float>(sample) / 65535.0f;
            }
        }
        return KROOpenGL::writeRGBA16DataToTexture2D(uploadScratch_.get(), w * 16, w, h, name);
    }
    default: {
        // Every other layout becomes RGBA8888 on the CPU first.
        const bool kept = uploadFrame_.allocated() && uploadFrame_.frame().width == w &&
                          uploadFrame_.frame().height == h;
        if (!uploadFrame_.ensure(kKRORGBA8888Format, w, h)) return false;
        if (!kept) uploadConvertor_.reset();
        KROFrame& staged = uploadFrame_.frame();
        copyDescription(frame, staged);
        if (!uploadConvertor_) {
            uploadConvertor_.reset(new (std::nothrow) CPUContext());
            if (!uploadConvertor_) return false;
            uploadConvertor_->setUseSwscale(true);
        }
        if (uploadConvertor_->convertColor(&frame, &staged) != kKROSuccess) return false;
        return KROOpenGL::writeRGBADataToTexture2D(staged.planes[0], staged.strides[0], w, h, name);
    }
    }
}

bool GLRenderContext::ensureProgram() {
    if (program_) return true;
    int made = 0;
    if (!KROOpenGL::createRenderProgram(kColorTransferVertexProgram, kColorTransferFragmentProgram, &made)) {
        std::printf("GLRenderContext loadFunction error.");
        return false;
    }
    program_ = static_cast<unsigned>(made);
    return program_ != 0;
}

void GLRenderContext::runKernelFunction(const KROFrame& in, const KROFrame& out) {
    checkGLError(694);  // errors the host left behind
    glUseProgram(program_);
    if (vertexBuffer_ == 0) {
        glGenBuffers(1, &vertexBuffer_);
        glBindBuffer(GL_ARRAY_BUFFER, vertexBuffer_);
        glBufferData(GL_ARRAY_BUFFER, sizeof kQuadVertices, kQuadVertices, GL_STATIC_DRAW);
        checkGLError(715);
    } else {
        glBindBuffer(GL_ARRAY_BUFFER, vertexBuffer_);
        checkGLError(718);
    }
    const GLint position = glGetAttribLocation(program_, "aPosition");
    const GLint texCoord = glGetAttribLocation(program_, "aTexCoord");
    glEnableVertexAttribArray(static_cast<GLuint>(position));
    glEnableVertexAttribArray(static_cast<GLuint>(texCoord));
    glVertexAttribPointer(static_cast<GLuint>(position), 2, GL_FLOAT, GL_FALSE, 16, nullptr);
    glVertexAttribPointer(static_cast<GLuint>(texCoord), 2, GL_FLOAT, GL_FALSE, 16,
                          reinterpret_cast<const void*>(static_cast<uintptr_t>(8)));
    checkGLError(726);

    glActiveTexture(GL_TEXTURE0);
    glBindTexture(GL_TEXTURE_2D, textureOf(in));
    glUniform1i(glGetUniformLocation(program_, "uTexture0"), 0);
    checkGLError(732);

    int32_t peak = 10000;
    updateSourcePeak(metaData_, peak);
    const struct {
        const char* name;
        int32_t value;
    } uniforms[] = {
        {"src_format", in.format},           {"src_color_range", in.range},
        {"src_color_primaries", in.primaries}, {"src_color_transfer", in.transfer},
        {"src_color_matrix", in.matrix},     {"dst_format", out.format},
        {"dst_color_range", out.range},      {"dst_color_primaries", out.primaries},
        {"dst_color_transfer", out.transfer}, {"dst_color_matrix", out.matrix},
        {"src_lw", peak},
    };
    for (const auto& u : uniforms) glUniform1i(glGetUniformLocation(program_, u.name), u.value);
    checkGLError(760);

    GLint savedFramebuffer = 0;
    GLint savedViewport[4] = {0, 0, 0, 0};
    glGetIntegerv(GL_FRAMEBUFFER_BINDING, &savedFramebuffer);
    glGetIntegerv(GL_VIEWPORT, savedViewport);
    if (framebuffer_ == 0) glGenFramebuffers(1, &framebuffer_);
    glBindFramebuffer(GL_FRAMEBUFFER, framebuffer_);
    glFramebufferTexture2D(GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, GL_TEXTURE_2D, textureOf(out), 0);
    checkGLError(776);

    glViewport(0, 0, out.width, out.height);
    glDrawArrays(GL_TRIANGLE_STRIP, 0, 4);

    glBindBuffer(GL_ARRAY_BUFFER, 0);
    glDisableVertexAttribArray(static_cast<GLuint>(position));
    glDisableVertexAttribArray(static_cast<GLuint>(texCoord));
    glBindFramebuffer(GL_FRAMEBUFFER, static_cast<GLuint>(savedFramebuffer));
    glViewport(savedViewport[0], savedViewport[1], savedViewport[2], savedViewport[3]);
    checkGLError(788);
}

bool GLRenderContext::readBackFrame(const KROFrame& gpu, KROFrame& dst) {
    const int texture = static_cast<int>(textureOf(gpu));
    const int w = gpu.width, h = gpu.height;
    if (gpu.format == kKRORGBA8888Texture2DFormat && dst.format == kKRORGBA8888Format) {
        if (dst.strides[0] == w * 4) return KROOpenGL::readRGBADataFromTexture2D(texture, w, h, dst.planes[0]);
        // Rows land packed in scratch first, so the padding of the caller's
        // rows is never written.
        const size_t bytes = frameBytes(w, h, 4);
        if (bytes == 0 || !ensureScratch(downloadScratch_, downloadScratchBytes_, bytes)) return false;
        if (!KROOpenGL::readRGBADataFromTexture2D(texture, w, h, downloadScratch_.get())) return false;
        for (int r = 0; r < h; ++r)
            std::memcpy(dst.planes[0] + static_cast<ptrdiff_t>(r) * dst.strides[0],
                        downloadScratch_.get() + static_cast<size_t>(r) * w * 4, static_cast<size_t>(w) * 4);
        return true;
    }
    if (gpu.format == kKRORGBA8888Texture2DFormat && isHostFormat(dst.format)) {
        const bool kept = downloadFrame_.allocated() && downloadFrame_.frame().width == dst.width &&
                          downloadFrame_.frame().height == dst.height;
        if (!downloadFrame_.ensure(kKRORGBA8888Format, dst.width, dst.height)) return false;
        if (!kept) downloadConvertor_.reset();
        KROFrame& staged = downloadFrame_.frame();
        copyDescription(dst, staged);
        if (!downloadConvertor_) {
            downloadConvertor_.reset(new (std::nothrow) CPUContext());
            if (!downloadConvertor_) return false;
            downloadConvertor_->setUseSwscale(true);
        }
        if (!KROOpenGL::readRGBADataFromTexture2D(texture, w, h, staged.planes[0])) return false;
        return downloadConvertor_->convertColor(&staged, &dst) == kKROSuccess;
    }
    if (gpu.format == kKRORGBAFloat16Texture2DFormat && dst.format == kKRORGBA16LEFormat) {
        const size_t bytes = frameBytes(w, h, 16);
        if (bytes == 0 || !ensureScratch(downloadScratch_, downloadScratchBytes_, bytes)) return false;
        if (!KROOpenGL::readRGBA16DataFromTexture2D(texture, w, h, downloadScratch_.get())) return false;
        for (int r = 0; r < h; ++r) {
            uint8_t* row = dst.planes[0] + static_cast<ptrdiff_t>(r) * dst.strides[0];
            const uint8_t* in = downloadScratch_.get() + static_cast<size_t>(r) * w * 16;
            for (int i = 0; i < w * 4; ++i) {
                float value;
                std::memcpy(&value, in + 4 * i, 4);
                // Truncation toward zero; values outside [0, 1] (possible
                // in half floats) are held to the sample range.
                const float scaled = value * 65535.0f;
                const uint16_t sample =
                    scaled >= 65535.0f ? 65535 : scaled > 0.0f ? static_cast<uint16_t>(scaled) : 0;
                std::memcpy(row + 2 * i, &sample, 2);
            }
        }
        return true;
    }
    return false;
}

KROReturn GLRenderContext::convertColor(const KROFrame* src, KROFrame* dst) {
    KROReturn result = kKROSuccess;
    try {
        const bool sourceReady = prepareFrame(src, Side::Source);
        const bool destinationReady = prepareFrame(dst, Side::Destination);
        if (!sourceReady || !destinationReady || !ensureProgram()) {
            result = kKROLoadGLES31FunctionError;
        } else {
            runKernelFunction(*inputFrame_, *outputFrame_);
            // A failed read-back is not reported (the draw itself succeeded).
            if (outputFrame_ != dst) readBackFrame(*outputFrame_, *dst);
        }
    } catch (...) {
        result = kKROLoadGLES31FunctionError;  // memory for a staging frame ran out
    }
    inputFrame_ = nullptr;
    outputFrame_ = nullptr;
    return result;
}

std::unique_ptr<IConvertor> createGLConvertor(void* handle, void* queue, KROReturn& error) {
    std::unique_ptr<IConvertor> convertor(new (std::nothrow) GLRenderContext(handle, queue));
    error = convertor ? kKROSuccess : kKROUnknownError;
    return convertor;
}

}  // namespace KROCOLOR
