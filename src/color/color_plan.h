// The decisions of one colour conversion, taken once per frame by
// makeColorPlan from the two colour descriptions: what the samples of each
// side mean, which stages run, which matrices and curves they use and the PQ
// factors. The plan is plain data (enumerations, matrices by value, numbers)
// so that every convertor, scalar, SIMD or GPU, carries out the same plan;
// each maps the curve and stage identifiers to its own kernels.
#pragma once

#include <cstdint>

#include "core/frame.h"
#include "core/pixel_format_table.h"
#include "color/pixel.h"

namespace KROCOLOR {

// The colour description of one side of a conversion.
struct ColorSide {
    const FormatTraits* format;  // a host row of the format table
    int32_t range;               // full only for kColorRangeJpeg
    int32_t primaries;
    int32_t transfer;
    int32_t matrix;
};

// The colour description a frame carries.
inline ColorSide colorSideOf(const KROFrame& f) {
    return ColorSide{formatTraits(f.format), f.range, f.primaries, f.transfer, f.matrix};
}

// Equal in format, range, primaries, transfer and matrix: no colour work.
bool sameDescription(const ColorSide& a, const ColorSide& b);
inline bool sameDescription(const KROFrame& a, const KROFrame& b) {
    return sameDescription(colorSideOf(a), colorSideOf(b));
}

// How stored codes of one format and range map to the working pixel.
enum class SampleRule : uint8_t {
    None,        // not a colour format: reads as zeros, never written
    RGB,         // packed RGB(A) of any depth
    CMYK,        // 8-bit CMYK, read and written through RGB
    YUVLimited,  // Y 16..235, chroma 16..240, scaled by 2^(d-8)
    YUVFull,     // Y 0..2^d-1, chroma centred on 2^(d-1)
};

struct FormatRule {
    SampleRule kind;
    bool hasAlpha;  // alpha is stored (RGBA, YUVA)
    float maxCode;  // 2^d - 1: full scale and upper code limit
    float scale;    // 2^(d-8): limited-range step per 8-bit code
    float half;     // 2^(d-1): full-range chroma zero
};

// The rule of one format (a row of the format table, may be null) and range.
// Full range only for kColorRangeJpeg; every other range value is limited.
FormatRule formatRule(const FormatTraits* format, int32_t range);

// A YUV<->RGB stage: not run, one fixed matrix, or the BT.2020
// constant-luminance tables chosen per pixel by the signs of the colour
// differences.
enum class MatrixStage : uint8_t { None, Fixed, BT2020ConstantLuminance };

// The distinct transfer formulas. Decoding uses the EOTF of the curve,
// encoding its OETF. BT709 encodes with the clamp; BT709Unclamped is the
// same formula without it (BT.601, BT.2020 10-bit) and decodes as BT709.
enum class Curve : uint8_t {
    BT709,
    BT709Unclamped,
    BT2020_12,
    Gamma22,
    Gamma18,
    Gamma26,
    XvYCC,
    SRGB,
    HLG,  // decoding needs the three channels together
    PQ,   // decoding and encoding take the plan's PQ factors
};

// The generic curves of a KROColorTransfer value, as the one-stage
// functions eotf()/oetf() use them: 18 is HLG, and PQ (16) like every value
// without a curve of its own takes BT709. makeColorPlan adds PQ.
Curve genericEotfCurve(int32_t transfer);
Curve genericOetfCurve(int32_t transfer);

// Matrix stage and fixed table of a KROColorMatrix value (values without a
// rule of their own take BT.709). The fixed table of the BT.2020
// constant-luminance value is never used.
MatrixStage matrixStage(int32_t matrix);
const Matrix3& yuvToRgbTable(int32_t matrix);
const Matrix3& rgbToYuvTable(int32_t matrix);

// Linear-light primaries matrix for a pair; the identity for pairs without
// a table. Never null; the reference is to a constant.
const Matrix3& primariesMatrix(int32_t srcPrimaries, int32_t dstPrimaries);

// PQ decoding output factor: 10 towards HLG, 10000 / sourcePeak towards PQ
// (quotient in double), 20 towards every other transfer.
double pqEotfRatio(int32_t sourcePeak, int32_t dstTransfer);
// PQ encoding input factor: 0.1 from HLG or PQ sources, 0.05 otherwise.
float pqOetfScale(int32_t srcTransfer);

struct ColorPlan {
    FormatRule src;  // normalisation of the source codes
    FormatRule dst;  // quantisation of the destination codes
    // Stage 1: YUV -> RGB (R, G, B clamped, alpha 1).
    MatrixStage toRgb;
    Matrix3 yuvToRgb;
    // Stages 2-4, run together or not at all: decode, primaries, encode.
    bool linearStages;
    Curve decode;
    Matrix3 primaries;
    Curve encode;
    // Stage 5: RGB -> YUV (Y and chroma clamped, alpha 1).
    MatrixStage toYuv;
    Matrix3 rgbToYuv;
    // PQ factors: the decoding ratio with the quotient 10000 / peak formed
    // in double (scalar convertor) and in single precision (vector and GPU
    // convertors), and the encoding scale.
    double pqRatio;
    float pqRatioSingle;
    float pqScale;
    int32_t sourcePeak;  // cd/m2
};

// The plan of converting src to dst. sourcePeak is in cd/m2 (default 10000)
// and matters only when both transfers are PQ. Identical descriptions give a
// plan with no stages (codes are normalised and quantised again).
ColorPlan makeColorPlan(const ColorSide& src, const ColorSide& dst, int32_t sourcePeak);

}  // namespace KROCOLOR
