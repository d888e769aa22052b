// Planning and running a conversion between two profiles: source layout and
// alpha, source profile to the connection space (XYZ D50), connection space
// to the destination profile, clamping, destination alpha and layout.
#include "icc/icc_transform.h"

#include <cstring>
#include <new>

#include "icc/icc_curves.h"
#include "icc/icc_engine.h"
#include "icc/icc_stages.h"

namespace KROCOLOR {
namespace icc {

// The byte count of a run must stay below 2^31 (no 64-bit overflow on the way).
bool runFits(size_t count, uint64_t bytesPerPixel) {
    constexpr uint64_t kLimit = uint64_t(1) << 31;
    return uint64_t(count) <= (kLimit - 1) / bytesPerPixel;
}

namespace {


bool sameCurve(const ICCCurve& x, const ICCCurve& y) {
    if (x.tableEntries != y.tableEntries || x.table8 != y.table8 || x.table16 != y.table16) return false;
    const ICCTransferFunction &a = x.parametric, &b = y.parametric;
    return a.g == b.g && a.a == b.a && a.b == b.b && a.c == b.c && a.d == b.d && a.e == b.e && a.f == b.f;
}

bool isUnitMatrix(const float m[3][4]) {
    for (int r = 0; r < 3; ++r)
        for (int c = 0; c < 4; ++c)
            if (m[r][c] != (r == c ? 1.0f : 0.0f)) return false;
    return true;
}

void widen(const float m[3][3], float out[3][4]) {
    for (int r = 0; r < 3; ++r) {
        for (int c = 0; c < 3; ++c) out[r][c] = m[r][c];
        out[r][3] = 0.0f;
    }
}

}  // namespace

StageData& ICCTransform::addStage(StageFn fn) {
    stages_.emplace_back(new StageData());
    stages_.back()->fn = fn;
    return *stages_.back();
}

StageData& ICCTransform::addClamp(int channels) {
    StageData& s = addStage(fast_ ? vector_.clamp : stageClamp);
    s.channels = channels;
    return s;
}

void ICCTransform::addCurves(const ICCCurve* curves, int channels) {
    bool parametric = true;
    for (int i = 0; i < channels; ++i) parametric = parametric && curves[i].tableEntries == 0;
    StageData& s = addStage(!parametric ? stageCurves : fast_ ? vector_.transferFunctions : stageTransferFunctions);
    s.channels = channels;
    for (int i = 0; i < channels; ++i) s.curves[i] = curves[i];
}

void ICCTransform::addMatrix(const float m[3][4]) {
    StageData& s = addStage(fast_ ? vector_.matrix : stageMatrix);
    std::memcpy(s.matrix, m, sizeof s.matrix);
}

// table[code] = the curve at code * scale, for every code; transfer
// functions go through the vectorised stage a block at a time.
void ICCTransform::tabulateCurve(const ICCCurve& curve, float scale, std::vector<float>& table) const {
    const uint32_t codes = static_cast<uint32_t>(table.size());
    if (curve.tableEntries != 0) {
        for (uint32_t code = 0; code < codes; ++code) table[code] = evalCurve(curve, static_cast<float>(code) * scale);
        return;
    }
    StageData d;
    d.channels = 1;
    d.curves[0] = curve;
    PixelBlock block;
    for (uint32_t first = 0; first < codes; first += kBlockPixels) {
        const int n = static_cast<int>(codes - first < uint32_t(kBlockPixels) ? codes - first : kBlockPixels);
        for (int i = 0; i < n; ++i) block.c[0][i] = static_cast<float>(first + uint32_t(i)) * scale;
        vector_.transferFunctions(d, block, n);
        std::memcpy(&table[first], block.c[0], sizeof(float) * static_cast<size_t>(n));
    }
}

// Loading and source alpha. When the first colour stage is three curves
// applied straight to the loaded samples, they are evaluated once per input
// code instead of once per pixel (the same values, computed in advance).
bool ICCTransform::addSourceStages(const ICCProfile& src, ICCAlphaFormat srcAlpha, size_t expectedPixels) {
    const bool cmyk = src.dataColorSpace == kICCSigCMYK;
    const ICCCurve* firstCurves = nullptr;
    if (!src.hasA2B)
        firstCurves = src.trc;
    else if (src.A2B.inputChannels == 3)
        firstCurves = src.A2B.inputCurves;
    const bool wide = srcLayout_.bytesPerSample == 2;
    const bool worthIt = !wide || expectedPixels >= 4 * 65536;
    const bool tabulate = fast_ && firstCurves && !cmyk && srcAlpha != kICCAlphaPremultiplied && worthIt;

    load_ = selectLoader(srcLayout_, tabulate);
    if (tabulate) {
        const uint32_t codes = wide ? 65536 : 256;
        const float scale = wide ? 1.0f / 65535.0f : 1.0f / 255.0f;
        for (int ch = 0; ch < 3; ++ch) {
            int shared = -1;
            for (int k = 0; k < ch; ++k)
                if (sameCurve(firstCurves[k], firstCurves[ch])) shared = k;
            if (shared >= 0) {
                loadData_.tables[ch] = loadData_.tables[shared];
                continue;
            }
            curveTables_.emplace_back(codes);
            tabulateCurve(firstCurves[ch], scale, curveTables_.back());
            loadData_.tables[ch] = curveTables_.back().data();
        }
    }
    fusedFirstCurves_ = tabulate;

    if (cmyk)
        addStage(stageInvert);  // CMYK data is stored inverted; alpha is not applied
    else if (srcAlpha == kICCAlphaOpaque)
        addStage(stageAlphaOne);
    else if (srcAlpha == kICCAlphaPremultiplied)
        addStage(stageUnpremultiply);
    return true;
}

bool ICCTransform::addColorStages(const ICCProfile& src, const ICCProfile& dst) {
    // A destination without B2A is reached through its inverted matrix and curves.
    float dstInverse[3][3];
    ICCCurve inverseTRC[3];
    if (!dst.hasB2A) {
        if (!dst.hasTRC || !dst.hasToXYZD50) return false;
        if (!invertMatrix3x3(dst.toXYZD50, dstInverse)) return false;
        for (int i = 0; i < 3; ++i) {
            const ICCCurve& curve = dst.trc[i];
            if (curve.tableEntries == 0) {
                inverseTRC[i] = ICCCurve{};
                if (!invertTransferFunction(curve.parametric, &inverseTRC[i].parametric)) return false;
            } else {
                invertedTables_.emplace_back();
                invertTableCurve(curve, invertedTables_.back(), &inverseTRC[i]);
            }
        }
    }

    // Source to the connection space.
    if (src.hasA2B) {
        const ICCLut& a2b = src.A2B;
        if (a2b.inputChannels > 0) {
            if (!fusedFirstCurves_) addCurves(a2b.inputCurves, static_cast<int>(a2b.inputChannels));
            addClamp(static_cast<int>(a2b.inputChannels));
            StageData& s = addStage(stageClut);
            s.lut = &a2b;
            s.channels = static_cast<int>(a2b.inputChannels);
            s.outputs = 3;
        }
        if (a2b.matrixChannels == 3) {
            addCurves(a2b.matrixCurves, 3);
            if (!isUnitMatrix(a2b.matrix)) addMatrix(a2b.matrix);
        }
        if (a2b.outputChannels == 3) addCurves(a2b.outputCurves, 3);
        if (src.pcs == kICCSigLab) addStage(stageLabToXYZ);
    } else if (!fusedFirstCurves_) {
        addCurves(src.trc, 3);
    }

    // Connection space to the destination.
    if (dst.hasB2A) {
        const ICCLut& b2a = dst.B2A;
        if (!src.hasA2B) {
            float m[3][4];
            widen(src.toXYZD50, m);
            addMatrix(m);
        }
        if (dst.pcs == kICCSigLab) addStage(stageXYZToLab);
        addCurves(b2a.inputCurves, 3);
        if (b2a.matrixChannels == 3) {
            if (!isUnitMatrix(b2a.matrix)) addMatrix(b2a.matrix);
            addCurves(b2a.matrixCurves, 3);
        }
        if (b2a.outputChannels > 0) {
            addClamp(3);
            StageData& s = addStage(stageClut);
            s.lut = &b2a;
            s.channels = 3;
            s.outputs = static_cast<int>(b2a.outputChannels);
            addCurves(b2a.outputCurves, static_cast<int>(b2a.outputChannels));
        }
    } else {
        static const float kUnit[3][3] = {{1, 0, 0}, {0, 1, 0}, {0, 0, 1}};
        const float(*srcMatrix)[3] = src.hasA2B ? kUnit : src.toXYZD50;
        if (std::memcmp(srcMatrix, dst.toXYZD50, sizeof(float) * 9) != 0) {
            float m[3][4];
            for (int r = 0; r < 3; ++r) {
                for (int c = 0; c < 3; ++c)
                    m[r][c] = dstInverse[r][0] * srcMatrix[0][c] + dstInverse[r][1] * srcMatrix[1][c] +
                              dstInverse[r][2] * srcMatrix[2][c];
                m[r][3] = 0.0f;
            }
            addMatrix(m);
        }
        addCurves(inverseTRC, 3);
    }
    return true;
}

void ICCTransform::addDestinationStages(const ICCProfile& dst, ICCAlphaFormat dstAlpha) {
    // Every destination layout is integer, so values are clamped to [0, 1].
    // The storers clamp as they quantise, so the fast plan skips the stage
    // when nothing between it and the store depends on the clamped colour.
    const bool cmyk = dst.dataColorSpace == kICCSigCMYK;
    if (!fast_ || cmyk || dstAlpha == kICCAlphaPremultiplied) addClamp(4);
    if (cmyk)
        addStage(stageInvert);
    else if (dstAlpha == kICCAlphaOpaque)
        addStage(stageAlphaOne);
    else if (dstAlpha == kICCAlphaPremultiplied)
        addStage(stagePremultiply);
    store_ = selectStorer(dstLayout_, fast_);
    quantise_ = vector_.quantise;
}

bool ICCTransform::build(ICCPixelFormat srcFormat, ICCAlphaFormat srcAlpha, const ICCProfile* srcProfile,
                         ICCPixelFormat dstFormat, ICCAlphaFormat dstAlpha, const ICCProfile* dstProfile,
                         size_t expectedPixels, ICCPlanKind kind) {
    built_ = false;
    fast_ = kind != ICCPlanKind::kPlain;
    vector_ = vectorStages(kind != ICCPlanKind::kFastFourLanes);
    stages_.clear();
    invertedTables_.clear();
    curveTables_.clear();
    loadData_ = StageData();
    fusedFirstCurves_ = false;
    if (!describeLayout(srcFormat, &srcLayout_) || !describeLayout(dstFormat, &dstLayout_)) return false;
    const ICCProfile& src = srcProfile ? *srcProfile : kICCsRGBProfile;
    const ICCProfile& dst = dstProfile ? *dstProfile : kICCsRGBProfile;
    const bool sameProfile = &src == &dst;

    if (sameProfile) {
        // Nothing to convert: no colour stage, so no curve is tabulated.
        load_ = selectLoader(srcLayout_, false);
        if (src.dataColorSpace == kICCSigCMYK)
            addStage(stageInvert);
        else if (srcAlpha == kICCAlphaOpaque)
            addStage(stageAlphaOne);
        else if (srcAlpha == kICCAlphaPremultiplied)
            addStage(stageUnpremultiply);
    } else {
        if (!addSourceStages(src, srcAlpha, expectedPixels)) return false;
        if (!addColorStages(src, dst)) return false;
    }
    addDestinationStages(dst, dstAlpha);
    built_ = load_ && store_;
    return built_;
}

bool ICCTransform::run(const void* src, void* dst, size_t count) const {
    if (!built_ || !src || !dst) return false;
    const uint64_t srcBpp = static_cast<uint64_t>(srcLayout_.bytesPerPixel());
    const uint64_t dstBpp = static_cast<uint64_t>(dstLayout_.bytesPerPixel());
    if (!runFits(count, srcBpp) || !runFits(count, dstBpp)) return false;
    if (src == dst && srcBpp != dstBpp) return false;
    const uint8_t* in = static_cast<const uint8_t*>(src);
    uint8_t* out = static_cast<uint8_t*>(dst);
    PixelBlock block;
    for (size_t done = 0; done < count; done += kBlockPixels) {
        const int n = static_cast<int>(count - done < size_t(kBlockPixels) ? count - done : size_t(kBlockPixels));
        load_(in + done * srcBpp, block, n, loadData_);
        for (const auto& stage : stages_) stage->fn(*stage, block, n);
        store_(block, out + done * dstBpp, n, quantise_);
    }
    return true;
}

}  // namespace icc

bool transformICC(const void* src, ICCPixelFormat srcFormat, ICCAlphaFormat srcAlpha, const ICCProfile* srcProfile,
                  void* dst, ICCPixelFormat dstFormat, ICCAlphaFormat dstAlpha, const ICCProfile* dstProfile,
                  size_t count) {
    icc::PixelLayout srcLayout, dstLayout;
    if (!icc::describeLayout(srcFormat, &srcLayout) || !icc::describeLayout(dstFormat, &dstLayout)) return false;
    if (!icc::runFits(count, static_cast<uint64_t>(srcLayout.bytesPerPixel())) ||
        !icc::runFits(count, static_cast<uint64_t>(dstLayout.bytesPerPixel())))
        return false;
    if (src == dst && srcLayout.bytesPerPixel() != dstLayout.bytesPerPixel()) return false;
    try {
        icc::ICCTransform plan;
        if (!plan.build(srcFormat, srcAlpha, srcProfile, dstFormat, dstAlpha, dstProfile, count)) return false;
        return plan.run(src, dst, count);
    } catch (const std::bad_alloc&) {
        return false;
    }
}

}  // namespace KROCOLOR
