// The CUDA road of krocolor's colour step: the frame is uploaded into device
// memory (the host format's CUDA twin) through KROCuda, converted device to
// device by the library, and downloaded again. Device 0's primary context is
// retained for the life of the pipeline.
#pragma once

#include <string>

#include <KROColorFunctions.h>

#include "image.h"

namespace krocolor {

// Empty when the CUDA road works here; otherwise why not, in one line.
std::string cudaUnavailableReason();

// The CUDA device format that stages a host format, or 0.
int cudaTwinOf(int hostFormat);

class CudaFrames {
public:
    // Throws CliError when the driver, the device or a twin format is missing.
    CudaFrames(const PixelFormatInfo& in, int inWidth, int inHeight, const PixelFormatInfo& out, int outWidth,
               int outHeight);
    ~CudaFrames();
    CudaFrames(const CudaFrames&) = delete;
    CudaFrames& operator=(const CudaFrames&) = delete;

    KROCOLOR::KROPixelFormat inFormat() const { return static_cast<KROCOLOR::KROPixelFormat>(inTwin_); }
    KROCOLOR::KROPixelFormat outFormat() const { return static_cast<KROCOLOR::KROPixelFormat>(outTwin_); }
    // Both sides CUDA, on the retained context and the default stream.
    KROCOLOR::KROHWContext hwContext() const;

    // Uploads `in`, runs `color` device to device, downloads into `out`.
    KROCOLOR::KROReturn convert(KROCOLOR::KROColorFunctions& color, const Image& in, Image& out);

private:
    struct DevicePlanes {
        void* planes[4] = {};
        size_t bytes[4] = {};
        int strides[4] = {};
    };
    void allocate(const Image& shape, DevicePlanes& d);
    void release(DevicePlanes& d);

    void* context_ = nullptr;
    int inTwin_ = 0, outTwin_ = 0;
    Image inShape_, outShape_;
    DevicePlanes in_, out_;
};

}  // namespace krocolor
