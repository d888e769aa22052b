#include "d3d11/platform/d3d11_formats.h"

namespace kro_d3d11 {

namespace {

constexpr FormatInfo kFormats[] = {
    {DXGI_FORMAT_R8G8B8A8_UNORM, 1, {{VK_FORMAT_R8G8B8A8_UNORM, DXGI_FORMAT_R8G8B8A8_UNORM, 4, 1}, {}}},
    {DXGI_FORMAT_B8G8R8A8_UNORM, 1, {{VK_FORMAT_B8G8R8A8_UNORM, DXGI_FORMAT_B8G8R8A8_UNORM, 4, 1}, {}}},
    {DXGI_FORMAT_R16G16B16A16_UNORM, 1, {{VK_FORMAT_R16G16B16A16_UNORM, DXGI_FORMAT_R16G16B16A16_UNORM, 8, 1}, {}}},
    {DXGI_FORMAT_R8_UNORM, 1, {{VK_FORMAT_R8_UNORM, DXGI_FORMAT_R8_UNORM, 1, 1}, {}}},
    {DXGI_FORMAT_R8G8_UNORM, 1, {{VK_FORMAT_R8G8_UNORM, DXGI_FORMAT_R8G8_UNORM, 2, 1}, {}}},
    {DXGI_FORMAT_R16_UNORM, 1, {{VK_FORMAT_R16_UNORM, DXGI_FORMAT_R16_UNORM, 2, 1}, {}}},
    {DXGI_FORMAT_R16G16_UNORM, 1, {{VK_FORMAT_R16G16_UNORM, DXGI_FORMAT_R16G16_UNORM, 4, 1}, {}}},
    // Semi-planar 4:2:0: a full-size luma plane and a half-size plane of
    // interleaved Cb, Cr; a view of format R8 / R16 addresses the luma,
    // R8G8 / R16G16 the chroma, as on Windows.
    {DXGI_FORMAT_NV12, 2,
     {{VK_FORMAT_R8_UNORM, DXGI_FORMAT_R8_UNORM, 1, 1}, {VK_FORMAT_R8G8_UNORM, DXGI_FORMAT_R8G8_UNORM, 2, 2}}},
    {DXGI_FORMAT_P010, 2,
     {{VK_FORMAT_R16_UNORM, DXGI_FORMAT_R16_UNORM, 2, 1}, {VK_FORMAT_R16G16_UNORM, DXGI_FORMAT_R16G16_UNORM, 4, 2}}},
};

}  // namespace

const FormatInfo* findFormat(DXGI_FORMAT format) {
    for (const FormatInfo& info : kFormats)
        if (info.format == format) return &info;
    return nullptr;
}

}  // namespace kro_d3d11
