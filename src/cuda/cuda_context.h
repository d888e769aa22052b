// The CUDA convertor: converts, scales, rotates and crops frames on an
// NVIDIA GPU inside the caller's context and on the caller's stream. Host
// frames are staged through device frames of its own; device frames (3xx)
// are used in place.
#pragma once

#include <string>

#include "core/convertor.h"
#include "cuda/cuda_driver.h"

namespace KROCOLOR {

class CudaContext : public IConvertor {
public:
    // Null for a null context or when the allocation fails.
    static std::unique_ptr<CudaContext> create(void* context, void* stream);
    ~CudaContext() override;

    KROReturn convertColor(const KROFrame* src, KROFrame* dst) override;
    KROReturn rotate(const KROFrame* src, KROFrame* dst, int orientation) override;
    KROReturn crop(const KROFrame* src, KROFrame* dst, int left, int top) override;

private:
    CudaContext(CUcontext context, CUstream stream) : context_(context), stream_(stream) {}

    enum class Operation { Colour, Rotate, Crop };
    KROReturn run(Operation op, const KROFrame* src, KROFrame* dst, int a, int b);
    bool loadKernels(CudaFunctions* f);
    bool launch(CudaFunctions* f, int kernel, int width, int height, void** params);
    KROReturn colourSequence(CudaFunctions* f, const KROFrame& s, const KROFrame& d);
    bool geometrySequence(CudaFunctions* f, int kernel, const KROFrame& s, const KROFrame& d, int a, int b);
    bool beginSync(CudaFunctions* f, CUevent& event);
    bool endSync(CudaFunctions* f, CUevent event, bool launched);

    CUcontext context_;
    CUstream stream_;
    CUmodule module_ = nullptr;
    std::string kernelNames_[4];
    CUfunction kernels_[4] = {nullptr, nullptr, nullptr, nullptr};
    // Staged copies of host frames and the scaled conversion's intermediate
    // frame, all owned.
    KROFrame* srcStaged_ = nullptr;
    KROFrame* dstStaged_ = nullptr;
    KROFrame* intermediate_ = nullptr;
};

}  // namespace KROCOLOR
