// The constants of color_constants.h that the GPU programs carry, by name:
// the list the generator of the GPU constant headers (tools/gpu_constants)
// prints and the list their check reads back. Names and references only;
// every value lives in color_constants.h. The L*a*b* constants are left out
// (no GPU program converts to Lab).
#pragma once

#include "color/color_constants.h"

namespace KROCOLOR {
namespace gpu {

struct NamedMatrix {
    const char* group;  // heading printed before the first of a group
    const char* name;
    const Matrix3* value;
};

struct NamedScalar {
    const char* group;
    const char* name;
    double value;
    bool single;  // a float constant; otherwise double
    constexpr NamedScalar(const char* g, const char* n, float v) : group(g), name(n), value(v), single(true) {}
    constexpr NamedScalar(const char* g, const char* n, double v) : group(g), name(n), value(v), single(false) {}
};

#define KRO_GPU_MATRIX(group, m) NamedMatrix{group, #m, &m}
#define KRO_GPU_SCALAR(group, s) NamedScalar{group, #s, s}

inline constexpr const char* kYuvGroup = "YUV <-> RGB (ITU-R BT.601, BT.709, BT.2020, ITU-T H.273 YCgCo)";
inline constexpr const char* kPrimariesGroup = "Linear-light primaries conversions";

inline constexpr NamedMatrix kMatrices[] = {
    KRO_GPU_MATRIX(kYuvGroup, kBT601YUVtoRGB),
    KRO_GPU_MATRIX(kYuvGroup, kBT601RGBtoYUV),
    KRO_GPU_MATRIX(kYuvGroup, kBT709YUVtoRGB),
    KRO_GPU_MATRIX(kYuvGroup, kBT709RGBtoYUV),
    KRO_GPU_MATRIX(kYuvGroup, kBT2020YUVtoRGB),
    KRO_GPU_MATRIX(kYuvGroup, kBT2020RGBtoYUV),
    KRO_GPU_MATRIX(kYuvGroup, kYCGCOYUVtoRGB),
    KRO_GPU_MATRIX(kYuvGroup, kYCGCORGBtoYUV),
    KRO_GPU_MATRIX(kYuvGroup, kBT2020YUVtoRGB_00),
    KRO_GPU_MATRIX(kYuvGroup, kBT2020YUVtoRGB_01),
    KRO_GPU_MATRIX(kYuvGroup, kBT2020YUVtoRGB_10),
    KRO_GPU_MATRIX(kYuvGroup, kBT2020YUVtoRGB_11),
    KRO_GPU_MATRIX(kYuvGroup, kBT2020RGBtoYUV_00),
    KRO_GPU_MATRIX(kYuvGroup, kBT2020RGBtoYUV_01),
    KRO_GPU_MATRIX(kYuvGroup, kBT2020RGBtoYUV_10),
    KRO_GPU_MATRIX(kYuvGroup, kBT2020RGBtoYUV_11),
    KRO_GPU_MATRIX(kPrimariesGroup, kIdentity),
    KRO_GPU_MATRIX(kPrimariesGroup, kBT2020ToBT709),
    KRO_GPU_MATRIX(kPrimariesGroup, kBT2020ToBT601),
    KRO_GPU_MATRIX(kPrimariesGroup, kBT601ToBT709),
    KRO_GPU_MATRIX(kPrimariesGroup, kBT601ToBT2020),
    KRO_GPU_MATRIX(kPrimariesGroup, kBT709ToBT601),
    KRO_GPU_MATRIX(kPrimariesGroup, kBT709ToBT2020),
    KRO_GPU_MATRIX(kPrimariesGroup, kBT2020ToBT601_525),
    KRO_GPU_MATRIX(kPrimariesGroup, kBT709ToBT601_525),
    KRO_GPU_MATRIX(kPrimariesGroup, kBT601_525toBT709),
    KRO_GPU_MATRIX(kPrimariesGroup, kBT601_525toBT2020),
    KRO_GPU_MATRIX(kPrimariesGroup, kDisplayP3toBT601),
    KRO_GPU_MATRIX(kPrimariesGroup, kDisplayP3toBT709),
    KRO_GPU_MATRIX(kPrimariesGroup, kDisplayP3toBT2020),
    KRO_GPU_MATRIX(kPrimariesGroup, kBT601toDisplayP3),
    KRO_GPU_MATRIX(kPrimariesGroup, kBT709toDisplayP3),
    KRO_GPU_MATRIX(kPrimariesGroup, kBT2020toDisplayP3),
    KRO_GPU_MATRIX(kPrimariesGroup, kDisplayP3toBT601_525),
    KRO_GPU_MATRIX(kPrimariesGroup, kBT601_525toDisplayP3),
    KRO_GPU_MATRIX(kPrimariesGroup, kDCIP3toBT601),
    KRO_GPU_MATRIX(kPrimariesGroup, kDCIP3toBT601_525),
    KRO_GPU_MATRIX(kPrimariesGroup, kDCIP3toBT709),
    KRO_GPU_MATRIX(kPrimariesGroup, kDCIP3toBT2020),
    KRO_GPU_MATRIX(kPrimariesGroup, kDCIP3toDisplayP3),
    KRO_GPU_MATRIX(kPrimariesGroup, kBT601toDCIP3),
    KRO_GPU_MATRIX(kPrimariesGroup, kBT601_525toDCIP3),
    KRO_GPU_MATRIX(kPrimariesGroup, kBT709toDCIP3),
    KRO_GPU_MATRIX(kPrimariesGroup, kBT2020toDCIP3),
    KRO_GPU_MATRIX(kPrimariesGroup, kDisplayP3toDCIP3),
    KRO_GPU_MATRIX(kPrimariesGroup, kAdobeRGBtoBT709),
    KRO_GPU_MATRIX(kPrimariesGroup, kProPhototoBT709),
    KRO_GPU_MATRIX(kPrimariesGroup, kBT709toProPhoto),
};

inline constexpr const char* kLevelsGroup = "BT.2020 luma weights and video levels (ITU-R BT.2020, BT.601, BT.709)";
inline constexpr const char* kCurvesGroup = "Transfer curves (ITU-R BT.709, BT.2020, IEC 61966-2-1, IEC 61966-2-4, SMPTE RP 431-2)";
inline constexpr const char* kHlgGroup = "Hybrid log-gamma (ARIB STD-B67, ITU-R BT.2100)";
inline constexpr const char* kPqGroup = "Perceptual quantiser (SMPTE ST 2084)";

inline constexpr NamedScalar kScalars[] = {
    KRO_GPU_SCALAR(kLevelsGroup, kBT2020LumaR),
    KRO_GPU_SCALAR(kLevelsGroup, kBT2020LumaG),
    KRO_GPU_SCALAR(kLevelsGroup, kBT2020LumaB),
    KRO_GPU_SCALAR(kLevelsGroup, kVideoBlack),
    KRO_GPU_SCALAR(kLevelsGroup, kVideoLumaSpan),
    KRO_GPU_SCALAR(kLevelsGroup, kVideoChromaZero),
    KRO_GPU_SCALAR(kLevelsGroup, kVideoChromaSpan),
    KRO_GPU_SCALAR(kLevelsGroup, kFullScale8),
    KRO_GPU_SCALAR(kCurvesGroup, kBT709Alpha),
    KRO_GPU_SCALAR(kCurvesGroup, kBT709Offset),
    KRO_GPU_SCALAR(kCurvesGroup, kBT709LinearThreshold),
    KRO_GPU_SCALAR(kCurvesGroup, kBT709SignalThreshold),
    KRO_GPU_SCALAR(kCurvesGroup, kBT709Slope),
    KRO_GPU_SCALAR(kCurvesGroup, kBT709OetfPower),
    KRO_GPU_SCALAR(kCurvesGroup, kBT709EotfPower),
    KRO_GPU_SCALAR(kCurvesGroup, kBT709EotfPowerSingle),
    KRO_GPU_SCALAR(kCurvesGroup, kBT2020_12Alpha),
    KRO_GPU_SCALAR(kCurvesGroup, kBT2020_12Offset),
    KRO_GPU_SCALAR(kCurvesGroup, kBT2020_12LinearThreshold),
    KRO_GPU_SCALAR(kCurvesGroup, kBT2020_12SignalThreshold),
    KRO_GPU_SCALAR(kCurvesGroup, kGamma22),
    KRO_GPU_SCALAR(kCurvesGroup, kGamma22Inverse),
    KRO_GPU_SCALAR(kCurvesGroup, kGamma18),
    KRO_GPU_SCALAR(kCurvesGroup, kGamma18Inverse),
    KRO_GPU_SCALAR(kCurvesGroup, kGamma26),
    KRO_GPU_SCALAR(kCurvesGroup, kGamma26Inverse),
    KRO_GPU_SCALAR(kCurvesGroup, kSRGBSignalThreshold),
    KRO_GPU_SCALAR(kCurvesGroup, kSRGBLinearThreshold),
    KRO_GPU_SCALAR(kCurvesGroup, kSRGBSlope),
    KRO_GPU_SCALAR(kCurvesGroup, kSRGBAlpha),
    KRO_GPU_SCALAR(kCurvesGroup, kSRGBOffset),
    KRO_GPU_SCALAR(kCurvesGroup, kSRGBPower),
    KRO_GPU_SCALAR(kCurvesGroup, kSRGBInversePower),
    KRO_GPU_SCALAR(kHlgGroup, kHlgA),
    KRO_GPU_SCALAR(kHlgGroup, kHlgB),
    KRO_GPU_SCALAR(kHlgGroup, kHlgC),
    KRO_GPU_SCALAR(kHlgGroup, kHlgLinearThreshold),
    KRO_GPU_SCALAR(kHlgGroup, kHlgSignalThreshold),
    KRO_GPU_SCALAR(kHlgGroup, kHlgGamma),
    KRO_GPU_SCALAR(kHlgGroup, kHlgBeta),
    KRO_GPU_SCALAR(kPqGroup, kPqM1),
    KRO_GPU_SCALAR(kPqGroup, kPqM2),
    KRO_GPU_SCALAR(kPqGroup, kPqC1),
    KRO_GPU_SCALAR(kPqGroup, kPqC2),
    KRO_GPU_SCALAR(kPqGroup, kPqC3),
    KRO_GPU_SCALAR(kPqGroup, kPqInverseM2),
    KRO_GPU_SCALAR(kPqGroup, kPqInverseM1),
    KRO_GPU_SCALAR(kPqGroup, kPqReferencePeak),
    KRO_GPU_SCALAR(kPqGroup, kPqRatioToSdr),
    KRO_GPU_SCALAR(kPqGroup, kPqRatioToHlg),
    KRO_GPU_SCALAR(kPqGroup, kPqScaleFromSdr),
    KRO_GPU_SCALAR(kPqGroup, kPqScaleFromHdr),
};

#undef KRO_GPU_MATRIX
#undef KRO_GPU_SCALAR

// The three program languages and where their constant headers live,
// relative to src/.
enum class Language { Cuda, Hlsl, Glsl };
struct GeneratedFile {
    Language language;
    const char* path;
};
inline constexpr GeneratedFile kGeneratedFiles[] = {
    {Language::Cuda, "cuda/generated/color_constants.cuh"},
    {Language::Hlsl, "d3d11/generated/color_constants.hlsli"},
    {Language::Glsl, "gles/generated/color_constants.glsl"},
};

}  // namespace gpu
}  // namespace KROCOLOR
