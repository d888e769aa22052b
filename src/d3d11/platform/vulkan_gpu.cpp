// Vulkan instance, shared per-adapter device, images and buffers.
#include "d3d11/platform/vulkan_gpu.h"

#include <algorithm>
#include <cstring>
#include <map>
#include <new>

namespace kro_vk {

namespace {

std::mutex gInstanceMutex;
// Kept for the life of the process once made: destroying the last instance
// lets the loader unload the driver, and drivers (Mesa's among them) leave
// allocations behind that their unloading makes unreachable. A Direct3D
// runtime keeps its driver loaded the same way.
std::shared_ptr<Instance>* gInstance = nullptr;
std::mutex gGpuMutex;
std::map<VkPhysicalDevice, std::weak_ptr<Gpu>> gGpus;

bool hasExtension(const std::vector<VkExtensionProperties>& list, const char* name) {
    for (const VkExtensionProperties& e : list)
        if (std::strcmp(e.extensionName, name) == 0) return true;
    return false;
}

}  // namespace

std::shared_ptr<Instance> Instance::acquire() {
    std::lock_guard<std::mutex> lock(gInstanceMutex);
    if (gInstance) return *gInstance;
    VkApplicationInfo app{VK_STRUCTURE_TYPE_APPLICATION_INFO};
    app.pApplicationName = "libKROColorFunctions";
    app.apiVersion = VK_API_VERSION_1_1;
    VkInstanceCreateInfo info{VK_STRUCTURE_TYPE_INSTANCE_CREATE_INFO};
    info.pApplicationInfo = &app;
    std::shared_ptr<Instance> created(new (std::nothrow) Instance());
    if (!created || vkCreateInstance(&info, nullptr, &created->instance_) != VK_SUCCESS) return nullptr;
    uint32_t count = 0;
    vkEnumeratePhysicalDevices(created->instance_, &count, nullptr);
    created->physicalDevices_.resize(count);
    if (count && vkEnumeratePhysicalDevices(created->instance_, &count, created->physicalDevices_.data()) < 0)
        count = 0;
    created->physicalDevices_.resize(count);
    gInstance = new (std::nothrow) std::shared_ptr<Instance>(created);
    return created;
}

Instance::~Instance() {
    if (instance_) vkDestroyInstance(instance_, nullptr);
}

std::shared_ptr<Gpu> Gpu::acquire(const std::shared_ptr<Instance>& instance, uint32_t index) {
    if (!instance || index >= instance->physicalDevices().size()) return nullptr;
    VkPhysicalDevice physical = instance->physicalDevices()[index];
    std::lock_guard<std::mutex> lock(gGpuMutex);
    if (std::shared_ptr<Gpu> existing = gGpus[physical].lock()) return existing;
    std::shared_ptr<Gpu> gpu(new (std::nothrow) Gpu());
    if (!gpu || !gpu->create(instance, physical)) return nullptr;
    gGpus[physical] = gpu;
    return gpu;
}

bool Gpu::create(const std::shared_ptr<Instance>& instance, VkPhysicalDevice physical) {
    instance_ = instance;
    physical_ = physical;
    vkGetPhysicalDeviceProperties(physical, &properties_);
    vkGetPhysicalDeviceMemoryProperties(physical, &memoryProperties_);
    name_ = properties_.deviceName;

    uint32_t familyCount = 0;
    vkGetPhysicalDeviceQueueFamilyProperties(physical, &familyCount, nullptr);
    std::vector<VkQueueFamilyProperties> families(familyCount);
    vkGetPhysicalDeviceQueueFamilyProperties(physical, &familyCount, families.data());
    bool found = false;
    for (uint32_t i = 0; i < familyCount && !found; ++i) {
        if (families[i].queueFlags & VK_QUEUE_COMPUTE_BIT) {
            queueFamily_ = i;
            found = true;
        }
    }
    if (!found) return false;

    uint32_t extensionCount = 0;
    vkEnumerateDeviceExtensionProperties(physical, nullptr, &extensionCount, nullptr);
    std::vector<VkExtensionProperties> extensions(extensionCount);
    vkEnumerateDeviceExtensionProperties(physical, nullptr, &extensionCount, extensions.data());

    // Direct3D defines out-of-range texture loads as zeros; Vulkan does so
    // only with robust image access, the stronger form where available.
    VkPhysicalDeviceRobustness2FeaturesEXT robustness2{VK_STRUCTURE_TYPE_PHYSICAL_DEVICE_ROBUSTNESS_2_FEATURES_EXT};
    VkPhysicalDeviceImageRobustnessFeaturesEXT imageRobustness{
        VK_STRUCTURE_TYPE_PHYSICAL_DEVICE_IMAGE_ROBUSTNESS_FEATURES_EXT};
    VkPhysicalDeviceFeatures2 available{VK_STRUCTURE_TYPE_PHYSICAL_DEVICE_FEATURES_2};
    std::vector<const char*> enabledExtensions;
    const bool haveRobustness2 = hasExtension(extensions, VK_EXT_ROBUSTNESS_2_EXTENSION_NAME);
    const bool haveImageRobustness = hasExtension(extensions, VK_EXT_IMAGE_ROBUSTNESS_EXTENSION_NAME);
    if (haveRobustness2) {
        robustness2.pNext = available.pNext;
        available.pNext = &robustness2;
    }
    if (haveImageRobustness) {
        imageRobustness.pNext = available.pNext;
        available.pNext = &imageRobustness;
    }
    vkGetPhysicalDeviceFeatures2(physical, &available);

    VkPhysicalDeviceFeatures2 wanted{VK_STRUCTURE_TYPE_PHYSICAL_DEVICE_FEATURES_2};
    // The HLSL program's RWTexture2D<unorm ...> carries no Vulkan storage
    // format, so stores must work without one.
    if (!available.features.shaderStorageImageWriteWithoutFormat) return false;
    wanted.features.shaderStorageImageWriteWithoutFormat = VK_TRUE;
    wanted.features.shaderStorageImageExtendedFormats = available.features.shaderStorageImageExtendedFormats;
    wanted.features.robustBufferAccess = available.features.robustBufferAccess;
    VkPhysicalDeviceRobustness2FeaturesEXT wantRobustness2{VK_STRUCTURE_TYPE_PHYSICAL_DEVICE_ROBUSTNESS_2_FEATURES_EXT};
    VkPhysicalDeviceImageRobustnessFeaturesEXT wantImageRobustness{
        VK_STRUCTURE_TYPE_PHYSICAL_DEVICE_IMAGE_ROBUSTNESS_FEATURES_EXT};
    if (haveRobustness2 && robustness2.robustImageAccess2 && available.features.robustBufferAccess) {
        wantRobustness2.robustImageAccess2 = VK_TRUE;
        wantRobustness2.pNext = wanted.pNext;
        wanted.pNext = &wantRobustness2;
        enabledExtensions.push_back(VK_EXT_ROBUSTNESS_2_EXTENSION_NAME);
    } else if (haveImageRobustness && imageRobustness.robustImageAccess) {
        wantImageRobustness.robustImageAccess = VK_TRUE;
        wantImageRobustness.pNext = wanted.pNext;
        wanted.pNext = &wantImageRobustness;
        enabledExtensions.push_back(VK_EXT_IMAGE_ROBUSTNESS_EXTENSION_NAME);
    }

    const float priority = 1.0f;
    VkDeviceQueueCreateInfo queueInfo{VK_STRUCTURE_TYPE_DEVICE_QUEUE_CREATE_INFO};
    queueInfo.queueFamilyIndex = queueFamily_;
    queueInfo.queueCount = 1;
    queueInfo.pQueuePriorities = &priority;
    VkDeviceCreateInfo info{VK_STRUCTURE_TYPE_DEVICE_CREATE_INFO};
    info.pNext = &wanted;
    info.queueCreateInfoCount = 1;
    info.pQueueCreateInfos = &queueInfo;
    info.enabledExtensionCount = static_cast<uint32_t>(enabledExtensions.size());
    info.ppEnabledExtensionNames = enabledExtensions.data();
    if (vkCreateDevice(physical, &info, nullptr, &device_) != VK_SUCCESS) {
        device_ = VK_NULL_HANDLE;
        return false;
    }
    vkGetDeviceQueue(device_, queueFamily_, 0, &queue_);
    VkCommandPoolCreateInfo poolInfo{VK_STRUCTURE_TYPE_COMMAND_POOL_CREATE_INFO};
    poolInfo.flags = VK_COMMAND_POOL_CREATE_TRANSIENT_BIT;
    poolInfo.queueFamilyIndex = queueFamily_;
    if (vkCreateCommandPool(device_, &poolInfo, nullptr, &setupPool_) != VK_SUCCESS) return false;
    return createLayouts() && createEmptyResources();
}

bool Gpu::createLayouts() {
    const VkPhysicalDeviceLimits& limits = properties_.limits;
    cbSlots_ = std::min<uint32_t>(14, limits.maxPerStageDescriptorUniformBuffers);
    srvSlots_ = std::min<uint32_t>(kUavBindingBase - kTextureBindingBase, limits.maxPerStageDescriptorSampledImages);
    uavSlots_ = std::min<uint32_t>(8, limits.maxPerStageDescriptorStorageImages);
    std::vector<VkDescriptorSetLayoutBinding> bindings;
    auto add = [&](uint32_t base, uint32_t count, VkDescriptorType type) {
        for (uint32_t i = 0; i < count; ++i) {
            VkDescriptorSetLayoutBinding b{};
            b.binding = base + i;
            b.descriptorType = type;
            b.descriptorCount = 1;
            b.stageFlags = VK_SHADER_STAGE_COMPUTE_BIT;
            bindings.push_back(b);
        }
    };
    add(0, cbSlots_, VK_DESCRIPTOR_TYPE_UNIFORM_BUFFER);
    add(kTextureBindingBase, srvSlots_, VK_DESCRIPTOR_TYPE_SAMPLED_IMAGE);
    add(kUavBindingBase, uavSlots_, VK_DESCRIPTOR_TYPE_STORAGE_IMAGE);
    VkDescriptorSetLayoutCreateInfo setInfo{VK_STRUCTURE_TYPE_DESCRIPTOR_SET_LAYOUT_CREATE_INFO};
    setInfo.bindingCount = static_cast<uint32_t>(bindings.size());
    setInfo.pBindings = bindings.data();
    if (vkCreateDescriptorSetLayout(device_, &setInfo, nullptr, &setLayout_) != VK_SUCCESS) return false;
    VkPipelineLayoutCreateInfo layoutInfo{VK_STRUCTURE_TYPE_PIPELINE_LAYOUT_CREATE_INFO};
    layoutInfo.setLayoutCount = 1;
    layoutInfo.pSetLayouts = &setLayout_;
    return vkCreatePipelineLayout(device_, &layoutInfo, nullptr, &pipelineLayout_) == VK_SUCCESS;
}

bool Gpu::createEmptyResources() {
    const VkImageUsageFlags usages[2] = {VK_IMAGE_USAGE_SAMPLED_BIT, VK_IMAGE_USAGE_STORAGE_BIT};
    // Reads of the texture stand-in give (0, 0, 0, 0), so it has four
    // channels. Stores need at least as many components as the view's format
    // has, and programs store scalars too, so the UAV stand-in has one
    // channel (R32_SFLOAT: every Vulkan device can store to it).
    const VkFormat formats[2] = {VK_FORMAT_R8G8B8A8_UNORM, VK_FORMAT_R32_SFLOAT};
    for (int i = 0; i < 2; ++i) {
        VkImageCreateInfo info{VK_STRUCTURE_TYPE_IMAGE_CREATE_INFO};
        info.imageType = VK_IMAGE_TYPE_2D;
        info.format = formats[i];
        info.extent = {1, 1, 1};
        info.mipLevels = 1;
        info.arrayLayers = 1;
        info.samples = VK_SAMPLE_COUNT_1_BIT;
        info.tiling = VK_IMAGE_TILING_OPTIMAL;
        info.usage = usages[i] | VK_IMAGE_USAGE_TRANSFER_DST_BIT;
        if (vkCreateImage(device_, &info, nullptr, &emptyImages_[i]) != VK_SUCCESS) return false;
        VkMemoryRequirements req;
        vkGetImageMemoryRequirements(device_, emptyImages_[i], &req);
        VkMemoryAllocateInfo alloc{VK_STRUCTURE_TYPE_MEMORY_ALLOCATE_INFO};
        alloc.allocationSize = req.size;
        int type = memoryType(req.memoryTypeBits, 0, VK_MEMORY_PROPERTY_DEVICE_LOCAL_BIT);
        if (type < 0) return false;
        alloc.memoryTypeIndex = static_cast<uint32_t>(type);
        if (vkAllocateMemory(device_, &alloc, nullptr, &emptyImageMemory_[i]) != VK_SUCCESS) return false;
        if (vkBindImageMemory(device_, emptyImages_[i], emptyImageMemory_[i], 0) != VK_SUCCESS) return false;
        VkImageViewCreateInfo viewInfo{VK_STRUCTURE_TYPE_IMAGE_VIEW_CREATE_INFO};
        viewInfo.image = emptyImages_[i];
        viewInfo.viewType = VK_IMAGE_VIEW_TYPE_2D;
        viewInfo.format = info.format;
        viewInfo.subresourceRange = {VK_IMAGE_ASPECT_COLOR_BIT, 0, 1, 0, 1};
        if (vkCreateImageView(device_, &viewInfo, nullptr, &emptyViews_[i]) != VK_SUCCESS) return false;
    }
    VkBufferCreateInfo bufferInfo{VK_STRUCTURE_TYPE_BUFFER_CREATE_INFO};
    bufferInfo.size = 256;
    bufferInfo.usage = VK_BUFFER_USAGE_UNIFORM_BUFFER_BIT | VK_BUFFER_USAGE_TRANSFER_DST_BIT;
    if (vkCreateBuffer(device_, &bufferInfo, nullptr, &emptyBuffer_) != VK_SUCCESS) return false;
    VkMemoryRequirements req;
    vkGetBufferMemoryRequirements(device_, emptyBuffer_, &req);
    int type = memoryType(req.memoryTypeBits, 0, VK_MEMORY_PROPERTY_DEVICE_LOCAL_BIT);
    if (type < 0) return false;
    VkMemoryAllocateInfo alloc{VK_STRUCTURE_TYPE_MEMORY_ALLOCATE_INFO};
    alloc.allocationSize = req.size;
    alloc.memoryTypeIndex = static_cast<uint32_t>(type);
    if (vkAllocateMemory(device_, &alloc, nullptr, &emptyBufferMemory_) != VK_SUCCESS) return false;
    if (vkBindBufferMemory(device_, emptyBuffer_, emptyBufferMemory_, 0) != VK_SUCCESS) return false;
    return runNow([&](VkCommandBuffer cmd) {
        VkImageMemoryBarrier barriers[2];
        for (int i = 0; i < 2; ++i) {
            barriers[i] = VkImageMemoryBarrier{VK_STRUCTURE_TYPE_IMAGE_MEMORY_BARRIER};
            barriers[i].srcAccessMask = 0;
            barriers[i].dstAccessMask = VK_ACCESS_TRANSFER_WRITE_BIT;
            barriers[i].oldLayout = VK_IMAGE_LAYOUT_UNDEFINED;
            barriers[i].newLayout = VK_IMAGE_LAYOUT_GENERAL;
            barriers[i].srcQueueFamilyIndex = VK_QUEUE_FAMILY_IGNORED;
            barriers[i].dstQueueFamilyIndex = VK_QUEUE_FAMILY_IGNORED;
            barriers[i].image = emptyImages_[i];
            barriers[i].subresourceRange = {VK_IMAGE_ASPECT_COLOR_BIT, 0, 1, 0, 1};
        }
        vkCmdPipelineBarrier(cmd, VK_PIPELINE_STAGE_TOP_OF_PIPE_BIT, VK_PIPELINE_STAGE_TRANSFER_BIT, 0, 0, nullptr,
                             0, nullptr, 2, barriers);
        VkClearColorValue zero{};
        VkImageSubresourceRange range{VK_IMAGE_ASPECT_COLOR_BIT, 0, 1, 0, 1};
        for (int i = 0; i < 2; ++i)
            vkCmdClearColorImage(cmd, emptyImages_[i], VK_IMAGE_LAYOUT_GENERAL, &zero, 1, &range);
        vkCmdFillBuffer(cmd, emptyBuffer_, 0, VK_WHOLE_SIZE, 0);
    });
}

Gpu::~Gpu() {
    if (!device_) return;
    vkDeviceWaitIdle(device_);
    for (int i = 0; i < 2; ++i) {
        if (emptyViews_[i]) vkDestroyImageView(device_, emptyViews_[i], nullptr);
        if (emptyImages_[i]) vkDestroyImage(device_, emptyImages_[i], nullptr);
        if (emptyImageMemory_[i]) vkFreeMemory(device_, emptyImageMemory_[i], nullptr);
    }
    if (emptyBuffer_) vkDestroyBuffer(device_, emptyBuffer_, nullptr);
    if (emptyBufferMemory_) vkFreeMemory(device_, emptyBufferMemory_, nullptr);
    if (pipelineLayout_) vkDestroyPipelineLayout(device_, pipelineLayout_, nullptr);
    if (setLayout_) vkDestroyDescriptorSetLayout(device_, setLayout_, nullptr);
    if (setupPool_) vkDestroyCommandPool(device_, setupPool_, nullptr);
    vkDestroyDevice(device_, nullptr);
}

int Gpu::memoryType(uint32_t typeBits, VkMemoryPropertyFlags required, VkMemoryPropertyFlags preferred) const {
    int fallback = -1;
    for (uint32_t i = 0; i < memoryProperties_.memoryTypeCount; ++i) {
        if (!(typeBits & (1u << i))) continue;
        const VkMemoryPropertyFlags flags = memoryProperties_.memoryTypes[i].propertyFlags;
        if ((flags & required) != required) continue;
        if ((flags & preferred) == preferred) return static_cast<int>(i);
        if (fallback < 0) fallback = static_cast<int>(i);
    }
    return fallback;
}

bool Gpu::formatSupports(VkFormat format, VkFormatFeatureFlags features) const {
    VkFormatProperties props;
    vkGetPhysicalDeviceFormatProperties(physical_, format, &props);
    return (props.optimalTilingFeatures & features) == features;
}

VkResult Gpu::submit(VkCommandBuffer commands, VkFence fence) {
    VkSubmitInfo info{VK_STRUCTURE_TYPE_SUBMIT_INFO};
    info.commandBufferCount = 1;
    info.pCommandBuffers = &commands;
    std::lock_guard<std::mutex> lock(queueMutex_);
    return vkQueueSubmit(queue_, 1, &info, fence);
}

bool Gpu::runNow(const std::function<void(VkCommandBuffer)>& record) {
    std::lock_guard<std::mutex> lock(setupMutex_);
    VkCommandBufferAllocateInfo allocInfo{VK_STRUCTURE_TYPE_COMMAND_BUFFER_ALLOCATE_INFO};
    allocInfo.commandPool = setupPool_;
    allocInfo.level = VK_COMMAND_BUFFER_LEVEL_PRIMARY;
    allocInfo.commandBufferCount = 1;
    VkCommandBuffer cmd = VK_NULL_HANDLE;
    if (vkAllocateCommandBuffers(device_, &allocInfo, &cmd) != VK_SUCCESS) return false;
    VkFence fence = VK_NULL_HANDLE;
    VkFenceCreateInfo fenceInfo{VK_STRUCTURE_TYPE_FENCE_CREATE_INFO};
    bool ok = vkCreateFence(device_, &fenceInfo, nullptr, &fence) == VK_SUCCESS;
    VkCommandBufferBeginInfo begin{VK_STRUCTURE_TYPE_COMMAND_BUFFER_BEGIN_INFO};
    begin.flags = VK_COMMAND_BUFFER_USAGE_ONE_TIME_SUBMIT_BIT;
    ok = ok && vkBeginCommandBuffer(cmd, &begin) == VK_SUCCESS;
    if (ok) {
        record(cmd);
        ok = vkEndCommandBuffer(cmd) == VK_SUCCESS && submit(cmd, fence) == VK_SUCCESS &&
             vkWaitForFences(device_, 1, &fence, VK_TRUE, UINT64_MAX) == VK_SUCCESS;
    }
    if (fence) vkDestroyFence(device_, fence, nullptr);
    vkFreeCommandBuffers(device_, setupPool_, 1, &cmd);
    return ok;
}

std::shared_ptr<Image> Image::create(const std::shared_ptr<Gpu>& gpu, VkFormat format, uint32_t width,
                                     uint32_t height, uint32_t layers, VkImageUsageFlags usage) {
    std::shared_ptr<Image> image(new (std::nothrow) Image());
    if (!image) return nullptr;
    image->gpu = gpu;
    image->format = format;
    image->width = width;
    image->height = height;
    image->layers = layers;
    VkImageCreateInfo info{VK_STRUCTURE_TYPE_IMAGE_CREATE_INFO};
    info.imageType = VK_IMAGE_TYPE_2D;
    info.format = format;
    info.extent = {width, height, 1};
    info.mipLevels = 1;
    info.arrayLayers = layers;
    info.samples = VK_SAMPLE_COUNT_1_BIT;
    info.tiling = VK_IMAGE_TILING_OPTIMAL;
    info.usage = usage | VK_IMAGE_USAGE_TRANSFER_SRC_BIT | VK_IMAGE_USAGE_TRANSFER_DST_BIT;
    VkDevice device = gpu->device();
    if (vkCreateImage(device, &info, nullptr, &image->image) != VK_SUCCESS) {
        image->image = VK_NULL_HANDLE;
        return nullptr;
    }
    VkMemoryRequirements req;
    vkGetImageMemoryRequirements(device, image->image, &req);
    int type = gpu->memoryType(req.memoryTypeBits, 0, VK_MEMORY_PROPERTY_DEVICE_LOCAL_BIT);
    VkMemoryAllocateInfo alloc{VK_STRUCTURE_TYPE_MEMORY_ALLOCATE_INFO};
    alloc.allocationSize = req.size;
    alloc.memoryTypeIndex = static_cast<uint32_t>(type);
    if (type < 0 || vkAllocateMemory(device, &alloc, nullptr, &image->memory) != VK_SUCCESS) {
        image->memory = VK_NULL_HANDLE;
        return nullptr;
    }
    if (vkBindImageMemory(device, image->image, image->memory, 0) != VK_SUCCESS) return nullptr;
    const VkImageSubresourceRange range{VK_IMAGE_ASPECT_COLOR_BIT, 0, 1, 0, layers};
    bool ok = gpu->runNow([&](VkCommandBuffer cmd) {
        VkImageMemoryBarrier barrier{VK_STRUCTURE_TYPE_IMAGE_MEMORY_BARRIER};
        barrier.dstAccessMask = VK_ACCESS_TRANSFER_WRITE_BIT;
        barrier.oldLayout = VK_IMAGE_LAYOUT_UNDEFINED;
        barrier.newLayout = VK_IMAGE_LAYOUT_GENERAL;
        barrier.srcQueueFamilyIndex = VK_QUEUE_FAMILY_IGNORED;
        barrier.dstQueueFamilyIndex = VK_QUEUE_FAMILY_IGNORED;
        barrier.image = image->image;
        barrier.subresourceRange = range;
        vkCmdPipelineBarrier(cmd, VK_PIPELINE_STAGE_TOP_OF_PIPE_BIT, VK_PIPELINE_STAGE_TRANSFER_BIT, 0, 0, nullptr,
                             0, nullptr, 1, &barrier);
        VkClearColorValue zero{};
        vkCmdClearColorImage(cmd, image->image, VK_IMAGE_LAYOUT_GENERAL, &zero, 1, &range);
    });
    return ok ? image : nullptr;
}

Image::~Image() {
    if (image) vkDestroyImage(gpu->device(), image, nullptr);
    if (memory) vkFreeMemory(gpu->device(), memory, nullptr);
}

std::shared_ptr<Buffer> Buffer::create(const std::shared_ptr<Gpu>& gpu, VkDeviceSize size, VkBufferUsageFlags usage) {
    std::shared_ptr<Buffer> buffer(new (std::nothrow) Buffer());
    if (!buffer) return nullptr;
    buffer->gpu = gpu;
    buffer->size = size;
    VkDevice device = gpu->device();
    VkBufferCreateInfo info{VK_STRUCTURE_TYPE_BUFFER_CREATE_INFO};
    info.size = size;
    info.usage = usage;
    if (vkCreateBuffer(device, &info, nullptr, &buffer->buffer) != VK_SUCCESS) {
        buffer->buffer = VK_NULL_HANDLE;
        return nullptr;
    }
    VkMemoryRequirements req;
    vkGetBufferMemoryRequirements(device, buffer->buffer, &req);
    // Cached memory makes the CPU's reads of staging data fast; coherence
    // spares explicit flushes around Map and Unmap.
    int type = gpu->memoryType(req.memoryTypeBits,
                               VK_MEMORY_PROPERTY_HOST_VISIBLE_BIT | VK_MEMORY_PROPERTY_HOST_COHERENT_BIT,
                               VK_MEMORY_PROPERTY_HOST_CACHED_BIT);
    VkMemoryAllocateInfo alloc{VK_STRUCTURE_TYPE_MEMORY_ALLOCATE_INFO};
    alloc.allocationSize = req.size;
    alloc.memoryTypeIndex = static_cast<uint32_t>(type);
    if (type < 0 || vkAllocateMemory(device, &alloc, nullptr, &buffer->memory) != VK_SUCCESS) {
        buffer->memory = VK_NULL_HANDLE;
        return nullptr;
    }
    if (vkBindBufferMemory(device, buffer->buffer, buffer->memory, 0) != VK_SUCCESS ||
        vkMapMemory(device, buffer->memory, 0, VK_WHOLE_SIZE, 0, &buffer->mapped) != VK_SUCCESS)
        return nullptr;
    std::memset(buffer->mapped, 0, static_cast<size_t>(size));
    return buffer;
}

Buffer::~Buffer() {
    if (buffer) vkDestroyBuffer(gpu->device(), buffer, nullptr);
    if (memory) vkFreeMemory(gpu->device(), memory, nullptr);  // unmaps implicitly
}

std::shared_ptr<ImageView> ImageView::create(const std::shared_ptr<Image>& image, uint32_t firstLayer,
                                             uint32_t layerCount) {
    std::shared_ptr<ImageView> view(new (std::nothrow) ImageView());
    if (!view) return nullptr;
    view->image = image;
    VkImageViewCreateInfo info{VK_STRUCTURE_TYPE_IMAGE_VIEW_CREATE_INFO};
    info.image = image->image;
    // HLSL's Texture2D and RWTexture2D are non-arrayed images in SPIR-V: a
    // one-slice view must be a plain 2D view to match them.
    info.viewType = layerCount == 1 ? VK_IMAGE_VIEW_TYPE_2D : VK_IMAGE_VIEW_TYPE_2D_ARRAY;
    info.format = image->format;
    info.subresourceRange = {VK_IMAGE_ASPECT_COLOR_BIT, 0, 1, firstLayer, layerCount};
    if (vkCreateImageView(image->gpu->device(), &info, nullptr, &view->view) != VK_SUCCESS) {
        view->view = VK_NULL_HANDLE;
        return nullptr;
    }
    return view;
}

ImageView::~ImageView() {
    if (view) vkDestroyImageView(image->gpu->device(), view, nullptr);
}

}  // namespace kro_vk
