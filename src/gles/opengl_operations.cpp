// KROOpenGL: programs, textures and pixel transfers on the host's current
// OpenGL ES context. Every operation leaves the bindings it documents and
// prints GL errors without failing on them: a host can inspect its own
// error state, and the convertor must not abandon a frame half drawn.
#include <GLES3/gl3.h>

#include <cstdio>
#include <memory>
#include <new>

#include "KROColorFunctions.h"

namespace KROCOLOR {

namespace {

// Prints "KROOpenGL <operation> failed <log>" with the shader's or program's
// information log. A log of length 0, a name the driver does not know or a
// buffer that cannot be had prints an empty string.
void printWithLog(const char* operation, GLuint object, bool isProgram) {
    GLint length = 0;
    if (isProgram)
        glGetProgramiv(object, GL_INFO_LOG_LENGTH, &length);
    else
        glGetShaderiv(object, GL_INFO_LOG_LENGTH, &length);
    std::unique_ptr<char[]> log(length > 0 ? new (std::nothrow) char[static_cast<size_t>(length) + 1] : nullptr);
    if (log) {
        log[0] = '\0';
        log[length] = '\0';
        if (isProgram)
            glGetProgramInfoLog(object, length, nullptr, log.get());
        else
            glGetShaderInfoLog(object, length, nullptr, log.get());
    }
    std::printf("KROOpenGL %s failed %s", operation, log ? log.get() : "");
}

// Compiles one shader stage; 0 (and nothing left behind) on failure. The
// status starts false so that a call with no current context, where GL
// writes nothing back, also counts as a failure.
GLuint compileShader(GLenum stage, const char* source) {
    const GLuint shader = glCreateShader(stage);
    glShaderSource(shader, 1, &source, nullptr);
    glCompileShader(shader);
    GLint status = GL_FALSE;
    glGetShaderiv(shader, GL_COMPILE_STATUS, &status);
    if (status != GL_TRUE) {
        printWithLog("createRenderProgram", shader, false);
        glDeleteShader(shader);
        return 0;
    }
    return shader;
}

bool readTexture(int texture, int width, int height, void* destination, GLenum type) {
    if (texture == 0 || !destination) return false;
    GLint saved = 0;
    glGetIntegerv(GL_FRAMEBUFFER_BINDING, &saved);
    GLuint framebuffer = 0;
    glGenFramebuffers(1, &framebuffer);
    glBindFramebuffer(GL_FRAMEBUFFER, framebuffer);
    glFramebufferTexture2D(GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, GL_TEXTURE_2D, static_cast<GLuint>(texture), 0);
    glPixelStorei(GL_PACK_ALIGNMENT, 1);
    glReadPixels(0, 0, width, height, GL_RGBA, type, destination);
    glPixelStorei(GL_PACK_ALIGNMENT, 4);
    glBindFramebuffer(GL_FRAMEBUFFER, static_cast<GLuint>(saved));
    glDeleteFramebuffers(1, &framebuffer);
    return true;
}

bool writeTexture(const void* source, int stride, int pixelBytes, int width, int height, int texture,
                  GLenum format, GLenum type) {
    if (texture == 0 || !source) return false;
    glBindTexture(GL_TEXTURE_2D, static_cast<GLuint>(texture));
    glPixelStorei(GL_UNPACK_ALIGNMENT, 1);
    glPixelStorei(GL_UNPACK_ROW_LENGTH, stride / pixelBytes);
    glTexSubImage2D(GL_TEXTURE_2D, 0, 0, 0, width, height, format, type, source);
    glPixelStorei(GL_UNPACK_ALIGNMENT, 4);
    glPixelStorei(GL_UNPACK_ROW_LENGTH, 0);
    const GLenum error = glGetError();
    if (error != GL_NO_ERROR) std::printf("writeRGBADataToTexture2D, glGetError %0x", error);
    return true;
}

}  // namespace

bool KROOpenGL::createComputeProgram(int shader, int* program) {
    if (shader == 0) return false;
    const GLuint linked = glCreateProgram();
    glAttachShader(linked, static_cast<GLuint>(shader));
    glLinkProgram(linked);
    GLint status = GL_FALSE;
    glGetProgramiv(linked, GL_LINK_STATUS, &status);
    if (status != GL_TRUE) {
        printWithLog("createComputeProgram", linked, true);
        glDeleteProgram(linked);
        return false;
    }
    if (program) *program = static_cast<int>(linked);
    return true;
}

bool KROOpenGL::createRenderProgram(const char* vertexSource, const char* fragmentSource, int* program) {
    if (!vertexSource || !fragmentSource) return false;
    const GLuint vertex = compileShader(GL_VERTEX_SHADER, vertexSource);
    if (vertex == 0) return false;
    const GLuint fragment = compileShader(GL_FRAGMENT_SHADER, fragmentSource);
    if (fragment == 0) {
        glDeleteShader(vertex);
        return false;
    }
    GLuint linked = glCreateProgram();
    glAttachShader(linked, vertex);
    glAttachShader(linked, fragment);
    glLinkProgram(linked);
    GLint status = GL_FALSE;
    glGetProgramiv(linked, GL_LINK_STATUS, &status);
    if (status != GL_TRUE) {
        printWithLog("createRenderProgram", linked, true);
        glDeleteProgram(linked);
        linked = 0;
    }
    // Attached shaders are only flagged here; the program (or its deletion)
    // releases them.
    glDeleteShader(vertex);
    glDeleteShader(fragment);
    if (linked == 0) return false;
    if (program) *program = static_cast<int>(linked);
    return true;
}

int KROOpenGL::createTexture2D(int width, int height, int internalFormat) {
    GLuint texture = 0;
    glGenTextures(1, &texture);
    if (texture == 0) return 0;
    glBindTexture(GL_TEXTURE_2D, texture);
    glTexParameterf(GL_TEXTURE_2D, GL_TEXTURE_WRAP_S, GL_CLAMP_TO_EDGE);
    glTexParameterf(GL_TEXTURE_2D, GL_TEXTURE_WRAP_T, GL_CLAMP_TO_EDGE);
    glTexParameterf(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_LINEAR);
    glTexParameterf(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, GL_LINEAR);
    switch (internalFormat) {
    case GL_RGBA:
        glTexImage2D(GL_TEXTURE_2D, 0, GL_RGBA, width, height, 0, GL_RGBA, GL_UNSIGNED_BYTE, nullptr);
        break;
    case GL_RGBA16F:
        glTexImage2D(GL_TEXTURE_2D, 0, GL_RGBA16F, width, height, 0, GL_RGBA, GL_FLOAT, nullptr);
        break;
    case GL_RGB:
        glTexImage2D(GL_TEXTURE_2D, 0, GL_RGB, width, height, 0, GL_RGB, GL_UNSIGNED_BYTE, nullptr);
        break;
    default:
        break;  // a name without storage
    }
    const GLenum error = glGetError();
    if (error != GL_NO_ERROR) std::printf("createTexture2D, glGetError %0x \n", error);
    return static_cast<int>(texture);
}

bool KROOpenGL::readRGBADataFromTexture2D(int texture, int width, int height, void* destination) {
    return readTexture(texture, width, height, destination, GL_UNSIGNED_BYTE);
}

bool KROOpenGL::readRGBA16DataFromTexture2D(int texture, int width, int height, void* destination) {
    return readTexture(texture, width, height, destination, GL_FLOAT);
}

bool KROOpenGL::writeRGBADataToTexture2D(void* source, int stride, int width, int height, int texture) {
    return writeTexture(source, stride, 4, width, height, texture, GL_RGBA, GL_UNSIGNED_BYTE);
}

bool KROOpenGL::writeRGBA16DataToTexture2D(void* source, int stride, int width, int height, int texture) {
    return writeTexture(source, stride, 16, width, height, texture, GL_RGBA, GL_FLOAT);
}

bool KROOpenGL::writeRGBDataToTexture2D(void* source, int stride, int width, int height, int texture) {
    return writeTexture(source, stride, 3, width, height, texture, GL_RGB, GL_UNSIGNED_BYTE);
}

}  // namespace KROCOLOR
