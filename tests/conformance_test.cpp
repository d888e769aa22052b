// One conversion suite for every backend. Each row of kBackends converts
// host frames through the public API on one backend; every row meets every
// host format pair, colour descriptions from SDR to PQ, HLG and wide gamuts,
// awkward sizes (vector tails, odd chroma, single rows and columns, serial
// and pooled frames), padded strides and scaling, with every plane against a
// guard page, and is held to the scalar CPUContext within the row's
// tolerance. The colour mathematics itself is pinned by the scalar
// convertor's own tests against independent values; this suite keeps every
// other path from drifting away from it. A backend this build or machine
// cannot run is skipped with its reason.
#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <string>
#include <tuple>
#include <vector>

#include "KROColorFunctions.h"
#include "cpu/cpu_context.h"
#include "support/format_sweep.h"
#include "support/frame_buffers.h"

using namespace KROCOLOR;
using ColourCase = KROCOLOR::test::DescriptionPair;
using KROCOLOR::test::Description;
using KROCOLOR::test::FrameBuffers;
using KROCOLOR::test::guardPlacement;

namespace {

constexpr int32_t kLimited = kColorRangeMpeg, kFull = kColorRangeJpeg;

const ColourCase kColourCases[] = {
    {"BT709 limited to full range", {1, 1, 1, kLimited}, {1, 1, 1, kFull}, 0},
    {"BT601 SDR to BT709", {5, 6, 5, kLimited}, {1, 1, 1, kLimited}, 0},
    {"BT2020 PQ to BT709 SDR", {9, 16, 9, kLimited}, {1, 1, 1, kLimited}, 0},
    {"BT2020 PQ to BT709 PQ", {9, 16, 9, kLimited}, {1, 16, 1, kFull}, 0},
    {"BT2020 PQ to BT709 PQ, peak 1000", {9, 16, 9, kLimited}, {1, 16, 1, kFull}, 1000},
    {"HLG to BT709 SDR", {9, 18, 9, kLimited}, {1, 1, 1, kFull}, 0},
    {"BT709 SDR to HLG", {1, 1, 1, kFull}, {9, 18, 9, kLimited}, 0},
    {"Display P3 to BT709", {12, 13, 1, kFull}, {1, 1, 1, kLimited}, 0},
    {"DCI-P3 to BT2020", {11, 100, 1, kFull}, {9, 14, 9, kLimited}, 0},
    {"Adobe RGB to BT709", {23, 4, 1, kFull}, {1, 1, 1, kLimited}, 0},
    {"ProPhoto to BT709", {24, 19, 1, kFull}, {1, 13, 1, kFull}, 0},
    {"xvYCC to BT601", {1, 11, 1, kLimited}, {6, 6, 6, kFull}, 0},
    {"BT2020 constant luminance to BT709", {9, 15, 10, kLimited}, {1, 1, 10, kFull}, 0},
    {"BT709 to YCgCo", {1, 1, 1, kLimited}, {1, 1, 8, kFull}, 0},
    {"SDR to PQ", {1, 1, 1, kFull}, {9, 16, 9, kLimited}, 0},
    {"identical descriptions", {1, 1, 1, kLimited}, {1, 1, 1, kLimited}, 0},
};
constexpr int kColourCaseCount = static_cast<int>(sizeof(kColourCases) / sizeof(kColourCases[0]));

// Whether any byte outside the samples (row padding) differs between two
// frames of one format: a backend must leave the caller's padding alone.
bool paddingDiffers(const FrameBuffers& a, const FrameBuffers& b) {
    const FormatTraits& t = *formatTraits(a.format());
    for (int p = 0; p < a.planeCount(); ++p) {
        const size_t rowBytes = static_cast<size_t>(planeRowBytes(t, p, a.width()));
        for (size_t i = 0; i < a.size(p); ++i)
            if (i % static_cast<size_t>(a.stride(p)) >= rowBytes && a.plane(p)[i] != b.plane(p)[i]) return true;
    }
    return false;
}

// The SIMD convertor's tolerance: one code, except in two places where
// float32 itself cannot promise one code.
//  - A PQ source meets a 16-bit destination. The PQ decoding forms
//    f = V^(1/m2) and then f - c1 with c1 = 0.8359375; for dark and
//    mid-grey signals f lies just above c1, so the difference keeps only a
//    few significant bits of f, and a last-bit difference between xsimd's
//    float32 power and the scalar powf grows by 1/(f - c1) and then by the
//    exponent 1/m1 = 6.28. At 65535 codes the paths disagree by up to a
//    dozen codes (2e-4 of full scale).
//  - PQ to PQ across primaries at 12 bits. Decoded light reaches 10 (peak
//    1000) before the gamut matrix; for saturated colours a matrix row such
//    as -0.1246 R + 1.1329 G - 0.0083 B cancels 0.9 down to 5e-5, keeping
//    only the last bits of float32 (1e-6 at 10), and the PQ encoding is
//    steepest right there (it rises as L^0.16). The two paths round the
//    terms differently, so the channel can differ by several percent of a
//    dark value; after the RGB to YUV matrix that is up to 7 codes of 4095.
int simdTolerance(const ColourCase& c, int32_t dstFormat) {
    const int depth = formatTraits(dstFormat)->depth;
    const bool pqSource = c.src.transfer == kColorTransferSMPTE2084;
    if (pqSource && depth == 16) return 16;
    if (pqSource && c.dst.transfer == kColorTransferSMPTE2084 && c.src.primaries != c.dst.primaries && depth == 12)
        return 8;
    return 1;
}

int exact(const ColourCase&, int32_t) { return 0; }

// One conversion: formats, sizes, colour case, row padding and the seed of
// its random source (which also picks the guard placement).
struct Conversion {
    int32_t srcFormat, dstFormat;
    int sw, sh, dw, dh;
    const ColourCase* colour;
    int padding;
    uint32_t seed;
};

// Converts through a KROColorFunctions object whose hardware context names
// `hwType` on both sides, with the descriptions passed through as given.
KROReturn convertOnHost(int hwType, const Conversion& c, const FrameBuffers& src, FrameBuffers& dst) {
    std::unique_ptr<KROColorFunctions> f(KROColorFunctions::create(
        c.sw, c.sh, static_cast<KROPixelFormat>(c.srcFormat), c.dw, c.dh, static_cast<KROPixelFormat>(c.dstFormat)));
    if (!f) return kKROUnknownError;
    const Description& s = c.colour->src;
    const Description& d = c.colour->dst;
    f->setKeepSourceColor(true);
    f->setColorspaceDetails(static_cast<KROColorPrimaries>(s.primaries), static_cast<KROColorTransfer>(s.transfer),
                            static_cast<KROColorMatrix>(s.matrix), static_cast<KROColorRange>(s.range),
                            static_cast<KROColorPrimaries>(d.primaries), static_cast<KROColorTransfer>(d.transfer),
                            static_cast<KROColorMatrix>(d.matrix), static_cast<KROColorRange>(d.range));
    KROHWContext context;
    context.srcType = context.dstType = hwType;
    f->setHWContext(context);
    if (c.colour->peak) f->setMetaData("src_max_luminance", std::to_string(c.colour->peak).c_str());
    return f->transcode(src.srcPlanes(), src.strides(), dst.dstPlanes(), dst.strides());
}

// A row of the suite: how to run a conversion on the backend, why it cannot
// run here (null when it can), and how far it may stray from the scalar
// convertor. A GPU backend joins by filling in its row: its hook uploads the
// host frames, converts on the device and reads the result back.
struct Backend {
    const char* name;
    KROReturn (*convert)(const Conversion&, const FrameBuffers& src, FrameBuffers& dst);
    const char* unavailable;
    int (*tolerance)(const ColourCase&, int32_t dstFormat);
};

const Backend kBackends[] = {
    {"cpu", [](const Conversion& c, const FrameBuffers& s, FrameBuffers& d) { return convertOnHost(kKROHWTypeCPU, c, s, d); },
     nullptr, exact},
    {"simd", [](const Conversion& c, const FrameBuffers& s, FrameBuffers& d) { return convertOnHost(kKROHWTypeXSimd, c, s, d); },
     nullptr, simdTolerance},
    {"cuda", nullptr,
     "the CUDA kernels keep their own curves (PQ and transfer 17 as BT.709, LOG_SQRT) and stage only some host "
     "formats; kro_cuda_tests holds them to their formulas",
     nullptr},
    // The compute program makes its own curve and primaries choices (PQ read
    // as BT.709-coded, eleven primaries pairs, clamped light), so it is held
    // to its own formulas in d3d11_convertor_test instead of to the scalar one.
    {"d3d11", nullptr, "the Direct3D 11 program follows its own colour rules; see d3d11_convertor_test", nullptr},
    // Not held to the scalar convertor: by design the render pass stages
    // every host layout through 8-bit RGBA (or half-float) textures via
    // libswscale and has its own, smaller curve and primaries set; its
    // expected values are worked out in gles_render_test.cpp.
    {"gles", nullptr, "OpenGL ES converts by its own rules, checked in gles_render_test", nullptr},
};

// Converts one random frame with the scalar CPUContext and on `backend`, and
// holds the largest code difference to the row's tolerance. Every plane
// touches a guard page, at its end or its start as the seed says, and
// carries `padding` bytes after each row.
::testing::AssertionResult conformsToScalar(const Backend& backend, const Conversion& c) {
    FrameBuffers src(c.srcFormat, c.sw, c.sh, c.padding, guardPlacement(c.seed));
    src.fillRandom(c.seed);
    FrameBuffers reference(c.dstFormat, c.dw, c.dh, c.padding, guardPlacement(c.seed + 1)),
        out(c.dstFormat, c.dw, c.dh, c.padding, guardPlacement(c.seed));
    reference.fillRandom(c.seed + 1);
    out.fillRandom(c.seed + 1);

    KROFrame s = src.frame(c.colour->src), d = reference.frame(c.colour->dst);
    CPUContext scalar;
    if (c.colour->peak) scalar.setMetaData({{"src_max_luminance", std::to_string(c.colour->peak)}});
    EXPECT_EQ(scalar.convertColor(&s, &d), kKROSuccess);
    EXPECT_EQ(backend.convert(c, src, out), kKROSuccess) << backend.name;
    // Written padding counts as a difference beyond every tolerance.
    const int difference = paddingDiffers(reference, out) ? 1 << 20 : test::largestCodeDifference(reference, out);
    if (difference <= backend.tolerance(*c.colour, c.dstFormat)) return ::testing::AssertionSuccess();
    return ::testing::AssertionFailure() << c.colour->name << ": " << c.srcFormat << " " << c.sw << "x" << c.sh
                                         << " -> " << c.dstFormat << " " << c.dw << "x" << c.dh << " differs by "
                                         << difference << " codes";
}

void PrintTo(const Backend& b, std::ostream* os) { *os << b.name; }

// The sweeps run on the rows that can run here; each row that cannot is
// reported once, as a skipped test naming the reason.
std::vector<Backend> runnableBackends() {
    std::vector<Backend> rows;
    for (const Backend& b : kBackends)
        if (!b.unavailable) rows.push_back(b);
    return rows;
}

// Test names: the backend's, followed by the case index where there is one.
struct TestName {
    std::string operator()(const ::testing::TestParamInfo<Backend>& info) const { return info.param.name; }
    template <typename Index>
    std::string operator()(const ::testing::TestParamInfo<std::tuple<Backend, Index>>& info) const {
        return std::string(std::get<0>(info.param).name) + "_" + std::to_string(std::get<1>(info.param));
    }
};

class ConformanceBackend : public ::testing::TestWithParam<Backend> {};

TEST_P(ConformanceBackend, RunsHere) {
    if (GetParam().unavailable) GTEST_SKIP() << GetParam().unavailable;
}

INSTANTIATE_TEST_SUITE_P(Backends, ConformanceBackend, ::testing::ValuesIn(kBackends), TestName());

// Every format pair with every colour case on three small sizes: vector
// tails of 3, 1 and 1 pixels, chroma blocks cut at odd edges.
class ConformanceColour : public ::testing::TestWithParam<std::tuple<Backend, int>> {};

TEST_P(ConformanceColour, EveryFormatPairAndColourCase) {
    const Backend& backend = std::get<0>(GetParam());
    const int caseIndex = std::get<1>(GetParam());
    const ColourCase& colour = kColourCases[caseIndex];
    const std::vector<int32_t> formats = test::cpuFormats();
    const int sizes[][2] = {{3, 7}, {5, 5}, {17, 13}};
    uint32_t seed = 7u + static_cast<uint32_t>(caseIndex) * 1000u;
    for (int32_t sf : formats)
        for (int32_t df : formats)
            for (const auto& sz : sizes) {
                const Conversion c{sf, df, sz[0], sz[1], sz[0], sz[1], &colour, int(seed % 3) * 4, seed++};
                ASSERT_TRUE(conformsToScalar(backend, c));
            }
}

INSTANTIATE_TEST_SUITE_P(Backends, ConformanceColour,
                         ::testing::Combine(::testing::ValuesIn(runnableBackends()), ::testing::Range(0, kColourCaseCount)),
                         TestName());

// Every format pair at a single pixel, a 9-pixel-wide column converted
// serially, a pooled 64x48 frame and the other awkward sizes (single rows and
// columns, odd chroma, rows around 16 bytes), the colour case rotating so
// that every case meets every size.
class ConformanceSizes : public ::testing::TestWithParam<std::tuple<Backend, int32_t>> {};

TEST_P(ConformanceSizes, SerialAndPooledFrames) {
    const Backend& backend = std::get<0>(GetParam());
    const int32_t sf = std::get<1>(GetParam());
    std::vector<test::FrameSize> sizes = {{1, 1}, {9, 1000}, {64, 48}};
    for (const test::FrameSize& s : test::kAwkwardSizes)
        if (s.width * s.height > 1) sizes.push_back(s);
    const std::vector<int32_t> formats = test::cpuFormats();
    const int first = static_cast<int>(std::find(formats.begin(), formats.end(), sf) - formats.begin());
    for (int d = 0; d < static_cast<int>(formats.size()); ++d) {
        const int pair = first * static_cast<int>(formats.size()) + d + 1;
        for (int s = 0; s < static_cast<int>(sizes.size()); ++s) {
            const ColourCase& colour = kColourCases[(pair + s * 5) % kColourCaseCount];
            const auto [w, h] = sizes[size_t(s)];
            const int padding = (s < 3 ? pair : pair + s) % 2 ? 0 : 16;
            const uint32_t seed = static_cast<uint32_t>(s < 3 ? pair * 3 + s : 100000 + pair * 16 + s);
            ASSERT_TRUE(conformsToScalar(backend, {sf, formats[size_t(d)], w, h, w, h, &colour, padding, seed}));
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Backends, ConformanceSizes,
                         ::testing::Combine(::testing::ValuesIn(runnableBackends()), ::testing::ValuesIn(test::cpuFormats())),
                         TestName());

// Scaling: the colour stage, then the scaler; up and down, single rows and
// columns, odd sizes, vector tails on both sides of the scaler. Every
// destination format meets every geometry, the source format rotating.
class ConformanceScaling : public ::testing::TestWithParam<Backend> {};

TEST_P(ConformanceScaling, UpAndDown) {
    const Backend& backend = GetParam();
    struct Geometry {
        int sw, sh, dw, dh;
    };
    const Geometry geometries[] = {{17, 13, 5, 9},   {5, 5, 17, 13},  {64, 48, 33, 20}, {30, 20, 97, 61},
                                   {64, 48, 64, 13}, {9, 1000, 3, 500}, {101, 11, 10, 10}, {1, 1, 3, 3},
                                   {3, 3, 1, 1},     {33, 1, 1, 33},  {1, 33, 16, 8},   {16, 8, 15, 7}};
    const std::vector<int32_t> formats = test::cpuFormats();
    uint32_t seed = 99;
    for (const Geometry& g : geometries)
        for (size_t d = 0; d < formats.size(); ++d)
            for (int caseIndex : {0, 2, 5, 15}) {
                const Conversion c{formats[(d * 7 + seed) % formats.size()], formats[d], g.sw, g.sh, g.dw, g.dh,
                                   &kColourCases[caseIndex], seed % 3 ? 0 : 4, seed};
                ++seed;
                ASSERT_TRUE(conformsToScalar(backend, c));
            }
}

INSTANTIATE_TEST_SUITE_P(Backends, ConformanceScaling, ::testing::ValuesIn(runnableBackends()), TestName());

}  // namespace
