// Running conversions on the CUDA backend from tests: a session that loads
// the driver and makes device 0's primary context current, and the backend's
// row of the GPU test hook. Uses only
// the public KROCuda operations, so it works with any libcuda.so.1 the
// loader finds (a real driver or the CPU stand-in).
#pragma once

#include <algorithm>
#include <memory>
#include <string>
#include <vector>

#include "KROColorFunctions.h"
#include "support/gpu_backend.h"

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

// The CUDA row of the GPU test hook: device frames with the host twin's
// strides, one device allocation per plane, copied with the driver.
class CudaBackend : public GpuBackend {
public:
    explicit CudaBackend(const CudaSession& session) : session_(session) {}
    const char* name() const override { return "cuda"; }
    std::string unavailable() const override { return session_.why(); }
    KROHWContext context() const override {
        KROHWContext c;
        c.srcType = c.dstType = kKROHWTypeCUDA;
        c.srcHandle = c.dstHandle = session_.context();
        return c;
    }
    GpuProgram program() const override { return GpuProgram::Cuda; }
    std::vector<int32_t> deviceFormats() const override {
        return {301, 302, 310, 311, 303, 304, 305, 306, 307, 308, 309, 317, 318, 319, 320, 321};
    }
    bool isDeviceFormat(int32_t format) const override { return format >= 301 && format <= 321; }
    // Host frames are staged into these same formats, so converting them
    // must give what converting device frames gives.
    bool stagesHostTwins() const override { return true; }
    int32_t hostTwin(int32_t deviceFormat) const override {
        const std::vector<int32_t> device = deviceFormats(),
                                   host = {101, 102, 119, 120, 103, 104, 106, 107, 108, 109, 110, 111, 112, 113, 124, 125};
        const auto at = std::find(device.begin(), device.end(), deviceFormat);
        return at == device.end() ? 0 : host[size_t(at - device.begin())];
    }
    std::unique_ptr<DeviceFrame> upload(int32_t, const FrameBuffers& pixels) override {
        auto frame = std::make_unique<Frame>(pixels);
        for (int p = 0; p < pixels.planeCount(); ++p)
            if (!frame->planes_[p] || !KROCuda::memcpyHtoD(frame->planes_[p], pixels.plane(p), pixels.size(p)))
                return nullptr;
        return frame;
    }
    bool download(const DeviceFrame& frame, FrameBuffers& pixels) override {
        for (int p = 0; p < pixels.planeCount(); ++p)
            if (!KROCuda::memcpyDtoH(pixels.plane(p), frame.planes()[p], pixels.size(p))) return false;
        return true;
    }

private:
    struct Frame : DeviceFrame {
        explicit Frame(const FrameBuffers& pixels) {
            for (int p = 0; p < pixels.planeCount(); ++p) {
                planes_[p] = static_cast<uint8_t*>(KROCuda::malloc(pixels.size(p)));
                strides_[p] = pixels.stride(p);
            }
        }
        ~Frame() override {
            for (uint8_t* p : planes_) KROCuda::free(p);
        }
        const uint8_t* const* planes() const override { return planes_; }
        const int* strides() const override { return strides_; }
        uint8_t* planes_[4] = {nullptr, nullptr, nullptr, nullptr};
        int strides_[4] = {0, 0, 0, 0};
    };
    const CudaSession& session_;
};

}  // namespace test
}  // namespace KROCOLOR
