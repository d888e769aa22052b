// Every number of the colour pipeline, defined once: the YUV<->RGB and
// primaries matrices, the luma weights, the video levels, the transfer-curve
// constants and thresholds, the HLG and PQ constants and the CIE L*a*b*
// constants of Lab conversion. Each carries the standard it comes from.
//
// The values are the library's own rounded coefficients and are used exactly
// as written (also matrix rows that do not sum to 1). Each constant keeps the
// precision in which the pipeline evaluates it: `double` where the step runs
// in double precision, `float` where it runs in single precision.
//
// This header is plain constexpr C++ with no library dependencies, so that
// nvcc and the host program that writes the GPU constant headers
// (tools/gpu_constants) can include it. Do not add anything here that
// a CUDA translation unit or that program could not compile.
#pragma once

#include "color/pixel.h"

namespace KROCOLOR {

// ---------------------------------------------------------------------------
// YUV <-> RGB. Input order (Y, U, V) or (R, G, B).
// ---------------------------------------------------------------------------

// ITU-R BT.601 (Kr = 0.299, Kb = 0.114).
inline constexpr Matrix3 kBT601YUVtoRGB{{{1.0f, 0.0f, 1.402f},
                                         {1.0f, -0.344f, -0.714f},
                                         {1.0f, 1.772f, 0.0f}}};
inline constexpr Matrix3 kBT601RGBtoYUV{{{0.299f, 0.5871f, 0.114f},
                                         {-0.1687f, -0.3313f, 0.5f},
                                         {0.5f, -0.4187f, -0.0813f}}};

// ITU-R BT.709 (Kr = 0.2126, Kb = 0.0722), as rounded by the library.
inline constexpr Matrix3 kBT709YUVtoRGB{{{1.0f, 0.0f, 1.575f},
                                         {1.0f, -0.187f, -0.468f},
                                         {1.0f, 1.856f, 0.0f}}};
inline constexpr Matrix3 kBT709RGBtoYUV{{{0.2126f, 0.7154f, 0.0721f},
                                         {-0.1145f, -0.3854f, 0.5f},
                                         {0.5f, -0.4542f, -0.0458f}}};

// ITU-R BT.2020 non-constant luminance (Kr = 0.2627, Kb = 0.0593).
inline constexpr Matrix3 kBT2020YUVtoRGB{{{1.0f, 0.0f, 1.4746f},
                                          {1.0f, -0.1645f, -0.5713f},
                                          {1.0f, 1.8814f, 0.0f}}};
inline constexpr Matrix3 kBT2020RGBtoYUV{{{0.2627f, 0.678f, 0.0593f},
                                          {-0.1396f, -0.3604f, 0.5f},
                                          {0.5f, -0.4598f, -0.0402f}}};

// YCgCo (ITU-T H.273 MatrixCoefficients 8).
inline constexpr Matrix3 kYCGCOYUVtoRGB{{{1.0f, -1.0f, 1.0f},
                                         {1.0f, 1.0f, 0.0f},
                                         {1.0f, -1.0f, -1.0f}}};
inline constexpr Matrix3 kYCGCORGBtoYUV{{{0.25f, 0.5f, 0.25f},
                                         {-0.25f, 0.5f, -0.25f},
                                         {0.5f, 0.0f, -0.5f}}};

// ITU-R BT.2020 constant luminance: the chroma scale depends on the sign of
// each colour difference (BT.2020 table 4: Nb/Pb and Nr/Pr). Suffix _uv: the
// first digit is the class of U (or B'-Y'), the second that of V (or R'-Y');
// 0 = at most zero, 1 = above zero.
inline constexpr Matrix3 kBT2020YUVtoRGB_00{{{1.0f, 0.0f, 1.7182f},
                                             {1.0f, -0.1697f, -0.6657f},
                                             {1.0f, 1.9404f, 0.0f}}};
inline constexpr Matrix3 kBT2020YUVtoRGB_01{{{1.0f, 0.0f, 0.9938f},
                                             {1.0f, -0.1697f, -0.3851f},
                                             {1.0f, 1.94f, 0.0f}}};
inline constexpr Matrix3 kBT2020YUVtoRGB_10{{{1.0f, 0.0f, 1.7182f},
                                             {1.0f, -0.1384f, -0.6658f},
                                             {1.0f, 1.582f, 0.0f}}};
inline constexpr Matrix3 kBT2020YUVtoRGB_11{{{1.0f, 0.0f, 0.9938f},
                                             {1.0f, -0.1384f, -0.3851f},
                                             {1.0f, 1.582f, 0.0f}}};
inline constexpr Matrix3 kBT2020RGBtoYUV_00{{{0.2627f, 0.678f, 0.0593f},
                                             {-0.1354f, -0.3494f, 0.4848f},
                                             {0.4291f, -0.3946f, -0.0345f}}};
inline constexpr Matrix3 kBT2020RGBtoYUV_01{{{0.2627f, 0.678f, 0.0593f},
                                             {-0.1354f, -0.3494f, 0.4848f},
                                             {0.7419f, -0.6822f, -0.0597f}}};
inline constexpr Matrix3 kBT2020RGBtoYUV_10{{{0.2627f, 0.678f, 0.0593f},
                                             {-0.1661f, -0.4286f, 0.5946f},
                                             {0.4291f, -0.395f, -0.0345f}}};
inline constexpr Matrix3 kBT2020RGBtoYUV_11{{{0.2627f, 0.678f, 0.0593f},
                                             {-0.1661f, -0.4286f, 0.5946f},
                                             {0.7419f, -0.6822f, -0.0597f}}};

// The four constant-luminance tables indexed by class (first digit * 2 + second).
inline constexpr const Matrix3* kBT2020CLYUVtoRGB[4] = {&kBT2020YUVtoRGB_00, &kBT2020YUVtoRGB_01,
                                                        &kBT2020YUVtoRGB_10, &kBT2020YUVtoRGB_11};
inline constexpr const Matrix3* kBT2020CLRGBtoYUV[4] = {&kBT2020RGBtoYUV_00, &kBT2020RGBtoYUV_01,
                                                        &kBT2020RGBtoYUV_10, &kBT2020RGBtoYUV_11};

// ---------------------------------------------------------------------------
// Primaries: linear RGB of the source primaries to linear RGB of the
// destination primaries. BT601 = EBU/BT.470BG (625-line), BT601_525 = SMPTE
// 170M (525-line), DCIP3 = SMPTE RP 431-2, DisplayP3 = SMPTE EG 432-1 (D65),
// AdobeRGB = Adobe RGB (1998), ProPhoto = ROMM RGB (ISO 22028-2).
// ---------------------------------------------------------------------------

// Unit matrix: pairs of primaries without a table of their own.
inline constexpr Matrix3 kIdentity{{{1.0f, 0.0f, 0.0f}, {0.0f, 1.0f, 0.0f}, {0.0f, 0.0f, 1.0f}}};

// ITU-R BT.2020 -> ITU-R BT.709 primaries.
inline constexpr Matrix3 kBT2020ToBT709{{{1.6605f, -0.5876f, -0.0728f},
                                         {-0.1246f, 1.1329f, -0.0083f},
                                         {-0.0182f, -0.1006f, 1.1187f}}};
// ITU-R BT.2020 -> BT.470BG (625-line BT.601) primaries.
inline constexpr Matrix3 kBT2020ToBT601{{{1.5852f, -0.5151f, -0.0701f},
                                         {-0.1246f, 1.1329f, -0.0083f},
                                         {-0.0169f, -0.1153f, 1.1322f}}};
// BT.470BG (625-line BT.601) -> ITU-R BT.709 primaries.
inline constexpr Matrix3 kBT601ToBT709{{{1.044f, -0.044f, 0.0f},
                                        {0.0f, 1.0f, 0.0f},
                                        {0.0f, 0.0118f, 0.9882f}}};
// BT.470BG (625-line BT.601) -> ITU-R BT.2020 primaries.
inline constexpr Matrix3 kBT601ToBT2020{{{0.665f, 0.3021f, 0.0428f},
                                         {0.07214f, 0.9166f, 0.0112f},
                                         {0.0171f, 0.0979f, 0.885f}}};
// ITU-R BT.709 -> BT.470BG (625-line BT.601) primaries.
inline constexpr Matrix3 kBT709ToBT601{{{0.9578f, 0.0422f, 0.0f},
                                        {0.0f, 1.0f, 0.0f},
                                        {0.0f, -0.0119f, 1.0119f}}};
// ITU-R BT.709 -> ITU-R BT.2020 primaries.
inline constexpr Matrix3 kBT709ToBT2020{{{0.6274f, 0.3293f, 0.0433f},
                                         {0.0691f, 0.9195f, 0.0114f},
                                         {0.0164f, 0.088f, 0.8956f}}};
// ITU-R BT.2020 -> SMPTE 170M (525-line BT.601) primaries.
inline constexpr Matrix3 kBT2020ToBT601_525{{{1.7761f, -0.6878f, -0.0883f},
                                             {-0.1614f, 1.1873f, -0.0259f},
                                             {-0.0159f, -0.0959f, 1.1118f}}};
// ITU-R BT.709 -> SMPTE 170M (525-line BT.601) primaries.
inline constexpr Matrix3 kBT709ToBT601_525{{{1.0654f, -0.0554f, -0.001f},
                                            {-0.02f, 1.0364f, -0.0167f},
                                            {0.0016f, 0.0044f, 0.994f}}};
// SMPTE 170M (525-line BT.601) -> ITU-R BT.709 primaries.
inline constexpr Matrix3 kBT601_525toBT709{{{0.9395f, 0.0502f, 0.0103f},
                                            {0.0178f, 0.9658f, 0.0164f},
                                            {-0.0016f, -0.0044f, 1.006f}}};
// SMPTE 170M (525-line BT.601) -> ITU-R BT.2020 primaries.
inline constexpr Matrix3 kBT601_525toBT2020{{{0.5953f, 0.3493f, 0.05543f},
                                             {0.0812f, 0.8915f, 0.0273f},
                                             {0.0155f, 0.0819f, 0.9026f}}};
// SMPTE EG 432-1 (Display P3, D65) -> BT.470BG (625-line BT.601) primaries.
inline constexpr Matrix3 kDisplayP3toBT601{{{1.3076f, -0.2966f, -0.011f},
                                            {-0.0673f, 1.0857f, -0.0184f},
                                            {-0.0018f, -0.0739f, 1.0916f}}};
// SMPTE EG 432-1 (Display P3, D65) -> ITU-R BT.709 primaries.
inline constexpr Matrix3 kDisplayP3toBT709{{{1.2249f, -0.2249f, 0.0f},
                                            {-0.0421f, 1.0421f, 0.0f},
                                            {-0.0196f, -0.0786f, 1.0983f}}};
// SMPTE EG 432-1 (Display P3, D65) -> ITU-R BT.2020 primaries.
inline constexpr Matrix3 kDisplayP3toBT2020{{{0.7538f, 0.1986f, 0.0476f},
                                             {0.0457f, 0.9418f, 0.0125f},
                                             {-0.0012f, 0.0176f, 0.9836f}}};
// BT.470BG (625-line BT.601) -> SMPTE EG 432-1 (Display P3, D65) primaries.
inline constexpr Matrix3 kBT601toDisplayP3{{{0.8569f, 0.1413f, 0.0f},
                                            {0.0347f, 0.9653f, 0.0f},
                                            {0.0178f, 0.0824f, 0.8998f}}};
// ITU-R BT.709 -> SMPTE EG 432-1 (Display P3, D65) primaries.
inline constexpr Matrix3 kBT709toDisplayP3{{{0.8225f, 0.1775f, 0.0f},
                                            {0.0332f, 0.9668f, 0.0f},
                                            {0.0171f, 0.0724f, 0.9105f}}};
// ITU-R BT.2020 -> SMPTE EG 432-1 (Display P3, D65) primaries.
inline constexpr Matrix3 kBT2020toDisplayP3{{{1.3436f, -0.2822f, -0.0614f},
                                             {-0.0653f, 1.0758f, -0.0105f},
                                             {0.0028f, -0.0196f, 1.0168f}}};
// SMPTE EG 432-1 (Display P3, D65) -> SMPTE 170M (525-line BT.601) primaries.
inline constexpr Matrix3 kDisplayP3toBT601_525{{{1.2686f, 0.1464f, 0.6012f},
                                                {-0.2484f, 0.9172f, -0.3663f},
                                                {-0.222f, -0.0494f, 1.025f}}};
// SMPTE 170M (525-line BT.601) -> SMPTE EG 432-1 (Display P3, D65) primaries.
inline constexpr Matrix3 kBT601_525toDisplayP3{{{0.776f, 0.2127f, 0.0114f},
                                                {0.0484f, 0.9354f, 0.0162f},
                                                {0.0159f, 0.0668f, 0.9173f}}};
// SMPTE RP 431-2 (DCI-P3) -> BT.470BG (625-line BT.601) primaries.
inline constexpr Matrix3 kDCIP3toBT601{{{1.0719f, -0.179f, 0.0f},
                                        {-0.0385f, 1.0871f, 0.0f},
                                        {-0.0177f, -0.0959f, 0.966f}}};
// SMPTE RP 431-2 (DCI-P3) -> SMPTE 170M (525-line BT.601) primaries.
inline constexpr Matrix3 kDCIP3toBT601_525{{{1.1964f, -0.3095f, -0.0095f},
                                            {-0.0616f, 1.1326f, -0.016f},
                                            {-0.0162f, -0.0771f, 0.9489f}}};
// SMPTE RP 431-2 (DCI-P3) -> ITU-R BT.709 primaries.
inline constexpr Matrix3 kDCIP3toBT709{{{1.1208f, -0.2348f, 0.0f},
                                        {-0.0385f, 1.0871f, 0.0f},
                                        {-0.018f, -0.082f, 0.9546f}}};
// SMPTE RP 431-2 (DCI-P3) -> ITU-R BT.2020 primaries.
inline constexpr Matrix3 kDCIP3toBT2020{{{0.6897f, 0.2071f, 0.0414f},
                                         {0.0418f, 0.9825f, 0.0108f},
                                         {-0.0011f, 0.0184f, 0.855f}}};
// SMPTE RP 431-2 (DCI-P3) -> SMPTE EG 432-1 (Display P3, D65) primaries.
inline constexpr Matrix3 kDCIP3toDisplayP3{{{0.915f, 0.0001f, 0.0f},
                                            {0.0f, 1.0432f, 0.0f},
                                            {0.0f, 0.0f, 0.8692f}}};
// BT.470BG (625-line BT.601) -> SMPTE RP 431-2 (DCI-P3) primaries.
inline constexpr Matrix3 kBT601toDCIP3{{{0.9385f, 0.1545f, 0.0f},
                                        {0.0332f, 0.9254f, 0.0f},
                                        {0.0205f, 0.0948f, 1.0352f}}};
// SMPTE 170M (525-line BT.601) -> SMPTE RP 431-2 (DCI-P3) primaries.
inline constexpr Matrix3 kBT601_525toDCIP3{{{0.8481f, 0.2325f, 0.0124f},
                                            {0.0463f, 0.8967f, 0.0155f},
                                            {0.0182f, 0.0769f, 1.0554f}}};
// ITU-R BT.709 -> SMPTE RP 431-2 (DCI-P3) primaries.
inline constexpr Matrix3 kBT709toDCIP3{{{0.899f, 0.194f, 0.0f},
                                        {0.0318f, 0.9268f, 0.0f},
                                        {0.0196f, 0.0833f, 1.0476f}}};
// ITU-R BT.2020 -> SMPTE RP 431-2 (DCI-P3) primaries.
inline constexpr Matrix3 kBT2020toDCIP3{{{1.4685f, 0.3084f, -0.0671f},
                                         {-0.0626f, 1.0312f, -0.0101f},
                                         {0.0032f, -0.0225f, 1.1698f}}};
// SMPTE EG 432-1 (Display P3, D65) -> SMPTE RP 431-2 (DCI-P3) primaries.
inline constexpr Matrix3 kDisplayP3toDCIP3{{{1.093f, 0.0f, 0.0f},
                                            {0.0f, 0.9586f, 0.0f},
                                            {0.0f, 0.0f, 1.1505f}}};
// Adobe RGB (1998) -> ITU-R BT.709 primaries.
inline constexpr Matrix3 kAdobeRGBtoBT709{{{1.3984f, -0.3984f, 0.0f},
                                           {0.0f, 1.0f, 0.0f},
                                           {0.0f, -0.0429f, 1.0429f}}};
// ROMM RGB (ISO 22028-2) -> ITU-R BT.709 primaries.
inline constexpr Matrix3 kProPhototoBT709{{{2.0341f, -0.7273f, -0.3067f},
                                           {-0.2288f, 1.2317f, -0.0029f},
                                           {-0.0086f, -0.1533f, 1.1619f}}};
// ITU-R BT.709 -> ROMM RGB (ISO 22028-2) primaries.
inline constexpr Matrix3 kBT709toProPhoto{{{0.5294f, 0.3301f, 0.1406f},
                                           {0.0984f, 0.8735f, 0.0282f},
                                           {0.0169f, 0.1177f, 0.8654f}}};

// ---------------------------------------------------------------------------
// Luma weights and video levels.
// ---------------------------------------------------------------------------

// ITU-R BT.2020 (and BT.2100) luma weights Kr, Kg, Kb: the constant-luminance
// Y' of the BT.2020 constant-luminance matrix and the HLG OOTF's Ys, both
// formed in double precision.
inline constexpr double kBT2020LumaR = 0.2627;
inline constexpr double kBT2020LumaG = 0.678;
inline constexpr double kBT2020LumaB = 0.0593;

// ITU-R BT.601 / BT.709 8-bit video levels: black 16, luma span 219 (white
// 235), chroma zero 128 and span 224 (16..240). Deeper samples scale these by
// 2^(d-8). 255 is the 8-bit full scale (also of limited-range alpha).
inline constexpr float kVideoBlack = 16.0f;
inline constexpr float kVideoLumaSpan = 219.0f;
inline constexpr float kVideoChromaZero = 128.0f;
inline constexpr float kVideoChromaSpan = 224.0f;
inline constexpr float kFullScale8 = 255.0f;

// ---------------------------------------------------------------------------
// Transfer curves.
// ---------------------------------------------------------------------------

// ITU-R BT.709 (also BT.601 / SMPTE 170M and BT.2020 10-bit):
// V = L < beta ? 4.5 L : alpha L^0.45 - (alpha - 1), and its inverse below the
// signal threshold 4.5 beta (rounded to 0.081). Thresholds, slope and affine
// parts are evaluated in double precision, the 0.45 power in single
// precision, the 1/0.45 power in double (xvYCC: in single, 2.2222223).
inline constexpr double kBT709Alpha = 1.099;
inline constexpr double kBT709Offset = 0.099;  // alpha - 1
inline constexpr double kBT709LinearThreshold = 0.018;  // beta
inline constexpr double kBT709SignalThreshold = 0.081;
inline constexpr double kBT709Slope = 4.5;
inline constexpr float kBT709OetfPower = 0.45f;
inline constexpr double kBT709EotfPower = 1.0 / 0.45;
inline constexpr float kBT709EotfPowerSingle = 2.2222223f;

// ITU-R BT.2020 12-bit system: alpha = 1.0993, beta = 0.0181, and the signal
// threshold 4.5 beta = 0.08145. Slope and powers as BT.709.
inline constexpr double kBT2020_12Alpha = 1.0993;
inline constexpr double kBT2020_12Offset = 0.0993;  // alpha - 1
inline constexpr double kBT2020_12LinearThreshold = 0.0181;
inline constexpr double kBT2020_12SignalThreshold = 0.08145;

// Pure power laws, single precision: gamma 2.2 and 2.8 (ITU-R BT.470), 1.8,
// and 2.6 (SMPTE RP 431-2, DCI-P3). The inverse exponents are the
// single-precision values of 1/2.2, 1/1.8 and 1/2.6.
inline constexpr float kGamma22 = 2.2f;
inline constexpr float kGamma22Inverse = 0.45454547f;
inline constexpr float kGamma18 = 1.8f;
inline constexpr float kGamma18Inverse = 0.5555556f;
inline constexpr float kGamma26 = 2.6f;
inline constexpr float kGamma26Inverse = 0.3846154f;

// IEC 61966-2-1 (sRGB), single precision: linear segment 12.92 below
// 0.0031308 (signal 0.04045), else 1.055 L^(1/2.4) - 0.055.
inline constexpr float kSRGBSignalThreshold = 0.04045f;
inline constexpr float kSRGBLinearThreshold = 0.0031308f;
inline constexpr float kSRGBSlope = 12.92f;
inline constexpr float kSRGBAlpha = 1.055f;
inline constexpr float kSRGBOffset = 0.055f;
inline constexpr float kSRGBPower = 2.4f;
inline constexpr float kSRGBInversePower = 0.41666666f;  // 1/2.4

// ARIB STD-B67 / ITU-R BT.2100 hybrid log-gamma, single precision.
// OETF: E > 1/12 ? a ln(12 E - b) + c : sqrt(3 E).
inline constexpr float kHlgA = 0.17883277f;
inline constexpr float kHlgB = 0.28466892f;  // 1 - 4a
inline constexpr float kHlgC = 0.55991073f;  // 0.5 - a ln(4a)
inline constexpr float kHlgLinearThreshold = 1.0f / 12.0f;
inline constexpr float kHlgSignalThreshold = 0.5f;
// ITU-R BT.2100 display model of the EOTF: nominal peak Lw = 203 cd/m2
// (ITU-R BT.2408 reference white), black Lb = 0.005 cd/m2, gain 1; system
// gamma 1.2 + 0.42 log10(Lw / 1000) and black lift sqrt(3 (Lb / Lw)^(1/gamma)).
// The scalar pipeline and the GPU programs take the gamma as this constant;
// the SIMD convertor evaluates the formula itself from the terms below, with
// its own vector log10, which lands a few last bits away.
inline constexpr float kHlgGamma = 0.90914834f;
inline constexpr float kHlgBeta = 0.0050586125f;
inline constexpr float kHlgGammaBase = 1.2f;
inline constexpr float kHlgGammaSlope = 0.42f;
inline constexpr float kHlgPeakOverReference = 203.0f / 1000.0f;  // Lw / 1000

// SMPTE ST 2084 (PQ), single precision: m1 = 2610/16384, m2 = 2523/4096 * 128,
// c1 = 3424/4096, c2 = 2413/4096 * 32, c3 = 2392/4096 * 32, and the
// single-precision values of 1/m2 and 1/m1 used by the EOTF.
inline constexpr float kPqM1 = 0.1593017578125f;
inline constexpr float kPqM2 = 78.84375f;
inline constexpr float kPqC1 = 0.8359375f;
inline constexpr float kPqC2 = 18.8515625f;
inline constexpr float kPqC3 = 18.6875f;
inline constexpr float kPqInverseM2 = 0.012683313f;
inline constexpr float kPqInverseM1 = 6.277395f;
// Levels of the library's PQ mapping (cd/m2 over the PQ reference 10000):
// decoded PQ is scaled by 20 towards SDR (500 cd/m2 = 1), by 10 towards HLG
// (1000 cd/m2 = 1), by 10000 / source peak towards PQ; linear light is
// scaled by 0.05 (SDR source) or 0.1 (HLG or PQ source) before PQ encoding.
inline constexpr double kPqReferencePeak = 10000.0;
inline constexpr double kPqRatioToSdr = 20.0;
inline constexpr double kPqRatioToHlg = 10.0;
inline constexpr float kPqScaleFromSdr = 0.05f;
inline constexpr float kPqScaleFromHdr = 0.1f;

// ---------------------------------------------------------------------------
// CIE L*a*b* (Lab conversion). Not used by the GPU programs.
// ---------------------------------------------------------------------------

// A 3x3 double-precision matrix, row-major like Matrix3.
struct Matrix3d {
    double m[3][3];
};

// Linear RGB to CIE XYZ (D65), rows X, Y, Z: the normalised primary matrices
// of ITU-R BT.2020, of SMPTE EG 432-1 (Display P3 primaries, D65 white) and
// of ITU-R BT.709 (= IEC 61966-2-1 sRGB primaries). Evaluated in double.
inline constexpr Matrix3d kBT2020ToXYZ{{{0.636958, 0.1446169, 0.168881},
                                        {0.2627002, 0.6779981, 0.0593017},
                                        {0, 0.0280727, 1.0609851}}};
inline constexpr Matrix3d kDisplayP3ToXYZ{{{0.4865709, 0.2656677, 0.1982173},
                                           {0.2289746, 0.6917385, 0.0792869},
                                           {0, 0.0451134, 1.0439444}}};
inline constexpr Matrix3d kSRGBToXYZ{{{0.4123908, 0.3575843, 0.1804808},
                                      {0.212639, 0.7151687, 0.0721923},
                                      {0.0193308, 0.1191948, 0.9505322}}};

// CIE 15 D65 reference white (Y normalised to 1).
inline constexpr float kD65WhiteX = 0.950456f;
inline constexpr float kD65WhiteZ = 1.088754f;
// CIE 1976 L*a*b*: threshold (6/29)^3 and the slope and offset of the linear
// segment below it, with the rounded constants of the classic formulation.
inline constexpr double kLabEpsilon = 0.008856;
inline constexpr float kLabSlope = 7.787f;
inline constexpr float kLabOffset = 16.0f / 116.0f;

}  // namespace KROCOLOR
