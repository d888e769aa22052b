// Run-time access to the CUDA driver. The library never links against it:
// the first CUDA operation loads the driver library through nv-codec-headers'
// loader, initialises it and keeps the function table for the rest of the
// process. Every CUDA call in the library goes through that table.
#pragma once

// The loader's table must be seen before any toolkit cuda.h (whose include
// guard would otherwise hide it), and its diagnostics go to standard error.
#include <cstdio>
#define FFNV_LOG_FUNC(logctx, msg, ...) std::fprintf(stderr, (msg), __VA_ARGS__)
#define FFNV_DEBUG_LOG_FUNC(logctx, msg, ...)
#include <ffnvcodec/dynlink_loader.h>

namespace KROCOLOR {
namespace cuda {

// The process-wide driver holder: the loaded table, and a second pointer
// that stays null (room for a second loaded library).
struct DriverHolder {
    CudaFunctions* functions = nullptr;
    void* reserved = nullptr;
};

// The holder, loading and initialising the driver on first use; null when
// the library or a required entry point is missing or cuInit fails (each
// later call tries again).
DriverHolder* getDriver();

// 0 for CUDA_SUCCESS; -1 otherwise, after printing the driver's name and
// description of the error.
int checkResult(CUresult result);

// Entry points the loader's table lacks on this platform, looked up in the
// same loaded library; null when the driver does not have them.
using GraphicsD3D11RegisterResourceFn = CUresult CUDAAPI(CUgraphicsResource*, void*, unsigned int);
GraphicsD3D11RegisterResourceFn* graphicsD3D11RegisterResource();

}  // namespace cuda
}  // namespace KROCOLOR
