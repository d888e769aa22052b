// GLRenderContext: the convertor for OpenGL ES textures (201-203) and for
// host frames staged through textures. One render pass per frame: a quad
// over the destination viewport samples the source texture bilinearly (so
// sizes may differ) and the fragment program converts transfer and
// primaries. Every GL call goes to the context current on the calling
// thread; the host keeps the same context current while it creates, uses
// and destroys the convertor.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

#include "core/convertor.h"
#include "cpu/cpu_context.h"
#include "cpu/intermediate_frame.h"

namespace KROCOLOR {

class GLRenderContext : public IConvertor {
public:
    GLRenderContext(void* hostHandle, void* hostQueue) : hostHandle_(hostHandle), hostQueue_(hostQueue) {}
    ~GLRenderContext() override;

    KROReturn convertColor(const KROFrame* src, KROFrame* dst) override;

    // Process-wide threshold of the draw's GL-error reports over the levels
    // "All", "V", "D", "I", "W", "E", "F" (0-6): a report of level 5 ("E")
    // prints while this is at most 5. Nothing in the library changes it.
    static int logLevel;

    // Observability for tests: GL objects made so far and the texture frames
    // standing in for host frames.
    unsigned program() const { return program_; }
    unsigned framebuffer() const { return framebuffer_; }
    unsigned vertexBuffer() const { return vertexBuffer_; }
    const KROFrame& ownedInput() const { return ownedInput_; }
    const KROFrame& ownedOutput() const { return ownedOutput_; }

private:
    enum class Side { Source, Destination };

    bool prepareFrame(const KROFrame* frame, Side side);
    bool uploadSource(const KROFrame& frame, const KROFrame& texture);
    bool ensureProgram();
    void runKernelFunction(const KROFrame& in, const KROFrame& out);
    bool readBackFrame(const KROFrame& gpu, KROFrame& dst);
    static bool makeTextureFrame(KROFrame& frame, int32_t format, int width, int height);

    // Kept as the host gave them, not used: GL calls go to the current context.
    [[maybe_unused]] void* hostHandle_;
    [[maybe_unused]] void* hostQueue_;
    unsigned program_ = 0;
    unsigned framebuffer_ = 0;
    unsigned vertexBuffer_ = 0;

    // The frames the draw reads and writes: the caller's texture descriptor
    // or one of the owned texture frames below (null outside a call).
    const KROFrame* inputFrame_ = nullptr;
    const KROFrame* outputFrame_ = nullptr;
    KROFrame ownedInput_;   // texture standing in for a host source
    KROFrame ownedOutput_;  // texture standing in for a host destination

    std::unique_ptr<CPUContext> uploadConvertor_, downloadConvertor_;
    IntermediateFrame uploadFrame_, downloadFrame_;  // RGBA8888 staging frames
    std::unique_ptr<float[]> uploadScratch_;         // RGBA16 samples as floats
    size_t uploadScratchBytes_ = 0;
    std::unique_ptr<uint8_t[]> downloadScratch_;     // read-backs needing a copy
    size_t downloadScratchBytes_ = 0;
};

}  // namespace KROCOLOR
