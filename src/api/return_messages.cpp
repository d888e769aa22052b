#include "KROColorFunctions.h"

namespace KROCOLOR {

namespace {

// Indexed by KROReturn. The texts are part of the interface: hosts match on
// them, so they stay exactly as shipped, odd grammar included.
const char* const kMessages[] = {
    "Success.",
    "Unknown error.",
    "Input param error.",
    "Set color primaries error, not support.",
    "Set color matrix error, not support.",
    "set color transfer error, not support.",
    "Missing HWContext, you must set HWContext if you want to use hw accelerating",
    "Format don't matching KROHWContext.",
    "Don't support different CUContext for input resource.",
    "Loading CUDA error, check your device is supporting CUDA",
    "cuCtxPushCurrent error",
    "Can't load CUDA kernel functions.",
    "Run CUDA kernel error.",
    "Run CPU kernel error.",
    "Platform don't support input format.",
    "Input ID3D11Texture2D should set D3D11_BIND_SHADER_RESOURCE flag",
    "Output ID3D11Texture2D should set D3D11_BIND_UNORDERED_ACCESS flag",
    "Run d3d11 kernel error.",
    "Load Metal Function error.",
    "Load D3D11 Function error.",
    "Load GLES3.1 Function error",
    "Input Texture2D should an immutable texture object",
    "Output Texture2D should an immutable texture object",
    "Load Metal kernel error.",
    "Load OpenGl Function error.",
    "Input PixelFormat not supported.",
    "Input width or height not matching.",
    "Invalid ICC profile.",
};
constexpr int kMessageCount = static_cast<int>(sizeof(kMessages) / sizeof(kMessages[0]));
static_assert(kMessageCount == kKROInvalidICCProfile + 1, "one message per KROReturn code");

}  // namespace

const char* queryKROReturn(KROReturn code) {
    const int index = static_cast<int>(code);
    if (index < 0 || index >= kMessageCount) return kMessages[kKROUnknownError];
    return kMessages[index];
}

KROHWContext& KROHWContext::operator=(const KROHWContext& other) {
    srcHandle = other.srcHandle;
    srcQueue = other.srcQueue;
    srcType = other.srcType;
    dstHandle = other.dstHandle;
    dstQueue = other.dstQueue;
    dstType = other.dstType;
    return *this;
}

// Handles are borrowed, so a move is a copy: nothing is released or cleared.
KROHWContext& KROHWContext::operator=(KROHWContext&& other) noexcept { return *this = other; }

ID3D11Manager& ID3D11Manager::operator=(const ID3D11Manager& other) {
    device = other.device;
    context = other.context;
    return *this;
}

ID3D11Manager& ID3D11Manager::operator=(ID3D11Manager&& other) noexcept { return *this = other; }

}  // namespace KROCOLOR
