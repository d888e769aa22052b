// The layer's object classes, shared by the files that implement them:
// device_and_context.cpp (device, immediate context), resources.cpp
// (textures, buffers, views), compute_shader.cpp, event_query.cpp and
// dxgi_objects.cpp (factory, adapter, device and resource facets).
#pragma once

#include <deque>
#include <memory>
#include <vector>

#include "d3d11/platform/com_object.h"
#include "d3d11/platform/d3d11_api.h"
#include "d3d11/platform/d3d11_formats.h"
#include "d3d11/platform/layer_counters.h"
#include "d3d11/platform/vulkan_gpu.h"

namespace kro_d3d11 {

class Device;

// What the GPU work recorded on a context refers to. Commands keep these
// alive through shared pointers until their batch has finished, so releasing
// a COM object never frees memory the GPU still uses.
struct TextureStorage {
    D3D11_TEXTURE2D_DESC desc{};
    const FormatInfo* format = nullptr;
    std::shared_ptr<kro_vk::Gpu> gpu;
    std::shared_ptr<kro_vk::Image> planes[2];  // default usage
    std::shared_ptr<kro_vk::Buffer> staging;   // staging usage
    // Staging layout of one subresource: the planes one after the other,
    // every row `rowPitch` bytes long (chroma rows follow the luma rows, as a
    // mapped NV12 texture is laid out on Windows).
    uint32_t rowPitch = 0;
    VkDeviceSize planeOffset[2] = {0, 0};
    VkDeviceSize subresourceSize = 0;
    HANDLE sharedHandle = nullptr;
    uint64_t lastUseSerial = 0;  // batch of the owning context that last used it

    ~TextureStorage();
    bool isStaging() const { return staging != nullptr; }
};

struct ViewState {
    std::shared_ptr<TextureStorage> texture;
    std::shared_ptr<kro_vk::ImageView> view;
};

struct ShaderState {
    std::shared_ptr<kro_vk::Gpu> gpu;
    VkShaderModule module = VK_NULL_HANDLE;
    VkPipeline pipeline = VK_NULL_HANDLE;
    ~ShaderState();
};

struct QueryState {
    const void* context = nullptr;  // the context that ended it
    uint64_t serial = 0;
    bool ended = false;
};

// Holds a reference on its device, as Direct3D 11 objects do.
template <class Interface>
class DeviceChild : public ComObject<Interface> {
public:
    explicit DeviceChild(Device* device);
    ~DeviceChild() override;
    void STDMETHODCALLTYPE GetDevice(ID3D11Device** ppDevice) override;
    Device* device() const { return device_; }

private:
    Device* device_;
};

class Texture final : public DeviceChild<ID3D11Texture2D> {
public:
    Texture(Device* device, std::shared_ptr<TextureStorage> storage)
        : DeviceChild(device), storage_(std::move(storage)) {}
    void STDMETHODCALLTYPE GetType(D3D11_RESOURCE_DIMENSION* dimension) override;
    void STDMETHODCALLTYPE GetDesc(D3D11_TEXTURE2D_DESC* desc) override;
    const std::shared_ptr<TextureStorage>& storage() const { return storage_; }
    static Texture* from(ID3D11Resource* resource);

protected:
    void* queryInterface(REFIID riid) override;

private:
    std::shared_ptr<TextureStorage> storage_;
};

class ConstantBuffer final : public DeviceChild<ID3D11Buffer> {
public:
    ConstantBuffer(Device* device, const D3D11_BUFFER_DESC& desc, std::shared_ptr<kro_vk::Buffer> buffer)
        : DeviceChild(device), desc_(desc), buffer_(std::move(buffer)) {}
    void STDMETHODCALLTYPE GetType(D3D11_RESOURCE_DIMENSION* dimension) override;
    void STDMETHODCALLTYPE GetDesc(D3D11_BUFFER_DESC* desc) override;
    const std::shared_ptr<kro_vk::Buffer>& buffer() const { return buffer_; }

protected:
    void* queryInterface(REFIID riid) override;

private:
    D3D11_BUFFER_DESC desc_;
    std::shared_ptr<kro_vk::Buffer> buffer_;
};

template <class Interface, class Desc>
class TextureView final : public DeviceChild<Interface> {
public:
    TextureView(Device* device, Texture* texture, const Desc& desc, std::shared_ptr<ViewState> state)
        : DeviceChild<Interface>(device), texture_(texture), desc_(desc), state_(std::move(state)) {
        texture_->AddRef();
    }
    ~TextureView() override { texture_->Release(); }
    void STDMETHODCALLTYPE GetResource(ID3D11Resource** resource) override {
        if (!resource) return;
        texture_->AddRef();
        *resource = texture_;
    }
    void STDMETHODCALLTYPE GetDesc(Desc* desc) override {
        if (desc) *desc = desc_;
    }
    const std::shared_ptr<ViewState>& state() const { return state_; }

protected:
    void* queryInterface(REFIID riid) override {
        if (!isOneOf<IUnknown, ID3D11DeviceChild, ID3D11View, Interface>(riid)) return nullptr;
        return this->self();
    }

private:
    Texture* texture_;
    Desc desc_;
    std::shared_ptr<ViewState> state_;
};
using ShaderResourceView = TextureView<ID3D11ShaderResourceView, D3D11_SHADER_RESOURCE_VIEW_DESC>;
using UnorderedAccessView = TextureView<ID3D11UnorderedAccessView, D3D11_UNORDERED_ACCESS_VIEW_DESC>;

class ComputeShader final : public DeviceChild<ID3D11ComputeShader> {
public:
    ComputeShader(Device* device, std::shared_ptr<ShaderState> state) : DeviceChild(device), state_(std::move(state)) {}
    const std::shared_ptr<ShaderState>& state() const { return state_; }

protected:
    void* queryInterface(REFIID riid) override;

private:
    std::shared_ptr<ShaderState> state_;
};

class EventQuery final : public DeviceChild<ID3D11Query> {
public:
    explicit EventQuery(Device* device) : DeviceChild(device), state_(std::make_shared<QueryState>()) {}
    UINT STDMETHODCALLTYPE GetDataSize() override { return sizeof(BOOL); }
    void STDMETHODCALLTYPE GetDesc(D3D11_QUERY_DESC* desc) override;
    QueryState& state() { return *state_; }

protected:
    void* queryInterface(REFIID riid) override;

private:
    std::shared_ptr<QueryState> state_;
};

// The immediate context. Copies and dispatches are recorded, in the order
// they arrive, into a batch (one command buffer); a batch is submitted by
// Flush, by GetData without DONOTFLUSH, and by a Map that needs its results.
// Every command is preceded by a full memory barrier, so each sees the
// results of everything before it, batches of other contexts on the same
// queue included.
class ImmediateContext final : public ID3D11DeviceContext {
public:
    explicit ImmediateContext(Device* device) : device_(device) {}
    ~ImmediateContext();
    bool init();

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID riid, void** out) override;
    ULONG STDMETHODCALLTYPE AddRef() override;
    ULONG STDMETHODCALLTYPE Release() override;
    void STDMETHODCALLTYPE GetDevice(ID3D11Device** ppDevice) override;

