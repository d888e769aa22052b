// A CPU stand-in for the NVIDIA driver library (libcuda.so.1), for machines
// without an NVIDIA GPU. It exports every entry point the library's loader
// requires; the ones the library uses behave as the driver documents them,
// the rest answer CUDA_ERROR_NOT_SUPPORTED. Device memory is host memory,
// there is one device with one primary context, events complete at once, and
// a launch runs every block and thread of the grid on the calling thread with
// the kernels compiled from the same source as the PTX. Putting its folder on
// LD_LIBRARY_PATH makes any program take the CUDA path on the CPU.
#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <map>
#include <mutex>
#include <set>
#include <string>
#include <vector>

#include <ffnvcodec/dynlink_cuda.h>

#include "cuda/kernels/kernel_compat.h"

thread_local KroDim3 threadIdx, blockIdx, blockDim, gridDim;

extern "C" {
void colorTransfer(unsigned char*, int, unsigned char*, int, unsigned char*, int, unsigned char*, int, int, int, int,
                   int, int, unsigned char*, int, unsigned char*, int, unsigned char*, int, unsigned char*, int, int,
                   int, int, int, int, int, int);
void bilinearScale(unsigned char*, int, unsigned char*, int, unsigned char*, int, unsigned char*, int, int, int,
                   unsigned char*, int, unsigned char*, int, unsigned char*, int, unsigned char*, int, int, int, int);
void exifRotation(unsigned char*, int, unsigned char*, int, unsigned char*, int, unsigned char*, int, int, int,
                  unsigned char*, int, unsigned char*, int, unsigned char*, int, unsigned char*, int, int, int, int,
                  int);
void frameCrop(unsigned char*, int, unsigned char*, int, unsigned char*, int, unsigned char*, int, int, int,
               unsigned char*, int, unsigned char*, int, unsigned char*, int, unsigned char*, int, int, int, int, int,
               int);
void debug_kernel(unsigned char*, int);
}

#define STANDIN extern "C" __attribute__((visibility("default")))

