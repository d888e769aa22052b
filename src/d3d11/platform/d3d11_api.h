// The subset of Direct3D 11 that the library uses, with the Windows SDK's
// names, values and signatures: devices, the immediate context, 2D textures,
// constant buffers, shader-resource and unordered-access views, compute
// shaders and event queries. Implemented on Vulkan (see vulkan_gpu.h).
//
// What is modelled, and what is refused with E_INVALIDARG:
// - Textures: 2D, one mip level, any array size, one sample, default or
//   staging usage, formats RGBA8, BGRA8, RGBA16, R8, R8G8, R16, R16G16, NV12
//   and P010 (a pair of planes; views of format R8/R16 address the luma,
//   R8G8/R16G16 the chroma). No initial data. Default textures start zeroed.
// - Buffers: constant buffers only (size a multiple of 16, up to 64 KiB),
//   filled from their initial data; they cannot be mapped.
// - Views: Texture2D and Texture2DArray views of mip 0.
// - Map: staging textures only. Rows are 256-byte aligned; the planes of a
//   subresource follow one another, so NV12 chroma rows start at
//   RowPitch x Height. Map waits for the GPU work that uses the texture.
// - Compute state: slots b0-b13, t0-t15, u0-u7 (fewer if the device's limits
//   are lower). Empty slots read as zeros and drop stores; loads outside a
//   texture return zeros.
// - Copies between default and staging textures in every direction (a
//   region that does not fit the destination is cut to what fits). Invalid
//   copies are dropped, as the Direct3D 11 runtime drops them.
// - Queries: event queries; GetData without DONOTFLUSH submits pending work.
#pragma once

#include "d3d11/platform/dxgi_api.h"

#define D3D11_SDK_VERSION 7

enum D3D_DRIVER_TYPE {
    D3D_DRIVER_TYPE_UNKNOWN = 0,
    D3D_DRIVER_TYPE_HARDWARE = 1,
};

enum D3D_FEATURE_LEVEL {
    D3D_FEATURE_LEVEL_11_0 = 0xb000,
};

enum D3D11_USAGE {
    D3D11_USAGE_DEFAULT = 0,
    D3D11_USAGE_IMMUTABLE = 1,
    D3D11_USAGE_DYNAMIC = 2,
    D3D11_USAGE_STAGING = 3,
};

enum D3D11_BIND_FLAG {
    D3D11_BIND_CONSTANT_BUFFER = 0x4,
    D3D11_BIND_SHADER_RESOURCE = 0x8,
    D3D11_BIND_RENDER_TARGET = 0x20,
    D3D11_BIND_UNORDERED_ACCESS = 0x80,
};

enum D3D11_CPU_ACCESS_FLAG {
    D3D11_CPU_ACCESS_WRITE = 0x10000,
    D3D11_CPU_ACCESS_READ = 0x20000,
};

enum D3D11_RESOURCE_MISC_FLAG {
    D3D11_RESOURCE_MISC_SHARED = 0x2,
};

enum D3D11_RESOURCE_DIMENSION {
    D3D11_RESOURCE_DIMENSION_UNKNOWN = 0,
    D3D11_RESOURCE_DIMENSION_BUFFER = 1,
    D3D11_RESOURCE_DIMENSION_TEXTURE2D = 3,
};

enum D3D11_MAP {
    D3D11_MAP_READ = 1,
    D3D11_MAP_WRITE = 2,
    D3D11_MAP_READ_WRITE = 3,
    D3D11_MAP_WRITE_DISCARD = 4,
    D3D11_MAP_WRITE_NO_OVERWRITE = 5,
};

enum D3D11_MAP_FLAG {
    D3D11_MAP_FLAG_DO_NOT_WAIT = 0x100000,
};

enum D3D11_ASYNC_GETDATA_FLAG {
    D3D11_ASYNC_GETDATA_DONOTFLUSH = 0x1,
};

enum D3D11_QUERY {
    D3D11_QUERY_EVENT = 0,
};

enum D3D11_SRV_DIMENSION {
    D3D11_SRV_DIMENSION_UNKNOWN = 0,
    D3D11_SRV_DIMENSION_TEXTURE2D = 4,
    D3D11_SRV_DIMENSION_TEXTURE2DARRAY = 5,
};

