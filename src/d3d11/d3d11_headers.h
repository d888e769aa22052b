// Direct3D 11, DXGI and the HLSL compiler: the Windows SDK's headers on
// Windows, the Vulkan-backed layer of the same names everywhere else.
#pragma once

#ifdef _WIN32
#include <windows.h>
#include <d3d11.h>
#include <d3dcompiler.h>
#include <dxgi.h>
#else
#include "d3d11/platform/d3d11_api.h"
#include "d3d11/platform/d3dcompiler_api.h"
#include "d3d11/platform/dxgi_api.h"
#endif