namespace {

// Driver result values this stand-in returns.
constexpr int kInvalidValue = 1, kOutOfMemory = 2, kNotInitialized = 3, kInvalidDevice = 101, kInvalidImage = 200,
              kInvalidContext = 201, kInvalidHandle = 400, kNotFound = 500, kNotSupported = 801;

// The memory this device pretends to have; larger requests fail as they
// would on a GPU, without asking the host allocator.
constexpr size_t kDeviceMemory = size_t(16) << 30;

CUresult result(int value) { return static_cast<CUresult>(value); }

struct ErrorText {
    int value;
    const char* name;
    const char* text;
};
const ErrorText kErrors[] = {
    {0, "CUDA_SUCCESS", "no error"},
    {kInvalidValue, "CUDA_ERROR_INVALID_VALUE", "invalid argument"},
    {kOutOfMemory, "CUDA_ERROR_OUT_OF_MEMORY", "out of memory"},
    {kNotInitialized, "CUDA_ERROR_NOT_INITIALIZED", "initialization error"},
    {kInvalidDevice, "CUDA_ERROR_INVALID_DEVICE", "invalid device ordinal"},
    {kInvalidImage, "CUDA_ERROR_INVALID_IMAGE", "device kernel image is invalid"},
    {kInvalidContext, "CUDA_ERROR_INVALID_CONTEXT", "invalid device context"},
    {kInvalidHandle, "CUDA_ERROR_INVALID_HANDLE", "invalid resource handle"},
    {kNotFound, "CUDA_ERROR_NOT_FOUND", "named symbol not found"},
    {600, "CUDA_ERROR_NOT_READY", "device not ready"},
    {kNotSupported, "CUDA_ERROR_NOT_SUPPORTED", "operation not supported"},
    {999, "CUDA_ERROR_UNKNOWN", "unknown error"},
};

using Thunk = void (*)(void** p);

template <typename T>
T arg(void** p, int i) {
    return *static_cast<T*>(p[i]);
}
using P = unsigned char*;

// Each kernel receives its parameter array as the driver does: one pointer
// per parameter, in declaration order.
void runColorTransfer(void** p) {
    colorTransfer(arg<P>(p, 0), arg<int>(p, 1), arg<P>(p, 2), arg<int>(p, 3), arg<P>(p, 4), arg<int>(p, 5),
                  arg<P>(p, 6), arg<int>(p, 7), arg<int>(p, 8), arg<int>(p, 9), arg<int>(p, 10), arg<int>(p, 11),
                  arg<int>(p, 12), arg<P>(p, 13), arg<int>(p, 14), arg<P>(p, 15), arg<int>(p, 16), arg<P>(p, 17),
                  arg<int>(p, 18), arg<P>(p, 19), arg<int>(p, 20), arg<int>(p, 21), arg<int>(p, 22), arg<int>(p, 23),
                  arg<int>(p, 24), arg<int>(p, 25), arg<int>(p, 26), arg<int>(p, 27));
}
void runBilinearScale(void** p) {
    bilinearScale(arg<P>(p, 0), arg<int>(p, 1), arg<P>(p, 2), arg<int>(p, 3), arg<P>(p, 4), arg<int>(p, 5),
                  arg<P>(p, 6), arg<int>(p, 7), arg<int>(p, 8), arg<int>(p, 9), arg<P>(p, 10), arg<int>(p, 11),
                  arg<P>(p, 12), arg<int>(p, 13), arg<P>(p, 14), arg<int>(p, 15), arg<P>(p, 16), arg<int>(p, 17),
                  arg<int>(p, 18), arg<int>(p, 19), arg<int>(p, 20));
}
void runExifRotation(void** p) {
    exifRotation(arg<P>(p, 0), arg<int>(p, 1), arg<P>(p, 2), arg<int>(p, 3), arg<P>(p, 4), arg<int>(p, 5),
                 arg<P>(p, 6), arg<int>(p, 7), arg<int>(p, 8), arg<int>(p, 9), arg<P>(p, 10), arg<int>(p, 11),
                 arg<P>(p, 12), arg<int>(p, 13), arg<P>(p, 14), arg<int>(p, 15), arg<P>(p, 16), arg<int>(p, 17),
                 arg<int>(p, 18), arg<int>(p, 19), arg<int>(p, 20), arg<int>(p, 21));
}
void runFrameCrop(void** p) {
    frameCrop(arg<P>(p, 0), arg<int>(p, 1), arg<P>(p, 2), arg<int>(p, 3), arg<P>(p, 4), arg<int>(p, 5), arg<P>(p, 6),
              arg<int>(p, 7), arg<int>(p, 8), arg<int>(p, 9), arg<P>(p, 10), arg<int>(p, 11), arg<P>(p, 12),
              arg<int>(p, 13), arg<P>(p, 14), arg<int>(p, 15), arg<P>(p, 16), arg<int>(p, 17), arg<int>(p, 18),
              arg<int>(p, 19), arg<int>(p, 20), arg<int>(p, 21), arg<int>(p, 22));
}
void runDebugKernel(void** p) { debug_kernel(arg<P>(p, 0), arg<int>(p, 1)); }

struct KernelEntry {
    const char* name;
    Thunk run;
};
const KernelEntry kKernels[] = {{"colorTransfer", runColorTransfer},
                                {"bilinearScale", runBilinearScale},
                                {"exifRotation", runExifRotation},
                                {"frameCrop", runFrameCrop},
                                {"debug_kernel", runDebugKernel}};

struct Context {
    int device = 0;
};
struct Module {
    Context* context;
};
struct Function {
    Module* module;
    Thunk run;
};
struct Event {
    bool recorded = false;
    std::chrono::steady_clock::time_point at;
};

// Driver-wide state. Handles are checked against these sets so that a stale
// or foreign handle fails with the driver's code instead of crashing.
std::mutex g_mutex;
bool g_initialised = false;
Context g_primary;
int g_primaryRefs = 0;
std::set<Context*> g_contexts{&g_primary};
std::map<uintptr_t, size_t> g_allocations;  // device address -> bytes
std::set<Module*> g_modules;
std::set<Function*> g_functions;
std::set<Event*> g_events;
std::set<CUstream> g_streams;
thread_local std::vector<Context*> t_contextStack;

bool ready() { return g_initialised; }
Context* current() { return t_contextStack.empty() ? nullptr : t_contextStack.back(); }

// True when [address, address + bytes) lies inside one allocation.
bool deviceRange(CUdeviceptr address, size_t bytes) {
    std::lock_guard<std::mutex> lock(g_mutex);
    auto it = g_allocations.upper_bound(static_cast<uintptr_t>(address));
    if (it == g_allocations.begin()) return false;
    --it;
    const uintptr_t offset = static_cast<uintptr_t>(address) - it->first;
    return offset <= it->second && bytes <= it->second - offset;
}

// Common checks of calls that need an initialised driver and a current
// context.
int needContext() {
    if (!ready()) return kNotInitialized;
    if (!current()) return kInvalidContext;
    return 0;
}

bool containsEntry(const char* text, const char* name) {
    const std::string marker = std::string(".entry ") + name + "(";
    return std::strstr(text, marker.c_str()) != nullptr;
}

}  // namespace

