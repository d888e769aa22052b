// KROCuda: the static CUDA operations offered to the host. Each works in the
// context current on the calling thread and reports driver failures through
// the one check routine.
#include <cstdlib>
#include <cstring>
#include <mutex>

#include "KROColorFunctions.h"
#include "cuda/cuda_driver.h"
#include "cuda/ptx_program.h"

namespace KROCOLOR {

void* KROCuda::_cu = nullptr;
double KROCuda::_NVIDIA_DriverVersion = 0;
const double KROCuda::_NVIDIA_LOW_DriverVersion = 47141;

namespace {

std::mutex g_ptxTestMutex;
char* g_ptxTestBuffer = nullptr;

CudaFunctions* table() { return static_cast<CudaFunctions*>(KROCuda::_cu); }

bool ok(CUresult r) { return cuda::checkResult(r) >= 0; }

CUdeviceptr devicePtr(const void* p) { return static_cast<CUdeviceptr>(reinterpret_cast<uintptr_t>(p)); }

// One texture copy: map, take array 0 / mip 0, copy the narrower pitch,
// unmap, then wait on a blocking event. Failures are only reported.
void copyThroughMappedArray(CudaFunctions* f, CUgraphicsResource resource, bool toArray, CUdeviceptr device,
                            int srcPitch, int dstPitch, int height) {
    CUevent event = nullptr;
    ok(f->cuEventCreate(&event, CU_EVENT_BLOCKING_SYNC));
    if (ok(f->cuGraphicsMapResources(1, &resource, nullptr))) {
        CUarray array = nullptr;
        if (ok(f->cuGraphicsSubResourceGetMappedArray(&array, resource, 0, 0))) {
            CUDA_MEMCPY2D copy;
            std::memset(&copy, 0, sizeof(copy));
            copy.srcPitch = static_cast<size_t>(srcPitch);
            copy.dstPitch = static_cast<size_t>(dstPitch);
            copy.WidthInBytes = static_cast<size_t>(srcPitch < dstPitch ? srcPitch : dstPitch);
            copy.Height = static_cast<size_t>(height);
            if (toArray) {
                copy.srcMemoryType = CU_MEMORYTYPE_DEVICE;
                copy.srcDevice = device;
                copy.dstMemoryType = CU_MEMORYTYPE_ARRAY;
                copy.dstArray = array;
            } else {
                copy.srcMemoryType = CU_MEMORYTYPE_ARRAY;
                copy.srcArray = array;
                copy.dstMemoryType = CU_MEMORYTYPE_DEVICE;
                copy.dstDevice = device;
            }
            ok(f->cuMemcpy2D(&copy));
        }
        ok(f->cuGraphicsUnmapResources(1, &resource, nullptr));
    }
    if (event) {
        ok(f->cuEventRecord(event, nullptr));
        ok(f->cuEventSynchronize(event));
        ok(f->cuEventDestroy(event));
    }
}

}  // namespace

bool KROCuda::init() {
    cuda::DriverHolder* holder = cuda::getDriver();
    if (!holder) return _cu != nullptr;
    _cu = holder->functions;
    return _cu != nullptr;
}

int KROCuda::getDeviceCount() {
    if (!table()) return 0;
    int count = 0;
    if (!ok(table()->cuDeviceGetCount(&count))) return 0;
    return count;
}

void* KROCuda::retainDevicePrimaryCtx(uint64_t device) {
    if (!table() || device >= static_cast<uint64_t>(getDeviceCount())) return nullptr;
    CUcontext context = nullptr;
    if (!ok(table()->cuDevicePrimaryCtxRetain(&context, static_cast<CUdevice>(device)))) return nullptr;
    return context;
}

bool KROCuda::releaseDevicePrimaryCtx(uint64_t device) {
    if (!table() || device >= static_cast<uint64_t>(getDeviceCount())) return false;
    return ok(table()->cuDevicePrimaryCtxRelease(static_cast<CUdevice>(device)));
}

bool KROCuda::pushContext(void* context) {
    if (!context || !table()) return false;
    return ok(table()->cuCtxPushCurrent(static_cast<CUcontext>(context)));
}

bool KROCuda::popContext(void** context) {
    if (!context || !table()) return false;
    return ok(table()->cuCtxPopCurrent(reinterpret_cast<CUcontext*>(context)));
}

void* KROCuda::malloc(uint64_t size) {
    if (!table()) return nullptr;
    CUdeviceptr p = 0;
    if (!ok(table()->cuMemAlloc(&p, static_cast<size_t>(size)))) return nullptr;
    return reinterpret_cast<void*>(static_cast<uintptr_t>(p));
}

void KROCuda::free(void* devicePtr_) {
    if (!devicePtr_ || !table()) return;
    ok(table()->cuMemFree(devicePtr(devicePtr_)));
}

bool KROCuda::memcpy(void* dst, const void* src, uint64_t size) {
    if (!table()) return false;
    return ok(table()->cuMemcpy(devicePtr(dst), devicePtr(src), static_cast<size_t>(size)));
}

bool KROCuda::memcpyHtoD(void* deviceDst, const void* hostSrc, uint64_t size) {
    if (!table()) return false;
    return ok(table()->cuMemcpyHtoD(devicePtr(deviceDst), hostSrc, static_cast<size_t>(size)));
}

bool KROCuda::memcpyDtoH(void* hostDst, const void* deviceSrc, uint64_t size) {
    if (!table()) return false;
    return ok(table()->cuMemcpyDtoH(hostDst, devicePtr(deviceSrc), static_cast<size_t>(size)));
}

void* KROCuda::cuGraphicsD3D11RegisterResource(void* resource) {
    if (!table()) return nullptr;
    cuda::GraphicsD3D11RegisterResourceFn* reg = cuda::graphicsD3D11RegisterResource();
    if (!reg) return nullptr;  // a driver without Direct3D 11 interop
    CUgraphicsResource registered = nullptr;
    if (!ok(reg(&registered, resource, 0))) {
        // A failed registration leaves the caller's context current: popping
        // a context this call never pushed would only surprise the caller.
        return nullptr;
    }
    return registered;
}

void KROCuda::cuGraphicsUnregisterResource(void* resource) {
    if (!table()) return;
    ok(table()->cuGraphicsUnregisterResource(static_cast<CUgraphicsResource>(resource)));
}

bool KROCuda::copyCUdeviceptrToCUResource(const void* src, int srcPitch, void* resource, int dstPitch, int height) {
    if (!src || !resource || !table()) return false;
    if (!cuda::graphicsD3D11RegisterResource()) return false;  // no Direct3D 11 interop in this driver
    copyThroughMappedArray(table(), static_cast<CUgraphicsResource>(resource), true, devicePtr(src), srcPitch,
                           dstPitch, height);
    return true;
}

bool KROCuda::copyD3D11Texture2DToCUResource(void* texture, int srcPitch, unsigned char* dst, int dstPitch,
                                             int height, void* resource) {
    if (!texture || !dst || !table()) return false;
    if (!cuda::graphicsD3D11RegisterResource()) return false;  // no Direct3D 11 interop in this driver
    void* used = resource ? resource : cuGraphicsD3D11RegisterResource(texture);
    if (used)
        copyThroughMappedArray(table(), static_cast<CUgraphicsResource>(used), false, devicePtr(dst), srcPitch,
                               dstPitch, height);
    if (!resource && used) cuGraphicsUnregisterResource(used);
    return true;
}

bool KROCuda::checkCUDAPTXSupported() {
    if (!table()) return false;
    std::lock_guard<std::mutex> lock(g_ptxTestMutex);
    if (!g_ptxTestBuffer) {
        const size_t n = cuda::embeddedPtxSize();
        g_ptxTestBuffer = static_cast<char*>(std::malloc(n + 1));
        if (!g_ptxTestBuffer) return false;
        std::memcpy(g_ptxTestBuffer, cuda::embeddedPtx(), n);
        g_ptxTestBuffer[n] = '\0';
    }
    CUmodule module = nullptr;
    const bool loaded = ok(table()->cuModuleLoadData(&module, g_ptxTestBuffer));
    std::free(g_ptxTestBuffer);
    g_ptxTestBuffer = nullptr;
    if (module) ok(table()->cuModuleUnload(module));
    return loaded;
}

bool KROCuda::isNVIDIADriverBelowTheMinimumVersion() {
    double version = 0;
    if (!getNVIDIADriverVersion(version)) return true;
    return _NVIDIA_LOW_DriverVersion > version;
}

}  // namespace KROCOLOR
