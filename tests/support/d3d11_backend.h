// The Direct3D 11 row of the GPU test hook: a device made with KRODirectX
// (on Linux the Vulkan layer, lavapipe in CI), textures made with
// KRODirectX and filled or read through staging textures mapped directly.
#pragma once

#if KRO_HAVE_D3D11_CONVERTOR

#include "d3d11/d3d11_api.h"
#include "support/gpu_backend.h"

namespace KROCOLOR {
namespace test {

class D3D11Backend : public GpuBackend {
public:
    D3D11Backend();
    ~D3D11Backend() override;
    const char* name() const override { return "d3d11"; }
    std::string unavailable() const override;
    KROHWContext context() const override;
    GpuProgram program() const override { return GpuProgram::D3D11; }
    std::vector<int32_t> deviceFormats() const override { return {401, 402, 403, 404, 406}; }
    bool isDeviceFormat(int32_t format) const override { return format >= 401 && format <= 406; }
    int32_t hostTwin(int32_t deviceFormat) const override;
    std::unique_ptr<DeviceFrame> upload(int32_t deviceFormat, const FrameBuffers& pixels) override;
    bool download(const DeviceFrame& frame, FrameBuffers& pixels) override;

    ID3D11Manager* manager() const { return manager_; }
    // A texture of `format` with the given bindings (0 for KRODirectX's own).
    ID3D11Texture2D* createTexture(int width, int height, DXGI_FORMAT format, UINT bindFlags = 0);

private:
    ID3D11Manager* manager_ = nullptr;
};

// One backend for the whole test program: the device is made once.
D3D11Backend& d3d11Backend();

}  // namespace test
}  // namespace KROCOLOR

#endif  // KRO_HAVE_D3D11_CONVERTOR
