// The SIMD CPU convertor: the colour pipeline and the scale filter of the
// scalar CPUContext, the colour pipeline eight pixels at a time in AVX2
// vectors (four in SSE2 vectors on processors without AVX2, and the scale
// filter always); the width changes speed, never a byte. Results agree with
// CPUContext within one code per sample. Rotation and cropping run the
// scalar per-pixel kernels.
#pragma once

#include <cstdint>

#include "core/convertor.h"
#include "cpu/xsimd/xsimd_frame.h"

namespace KROCOLOR {

class XSimdCPUContext : public IConvertor {
public:
    XSimdCPUContext() = default;
    ~XSimdCPUContext() override = default;

    KROReturn convertColor(const KROFrame* src, KROFrame* dst) override;
    KROReturn rotate(const KROFrame* src, KROFrame* dst, int orientation) override;
    KROReturn crop(const KROFrame* src, KROFrame* dst, int left, int top) override;

    // Observability for tests and diagnostics.
    int32_t sourcePeakLuminance() const { return sourcePeak_; }
    const XSimdFrame& intermediateFrame() const { return intermediate_; }

private:

    XSimdFrame intermediate_;
    int32_t sourcePeak_ = 10000;  // cd/m2, "src_max_luminance"
};

}  // namespace KROCOLOR