STANDIN CUresult cuInit(unsigned int flags) {
    if (flags != 0) return result(kInvalidValue);
    g_initialised = true;
    return CUDA_SUCCESS;
}

STANDIN CUresult cuGetErrorName(CUresult error, const char** out) {
    if (!out) return result(kInvalidValue);
    for (const ErrorText& e : kErrors)
        if (e.value == static_cast<int>(error)) {
            *out = e.name;
            return CUDA_SUCCESS;
        }
    *out = nullptr;
    return result(kInvalidValue);
}

STANDIN CUresult cuGetErrorString(CUresult error, const char** out) {
    if (!out) return result(kInvalidValue);
    for (const ErrorText& e : kErrors)
        if (e.value == static_cast<int>(error)) {
            *out = e.text;
            return CUDA_SUCCESS;
        }
    *out = nullptr;
    return result(kInvalidValue);
}

STANDIN CUresult cuDeviceGetCount(int* count) {
    if (!ready()) return result(kNotInitialized);
    if (!count) return result(kInvalidValue);
    *count = 1;
    return CUDA_SUCCESS;
}

STANDIN CUresult cuDeviceGet(CUdevice* device, int ordinal) {
    if (!ready()) return result(kNotInitialized);
    if (!device) return result(kInvalidValue);
    if (ordinal != 0) return result(kInvalidDevice);
    *device = 0;
    return CUDA_SUCCESS;
}

STANDIN CUresult cuDeviceGetName(char* name, int length, CUdevice device) {
    if (!ready()) return result(kNotInitialized);
    if (device != 0) return result(kInvalidDevice);
    if (!name || length <= 0) return result(kInvalidValue);
    std::snprintf(name, static_cast<size_t>(length), "%s", "KROColorFunctions CPU stand-in");
    return CUDA_SUCCESS;
}

STANDIN CUresult cuDeviceComputeCapability(int* major, int* minor, CUdevice device) {
    if (!ready()) return result(kNotInitialized);
    if (device != 0) return result(kInvalidDevice);
    if (!major || !minor) return result(kInvalidValue);
    *major = 7;
    *minor = 5;
    return CUDA_SUCCESS;
}

STANDIN CUresult cuDeviceGetAttribute(int* value, CUdevice_attribute attribute, CUdevice device) {
    if (!ready()) return result(kNotInitialized);
    if (device != 0) return result(kInvalidDevice);
    if (!value) return result(kInvalidValue);
    switch (attribute) {
        case CU_DEVICE_ATTRIBUTE_COMPUTE_CAPABILITY_MAJOR: *value = 7; break;
        case CU_DEVICE_ATTRIBUTE_COMPUTE_CAPABILITY_MINOR: *value = 5; break;
        case CU_DEVICE_ATTRIBUTE_MULTIPROCESSOR_COUNT: *value = 1; break;
        case CU_DEVICE_ATTRIBUTE_UNIFIED_ADDRESSING: *value = 1; break;
        default: *value = 0; break;
    }
    return CUDA_SUCCESS;
}

STANDIN CUresult cuDevicePrimaryCtxRetain(CUcontext* context, CUdevice device) {
    if (!ready()) return result(kNotInitialized);
    if (device != 0) return result(kInvalidDevice);
    if (!context) return result(kInvalidValue);
    std::lock_guard<std::mutex> lock(g_mutex);
    ++g_primaryRefs;
    *context = reinterpret_cast<CUcontext>(&g_primary);
    return CUDA_SUCCESS;
}

STANDIN CUresult cuDevicePrimaryCtxRelease(CUdevice device) {
    if (!ready()) return result(kNotInitialized);
    if (device != 0) return result(kInvalidDevice);
    std::lock_guard<std::mutex> lock(g_mutex);
    if (g_primaryRefs == 0) return result(kInvalidContext);
    --g_primaryRefs;
    return CUDA_SUCCESS;
}

