// Textures, constant buffers and their views.
#include <algorithm>
#include <cstring>
#include <new>

#include "d3d11/platform/d3d11_objects.h"

namespace kro_d3d11 {

namespace {

// Direct3D 11's limits for 2D textures.
constexpr UINT kMaxTextureSize = 16384;
constexpr UINT kMaxArraySize = 2048;
constexpr UINT kStagingPitchAlignment = 256;
constexpr UINT kMaxConstantBufferBytes = 4096 * 16;

bool validTextureDesc(const D3D11_TEXTURE2D_DESC& d) {
    if (d.Width == 0 || d.Height == 0 || d.Width > kMaxTextureSize || d.Height > kMaxTextureSize) return false;
    if (d.MipLevels != 1 || d.ArraySize == 0 || d.ArraySize > kMaxArraySize) return false;
    if (d.SampleDesc.Count != 1 || d.SampleDesc.Quality != 0) return false;
    if (d.Usage == D3D11_USAGE_DEFAULT) {
        const UINT bindable = D3D11_BIND_SHADER_RESOURCE | D3D11_BIND_RENDER_TARGET | D3D11_BIND_UNORDERED_ACCESS;
        return (d.BindFlags & ~bindable) == 0 && d.CPUAccessFlags == 0 && (d.MiscFlags & ~D3D11_RESOURCE_MISC_SHARED) == 0;
    }
    if (d.Usage == D3D11_USAGE_STAGING) {
        const UINT access = D3D11_CPU_ACCESS_READ | D3D11_CPU_ACCESS_WRITE;
        return d.BindFlags == 0 && d.CPUAccessFlags != 0 && (d.CPUAccessFlags & ~access) == 0 && d.MiscFlags == 0;
    }
    return false;  // immutable and dynamic textures are not modelled
}

// The plane a view format addresses, or -1 when the format cannot view the texture.
int planeForView(const FormatInfo& format, DXGI_FORMAT viewFormat) {
    if (viewFormat == DXGI_FORMAT_UNKNOWN && format.planeCount == 1) return 0;
    for (uint32_t p = 0; p < format.planeCount; ++p)
        if (format.planes[p].view == viewFormat) return static_cast<int>(p);
    return -1;
}

}  // namespace

TextureStorage::~TextureStorage() {
    if (sharedHandle) unregisterSharedTexture(sharedHandle);
}

void Texture::GetType(D3D11_RESOURCE_DIMENSION* dimension) {
    if (dimension) *dimension = D3D11_RESOURCE_DIMENSION_TEXTURE2D;
}

void Texture::GetDesc(D3D11_TEXTURE2D_DESC* desc) {
    if (desc) *desc = storage_->desc;
}

Texture* Texture::from(ID3D11Resource* resource) { return dynamic_cast<Texture*>(resource); }

void* Texture::queryInterface(REFIID riid) {
    if (isOneOf<IUnknown, ID3D11DeviceChild, ID3D11Resource, ID3D11Texture2D>(riid)) return self();
    if (isOneOf<IDXGIResource, IDXGIDeviceSubObject, IDXGIObject>(riid)) return createDxgiResource(this);
    return nullptr;
}

void ConstantBuffer::GetType(D3D11_RESOURCE_DIMENSION* dimension) {
    if (dimension) *dimension = D3D11_RESOURCE_DIMENSION_BUFFER;
}

void ConstantBuffer::GetDesc(D3D11_BUFFER_DESC* desc) {
    if (desc) *desc = desc_;
}

void* ConstantBuffer::queryInterface(REFIID riid) {
    return isOneOf<IUnknown, ID3D11DeviceChild, ID3D11Resource, ID3D11Buffer>(riid) ? self() : nullptr;
}

HRESULT Device::CreateTexture2D(const D3D11_TEXTURE2D_DESC* pDesc, const D3D11_SUBRESOURCE_DATA* pInitialData,
                                ID3D11Texture2D** ppTexture2D) {
    if (!pDesc || !validTextureDesc(*pDesc)) return E_INVALIDARG;
    const FormatInfo* format = findFormat(pDesc->Format);
    if (!format || pInitialData) return E_INVALIDARG;  // initial data is not modelled
    VkImageUsageFlags usage = 0;
    VkFormatFeatureFlags features = VK_FORMAT_FEATURE_TRANSFER_SRC_BIT | VK_FORMAT_FEATURE_TRANSFER_DST_BIT;
    if (pDesc->BindFlags & D3D11_BIND_SHADER_RESOURCE) {
        usage |= VK_IMAGE_USAGE_SAMPLED_BIT;
        features |= VK_FORMAT_FEATURE_SAMPLED_IMAGE_BIT;
    }
    if (pDesc->BindFlags & D3D11_BIND_UNORDERED_ACCESS) {
        usage |= VK_IMAGE_USAGE_STORAGE_BIT;
        features |= VK_FORMAT_FEATURE_STORAGE_IMAGE_BIT;
    }
    if (pDesc->Usage == D3D11_USAGE_DEFAULT) {
        for (uint32_t p = 0; p < format->planeCount; ++p)
            if (!gpu_->formatSupports(format->planes[p].vulkan, features)) return E_INVALIDARG;
    }
    if (!ppTexture2D) return S_FALSE;  // the description is valid

    std::shared_ptr<TextureStorage> storage(new (std::nothrow) TextureStorage());
    if (!storage) return E_OUTOFMEMORY;
    storage->desc = *pDesc;
    storage->format = format;
    storage->gpu = gpu_;
    if (pDesc->Usage == D3D11_USAGE_STAGING) {
        uint32_t widest = 0;
        for (uint32_t p = 0; p < format->planeCount; ++p) {
            const PlaneFormat& plane = format->planes[p];
            widest = std::max(widest, planeExtent(pDesc->Width, plane) * plane.bytesPerTexel);
        }
        storage->rowPitch = (widest + kStagingPitchAlignment - 1) / kStagingPitchAlignment * kStagingPitchAlignment;
        VkDeviceSize offset = 0;
        for (uint32_t p = 0; p < format->planeCount; ++p) {
            storage->planeOffset[p] = offset;
            offset += VkDeviceSize(storage->rowPitch) * planeExtent(pDesc->Height, format->planes[p]);
        }
        storage->subresourceSize = offset;
        storage->staging = kro_vk::Buffer::create(gpu_, offset * pDesc->ArraySize,
                                                  VK_BUFFER_USAGE_TRANSFER_SRC_BIT | VK_BUFFER_USAGE_TRANSFER_DST_BIT);
        if (!storage->staging) return E_OUTOFMEMORY;
    } else {
        for (uint32_t p = 0; p < format->planeCount; ++p) {
            const PlaneFormat& plane = format->planes[p];
            storage->planes[p] = kro_vk::Image::create(gpu_, plane.vulkan, planeExtent(pDesc->Width, plane),
                                                       planeExtent(pDesc->Height, plane), pDesc->ArraySize, usage);
            if (!storage->planes[p]) return E_OUTOFMEMORY;
        }
        if (pDesc->MiscFlags & D3D11_RESOURCE_MISC_SHARED) {
            storage->sharedHandle = registerSharedTexture(storage);
            if (!storage->sharedHandle) return E_OUTOFMEMORY;
        }
    }
    Texture* texture = new (std::nothrow) Texture(this, std::move(storage));
    if (!texture) return E_OUTOFMEMORY;
    countCreated(ObjectKind::Texture);
    *ppTexture2D = texture;
    return S_OK;
}

HRESULT Device::OpenSharedResource(HANDLE hResource, REFIID ReturnedInterface, void** ppResource) {
    if (!ppResource) return E_INVALIDARG;
    *ppResource = nullptr;
    std::shared_ptr<TextureStorage> storage = findSharedTexture(hResource);
    // Only devices on the texture's own adapter can open it.
    if (!storage || storage->gpu != gpu_) return E_INVALIDARG;
    Texture* texture = new (std::nothrow) Texture(this, std::move(storage));
    if (!texture) return E_OUTOFMEMORY;
    HRESULT hr = texture->QueryInterface(ReturnedInterface, ppResource);
    texture->Release();
    return hr;
}

HRESULT Device::CreateBuffer(const D3D11_BUFFER_DESC* pDesc, const D3D11_SUBRESOURCE_DATA* pInitialData,
                             ID3D11Buffer** ppBuffer) {
    // Constant buffers are the only buffers modelled.
    if (!pDesc || pDesc->BindFlags != D3D11_BIND_CONSTANT_BUFFER || pDesc->ByteWidth == 0 ||
        pDesc->ByteWidth % 16 != 0 || pDesc->ByteWidth > kMaxConstantBufferBytes || pDesc->MiscFlags != 0)
        return E_INVALIDARG;
    if (pDesc->Usage == D3D11_USAGE_DYNAMIC && pDesc->CPUAccessFlags != D3D11_CPU_ACCESS_WRITE) return E_INVALIDARG;
    if (pDesc->Usage != D3D11_USAGE_DYNAMIC && pDesc->CPUAccessFlags != 0) return E_INVALIDARG;
    if (pDesc->Usage == D3D11_USAGE_STAGING) return E_INVALIDARG;
    if (pDesc->Usage == D3D11_USAGE_IMMUTABLE && (!pInitialData || !pInitialData->pSysMem)) return E_INVALIDARG;
    if (pInitialData && !pInitialData->pSysMem) return E_INVALIDARG;
    if (!ppBuffer) return S_FALSE;
    std::shared_ptr<kro_vk::Buffer> buffer =
        kro_vk::Buffer::create(gpu_, pDesc->ByteWidth, VK_BUFFER_USAGE_UNIFORM_BUFFER_BIT);
    if (!buffer) return E_OUTOFMEMORY;
    if (pInitialData) std::memcpy(buffer->mapped, pInitialData->pSysMem, pDesc->ByteWidth);
    ConstantBuffer* object = new (std::nothrow) ConstantBuffer(this, *pDesc, std::move(buffer));
    if (!object) return E_OUTOFMEMORY;
    countCreated(ObjectKind::Buffer);
    *ppBuffer = object;
    return S_OK;
}

namespace {

// Shared by both view kinds: the plane and slice range a description
// selects, checked against the texture.
struct ViewRange {
    int plane = -1;
    UINT firstSlice = 0;
    UINT sliceCount = 0;
};

template <class Desc>
ViewRange resolveView(const TextureStorage& storage, const Desc* desc, int arrayDimension, int plainDimension,
                      UINT mip) {
    ViewRange range;
    if (!desc) {
        range.plane = planeForView(*storage.format, DXGI_FORMAT_UNKNOWN);
        range.sliceCount = storage.desc.ArraySize;
        return range;
    }
    if (mip != 0) return range;
    if (static_cast<int>(desc->ViewDimension) == arrayDimension) {
        range.firstSlice = desc->Texture2DArray.FirstArraySlice;
        range.sliceCount = desc->Texture2DArray.ArraySize;
    } else if (static_cast<int>(desc->ViewDimension) == plainDimension && storage.desc.ArraySize == 1) {
        range.sliceCount = 1;
    } else {
        return range;
    }
    if (range.sliceCount == 0 || range.firstSlice >= storage.desc.ArraySize ||
        range.sliceCount > storage.desc.ArraySize - range.firstSlice)
        return range;
    range.plane = planeForView(*storage.format, desc->Format);
    return range;
}

template <class View, class Desc>
HRESULT createView(Device* device, ID3D11Resource* resource, const Desc* desc, UINT requiredBind, ViewRange range,
                   View** out) {
    Texture* texture = Texture::from(resource);
    if (!texture || texture->device() != device || range.plane < 0) return E_INVALIDARG;
    const std::shared_ptr<TextureStorage>& storage = texture->storage();
    if (!(storage->desc.BindFlags & requiredBind)) return E_INVALIDARG;
    if (!out) return S_FALSE;
    std::shared_ptr<ViewState> state(new (std::nothrow) ViewState());
    if (!state) return E_OUTOFMEMORY;
    state->texture = storage;
    state->view = kro_vk::ImageView::create(storage->planes[range.plane], range.firstSlice, range.sliceCount);
    if (!state->view) return E_OUTOFMEMORY;
    Desc filled{};
    if (desc) {
        filled = *desc;
    } else {
        filled.Format = storage->desc.Format;
        filled.ViewDimension = static_cast<decltype(filled.ViewDimension)>(5);  // TEXTURE2DARRAY
        filled.Texture2DArray.ArraySize = storage->desc.ArraySize;
    }
    auto* view = new (std::nothrow) TextureView<View, Desc>(device, texture, filled, std::move(state));
    if (!view) return E_OUTOFMEMORY;
    countCreated(ObjectKind::View);
    *out = view;
    return S_OK;
}

}  // namespace

HRESULT Device::CreateShaderResourceView(ID3D11Resource* pResource, const D3D11_SHADER_RESOURCE_VIEW_DESC* pDesc,
                                         ID3D11ShaderResourceView** ppSRView) {
    Texture* texture = Texture::from(pResource);
    if (!texture) return E_INVALIDARG;
    UINT mip = 0;
    if (pDesc) {
        const bool array = pDesc->ViewDimension == D3D11_SRV_DIMENSION_TEXTURE2DARRAY;
        const UINT first = array ? pDesc->Texture2DArray.MostDetailedMip : pDesc->Texture2D.MostDetailedMip;
        const UINT levels = array ? pDesc->Texture2DArray.MipLevels : pDesc->Texture2D.MipLevels;
        mip = (first == 0 && (levels == 1 || levels == UINT(-1))) ? 0 : 1;
    }
    ViewRange range = resolveView(*texture->storage(), pDesc, D3D11_SRV_DIMENSION_TEXTURE2DARRAY,
                                  D3D11_SRV_DIMENSION_TEXTURE2D, mip);
    return createView(this, pResource, pDesc, D3D11_BIND_SHADER_RESOURCE, range, ppSRView);
}

HRESULT Device::CreateUnorderedAccessView(ID3D11Resource* pResource, const D3D11_UNORDERED_ACCESS_VIEW_DESC* pDesc,
                                          ID3D11UnorderedAccessView** ppUAView) {
    Texture* texture = Texture::from(pResource);
    if (!texture) return E_INVALIDARG;
    UINT mip = 0;
    if (pDesc)
        mip = pDesc->ViewDimension == D3D11_UAV_DIMENSION_TEXTURE2DARRAY ? pDesc->Texture2DArray.MipSlice
                                                                          : pDesc->Texture2D.MipSlice;
    ViewRange range = resolveView(*texture->storage(), pDesc, D3D11_UAV_DIMENSION_TEXTURE2DARRAY,
                                  D3D11_UAV_DIMENSION_TEXTURE2D, mip);
    return createView(this, pResource, pDesc, D3D11_BIND_UNORDERED_ACCESS, range, ppUAView);
}

}  // namespace kro_d3d11
