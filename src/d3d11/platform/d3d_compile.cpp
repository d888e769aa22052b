// D3DCompile on glslang: HLSL compute shaders to SPIR-V for the layer's
// Vulkan pipelines. Modelled: targets cs_5_0 (and cs_4_x, cs_5_1), macros,
// the entry point, errors and warnings as text in the error blob. The
// register numbers are kept: bN, tN and uN land at the Vulkan bindings the
// layer's pipeline layout gives them (vulkan_gpu.h). Storage images carry no
// format, so RWTexture2D<unorm float4> and friends write through whatever
// view is bound. Include handlers and the compile flags are not modelled;
// flags are accepted and ignored.
#define ENABLE_HLSL 1  // the Debian glslang libraries are built with the HLSL front end

#include <glslang/Public/ResourceLimits.h>
#include <glslang/Public/ShaderLang.h>
#include <glslang/SPIRV/GlslangToSpv.h>

#include <cstring>
#include <mutex>
#include <new>
#include <string>
#include <vector>

#include "d3d11/platform/com_object.h"
#include "d3d11/platform/d3dcompiler_api.h"
#include "d3d11/platform/vulkan_gpu.h"

namespace kro_d3d11 {

namespace {

class Blob final : public ComObject<ID3D10Blob> {
public:
    explicit Blob(std::vector<char> bytes) : bytes_(std::move(bytes)) {}
    LPVOID STDMETHODCALLTYPE GetBufferPointer() override { return bytes_.data(); }
    SIZE_T STDMETHODCALLTYPE GetBufferSize() override { return bytes_.size(); }

protected:
    void* queryInterface(REFIID riid) override { return isOneOf<IUnknown, ID3D10Blob>(riid) ? self() : nullptr; }

private:
    std::vector<char> bytes_;
};

// Error and warning text as a zero-terminated string, as the HLSL compiler
// returns it.
ID3DBlob* textBlob(const std::string& text) {
    std::vector<char> bytes(text.begin(), text.end());
    bytes.push_back('\0');
    return new (std::nothrow) Blob(std::move(bytes));
}

bool isComputeTarget(const char* target) {
    static const char* const kTargets[] = {"cs_4_0", "cs_4_1", "cs_5_0", "cs_5_1"};
    for (const char* t : kTargets)
        if (std::strcmp(target, t) == 0) return true;
    return false;
}

void initialiseGlslang() {
    static std::once_flag once;
    std::call_once(once, [] { glslang::InitializeProcess(); });
}

std::string logsOf(const char* first, const char* second) {
    std::string text = first ? first : "";
    if (second && *second) text += second;
    return text;
}

}  // namespace

}  // namespace kro_d3d11

using namespace kro_d3d11;

HRESULT WINAPI D3DCompile(LPCVOID pSrcData, SIZE_T SrcDataSize, LPCSTR pSourceName, const D3D_SHADER_MACRO* pDefines,
                          ID3DInclude*, LPCSTR pEntrypoint, LPCSTR pTarget, UINT, UINT, ID3DBlob** ppCode,
                          ID3DBlob** ppErrorMsgs) {
    if (ppCode) *ppCode = nullptr;
    if (ppErrorMsgs) *ppErrorMsgs = nullptr;
    auto fail = [&](HRESULT hr, const std::string& text) {
        if (ppErrorMsgs && !text.empty()) *ppErrorMsgs = textBlob(text);
        return hr;
    };
    if (!pSrcData || !pEntrypoint || !pTarget || !ppCode || SrcDataSize > SIZE_T(INT32_MAX))
        return E_INVALIDARG;
    if (!isComputeTarget(pTarget))
        return fail(E_INVALIDARG, std::string("error: target '") + pTarget + "' is not a compute target modelled here\n");
    try {
        initialiseGlslang();
        std::string preamble;
        for (const D3D_SHADER_MACRO* m = pDefines; m && m->Name; ++m)
            preamble += std::string("#define ") + m->Name + " " + (m->Definition ? m->Definition : "1") + "\n";

        glslang::TShader shader(EShLangCompute);
        const char* text = static_cast<const char*>(pSrcData);
        const int length = static_cast<int>(SrcDataSize);
        const char* name = pSourceName ? pSourceName : "";
        shader.setStringsWithLengthsAndNames(&text, &length, &name, 1);
        shader.setPreamble(preamble.c_str());
        shader.setEntryPoint(pEntrypoint);
        shader.setSourceEntryPoint(pEntrypoint);
        shader.setEnvInput(glslang::EShSourceHlsl, EShLangCompute, glslang::EShClientVulkan, 100);
        shader.setEnvClient(glslang::EShClientVulkan, glslang::EShTargetVulkan_1_1);
        shader.setEnvTarget(glslang::EShTargetSpv, glslang::EShTargetSpv_1_3);
        shader.setHlslIoMapping(true);
        shader.setShiftBinding(glslang::EResTexture, kro_vk::kTextureBindingBase);
        shader.setShiftBinding(glslang::EResUav, kro_vk::kUavBindingBase);
        shader.setShiftBinding(glslang::EResImage, kro_vk::kUavBindingBase);
        shader.setNoStorageFormat(true);
        const EShMessages messages =
            static_cast<EShMessages>(EShMsgSpvRules | EShMsgVulkanRules | EShMsgReadHlsl | EShMsgHlslOffsets);
        if (!shader.parse(GetDefaultResources(), 100, false, messages))
            return fail(E_FAIL, logsOf(shader.getInfoLog(), shader.getInfoDebugLog()));
        glslang::TProgram program;
        program.addShader(&shader);
        // The binding shifts are applied by mapIO, after linking.
        if (!program.link(messages) || !program.mapIO())
            return fail(E_FAIL, logsOf(program.getInfoLog(), program.getInfoDebugLog()));

        std::vector<unsigned int> spirv;
        spv::SpvBuildLogger logger;
        glslang::SpvOptions options;
        options.disableOptimizer = false;  // runs the legalisation HLSL needs for Vulkan
        options.validate = true;
        glslang::GlslangToSpv(*program.getIntermediate(EShLangCompute), spirv, &logger, &options);
        const std::string spvMessages = logger.getAllMessages();
        if (spirv.empty() || spvMessages.find("error") != std::string::npos)
            return fail(E_FAIL, spvMessages.empty() ? "error: no SPIR-V was generated\n" : spvMessages);

        std::vector<char> bytes(spirv.size() * sizeof(unsigned int));
        std::memcpy(bytes.data(), spirv.data(), bytes.size());
        Blob* code = new (std::nothrow) Blob(std::move(bytes));
        if (!code) return E_OUTOFMEMORY;
        *ppCode = code;
        const std::string warnings = logsOf(shader.getInfoLog(), spvMessages.c_str());
        if (ppErrorMsgs && !warnings.empty()) *ppErrorMsgs = textBlob(warnings);
        return S_OK;
    } catch (const std::bad_alloc&) {
        return E_OUTOFMEMORY;
    } catch (...) {
        return E_FAIL;
    }
}
