#include "cuda_frames.h"

#include "cli_error.h"

namespace krocolor {

using namespace KROCOLOR;

namespace {

// Pushes the retained context for the span of one operation.
class Current {
public:
    explicit Current(void* context) : ok_(KROCuda::pushContext(context)) {}
    ~Current() {
        void* popped = nullptr;
        if (ok_) KROCuda::popContext(&popped);
    }
    bool ok() const { return ok_; }

private:
    bool ok_;
};

}  // namespace

int cudaTwinOf(int hostFormat) {
    switch (hostFormat) {
        case 101: return 301;
        case 102: return 302;
        case 103: return 303;
        case 104: return 304;
        case 106: return 305;
        case 107: return 306;
        case 108: return 307;
        case 109: return 308;
        case 110: return 309;
        case 111: return 317;
        case 112: return 318;
        case 113: return 319;
        case 119: return 310;
        case 120: return 311;
        case 124: return 320;
        case 125: return 321;
        default: return 0;
    }
}

std::string cudaUnavailableReason() {
    if (!KROCuda::init()) return "no CUDA driver could be loaded (libcuda.so.1)";
    if (KROCuda::getDeviceCount() < 1) return "the CUDA driver reports no device";
    void* context = KROCuda::retainDevicePrimaryCtx(0);
    if (!context) return "device 0's primary context could not be retained";
    std::string reason;
    {
        Current current(context);
        if (!current.ok()) reason = "device 0's primary context could not be made current";
        else if (!KROCuda::checkCUDAPTXSupported()) reason = "the CUDA driver cannot compile the library's kernels";
    }
    KROCuda::releaseDevicePrimaryCtx(0);
    return reason;
}

CudaFrames::CudaFrames(const PixelFormatInfo& in, int inWidth, int inHeight, const PixelFormatInfo& out,
                       int outWidth, int outHeight)
    : inTwin_(cudaTwinOf(in.code)), outTwin_(cudaTwinOf(out.code)) {
    if (!inTwin_) usageError(std::string("--backend cuda: ") + in.name + " has no CUDA device format");
    if (!outTwin_) usageError(std::string("--backend cuda: ") + out.name + " has no CUDA device format");
    const std::string reason = cudaUnavailableReason();
    if (!reason.empty()) failure("backend cuda is not available: " + reason);
    context_ = KROCuda::retainDevicePrimaryCtx(0);
    if (!context_) failure("backend cuda: device 0's primary context could not be retained");
    inShape_ = Image(in, inWidth, inHeight);
    outShape_ = Image(out, outWidth, outHeight);
    Current current(context_);
    allocate(inShape_, in_);
    allocate(outShape_, out_);
}

CudaFrames::~CudaFrames() {
    if (!context_) return;
    {
        Current current(context_);
        release(in_);
        release(out_);
    }
    KROCuda::releaseDevicePrimaryCtx(0);
}

void CudaFrames::allocate(const Image& shape, DevicePlanes& d) {
    const FrameGeometry& g = shape.geometry();
    for (int p = 0; p < g.planeCount; ++p) {
        d.bytes[p] = g.planeBytes[p];
        d.strides[p] = g.rowBytes[p];
        d.planes[p] = KROCuda::malloc(g.planeBytes[p]);
        if (!d.planes[p]) failure("backend cuda: device memory for a frame could not be allocated");
    }
}

void CudaFrames::release(DevicePlanes& d) {
    for (void*& p : d.planes) {
        KROCuda::free(p);
        p = nullptr;
    }
}

KROHWContext CudaFrames::hwContext() const {
    KROHWContext c;
    c.srcType = c.dstType = kKROHWTypeCUDA;
    c.srcHandle = c.dstHandle = context_;
    return c;
}

KROReturn CudaFrames::convert(KROColorFunctions& color, const Image& in, Image& out) {
    {
        Current current(context_);
        for (int p = 0; p < 4 && in_.planes[p]; ++p)
            if (!KROCuda::memcpyHtoD(in_.planes[p], in.plane(p), in_.bytes[p])) return kKROLoadCUDAKernelError;
    }
    const uint8_t* src[4] = {};
    uint8_t* dst[4] = {};
    for (int p = 0; p < 4; ++p) {
        src[p] = static_cast<const uint8_t*>(in_.planes[p]);
        dst[p] = static_cast<uint8_t*>(out_.planes[p]);
    }
    const KROReturn rc = color.transcode(src, in_.strides, dst, out_.strides);
    if (rc != kKROSuccess) return rc;
    Current current(context_);
    for (int p = 0; p < 4 && out_.planes[p]; ++p)
        if (!KROCuda::memcpyDtoH(out.plane(p), out_.planes[p], out_.bytes[p])) return kKRORunCUDAKernelError;
    return kKROSuccess;
}

}  // namespace krocolor
