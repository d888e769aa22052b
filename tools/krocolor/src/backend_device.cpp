#include "backend_device.h"

#include <cstring>

namespace krocolor {

using namespace KROCOLOR;

namespace {

// Adapter 0 through KRODirectX: a Direct3D 11 device on Windows, the
// library's layer on the first Vulkan device elsewhere.
class D3D11Device : public BackendDevice {
public:
    explicit D3D11Device(ID3D11Manager* manager) : manager_(manager) {}
    ~D3D11Device() override { KRODirectX::releaseID3D11Device(&manager_); }
    KROHWContext context() const override {
        KROHWContext c;
        c.srcType = c.dstType = kKROHWTypeD3D11;
        c.srcHandle = c.dstHandle = manager_->device;
        c.srcQueue = c.dstQueue = manager_->context;
        return c;
    }

private:
    ID3D11Manager* manager_;
};

}  // namespace

std::unique_ptr<BackendDevice> BackendDevice::open(const BackendInfo& backend, std::string& reason) {
    if (std::strcmp(backend.name, "d3d11") == 0) {
        ID3D11Manager* manager = KRODirectX::createID3D11Device(0);
        if (manager) return std::make_unique<D3D11Device>(manager);
#ifdef _WIN32
        reason = "no Direct3D 11 device could be created on adapter 0";
#else
        reason = "no Direct3D 11 device: no Vulkan device could be created (install a Vulkan driver, e.g. Mesa's lavapipe)";
#endif
        return nullptr;
    }
    reason = "krocolor cannot open a " + std::string(backend.name) + " device yet";
    return nullptr;
}

}  // namespace krocolor
