#include "support/gpu_conversion_cases.h"

#include <gtest/gtest.h>

namespace KROCOLOR {
namespace test {

namespace {

struct ColourCase {
    const char* name;
    Colour src, dst;
};

const ColourCase kColourCases[] = {
    {"identical descriptions", {1, 1, 1, 1}, {1, 1, 1, 1}},
    {"BT709 limited to full range", {1, 1, 1, 1}, {1, 1, 1, 2}},
    {"BT601 to BT709", {5, 6, 5, 1}, {1, 1, 1, 1}},
    {"BT2020 PQ to BT709", {9, 16, 9, 1}, {1, 1, 1, 2}},
    {"HLG to BT709", {9, 18, 9, 1}, {1, 1, 1, 2}},
    {"BT709 to HLG", {1, 1, 1, 2}, {9, 18, 9, 1}},
    {"Adobe RGB gamma 2.2 to BT709", {23, 4, 1, 2}, {1, 1, 1, 1}},
    {"sRGB to BT601 525", {1, 13, 1, 2}, {6, 6, 6, 1}},
    {"xvYCC to BT2020 constant luminance 12-bit", {1, 11, 1, 1}, {9, 15, 10, 2}},
    {"BT2020 constant luminance to YCgCo", {9, 14, 10, 1}, {5, 5, 8, 2}},
    {"Display P3 sRGB to BT709", {12, 13, 0, 2}, {1, 1, 1, 2}},
};
constexpr int kColourCaseCount = sizeof(kColourCases) / sizeof(kColourCases[0]);

SideDescription side(int32_t format, const FrameBuffers& f, const Colour& c) {
    return {format, f.width(), f.height(), c.primaries, c.transfer, c.matrix, c.range};
}

// Converts `in` into `out` on the backend and holds the result to the model.
void expectModel(GpuBackend& b, int32_t sf, const FrameBuffers& in, int32_t df, FrameBuffers& out,
                 const ColourCase& c) {
    FrameBuffers expected(out.format(), out.width(), out.height());
    ASSERT_EQ(runGpuConversion(b, side(sf, in, c.src), in, side(df, out, c.dst), out), kKROSuccess)
        << b.name() << " " << c.name << ": " << sf << " -> " << df;
    modelConversion(b.program(), in, c.src, expected, c.dst);
    EXPECT_LE(largestCodeDifference(out, expected), 1)
        << b.name() << " " << c.name << " (" << c.src.primaries << "/" << c.src.transfer << " -> " << c.dst.primaries
        << "/" << c.dst.transfer << "): " << sf << " " << in.width() << "x" << in.height() << " -> " << df << " "
        << out.width() << "x" << out.height();
}

}  // namespace

void checkFormatPairs(GpuBackend& b) {
    const struct {
        int sw, sh, dw, dh;
    } geometries[] = {{38, 22, 38, 22}, {38, 22, 20, 12}, {38, 22, 70, 34}};
    const int placements = b.stagesHostTwins() ? 4 : 1;
    // Odd strides only where host frames travel as they are: the kernels
    // halve them for 16-bit words as the host sample access does.
    const int pad = b.stagesHostTwins() ? 3 : 4;
    uint32_t n = 0;
    for (int32_t sf : b.deviceFormats())
        for (int32_t df : b.deviceFormats())
            for (const auto& g : geometries) {
                const int placement = placements == 1 ? 3 : int(n % 4);  // bit 0: source, bit 1: destination
                FrameBuffers in(b.hostTwin(sf), g.sw, g.sh, n % 2 ? pad : 0),
                    out(b.hostTwin(df), g.dw, g.dh, n % 5 ? 0 : 2);
                in.fillRandom(n * 2 + 1);
                out.fillRandom(n * 2 + 2);
                expectModel(b, placement & 1 ? sf : in.format(), in, placement & 2 ? df : out.format(), out,
                            kColourCases[n++ % kColourCaseCount]);
            }
}

void checkCurvesAndPrimaries(GpuBackend& b, int32_t src, const std::vector<int32_t>& dsts) {
    std::vector<ColourCase> cases;
    for (int32_t t : {0, 1, 4, 5, 6, 8, 10, 11, 13, 14, 15, 16, 17, 18, 19, 100}) {
        cases.push_back({"transfer into BT.709", {1, t, 0, 2}, {1, t == 1 ? 6 : 1, 0, 2}});
        cases.push_back({"BT.709 into transfer", {1, t == 1 ? 6 : 1, 0, 2}, {1, t, 0, 2}});
    }
    const int32_t pairs[][2] = {{9, 1},  {9, 5},  {9, 6},   {5, 1},   {5, 9},  {1, 6},  {1, 5},  {1, 9},
                                {6, 1},  {6, 9},  {23, 1},  {12, 1},  {1, 23}, {11, 1}, {12, 9}, {1, 12},
                                {23, 9}, {24, 1}, {11, 12}, {12, 11}, {1, 24}};
    for (const auto& p : pairs) cases.push_back({"primaries pair", {p[0], 1, 0, 2}, {p[1], 1, 0, 2}});
    cases.push_back({"BT.2020 light outside [0, 1] kept by the BT.2020 curve", {9, 1, 9, 2}, {1, 14, 1, 2}});
    uint32_t seed = 500;
    for (const ColourCase& c : cases)
        for (int32_t df : dsts) {
            FrameBuffers in(b.hostTwin(src), 40, 18), out(b.hostTwin(df), 40, 18);
            in.fillRandom(seed++);
            expectModel(b, src, in, df, out, c);
        }
}

}  // namespace test
}  // namespace KROCOLOR
