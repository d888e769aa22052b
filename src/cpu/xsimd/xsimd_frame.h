// The SIMD convertor's intermediate frame: the colour-converted copy of the
// source at source size, in the destination's format, scaled afterwards.
// Planes come from KROXSimd::malloc (64-byte aligned) and are tightly packed;
// subsampled chroma rows and plane heights are rounded up, so frames of odd
// width or height have a place for every sample the addressing reaches.
#pragma once

#include <cstdint>

#include "core/frame.h"

namespace KROCOLOR {

class XSimdFrame {
public:
    XSimdFrame() = default;
    ~XSimdFrame() { release(); }
    XSimdFrame(const XSimdFrame&) = delete;
    XSimdFrame& operator=(const XSimdFrame&) = delete;

    // True when the frame was built for this format and size, whether or not
    // its planes could be allocated.
    bool fits(int32_t format, int width, int height) const {
        return built_ && frame_.format == format && frame_.width == width && frame_.height == height;
    }
    // Releases any previous planes and lays out a new frame. A format without
    // a CPU layout, a size whose byte counts would overflow, or memory that
    // runs out leaves planes missing; the geometry is kept all the same, so a
    // later call with the same geometry fails the same way.
    void build(int32_t format, int width, int height);
    // Planes 0-2 of the format are present (the frame can be used).
    bool usable() const;
    void release();

    KROFrame& frame() { return frame_; }
    const KROFrame& frame() const { return frame_; }

private:
    KROFrame frame_;
    bool built_ = false;
};

}  // namespace KROCOLOR
