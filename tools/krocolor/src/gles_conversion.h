// --backend gles: krocolor's own headless OpenGL ES 3 context (EGL's
// surfaceless platform, so no window system is needed; Mesa's llvmpipe
// renders where there is no GPU), and the colour conversion of one frame
// through textures: the input is laid out as RGBA8888 on the CPU where it
// is not already, uploaded with KROOpenGL, converted and scaled texture to
// texture by the library's render pass, read back with KROOpenGL and laid
// out in the output format on the CPU.
#pragma once

#include <memory>
#include <string>

#include <KROColorFunctions.h>

#include "image.h"

namespace krocolor {

struct PipelineSettings;

// Makes the process's context current on the calling thread (made once).
// Empty on success; otherwise one line saying why there is none.
std::string makeGlesContextCurrent();

class GlesConversion {
public:
    // Throws CliError when no context can be had or the library refuses a
    // description. inWidth x inHeight is the (cropped) input size.
    GlesConversion(const PipelineSettings& settings, int inWidth, int inHeight, int outWidth, int outHeight);
    ~GlesConversion();
    GlesConversion(const GlesConversion&) = delete;
    GlesConversion& operator=(const GlesConversion&) = delete;

    void run(Image& in, Image& out);

private:
    std::unique_ptr<KROCOLOR::KROColorFunctions> toRgba_, onGpu_, fromRgba_;
    Image rgbaIn_, rgbaOut_;
    int srcTexture_ = 0, dstTexture_ = 0;
};

}  // namespace krocolor
