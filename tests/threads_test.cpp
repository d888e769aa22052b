// Many conversion objects working at once on several threads must give
// exactly the bytes that the same conversions give one at a time: nothing
// shared between objects (the worker threads, intermediate frames, the
// colour tables built on first use, the ICC engine) may leak state from one
// conversion into another. The CI also runs this file under ThreadSanitizer.
#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "KROColorFunctions.h"
#include "support/frame_buffers.h"

namespace KROCOLOR {
namespace {

using test::FrameBuffers;
using Bytes = std::vector<uint8_t>;

constexpr int kW = 64, kH = 48;
constexpr int kThreads = 8;
constexpr int kFrames = 50;

// One kind of conversion: makes a fresh object and converts into `dst`.
struct Kind {
    std::string name;
    int32_t srcFormat;
    int32_t dstFormat;
    int dstW, dstH;
    // Builds the object; the returned function converts one frame.
    std::function<std::function<KROReturn(const FrameBuffers&, FrameBuffers&)>()> make;
};

template <typename Object>
std::function<KROReturn(const FrameBuffers&, FrameBuffers&)> bind(Object* raw) {
    std::shared_ptr<Object> object(raw);
    return [object](const FrameBuffers& src, FrameBuffers& dst) {
        if (!object) return kKROUnknownError;
        return object->transcode(src.srcPlanes(), src.strides(), dst.dstPlanes(), dst.strides());
    };
}

KROColorFunctions* colour(int32_t srcFormat, int32_t dstFormat, int dstW, int dstH, int32_t hwType) {
    KROColorFunctions* f = KROColorFunctions::create(kW, kH, static_cast<KROPixelFormat>(srcFormat), dstW, dstH,
                                                     static_cast<KROPixelFormat>(dstFormat));
    if (!f) return nullptr;
    KROHWContext hw;
    hw.srcType = hw.dstType = hwType;
    f->setHWContext(hw);
    return f;
}

std::vector<Kind> kinds() {
    std::vector<Kind> k;
    // Colour stage at source size, then a scale stage through an intermediate frame.
    k.push_back({"default", kKRONV12Format, kKRORGBA8888Format, 80, 60, [] {
                     KROColorFunctions* f = colour(kKRONV12Format, kKRORGBA8888Format, 80, 60, kKROHWTypeCPU);
                     if (f)
                         f->setColorspaceDetails(kColorPrimariesBT709, kColorTransferBT709, kColorMatrixBT709,
                                                 kColorRangeMpeg, kColorPrimariesBT709, kColorTransferBT709,
                                                 kColorMatrixRGB, kColorRangeJpeg);
                     return bind(f);
                 }});
    k.push_back({"simd", kKROYUV420P10LEFormat, kKRORGBA8888Format, kW, kH, [] {
                     KROColorFunctions* f = colour(kKROYUV420P10LEFormat, kKRORGBA8888Format, kW, kH, kKROHWTypeXSimd);
                     if (f)
                         f->setColorspaceDetails(kColorPrimariesBT2020, kColorTransferSMPTE2084,
                                                 kColorMatrixBT2020_NCL, kColorRangeMpeg, kColorPrimariesBT709,
                                                 kColorTransferBT709, kColorMatrixRGB, kColorRangeJpeg);
                     return bind(f);
                 }});
    k.push_back({"swscale", kKRONV12Format, kKRORGBA8888Format, kW, kH,
                 [] { return bind(colour(kKRONV12Format, kKRORGBA8888Format, kW, kH, kKROHWTypeSwscale)); }});
    k.push_back({"icc", kKRORGBA8888Format, kKRORGBA8888Format, kW, kH, [] {
                     KROColorFunctions* f = colour(kKRORGBA8888Format, kKRORGBA8888Format, kW, kH, kKROHWTypeCPU);
                     if (f) {
                         f->setType(kKROProfileTypeICC);
                         f->setICCProfile(KROColorFunctions::getDisplayP3ICCProfile(),
                                          KROColorFunctions::getDisplayP3ICCProfileSize(),
                                          KROColorFunctions::getAdobeRGBICCProfile(),
                                          KROColorFunctions::getAdobeRGBICCProfileSize());
                     }
                     return bind(f);
                 }});
    k.push_back({"crop", kKROYUV420PFormat, kKROYUV420PFormat, 40, 30,
                 [] { return bind(KROCropFunctions::create(kW, kH, kKROYUV420PFormat, 6, 4, 40, 30)); }});
    k.push_back({"rotate", kKRORGBA8888Format, kKRORGBA8888Format, kH, kW,
                 [] { return bind(KRORotateFunctions::create(kW, kH, kKRORGBA8888Format, 6)); }});
    return k;
}

Bytes contents(const FrameBuffers& f) {
    Bytes out;
    for (int p = 0; p < f.planeCount(); ++p) out.insert(out.end(), f.plane(p), f.plane(p) + f.size(p));
    return out;
}

TEST(Threads, ManyObjectsAtOnceMatchOneAtATime) {
    const std::vector<Kind> all = kinds();
    // Inputs per kind and frame, and the results of converting them one at a time.
    std::vector<std::vector<std::unique_ptr<FrameBuffers>>> inputs(all.size());
    std::vector<std::vector<Bytes>> expected(all.size());
    for (size_t k = 0; k < all.size(); ++k) {
        auto convert = all[k].make();
        FrameBuffers dst(all[k].dstFormat, all[k].dstW, all[k].dstH);
        for (int f = 0; f < kFrames; ++f) {
            inputs[k].emplace_back(new FrameBuffers(all[k].srcFormat, kW, kH));
            inputs[k].back()->fillRandom(static_cast<uint32_t>(k * 1000 + f + 1));
            ASSERT_EQ(convert(*inputs[k].back(), dst), kKROSuccess) << all[k].name;
            expected[k].push_back(contents(dst));
        }
    }

    // Every thread owns one object of each kind and walks the frames from
    // its own starting point, so different stages overlap in time.
    std::vector<std::vector<std::string>> mismatches(kThreads);
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t)
        threads.emplace_back([&, t] {
            std::vector<std::function<KROReturn(const FrameBuffers&, FrameBuffers&)>> objects;
            std::vector<std::unique_ptr<FrameBuffers>> outputs;
            for (const Kind& kind : all) {
                objects.push_back(kind.make());
                outputs.emplace_back(new FrameBuffers(kind.dstFormat, kind.dstW, kind.dstH));
            }
            for (int i = 0; i < kFrames; ++i) {
                const int f = (i + t * 7) % kFrames;
                for (size_t k = 0; k < all.size(); ++k) {
                    const KROReturn rc = objects[k](*inputs[k][static_cast<size_t>(f)], *outputs[k]);
                    if (rc != kKROSuccess || contents(*outputs[k]) != expected[k][static_cast<size_t>(f)])
                        mismatches[static_cast<size_t>(t)].push_back(all[k].name + " frame " + std::to_string(f) +
                                                                     " code " + std::to_string(rc));
                }
            }
        });
    for (auto& th : threads) th.join();
    for (int t = 0; t < kThreads; ++t)
        for (const std::string& m : mismatches[static_cast<size_t>(t)]) ADD_FAILURE() << "thread " << t << ": " << m;
}

}  // namespace
}  // namespace KROCOLOR
