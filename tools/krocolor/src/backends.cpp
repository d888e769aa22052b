#include "backends.h"

#include <memory>
#include <sstream>
#include <vector>

#include <KROColorFunctions.h>

#include "backend_device.h"
#include "cuda_frames.h"
#include "gles_conversion.h"

namespace krocolor {
namespace {

const std::vector<BackendInfo> kBackends = {
    {"cpu", "scalar c", 0, false, "scalar CPU convertor (the reference)"},
    {"simd", "xsimd sse2", 6, false, "four-lane SIMD CPU convertor"},
    {"swscale", "sws ffmpeg", 1, false, "CPU convertor through FFmpeg's libswscale"},
    {"cuda", "nvidia", 4, false, "NVIDIA GPU through the CUDA driver"},
    {"d3d11", "directx", 5, true, "Direct3D 11 compute shader"},
    {"gles", "opengl gl", 2, false, "OpenGL ES render pass (headless EGL context)"},
};

}  // namespace

const std::vector<BackendInfo>& backends() { return kBackends; }

const BackendInfo* findBackend(const std::string& name) {
    for (const auto& b : kBackends) {
        if (name == b.name) return &b;
        std::istringstream aliases(b.aliases);
        std::string alias;
        while (aliases >> alias)
            if (name == alias) return &b;
    }
    return nullptr;
}

std::string backendNames() {
    std::string list;
    for (const auto& b : kBackends) list += (list.empty() ? "" : ", ") + std::string(b.name);
    return list;
}

std::string backendUnavailableReason(const BackendInfo& backend) {
    using namespace KROCOLOR;
    if (backend.hwType == kKROHWTypeCUDA) return cudaUnavailableReason();
    std::unique_ptr<BackendDevice> device;
    if (backend.needsDevice) {
        std::string reason;
        device = BackendDevice::open(backend, reason);
        if (!device) return reason;
    }
    if (backend.hwType == kKROHWTypeGLES) {  // the probe below runs on krocolor's own context
        const std::string why = makeGlesContextCurrent();
        if (!why.empty()) return why;
    }
    constexpr int kSide = 16;
    std::unique_ptr<KROColorFunctions> probe(
        KROColorFunctions::create(kSide, kSide, kKRORGBA8888Format, kSide, kSide, kKRORGBA8888Format));
    if (!probe) return "out of memory";
    KROHWContext context;
    context.srcType = backend.hwType;
    context.dstType = backend.hwType;
    probe->setHWContext(device ? device->context() : context);
    std::vector<uint8_t> src(kSide * kSide * 4, 128), dst(kSide * kSide * 4, 0);
    const uint8_t* srcPlanes[] = {src.data()};
    uint8_t* dstPlanes[] = {dst.data()};
    const int strides[] = {kSide * 4};
    const KROReturn rc = probe->transcode(srcPlanes, strides, dstPlanes, strides);
    if (rc == kKROSuccess) return "";
    return std::string(queryKROReturn(rc)) + " (KROReturn " + std::to_string(static_cast<int>(rc)) + ")";
}

}  // namespace krocolor
