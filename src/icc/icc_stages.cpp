#include "icc/icc_stages.h"

#include <cmath>

#include "icc/icc_curves.h"

namespace KROCOLOR {
namespace icc {

void stageCurves(const StageData& d, PixelBlock& b, int n) {
    for (int ch = 0; ch < d.channels; ++ch) {
        const ICCCurve& curve = d.curves[ch];
        float* v = b.c[ch];
        for (int i = 0; i < n; ++i) v[i] = evalCurve(curve, v[i]);
    }
}

void stageTransferFunctions(const StageData& d, PixelBlock& b, int n) {
    for (int ch = 0; ch < d.channels; ++ch) {
        const ICCTransferFunction tf = d.curves[ch].parametric;
        float* v = b.c[ch];
        for (int i = 0; i < n; ++i) v[i] = evalTransferFunction(tf, v[i]);
    }
}

void stageClamp(const StageData& d, PixelBlock& b, int n) {
    for (int ch = 0; ch < d.channels; ++ch) {
        float* v = b.c[ch];
        for (int i = 0; i < n; ++i) v[i] = clampUnit(v[i]);
    }
}

void stageMatrix(const StageData& d, PixelBlock& b, int n) {
    const float(*m)[4] = d.matrix;
    float* r = b.c[0];
    float* g = b.c[1];
    float* bl = b.c[2];
    for (int i = 0; i < n; ++i) applyMatrix(m, r[i], g[i], bl[i]);
}

namespace {

template <bool Wide>
inline float gridEntry(const uint8_t* grid, size_t index) {
    if (Wide) {
        const uint8_t* p = grid + 2 * index;
        return static_cast<float>((p[0] << 8) | p[1]) * (1.0f / 65535.0f);
    }
    return grid[index] * (1.0f / 255.0f);
}

// Multilinear interpolation over 1 to 4 inputs: the weighted sum of the
// table entries at the 2^inputs corners of the grid cell holding the input.
template <bool Wide>
void clut(const StageData& d, PixelBlock& b, int n) {
    const ICCLut& lut = *d.lut;
    const int inputs = d.channels, outputs = d.outputs;
    const uint8_t* grid = Wide ? lut.grid16 : lut.grid8;
    // Stride of each input, in entries; the first input varies slowest.
    size_t stride[4] = {0, 0, 0, 0};
    size_t s = static_cast<size_t>(outputs);
    for (int k = inputs - 1; k >= 0; --k) {
        stride[k] = s;
        s *= lut.gridPoints[k];
    }
    for (int i = 0; i < n; ++i) {
        size_t lo[4], hi[4];
        float t[4];
        for (int k = 0; k < inputs; ++k) {
            const float x = b.c[k][i] * static_cast<float>(lut.gridPoints[k] - 1);
            const float fl = std::floor(x);
            t[k] = x - fl;
            const size_t idx = static_cast<size_t>(fl);
            lo[k] = idx * stride[k];
            hi[k] = (t[k] > 0.0f ? idx + 1 : idx) * stride[k];
        }
        float out[4] = {0.0f, 0.0f, 0.0f, 0.0f};
        for (int corner = 0; corner < (1 << inputs); ++corner) {
            float w = 1.0f;
            size_t offset = 0;
            for (int k = 0; k < inputs; ++k) {
                if (corner & (1 << (inputs - 1 - k))) {
                    w *= t[k];
                    offset += hi[k];
                } else {
                    w *= 1.0f - t[k];
                    offset += lo[k];
                }
            }
            for (int o = 0; o < outputs; ++o) out[o] += w * gridEntry<Wide>(grid, offset + o);
        }
        for (int o = 0; o < outputs; ++o) b.c[o][i] = out[o];
        if (inputs == 4 && outputs == 3) b.c[3][i] = 1.0f;  // K consumed: alpha is opaque
    }
}

// CIE 1976 L*a*b* with the ICC D50 white (ICC.1 Annex A).
constexpr float kWhite[3] = {0.9642f, 1.0f, 0.8249f};
constexpr float kEpsilon = 216.0f / 24389.0f;
constexpr float kKappa = 24389.0f / 27.0f;

inline float labFInverse(float t) {
    const float t3 = t * t * t;
    return t3 > kEpsilon ? t3 : (116.0f * t - 16.0f) / kKappa;
}

inline float labF(float t) { return t > kEpsilon ? std::cbrt(t) : (kKappa * t + 16.0f) / 116.0f; }

}  // namespace

void stageClut(const StageData& d, PixelBlock& b, int n) {
    if (d.lut->grid16)
        clut<true>(d, b, n);
    else
        clut<false>(d, b, n);
}

// PCS Lab is encoded L/100, (a + 128)/255, (b + 128)/255.
void stageLabToXYZ(const StageData&, PixelBlock& b, int n) {
    for (int i = 0; i < n; ++i) {
        const float L = b.c[0][i] * 100.0f;
        const float A = b.c[1][i] * 255.0f - 128.0f;
        const float B = b.c[2][i] * 255.0f - 128.0f;
        const float fy = (L + 16.0f) / 116.0f;
        const float fx = fy + A / 500.0f;
        const float fz = fy - B / 200.0f;
        b.c[0][i] = labFInverse(fx) * kWhite[0];
        b.c[1][i] = labFInverse(fy) * kWhite[1];
        b.c[2][i] = labFInverse(fz) * kWhite[2];
    }
}

void stageXYZToLab(const StageData&, PixelBlock& b, int n) {
    for (int i = 0; i < n; ++i) {
        const float fx = labF(b.c[0][i] / kWhite[0]);
        const float fy = labF(b.c[1][i] / kWhite[1]);
        const float fz = labF(b.c[2][i] / kWhite[2]);
        b.c[0][i] = (116.0f * fy - 16.0f) / 100.0f;
        b.c[1][i] = (500.0f * (fx - fy) + 128.0f) / 255.0f;
        b.c[2][i] = (200.0f * (fy - fz) + 128.0f) / 255.0f;
    }
}

void stageInvert(const StageData&, PixelBlock& b, int n) {
    for (int ch = 0; ch < 4; ++ch)
        for (int i = 0; i < n; ++i) b.c[ch][i] = 1.0f - b.c[ch][i];
}

void stageAlphaOne(const StageData&, PixelBlock& b, int n) {
    for (int i = 0; i < n; ++i) b.c[3][i] = 1.0f;
}

void stageUnpremultiply(const StageData&, PixelBlock& b, int n) {
    for (int i = 0; i < n; ++i) {
        const float a = b.c[3][i];
        const float scale = a != 0.0f ? 1.0f / a : 0.0f;
        for (int ch = 0; ch < 3; ++ch) b.c[ch][i] *= scale;
    }
}

void stagePremultiply(const StageData&, PixelBlock& b, int n) {
    for (int i = 0; i < n; ++i)
        for (int ch = 0; ch < 3; ++ch) b.c[ch][i] *= b.c[3][i];
}

}  // namespace icc
}  // namespace KROCOLOR
