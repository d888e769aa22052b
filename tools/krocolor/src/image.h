// One frame in host memory, planes stored back to back without row padding
// (the layout raw files and YUV4MPEG2 frames use).
#pragma once

#include <cstdint>
#include <vector>

#include "pixel_formats.h"

namespace krocolor {

class Image {
public:
    Image() = default;
    // Throws CliError when the size is impossible for the format.
    Image(const PixelFormatInfo& format, int width, int height);

    const PixelFormatInfo& format() const { return *format_; }
    int width() const { return geometry_.width; }
    int height() const { return geometry_.height; }
    const FrameGeometry& geometry() const { return geometry_; }
    bool empty() const { return format_ == nullptr; }

    uint8_t* data() { return bytes_.data(); }
    const uint8_t* data() const { return bytes_.data(); }
    size_t size() const { return bytes_.size(); }

    uint8_t* plane(int p) { return bytes_.data() + geometry_.planeOffset[p]; }
    const uint8_t* plane(int p) const { return bytes_.data() + geometry_.planeOffset[p]; }
    int stride(int p) const { return geometry_.rowBytes[p]; }

    // Plane and stride arrays in the shape the library's transcode takes.
    struct Pointers {
        const uint8_t* src[4] = {};
        uint8_t* dst[4] = {};
        int strides[4] = {};
    };
    Pointers pointers();

    // Value of one sample of component c at sample position (x, y) of that
    // component's plane; byte order and P010-style shifts undone.
    uint32_t sample(int component, int x, int y) const;
    void setSample(int component, int x, int y, uint32_t value);

private:
    const PixelFormatInfo* format_ = nullptr;
    FrameGeometry geometry_;
    std::vector<uint8_t> bytes_;
};

}  // namespace krocolor
