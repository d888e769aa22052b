#include "cuda/cuda_driver.h"

#include <mutex>
#include <new>

namespace KROCOLOR {
namespace cuda {

namespace {

DriverHolder* g_holder = nullptr;
// The first load must happen once even when two threads start CUDA work at
// the same moment; afterwards the holder is only read.
std::mutex g_loadMutex;

void printDriverError(CudaFunctions* f, CUresult result) {
    const char* name = nullptr;
    const char* description = nullptr;
    f->cuGetErrorName(result, &name);
    f->cuGetErrorString(result, &description);
    if (name && description) std::printf("KROColorFunctions cuda error %s %s\n", name, description);
}

void release(DriverHolder* holder) {
    cuda_free_functions(&holder->functions);
    holder->reserved = nullptr;
    delete holder;
}

}  // namespace

DriverHolder* getDriver() {
    std::lock_guard<std::mutex> lock(g_loadMutex);
    if (g_holder) return g_holder;
    DriverHolder* holder = new (std::nothrow) DriverHolder();
    if (!holder) return nullptr;
    g_holder = holder;
    if (cuda_load_functions(&holder->functions, nullptr) == 0) {
        const CUresult r = holder->functions->cuInit(0);
        if (r == CUDA_SUCCESS) return holder;
        printDriverError(holder->functions, r);
    }
    release(holder);
    g_holder = nullptr;
    return nullptr;
}

int checkResult(CUresult result) {
    if (result == CUDA_SUCCESS) return 0;
    DriverHolder* holder = getDriver();
    if (!holder || !holder->functions) return -1;
    printDriverError(holder->functions, result);
    return -1;
}

GraphicsD3D11RegisterResourceFn* graphicsD3D11RegisterResource() {
    DriverHolder* holder = getDriver();
    if (!holder || !holder->functions) return nullptr;
#if defined(_WIN32)
    return holder->functions->cuGraphicsD3D11RegisterResource;
#else
    return reinterpret_cast<GraphicsD3D11RegisterResourceFn*>(
        FFNV_SYM_FUNC(holder->functions->lib, "cuGraphicsD3D11RegisterResource"));
#endif
}

}  // namespace cuda
}  // namespace KROCOLOR
