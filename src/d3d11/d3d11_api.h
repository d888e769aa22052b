// Direct3D 11, DXGI and the HLSL compiler as the convertor sees them (the
// Windows SDK, or the library's layer on Vulkan elsewhere, with the same
// names), and the KRODirectX helpers built on them.
#pragma once

#include "KROColorFunctions.h"
#include "d3d11/d3d11_headers.h"
