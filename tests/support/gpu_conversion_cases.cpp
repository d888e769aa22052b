#include "support/gpu_conversion_cases.h"

#include <gtest/gtest.h>

#include <cstring>

extern "C" {
#include <libavutil/mem.h>
#include <libswscale/swscale.h>
}

#include "support/av_formats.h"
#include "support/format_sweep.h"

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

// libswscale as the oracle of the CPU layout step: bicubic, its default
// (BT.601) coefficients, as BT.601 primaries on both sides leave them. Roomy aligned buffers, so its vector reads stay inside them.
void swscaleLayout(const FrameBuffers& in, FrameBuffers& out) {
    SwsContext* sws = sws_getContext(in.width(), in.height(), avFormat(in.format()), out.width(), out.height(),
                                     avFormat(out.format()), SWS_BICUBIC, nullptr, nullptr, nullptr);
    ASSERT_TRUE(sws);
    uint8_t* planes[2][4] = {};
    int strides[2][4] = {};
    const FrameBuffers* frames[2] = {&in, &out};
    for (int side = 0; side < 2; ++side) {
        const FormatTraits& t = *formatTraits(frames[side]->format());
        for (int p = 0; p < frames[side]->planeCount(); ++p) {
            strides[side][p] = int((planeRowBytes(t, p, frames[side]->width()) + 127) / 64 * 64);
            const size_t size = size_t(strides[side][p]) * size_t(planeRows(t, p, frames[side]->height()) + 2);
            planes[side][p] = static_cast<uint8_t*>(av_mallocz(size));
            for (int64_t r = 0; side == 0 && r < planeRows(t, p, in.height()); ++r)
                std::memcpy(planes[0][p] + r * strides[0][p], in.plane(p) + r * in.stride(p),
                            size_t(planeRowBytes(t, p, in.width())));
        }
    }
    sws_scale(sws, planes[0], strides[0], 0, in.height(), planes[1], strides[1]);
    const FormatTraits& t = *formatTraits(out.format());
    for (int p = 0; p < out.planeCount(); ++p)
        for (int64_t r = 0; r < planeRows(t, p, out.height()); ++r)
            std::memcpy(out.plane(p) + r * out.stride(p), planes[1][p] + r * strides[1][p],
                        size_t(planeRowBytes(t, p, out.width())));
    for (auto& side : planes)
        for (uint8_t* plane : side) av_free(plane);
    sws_freeContext(sws);
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
                // A format into itself at its own size keeps the description:
                // samples are still normalised and quantised again.
                const bool same = sf == df && g.sw == g.dw && g.sh == g.dh;
                expectModel(b, placement & 1 ? sf : in.format(), in, placement & 2 ? df : out.format(), out,
                            kColourCases[same ? 0 : n % kColourCaseCount]);
                ++n;
            }
}

void checkCurvesAndPrimaries(GpuBackend& b, int32_t src, const std::vector<int32_t>& dsts) {
    std::vector<ColourCase> cases;
    for (int32_t t : {0, 1, 4, 5, 6, 8, 10, 11, 13, 14, 15, 16, 17, 18, 19, 100}) {
        cases.push_back({"transfer into BT.709", {1, t, 0, 2}, {1, t == 1 ? 6 : 1, 0, 2}});
        cases.push_back({"BT.709 into transfer", {1, t == 1 ? 6 : 1, 0, 2}, {1, t, 0, 2}});
    }
    // Every pair among BT.709, BT.601 625 and 525, BT.2020, DCI-P3, Display
    // P3, Adobe RGB and ProPhoto, with a table or not.
    for (int32_t sp : {1, 5, 6, 9, 11, 12, 23, 24})
        for (int32_t dp : {1, 5, 6, 9, 11, 12, 23, 24})
            if (sp != dp) cases.push_back({"primaries pair", {sp, 1, 0, 2}, {dp, 1, 0, 2}});
    cases.push_back({"BT.2020 light outside [0, 1] kept by the BT.2020 curve", {9, 1, 9, 2}, {1, 14, 1, 2}});
    uint32_t seed = 500;
    for (const ColourCase& c : cases)
        for (int32_t df : dsts) {
            FrameBuffers in(b.hostTwin(src), 40, 18), out(b.hostTwin(df), 40, 18);
            in.fillRandom(seed++);
            expectModel(b, src, in, df, out, c);
        }
}

void stageAsRgba(const FrameBuffers& host, FrameBuffers& rgba) {
    if (host.format() != kKRORGB888Format) {
        std::memcpy(rgba.plane(0), host.plane(0), host.size(0));
        return;
    }
    for (int i = 0; i < host.width() * host.height(); ++i)
        for (int k = 0; k < 4; ++k) rgba.plane(0)[i * 4 + k] = k < 3 ? host.plane(0)[i * 3 + k] : 255;
}

void checkHostFormatsThroughStaging(GpuBackend& b, KROReturn cmykRefusal) {
    const int32_t texture = b.deviceFormats()[0];
    const Colour s{5, 6, 5, 1}, d{5, 1, 5, 2};
    constexpr int kW = 64, kH = 16;
    uint32_t seed = 900;
    for (int32_t f : cpuFormats()) {
        if (f == kKRORGBA16LEFormat) continue;
        FrameBuffers host(f, kW, kH), out(kKRORGBA8888Format, kW, kH), staged(kKRORGBA8888Format, kW, kH),
            expected(kKRORGBA8888Format, kW, kH);
        host.fillRandom(seed++);
        out.fillRandom(seed);
        const KROReturn upload = runGpuConversion(b, {f, kW, kH, 5, 6, 5, 1}, host, {texture, kW, kH, 5, 1, 5, 2}, out);
        if (f == kKROCMYK8888Format) {
            EXPECT_EQ(upload, cmykRefusal) << b.name();
            expected.fillRandom(seed);
            EXPECT_EQ(largestCodeDifference(out, expected), 0) << b.name() << ": refused, yet written";
        } else {
            ASSERT_EQ(upload, kKROSuccess) << b.name() << " " << f;
            if (f == kKRORGB888Format || f == kKRORGBA8888Format)
                stageAsRgba(host, staged);
            else
                swscaleLayout(host, staged);
            modelConversion(b.program(), staged, s, expected, d);
            EXPECT_LE(largestCodeDifference(out, expected), 1) << b.name() << " upload of " << f;
        }

        FrameBuffers texel(kKRORGBA8888Format, kW, kH), onDevice(kKRORGBA8888Format, kW, kH), back(f, kW, kH),
            reference(f, kW, kH);
        texel.fillRandom(++seed);
        back.fillRandom(seed);
        reference.fillRandom(seed++);
        ASSERT_EQ(runGpuConversion(b, {texture, kW, kH, 5, 6, 5, 1}, texel, {f, kW, kH, 5, 1, 5, 2}, back),
                  b.takesHostDestination(f) ? kKROSuccess : kKROInputParamError)
            << b.name() << " " << f;
        modelConversion(b.program(), texel, s, onDevice, d);
        if (f == kKRORGBA8888Format)
            std::memcpy(reference.plane(0), onDevice.plane(0), onDevice.size(0));
        else if (f != kKROCMYK8888Format && b.takesHostDestination(f))
            swscaleLayout(onDevice, reference);
        EXPECT_LE(largestCodeDifference(back, reference, 8), 1) << b.name() << " read-back into " << f;
    }
}

}  // namespace test
}  // namespace KROCOLOR
