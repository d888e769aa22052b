// Choosing and running the fixed-point rows: the integer coefficients are
// derived here, in double precision, from the plan's own matrix, and each
// worker takes a contiguous band of rows.
#include "cpu/xsimd/fixed_point_rows.h"

#include <cmath>
#include <cstdlib>

#include "KROColorFunctions.h"
#include "color/color_constants.h"
#include "color/row_isa.h"
#include "core/pixel_format_table.h"
#include "cpu/cpu_task.h"

namespace KROCOLOR {
namespace fixedpoint {

namespace {

bool isYuv420(int32_t f) {
    return f == kKRONV12Format || f == kKROYUV420PFormat || f == kKRONV1210LEFormat || f == kKROYUV420P10LEFormat;
}
bool isRgba4x8(int32_t f) { return f == kKRORGBA8888Format || f == kKROBGRA8888Format; }

// value * 2^bits rounded, or false when it does not fit a 16-bit lane.
bool toFixed(double value, int16_t& out, int bits = kFractionBits) {
    const double scaled = std::nearbyint(value * (1 << bits));
    if (!(scaled >= -32768.0 && scaled <= 32767.0)) return false;
    out = static_cast<int16_t>(scaled);
    return true;
}

// The codes of one YUV side: video levels scaled by 2^(d-8), or full range.
struct Levels {
    bool full;
    int maxCode;                  // 255 or 1023
    int yOffset, yHigh;           // Y codes of 0 and 1
    int chromaZero, chromaHalf;   // chroma code of 0, codes from 0 to +-0.5
    double lumaSpan, chromaSpan;  // codes per unit of Y and of U, V
};

Levels levelsOf(const FormatRule& r) {
    const int maxCode = static_cast<int>(r.maxCode), s = static_cast<int>(r.scale), half = static_cast<int>(r.half);
    if (r.kind == SampleRule::YUVFull) return {true, maxCode, 0, maxCode, half, half, r.maxCode, r.maxCode};
    const int black = static_cast<int>(kVideoBlack) * s, luma = static_cast<int>(kVideoLumaSpan) * s;
    const int zero = static_cast<int>(kVideoChromaZero) * s, chroma = static_cast<int>(kVideoChromaSpan) * s;
    return {false, maxCode, black, black + luma, zero, chroma / 2, double(luma), double(chroma)};
}

// Normalisation clamps Y to 0..1 and chroma to -0.5..0.5. At full range the
// chroma lower limit lies half a code above code 0, so full-range chroma is
// taken in half codes (shift 1) to keep that limit exact.
bool planToRgb(const ColorPlan& c, const uint8_t* order, FixedPointPlan& p) {
    const Levels l = levelsOf(c.src);
    p.yOffset = static_cast<int16_t>(l.yOffset);
    p.yMax = static_cast<int16_t>(l.yHigh - l.yOffset);
    p.chromaShift = l.full ? 1 : 0;
    p.chromaOffset = static_cast<int16_t>(l.chromaZero << p.chromaShift);
    p.chromaLo = static_cast<int16_t>(l.full ? -l.maxCode : -l.chromaHalf);
    p.chromaHi = static_cast<int16_t>(l.full ? l.maxCode - 1 : l.chromaHalf);
    const double perY = kFullScale8 / l.lumaSpan, perC = kFullScale8 / (l.chromaSpan * (1 << p.chromaShift));
    for (int k = 0; k < 3; ++k) {
        const int at = order[k];
        if (!toFixed(c.yuvToRgb.m[k][0] * perY, p.fromY[at]) || !toFixed(c.yuvToRgb.m[k][1] * perC, p.fromU[at]) ||
            !toFixed(c.yuvToRgb.m[k][2] * perC, p.fromV[at]))
            return false;
        if (l.maxCode != 255) continue;
        // 8-bit samples take the 16-bit form, whose sums must fit the lanes.
        constexpr int lumaBits = kNarrowBits + 16 - kNarrowLumaUp, chromaBits = kNarrowBits + 16 - kNarrowChromaUp;
        const double perCode = kFullScale8 / l.chromaSpan;
        if (!toFixed(c.yuvToRgb.m[k][0] * perY, p.narrowY[at], lumaBits) ||
            !toFixed(c.yuvToRgb.m[k][1] * perCode, p.narrowU[at], chromaBits) ||
            !toFixed(c.yuvToRgb.m[k][2] * perCode, p.narrowV[at], chromaBits))
            return false;
        const double lanes = (std::abs(p.narrowY[at]) * double(p.yMax) * (1 << kNarrowLumaUp) +
                              (std::abs(p.narrowU[at]) + std::abs(p.narrowV[at])) * double(l.chromaHalf) *
                                  (1 << kNarrowChromaUp)) / 65536.0;
        if (lanes + kNarrowRound > 32767.0) return false;
    }
    return true;
}

// Quantisation rounds half up and limits Y to 0..1 and chroma to -0.5..0.5;
// at full range chroma -0.5 lands half a code above 0 and is stored as 1.
bool planToYuv(const ColorPlan& c, const uint8_t* order, FixedPointPlan& p) {
    const Levels l = levelsOf(c.dst);
    const double span[3] = {l.lumaSpan, l.chromaSpan, l.chromaSpan};
    const int zero[3] = {l.yOffset, l.chromaZero, l.chromaZero};
    // 8-bit codes leave room for two more fractional bits than 10-bit ones.
    p.toYuvBits = static_cast<int16_t>(l.maxCode == 255 ? kFractionBits + 2 : kFractionBits);
    for (int j = 0; j < 3; ++j) {
        for (int k = 0; k < 3; ++k)
            if (!toFixed(c.rgbToYuv.m[j][k] * span[j] / kFullScale8, p.toYuv[j][order[k]], p.toYuvBits)) return false;
        p.bias[j] = (zero[j] << p.toYuvBits) + (1 << (p.toYuvBits - 1));
    }
    p.lo[0] = static_cast<int16_t>(l.yOffset);
    p.hi[0] = static_cast<int16_t>(l.yHigh);
    p.lo[1] = p.lo[2] = static_cast<int16_t>(l.full ? 1 : l.chromaZero - l.chromaHalf);
    p.hi[1] = p.hi[2] = static_cast<int16_t>(l.full ? l.maxCode : l.chromaZero + l.chromaHalf);
    return true;
}

}  // namespace

bool makeFixedPointPlan(const ColorPlan& colour, int32_t srcFormat, int32_t dstFormat, FixedPointPlan& plan) {
    if (colour.linearStages) return false;
    const bool toRgb = colour.toRgb == MatrixStage::Fixed && colour.toYuv == MatrixStage::None &&
                       isYuv420(srcFormat) && isRgba4x8(dstFormat);
    const bool toYuv = colour.toRgb == MatrixStage::None && colour.toYuv == MatrixStage::Fixed &&
                       isRgba4x8(srcFormat) && isYuv420(dstFormat);
    if (!toRgb && !toYuv) return false;
    plan = FixedPointPlan{};
    const uint8_t* order = formatTraits(toRgb ? dstFormat : srcFormat)->order;
    if (toRgb ? !planToRgb(colour, order, plan) : !planToYuv(colour, order, plan)) return false;
    const int32_t yuvFormat = toRgb ? srcFormat : dstFormat;
    plan.row = rowIsa() == RowIsa::AVX2 ? fixedRowAvx2(yuvFormat, toRgb) : fixedRowSse2(yuvFormat, toRgb);
    return true;
}

}  // namespace fixedpoint

bool fixedPointColorPass(const ColorPlan& colour, const KROFrame& src, KROFrame& dst, bool threaded) {
    fixedpoint::FixedPointPlan plan;
    if (!fixedpoint::makeFixedPointPlan(colour, src.format, dst.format, plan)) return false;
    const int height = dst.height;
    if (!threaded) {
        for (int y = 0; y < height; ++y) plan.row(plan, src, dst, y);
        return true;
    }
    // Contiguous bands rather than interleaved rows: a worker then reads each
    // 4:2:0 chroma row once for both luma rows that share it.
    CPUTask pool(kDefaultThreadCount);
    pool.runSlices([&](int slot, int slots) {
        const int first = static_cast<int>(int64_t{height} * slot / slots);
        const int end = static_cast<int>(int64_t{height} * (slot + 1) / slots);
        for (int y = first; y < end; ++y) plan.row(plan, src, dst, y);
        return true;
    });
    pool.join();
    return true;
}

}  // namespace KROCOLOR
