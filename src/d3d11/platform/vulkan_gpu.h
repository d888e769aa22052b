// The Vulkan objects under the Direct3D 11 layer. One Vulkan instance serves
// the process while anything uses it; one VkDevice with one queue serves
// every Direct3D 11 device made on the same physical device, so textures can
// be shared between those devices by handing over the same VkImage.
#pragma once

#include <vulkan/vulkan.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace kro_vk {

class Instance {
public:
    // The process's instance, created on first use and kept; null when
    // Vulkan or a driver is missing (tried again on the next call).
    static std::shared_ptr<Instance> acquire();
    ~Instance();

    VkInstance handle() const { return instance_; }
    const std::vector<VkPhysicalDevice>& physicalDevices() const { return physicalDevices_; }

private:
    VkInstance instance_ = VK_NULL_HANDLE;
    std::vector<VkPhysicalDevice> physicalDevices_;
};

// Descriptor bindings of every compute pipeline: register bN, tN and uN of
// an HLSL program sit at Vulkan bindings N, kTextureBindingBase + N and
// kUavBindingBase + N of set 0 (D3DCompile shifts them there).
constexpr uint32_t kTextureBindingBase = 16;
constexpr uint32_t kUavBindingBase = 32;

class Gpu {
public:
    // The shared device of physical device `index`; null when it cannot be made.
    static std::shared_ptr<Gpu> acquire(const std::shared_ptr<Instance>& instance, uint32_t index);
    ~Gpu();

    VkDevice device() const { return device_; }
    VkPhysicalDevice physical() const { return physical_; }
    uint32_t queueFamily() const { return queueFamily_; }
    const std::string& name() const { return name_; }
    const VkPhysicalDeviceProperties& properties() const { return properties_; }

    // Slot counts the pipeline layout offers (the Direct3D 11 counts, or
    // fewer where the device's limits are lower).
    uint32_t constantBufferSlots() const { return cbSlots_; }
    uint32_t textureSlots() const { return srvSlots_; }
    uint32_t uavSlots() const { return uavSlots_; }
    VkDescriptorSetLayout setLayout() const { return setLayout_; }
    VkPipelineLayout pipelineLayout() const { return pipelineLayout_; }

    // Memory type with all of `required` (preferring `preferred` too), or -1.
    int memoryType(uint32_t typeBits, VkMemoryPropertyFlags required, VkMemoryPropertyFlags preferred = 0) const;
    bool formatSupports(VkFormat format, VkFormatFeatureFlags features) const;

    // Queue submission is externally synchronised in Vulkan; every submitter
    // goes through here.
    VkResult submit(VkCommandBuffer commands, VkFence fence);
    // Records `record` into a one-time command buffer, submits and waits.
    bool runNow(const std::function<void(VkCommandBuffer)>& record);

    // Zero-filled stand-ins bound to empty slots: reads of an empty texture
    // or constant-buffer slot return zeros, writes to an empty UAV slot are
    // dropped (they land in a scratch image nobody reads).
    VkImageView emptyTextureView() const { return emptyViews_[0]; }
    VkImageView emptyUavView() const { return emptyViews_[1]; }
    VkBuffer emptyConstantBuffer() const { return emptyBuffer_; }

private:
    Gpu() = default;
    bool create(const std::shared_ptr<Instance>& instance, VkPhysicalDevice physical);
    bool createLayouts();
    bool createEmptyResources();

    std::shared_ptr<Instance> instance_;
    VkPhysicalDevice physical_ = VK_NULL_HANDLE;
    VkPhysicalDeviceProperties properties_{};
    VkPhysicalDeviceMemoryProperties memoryProperties_{};
    std::string name_;
    VkDevice device_ = VK_NULL_HANDLE;
    uint32_t queueFamily_ = 0;
    VkQueue queue_ = VK_NULL_HANDLE;
    std::mutex queueMutex_;
    std::mutex setupMutex_;  // guards setupPool_
    VkCommandPool setupPool_ = VK_NULL_HANDLE;
    uint32_t cbSlots_ = 0, srvSlots_ = 0, uavSlots_ = 0;
    VkDescriptorSetLayout setLayout_ = VK_NULL_HANDLE;
    VkPipelineLayout pipelineLayout_ = VK_NULL_HANDLE;
    VkImage emptyImages_[2] = {VK_NULL_HANDLE, VK_NULL_HANDLE};
    VkDeviceMemory emptyImageMemory_[2] = {VK_NULL_HANDLE, VK_NULL_HANDLE};
    VkImageView emptyViews_[2] = {VK_NULL_HANDLE, VK_NULL_HANDLE};
    VkBuffer emptyBuffer_ = VK_NULL_HANDLE;
    VkDeviceMemory emptyBufferMemory_ = VK_NULL_HANDLE;
};

// A device-local image kept in VK_IMAGE_LAYOUT_GENERAL for its whole life.
struct Image {
    std::shared_ptr<Gpu> gpu;
    VkImage image = VK_NULL_HANDLE;
    VkDeviceMemory memory = VK_NULL_HANDLE;
    VkFormat format = VK_FORMAT_UNDEFINED;
    uint32_t width = 0, height = 0, layers = 0;

    // Made, bound and cleared to zero; null on failure.
    static std::shared_ptr<Image> create(const std::shared_ptr<Gpu>& gpu, VkFormat format, uint32_t width,
                                         uint32_t height, uint32_t layers, VkImageUsageFlags usage);
    ~Image();
};

// A host-visible, coherent buffer mapped for its whole life.
struct Buffer {
    std::shared_ptr<Gpu> gpu;
    VkBuffer buffer = VK_NULL_HANDLE;
    VkDeviceMemory memory = VK_NULL_HANDLE;
    void* mapped = nullptr;
    VkDeviceSize size = 0;

    static std::shared_ptr<Buffer> create(const std::shared_ptr<Gpu>& gpu, VkDeviceSize size,
                                          VkBufferUsageFlags usage);
    ~Buffer();
};

struct ImageView {
    std::shared_ptr<Image> image;
    VkImageView view = VK_NULL_HANDLE;

    static std::shared_ptr<ImageView> create(const std::shared_ptr<Image>& image, uint32_t firstLayer,
                                             uint32_t layerCount);
    ~ImageView();
};

}  // namespace kro_vk