    void STDMETHODCALLTYPE CopySubresourceRegion(ID3D11Resource* pDstResource, UINT DstSubresource, UINT DstX,
                                                 UINT DstY, UINT DstZ, ID3D11Resource* pSrcResource,
                                                 UINT SrcSubresource, const D3D11_BOX* pSrcBox) override;
    HRESULT STDMETHODCALLTYPE Map(ID3D11Resource* pResource, UINT Subresource, D3D11_MAP MapType, UINT MapFlags,
                                  D3D11_MAPPED_SUBRESOURCE* pMappedResource) override;
    void STDMETHODCALLTYPE Unmap(ID3D11Resource* pResource, UINT Subresource) override;
    void STDMETHODCALLTYPE CSSetShader(ID3D11ComputeShader* pComputeShader, ID3D11ClassInstance* const*,
                                       UINT) override;
    void STDMETHODCALLTYPE CSSetShaderResources(UINT StartSlot, UINT NumViews,
                                                ID3D11ShaderResourceView* const* ppShaderResourceViews) override;
    void STDMETHODCALLTYPE CSSetUnorderedAccessViews(UINT StartSlot, UINT NumUAVs,
                                                     ID3D11UnorderedAccessView* const* ppUnorderedAccessViews,
                                                     const UINT* pUAVInitialCounts) override;
    void STDMETHODCALLTYPE CSSetConstantBuffers(UINT StartSlot, UINT NumBuffers,
                                                ID3D11Buffer* const* ppConstantBuffers) override;
    void STDMETHODCALLTYPE Dispatch(UINT ThreadGroupCountX, UINT ThreadGroupCountY,
                                    UINT ThreadGroupCountZ) override;
    void STDMETHODCALLTYPE End(ID3D11Asynchronous* pAsync) override;
    HRESULT STDMETHODCALLTYPE GetData(ID3D11Asynchronous* pAsync, void* pData, UINT DataSize,
                                      UINT GetDataFlags) override;
    void STDMETHODCALLTYPE Flush() override;

private:
    struct Batch {
        VkCommandBuffer commands = VK_NULL_HANDLE;
        VkFence fence = VK_NULL_HANDLE;
        std::vector<VkDescriptorPool> pools;
        std::vector<std::shared_ptr<void>> keepAlive;
        uint64_t serial = 0;
    };

    // The command buffer of the open batch, after a full barrier; null when
    // Vulkan refused.
    VkCommandBuffer beginCommand();
    void use(const std::shared_ptr<TextureStorage>& texture);
    bool submitOpenBatch();
    // Retires finished batches; waits first for batches up to `waitFor`.
    void retire(uint64_t waitFor);
    void recycle(Batch& batch);
    uint64_t latestSerial() const { return open_ ? open_->serial : nextSerial_ - 1; }
    VkDescriptorSet allocateSet();

