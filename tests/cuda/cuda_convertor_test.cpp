// The CUDA convertor: the shared GPU conversion cases held to the kernels'
// model (support/gpu_program_model), scaling at odd sizes, the eight
// orientations, crops and the failure codes. Runs on whatever driver the
// loader finds (ctest puts the CPU stand-in first).
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <functional>
#include <memory>
#include <string>

#include "core/frame.h"
#include "cpu/sample_access.h"
#include "cuda/cuda_context.h"
#include "cuda/cuda_driver.h"
#include "support/cuda_device.h"
#include "support/gpu_conversion_cases.h"

using namespace KROCOLOR;
using test::CudaBackend;
using test::CudaSession;
using test::FrameBuffers;
using test::FrameBuffers;

namespace {

// Largest difference between a frame and one made by writing `want` at
// every pixel (which keeps the chroma of each block's top-left pixel).
int worstDifference(const FrameBuffers& f, const std::function<NativePixel(int, int)>& want) {
    FrameBuffers expected(f.format(), f.width(), f.height());
    KROFrame e = expected.frame();
    for (int y = 0; y < f.height(); ++y)
        for (int x = 0; x < f.width(); ++x) writePixel(sampleAccessFor(f.format()), e, x, y, want(x, y));
    return test::largestCodeDifference(f, expected);
}

class CudaConvertor : public ::testing::Test {
protected:
    void SetUp() override {
        if (!session_.ready()) GTEST_SKIP() << session_.why();
#if !defined(KRO_CUDA_HAVE_PTX)
        GTEST_SKIP() << "this build has no CUDA compiler, so it carries no kernel program";
#endif
    }
    CudaSession session_;
    CudaBackend backend_{session_};
};

TEST_F(CudaConvertor, EveryFormatPairOnEitherSide) { test::checkFormatPairs(backend_); }

// PQ and transfer 17 take the BT.709-type curves here, LOG_SQRT its own.
TEST_F(CudaConvertor, CurvesAndPrimaries) { test::checkCurvesAndPrimaries(backend_, 302, {302, 305}); }

// Odd sizes: the scaler's four samples near the right and bottom edges and
// the chroma of half blocks.
TEST_F(CudaConvertor, ScalingOddSizes) {
    const test::Colour d{1, 1, 1, 2};
    for (int32_t f : {302, 303, 306})
        for (const auto& g : {std::array<int, 4>{16, 12, 5, 7}, {5, 4, 13, 9}, {33, 2, 8, 2}, {6, 6, 6, 11}}) {
            FrameBuffers in(backend_.hostTwin(f), g[0], g[1]), out(in.format(), g[2], g[3]), want(in.format(), g[2], g[3]);
            in.fillRandom(uint32_t(f + g[0]));
            ASSERT_EQ(runGpuConversion(backend_, {f, g[0], g[1], 1, 1, 1, 2}, in, {f, g[2], g[3], 1, 1, 1, 2}, out),
                      kKROSuccess);
            test::modelConversion(test::GpuProgram::Cuda, in, d, want, d);
            EXPECT_EQ(test::largestCodeDifference(out, want), 0) << f << " " << g[0] << "x" << g[1] << " -> " << g[2]
                                                                 << "x" << g[3];
        }
}

// Rotation and crop copy samples unchanged from the source pixel the
// orientation or window names; chroma follows its pixel.
TEST_F(CudaConvertor, EightOrientationsAndCrops) {
    std::unique_ptr<CudaContext> c = CudaContext::create(session_.context(), nullptr);
    ASSERT_TRUE(c);
    const int W = 6, H = 4;
    for (int32_t f : {302, 303, 304, 307, 317}) {
        FrameBuffers src(backend_.hostTwin(f), W, H);
        src.fillRandom(uint32_t(f));
        const std::unique_ptr<test::DeviceFrame> onDevice = backend_.upload(f, src);
        ASSERT_TRUE(onDevice);
        const SampleAccess a = sampleAccessFor(src.format());
        for (int o = 1; o <= 8; ++o) {
            const bool swap = o >= 5;
            FrameBuffers dst(src.format(), swap ? H : W, swap ? W : H);
            for (bool deviceSide : {false, true}) {
                std::memset(dst.plane(0), 0, dst.size(0));
                KROFrame s = src.frame(), d = dst.frame();
                if (deviceSide) {
                    s.format = f;
                    for (int p = 0; p < 4; ++p) s.planes[p] = const_cast<uint8_t*>(onDevice->planes()[p]);
                }
                ASSERT_EQ(c->rotate(&s, &d, o), kKROSuccess);
                // The EXIF table: the source pixel of destination (x, y).
                auto want = [&](int x, int y) {
                    const int sx[9] = {0, x, W - 1 - x, W - 1 - x, x, y, y, W - 1 - y, W - 1 - y};
                    const int sy[9] = {0, y, y, H - 1 - y, H - 1 - y, x, H - 1 - x, H - 1 - x, x};
                    return readPixel(a, src.frame(), sx[o], sy[o]);
                };
                EXPECT_EQ(worstDifference(dst, want), 0) << f << " orientation " << o << (deviceSide ? " device" : "");
            }
        }
        const struct {
            int w, h, x, y;
            bool fits;
        } crops[] = {{4, 2, 2, 2, true}, {6, 4, 0, 0, true}, {2, 2, 0, 1, true}, {4, 2, 3, 0, false}, {2, 2, 4, 3, false}};
        for (const auto& k : crops) {
            FrameBuffers dst(src.format(), k.w, k.h);
            for (int p = 0; p < dst.planeCount(); ++p) std::memset(dst.plane(p), 0, dst.size(p));
            KROFrame s = src.frame(), d = dst.frame();
            ASSERT_EQ(c->crop(&s, &d, k.x, k.y), kKROSuccess);
            if (k.fits) {
                EXPECT_EQ(worstDifference(dst, [&](int x, int y) { return readPixel(a, s, x + k.x, y + k.y); }), 0)
                    << f << " crop at " << k.x << "," << k.y;
            } else {
                for (int p = 0; p < dst.planeCount(); ++p)
                    for (size_t i = 0; i < dst.size(p); ++i) ASSERT_EQ(dst.plane(p)[i], 0) << f << " crop";
            }
        }
    }
}

TEST_F(CudaConvertor, FailureCodes) {
    std::unique_ptr<CudaContext> c = CudaContext::create(session_.context(), nullptr);
    FrameBuffers rgba(102, 4, 4), yuv422(105, 4, 4);
    KROFrame none = *rgba.raw();
    none.planes[0] = nullptr;
    EXPECT_EQ(c->convertColor(nullptr, rgba.raw()), kKROInputParamError);
    EXPECT_EQ(c->convertColor(rgba.raw(), &none), kKROInputParamError);
    EXPECT_EQ(c->rotate(&none, rgba.raw(), 1), kKROInputParamError);
    // A host format without a device twin cannot be staged; nothing is written.
    rgba.fill(7);
    EXPECT_EQ(c->convertColor(yuv422.raw(), rgba.raw()), kKROLoadCUDAKernelError);
    EXPECT_EQ(c->crop(rgba.raw(), yuv422.raw(), 0, 0), kKROLoadCUDAKernelError);
    EXPECT_EQ(rgba.plane(0)[0], 7);

    // A grid taller than the device allows is refused at launch.
    void* plane = KROCuda::malloc(64);
    KROFrame tall;
    tall.format = 301;
    tall.width = 1;
    tall.height = 65536 * 16 + 1;
    tall.strides[0] = 3;
    tall.planes[0] = static_cast<uint8_t*>(plane);
    testing::internal::CaptureStdout();
    EXPECT_EQ(c->rotate(&tall, &tall, 1), kKRORunCUDAKernelError);
    EXPECT_NE(testing::internal::GetCapturedStdout().find("cuLaunchKernel failed\n"), std::string::npos);

    // An intermediate frame whose size would overflow is refused before
    // anything is allocated.
    KROFrame huge = tall;
    huge.format = 302;
    huge.width = huge.height = 1 << 30;
    KROFrame one = tall;
    one.format = 314;
    one.width = one.height = 1;
    EXPECT_EQ(c->convertColor(&huge, &one), kKROInputParamError);
    KROCuda::free(plane);

    // A context the driver no longer knows cannot be pushed.
    CudaFunctions* f = static_cast<CudaFunctions*>(KROCuda::_cu);
    CUcontext gone = nullptr;
    ASSERT_EQ(f->cuCtxCreate(&gone, 0, 0), CUDA_SUCCESS);
    ASSERT_EQ(f->cuCtxDestroy(gone), CUDA_SUCCESS);
    std::unique_ptr<CudaContext> stale = CudaContext::create(gone, nullptr);
    testing::internal::CaptureStdout();
    EXPECT_EQ(stale->convertColor(rgba.raw(), rgba.raw()), kKROCUCtxPushCurrentError);
    EXPECT_NE(testing::internal::GetCapturedStdout().find("KROColorFunctions cuda error"), std::string::npos);
}

// A build made without a CUDA compiler carries no program: the driver
// refuses the empty module and every conversion says it cannot load kernels.
TEST(CudaWithoutProgram, ConversionsCannotLoadTheirKernels) {
#if defined(KRO_CUDA_HAVE_PTX)
    GTEST_SKIP() << "this build carries the kernel program";
#endif
    CudaSession session;
    if (!session.ready()) GTEST_SKIP() << session.why();
    std::unique_ptr<CudaContext> c = CudaContext::create(session.context(), nullptr);
    FrameBuffers a(102, 4, 4), b(102, 4, 4);
    testing::internal::CaptureStdout();
    EXPECT_EQ(c->convertColor(a.raw(), b.raw()), kKROLoadCUDAKernelError);
    EXPECT_EQ(c->rotate(a.raw(), b.raw(), 1), kKROLoadCUDAKernelError);
    EXPECT_FALSE(KROCuda::checkCUDAPTXSupported());
    testing::internal::GetCapturedStdout();
}

}  // namespace
