// Running conversions on the CUDA backend from tests: a session that loads
// the driver and makes device 0's primary context current, and device copies
// of host frames (same strides, one device allocation per plane). Uses only
// the public KROCuda operations, so it works with any libcuda.so.1 the
// loader finds (a real driver or the CPU stand-in).
#pragma once

#include <string>

#include "KROColorFunctions.h"
#include "support/host_frame.h"

namespace KROCOLOR {
namespace test {

class CudaSession {
public:
    CudaSession() {
        if (!KROCuda::init()) {
            why_ = "no CUDA driver could be loaded (libcuda.so.1)";
        } else if (KROCuda::getDeviceCount() < 1) {
            why_ = "the CUDA driver reports no device";
        } else if (!(context_ = KROCuda::retainDevicePrimaryCtx(0)) || !KROCuda::pushContext(context_)) {
            why_ = "device 0's primary context could not be made current";
        }
    }
    ~CudaSession() {
        if (!context_) return;
        void* popped = nullptr;
        KROCuda::popContext(&popped);
        KROCuda::releaseDevicePrimaryCtx(0);
    }
    CudaSession(const CudaSession&) = delete;
    CudaSession& operator=(const CudaSession&) = delete;

    bool ready() const { return why_.empty(); }
    const std::string& why() const { return why_; }
    void* context() const { return context_; }

private:
    void* context_ = nullptr;
    std::string why_;
};

// A device frame in `deviceFormat` laid out like `host` (the format's host
// twin), with the host frame's strides and colour description.
class DeviceCopy {
public:
    DeviceCopy(const HostFrame& host, int32_t deviceFormat) : host_(host) {
        frame = host.frame;
        frame.format = deviceFormat;
        for (int p = 0; p < host.planes; ++p) frame.planes[p] = static_cast<uint8_t*>(KROCuda::malloc(host.sizes[p]));
    }
    ~DeviceCopy() {
        for (uint8_t* p : frame.planes) KROCuda::free(p);
    }
    DeviceCopy(const DeviceCopy&) = delete;
    DeviceCopy& operator=(const DeviceCopy&) = delete;

    bool upload() const {
        for (int p = 0; p < host_.planes; ++p)
            if (!KROCuda::memcpyHtoD(frame.planes[p], host_.frame.planes[p], host_.sizes[p])) return false;
        return true;
    }
    bool download(HostFrame& into) const {
        for (int p = 0; p < host_.planes; ++p)
            if (!KROCuda::memcpyDtoH(into.frame.planes[p], frame.planes[p], host_.sizes[p])) return false;
        return true;
    }

    KROFrame frame;

private:
    const HostFrame& host_;
};

}  // namespace test
}  // namespace KROCOLOR
