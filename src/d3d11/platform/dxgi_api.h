// DXGI as the library uses it: the formats (with their Windows values), the
// factory that enumerates adapters, the adapter description, and the device
// and resource interfaces reached through QueryInterface.
#pragma once

#include "d3d11/platform/windows_types.h"

// Declared with a fixed underlying type so that the public header can name
// the type without including this file.
enum DXGI_FORMAT : int {
    DXGI_FORMAT_UNKNOWN = 0,
    DXGI_FORMAT_R16G16B16A16_UNORM = 11,
    DXGI_FORMAT_R8G8B8A8_UNORM = 28,
    DXGI_FORMAT_R16G16_UNORM = 35,
    DXGI_FORMAT_R8G8_UNORM = 49,
    DXGI_FORMAT_R16_UNORM = 56,
    DXGI_FORMAT_R8_UNORM = 61,
    DXGI_FORMAT_B8G8R8A8_UNORM = 87,
    DXGI_FORMAT_NV12 = 103,
    DXGI_FORMAT_P010 = 104,
};

#define DXGI_ERROR_NOT_FOUND ((HRESULT)0x887A0002L)
#define DXGI_ERROR_WAS_STILL_DRAWING ((HRESULT)0x887A000AL)

typedef struct DXGI_SAMPLE_DESC {
    UINT Count;
    UINT Quality;
} DXGI_SAMPLE_DESC;

typedef struct DXGI_ADAPTER_DESC {
    WCHAR Description[128];
    UINT VendorId;
    UINT DeviceId;
    UINT SubSysId;
    UINT Revision;
    SIZE_T DedicatedVideoMemory;
    SIZE_T DedicatedSystemMemory;
    SIZE_T SharedSystemMemory;
    LUID AdapterLuid;
} DXGI_ADAPTER_DESC;

struct IDXGIObject : public IUnknown {
    virtual HRESULT STDMETHODCALLTYPE GetParent(REFIID riid, void** ppParent) = 0;
};

struct IDXGIAdapter : public IDXGIObject {
    virtual HRESULT STDMETHODCALLTYPE GetDesc(DXGI_ADAPTER_DESC* pDesc) = 0;
};

struct IDXGIFactory : public IDXGIObject {
    virtual HRESULT STDMETHODCALLTYPE EnumAdapters(UINT Adapter, IDXGIAdapter** ppAdapter) = 0;
};

struct IDXGIDevice : public IDXGIObject {
    virtual HRESULT STDMETHODCALLTYPE GetAdapter(IDXGIAdapter** pAdapter) = 0;
};

struct IDXGIDeviceSubObject : public IDXGIObject {
    virtual HRESULT STDMETHODCALLTYPE GetDevice(REFIID riid, void** ppDevice) = 0;
};

struct IDXGIResource : public IDXGIDeviceSubObject {
    virtual HRESULT STDMETHODCALLTYPE GetSharedHandle(HANDLE* pSharedHandle) = 0;
};

KRO_DECLARE_IID(IDXGIObject, 0xaec22fb8, 0x76f3, 0x4639, 0x9b, 0xe0, 0x28, 0xeb, 0x43, 0xa6, 0x7a, 0x2e);
KRO_DECLARE_IID(IDXGIAdapter, 0x2411e7e1, 0x12ac, 0x4ccf, 0xbd, 0x14, 0x97, 0x98, 0xe8, 0x53, 0x4d, 0xc0);
KRO_DECLARE_IID(IDXGIFactory, 0x7b7166ec, 0x21c7, 0x44ae, 0xb2, 0x1a, 0xc9, 0xae, 0x32, 0x1a, 0xe3, 0x69);
KRO_DECLARE_IID(IDXGIDevice, 0x54ec77fa, 0x1377, 0x44e6, 0x8c, 0x32, 0x88, 0xfd, 0x5f, 0x44, 0xc8, 0x4c);
KRO_DECLARE_IID(IDXGIDeviceSubObject, 0x3d3e0379, 0xf9de, 0x4d58, 0xbb, 0x6c, 0x18, 0xd6, 0x29, 0x92, 0xf1, 0xa6);
KRO_DECLARE_IID(IDXGIResource, 0x035f3ab4, 0x482e, 0x4e50, 0xb4, 0x1f, 0x8a, 0x7f, 0x8b, 0xd8, 0x96, 0x0b);

// Adapters are the Vulkan physical devices, in the order Vulkan lists them.
HRESULT WINAPI CreateDXGIFactory(REFIID riid, void** ppFactory);