STANDIN CUresult cuCtxCreate_v2(CUcontext* context, unsigned int, CUdevice device) {
    if (!ready()) return result(kNotInitialized);
    if (device != 0) return result(kInvalidDevice);
    if (!context) return result(kInvalidValue);
    Context* c = new Context();
    {
        std::lock_guard<std::mutex> lock(g_mutex);
        g_contexts.insert(c);
    }
    t_contextStack.push_back(c);  // a new context becomes current
    *context = reinterpret_cast<CUcontext>(c);
    return CUDA_SUCCESS;
}

STANDIN CUresult cuCtxDestroy_v2(CUcontext context) {
    if (!ready()) return result(kNotInitialized);
    Context* c = reinterpret_cast<Context*>(context);
    {
        std::lock_guard<std::mutex> lock(g_mutex);
        if (c == &g_primary || !g_contexts.erase(c)) return result(kInvalidContext);
    }
    for (auto it = t_contextStack.begin(); it != t_contextStack.end();)
        it = *it == c ? t_contextStack.erase(it) : it + 1;
    delete c;
    return CUDA_SUCCESS;
}

STANDIN CUresult cuCtxPushCurrent_v2(CUcontext context) {
    if (!ready()) return result(kNotInitialized);
    Context* c = reinterpret_cast<Context*>(context);
    {
        std::lock_guard<std::mutex> lock(g_mutex);
        if (!g_contexts.count(c)) return result(kInvalidContext);
    }
    t_contextStack.push_back(c);
    return CUDA_SUCCESS;
}

STANDIN CUresult cuCtxPopCurrent_v2(CUcontext* context) {
    if (!ready()) return result(kNotInitialized);
    if (t_contextStack.empty()) return result(kInvalidContext);
    if (context) *context = reinterpret_cast<CUcontext>(t_contextStack.back());
    t_contextStack.pop_back();
    return CUDA_SUCCESS;
}

STANDIN CUresult cuCtxGetDevice(CUdevice* device) {
    if (int e = needContext()) return result(e);
    if (!device) return result(kInvalidValue);
    *device = current()->device;
    return CUDA_SUCCESS;
}

STANDIN CUresult cuMemAlloc_v2(CUdeviceptr* address, size_t bytes) {
    if (int e = needContext()) return result(e);
    if (!address || bytes == 0) return result(kInvalidValue);
    if (bytes > kDeviceMemory) return result(kOutOfMemory);
    void* p = std::malloc(bytes);
    if (!p) return result(kOutOfMemory);
    std::lock_guard<std::mutex> lock(g_mutex);
    g_allocations[reinterpret_cast<uintptr_t>(p)] = bytes;
    *address = static_cast<CUdeviceptr>(reinterpret_cast<uintptr_t>(p));
    return CUDA_SUCCESS;
}

STANDIN CUresult cuMemFree_v2(CUdeviceptr address) {
    if (int e = needContext()) return result(e);
    {
        std::lock_guard<std::mutex> lock(g_mutex);
        if (!g_allocations.erase(static_cast<uintptr_t>(address))) return result(kInvalidValue);
    }
    std::free(reinterpret_cast<void*>(static_cast<uintptr_t>(address)));
    return CUDA_SUCCESS;
}

STANDIN CUresult cuMemcpyHtoD_v2(CUdeviceptr dst, const void* src, size_t bytes) {
    if (int e = needContext()) return result(e);
    if (!src || !deviceRange(dst, bytes)) return result(kInvalidValue);
    std::memcpy(reinterpret_cast<void*>(static_cast<uintptr_t>(dst)), src, bytes);
    return CUDA_SUCCESS;
}

STANDIN CUresult cuMemcpyDtoH_v2(void* dst, CUdeviceptr src, size_t bytes) {
    if (int e = needContext()) return result(e);
    if (!dst || !deviceRange(src, bytes)) return result(kInvalidValue);
    std::memcpy(dst, reinterpret_cast<const void*>(static_cast<uintptr_t>(src)), bytes);
    return CUDA_SUCCESS;
}

