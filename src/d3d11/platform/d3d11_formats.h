// The texture formats the layer models: each DXGI format as one or two
// Vulkan images (the planes of NV12 and P010), and the view formats that
// address each plane.
#pragma once

#include <vulkan/vulkan.h>

#include "d3d11/platform/dxgi_api.h"

namespace kro_d3d11 {

struct PlaneFormat {
    VkFormat vulkan;
    DXGI_FORMAT view;        // the view format that selects this plane
    uint32_t bytesPerTexel;
    uint32_t subsampling;    // 1, or 2 for 4:2:0 chroma in both directions
};

struct FormatInfo {
    DXGI_FORMAT format;
    uint32_t planeCount;
    PlaneFormat planes[2];
};

// Null for formats the layer does not model.
const FormatInfo* findFormat(DXGI_FORMAT format);

inline uint32_t planeExtent(uint32_t size, const PlaneFormat& plane) {
    return (size + plane.subsampling - 1) / plane.subsampling;
}

}  // namespace kro_d3d11
