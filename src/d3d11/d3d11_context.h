// The Direct3D 11 convertor: converts frames with the compute program
// color_transfer_cs.hlsl on the host's device. Textures are bound in place;
// host frames are staged through textures the convertor owns, formats the
// program does not read or write going through a CPU convertor into RGBA.
// One colour dispatch per frame and, when the sizes differ, one scaling
// dispatch; each conversion ends with a bounded wait on an event query.
#pragma once

#include <memory>
#include <string>

#include "core/convertor.h"
#include "cpu/intermediate_frame.h"
#include "d3d11/d3d11_api.h"

namespace KROCOLOR {

class D3D11Context : public IConvertor {
public:
    // Null when either pointer is null or memory runs out. Takes no reference
    // on the device or the context: the host keeps them alive.
    static std::unique_ptr<D3D11Context> create(ID3D11Device* device, ID3D11DeviceContext* context);
    ~D3D11Context() override;

    KROReturn convertColor(const KROFrame* src, KROFrame* dst) override;

    // How many objects of each kind this convertor has made so far, for
    // checking that steady-state conversion makes none.
    struct Counts {
        int textureFrames = 0;
        int shaderObjects = 0;
        int cpuConvertors = 0;
    };
    const Counts& counts() const { return counts_; }

private:
    struct TextureFrameDeleter {
        void operator()(KROFrame* frame) const;
    };
    using TextureFrame = std::unique_ptr<KROFrame, TextureFrameDeleter>;
    enum class Side { Source, Destination };

    explicit D3D11Context(ID3D11Manager* manager);

    KROReturn convert(const KROFrame& src, KROFrame& dst);
    bool prepareFrame(const KROFrame& frame, Side side);
    bool uploadHostFrame(const KROFrame& frame, const KROFrame& texture);
    bool createShaders();
    bool dispatchKernels(const KROFrame& in, const KROFrame& out);
    bool runPass(ID3D11ComputeShader* shader, const KROFrame& read, const KROFrame& write, int32_t outputFormat,
                 UINT constantSlot, const void* constants, unsigned long long constantSize, int groupsWide,
                 int groupsHigh);
    bool readBackFrame(const KROFrame& gpu, KROFrame& dst);
    bool copyTextureToHost(const KROFrame& gpu, DXGI_FORMAT stagingFormat, uint8_t* pixels, int stride);
    TextureFrame createTextureFrame(int32_t format, int width, int height);
    bool ensureTextureFrame(TextureFrame& frame, int32_t format, int width, int height);
    bool ensureCpuStage(IntermediateFrame& frame, std::unique_ptr<IConvertor>& convertor, const KROFrame& like);

    ID3D11Manager* manager_;  // wraps the host's device and context; owns no reference
    const std::string colorTransferEntry_ = "colorTransfer";
    const std::string scaleTransferEntry_ = "scaleTransfer";
    // What the colour pass reads and what the last pass writes: the caller's
    // descriptor (texture formats, never kept past a call) or an owned frame.
    const KROFrame* inputFrame_ = nullptr;
    KROFrame* outputFrame_ = nullptr;
    TextureFrame ownedInput_;    // stands for a host source
    TextureFrame ownedOutput_;   // stands for a host destination
    TextureFrame intermediate_;  // source size, destination format; before a scaling pass
    ID3D11ComputeShader* colorTransferShader_ = nullptr;
    ID3D11ComputeShader* scaleTransferShader_ = nullptr;
    std::unique_ptr<IConvertor> uploadConvertor_;    // host source into RGBA8888
    std::unique_ptr<IConvertor> downloadConvertor_;  // RGBA8888 into a host destination
    IntermediateFrame uploadFrame_;
    IntermediateFrame downloadFrame_;
    Counts counts_;
};

}  // namespace KROCOLOR