STANDIN CUresult cuMemcpyDtoD_v2(CUdeviceptr dst, CUdeviceptr src, size_t bytes) {
    if (int e = needContext()) return result(e);
    if (!deviceRange(dst, bytes) || !deviceRange(src, bytes)) return result(kInvalidValue);
    std::memmove(reinterpret_cast<void*>(static_cast<uintptr_t>(dst)),
                 reinterpret_cast<const void*>(static_cast<uintptr_t>(src)), bytes);
    return CUDA_SUCCESS;
}

// Unified addressing: plain copies between device allocations.
STANDIN CUresult cuMemcpy(CUdeviceptr dst, CUdeviceptr src, size_t bytes) { return cuMemcpyDtoD_v2(dst, src, bytes); }
STANDIN CUresult cuMemcpyAsync(CUdeviceptr dst, CUdeviceptr src, size_t bytes, CUstream) {
    return cuMemcpyDtoD_v2(dst, src, bytes);
}
STANDIN CUresult cuMemcpyHtoDAsync_v2(CUdeviceptr dst, const void* src, size_t bytes, CUstream) {
    return cuMemcpyHtoD_v2(dst, src, bytes);
}
STANDIN CUresult cuMemcpyDtoHAsync_v2(void* dst, CUdeviceptr src, size_t bytes, CUstream) {
    return cuMemcpyDtoH_v2(dst, src, bytes);
}
STANDIN CUresult cuMemcpyDtoDAsync_v2(CUdeviceptr dst, CUdeviceptr src, size_t bytes, CUstream) {
    return cuMemcpyDtoD_v2(dst, src, bytes);
}

STANDIN CUresult cuMemsetD8Async(CUdeviceptr dst, unsigned char value, size_t count, CUstream) {
    if (int e = needContext()) return result(e);
    if (!deviceRange(dst, count)) return result(kInvalidValue);
    std::memset(reinterpret_cast<void*>(static_cast<uintptr_t>(dst)), value, count);
    return CUDA_SUCCESS;
}

// Rows between host and device memory; arrays (textures) do not exist here.
STANDIN CUresult cuMemcpy2D_v2(const CUDA_MEMCPY2D* copy) {
    if (int e = needContext()) return result(e);
    if (!copy) return result(kInvalidValue);
    if (copy->srcMemoryType == CU_MEMORYTYPE_ARRAY || copy->dstMemoryType == CU_MEMORYTYPE_ARRAY)
        return result(kInvalidValue);
    for (size_t row = 0; row < copy->Height; ++row) {
        const size_t so = (copy->srcY + row) * copy->srcPitch + copy->srcXInBytes;
        const size_t dof = (copy->dstY + row) * copy->dstPitch + copy->dstXInBytes;
        const uint8_t* s = copy->srcMemoryType == CU_MEMORYTYPE_DEVICE
                               ? reinterpret_cast<const uint8_t*>(static_cast<uintptr_t>(copy->srcDevice)) + so
                               : static_cast<const uint8_t*>(copy->srcHost) + so;
        uint8_t* d = copy->dstMemoryType == CU_MEMORYTYPE_DEVICE
                         ? reinterpret_cast<uint8_t*>(static_cast<uintptr_t>(copy->dstDevice)) + dof
                         : static_cast<uint8_t*>(copy->dstHost) + dof;
        if (copy->srcMemoryType == CU_MEMORYTYPE_DEVICE &&
            !deviceRange(static_cast<CUdeviceptr>(reinterpret_cast<uintptr_t>(s)), copy->WidthInBytes))
            return result(kInvalidValue);
        if (copy->dstMemoryType == CU_MEMORYTYPE_DEVICE &&
            !deviceRange(static_cast<CUdeviceptr>(reinterpret_cast<uintptr_t>(d)), copy->WidthInBytes))
            return result(kInvalidValue);
        std::memmove(d, s, copy->WidthInBytes);
    }
    return CUDA_SUCCESS;
}
STANDIN CUresult cuMemcpy2DAsync_v2(const CUDA_MEMCPY2D* copy, CUstream) { return cuMemcpy2D_v2(copy); }

