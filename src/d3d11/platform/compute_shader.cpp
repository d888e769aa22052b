// Compute shaders: SPIR-V bytecode (as D3DCompile returns it) made into a
// Vulkan compute pipeline on the layer's fixed pipeline layout.
#include <cstring>
#include <new>
#include <string>

#include "d3d11/platform/d3d11_objects.h"

namespace kro_d3d11 {

namespace {

constexpr uint32_t kSpirvMagic = 0x07230203;
constexpr uint32_t kOpEntryPoint = 15;
constexpr uint32_t kExecutionModelGLCompute = 5;

// The name of the module's compute entry point; empty when there is none.
std::string computeEntryPoint(const uint32_t* words, size_t count) {
    for (size_t i = 5; i < count;) {
        const uint32_t length = words[i] >> 16, opcode = words[i] & 0xffff;
        if (length == 0 || i + length > count) return std::string();
        if (opcode == kOpEntryPoint && length >= 4 && words[i + 1] == kExecutionModelGLCompute) {
            const char* name = reinterpret_cast<const char*>(&words[i + 3]);
            return std::string(name, strnlen(name, (length - 3) * sizeof(uint32_t)));
        }
        i += length;
    }
    return std::string();
}

}  // namespace

ShaderState::~ShaderState() {
    if (pipeline) vkDestroyPipeline(gpu->device(), pipeline, nullptr);
    if (module) vkDestroyShaderModule(gpu->device(), module, nullptr);
}

std::shared_ptr<ShaderState> createShaderState(const std::shared_ptr<kro_vk::Gpu>& gpu, const void* code,
                                               size_t size) {
    if (size < 20 || size % 4 != 0) return nullptr;
    std::vector<uint32_t> words(size / 4);
    std::memcpy(words.data(), code, size);
    if (words[0] != kSpirvMagic) return nullptr;
    const std::string entry = computeEntryPoint(words.data(), words.size());
    if (entry.empty()) return nullptr;
    std::shared_ptr<ShaderState> state(new (std::nothrow) ShaderState());
    if (!state) return nullptr;
    state->gpu = gpu;
    VkShaderModuleCreateInfo moduleInfo{VK_STRUCTURE_TYPE_SHADER_MODULE_CREATE_INFO};
    moduleInfo.codeSize = size;
    moduleInfo.pCode = words.data();
    if (vkCreateShaderModule(gpu->device(), &moduleInfo, nullptr, &state->module) != VK_SUCCESS) {
        state->module = VK_NULL_HANDLE;
        return nullptr;
    }
    VkComputePipelineCreateInfo info{VK_STRUCTURE_TYPE_COMPUTE_PIPELINE_CREATE_INFO};
    info.stage.sType = VK_STRUCTURE_TYPE_PIPELINE_SHADER_STAGE_CREATE_INFO;
    info.stage.stage = VK_SHADER_STAGE_COMPUTE_BIT;
    info.stage.module = state->module;
    info.stage.pName = entry.c_str();
    info.layout = gpu->pipelineLayout();
    if (vkCreateComputePipelines(gpu->device(), VK_NULL_HANDLE, 1, &info, nullptr, &state->pipeline) != VK_SUCCESS) {
        state->pipeline = VK_NULL_HANDLE;
        return nullptr;
    }
    return state;
}

HRESULT Device::CreateComputeShader(const void* pShaderBytecode, SIZE_T BytecodeLength, ID3D11ClassLinkage*,
                                    ID3D11ComputeShader** ppComputeShader) {
    if (!pShaderBytecode) return E_INVALIDARG;
    std::shared_ptr<ShaderState> state = createShaderState(gpu_, pShaderBytecode, BytecodeLength);
    if (!state) return E_INVALIDARG;
    if (!ppComputeShader) return S_FALSE;
    ComputeShader* shader = new (std::nothrow) ComputeShader(this, std::move(state));
    if (!shader) return E_OUTOFMEMORY;
    countCreated(ObjectKind::ComputeShader);
    *ppComputeShader = shader;
    return S_OK;
}

void* ComputeShader::queryInterface(REFIID riid) {
    return isOneOf<IUnknown, ID3D11DeviceChild, ID3D11ComputeShader>(riid) ? self() : nullptr;
}

}  // namespace kro_d3d11