enum D3D11_UAV_DIMENSION {
    D3D11_UAV_DIMENSION_UNKNOWN = 0,
    D3D11_UAV_DIMENSION_TEXTURE2D = 4,
    D3D11_UAV_DIMENSION_TEXTURE2DARRAY = 5,
};

#define D3D11_COMMONSHADER_CONSTANT_BUFFER_API_SLOT_COUNT 14
#define D3D11_COMMONSHADER_INPUT_RESOURCE_SLOT_COUNT 128
#define D3D11_PS_CS_UAV_REGISTER_COUNT 8

typedef struct D3D11_TEXTURE2D_DESC {
    UINT Width;
    UINT Height;
    UINT MipLevels;
    UINT ArraySize;
    DXGI_FORMAT Format;
    DXGI_SAMPLE_DESC SampleDesc;
    D3D11_USAGE Usage;
    UINT BindFlags;
    UINT CPUAccessFlags;
    UINT MiscFlags;
} D3D11_TEXTURE2D_DESC;

typedef struct D3D11_BUFFER_DESC {
    UINT ByteWidth;
    D3D11_USAGE Usage;
    UINT BindFlags;
    UINT CPUAccessFlags;
    UINT MiscFlags;
    UINT StructureByteStride;
} D3D11_BUFFER_DESC;

typedef struct D3D11_SUBRESOURCE_DATA {
    const void* pSysMem;
    UINT SysMemPitch;
    UINT SysMemSlicePitch;
} D3D11_SUBRESOURCE_DATA;

typedef struct D3D11_MAPPED_SUBRESOURCE {
    void* pData;
    UINT RowPitch;
    UINT DepthPitch;
} D3D11_MAPPED_SUBRESOURCE;

typedef struct D3D11_BOX {
    UINT left;
    UINT top;
    UINT front;
    UINT right;
    UINT bottom;
    UINT back;
} D3D11_BOX;

typedef struct D3D11_TEX2D_SRV {
    UINT MostDetailedMip;
    UINT MipLevels;
} D3D11_TEX2D_SRV;

typedef struct D3D11_TEX2D_ARRAY_SRV {
    UINT MostDetailedMip;
    UINT MipLevels;
    UINT FirstArraySlice;
    UINT ArraySize;
} D3D11_TEX2D_ARRAY_SRV;

typedef struct D3D11_SHADER_RESOURCE_VIEW_DESC {
    DXGI_FORMAT Format;
    D3D11_SRV_DIMENSION ViewDimension;
    union {
        D3D11_TEX2D_SRV Texture2D;
        D3D11_TEX2D_ARRAY_SRV Texture2DArray;
    };
} D3D11_SHADER_RESOURCE_VIEW_DESC;

typedef struct D3D11_TEX2D_UAV {
    UINT MipSlice;
} D3D11_TEX2D_UAV;

typedef struct D3D11_TEX2D_ARRAY_UAV {
    UINT MipSlice;
    UINT FirstArraySlice;
    UINT ArraySize;
} D3D11_TEX2D_ARRAY_UAV;

typedef struct D3D11_UNORDERED_ACCESS_VIEW_DESC {
    DXGI_FORMAT Format;
    D3D11_UAV_DIMENSION ViewDimension;
    union {
        D3D11_TEX2D_UAV Texture2D;
        D3D11_TEX2D_ARRAY_UAV Texture2DArray;
    };
} D3D11_UNORDERED_ACCESS_VIEW_DESC;

typedef struct D3D11_QUERY_DESC {
    D3D11_QUERY Query;
    UINT MiscFlags;
} D3D11_QUERY_DESC;

struct ID3D11Device;
struct ID3D11ClassLinkage;
struct ID3D11ClassInstance;

struct ID3D11DeviceChild : public IUnknown {
    virtual void STDMETHODCALLTYPE GetDevice(ID3D11Device** ppDevice) = 0;
};

struct ID3D11Resource : public ID3D11DeviceChild {
    virtual void STDMETHODCALLTYPE GetType(D3D11_RESOURCE_DIMENSION* pResourceDimension) = 0;
};

struct ID3D11Texture2D : public ID3D11Resource {
    virtual void STDMETHODCALLTYPE GetDesc(D3D11_TEXTURE2D_DESC* pDesc) = 0;
};

struct ID3D11Buffer : public ID3D11Resource {
    virtual void STDMETHODCALLTYPE GetDesc(D3D11_BUFFER_DESC* pDesc) = 0;
};

