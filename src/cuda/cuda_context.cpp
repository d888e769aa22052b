#include "cuda/cuda_context.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <new>

#include "cuda/device_frame.h"
#include "cuda/ptx_program.h"

namespace KROCOLOR {

namespace {

enum Kernel { kColour = 0, kScale = 1, kRotation = 2, kCrop = 3 };

constexpr unsigned kBlockX = 32, kBlockY = 16;

bool failed(CUresult r) { return cuda::checkResult(r) < 0; }

// Plane/stride pairs 0-3 of a frame, as four parameter-array entries each
// pointing into the frame record.
void planeParams(const KROFrame& f, void** out) {
    for (int k = 0; k < 4; ++k) {
        out[2 * k] = const_cast<uint8_t**>(&f.planes[k]);
        out[2 * k + 1] = const_cast<int32_t*>(&f.strides[k]);
    }
}

}  // namespace

std::unique_ptr<IConvertor> createCudaConvertor(void* context, void* stream, KROReturn& error) {
    std::unique_ptr<CudaContext> c = CudaContext::create(context, stream);
    if (!c) error = context ? kKROUnknownError : kKROMissingHWContext;
    return c;
}

std::unique_ptr<CudaContext> CudaContext::create(void* context, void* stream) {
    if (!context) return nullptr;
    return std::unique_ptr<CudaContext>(new (std::nothrow)
                                            CudaContext(static_cast<CUcontext>(context), static_cast<CUstream>(stream)));
}

CudaContext::~CudaContext() {
    if (!module_ && !srcStaged_ && !dstStaged_ && !intermediate_) return;
    cuda::DriverHolder* holder = cuda::getDriver();
    if (!holder || !holder->functions) return;
    CudaFunctions* f = holder->functions;
    const bool pushed = !failed(f->cuCtxPushCurrent(context_));
    if (module_) failed(f->cuModuleUnload(module_));
    cuda::releaseDeviceFrame(srcStaged_);
    cuda::releaseDeviceFrame(dstStaged_);
    cuda::releaseDeviceFrame(intermediate_);
    if (pushed) {
        CUcontext popped = nullptr;
        failed(f->cuCtxPopCurrent(&popped));
    }
}

KROReturn CudaContext::convertColor(const KROFrame* src, KROFrame* dst) { return run(Operation::Colour, src, dst, 0, 0); }

KROReturn CudaContext::rotate(const KROFrame* src, KROFrame* dst, int orientation) {
    return run(Operation::Rotate, src, dst, orientation, 0);
}

KROReturn CudaContext::crop(const KROFrame* src, KROFrame* dst, int left, int top) {
    return run(Operation::Crop, src, dst, left, top);
}

KROReturn CudaContext::run(Operation op, const KROFrame* src, KROFrame* dst, int a, int b) {
    if (!src || !dst || !src->planes[0] || !dst->planes[0]) return kKROInputParamError;
    cuda::DriverHolder* holder = cuda::getDriver();
    if (!holder || !holder->functions) return kKROLoadCUDAError;
    CudaFunctions* f = holder->functions;
    if (failed(f->cuCtxPushCurrent(context_))) return kKROCUCtxPushCurrentError;

    // Device frames are used in place; host frames go through staged twins.
    KROReturn result = kKROSuccess;
    const KROFrame* s = src;
    const KROFrame* d = dst;
    if (!isCUDAFormat(src->format)) {
        result = cuda::stageHostFrame(*src, srcStaged_, true);
        s = srcStaged_;
    }
    if (result == kKROSuccess && !isCUDAFormat(dst->format)) {
        result = cuda::stageHostFrame(*dst, dstStaged_, op != Operation::Colour);
        d = dstStaged_;
    }
    if (result == kKROSuccess && !loadKernels(f)) result = kKROLoadCUDAKernelError;
    if (result == kKROSuccess) {
        bool ok = false;
        switch (op) {
            case Operation::Colour: result = colourSequence(f, *s, *d); break;
            case Operation::Rotate: ok = geometrySequence(f, kRotation, *s, *d, a, 0); break;
            case Operation::Crop: ok = geometrySequence(f, kCrop, *s, *d, a, b); break;
        }
        if (op != Operation::Colour && !ok) result = kKRORunCUDAKernelError;
        if (result == kKROSuccess && d != dst) cuda::downloadFrame(*d, *dst);
    }

    CUcontext popped = nullptr;
    failed(f->cuCtxPopCurrent(&popped));
    return result;
}

bool CudaContext::loadKernels(CudaFunctions* f) {
    if (!module_) {
        const size_t n = cuda::embeddedPtxSize();
        char* text = static_cast<char*>(std::malloc(n + 1));
        if (!text) return false;
        std::memcpy(text, cuda::embeddedPtx(), n);
        text[n] = '\0';
        CUmodule module = nullptr;
        const bool loaded = !failed(f->cuModuleLoadData(&module, text));
        std::free(text);
        if (!loaded) return false;
        module_ = module;
    }
    for (int k = 0; k < 4; ++k) {
        if (kernelNames_[k] == cuda::kKernelNames[k]) continue;
        if (failed(f->cuModuleGetFunction(&kernels_[k], module_, cuda::kKernelNames[k]))) return false;
        kernelNames_[k] = cuda::kKernelNames[k];
    }
    return true;
}

bool CudaContext::launch(CudaFunctions* f, int kernel, int width, int height, void** params) {
    const unsigned gx = (static_cast<unsigned>(width) + kBlockX - 1) / kBlockX;
    const unsigned gy = (static_cast<unsigned>(height) + kBlockY - 1) / kBlockY;
    if (width <= 0 || height <= 0 ||
        failed(f->cuLaunchKernel(kernels_[kernel], gx, gy, 1, kBlockX, kBlockY, 1, 0, stream_, params, nullptr))) {
        std::printf("cuLaunchKernel failed\n");
        return false;
    }
    return true;
}

bool CudaContext::beginSync(CudaFunctions* f, CUevent& event) {
    event = nullptr;
    if (!hwSync_) return true;
    if (failed(f->cuEventCreate(&event, CU_EVENT_BLOCKING_SYNC))) {
        std::printf("cuEventCreate failed\n");
        return false;
    }
    return true;
}

// Waits for the launches queued on the stream when they were all accepted
// (`launched`); the event is destroyed on every path, so a failed launch or
// wait does not leak it. Returns whether the sequence succeeded.
bool CudaContext::endSync(CudaFunctions* f, CUevent event, bool launched) {
    if (!event) return launched;
    bool ok = launched;
    if (launched && failed(f->cuEventRecord(event, stream_))) {
        std::printf("cuEventRecord failed\n");
        ok = false;
    } else if (launched && failed(f->cuEventSynchronize(event))) {
        std::printf("cuEventSynchronize failed\n");
        ok = false;
    }
    if (failed(f->cuEventDestroy(event))) {
        if (ok) std::printf("cuEventDestroy failed\n");
        ok = false;
    }
    return ok;
}

KROReturn CudaContext::colourSequence(CudaFunctions* f, const KROFrame& s, const KROFrame& d) {
    const KROFrame* target = &d;
    const bool scaled = s.width != d.width || s.height != d.height;
    if (scaled) {
        if (!intermediate_ || intermediate_->width != s.width || intermediate_->height != s.height ||
            intermediate_->format != d.format) {
            cuda::releaseDeviceFrame(intermediate_);
            bool overflow = false;
            intermediate_ = cuda::createIntermediateFrame(d.format, s.width, s.height, overflow);
            if (!intermediate_) return overflow ? kKROInputParamError : kKROLoadCUDAKernelError;
        }
        intermediate_->range = d.range;
        intermediate_->primaries = d.primaries;
        intermediate_->transfer = d.transfer;
        intermediate_->matrix = d.matrix;
        target = intermediate_;
    }
    CUevent event = nullptr;
    if (!beginSync(f, event)) return kKRORunCUDAKernelError;

    void* colour[28];
    planeParams(s, colour);
    void* srcColour[5] = {const_cast<int32_t*>(&s.format), const_cast<int32_t*>(&s.range),
                          const_cast<int32_t*>(&s.primaries), const_cast<int32_t*>(&s.transfer),
                          const_cast<int32_t*>(&s.matrix)};
    std::memcpy(colour + 8, srcColour, sizeof(srcColour));
    planeParams(*target, colour + 13);
    void* dstColour[7] = {const_cast<int32_t*>(&target->format), const_cast<int32_t*>(&target->range),
                          const_cast<int32_t*>(&target->primaries), const_cast<int32_t*>(&target->transfer),
                          const_cast<int32_t*>(&target->matrix),
                          const_cast<int32_t*>(&s.width), const_cast<int32_t*>(&s.height)};
    std::memcpy(colour + 21, dstColour, sizeof(dstColour));
    bool ok = launch(f, kColour, s.width, s.height, colour);

    if (ok && scaled) {
        void* scale[21];
        planeParams(*intermediate_, scale);
        scale[8] = &intermediate_->width;
        scale[9] = &intermediate_->height;
        planeParams(d, scale + 10);
        scale[18] = const_cast<int32_t*>(&d.width);
        scale[19] = const_cast<int32_t*>(&d.height);
        scale[20] = const_cast<int32_t*>(&d.format);
        ok = launch(f, kScale, d.width, d.height, scale);
    }
    return endSync(f, event, ok) ? kKROSuccess : kKRORunCUDAKernelError;
}

bool CudaContext::geometrySequence(CudaFunctions* f, int kernel, const KROFrame& s, const KROFrame& d, int a, int b) {
    CUevent event = nullptr;
    if (!beginSync(f, event)) return false;
    void* params[23];
    planeParams(s, params);
    params[8] = const_cast<int32_t*>(&s.width);
    params[9] = const_cast<int32_t*>(&s.height);
    planeParams(d, params + 10);
    params[18] = const_cast<int32_t*>(&d.width);
    params[19] = const_cast<int32_t*>(&d.height);
    params[20] = const_cast<int32_t*>(&d.format);
    params[21] = &a;
    params[22] = &b;
    return endSync(f, event, launch(f, kernel, d.width, d.height, params));
}

}  // namespace KROCOLOR
