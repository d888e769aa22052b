// Many conversion objects working at once on several threads must give
// exactly the bytes that the same conversions give one at a time: nothing
// shared between objects (the worker threads, intermediate frames, the
// colour tables built on first use, the ICC engine) may leak state from one
// conversion into another. The CI also runs this file under ThreadSanitizer.
#include <gtest/gtest.h>

#include <functional>
#include <iterator>
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

using Convert = std::function<KROReturn(const FrameBuffers&, FrameBuffers&)>;
using F = KROColorFunctions;

// One kind of conversion: a colour object on one host backend with its
// settings, or (hwType kCrop / kRotate) a crop or rotate object.
constexpr int32_t kCrop = -1, kRotate = -2;
struct Kind {
    const char* name;
    int32_t srcFormat, dstFormat;
    int dstW, dstH;
    int32_t hwType;
    void (*settings)(F&);
};

template <typename Object>
Convert bind(Object* raw) {
    std::shared_ptr<Object> object(raw);
    return [object](const FrameBuffers& src, FrameBuffers& dst) {
        return object ? object->transcode(src.srcPlanes(), src.strides(), dst.dstPlanes(), dst.strides())
                      : kKROUnknownError;
    };
}

Convert make(const Kind& k) {
    if (k.hwType == kCrop) return bind(KROCropFunctions::create(kW, kH, KROPixelFormat(k.srcFormat), 6, 4, k.dstW, k.dstH));
    if (k.hwType == kRotate) return bind(KRORotateFunctions::create(kW, kH, KROPixelFormat(k.srcFormat), 6));
    F* f = F::create(kW, kH, KROPixelFormat(k.srcFormat), k.dstW, k.dstH, KROPixelFormat(k.dstFormat));
    if (f) {
        KROHWContext hw;
        hw.srcType = hw.dstType = k.hwType;
        f->setHWContext(hw);
        k.settings(*f);
    }
    return bind(f);
}

const Kind kKinds[] = {
    // Colour stage at source size, then a scale stage through an intermediate frame.
    {"default", kKRONV12Format, kKRORGBA8888Format, 80, 60, kKROHWTypeCPU,
     [](F& f) {
         f.setColorspaceDetails(kColorPrimariesBT709, kColorTransferBT709, kColorMatrixBT709, kColorRangeMpeg,
                                kColorPrimariesBT709, kColorTransferBT709, kColorMatrixRGB, kColorRangeJpeg);
     }},
    {"simd", kKROYUV420P10LEFormat, kKRORGBA8888Format, kW, kH, kKROHWTypeXSimd,
     [](F& f) {
         f.setColorspaceDetails(kColorPrimariesBT2020, kColorTransferSMPTE2084, kColorMatrixBT2020_NCL, kColorRangeMpeg,
                                kColorPrimariesBT709, kColorTransferBT709, kColorMatrixRGB, kColorRangeJpeg);
     }},
    {"swscale", kKRONV12Format, kKRORGBA8888Format, kW, kH, kKROHWTypeSwscale, [](F&) {}},
    {"icc", kKRORGBA8888Format, kKRORGBA8888Format, kW, kH, kKROHWTypeCPU,
     [](F& f) {
         f.setType(kKROProfileTypeICC);
         f.setICCProfile(F::getDisplayP3ICCProfile(), F::getDisplayP3ICCProfileSize(), F::getAdobeRGBICCProfile(),
                         F::getAdobeRGBICCProfileSize());
     }},
    {"crop", kKROYUV420PFormat, kKROYUV420PFormat, 40, 30, kCrop, nullptr},
    {"rotate", kKRORGBA8888Format, kKRORGBA8888Format, kH, kW, kRotate, nullptr},
};

Bytes contents(const FrameBuffers& f) {
    Bytes out;
    for (int p = 0; p < f.planeCount(); ++p) out.insert(out.end(), f.plane(p), f.plane(p) + f.size(p));
    return out;
}

TEST(Threads, ManyObjectsAtOnceMatchOneAtATime) {
    const size_t kinds = std::size(kKinds);
    // Inputs per kind and frame, and the results of converting them one at a time.
    std::vector<std::vector<std::unique_ptr<FrameBuffers>>> inputs(kinds);
    std::vector<std::vector<Bytes>> expected(kinds);
    for (size_t k = 0; k < kinds; ++k) {
        Convert convert = make(kKinds[k]);
        FrameBuffers dst(kKinds[k].dstFormat, kKinds[k].dstW, kKinds[k].dstH);
        for (int f = 0; f < kFrames; ++f) {
            inputs[k].emplace_back(new FrameBuffers(kKinds[k].srcFormat, kW, kH));
            inputs[k].back()->fillRandom(static_cast<uint32_t>(k * 1000 + f + 1));
            ASSERT_EQ(convert(*inputs[k].back(), dst), kKROSuccess) << kKinds[k].name;
            expected[k].push_back(contents(dst));
        }
    }

    // Every thread owns one object of each kind and walks the frames from
    // its own starting point, so different stages overlap in time.
    std::vector<std::vector<std::string>> mismatches(kThreads);  // per thread: no shared writes
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t)
        threads.emplace_back([&, t] {
            std::vector<Convert> objects;
            std::vector<std::unique_ptr<FrameBuffers>> outputs;
            for (const Kind& kind : kKinds) {
                objects.push_back(make(kind));
                outputs.emplace_back(new FrameBuffers(kind.dstFormat, kind.dstW, kind.dstH));
            }
            for (int i = 0; i < kFrames; ++i) {
                const int f = (i + t * 7) % kFrames;
                for (size_t k = 0; k < kinds; ++k) {
                    const KROReturn rc = objects[k](*inputs[k][static_cast<size_t>(f)], *outputs[k]);
                    if (rc != kKROSuccess || contents(*outputs[k]) != expected[k][static_cast<size_t>(f)])
                        mismatches[size_t(t)].push_back(std::string(kKinds[k].name) + " frame " + std::to_string(f) +
                                                        " code " + std::to_string(rc));
                }
            }
        });
    for (auto& th : threads) th.join();
    for (size_t t = 0; t < mismatches.size(); ++t)
        for (const std::string& m : mismatches[t]) ADD_FAILURE() << "thread " << t << ": " << m;
}

}  // namespace
}  // namespace KROCOLOR
