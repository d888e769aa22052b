// The constant 3x3 tables of the colour pipeline: YUV<->RGB matrices and the
// linear-light primaries matrices. One definition each, constexpr so every
// backend (and any generated GPU constant block) can read the same numbers.
// The values are the library's own rounded coefficients and are used exactly
// as written, including rows that do not sum to 1.
#pragma once

#include <cstdint>

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

inline constexpr Matrix3 kIdentity{{{1.0f, 0.0f, 0.0f}, {0.0f, 1.0f, 0.0f}, {0.0f, 0.0f, 1.0f}}};

inline constexpr Matrix3 kBT2020ToBT709{{{1.6605f, -0.5876f, -0.0728f},
                                         {-0.1246f, 1.1329f, -0.0083f},
                                         {-0.0182f, -0.1006f, 1.1187f}}};
inline constexpr Matrix3 kBT2020ToBT601{{{1.5852f, -0.5151f, -0.0701f},
                                         {-0.1246f, 1.1329f, -0.0083f},
                                         {-0.0169f, -0.1153f, 1.1322f}}};
inline constexpr Matrix3 kBT601ToBT709{{{1.044f, -0.044f, 0.0f},
                                        {0.0f, 1.0f, 0.0f},
                                        {0.0f, 0.0118f, 0.9882f}}};
inline constexpr Matrix3 kBT601ToBT2020{{{0.665f, 0.3021f, 0.0428f},
                                         {0.07214f, 0.9166f, 0.0112f},
                                         {0.0171f, 0.0979f, 0.885f}}};
inline constexpr Matrix3 kBT709ToBT601{{{0.9578f, 0.0422f, 0.0f},
                                        {0.0f, 1.0f, 0.0f},
                                        {0.0f, -0.0119f, 1.0119f}}};
inline constexpr Matrix3 kBT709ToBT2020{{{0.6274f, 0.3293f, 0.0433f},
                                         {0.0691f, 0.9195f, 0.0114f},
                                         {0.0164f, 0.088f, 0.8956f}}};
inline constexpr Matrix3 kBT2020ToBT601_525{{{1.7761f, -0.6878f, -0.0883f},
                                             {-0.1614f, 1.1873f, -0.0259f},
                                             {-0.0159f, -0.0959f, 1.1118f}}};
inline constexpr Matrix3 kBT709ToBT601_525{{{1.0654f, -0.0554f, -0.001f},
                                            {-0.02f, 1.0364f, -0.0167f},
                                            {0.0016f, 0.0044f, 0.994f}}};
inline constexpr Matrix3 kBT601_525toBT709{{{0.9395f, 0.0502f, 0.0103f},
                                            {0.0178f, 0.9658f, 0.0164f},
                                            {-0.0016f, -0.0044f, 1.006f}}};
inline constexpr Matrix3 kBT601_525toBT2020{{{0.5953f, 0.3493f, 0.05543f},
                                             {0.0812f, 0.8915f, 0.0273f},
                                             {0.0155f, 0.0819f, 0.9026f}}};
inline constexpr Matrix3 kDisplayP3toBT601{{{1.3076f, -0.2966f, -0.011f},
                                            {-0.0673f, 1.0857f, -0.0184f},
                                            {-0.0018f, -0.0739f, 1.0916f}}};
inline constexpr Matrix3 kDisplayP3toBT709{{{1.2249f, -0.2249f, 0.0f},
                                            {-0.0421f, 1.0421f, 0.0f},
                                            {-0.0196f, -0.0786f, 1.0983f}}};
inline constexpr Matrix3 kDisplayP3toBT2020{{{0.7538f, 0.1986f, 0.0476f},
                                             {0.0457f, 0.9418f, 0.0125f},
                                             {-0.0012f, 0.0176f, 0.9836f}}};
inline constexpr Matrix3 kBT601toDisplayP3{{{0.8569f, 0.1413f, 0.0f},
                                            {0.0347f, 0.9653f, 0.0f},
                                            {0.0178f, 0.0824f, 0.8998f}}};
inline constexpr Matrix3 kBT709toDisplayP3{{{0.8225f, 0.1775f, 0.0f},
                                            {0.0332f, 0.9668f, 0.0f},
                                            {0.0171f, 0.0724f, 0.9105f}}};
inline constexpr Matrix3 kBT2020toDisplayP3{{{1.3436f, -0.2822f, -0.0614f},
                                             {-0.0653f, 1.0758f, -0.0105f},
                                             {0.0028f, -0.0196f, 1.0168f}}};