    Device* device_;
    std::shared_ptr<kro_vk::Gpu> gpu_;
    VkCommandPool pool_ = VK_NULL_HANDLE;
    std::unique_ptr<Batch> open_;
    std::deque<std::unique_ptr<Batch>> inFlight_;
    std::vector<std::unique_ptr<Batch>> spare_;
    uint64_t nextSerial_ = 1;
    uint64_t completed_ = 0;

    std::shared_ptr<ShaderState> shader_;
    std::shared_ptr<ViewState> textures_[kro_vk::kUavBindingBase - kro_vk::kTextureBindingBase];
    std::shared_ptr<ViewState> uavs_[D3D11_PS_CS_UAV_REGISTER_COUNT];
    std::shared_ptr<kro_vk::Buffer> constantBuffers_[D3D11_COMMONSHADER_CONSTANT_BUFFER_API_SLOT_COUNT];
};

// The device and its immediate context share one reference count, as on
// Windows: either keeps the pair alive.
class Device final : public ID3D11Device {
public:
    Device(std::shared_ptr<kro_vk::Instance> instance, uint32_t adapterIndex, std::shared_ptr<kro_vk::Gpu> gpu)
        : instance_(std::move(instance)), adapterIndex_(adapterIndex), gpu_(std::move(gpu)), context_(this) {}
    bool init() { return context_.init(); }

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID riid, void** out) override;
    ULONG STDMETHODCALLTYPE AddRef() override { return ++refs_; }
    ULONG STDMETHODCALLTYPE Release() override {
        const ULONG left = --refs_;
        if (left == 0) delete this;
        return left;
    }

    HRESULT STDMETHODCALLTYPE CreateBuffer(const D3D11_BUFFER_DESC* pDesc, const D3D11_SUBRESOURCE_DATA* pInitialData,
                                           ID3D11Buffer** ppBuffer) override;
    HRESULT STDMETHODCALLTYPE CreateTexture2D(const D3D11_TEXTURE2D_DESC* pDesc,
                                              const D3D11_SUBRESOURCE_DATA* pInitialData,
                                              ID3D11Texture2D** ppTexture2D) override;
    HRESULT STDMETHODCALLTYPE CreateShaderResourceView(ID3D11Resource* pResource,
                                                       const D3D11_SHADER_RESOURCE_VIEW_DESC* pDesc,
                                                       ID3D11ShaderResourceView** ppSRView) override;
    HRESULT STDMETHODCALLTYPE CreateUnorderedAccessView(ID3D11Resource* pResource,
                                                        const D3D11_UNORDERED_ACCESS_VIEW_DESC* pDesc,
                                                        ID3D11UnorderedAccessView** ppUAView) override;
    HRESULT STDMETHODCALLTYPE CreateComputeShader(const void* pShaderBytecode, SIZE_T BytecodeLength,
                                                  ID3D11ClassLinkage* pClassLinkage,
                                                  ID3D11ComputeShader** ppComputeShader) override;
    HRESULT STDMETHODCALLTYPE CreateQuery(const D3D11_QUERY_DESC* pQueryDesc, ID3D11Query** ppQuery) override;
    HRESULT STDMETHODCALLTYPE OpenSharedResource(HANDLE hResource, REFIID ReturnedInterface,
                                                 void** ppResource) override;
    void STDMETHODCALLTYPE GetImmediateContext(ID3D11DeviceContext** ppImmediateContext) override;
    D3D_FEATURE_LEVEL STDMETHODCALLTYPE GetFeatureLevel() override { return D3D_FEATURE_LEVEL_11_0; }

    const std::shared_ptr<kro_vk::Gpu>& gpu() const { return gpu_; }
    const std::shared_ptr<kro_vk::Instance>& instance() const { return instance_; }
    uint32_t adapterIndex() const { return adapterIndex_; }
    ImmediateContext* context() { return &context_; }

private:
    ~Device() = default;

    std::atomic<ULONG> refs_{0};
    std::shared_ptr<kro_vk::Instance> instance_;
    uint32_t adapterIndex_;
    std::shared_ptr<kro_vk::Gpu> gpu_;
    ImmediateContext context_;
};

template <class Interface>
DeviceChild<Interface>::DeviceChild(Device* device) : device_(device) {
    device_->AddRef();
}

template <class Interface>
DeviceChild<Interface>::~DeviceChild() {
    device_->Release();
}

template <class Interface>
void DeviceChild<Interface>::GetDevice(ID3D11Device** ppDevice) {
    if (!ppDevice) return;
    device_->AddRef();
    *ppDevice = device_;
}

// DXGI objects (dxgi_objects.cpp).
// New objects with one reference, as IDXGIDevice* and IDXGIResource*.
void* createDxgiDevice(Device* device);
void* createDxgiResource(Texture* texture);
std::shared_ptr<TextureStorage> findSharedTexture(HANDLE handle);
HANDLE registerSharedTexture(const std::shared_ptr<TextureStorage>& storage);
void unregisterSharedTexture(HANDLE handle);

// Builds the compute pipeline of SPIR-V bytecode (compute_shader.cpp).
std::shared_ptr<ShaderState> createShaderState(const std::shared_ptr<kro_vk::Gpu>& gpu, const void* code,
                                               size_t size);

}  // namespace kro_d3d11
