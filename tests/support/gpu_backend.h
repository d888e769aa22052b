// "Run this conversion on backend X": the hook through which one set of GPU
// test cases runs on every GPU backend. A backend says whether it can run
// here, names its device in a KROHWContext, and moves pixels between host
// memory and frames of its own formats; runGpuConversion() then converts
// through the public API exactly as a host application would.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "KROColorFunctions.h"
#include "support/frame_buffers.h"
#include "support/gpu_program_model.h"

namespace KROCOLOR {
namespace test {

// A frame in the backend's memory, in the shape transcode() takes.
class DeviceFrame {
public:
    virtual ~DeviceFrame() = default;
    virtual const uint8_t* const* planes() const = 0;
    virtual const int* strides() const = 0;
};

class GpuBackend {
public:
    virtual ~GpuBackend() = default;
    virtual const char* name() const = 0;
    // Why conversions cannot run here; empty when they can.
    virtual std::string unavailable() const = 0;
    // Both sides of the context name this backend's device.
    virtual KROHWContext context() const = 0;
    // Whose formulas its conversions follow.
    virtual GpuProgram program() const = 0;
    // The device formats its conversions between device frames take.
    virtual std::vector<int32_t> deviceFormats() const = 0;
    // True where a host frame of a twin format converts as its device frame.
    virtual bool stagesHostTwins() const { return false; }
    // False for host formats it refuses as destinations (input error).
    virtual bool takesHostDestination(int32_t) const { return true; }
    // True for the formats of this backend's own memory family.
    virtual bool isDeviceFormat(int32_t format) const = 0;
    // The host format whose bytes lay out a device format's samples (the
    // pixels upload() takes and download() gives).
    virtual int32_t hostTwin(int32_t deviceFormat) const = 0;
    // A device frame holding `pixels` (a frame of the twin format); null on failure.
    virtual std::unique_ptr<DeviceFrame> upload(int32_t deviceFormat, const FrameBuffers& pixels) = 0;
    virtual bool download(const DeviceFrame& frame, FrameBuffers& pixels) = 0;
};

struct SideDescription {
    int32_t format;
    int width, height;
    int32_t primaries, transfer, matrix, range;
};

// Converts `src` into `dst` through a KROColorFunctions object with both
// colour descriptions kept as given. A side whose format is a device format
// is uploaded first (the destination with its current contents) and, for the
// destination, read back into `dstPixels` afterwards; host sides are passed
// as they are. `dstPixels` is in the twin format of a device destination.
KROReturn runGpuConversion(GpuBackend& backend, const SideDescription& src, const FrameBuffers& srcPixels,
                           const SideDescription& dst, FrameBuffers& dstPixels);

}  // namespace test
}  // namespace KROCOLOR
