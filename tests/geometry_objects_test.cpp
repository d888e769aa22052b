// The crop and rotate front objects: parameter checks, the sizes they derive,
// and the hardware types and formats they accept. The pixels the kernels move
// are checked by GeometrySweep on every format; that the crop rectangle's
// corner reaches them, by the krocolor and Python crop tests.
#include <gtest/gtest.h>

#include <memory>

#include "KROColorFunctions.h"
#include "cpu/cpu_context.h"
#include "cpu/xsimd/xsimd_context.h"
#include "support/frame_buffers.h"

using namespace KROCOLOR;
using KROCOLOR::test::FrameBuffers;

TEST(CropObject, CreateChecksTheRectangle) {
    std::unique_ptr<KROCropFunctions> ok(KROCropFunctions::create(10, 10, kKRORGBA8888Format, 0, 0, 10, 10));
    ASSERT_NE(ok, nullptr);
    int x = -1, y = -1, w = -1, h = -1;
    EXPECT_EQ(ok->getcropRect(&x, &y, &w, &h), kKROSuccess);
    EXPECT_TRUE(x == 0 && y == 0 && w == 10 && h == 10);
    const int outside[][4] = {{1, 0, 10, 10}, {0, 0, 0, 5}, {-1, 0, 5, 5}, {0, 6, 5, 5}, {0, 0, 5, 0}};
    for (const auto& r : outside)
        EXPECT_EQ(KROCropFunctions::create(10, 10, kKRORGBA8888Format, r[0], r[1], r[2], r[3]), nullptr) << &r - outside;
    EXPECT_EQ(KROCropFunctions::create(INT32_MAX, 10, kKRORGBA8888Format, INT32_MAX, 0, 2, 2), nullptr)
        << "x + width must not wrap around";
}

TEST(RotateObject, DestinationSizeFollowsTheOrientation) {
    for (int o = 1; o <= 8; ++o) {
        std::unique_ptr<KRORotateFunctions> r(KRORotateFunctions::create(1920, 1080, kKRONV12Format, o));
        ASSERT_NE(r, nullptr);
        int w = 0, h = 0;
        EXPECT_EQ(r->getDstWH(&w, &h), kKROSuccess);
        EXPECT_TRUE(o >= 5 ? w == 1080 && h == 1920 : w == 1920 && h == 1080) << o;
    }
    for (int o : {0, 9}) EXPECT_EQ(KRORotateFunctions::create(1920, 1080, kKRONV12Format, o), nullptr) << o;
}

TEST(GeometryObjects, HardwareTypesAndFamiliesTheyAccept) {
    FrameBuffers src(kKRORGBA8888Format, 4, 2), dst(kKRORGBA8888Format, 2, 4);
    std::unique_ptr<KRORotateFunctions> r(KRORotateFunctions::create(4, 2, kKRORGBA8888Format, 6));
    EXPECT_EQ(r->transcode(src.srcPlanes(), src.strides(), dst.dstPlanes(), dst.strides()), kKROSuccess);
    EXPECT_NE(dynamic_cast<CPUContext*>(r->convertor), nullptr);
    EXPECT_EQ(r->transcode(nullptr, src.strides(), dst.dstPlanes(), dst.strides()), kKROInputParamError);

    KROHWContext gl;
    gl.srcType = kKROHWTypeGLES;
    r->setHWContext(gl);
    EXPECT_EQ(r->transcode(src.srcPlanes(), src.strides(), dst.dstPlanes(), dst.strides()), kKROInputParamError);
    KROHWContext cudaSource;
    cudaSource.srcType = kKROHWTypeCUDA;
    r->setHWContext(cudaSource);
    EXPECT_TRUE(r->rebuild);
    // A CUDA source type passes the front's check and reaches the selection,
    // which gives host formats with types (4, 0) the CPU convertor.
    EXPECT_EQ(r->transcode(src.srcPlanes(), src.strides(), dst.dstPlanes(), dst.strides()), kKROSuccess);
    KROHWContext simd;
    simd.srcType = kKROHWTypeXSimd;
    r->setHWContext(simd);
    EXPECT_EQ(r->transcode(src.srcPlanes(), src.strides(), dst.dstPlanes(), dst.strides()), kKROSuccess);
    EXPECT_NE(dynamic_cast<XSimdCPUContext*>(r->convertor), nullptr);

    std::unique_ptr<KROCropFunctions> texture(KROCropFunctions::create(4, 4, kKRORGBA8888Texture2DFormat, 0, 0, 2, 2));
    EXPECT_EQ(texture->transcode(src.srcPlanes(), src.strides(), dst.dstPlanes(), dst.strides()), kKROInputParamError);
    std::unique_ptr<KROCropFunctions> cmyk(KROCropFunctions::create(4, 2, kKROCMYK8888Format, 0, 0, 2, 2));
    EXPECT_EQ(cmyk->transcode(src.srcPlanes(), src.strides(), dst.dstPlanes(), dst.strides()), kKROInputPixelFormatNotSupported);
    std::unique_ptr<KRORotateFunctions> grey(KRORotateFunctions::create(4, 2, kKROI8Format, 1));
    EXPECT_EQ(grey->transcode(src.srcPlanes(), src.strides(), dst.dstPlanes(), dst.strides()), kKROInputPixelFormatNotSupported);
}
