#include "image.h"

#include "cli_error.h"

namespace krocolor {

Image::Image(const PixelFormatInfo& format, int width, int height) : format_(&format) {
    std::string why;
    if (!computeGeometry(format, width, height, geometry_, why)) failure(why);
    bytes_.assign(geometry_.frameBytes, 0);
}

Image::Pointers Image::pointers() {
    Pointers p;
    for (int i = 0; i < geometry_.planeCount; ++i) {
        p.src[i] = plane(i);
        p.dst[i] = plane(i);
        p.strides[i] = stride(i);
    }
    return p;
}

uint32_t Image::sample(int component, int x, int y) const {
    const ComponentLayout& c = format_->components[component];
    const PlaneLayout& l = format_->planes[c.plane];
    const uint8_t* at = plane(c.plane) + static_cast<size_t>(y) * stride(c.plane) +
                        (static_cast<size_t>(x) * l.interleave + c.slot) * format_->bytesPerSample;
    if (format_->bytesPerSample == 1) return at[0];
    const uint32_t word = format_->bigEndian ? (uint32_t(at[0]) << 8 | at[1]) : (uint32_t(at[1]) << 8 | at[0]);
    return word >> format_->shift;
}

void Image::setSample(int component, int x, int y, uint32_t value) {
    const ComponentLayout& c = format_->components[component];
    const PlaneLayout& l = format_->planes[c.plane];
    uint8_t* at = plane(c.plane) + static_cast<size_t>(y) * stride(c.plane) +
                  (static_cast<size_t>(x) * l.interleave + c.slot) * format_->bytesPerSample;
    if (format_->bytesPerSample == 1) {
        at[0] = static_cast<uint8_t>(value);
        return;
    }
    const uint32_t word = (value << format_->shift) & 0xFFFF;
    if (format_->bigEndian) {
        at[0] = static_cast<uint8_t>(word >> 8);
        at[1] = static_cast<uint8_t>(word);
    } else {
        at[0] = static_cast<uint8_t>(word);
        at[1] = static_cast<uint8_t>(word >> 8);
    }
}

}  // namespace krocolor
