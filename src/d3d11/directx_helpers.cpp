// KRODirectX: the static Direct3D 11 operations. The same source builds on
// Windows against the SDK and elsewhere against the Vulkan-backed layer in
// platform/ (d3d11_headers.h picks one).
#include <cstdio>
#include <cstring>
#include <mutex>
#include <new>
#include <string>
#include <unordered_map>

#include "KROColorFunctions.h"
#include "d3d11/d3d11_headers.h"

namespace KROCOLOR {

namespace {

// Compiled bytecode by entry-point name, for the life of the process. The
// first successful compilation of a name serves every later request.
std::mutex& shaderCacheMutex() {
    static std::mutex mutex;
    return mutex;
}

std::unordered_map<std::string, ID3DBlob*>& shaderCache() {
    static auto* cache = new std::unordered_map<std::string, ID3DBlob*>();  // never destroyed: blobs outlive statics
    return *cache;
}

template <class T>
void releaseAndClear(T*& object) {
    if (object) object->Release();
    object = nullptr;
}

// The view formats of a texture format, one per plane; 0 for formats that
// have no views here.
int viewFormats(DXGI_FORMAT format, DXGI_FORMAT views[2]) {
    switch (format) {
        case DXGI_FORMAT_NV12:
            views[0] = DXGI_FORMAT_R8_UNORM;
            views[1] = DXGI_FORMAT_R8G8_UNORM;
            return 2;
        case DXGI_FORMAT_P010:
            views[0] = DXGI_FORMAT_R16_UNORM;
            views[1] = DXGI_FORMAT_R16G16_UNORM;
            return 2;
        case DXGI_FORMAT_R8G8B8A8_UNORM:
        case DXGI_FORMAT_B8G8R8A8_UNORM:
        case DXGI_FORMAT_R16G16B16A16_UNORM:
            views[0] = format;
            return 1;
        default:
            return 0;
    }
}

// Views of one array slice of a texture, created by `create(format, slice,
// out)`; on any failure the views made so far are released.
template <class View, class Create>
bool createTextureViews(ID3D11Manager* manager, ID3D11Texture2D* texture, long long arraySlice, View* out[2],
                        Create create) {
    if (!manager || !manager->device || !texture || !out) return false;
    D3D11_TEXTURE2D_DESC desc;
    texture->GetDesc(&desc);
    if (arraySlice < 0 || arraySlice >= static_cast<long long>(desc.ArraySize)) return false;
    DXGI_FORMAT formats[2];
    const int count = viewFormats(desc.Format, formats);
    if (count == 0) return false;
    View* made[2] = {nullptr, nullptr};
    for (int i = 0; i < count; ++i) {
        if (FAILED(create(formats[i], static_cast<UINT>(arraySlice), &made[i])) || !made[i]) {
            releaseAndClear(made[0]);
            releaseAndClear(made[1]);
            return false;
        }
    }
    out[0] = made[0];
    out[1] = made[1];
    return true;
}

bool copyTexture(ID3D11Manager* manager, ID3D11Texture2D* dst, int dstSubresource, ID3D11Texture2D* src,
                 int srcSubresource) {
    if (!manager || !manager->context || !dst || !src || dstSubresource < 0 || srcSubresource < 0) return false;
    D3D11_TEXTURE2D_DESC dstDesc, srcDesc;
    dst->GetDesc(&dstDesc);
    src->GetDesc(&srcDesc);
    if (dstDesc.Format != srcDesc.Format) return false;
    manager->context->CopySubresourceRegion(dst, static_cast<UINT>(dstSubresource), 0, 0, 0, src,
                                            static_cast<UINT>(srcSubresource), nullptr);
    return true;
}

// Rows and bytes per row the generic staging copies move for a format:
// semi-planar formats move their luma rows and then their chroma rows
// (r < 1.5 x height); P010 is moved whole like NV12, with 2-byte samples.
struct StagingRows {
    size_t rows = 0;
    size_t rowBytes = 0;
};

StagingRows stagingRows(DXGI_FORMAT format, int width, int height) {
    StagingRows layout;
    size_t bytesPerPixel = 0;
    bool semiPlanar = false;
    switch (format) {
        case DXGI_FORMAT_NV12: bytesPerPixel = 1; semiPlanar = true; break;
        case DXGI_FORMAT_P010: bytesPerPixel = 2; semiPlanar = true; break;
        case DXGI_FORMAT_R8G8B8A8_UNORM:
        case DXGI_FORMAT_B8G8R8A8_UNORM: bytesPerPixel = 4; break;
        case DXGI_FORMAT_R16G16B16A16_UNORM: bytesPerPixel = 8; break;
        default: return layout;  // nothing is copied
    }
    if (semiPlanar) {
        while (static_cast<double>(layout.rows) < 1.5 * height) ++layout.rows;
    } else {
        layout.rows = static_cast<size_t>(height);
    }
    layout.rowBytes = static_cast<size_t>(width) * bytesPerPixel;
    return layout;
}

// The frame every staging transfer shares: checks, Map, `copy(mapped)`, Unmap.
template <class Copy>
bool withMappedStaging(ID3D11Manager* manager, ID3D11Texture2D* staging, int subresource, const void* cpu,
                       int stride, int width, int height, bool read, bool rgb, Copy copy) {
    if (!manager || !manager->context || !staging || !cpu || stride <= 0 || height <= 0 || width <= 0 ||
        subresource < 0)
        return false;
    D3D11_TEXTURE2D_DESC desc;
    staging->GetDesc(&desc);
    if (desc.Width != static_cast<UINT>(width) || desc.Height != static_cast<UINT>(height)) return false;
    if (rgb && desc.Format != DXGI_FORMAT_R8G8B8A8_UNORM) return false;
    // A stride shorter than a row would make the rows overlap and reach past
    // the caller's buffer.
    const size_t rowBytes = rgb ? size_t(width) * 3 : stagingRows(desc.Format, width, height).rowBytes;
    if (size_t(stride) < rowBytes) return false;
    D3D11_MAPPED_SUBRESOURCE mapped;
    if (FAILED(manager->context->Map(staging, static_cast<UINT>(subresource), read ? D3D11_MAP_READ : D3D11_MAP_WRITE,
                                     0, &mapped)))
        return false;
    copy(desc, static_cast<unsigned char*>(mapped.pData), static_cast<size_t>(mapped.RowPitch));
    manager->context->Unmap(staging, static_cast<UINT>(subresource));
    return true;
}

// Moves rows between mapped memory and CPU memory in the direction `read`.
void copyStagingRows(const D3D11_TEXTURE2D_DESC& desc, unsigned char* mapped, size_t pitch, unsigned char* cpu,
                     size_t stride, int width, int height, bool read) {
    const StagingRows layout = stagingRows(desc.Format, width, height);
    if (layout.rows == 0) return;
    if (stride == pitch) {
        if (read)
            std::memcpy(cpu, mapped, stride * layout.rows);
        else
            std::memcpy(mapped, cpu, stride * layout.rows);
        return;
    }
    for (size_t r = 0; r < layout.rows; ++r) {
        if (read)
            std::memcpy(cpu + r * stride, mapped + r * pitch, layout.rowBytes);
        else
            std::memcpy(mapped + r * pitch, cpu + r * stride, layout.rowBytes);
    }
}

}  // namespace

ID3D11Manager* KRODirectX::createID3D11Device(int adapterIndex) {
    IDXGIFactory* factory = nullptr;
    if (FAILED(CreateDXGIFactory(IID_PPV_ARGS(&factory))) || !factory) {
        std::printf("KRODirectX 无法创建DXGI工厂\n");
        return nullptr;
    }
    ID3D11Manager* manager = new (std::nothrow) ID3D11Manager();
    if (manager) {
        IDXGIAdapter* adapter = nullptr;
        const HRESULT found = factory->EnumAdapters(static_cast<UINT>(adapterIndex), &adapter);
        if (found != DXGI_ERROR_NOT_FOUND && adapter) {
            ID3D11Device* device = nullptr;
            ID3D11DeviceContext* context = nullptr;
            if (FAILED(D3D11CreateDevice(adapter, D3D_DRIVER_TYPE_UNKNOWN, nullptr, 0, nullptr, 0, D3D11_SDK_VERSION,
                                         &device, nullptr, &context))) {
                device = nullptr;
                context = nullptr;
            }
            adapter->Release();
            manager->device = device;
            manager->context = context;
        } else if (adapter) {
            adapter->Release();
        }
    }
    factory->Release();
    if (manager && manager->device && manager->context) return manager;
    if (manager) {
        releaseAndClear(manager->device);
        releaseAndClear(manager->context);
        delete manager;
    }
    return nullptr;
}

void KRODirectX::releaseID3D11Device(ID3D11Manager** manager) {
    if (!manager || !*manager) return;
    releaseAndClear((*manager)->device);
    releaseAndClear((*manager)->context);
    delete *manager;
    *manager = nullptr;
}

IDXGIAdapter* KRODirectX::queryIDXGIAdapter(ID3D11Device* device) {
    if (!device) return nullptr;
    IDXGIDevice* dxgiDevice = nullptr;
    if (FAILED(device->QueryInterface(IID_PPV_ARGS(&dxgiDevice))) || !dxgiDevice) return nullptr;
    IDXGIAdapter* adapter = nullptr;
    if (FAILED(dxgiDevice->GetAdapter(&adapter))) adapter = nullptr;
    dxgiDevice->Release();
    return adapter;
}

bool KRODirectX::canInteroperability(ID3D11Manager* a, ID3D11Manager* b) {
    if (!a || !b) return false;
    IDXGIAdapter* first = queryIDXGIAdapter(a->device);
    IDXGIAdapter* second = queryIDXGIAdapter(b->device);
    bool same = false;
    if (first && second) {
        DXGI_ADAPTER_DESC d1, d2;
        if (SUCCEEDED(first->GetDesc(&d1)) && SUCCEEDED(second->GetDesc(&d2))) {
            // 16-bit characters up to the terminating zero.
            size_t i = 0;
            const size_t n = sizeof(d1.Description) / sizeof(d1.Description[0]);
            while (i < n && d1.Description[i] == d2.Description[i] && d1.Description[i] != 0) ++i;
            same = i == n || d1.Description[i] == d2.Description[i];
        }
    }
    releaseAndClear(first);
    releaseAndClear(second);
    return same;
}

namespace {

ID3D11Texture2D* createTexture(ID3D11Manager* manager, int width, int height, DXGI_FORMAT format, bool staging) {
    if (!manager || !manager->device || width <= 0 || height <= 0) return nullptr;
    D3D11_TEXTURE2D_DESC desc{};
    desc.Width = static_cast<UINT>(width);
    desc.Height = static_cast<UINT>(height);
    desc.MipLevels = 1;
    desc.ArraySize = 1;
    desc.Format = format;
    desc.SampleDesc.Count = 1;
    desc.SampleDesc.Quality = 0;
    if (staging) {
        desc.Usage = D3D11_USAGE_STAGING;
        desc.CPUAccessFlags = D3D11_CPU_ACCESS_READ | D3D11_CPU_ACCESS_WRITE;
    } else {
        desc.Usage = D3D11_USAGE_DEFAULT;
        desc.BindFlags = D3D11_BIND_SHADER_RESOURCE | D3D11_BIND_RENDER_TARGET | D3D11_BIND_UNORDERED_ACCESS;
        desc.MiscFlags = D3D11_RESOURCE_MISC_SHARED;
    }
    ID3D11Texture2D* texture = nullptr;
    if (FAILED(manager->device->CreateTexture2D(&desc, nullptr, &texture))) return nullptr;
    return texture;
}

}  // namespace

ID3D11Texture2D* KRODirectX::createID3D11Texture2D(ID3D11Manager* manager, int width, int height, DXGI_FORMAT format) {
    return createTexture(manager, width, height, format, false);
}

ID3D11Texture2D* KRODirectX::createStagingID3D11Texture2D(ID3D11Manager* manager, int width, int height,
                                                          DXGI_FORMAT format) {
    return createTexture(manager, width, height, format, true);
}

ID3D11Texture2D* KRODirectX::createSharedID3D11Texture2D(ID3D11Manager* manager, ID3D11Texture2D* texture) {
    if (!manager || !manager->device || !texture) return nullptr;
    IDXGIResource* resource = nullptr;
    if (FAILED(texture->QueryInterface(IID_PPV_ARGS(&resource))) || !resource) return nullptr;
    HANDLE handle = nullptr;
    ID3D11Texture2D* opened = nullptr;
    if (SUCCEEDED(resource->GetSharedHandle(&handle)) &&
        FAILED(manager->device->OpenSharedResource(handle, IID_PPV_ARGS(&opened))))
        opened = nullptr;
    resource->Release();
    return opened;
}

bool KRODirectX::createID3D11ShaderResourceView(ID3D11Manager* manager, ID3D11Texture2D* texture,
                                                long long arraySlice, ID3D11ShaderResourceView* views[2]) {
    return createTextureViews(manager, texture, arraySlice, views,
                              [&](DXGI_FORMAT format, UINT slice, ID3D11ShaderResourceView** out) {
                                  D3D11_SHADER_RESOURCE_VIEW_DESC desc{};
                                  desc.Format = format;
                                  desc.ViewDimension = D3D11_SRV_DIMENSION_TEXTURE2DARRAY;
                                  desc.Texture2DArray.MostDetailedMip = 0;
                                  desc.Texture2DArray.MipLevels = 1;
                                  desc.Texture2DArray.FirstArraySlice = slice;
                                  desc.Texture2DArray.ArraySize = 1;
                                  return manager->device->CreateShaderResourceView(texture, &desc, out);
                              });
}

bool KRODirectX::createID3D11UnorderedAccessView(ID3D11Manager* manager, ID3D11Texture2D* texture,
                                                 long long arraySlice, ID3D11UnorderedAccessView* views[2]) {
    return createTextureViews(manager, texture, arraySlice, views,
                              [&](DXGI_FORMAT format, UINT slice, ID3D11UnorderedAccessView** out) {
                                  D3D11_UNORDERED_ACCESS_VIEW_DESC desc{};
                                  desc.Format = format;
                                  desc.ViewDimension = D3D11_UAV_DIMENSION_TEXTURE2DARRAY;
                                  desc.Texture2DArray.MipSlice = 0;
                                  desc.Texture2DArray.FirstArraySlice = slice;
                                  desc.Texture2DArray.ArraySize = 1;
                                  return manager->device->CreateUnorderedAccessView(texture, &desc, out);
                              });
}

bool KRODirectX::createBuffer(ID3D11Manager* manager, void* data, unsigned long long size, ID3D11Buffer** buffer) {
    if (!manager || !manager->device || !data || size == 0 || !buffer) return false;
    D3D11_BUFFER_DESC desc{};
    desc.ByteWidth = static_cast<UINT>(size);  // the low 32 bits
    desc.Usage = D3D11_USAGE_DYNAMIC;
    desc.BindFlags = D3D11_BIND_CONSTANT_BUFFER;
    desc.CPUAccessFlags = D3D11_CPU_ACCESS_WRITE;
    desc.MiscFlags = 0;
    desc.StructureByteStride = 0;
    D3D11_SUBRESOURCE_DATA initial{};
    initial.pSysMem = data;
    return SUCCEEDED(manager->device->CreateBuffer(&desc, &initial, buffer));
}

bool KRODirectX::createID3D11ComputeShader(ID3D11Manager* manager, const char* source, unsigned long long sourceLength,
                                           const std::string& entryPoint, ID3D11ComputeShader** shader) {
    if (!manager || !source || !manager->device || !shader) return false;
    ID3DBlob* code = nullptr;
    {
        std::lock_guard<std::mutex> lock(shaderCacheMutex());
        auto it = shaderCache().find(entryPoint);
        if (it != shaderCache().end()) {
            code = it->second;
            code->AddRef();  // a later insertion may replace and release it while we use it
        }
    }
    if (!code) {
        ID3DBlob* errors = nullptr;
        const HRESULT hr = D3DCompile(source, static_cast<SIZE_T>(sourceLength), nullptr, nullptr, nullptr,
                                      entryPoint.c_str(), "cs_5_0", D3DCOMPILE_DEBUG | D3DCOMPILE_ENABLE_STRICTNESS, 0,
                                      &code, &errors);
        if (FAILED(hr) || !code) {
            if (errors)
                std::printf("KRODirectX D3DCompile error %s", static_cast<const char*>(errors->GetBufferPointer()));
            else
                std::printf("KRODirectX D3DCompile error: Unknown error.");
            releaseAndClear(errors);
            releaseAndClear(code);
            return false;
        }
        if (errors) {
            std::printf("KRODirectX D3DCompile success %s", static_cast<const char*>(errors->GetBufferPointer()));
            errors->Release();
        }
        std::lock_guard<std::mutex> lock(shaderCacheMutex());
        ID3DBlob*& slot = shaderCache()[entryPoint];
        // Another thread may have stored the same entry point meanwhile: the
        // later insertion wins; users of the old blob hold their own reference.
        if (slot) slot->Release();
        slot = code;
        code->AddRef();
    }
    const bool made = SUCCEEDED(manager->device->CreateComputeShader(code->GetBufferPointer(), code->GetBufferSize(),
                                                                     nullptr, shader));
    code->Release();
    if (!made) {
        std::printf("KRODirectX CreateComputeShader error.");
        return false;
    }
    return true;
}

bool KRODirectX::createID3D11EventQuery(ID3D11Manager* manager, ID3D11Query** query) {
    if (!manager || !manager->device || !query) return false;
    D3D11_QUERY_DESC desc{};
    desc.Query = D3D11_QUERY_EVENT;
    desc.MiscFlags = 0;
    return SUCCEEDED(manager->device->CreateQuery(&desc, query));
}

bool KRODirectX::queryID3D11GetDataWithTimeout(ID3D11Manager* manager, ID3D11Query* query, unsigned long timeoutMs) {
    if (!manager || !manager->context || !query) return false;
    LARGE_INTEGER frequency, start, now;
    QueryPerformanceFrequency(&frequency);
    QueryPerformanceCounter(&start);
    if (frequency.QuadPart <= 0) frequency.QuadPart = 1;
    for (;;) {
        // The first poll comes before any time check: a timeout of 0 still
        // sees a query that has already signalled.
        if (manager->context->GetData(query, nullptr, 0, 0) == S_OK) return true;
        QueryPerformanceCounter(&now);
        const long long elapsed = (now.QuadPart - start.QuadPart) * 1000 / frequency.QuadPart;
        if (elapsed > static_cast<long long>(timeoutMs)) return false;
        Sleep(0);
    }
}

bool KRODirectX::copyID3D11Texture2D(ID3D11Manager* manager, ID3D11Texture2D* dst, int dstSubresource,
                                     ID3D11Texture2D* src, int srcSubresource) {
    return copyTexture(manager, dst, dstSubresource, src, srcSubresource);
}

bool KRODirectX::readDataFromID3D11Texture2D(ID3D11Manager* manager, ID3D11Texture2D* src, int srcSubresource,
                                             ID3D11Texture2D* dst, int dstSubresource) {
    return copyTexture(manager, dst, dstSubresource, src, srcSubresource);
}

bool KRODirectX::writeDataToID3D11Texture2D(ID3D11Manager* manager, ID3D11Texture2D* src, int srcSubresource,
                                            ID3D11Texture2D* dst, int dstSubresource) {
    return copyTexture(manager, dst, dstSubresource, src, srcSubresource);
}

bool KRODirectX::readDataFromStagingID3D11Texture2D(ID3D11Manager* manager, unsigned char* dst, int dstStride,
                                                    int width, int height, ID3D11Texture2D* staging,
                                                    int subresource) {
    return withMappedStaging(manager, staging, subresource, dst, dstStride, width, height, true, false,
                             [&](const D3D11_TEXTURE2D_DESC& desc, unsigned char* mapped, size_t pitch) {
                                 copyStagingRows(desc, mapped, pitch, dst, size_t(dstStride), width, height, true);
                             });
}

bool KRODirectX::writeDataToStagingID3D11Texture2D(ID3D11Manager* manager, ID3D11Texture2D* staging, int subresource,
                                                   const unsigned char* src, int srcStride, int width, int height) {
    return withMappedStaging(manager, staging, subresource, src, srcStride, width, height, false, false,
                             [&](const D3D11_TEXTURE2D_DESC& desc, unsigned char* mapped, size_t pitch) {
                                 copyStagingRows(desc, mapped, pitch, const_cast<unsigned char*>(src),
                                                 size_t(srcStride), width, height, false);
                             });
}

bool KRODirectX::readRGBDataFromRGBAStagingID3D11Texture2D(ID3D11Manager* manager, unsigned char* dst, int dstStride,
                                                           int width, int height, ID3D11Texture2D* staging,
                                                           int subresource) {
    return withMappedStaging(manager, staging, subresource, dst, dstStride, width, height, true, true,
                             [&](const D3D11_TEXTURE2D_DESC&, unsigned char* mapped, size_t pitch) {
                                 for (size_t r = 0; r < size_t(height); ++r) {
                                     const unsigned char* in = mapped + r * pitch;
                                     unsigned char* out = dst + r * size_t(dstStride);
                                     for (size_t x = 0; x < size_t(width); ++x) {
                                         out[3 * x] = in[4 * x];
                                         out[3 * x + 1] = in[4 * x + 1];
                                         out[3 * x + 2] = in[4 * x + 2];
                                     }
                                 }
                             });
}

bool KRODirectX::writeRGBDataToRGBAStagingID3D11Texture2D(ID3D11Manager* manager, ID3D11Texture2D* staging,
                                                          int subresource, const unsigned char* src, int srcStride,
                                                          int width, int height) {
    return withMappedStaging(manager, staging, subresource, src, srcStride, width, height, false, true,
                             [&](const D3D11_TEXTURE2D_DESC&, unsigned char* mapped, size_t pitch) {
                                 for (size_t r = 0; r < size_t(height); ++r) {
                                     const unsigned char* in = src + r * size_t(srcStride);
                                     unsigned char* out = mapped + r * pitch;
                                     for (size_t x = 0; x < size_t(width); ++x) {
                                         out[4 * x] = in[3 * x];
                                         out[4 * x + 1] = in[3 * x + 1];
                                         out[4 * x + 2] = in[3 * x + 2];
                                         out[4 * x + 3] = 255;
                                     }
                                 }
                             });
}

}  // namespace KROCOLOR
