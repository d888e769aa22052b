#include "support/d3d11_backend.h"

#if KRO_HAVE_D3D11_CONVERTOR

#include <cstring>

namespace KROCOLOR {
namespace test {

namespace {

// Each texture format with its DXGI format and the host format laid out
// like it.
struct TextureFormat {
    int32_t texture;
    DXGI_FORMAT dxgi;
    int32_t host;
};
const TextureFormat kTextureFormats[] = {
    {401, DXGI_FORMAT_R8G8B8A8_UNORM, kKRORGBA8888Format},     {402, DXGI_FORMAT_B8G8R8A8_UNORM, kKROBGRA8888Format},
    {403, DXGI_FORMAT_NV12, kKRONV12Format},                   {404, DXGI_FORMAT_P010, kKRONV1210LEFormat},
    {406, DXGI_FORMAT_R16G16B16A16_UNORM, kKRORGBA16LEFormat},
};

// A texture the frame owns, in the shape transcode() takes.
class TextureFrame : public DeviceFrame {
public:
    explicit TextureFrame(ID3D11Texture2D* texture) { planes_[0] = reinterpret_cast<uint8_t*>(texture); }
    ~TextureFrame() override {
        if (texture()) texture()->Release();
    }
    const uint8_t* const* planes() const override { return planes_; }
    const int* strides() const override { return strides_; }
    ID3D11Texture2D* texture() const { return reinterpret_cast<ID3D11Texture2D*>(planes_[0]); }

private:
    uint8_t* planes_[4] = {nullptr, nullptr, nullptr, nullptr};  // entry 1: subresource 0
    int strides_[4] = {0, 0, 0, 0};
};

TextureFormat formatOf(int32_t texture) {
    for (const TextureFormat& f : kTextureFormats)
        if (f.texture == texture) return f;
    return {0, DXGI_FORMAT_UNKNOWN, 0};
}

}  // namespace

D3D11Backend::D3D11Backend() : manager_(KRODirectX::createID3D11Device(0)) {}

D3D11Backend::~D3D11Backend() { KRODirectX::releaseID3D11Device(&manager_); }

std::string D3D11Backend::unavailable() const {
    return manager_ ? std::string() : std::string("no Direct3D 11 device: no Vulkan device could be created");
}

KROHWContext D3D11Backend::context() const {
    KROHWContext c;
    c.srcType = c.dstType = kKROHWTypeD3D11;
    c.srcHandle = c.dstHandle = manager_ ? manager_->device : nullptr;
    c.srcQueue = c.dstQueue = manager_ ? manager_->context : nullptr;
    return c;
}

int32_t D3D11Backend::hostTwin(int32_t deviceFormat) const { return formatOf(deviceFormat).host; }

ID3D11Texture2D* D3D11Backend::createTexture(int width, int height, DXGI_FORMAT format, UINT bindFlags) {
    if (!bindFlags) return KRODirectX::createID3D11Texture2D(manager_, width, height, format);
    const D3D11_TEXTURE2D_DESC desc{UINT(width), UINT(height), 1, 1, format, {1, 0}, D3D11_USAGE_DEFAULT, bindFlags, 0, 0};
    ID3D11Texture2D* texture = nullptr;
    return SUCCEEDED(manager_->device->CreateTexture2D(&desc, nullptr, &texture)) ? texture : nullptr;
}

namespace {

// Copies the rows of every plane between a twin frame and a mapped staging
// texture, where the planes follow each other at the mapped row pitch (the
// chroma rows of NV12 and P010 start at row `height`).
void copyRows(FrameBuffers& pixels, uint8_t* mapped, UINT pitch, bool toTexture) {
    const FormatTraits& t = *formatTraits(pixels.format());
    size_t offset = 0;
    for (int p = 0; p < pixels.planeCount(); ++p) {
        const int64_t rows = planeRows(t, p, pixels.height());
        const size_t bytes = static_cast<size_t>(planeRowBytes(t, p, pixels.width()));
        for (int64_t r = 0; r < rows; ++r) {
            uint8_t* texel = mapped + offset + static_cast<size_t>(r) * pitch;
            uint8_t* host = pixels.plane(p) + static_cast<size_t>(r) * static_cast<size_t>(pixels.stride(p));
            if (toTexture)
                std::memcpy(texel, host, bytes);
            else
                std::memcpy(host, texel, bytes);
        }
        offset += static_cast<size_t>(rows) * pitch;
    }
}

bool transfer(ID3D11Manager* manager, ID3D11Texture2D* staging, FrameBuffers& pixels, bool toTexture) {
    D3D11_MAPPED_SUBRESOURCE mapped;
    if (FAILED(manager->context->Map(staging, 0, toTexture ? D3D11_MAP_WRITE : D3D11_MAP_READ, 0, &mapped)))
        return false;
    copyRows(pixels, static_cast<uint8_t*>(mapped.pData), mapped.RowPitch, toTexture);
    manager->context->Unmap(staging, 0);
    return true;
}

}  // namespace

std::unique_ptr<DeviceFrame> D3D11Backend::upload(int32_t deviceFormat, const FrameBuffers& pixels) {
    const DXGI_FORMAT format = formatOf(deviceFormat).dxgi;
    auto frame = std::make_unique<TextureFrame>(createTexture(pixels.width(), pixels.height(), format));
    ID3D11Texture2D* staging =
        KRODirectX::createStagingID3D11Texture2D(manager_, pixels.width(), pixels.height(), format);
    const bool ok = frame->texture() && staging &&
                    transfer(manager_, staging, const_cast<FrameBuffers&>(pixels), true) &&
                    KRODirectX::copyID3D11Texture2D(manager_, frame->texture(), 0, staging, 0);
    if (staging) staging->Release();
    return ok ? std::move(frame) : nullptr;
}

bool D3D11Backend::download(const DeviceFrame& frame, FrameBuffers& pixels) {
    ID3D11Texture2D* texture = static_cast<const TextureFrame&>(frame).texture();
    D3D11_TEXTURE2D_DESC desc;
    texture->GetDesc(&desc);
    ID3D11Texture2D* staging =
        KRODirectX::createStagingID3D11Texture2D(manager_, pixels.width(), pixels.height(), desc.Format);
    const bool ok = staging && KRODirectX::copyID3D11Texture2D(manager_, staging, 0, texture, 0) &&
                    transfer(manager_, staging, pixels, false);
    if (staging) staging->Release();
    return ok;
}

D3D11Backend& d3d11Backend() {
    static D3D11Backend backend;
    return backend;
}

}  // namespace test
}  // namespace KROCOLOR

#endif  // KRO_HAVE_D3D11_CONVERTOR
