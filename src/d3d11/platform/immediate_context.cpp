// The immediate context: batches of recorded commands, copies, dispatches,
// maps of staging textures and event queries.
#include <algorithm>

#include "d3d11/platform/d3d11_objects.h"

namespace kro_d3d11 {

namespace {

constexpr uint32_t kSetsPerPool = 32;

uint32_t ceilDiv(uint32_t a, uint32_t b) { return (a + b - 1) / b; }

}  // namespace

bool ImmediateContext::init() {
    gpu_ = device_->gpu();
    VkCommandPoolCreateInfo info{VK_STRUCTURE_TYPE_COMMAND_POOL_CREATE_INFO};
    info.flags = VK_COMMAND_POOL_CREATE_RESET_COMMAND_BUFFER_BIT;
    info.queueFamilyIndex = gpu_->queueFamily();
    if (vkCreateCommandPool(gpu_->device(), &info, nullptr, &pool_) != VK_SUCCESS) {
        pool_ = VK_NULL_HANDLE;
        return false;
    }
    return true;
}

ImmediateContext::~ImmediateContext() {
    if (!pool_) return;
    submitOpenBatch();
    retire(nextSerial_);
    VkDevice device = gpu_->device();
    for (auto& batch : spare_) {
        vkDestroyFence(device, batch->fence, nullptr);
        vkFreeCommandBuffers(device, pool_, 1, &batch->commands);
    }
    if (open_) {  // a batch whose submission failed
        recycle(*open_);
        vkDestroyFence(device, open_->fence, nullptr);
    }
    vkDestroyCommandPool(device, pool_, nullptr);
}

HRESULT ImmediateContext::QueryInterface(REFIID riid, void** out) {
    if (!out) return E_POINTER;
    *out = nullptr;
    if (!isOneOf<IUnknown, ID3D11DeviceChild, ID3D11DeviceContext>(riid)) return E_NOINTERFACE;
    AddRef();
    *out = static_cast<ID3D11DeviceContext*>(this);
    return S_OK;
}

ULONG ImmediateContext::AddRef() { return device_->AddRef(); }
ULONG ImmediateContext::Release() { return device_->Release(); }

void ImmediateContext::GetDevice(ID3D11Device** ppDevice) {
    if (!ppDevice) return;
    device_->AddRef();
    *ppDevice = device_;
}

VkCommandBuffer ImmediateContext::beginCommand() {
    if (!open_) {
        std::unique_ptr<Batch> batch;
        if (!spare_.empty()) {
            batch = std::move(spare_.back());
            spare_.pop_back();
        } else {
            batch.reset(new (std::nothrow) Batch());
            if (!batch) return VK_NULL_HANDLE;
            VkCommandBufferAllocateInfo alloc{VK_STRUCTURE_TYPE_COMMAND_BUFFER_ALLOCATE_INFO};
            alloc.commandPool = pool_;
            alloc.level = VK_COMMAND_BUFFER_LEVEL_PRIMARY;
            alloc.commandBufferCount = 1;
            VkFenceCreateInfo fenceInfo{VK_STRUCTURE_TYPE_FENCE_CREATE_INFO};
            if (vkAllocateCommandBuffers(gpu_->device(), &alloc, &batch->commands) != VK_SUCCESS)
                return VK_NULL_HANDLE;
            if (vkCreateFence(gpu_->device(), &fenceInfo, nullptr, &batch->fence) != VK_SUCCESS) {
                vkFreeCommandBuffers(gpu_->device(), pool_, 1, &batch->commands);
                return VK_NULL_HANDLE;
            }
        }
        VkCommandBufferBeginInfo begin{VK_STRUCTURE_TYPE_COMMAND_BUFFER_BEGIN_INFO};
        begin.flags = VK_COMMAND_BUFFER_USAGE_ONE_TIME_SUBMIT_BIT;
        if (vkBeginCommandBuffer(batch->commands, &begin) != VK_SUCCESS) {
            spare_.push_back(std::move(batch));
            return VK_NULL_HANDLE;
        }
        batch->serial = nextSerial_;
        open_ = std::move(batch);
    }
    VkMemoryBarrier barrier{VK_STRUCTURE_TYPE_MEMORY_BARRIER};
    barrier.srcAccessMask = VK_ACCESS_MEMORY_WRITE_BIT;
    barrier.dstAccessMask = VK_ACCESS_MEMORY_READ_BIT | VK_ACCESS_MEMORY_WRITE_BIT;
    vkCmdPipelineBarrier(open_->commands, VK_PIPELINE_STAGE_ALL_COMMANDS_BIT, VK_PIPELINE_STAGE_ALL_COMMANDS_BIT, 0, 1,
                         &barrier, 0, nullptr, 0, nullptr);
    return open_->commands;
}

void ImmediateContext::use(const std::shared_ptr<TextureStorage>& texture) {
    texture->lastUseSerial = open_->serial;
    open_->keepAlive.push_back(texture);
}

bool ImmediateContext::submitOpenBatch() {
    if (!open_) return true;
    // Make the batch's writes visible to the CPU's reads of staging memory.
    VkMemoryBarrier barrier{VK_STRUCTURE_TYPE_MEMORY_BARRIER};
    barrier.srcAccessMask = VK_ACCESS_MEMORY_WRITE_BIT;
    barrier.dstAccessMask = VK_ACCESS_HOST_READ_BIT;
    vkCmdPipelineBarrier(open_->commands, VK_PIPELINE_STAGE_ALL_COMMANDS_BIT, VK_PIPELINE_STAGE_HOST_BIT, 0, 1,
                         &barrier, 0, nullptr, 0, nullptr);
    if (vkEndCommandBuffer(open_->commands) != VK_SUCCESS ||
        gpu_->submit(open_->commands, open_->fence) != VK_SUCCESS) {
        // Nothing of the batch runs; its serial counts as finished so that
        // no wait hangs on it.
        recycle(*open_);
        vkResetCommandBuffer(open_->commands, 0);
        spare_.push_back(std::move(open_));
        completed_ = nextSerial_++;
        return false;
    }
    inFlight_.push_back(std::move(open_));
    ++nextSerial_;
    return true;
}

void ImmediateContext::recycle(Batch& batch) {
    for (VkDescriptorPool pool : batch.pools) vkDestroyDescriptorPool(gpu_->device(), pool, nullptr);
    batch.pools.clear();
    batch.keepAlive.clear();
}

void ImmediateContext::retire(uint64_t waitFor) {
    VkDevice device = gpu_->device();
    while (!inFlight_.empty()) {
        Batch& batch = *inFlight_.front();
        VkResult status = batch.serial <= waitFor ? vkWaitForFences(device, 1, &batch.fence, VK_TRUE, UINT64_MAX)
                                                  : vkGetFenceStatus(device, batch.fence);
        // A lost device never signals: give up on the batch rather than hang.
        if (status == VK_NOT_READY || status == VK_TIMEOUT) break;
        completed_ = batch.serial;
        recycle(batch);
        vkResetFences(device, 1, &batch.fence);
        vkResetCommandBuffer(batch.commands, 0);
        spare_.push_back(std::move(inFlight_.front()));
        inFlight_.pop_front();
    }
}

void ImmediateContext::CopySubresourceRegion(ID3D11Resource* pDstResource, UINT DstSubresource, UINT DstX, UINT DstY,
                                             UINT DstZ, ID3D11Resource* pSrcResource, UINT SrcSubresource,
                                             const D3D11_BOX* pSrcBox) {
    // Invalid copies are dropped, as the Direct3D 11 runtime drops them.
    Texture* dstTexture = Texture::from(pDstResource);
    Texture* srcTexture = Texture::from(pSrcResource);
    if (!dstTexture || !srcTexture || DstZ != 0) return;
    const std::shared_ptr<TextureStorage>& dst = dstTexture->storage();
    const std::shared_ptr<TextureStorage>& src = srcTexture->storage();
    if (dst->gpu != gpu_ || src->gpu != gpu_ || dst->desc.Format != src->desc.Format) return;
    if (DstSubresource >= dst->desc.ArraySize || SrcSubresource >= src->desc.ArraySize) return;
    if (dst == src && DstSubresource == SrcSubresource) return;
    D3D11_BOX box{0, 0, 0, src->desc.Width, src->desc.Height, 1};
    if (pSrcBox) {
        box = *pSrcBox;
        if (box.left >= box.right || box.top >= box.bottom || box.right > src->desc.Width ||
            box.bottom > src->desc.Height || box.front != 0 || box.back != 1)
            return;
    }
    if (DstX >= dst->desc.Width || DstY >= dst->desc.Height) return;
    // A region larger than the destination is cut to what fits.
    const uint32_t width = std::min(box.right - box.left, dst->desc.Width - DstX);
    const uint32_t height = std::min(box.bottom - box.top, dst->desc.Height - DstY);
    VkCommandBuffer cmd = beginCommand();
    if (!cmd) return;
    use(dst);
    use(src);
    const FormatInfo& format = *dst->format;
    for (uint32_t p = 0; p < format.planeCount; ++p) {
        const PlaneFormat& plane = format.planes[p];
        const uint32_t s = plane.subsampling, bpt = plane.bytesPerTexel;
        const uint32_t sx = box.left / s, sy = box.top / s, dx = DstX / s, dy = DstY / s;
        const uint32_t w = ceilDiv(box.left + width, s) - sx, h = ceilDiv(box.top + height, s) - sy;
        auto bufferOffset = [&](const TextureStorage& t, UINT sub, uint32_t x, uint32_t y) {
            return t.subresourceSize * sub + t.planeOffset[p] + VkDeviceSize(y) * t.rowPitch + VkDeviceSize(x) * bpt;
        };
        if (!src->isStaging() && !dst->isStaging()) {
            VkImageCopy region{};
            region.srcSubresource = {VK_IMAGE_ASPECT_COLOR_BIT, 0, SrcSubresource, 1};
            region.srcOffset = {int32_t(sx), int32_t(sy), 0};
            region.dstSubresource = {VK_IMAGE_ASPECT_COLOR_BIT, 0, DstSubresource, 1};
            region.dstOffset = {int32_t(dx), int32_t(dy), 0};
            region.extent = {w, h, 1};
            vkCmdCopyImage(cmd, src->planes[p]->image, VK_IMAGE_LAYOUT_GENERAL, dst->planes[p]->image,
                           VK_IMAGE_LAYOUT_GENERAL, 1, &region);
        } else if (!src->isStaging()) {
            VkBufferImageCopy region{};
            region.bufferOffset = bufferOffset(*dst, DstSubresource, dx, dy);
            region.bufferRowLength = dst->rowPitch / bpt;
            region.imageSubresource = {VK_IMAGE_ASPECT_COLOR_BIT, 0, SrcSubresource, 1};
            region.imageOffset = {int32_t(sx), int32_t(sy), 0};
            region.imageExtent = {w, h, 1};
            vkCmdCopyImageToBuffer(cmd, src->planes[p]->image, VK_IMAGE_LAYOUT_GENERAL, dst->staging->buffer, 1,
                                   &region);
        } else if (!dst->isStaging()) {
            VkBufferImageCopy region{};
            region.bufferOffset = bufferOffset(*src, SrcSubresource, sx, sy);
            region.bufferRowLength = src->rowPitch / bpt;
            region.imageSubresource = {VK_IMAGE_ASPECT_COLOR_BIT, 0, DstSubresource, 1};
            region.imageOffset = {int32_t(dx), int32_t(dy), 0};
            region.imageExtent = {w, h, 1};
            vkCmdCopyBufferToImage(cmd, src->staging->buffer, dst->planes[p]->image, VK_IMAGE_LAYOUT_GENERAL, 1,
                                   &region);
        } else {
            std::vector<VkBufferCopy> rows(h);
            for (uint32_t r = 0; r < h; ++r)
                rows[r] = {bufferOffset(*src, SrcSubresource, sx, sy + r), bufferOffset(*dst, DstSubresource, dx, dy + r),
                           VkDeviceSize(w) * bpt};
            vkCmdCopyBuffer(cmd, src->staging->buffer, dst->staging->buffer, h, rows.data());
        }
    }
}

HRESULT ImmediateContext::Map(ID3D11Resource* pResource, UINT Subresource, D3D11_MAP MapType, UINT MapFlags,
                              D3D11_MAPPED_SUBRESOURCE* pMappedResource) {
    Texture* texture = Texture::from(pResource);
    // Staging textures are the only mappable resources modelled.
    if (!texture || !pMappedResource || !texture->storage()->isStaging()) return E_INVALIDARG;
    const std::shared_ptr<TextureStorage>& storage = texture->storage();
    if (storage->gpu != gpu_ || Subresource >= storage->desc.ArraySize) return E_INVALIDARG;
    const UINT access = storage->desc.CPUAccessFlags;
    const bool read = MapType == D3D11_MAP_READ || MapType == D3D11_MAP_READ_WRITE;
    const bool write = MapType == D3D11_MAP_WRITE || MapType == D3D11_MAP_READ_WRITE;
    if ((!read && !write) || (read && !(access & D3D11_CPU_ACCESS_READ)) ||
        (write && !(access & D3D11_CPU_ACCESS_WRITE)))
        return E_INVALIDARG;
    // The CPU may touch the memory only once the GPU is done with it: the
    // copies into it (read) or out of it (write) must have finished.
    const uint64_t serial = storage->lastUseSerial;
    if (serial > completed_) {
        if (MapFlags & D3D11_MAP_FLAG_DO_NOT_WAIT) {
            if (open_ && open_->serial == serial) submitOpenBatch();
            retire(0);
            if (serial > completed_) return DXGI_ERROR_WAS_STILL_DRAWING;
        } else {
            if (open_ && open_->serial == serial) submitOpenBatch();
            retire(serial);
        }
    }
    pMappedResource->pData = static_cast<uint8_t*>(storage->staging->mapped) + storage->subresourceSize * Subresource;
    pMappedResource->RowPitch = storage->rowPitch;
    pMappedResource->DepthPitch = static_cast<UINT>(storage->subresourceSize);
    return S_OK;
}

// The staging memory is coherent and stays mapped: nothing to do.
void ImmediateContext::Unmap(ID3D11Resource*, UINT) {}

void ImmediateContext::CSSetShader(ID3D11ComputeShader* pComputeShader, ID3D11ClassInstance* const*, UINT) {
    auto* shader = dynamic_cast<ComputeShader*>(pComputeShader);
    shader_ = shader ? shader->state() : nullptr;
}

void ImmediateContext::CSSetShaderResources(UINT StartSlot, UINT NumViews,
                                            ID3D11ShaderResourceView* const* ppShaderResourceViews) {
    for (UINT i = 0; i < NumViews && StartSlot + i < gpu_->textureSlots(); ++i) {
        auto* view = ppShaderResourceViews ? dynamic_cast<ShaderResourceView*>(ppShaderResourceViews[i]) : nullptr;
        textures_[StartSlot + i] = view ? view->state() : nullptr;
    }
}

void ImmediateContext::CSSetUnorderedAccessViews(UINT StartSlot, UINT NumUAVs,
                                                 ID3D11UnorderedAccessView* const* ppUnorderedAccessViews,
                                                 const UINT*) {
    for (UINT i = 0; i < NumUAVs && StartSlot + i < gpu_->uavSlots(); ++i) {
        auto* view = ppUnorderedAccessViews ? dynamic_cast<UnorderedAccessView*>(ppUnorderedAccessViews[i]) : nullptr;
        uavs_[StartSlot + i] = view ? view->state() : nullptr;
    }
}

void ImmediateContext::CSSetConstantBuffers(UINT StartSlot, UINT NumBuffers, ID3D11Buffer* const* ppConstantBuffers) {
    for (UINT i = 0; i < NumBuffers && StartSlot + i < gpu_->constantBufferSlots(); ++i) {
        auto* buffer = ppConstantBuffers ? dynamic_cast<ConstantBuffer*>(ppConstantBuffers[i]) : nullptr;
        constantBuffers_[StartSlot + i] = buffer ? buffer->buffer() : nullptr;
    }
}

VkDescriptorSet ImmediateContext::allocateSet() {
    VkDescriptorSetLayout layout = gpu_->setLayout();
    VkDescriptorSetAllocateInfo alloc{VK_STRUCTURE_TYPE_DESCRIPTOR_SET_ALLOCATE_INFO};
    alloc.descriptorSetCount = 1;
    alloc.pSetLayouts = &layout;
    VkDescriptorSet set = VK_NULL_HANDLE;
    if (!open_->pools.empty()) {
        alloc.descriptorPool = open_->pools.back();
        if (vkAllocateDescriptorSets(gpu_->device(), &alloc, &set) == VK_SUCCESS) return set;
    }
    const VkDescriptorPoolSize sizes[3] = {
        {VK_DESCRIPTOR_TYPE_UNIFORM_BUFFER, gpu_->constantBufferSlots() * kSetsPerPool},
        {VK_DESCRIPTOR_TYPE_SAMPLED_IMAGE, gpu_->textureSlots() * kSetsPerPool},
        {VK_DESCRIPTOR_TYPE_STORAGE_IMAGE, gpu_->uavSlots() * kSetsPerPool},
    };
    VkDescriptorPoolCreateInfo info{VK_STRUCTURE_TYPE_DESCRIPTOR_POOL_CREATE_INFO};
    info.maxSets = kSetsPerPool;
    info.poolSizeCount = 3;
    info.pPoolSizes = sizes;
    VkDescriptorPool pool = VK_NULL_HANDLE;
    if (vkCreateDescriptorPool(gpu_->device(), &info, nullptr, &pool) != VK_SUCCESS) return VK_NULL_HANDLE;
    open_->pools.push_back(pool);
    alloc.descriptorPool = pool;
    return vkAllocateDescriptorSets(gpu_->device(), &alloc, &set) == VK_SUCCESS ? set : VK_NULL_HANDLE;
}

void ImmediateContext::Dispatch(UINT ThreadGroupCountX, UINT ThreadGroupCountY, UINT ThreadGroupCountZ) {
    if (!shader_ || ThreadGroupCountX == 0 || ThreadGroupCountY == 0 || ThreadGroupCountZ == 0) return;
    VkCommandBuffer cmd = beginCommand();
    if (!cmd) return;
    VkDescriptorSet set = allocateSet();
    if (!set) return;
    // Empty slots get zero-filled stand-ins (see Gpu): Vulkan needs a valid
    // descriptor in every binding the program declares.
    std::vector<VkDescriptorBufferInfo> bufferInfos(gpu_->constantBufferSlots());
    std::vector<VkDescriptorImageInfo> imageInfos(gpu_->textureSlots() + gpu_->uavSlots());
    std::vector<VkWriteDescriptorSet> writes;
    auto addWrite = [&](uint32_t binding, VkDescriptorType type, const VkDescriptorBufferInfo* buffer,
                        const VkDescriptorImageInfo* image) {
        VkWriteDescriptorSet w{VK_STRUCTURE_TYPE_WRITE_DESCRIPTOR_SET};
        w.dstSet = set;
        w.dstBinding = binding;
        w.descriptorCount = 1;
        w.descriptorType = type;
        w.pBufferInfo = buffer;
        w.pImageInfo = image;
        writes.push_back(w);
    };
    for (uint32_t i = 0; i < gpu_->constantBufferSlots(); ++i) {
        const std::shared_ptr<kro_vk::Buffer>& cb = constantBuffers_[i];
        bufferInfos[i] = {cb ? cb->buffer : gpu_->emptyConstantBuffer(), 0, VK_WHOLE_SIZE};
        if (cb) open_->keepAlive.push_back(cb);
        addWrite(i, VK_DESCRIPTOR_TYPE_UNIFORM_BUFFER, &bufferInfos[i], nullptr);
    }
    for (uint32_t i = 0; i < gpu_->textureSlots(); ++i) {
        const std::shared_ptr<ViewState>& view = textures_[i];
        imageInfos[i] = {VK_NULL_HANDLE, view ? view->view->view : gpu_->emptyTextureView(), VK_IMAGE_LAYOUT_GENERAL};
        if (view) {
            use(view->texture);
            open_->keepAlive.push_back(view);
        }
        addWrite(kro_vk::kTextureBindingBase + i, VK_DESCRIPTOR_TYPE_SAMPLED_IMAGE, nullptr, &imageInfos[i]);
    }
    for (uint32_t i = 0; i < gpu_->uavSlots(); ++i) {
        const std::shared_ptr<ViewState>& view = uavs_[i];
        VkDescriptorImageInfo& info = imageInfos[gpu_->textureSlots() + i];
        info = {VK_NULL_HANDLE, view ? view->view->view : gpu_->emptyUavView(), VK_IMAGE_LAYOUT_GENERAL};
        if (view) {
            use(view->texture);
            open_->keepAlive.push_back(view);
        }
        addWrite(kro_vk::kUavBindingBase + i, VK_DESCRIPTOR_TYPE_STORAGE_IMAGE, nullptr, &info);
    }
    vkUpdateDescriptorSets(gpu_->device(), static_cast<uint32_t>(writes.size()), writes.data(), 0, nullptr);
    open_->keepAlive.push_back(shader_);
    vkCmdBindPipeline(cmd, VK_PIPELINE_BIND_POINT_COMPUTE, shader_->pipeline);
    vkCmdBindDescriptorSets(cmd, VK_PIPELINE_BIND_POINT_COMPUTE, gpu_->pipelineLayout(), 0, 1, &set, 0, nullptr);
    vkCmdDispatch(cmd, ThreadGroupCountX, ThreadGroupCountY, ThreadGroupCountZ);
}

void ImmediateContext::End(ID3D11Asynchronous* pAsync) {
    auto* query = dynamic_cast<EventQuery*>(pAsync);
    if (!query) return;
    // Signalled once everything recorded so far has finished.
    QueryState& state = query->state();
    state.context = this;
    state.serial = latestSerial();
    state.ended = true;
}

HRESULT ImmediateContext::GetData(ID3D11Asynchronous* pAsync, void* pData, UINT DataSize, UINT GetDataFlags) {
    auto* query = dynamic_cast<EventQuery*>(pAsync);
    if (!query || (pData && DataSize != sizeof(BOOL))) return E_INVALIDARG;
    QueryState& state = query->state();
    if (!state.ended) return S_FALSE;
    if (state.context != this) return E_INVALIDARG;
    if (open_ && open_->serial <= state.serial && !(GetDataFlags & D3D11_ASYNC_GETDATA_DONOTFLUSH))
        submitOpenBatch();
    retire(0);
    if (state.serial > completed_) return S_FALSE;
    if (pData) *static_cast<BOOL*>(pData) = TRUE;
    return S_OK;
}

void ImmediateContext::Flush() { submitOpenBatch(); }

}  // namespace kro_d3d11
