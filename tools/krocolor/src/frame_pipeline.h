// One frame's road through the library: an optional crop of the source
// (KROCropFunctions), the colour conversion with optional scaling
// (KROColorFunctions), and an optional re-orientation of the result
// (KRORotateFunctions). The library objects are built once and reused for
// every frame, so a stream converts with constant memory.
#pragma once

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include <KROColorFunctions.h>

#include "backend_device.h"
#include "backends.h"
#include "cuda_frames.h"
#include "image.h"

namespace krocolor {

struct ColorDescription {
    int primaries = 2;
    int transfer = 2;
    int matrix = 2;
    int range = 0;
};

struct CropRect {
    bool enabled = false;
    int x = 0, y = 0, width = 0, height = 0;
};

struct PipelineSettings {
    const PixelFormatInfo* inFormat = nullptr;
    const PixelFormatInfo* outFormat = nullptr;
    int inWidth = 0, inHeight = 0;
    CropRect crop;
    int scaleWidth = 0, scaleHeight = 0;  // 0: the (cropped) input size
    int orientation = 1;
    ColorDescription inColor, outColor;
    const BackendInfo* backend = nullptr;
    std::vector<std::pair<std::string, std::string>> metadata;
    bool keepSourceColor = false;
};

class GlesConversion;

class FramePipeline {
public:
    explicit FramePipeline(const PipelineSettings& settings);  // throws CliError
    ~FramePipeline();

    int outWidth() const { return outWidth_; }
    int outHeight() const { return outHeight_; }
    // Converts `in` (input format and size) into `out` (output format and
    // size, allocated by the caller). Throws CliError with the library's
    // message when a step fails.
    void run(Image& in, Image& out);

private:
    PipelineSettings settings_;
    std::unique_ptr<BackendDevice> device_;  // GPU backends: outlives the objects converting on it
    std::unique_ptr<KROCOLOR::KROCropFunctions> crop_;
    std::unique_ptr<KROCOLOR::KROColorFunctions> color_;
    std::unique_ptr<CudaFrames> cuda_;  // --backend cuda: the colour step's device frames
    std::unique_ptr<KROCOLOR::KRORotateFunctions> rotate_;
    std::unique_ptr<GlesConversion> gles_;  // --backend gles: converts the frames in color_'s place
    Image cropped_, converted_;
    int outWidth_ = 0, outHeight_ = 0;
};

}  // namespace krocolor
