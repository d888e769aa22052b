// DXGI: the factory and its adapters (the Vulkan physical devices), the
// IDXGIDevice and IDXGIResource interfaces of devices and textures, and the
// process-wide table of shared texture handles.
#include <map>
#include <mutex>
#include <new>

#include "d3d11/platform/d3d11_objects.h"

namespace kro_d3d11 {

namespace {

class Factory final : public ComObject<IDXGIFactory> {
public:
    explicit Factory(std::shared_ptr<kro_vk::Instance> instance) : instance_(std::move(instance)) {}
    HRESULT STDMETHODCALLTYPE GetParent(REFIID, void** ppParent) override {
        if (ppParent) *ppParent = nullptr;
        return E_NOINTERFACE;
    }
    HRESULT STDMETHODCALLTYPE EnumAdapters(UINT Adapter, IDXGIAdapter** ppAdapter) override;

protected:
    void* queryInterface(REFIID riid) override {
        return isOneOf<IUnknown, IDXGIObject, IDXGIFactory>(riid) ? self() : nullptr;
    }

private:
    std::shared_ptr<kro_vk::Instance> instance_;
};

class Adapter final : public ComObject<IDXGIAdapter> {
public:
    Adapter(std::shared_ptr<kro_vk::Instance> instance, uint32_t index)
        : instance_(std::move(instance)), index_(index) {}
    HRESULT STDMETHODCALLTYPE GetParent(REFIID riid, void** ppParent) override {
        if (!ppParent) return E_INVALIDARG;
        *ppParent = nullptr;
        Factory* factory = new (std::nothrow) Factory(instance_);
        if (!factory) return E_OUTOFMEMORY;
        HRESULT hr = factory->QueryInterface(riid, ppParent);
        factory->Release();
        return hr;
    }
    HRESULT STDMETHODCALLTYPE GetDesc(DXGI_ADAPTER_DESC* pDesc) override;
    const std::shared_ptr<kro_vk::Instance>& instance() const { return instance_; }
    uint32_t index() const { return index_; }

protected:
    void* queryInterface(REFIID riid) override {
        return isOneOf<IUnknown, IDXGIObject, IDXGIAdapter>(riid) ? self() : nullptr;
    }

private:
    std::shared_ptr<kro_vk::Instance> instance_;
    uint32_t index_;
};

HRESULT Factory::EnumAdapters(UINT index, IDXGIAdapter** ppAdapter) {
    if (!ppAdapter) return E_INVALIDARG;
    *ppAdapter = nullptr;
    if (index >= instance_->physicalDevices().size()) return DXGI_ERROR_NOT_FOUND;
    Adapter* adapter = new (std::nothrow) Adapter(instance_, index);
    if (!adapter) return E_OUTOFMEMORY;
    *ppAdapter = adapter;
    return S_OK;
}

HRESULT Adapter::GetDesc(DXGI_ADAPTER_DESC* pDesc) {
    if (!pDesc) return E_INVALIDARG;
    VkPhysicalDeviceProperties props;
    vkGetPhysicalDeviceProperties(instance_->physicalDevices()[index_], &props);
    *pDesc = DXGI_ADAPTER_DESC{};
    // Vulkan's device name is UTF-8; ASCII names (all drivers we know) map
    // one to one, other bytes become '?'.
    const size_t limit = sizeof(pDesc->Description) / sizeof(pDesc->Description[0]) - 1;
    for (size_t i = 0; i < limit && props.deviceName[i]; ++i) {
        const unsigned char c = static_cast<unsigned char>(props.deviceName[i]);
        pDesc->Description[i] = c < 0x80 ? char16_t(c) : u'?';
    }
    pDesc->VendorId = props.vendorID;
    pDesc->DeviceId = props.deviceID;
    pDesc->AdapterLuid.LowPart = index_;
    return S_OK;
}

class DxgiDevice final : public ComObject<IDXGIDevice> {
public:
    explicit DxgiDevice(Device* device) : device_(device) { device_->AddRef(); }
    ~DxgiDevice() override { device_->Release(); }
    HRESULT STDMETHODCALLTYPE GetParent(REFIID riid, void** ppParent) override {
        if (!ppParent) return E_INVALIDARG;
        *ppParent = nullptr;
        IDXGIAdapter* adapter = nullptr;
        HRESULT hr = GetAdapter(&adapter);
        if (FAILED(hr)) return hr;
        hr = adapter->QueryInterface(riid, ppParent);
        adapter->Release();
        return hr;
    }
    HRESULT STDMETHODCALLTYPE GetAdapter(IDXGIAdapter** pAdapter) override {
        if (!pAdapter) return E_INVALIDARG;
        *pAdapter = new (std::nothrow) Adapter(device_->instance(), device_->adapterIndex());
        return *pAdapter ? S_OK : E_OUTOFMEMORY;
    }

protected:
    void* queryInterface(REFIID riid) override {
        if (isOneOf<IUnknown, IDXGIObject, IDXGIDevice>(riid)) return self();
        void* out = nullptr;
        device_->QueryInterface(riid, &out);
        return out;
    }

private:
    Device* device_;
};

class DxgiResource final : public ComObject<IDXGIResource> {
public:
    explicit DxgiResource(Texture* texture) : texture_(texture) { texture_->AddRef(); }
    ~DxgiResource() override { texture_->Release(); }
    HRESULT STDMETHODCALLTYPE GetParent(REFIID riid, void** ppParent) override { return GetDevice(riid, ppParent); }
    HRESULT STDMETHODCALLTYPE GetDevice(REFIID riid, void** ppDevice) override {
        return texture_->device()->QueryInterface(riid, ppDevice);
    }
    HRESULT STDMETHODCALLTYPE GetSharedHandle(HANDLE* pSharedHandle) override {
        if (!pSharedHandle) return E_INVALIDARG;
        *pSharedHandle = texture_->storage()->sharedHandle;
        return *pSharedHandle ? S_OK : E_INVALIDARG;
    }

protected:
    void* queryInterface(REFIID riid) override {
        if (isOneOf<IUnknown, IDXGIObject, IDXGIDeviceSubObject, IDXGIResource>(riid)) return self();
        void* out = nullptr;
        texture_->QueryInterface(riid, &out);
        return out;
    }

private:
    Texture* texture_;
};

// Shared handles are process-wide numbers naming a texture's storage; a
// device of the same adapter opens the storage under a new COM object.
std::mutex gSharedMutex;
std::map<uintptr_t, std::weak_ptr<TextureStorage>> gShared;
uintptr_t gNextHandle = 0x1000;

}  // namespace

void* createDxgiDevice(Device* device) {
    return static_cast<IDXGIDevice*>(new (std::nothrow) DxgiDevice(device));
}
void* createDxgiResource(Texture* texture) {
    return static_cast<IDXGIResource*>(new (std::nothrow) DxgiResource(texture));
}

bool adapterOf(IDXGIAdapter* adapter, std::shared_ptr<kro_vk::Instance>* instance, uint32_t* index) {
    auto* own = dynamic_cast<Adapter*>(adapter);
    if (!own) return false;
    *instance = own->instance();
    *index = own->index();
    return true;
}

HANDLE registerSharedTexture(const std::shared_ptr<TextureStorage>& storage) {
    std::lock_guard<std::mutex> lock(gSharedMutex);
    const uintptr_t handle = gNextHandle;
    gNextHandle += 4;
    gShared[handle] = storage;
    return reinterpret_cast<HANDLE>(handle);
}

void unregisterSharedTexture(HANDLE handle) {
    std::lock_guard<std::mutex> lock(gSharedMutex);
    gShared.erase(reinterpret_cast<uintptr_t>(handle));
}

std::shared_ptr<TextureStorage> findSharedTexture(HANDLE handle) {
    std::lock_guard<std::mutex> lock(gSharedMutex);
    auto it = gShared.find(reinterpret_cast<uintptr_t>(handle));
    return it == gShared.end() ? nullptr : it->second.lock();
}

}  // namespace kro_d3d11

HRESULT WINAPI CreateDXGIFactory(REFIID riid, void** ppFactory) {
    if (!ppFactory) return E_INVALIDARG;
    *ppFactory = nullptr;
    std::shared_ptr<kro_vk::Instance> instance = kro_vk::Instance::acquire();
    if (!instance) return E_FAIL;  // no Vulkan loader or driver
    auto* factory = new (std::nothrow) kro_d3d11::Factory(std::move(instance));
    if (!factory) return E_OUTOFMEMORY;
    HRESULT hr = factory->QueryInterface(riid, ppFactory);
    factory->Release();
    return hr;
}
