// The scalar CPU convertor: the reference implementation of the colour
// pipeline for frames in host memory, with scaling, crop and rotation, and
// an optional path through libswscale.
#pragma once

#include <cstdint>

#include "core/convertor.h"
#include "cpu/intermediate_frame.h"

struct SwsContext;

namespace KROCOLOR {
void releaseSwsContext(SwsContext* context);
}

namespace KROCOLOR {

class CPUContext : public IConvertor {
public:
    CPUContext() = default;
    ~CPUContext() override;

    KROReturn convertColor(const KROFrame* src, KROFrame* dst) override;
    KROReturn rotate(const KROFrame* src, KROFrame* dst, int orientation) override;
    KROReturn crop(const KROFrame* src, KROFrame* dst, int left, int top) override;

    // Set once by the factory when a side's hardware type asks for libswscale.
    void setUseSwscale(bool use) { useSwscale_ = use; }
    bool usesSwscale() const { return useSwscale_; }

    // Observability for tests and diagnostics.
    int32_t sourcePeakLuminance() const { return sourcePeak_; }
    const IntermediateFrame& colorStageFrame() const { return colorStage_; }
    const SwsContext* scalingContext() const { return sws_; }

private:
    // The sizes and formats a scaling context was made for.
    struct SwsShape {
        int32_t srcWidth, srcHeight, srcFormat, dstWidth, dstHeight, dstFormat;
        bool operator==(const SwsShape& o) const {
            return srcWidth == o.srcWidth && srcHeight == o.srcHeight && srcFormat == o.srcFormat &&
                   dstWidth == o.dstWidth && dstHeight == o.dstHeight && dstFormat == o.dstFormat;
        }
    };

    bool convertWithSwscale(const KROFrame& src, KROFrame& dst);

    IntermediateFrame colorStage_;
    bool useSwscale_ = false;
    SwsContext* sws_ = nullptr;
    SwsShape swsShape_{};
    int32_t sourcePeak_ = 10000;  // cd/m2, "src_max_luminance"
    IntermediateFrame swscaleInput_;   // padded copy of the caller's source
    IntermediateFrame swscaleOutput_;  // padded frame libswscale writes
};

// Converts src into dst (same size) through the colour pipeline, rows spread
// over worker threads when `threaded`. Shared by the CPU convertors.
// Throws std::system_error when worker threads cannot start.
void runColorStage(const KROFrame& src, KROFrame& dst, int32_t sourcePeak, bool threaded);

// The stride test of the copy short-cut: strides 0-2 and, for the formats
// with an alpha plane, stride 3 agree.
bool sameCopyStrides(const KROFrame& a, const KROFrame& b);

// Copies every plane of src into dst (same format and size) byte for byte,
// with the per-plane byte counts of a same-stride copy.
void copyFramePlanes(const KROFrame& src, KROFrame& dst);

// Sets `peak` from the "src_max_luminance" entry of `metaData`; without the
// key the previous value stays.
void updateSourcePeak(const MetaData& metaData, int32_t& peak);

// Parses a "src_max_luminance" value: leading decimal digits (optional sign
// and leading white space), 0 when there are none, clamped to int32.
int32_t parseLuminance(const char* text);

}  // namespace KROCOLOR
