// The SIMD colour pass's plan of one frame: the colour plan of
// color/color_plan.h with the vector stages that carry it out. Stages work on
// a chunk of a row held as channel vectors (lane i = pixel x + i): a reader,
// up to five colour stages and a writer, or one fused stage for the common
// conversions without curves. The stages exist for two widths (SSE2, four
// lanes; AVX2, eight lanes); this header names no SIMD type, so the pass that
// picks a width at run time needs neither.
#pragma once

#include "core/frame.h"
#include "color/color_plan.h"
#include "cpu/sample_access.h"

namespace KROCOLOR {
namespace simd {

// Pixels per chunk of a row: a multiple of every lane count, and small
// enough that the channel vectors of a chunk stay in the first-level cache.
constexpr int kChunk = 64;
constexpr int kMaxLanes = 8;

struct Lanes {
    alignas(32) float c[4][kChunk];  // channel k of pixel i at c[k][i]

    template <class V>
    void load(int i, V v[4]) const {
        for (int k = 0; k < 4; ++k) v[k] = V::load_aligned(&c[k][i]);
    }
    template <class V>
    void store(int i, const V v[4]) {
        for (int k = 0; k < 4; ++k) v[k].store_aligned(&c[k][i]);
    }
};

struct VectorPlan;
using ReadStage = void (*)(const VectorPlan&, const KROFrame&, int y, int x0, int n, Lanes&);
using ColourStage = void (*)(const VectorPlan&, Lanes&, int n);
using WriteStage = void (*)(const VectorPlan&, KROFrame&, int y, int x0, int n, const Lanes&);
using FusedStage = void (*)(const VectorPlan&, const KROFrame&, KROFrame&, int y, int x0, int n);

struct VectorPlan {
    ColorPlan colour;  // matrices, curves and PQ factors by value
    SampleAccess reader;
    SampleAccess writer;
    ReadStage read;
    ColourStage stages[5];
    int stageCount;
    WriteStage write;
    FusedStage fused;  // the whole chunk in one pass, or null
    float hlgGamma;    // BT.2100 system gamma, from the vector log10
    int lanes;         // pixels per vector: rows are converted in multiples of it
};

// The vector stages of a colour plan between frames of these formats, at the
// widest width this processor runs (see setLaneLimit).
VectorPlan makeVectorPlan(const ColorPlan& colour, int32_t srcFormat, int32_t dstFormat);

// The widest vectors later plans may use: 8 (AVX2 where the processor has
// it, the default) or 4 (SSE2). Process-wide; tests and benchmarks use it to
// run both widths on one machine.
void setLaneLimit(int lanes);
// The lane count makeVectorPlan picks now.
int activeLanes();

// One body per width, built twice (xsimd_vector_plan.cpp and its AVX2 twin).
namespace sse2 {
VectorPlan makeVectorPlan(const ColorPlan& colour, int32_t srcFormat, int32_t dstFormat);
}
namespace avx2 {
VectorPlan makeVectorPlan(const ColorPlan& colour, int32_t srcFormat, int32_t dstFormat);
}

}  // namespace simd
}  // namespace KROCOLOR