// Work finishes inside the call that queues it, so streams are always idle.
STANDIN CUresult cuStreamCreate(CUstream* stream, unsigned int) {
    if (int e = needContext()) return result(e);
    if (!stream) return result(kInvalidValue);
    *stream = reinterpret_cast<CUstream>(new char(0));
    std::lock_guard<std::mutex> lock(g_mutex);
    g_streams.insert(*stream);
    return CUDA_SUCCESS;
}
STANDIN CUresult cuStreamDestroy_v2(CUstream stream) {
    {
        std::lock_guard<std::mutex> lock(g_mutex);
        if (!g_streams.erase(stream)) return result(kInvalidHandle);
    }
    delete reinterpret_cast<char*>(stream);
    return CUDA_SUCCESS;
}
STANDIN CUresult cuStreamQuery(CUstream) { return ready() ? CUDA_SUCCESS : result(kNotInitialized); }
STANDIN CUresult cuStreamSynchronize(CUstream) { return ready() ? CUDA_SUCCESS : result(kNotInitialized); }

STANDIN CUresult cuEventCreate(CUevent* event, unsigned int) {
    if (int e = needContext()) return result(e);
    if (!event) return result(kInvalidValue);
    Event* ev = new Event();
    std::lock_guard<std::mutex> lock(g_mutex);
    g_events.insert(ev);
    *event = reinterpret_cast<CUevent>(ev);
    return CUDA_SUCCESS;
}

namespace {
Event* liveEvent(CUevent event) {
    std::lock_guard<std::mutex> lock(g_mutex);
    Event* ev = reinterpret_cast<Event*>(event);
    return g_events.count(ev) ? ev : nullptr;
}
}  // namespace

STANDIN CUresult cuEventRecord(CUevent event, CUstream) {
    Event* ev = liveEvent(event);
    if (!ev) return result(kInvalidHandle);
    ev->recorded = true;
    ev->at = std::chrono::steady_clock::now();  // all queued work is already done
    return CUDA_SUCCESS;
}

// Not in the loader's table; the benchmark looks it up by name.
STANDIN CUresult cuEventElapsedTime(float* ms, CUevent start, CUevent end) {
    Event* a = liveEvent(start);
    Event* b = liveEvent(end);
    if (!a || !b) return result(kInvalidHandle);
    if (!ms) return result(kInvalidValue);
    if (!a->recorded || !b->recorded) return result(600);  // not ready
    *ms = std::chrono::duration<float, std::milli>(b->at - a->at).count();
    return CUDA_SUCCESS;
}
STANDIN CUresult cuEventSynchronize(CUevent event) { return liveEvent(event) ? CUDA_SUCCESS : result(kInvalidHandle); }
STANDIN CUresult cuEventQuery(CUevent event) { return liveEvent(event) ? CUDA_SUCCESS : result(kInvalidHandle); }
STANDIN CUresult cuEventDestroy_v2(CUevent event) {
    Event* ev = reinterpret_cast<Event*>(event);
    {
        std::lock_guard<std::mutex> lock(g_mutex);
        if (!g_events.erase(ev)) return result(kInvalidHandle);
    }
    delete ev;
    return CUDA_SUCCESS;
}

// Accepts what the driver would just-in-time compile from this library: a
// zero-terminated PTX text that declares the four kernels it launches.
STANDIN CUresult cuModuleLoadData(CUmodule* module, const void* image) {
    if (int e = needContext()) return result(e);
    if (!module || !image) return result(kInvalidValue);
    const char* text = static_cast<const char*>(image);
    if (!std::strstr(text, ".version") || !std::strstr(text, ".target") || !containsEntry(text, "colorTransfer") ||
        !containsEntry(text, "bilinearScale") || !containsEntry(text, "exifRotation") ||
        !containsEntry(text, "frameCrop"))
        return result(kInvalidImage);
    Module* m = new Module{current()};
    std::lock_guard<std::mutex> lock(g_mutex);
    g_modules.insert(m);
    *module = reinterpret_cast<CUmodule>(m);
    return CUDA_SUCCESS;
}

STANDIN CUresult cuModuleUnload(CUmodule module) {
    if (!ready()) return result(kNotInitialized);
    Module* m = reinterpret_cast<Module*>(module);
    std::lock_guard<std::mutex> lock(g_mutex);
    if (!g_modules.erase(m)) return result(kInvalidHandle);
    for (auto it = g_functions.begin(); it != g_functions.end();) {
        if ((*it)->module == m) {
            delete *it;
            it = g_functions.erase(it);
        } else {
            ++it;
        }
    }
    delete m;
    return CUDA_SUCCESS;
}

