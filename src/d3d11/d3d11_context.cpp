// Built where a Direct3D 11 platform exists: Windows, or the Vulkan layer.
#if defined(_WIN32) || KRO_HAVE_D3D11_CONVERTOR
#include "d3d11/d3d11_context.h"

#include <cstdint>
#include <cstring>
#include <new>

#include "core/pixel_format_table.h"
#include "cpu/cpu_context.h"
#include "d3d11/color_transfer_program.h"
#include "d3d11/d3d11_constant_buffers.h"
#include "d3d11/d3d11_convertor.h"

namespace KROCOLOR {

namespace {

// Texture format of a frame the convertor owns; DXGI_FORMAT_UNKNOWN for
// codes without one (405 among them).
DXGI_FORMAT textureFormatOf(int32_t frameFormat) {
    switch (frameFormat) {
    case kKRORGBA8888D3D11Texture2DFormat: return DXGI_FORMAT_R8G8B8A8_UNORM;
    case kKROBGRA8888D3D11Texture2DFormat: return DXGI_FORMAT_B8G8R8A8_UNORM;
    case kKRONV12D3D11Texture2DFormat: return DXGI_FORMAT_NV12;
    case kKRONV1210LED3D11Texture2DFormat: return DXGI_FORMAT_P010;
    case kKRORGBA16LED3D11Texture2DFormat: return DXGI_FORMAT_R16G16B16A16_UNORM;
    default: return DXGI_FORMAT_UNKNOWN;
    }
}

// The texture frame a host frame is staged through: RGBA16 stays 16-bit,
// everything else travels as RGBA8888.
int32_t textureFrameFormatFor(int32_t hostFormat) {
    return hostFormat == kKRORGBA16LEFormat ? kKRORGBA16LED3D11Texture2DFormat : kKRORGBA8888D3D11Texture2DFormat;
}

// First unordered-access slot of the program's output views for a format
// (u0 RGBA8/BGRA8, u1-u2 NV12, u3-u4 P010, u5 RGBA16); -1 when none.
int firstOutputSlot(int32_t format) {
    switch (format) {
    case kKRORGBA8888D3D11Texture2DFormat:
    case kKROBGRA8888D3D11Texture2DFormat: return 0;
    case kKRONV12D3D11Texture2DFormat: return 1;
    case kKRONV1210LED3D11Texture2DFormat: return 3;
    case kKRORGBA16LED3D11Texture2DFormat: return 5;
    default: return -1;
    }
}

constexpr int kOutputSlots = 6;

ID3D11Texture2D* textureOf(const KROFrame& frame) { return reinterpret_cast<ID3D11Texture2D*>(frame.planes[0]); }

// planes[1] of a texture frame carries the subresource (array slice) index.
long long sliceOf(const KROFrame& frame) {
    return static_cast<long long>(reinterpret_cast<intptr_t>(frame.planes[1]));
}

void copyDescription(const KROFrame& from, KROFrame& to) {
    to.primaries = from.primaries;
    to.transfer = from.transfer;
    to.matrix = from.matrix;
    to.range = from.range;
}

bool hasBinding(ID3D11Texture2D* texture, UINT flag) {
    D3D11_TEXTURE2D_DESC desc;
    std::memset(&desc, 0, sizeof desc);
    texture->GetDesc(&desc);
    return (desc.BindFlags & flag) != 0;
}

template <typename T>
void release(T*& object) {
    if (object) object->Release();
    object = nullptr;
}

// A staging texture released on every path.
struct StagingTexture {
    ID3D11Texture2D* texture = nullptr;
    StagingTexture(ID3D11Manager* manager, int width, int height, DXGI_FORMAT format)
        : texture(KRODirectX::createStagingID3D11Texture2D(manager, width, height, format)) {}
    ~StagingTexture() { release(texture); }
    StagingTexture(const StagingTexture&) = delete;
    StagingTexture& operator=(const StagingTexture&) = delete;
};

}  // namespace

void D3D11Context::TextureFrameDeleter::operator()(KROFrame* frame) const {
    if (!frame) return;
    if (ID3D11Texture2D* texture = textureOf(*frame)) texture->Release();
    delete frame;
}

std::unique_ptr<D3D11Context> D3D11Context::create(ID3D11Device* device, ID3D11DeviceContext* context) {
    if (!device || !context) return nullptr;
    ID3D11Manager* manager = new (std::nothrow) ID3D11Manager();
    if (!manager) return nullptr;
    manager->device = device;
    manager->context = context;
    std::unique_ptr<D3D11Context> convertor(new (std::nothrow) D3D11Context(manager));
    if (!convertor) delete manager;
    return convertor;
}

D3D11Context::D3D11Context(ID3D11Manager* manager) : manager_(manager) {}

D3D11Context::~D3D11Context() {
    release(colorTransferShader_);
    release(scaleTransferShader_);
    ownedInput_.reset();
    ownedOutput_.reset();
    intermediate_.reset();
    delete manager_;  // the host's device and context stay untouched
}

KROReturn D3D11Context::convertColor(const KROFrame* src, KROFrame* dst) {
    if (!src || !dst || !src->planes[0] || !dst->planes[0]) return kKROInputParamError;
    KROReturn result;
    try {
        result = convert(*src, *dst);
    } catch (...) {  // allocation inside the CPU stages; nothing crosses the API
        result = kKROUnknownError;
    }
    // Borrowed descriptors never outlive the call; owned frames stay for reuse.
    if (inputFrame_ == src) inputFrame_ = nullptr;
    if (outputFrame_ == dst) outputFrame_ = nullptr;
    return result;
}

KROReturn D3D11Context::convert(const KROFrame& src, KROFrame& dst) {
    inputFrame_ = nullptr;
    outputFrame_ = nullptr;
    const bool sourceReady = prepareFrame(src, Side::Source);
    const bool destinationReady = prepareFrame(dst, Side::Destination);
    if (!sourceReady || !destinationReady) return kKROLoadD3D11FunctionError;
    if (!createShaders()) return kKROLoadD3D11FunctionError;

    ID3D11Texture2D* input = textureOf(*inputFrame_);
    if (!input) return kKROInputParamError;
    if (!hasBinding(input, D3D11_BIND_SHADER_RESOURCE)) return kKROInputTextureBindError;
    ID3D11Texture2D* output = textureOf(*outputFrame_);
    if (!output) return kKROInputParamError;
    if (!hasBinding(output, D3D11_BIND_UNORDERED_ACCESS)) return kKROOutputTextureBindError;

    if (!dispatchKernels(*inputFrame_, *outputFrame_)) return kKRORunD3D11KernelError;
    // Once the passes ran the conversion has succeeded; a failed read-back
    // is not reported.
    if (outputFrame_ != &dst) (void)readBackFrame(*outputFrame_, dst);
    return kKROSuccess;
}

bool D3D11Context::prepareFrame(const KROFrame& frame, Side side) {
    if (isD3D11Format(frame.format)) {
        if (side == Side::Source)
            inputFrame_ = &frame;
        else
            outputFrame_ = const_cast<KROFrame*>(&frame);  // the caller's destination, passed as mutable
        return true;
    }
    if (!isHostFormat(frame.format)) return false;

    TextureFrame& owned = side == Side::Source ? ownedInput_ : ownedOutput_;
    if (!ensureTextureFrame(owned, textureFrameFormatFor(frame.format), frame.width, frame.height)) return false;
    copyDescription(frame, *owned);
    if (side == Side::Destination) {
        outputFrame_ = owned.get();
        return true;
    }
    inputFrame_ = owned.get();
    return uploadHostFrame(frame, *owned);
}

bool D3D11Context::uploadHostFrame(const KROFrame& frame, const KROFrame& texture) {
    const DXGI_FORMAT stagingFormat =
        frame.format == kKRORGBA16LEFormat ? DXGI_FORMAT_R16G16B16A16_UNORM : DXGI_FORMAT_R8G8B8A8_UNORM;
    const KROFrame* pixels = &frame;
    if (frame.format != kKRORGB888Format && frame.format != kKRORGBA8888Format && frame.format != kKRORGBA16LEFormat) {
        // The CPU step changes the layout only: its output carries the
        // source's own colour description, converted on the GPU afterwards.
        if (!ensureCpuStage(uploadFrame_, uploadConvertor_, frame)) return false;
        if (uploadConvertor_->convertColor(&frame, &uploadFrame_.frame()) != kKROSuccess) return false;
        pixels = &uploadFrame_.frame();
    }

    StagingTexture staging(manager_, frame.width, frame.height, stagingFormat);
    if (!staging.texture) return false;
    const bool written =
        pixels->format == kKRORGB888Format
            ? KRODirectX::writeRGBDataToRGBAStagingID3D11Texture2D(manager_, staging.texture, 0, pixels->planes[0],
                                                                   pixels->strides[0], pixels->width, pixels->height)
            : KRODirectX::writeDataToStagingID3D11Texture2D(manager_, staging.texture, 0, pixels->planes[0],
                                                            pixels->strides[0], pixels->width, pixels->height);
    return written && KRODirectX::writeDataToID3D11Texture2D(manager_, staging.texture, 0, textureOf(texture),
                                                             static_cast<int>(sliceOf(texture)));
}

// Makes `frame` an RGBA8888 intermediate frame of the size of `like` and
// gives it `like`'s colour description, so that the CPU convertor paired
// with it only changes the layout. A frame made anew discards the convertor.
bool D3D11Context::ensureCpuStage(IntermediateFrame& frame, std::unique_ptr<IConvertor>& convertor,
                                  const KROFrame& like) {
    const KROFrame& f = frame.frame();
    const bool reusable = frame.allocated() && f.format == kKRORGBA8888Format && f.width == like.width &&
                          f.height == like.height;
    if (!reusable) {
        convertor.reset();
        if (!frame.ensure(kKRORGBA8888Format, like.width, like.height)) return false;
    }
    copyDescription(like, frame.frame());
    if (!convertor) {
        KROReturn error = kKROSuccess;
        convertor = createCPUConvertor(true, error);  // the libswscale path
        if (!convertor) return false;
        ++counts_.cpuConvertors;
    }
    return true;
}

bool D3D11Context::createShaders() {
    if (colorTransferShader_ && scaleTransferShader_) return true;
    // The compiler takes a zero-terminated copy of the text and its length.
    char* source = new (std::nothrow) char[kColorTransferProgramLength + 1];
    if (!source) return false;
    std::memcpy(source, kColorTransferProgram, kColorTransferProgramLength);
    source[kColorTransferProgramLength] = '\0';
    bool ok = true;
    if (!colorTransferShader_) {
        ok = KRODirectX::createID3D11ComputeShader(manager_, source, kColorTransferProgramLength, colorTransferEntry_,
                                                   &colorTransferShader_);
        if (ok) ++counts_.shaderObjects;
    }
    if (ok && !scaleTransferShader_) {
        ok = KRODirectX::createID3D11ComputeShader(manager_, source, kColorTransferProgramLength, scaleTransferEntry_,
                                                   &scaleTransferShader_);
        if (ok) ++counts_.shaderObjects;
    }
    delete[] source;
    return ok;
}

bool D3D11Context::dispatchKernels(const KROFrame& in, const KROFrame& out) {
    // 405 names no texture layout: the program could neither read nor write
    // it, so the conversion is refused before anything is dispatched.
    if (textureFormatOf(in.format) == DXGI_FORMAT_UNKNOWN || textureFormatOf(out.format) == DXGI_FORMAT_UNKNOWN)
        return false;

    const bool sameSize = in.width == out.width && in.height == out.height;
    const KROFrame* target = &out;
    if (!sameSize) {
        if (!ensureTextureFrame(intermediate_, out.format, in.width, in.height)) return false;
        intermediate_->format = out.format;
        copyDescription(out, *intermediate_);
        target = intermediate_.get();
    }

    ID3D11Query* query = nullptr;
    if (!KRODirectX::createID3D11EventQuery(manager_, &query)) query = nullptr;  // then nothing waits

    const ColorTransferConstants color{in.format,   in.range,      in.primaries, in.transfer,
                                       in.matrix,   out.format,    out.range,    out.primaries,
                                       out.transfer, out.matrix,   in.width,     in.height};
    bool ok = runPass(colorTransferShader_, in, *target, out.format, 0, &color, sizeof color,
                      (in.width + kThreadGroupWidth - 1) / kThreadGroupWidth,
                      (in.height + kThreadGroupHeight - 1) / kThreadGroupHeight);
    if (ok && !sameSize) {
        const ScalingConstants scaling{target->format, target->range, out.format, out.range,
                                       target->width,  target->height, out.width, out.height};
        ok = runPass(scaleTransferShader_, *target, out, out.format, 1, &scaling, sizeof scaling,
                     (out.width + kThreadGroupWidth - 1) / kThreadGroupWidth,
                     (out.height + kThreadGroupHeight - 1) / kThreadGroupHeight);
    }

    if (query) {
        if (ok) {
            manager_->context->End(query);
            manager_->context->Flush();
            (void)KRODirectX::queryID3D11GetDataWithTimeout(manager_, query, 1000);  // a timeout is not an error
        }
        query->Release();
    }
    return ok;
}

// One dispatch: `read` through t0-t1, `write` through the output slots of
// `outputFormat`, the constants at b`constantSlot`. Views and the buffer are
// made for this pass only; the view slots are cleared afterwards, while the
// shader and the constant buffer stay bound as the last pass left them.
bool D3D11Context::runPass(ID3D11ComputeShader* shader, const KROFrame& read, const KROFrame& write,
                           int32_t outputFormat, UINT constantSlot, const void* constants,
                           unsigned long long constantSize, int groupsWide, int groupsHigh) {
    ID3D11ShaderResourceView* inputs[2] = {nullptr, nullptr};
    ID3D11UnorderedAccessView* outputs[2] = {nullptr, nullptr};
    ID3D11UnorderedAccessView* slots[kOutputSlots] = {};
    ID3D11Buffer* buffer = nullptr;

    bool ok = KRODirectX::createID3D11ShaderResourceView(manager_, textureOf(read), sliceOf(read), inputs);
    const int first = firstOutputSlot(outputFormat);
    if (ok && first >= 0) {
        ok = KRODirectX::createID3D11UnorderedAccessView(manager_, textureOf(write), sliceOf(write), outputs);
        if (ok) {
            slots[first] = outputs[0];
            if (outputs[1]) slots[first + 1] = outputs[1];
        }
    }
    if (ok) ok = KRODirectX::createBuffer(manager_, const_cast<void*>(constants), constantSize, &buffer);

    ID3D11DeviceContext* context = manager_->context;
    if (ok) {
        context->CSSetShader(shader, nullptr, 0);
        context->CSSetShaderResources(0, 2, inputs);
        context->CSSetUnorderedAccessViews(0, kOutputSlots, slots, nullptr);
        context->CSSetConstantBuffers(constantSlot, 1, &buffer);
        context->Dispatch(static_cast<UINT>(groupsWide), static_cast<UINT>(groupsHigh), 1);
    }

    ID3D11UnorderedAccessView* noOutputs[kOutputSlots] = {};
    ID3D11ShaderResourceView* noInputs[2] = {nullptr, nullptr};
    context->CSSetUnorderedAccessViews(0, kOutputSlots, noOutputs, nullptr);
    context->CSSetShaderResources(0, 2, noInputs);
    release(buffer);
    for (ID3D11ShaderResourceView*& view : inputs) release(view);
    for (ID3D11UnorderedAccessView*& view : outputs) release(view);
    return ok;
}

bool D3D11Context::copyTextureToHost(const KROFrame& gpu, DXGI_FORMAT stagingFormat, uint8_t* pixels, int stride) {
    StagingTexture staging(manager_, gpu.width, gpu.height, stagingFormat);
    return staging.texture &&
           KRODirectX::readDataFromID3D11Texture2D(manager_, textureOf(gpu), static_cast<int>(sliceOf(gpu)),
                                                   staging.texture, 0) &&
           KRODirectX::readDataFromStagingID3D11Texture2D(manager_, pixels, stride, gpu.width, gpu.height,
                                                          staging.texture, 0);
}

bool D3D11Context::readBackFrame(const KROFrame& gpu, KROFrame& dst) {
    if (gpu.format == kKRORGBA8888D3D11Texture2DFormat && dst.format == kKRORGBA8888Format)
        return copyTextureToHost(gpu, DXGI_FORMAT_R8G8B8A8_UNORM, dst.planes[0], dst.strides[0]);
    if (gpu.format == kKRORGBA16LED3D11Texture2DFormat && dst.format == kKRORGBA16LEFormat)
        return copyTextureToHost(gpu, DXGI_FORMAT_R16G16B16A16_UNORM, dst.planes[0], dst.strides[0]);
    if (gpu.format != kKRORGBA8888D3D11Texture2DFormat || !isHostFormat(dst.format)) return false;
    if (!ensureCpuStage(downloadFrame_, downloadConvertor_, dst)) return false;
    KROFrame& rgba = downloadFrame_.frame();
    return copyTextureToHost(gpu, DXGI_FORMAT_R8G8B8A8_UNORM, rgba.planes[0], rgba.strides[0]) &&
           downloadConvertor_->convertColor(&rgba, &dst) == kKROSuccess;
}

D3D11Context::TextureFrame D3D11Context::createTextureFrame(int32_t format, int width, int height) {
    const DXGI_FORMAT textureFormat = textureFormatOf(format);
    if (textureFormat == DXGI_FORMAT_UNKNOWN) return nullptr;
    TextureFrame frame(new (std::nothrow) KROFrame());
    if (!frame) return nullptr;
    frame->width = width;
    frame->height = height;
    frame->format = format;
    frame->planes[0] =
        reinterpret_cast<uint8_t*>(KRODirectX::createID3D11Texture2D(manager_, width, height, textureFormat));
    frame->planes[1] = nullptr;  // subresource 0
    ++counts_.textureFrames;
    return frame;
}

// Reuses `frame` when it already has this format and size; otherwise
// releases it and makes a new one. False when no texture could be made.
bool D3D11Context::ensureTextureFrame(TextureFrame& frame, int32_t format, int width, int height) {
    if (frame && frame->format == format && frame->width == width && frame->height == height && frame->planes[0])
        return true;
    frame.reset();
    frame = createTextureFrame(format, width, height);
    return frame && frame->planes[0];
}

bool isD3D11Convertor(const IConvertor* convertor) { return dynamic_cast<const D3D11Context*>(convertor) != nullptr; }

std::unique_ptr<IConvertor> createD3D11Convertor(void* device, void* deviceContext, KROReturn& error) {
    if (!device || !deviceContext) {
        error = kKROMissingHWContext;
        return nullptr;
    }
    std::unique_ptr<IConvertor> convertor = D3D11Context::create(static_cast<ID3D11Device*>(device),
                                                                 static_cast<ID3D11DeviceContext*>(deviceContext));
    if (!convertor) error = kKROUnknownError;
    return convertor;
}

}  // namespace KROCOLOR
#endif  // _WIN32 || KRO_HAVE_D3D11_CONVERTOR