struct ID3D11View : public ID3D11DeviceChild {
    virtual void STDMETHODCALLTYPE GetResource(ID3D11Resource** ppResource) = 0;
};

struct ID3D11ShaderResourceView : public ID3D11View {
    virtual void STDMETHODCALLTYPE GetDesc(D3D11_SHADER_RESOURCE_VIEW_DESC* pDesc) = 0;
};

struct ID3D11UnorderedAccessView : public ID3D11View {
    virtual void STDMETHODCALLTYPE GetDesc(D3D11_UNORDERED_ACCESS_VIEW_DESC* pDesc) = 0;
};

struct ID3D11ComputeShader : public ID3D11DeviceChild {};

struct ID3D11Asynchronous : public ID3D11DeviceChild {
    virtual UINT STDMETHODCALLTYPE GetDataSize() = 0;
};

struct ID3D11Query : public ID3D11Asynchronous {
    virtual void STDMETHODCALLTYPE GetDesc(D3D11_QUERY_DESC* pDesc) = 0;
};

struct ID3D11DeviceContext : public ID3D11DeviceChild {
    virtual void STDMETHODCALLTYPE CopySubresourceRegion(ID3D11Resource* pDstResource, UINT DstSubresource,
                                                         UINT DstX, UINT DstY, UINT DstZ,
                                                         ID3D11Resource* pSrcResource, UINT SrcSubresource,
                                                         const D3D11_BOX* pSrcBox) = 0;
    virtual HRESULT STDMETHODCALLTYPE Map(ID3D11Resource* pResource, UINT Subresource, D3D11_MAP MapType,
                                          UINT MapFlags, D3D11_MAPPED_SUBRESOURCE* pMappedResource) = 0;
    virtual void STDMETHODCALLTYPE Unmap(ID3D11Resource* pResource, UINT Subresource) = 0;
    virtual void STDMETHODCALLTYPE CSSetShader(ID3D11ComputeShader* pComputeShader,
                                               ID3D11ClassInstance* const* ppClassInstances,
                                               UINT NumClassInstances) = 0;
    virtual void STDMETHODCALLTYPE CSSetShaderResources(UINT StartSlot, UINT NumViews,
                                                        ID3D11ShaderResourceView* const* ppShaderResourceViews) = 0;
    virtual void STDMETHODCALLTYPE CSSetUnorderedAccessViews(
        UINT StartSlot, UINT NumUAVs, ID3D11UnorderedAccessView* const* ppUnorderedAccessViews,
        const UINT* pUAVInitialCounts) = 0;
    virtual void STDMETHODCALLTYPE CSSetConstantBuffers(UINT StartSlot, UINT NumBuffers,
                                                        ID3D11Buffer* const* ppConstantBuffers) = 0;
    virtual void STDMETHODCALLTYPE Dispatch(UINT ThreadGroupCountX, UINT ThreadGroupCountY,
                                            UINT ThreadGroupCountZ) = 0;
    virtual void STDMETHODCALLTYPE End(ID3D11Asynchronous* pAsync) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetData(ID3D11Asynchronous* pAsync, void* pData, UINT DataSize,
                                              UINT GetDataFlags) = 0;
    virtual void STDMETHODCALLTYPE Flush() = 0;
};

struct ID3D11Device : public IUnknown {
    virtual HRESULT STDMETHODCALLTYPE CreateBuffer(const D3D11_BUFFER_DESC* pDesc,
                                                   const D3D11_SUBRESOURCE_DATA* pInitialData,
                                                   ID3D11Buffer** ppBuffer) = 0;
    virtual HRESULT STDMETHODCALLTYPE CreateTexture2D(const D3D11_TEXTURE2D_DESC* pDesc,
                                                      const D3D11_SUBRESOURCE_DATA* pInitialData,
                                                      ID3D11Texture2D** ppTexture2D) = 0;
    virtual HRESULT STDMETHODCALLTYPE CreateShaderResourceView(ID3D11Resource* pResource,
                                                               const D3D11_SHADER_RESOURCE_VIEW_DESC* pDesc,
                                                               ID3D11ShaderResourceView** ppSRView) = 0;
    virtual HRESULT STDMETHODCALLTYPE CreateUnorderedAccessView(ID3D11Resource* pResource,
                                                                const D3D11_UNORDERED_ACCESS_VIEW_DESC* pDesc,
                                                                ID3D11UnorderedAccessView** ppUAView) = 0;
    virtual HRESULT STDMETHODCALLTYPE CreateComputeShader(const void* pShaderBytecode, SIZE_T BytecodeLength,
                                                          ID3D11ClassLinkage* pClassLinkage,
                                                          ID3D11ComputeShader** ppComputeShader) = 0;
    virtual HRESULT STDMETHODCALLTYPE CreateQuery(const D3D11_QUERY_DESC* pQueryDesc, ID3D11Query** ppQuery) = 0;
    virtual HRESULT STDMETHODCALLTYPE OpenSharedResource(HANDLE hResource, REFIID ReturnedInterface,
                                                         void** ppResource) = 0;
    virtual void STDMETHODCALLTYPE GetImmediateContext(ID3D11DeviceContext** ppImmediateContext) = 0;
    virtual D3D_FEATURE_LEVEL STDMETHODCALLTYPE GetFeatureLevel() = 0;
};