STANDIN CUresult cuModuleGetFunction(CUfunction* function, CUmodule module, const char* name) {
    if (int e = needContext()) return result(e);
    if (!function || !name) return result(kInvalidValue);
    Module* m = reinterpret_cast<Module*>(module);
    std::lock_guard<std::mutex> lock(g_mutex);
    if (!g_modules.count(m)) return result(kInvalidHandle);
    for (const KernelEntry& k : kKernels)
        if (std::strcmp(k.name, name) == 0) {
            Function* f = new Function{m, k.run};
            g_functions.insert(f);
            *function = reinterpret_cast<CUfunction>(f);
            return CUDA_SUCCESS;
        }
    return result(kNotFound);
}

STANDIN CUresult cuLaunchKernel(CUfunction function, unsigned int gx, unsigned int gy, unsigned int gz,
                                unsigned int bx, unsigned int by, unsigned int bz, unsigned int sharedBytes,
                                CUstream, void** params, void** extra) {
    if (int e = needContext()) return result(e);
    Thunk run = nullptr;
    {
        std::lock_guard<std::mutex> lock(g_mutex);
        Function* f = reinterpret_cast<Function*>(function);
        if (!g_functions.count(f)) return result(kInvalidHandle);
        run = f->run;
    }
    // The limits of the devices this program targets.
    const uint64_t threads = uint64_t(bx) * by * bz;
    if (gx == 0 || gy == 0 || gz == 0 || bx == 0 || by == 0 || bz == 0 || gx > 0x7FFFFFFFu || gy > 65535 ||
        gz > 65535 || bx > 1024 || by > 1024 || bz > 64 || threads > 1024 || sharedBytes > 48 * 1024 || !params ||
        extra)
        return result(kInvalidValue);
    gridDim = {gx, gy, gz};
    blockDim = {bx, by, bz};
    for (unsigned z = 0; z < gz; ++z)
        for (unsigned y = 0; y < gy; ++y)
            for (unsigned x = 0; x < gx; ++x) {
                blockIdx = {x, y, z};
                for (unsigned tz = 0; tz < bz; ++tz)
                    for (unsigned ty = 0; ty < by; ++ty)
                        for (unsigned tx = 0; tx < bx; ++tx) {
                            threadIdx = {tx, ty, tz};
                            run(params);
                        }
            }
    return CUDA_SUCCESS;
}

// Entry points the loader requires that no caller of this stand-in uses
// (linking, textures, graphics interop, managed memory).
#define KRO_STANDIN_UNSUPPORTED(name) \
    STANDIN CUresult name() { return result(kNotSupported); }
KRO_STANDIN_UNSUPPORTED(cuCtxSetLimit)
KRO_STANDIN_UNSUPPORTED(cuMemAllocPitch_v2)
KRO_STANDIN_UNSUPPORTED(cuMemAllocManaged)
KRO_STANDIN_UNSUPPORTED(cuDevicePrimaryCtxSetFlags)
KRO_STANDIN_UNSUPPORTED(cuDevicePrimaryCtxGetState)
KRO_STANDIN_UNSUPPORTED(cuDevicePrimaryCtxReset)
KRO_STANDIN_UNSUPPORTED(cuStreamAddCallback)
KRO_STANDIN_UNSUPPORTED(cuLinkCreate)
KRO_STANDIN_UNSUPPORTED(cuLinkAddData)
KRO_STANDIN_UNSUPPORTED(cuLinkComplete)
KRO_STANDIN_UNSUPPORTED(cuLinkDestroy)
KRO_STANDIN_UNSUPPORTED(cuModuleGetGlobal)
KRO_STANDIN_UNSUPPORTED(cuTexObjectCreate)
KRO_STANDIN_UNSUPPORTED(cuTexObjectDestroy)
KRO_STANDIN_UNSUPPORTED(cuGLGetDevices_v2)
KRO_STANDIN_UNSUPPORTED(cuGraphicsGLRegisterImage)
KRO_STANDIN_UNSUPPORTED(cuGraphicsUnregisterResource)
KRO_STANDIN_UNSUPPORTED(cuGraphicsMapResources)
KRO_STANDIN_UNSUPPORTED(cuGraphicsUnmapResources)
KRO_STANDIN_UNSUPPORTED(cuGraphicsSubResourceGetMappedArray)
KRO_STANDIN_UNSUPPORTED(cuGraphicsResourceGetMappedPointer_v2)
KRO_STANDIN_UNSUPPORTED(cuArray3DCreate_v2)
KRO_STANDIN_UNSUPPORTED(cuArrayDestroy)