inline constexpr Matrix3 kDisplayP3toBT601_525{{{1.2686f, 0.1464f, 0.6012f},
                                                {-0.2484f, 0.9172f, -0.3663f},
                                                {-0.222f, -0.0494f, 1.025f}}};
inline constexpr Matrix3 kBT601_525toDisplayP3{{{0.776f, 0.2127f, 0.0114f},
                                                {0.0484f, 0.9354f, 0.0162f},
                                                {0.0159f, 0.0668f, 0.9173f}}};
inline constexpr Matrix3 kDCIP3toBT601{{{1.0719f, -0.179f, 0.0f},
                                        {-0.0385f, 1.0871f, 0.0f},
                                        {-0.0177f, -0.0959f, 0.966f}}};
inline constexpr Matrix3 kDCIP3toBT601_525{{{1.1964f, -0.3095f, -0.0095f},
                                            {-0.0616f, 1.1326f, -0.016f},
                                            {-0.0162f, -0.0771f, 0.9489f}}};
inline constexpr Matrix3 kDCIP3toBT709{{{1.1208f, -0.2348f, 0.0f},
                                        {-0.0385f, 1.0871f, 0.0f},
                                        {-0.018f, -0.082f, 0.9546f}}};
inline constexpr Matrix3 kDCIP3toBT2020{{{0.6897f, 0.2071f, 0.0414f},
                                         {0.0418f, 0.9825f, 0.0108f},
                                         {-0.0011f, 0.0184f, 0.855f}}};
inline constexpr Matrix3 kDCIP3toDisplayP3{{{0.915f, 0.0001f, 0.0f},
                                            {0.0f, 1.0432f, 0.0f},
                                            {0.0f, 0.0f, 0.8692f}}};
inline constexpr Matrix3 kBT601toDCIP3{{{0.9385f, 0.1545f, 0.0f},
                                        {0.0332f, 0.9254f, 0.0f},
                                        {0.0205f, 0.0948f, 1.0352f}}};
inline constexpr Matrix3 kBT601_525toDCIP3{{{0.8481f, 0.2325f, 0.0124f},
                                            {0.0463f, 0.8967f, 0.0155f},
                                            {0.0182f, 0.0769f, 1.0554f}}};
inline constexpr Matrix3 kBT709toDCIP3{{{0.899f, 0.194f, 0.0f},
                                        {0.0318f, 0.9268f, 0.0f},
                                        {0.0196f, 0.0833f, 1.0476f}}};
inline constexpr Matrix3 kBT2020toDCIP3{{{1.4685f, 0.3084f, -0.0671f},
                                         {-0.0626f, 1.0312f, -0.0101f},
                                         {0.0032f, -0.0225f, 1.1698f}}};
inline constexpr Matrix3 kDisplayP3toDCIP3{{{1.093f, 0.0f, 0.0f},
                                            {0.0f, 0.9586f, 0.0f},
                                            {0.0f, 0.0f, 1.1505f}}};
inline constexpr Matrix3 kAdobeRGBtoBT709{{{1.3984f, -0.3984f, 0.0f},
                                           {0.0f, 1.0f, 0.0f},
                                           {0.0f, -0.0429f, 1.0429f}}};
inline constexpr Matrix3 kProPhototoBT709{{{2.0341f, -0.7273f, -0.3067f},
                                           {-0.2288f, 1.2317f, -0.0029f},
                                           {-0.0086f, -0.1533f, 1.1619f}}};
inline constexpr Matrix3 kBT709toProPhoto{{{0.5294f, 0.3301f, 0.1406f},
                                           {0.0984f, 0.8735f, 0.0282f},
                                           {0.0169f, 0.1177f, 0.8654f}}};

// ---------------------------------------------------------------------------
// Lookups by KROColor* enumeration value. Values without a rule of their own
// take the defaults (BT.709 matrices, identity primaries); never null.
// ---------------------------------------------------------------------------

// How a KROColorMatrix value converts between YUV and RGB.
enum class YuvMatrixKind : uint8_t { Fixed, BT2020ConstantLuminance };

YuvMatrixKind yuvMatrixKind(int32_t matrix);
// The fixed YUV->RGB / RGB->YUV table of a matrix value (the BT.2020
// constant-luminance value, whose table depends on the pixel, is never asked).
const Matrix3& yuvToRgbTable(int32_t matrix);
const Matrix3& rgbToYuvTable(int32_t matrix);

}  // namespace KROCOLOR