KRO_DECLARE_IID(ID3D11DeviceChild, 0x1841e5c8, 0x16b0, 0x489b, 0xbc, 0xc8, 0x44, 0xcf, 0xb0, 0xd5, 0xde, 0xae);
KRO_DECLARE_IID(ID3D11Resource, 0xdc8e63f3, 0xd12b, 0x4952, 0xb4, 0x7b, 0x5e, 0x45, 0x02, 0x6a, 0x86, 0x2d);
KRO_DECLARE_IID(ID3D11Texture2D, 0x6f15aaf2, 0xd208, 0x4e89, 0x9a, 0xb4, 0x48, 0x95, 0x35, 0xd3, 0x4f, 0x9c);
KRO_DECLARE_IID(ID3D11Buffer, 0x48570b85, 0xd1ee, 0x4fcd, 0xa2, 0x50, 0xeb, 0x35, 0x07, 0x22, 0xb0, 0x37);
KRO_DECLARE_IID(ID3D11View, 0x839d1216, 0xbb2e, 0x412b, 0xb7, 0xf4, 0xa9, 0xdb, 0xeb, 0xe0, 0x8e, 0xd1);
KRO_DECLARE_IID(ID3D11ShaderResourceView, 0xb0e06fe0, 0x8192, 0x4e1a, 0xb1, 0xca, 0x36, 0xd7, 0x41, 0x47, 0x10, 0xb2);
KRO_DECLARE_IID(ID3D11UnorderedAccessView, 0x28acf509, 0x7f5c, 0x48f6, 0x86, 0x11, 0xf3, 0x16, 0x01, 0x0a, 0x63, 0x80);
KRO_DECLARE_IID(ID3D11ComputeShader, 0x4f5b196e, 0xc2bd, 0x495e, 0xbd, 0x01, 0x1f, 0xde, 0xd3, 0x8e, 0x49, 0x69);
KRO_DECLARE_IID(ID3D11Asynchronous, 0x4b35d0cd, 0x1e15, 0x4258, 0x9c, 0x98, 0x1b, 0x13, 0x33, 0xf6, 0xdd, 0x3b);
KRO_DECLARE_IID(ID3D11Query, 0xd6c00747, 0x87b7, 0x425e, 0xb8, 0x4d, 0x44, 0xd1, 0x08, 0x56, 0x0a, 0xfd);
KRO_DECLARE_IID(ID3D11DeviceContext, 0xc0bfa96c, 0xe089, 0x44fb, 0x8e, 0xaf, 0x26, 0xf8, 0x79, 0x61, 0x90, 0xda);
KRO_DECLARE_IID(ID3D11Device, 0xdb6f6ddb, 0xac77, 0x4e88, 0x82, 0x53, 0x81, 0x9d, 0xf9, 0xbb, 0xf1, 0x40);

// Creates a device on the given adapter (driver type UNKNOWN) and its
// immediate context. Feature level 11_0 is the only one modelled.
HRESULT WINAPI D3D11CreateDevice(IDXGIAdapter* pAdapter, D3D_DRIVER_TYPE DriverType, void* Software, UINT Flags,
                                 const D3D_FEATURE_LEVEL* pFeatureLevels, UINT FeatureLevels, UINT SDKVersion,
                                 ID3D11Device** ppDevice, D3D_FEATURE_LEVEL* pFeatureLevel,
                                 ID3D11DeviceContext** ppImmediateContext);
