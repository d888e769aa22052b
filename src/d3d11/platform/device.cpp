// D3D11CreateDevice, the device's own interface and event queries.
#include <new>

#include "d3d11/platform/d3d11_objects.h"

namespace kro_d3d11 {

HRESULT Device::QueryInterface(REFIID riid, void** out) {
    if (!out) return E_POINTER;
    *out = nullptr;
    if (isOneOf<IUnknown, ID3D11Device>(riid)) {
        AddRef();
        *out = static_cast<ID3D11Device*>(this);
    } else if (isOneOf<IDXGIDevice, IDXGIObject>(riid)) {
        *out = createDxgiDevice(this);
    }
    return *out ? S_OK : E_NOINTERFACE;
}

void Device::GetImmediateContext(ID3D11DeviceContext** ppImmediateContext) {
    if (!ppImmediateContext) return;
    AddRef();
    *ppImmediateContext = &context_;
}

HRESULT Device::CreateQuery(const D3D11_QUERY_DESC* pQueryDesc, ID3D11Query** ppQuery) {
    // Event queries are the only queries modelled.
    if (!pQueryDesc || pQueryDesc->Query != D3D11_QUERY_EVENT || pQueryDesc->MiscFlags != 0) return E_INVALIDARG;
    if (!ppQuery) return S_FALSE;
    EventQuery* query = new (std::nothrow) EventQuery(this);
    if (!query) return E_OUTOFMEMORY;
    countCreated(ObjectKind::Query);
    *ppQuery = query;
    return S_OK;
}

void EventQuery::GetDesc(D3D11_QUERY_DESC* desc) {
    if (desc) *desc = D3D11_QUERY_DESC{D3D11_QUERY_EVENT, 0};
}

void* EventQuery::queryInterface(REFIID riid) {
    return isOneOf<IUnknown, ID3D11DeviceChild, ID3D11Asynchronous, ID3D11Query>(riid) ? self() : nullptr;
}

// Finds which adapter of the layer an IDXGIAdapter is (dxgi_objects.cpp).
bool adapterOf(IDXGIAdapter* adapter, std::shared_ptr<kro_vk::Instance>* instance, uint32_t* index);

}  // namespace kro_d3d11

using namespace kro_d3d11;

HRESULT WINAPI D3D11CreateDevice(IDXGIAdapter* pAdapter, D3D_DRIVER_TYPE DriverType, void* Software, UINT Flags,
                                 const D3D_FEATURE_LEVEL* pFeatureLevels, UINT FeatureLevels, UINT SDKVersion,
                                 ID3D11Device** ppDevice, D3D_FEATURE_LEVEL* pFeatureLevel,
                                 ID3D11DeviceContext** ppImmediateContext) {
    if (ppDevice) *ppDevice = nullptr;
    if (ppImmediateContext) *ppImmediateContext = nullptr;
    if (SDKVersion != D3D11_SDK_VERSION || Software || Flags != 0) return E_INVALIDARG;
    if (pFeatureLevels) {
        bool offered = false;
        for (UINT i = 0; i < FeatureLevels; ++i) offered = offered || pFeatureLevels[i] == D3D_FEATURE_LEVEL_11_0;
        if (!offered) return E_INVALIDARG;
    }
    std::shared_ptr<kro_vk::Instance> instance;
    uint32_t index = 0;
    if (pAdapter) {
        // An explicit adapter goes with driver type UNKNOWN, as on Windows.
        if (DriverType != D3D_DRIVER_TYPE_UNKNOWN || !adapterOf(pAdapter, &instance, &index)) return E_INVALIDARG;
    } else {
        if (DriverType != D3D_DRIVER_TYPE_HARDWARE) return E_INVALIDARG;
        instance = kro_vk::Instance::acquire();
        if (!instance) return E_FAIL;
    }
    std::shared_ptr<kro_vk::Gpu> gpu = kro_vk::Gpu::acquire(instance, index);
    if (!gpu) return E_FAIL;
    Device* device = new (std::nothrow) Device(instance, index, gpu);
    if (!device) return E_OUTOFMEMORY;
    device->AddRef();
    if (!device->init()) {
        device->Release();
        return E_FAIL;
    }
    if (pFeatureLevel) *pFeatureLevel = D3D_FEATURE_LEVEL_11_0;
    if (ppImmediateContext) device->GetImmediateContext(ppImmediateContext);
    if (ppDevice) {
        *ppDevice = device;
    } else {
        device->Release();
    }
    return (ppDevice || ppImmediateContext) ? S_OK : S_FALSE;
}
