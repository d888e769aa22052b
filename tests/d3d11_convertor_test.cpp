// The Direct3D 11 convertor through the public API, on the device the Vulkan
// layer finds (lavapipe in CI): the shared GPU conversion cases and the
// program's own corners, held to its model (support/gpu_program_model).
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <vector>

#include "KROColorFunctions.h"

#if KRO_HAVE_D3D11_CONVERTOR

#include "d3d11/d3d11_context.h"
#include "support/d3d11_backend.h"
#include "support/gpu_conversion_cases.h"
#include "support/format_sweep.h"

using namespace KROCOLOR;
using namespace KROCOLOR::test;

namespace {

D3D11Backend& device() { return d3d11Backend(); }

class D3D11Convertor : public ::testing::Test {
protected:
    void SetUp() override {
        if (!device().unavailable().empty()) GTEST_SKIP() << device().unavailable();
    }
};

SideDescription side(int32_t format, int w, int h, const Colour& c) {
    return {format, w, h, c.primaries, c.transfer, c.matrix, c.range};
}

TEST_F(D3D11Convertor, TexturePairsAgreeWithTheProgramFormulas) { checkFormatPairs(device()); }

// PQ is read as BT.709-coded, gamma 2.2 through the BT.601 pair; a changed
// description forces alpha to 1.
TEST_F(D3D11Convertor, CurvesAndPrimariesFollowTheProgramsOwnChoice) {
    checkCurvesAndPrimaries(device(), 406, {401, 406});
}

// A P010 black written as c * 64 comes back as the word of code 64 that the
// unorm view makes, round(64 * 65535 / 1023), which the shared cases, held
// to 10-bit codes, cannot tell apart.
TEST_F(D3D11Convertor, IdenticalDescriptionsRequantiseP010Words) {
    const Colour limited{1, 1, 1, 1};
    FrameBuffers p010(kKRONV1210LEFormat, 34, 18), p010Out(kKRONV1210LEFormat, 34, 18);
    for (int p = 0; p < 2; ++p)
        for (size_t i = 0; i < p010.size(p); i += 2) {
            const int word = (p == 0 ? 10 : 512) << 6;
            p010.plane(p)[i] = uint8_t(word & 0xff);
            p010.plane(p)[i + 1] = uint8_t(word >> 8);
        }
    ASSERT_EQ(runGpuConversion(device(), side(404, 34, 18, limited), p010, side(404, 34, 18, limited), p010Out),
              kKROSuccess);
    const int black = int(std::lround(64 * 65535.0 / 1023.0));  // 4100, where 64 << 6 would be 4096
    for (size_t i = 0; i < p010Out.size(0); i += 2)
        ASSERT_EQ(p010Out.plane(0)[i] | p010Out.plane(0)[i + 1] << 8, black);
}

TEST_F(D3D11Convertor, HostFramesOfEveryFormatThroughTheStagingPaths) {
    checkHostFormatsThroughStaging(device(), kKROLoadD3D11FunctionError);
}

// Host to host with scaling through the direct staging formats.
TEST_F(D3D11Convertor, DirectStagingFormatsHostToHost) {
    const Colour s{5, 6, 5, 1}, d{1, 1, 1, 1};
    uint32_t seed = 1300;
    for (int32_t sf : {101, 102, 114})
        for (int32_t df : {102, 114}) {
            FrameBuffers host(sf, 38, 22), out(df, 19, 11), rgba(sf == 114 ? 114 : 102, 38, 22), expected(df, 19, 11);
            host.fillRandom(seed++);
            stageAsRgba(host, rgba);  // RGB888 travels as RGBA with alpha 255
            ASSERT_EQ(runGpuConversion(device(), side(sf, 38, 22, s), host, side(df, 19, 11, d), out), kKROSuccess);
            modelConversion(GpuProgram::D3D11, rgba, s, expected, d);
            EXPECT_LE(largestCodeDifference(out, expected), 1) << sf << " -> " << df;
        }
}

// The refusals: a null plane (2), a source texture without shader-resource
// binding (15, checked before the destination), a destination without
// unordered-access binding (16) and format 405, which no view can address
// (17); a side the convertor cannot prepare (19) is the CMYK upload above.
// Nothing reaches host memory.
TEST_F(D3D11Convertor, RefusalsLeaveTheDestinationUntouched) {
    D3D11Backend& b = device();
    ID3D11Texture2D* readable = b.createTexture(32, 16, DXGI_FORMAT_R8G8B8A8_UNORM);
    ID3D11Texture2D* noShaderResource =
        b.createTexture(32, 16, DXGI_FORMAT_R8G8B8A8_UNORM, D3D11_BIND_UNORDERED_ACCESS);
    ID3D11Texture2D* noUnorderedAccess = b.createTexture(32, 16, DXGI_FORMAT_R8G8B8A8_UNORM, D3D11_BIND_SHADER_RESOURCE);
    ASSERT_TRUE(readable && noShaderResource && noUnorderedAccess);
    struct Case {
        const char* name;
        int32_t srcFormat;
        ID3D11Texture2D* src;
        int32_t dstFormat;
        ID3D11Texture2D* dst;  // null: a host RGBA destination
        KROReturn expected;
    };
    const Case cases[] = {
        {"null source texture", 401, nullptr, 102, nullptr, kKROInputParamError},
        {"source without shader-resource binding", 401, noShaderResource, 401, noUnorderedAccess,
         kKROInputTextureBindError},
        {"source without shader-resource binding, host destination", 401, noShaderResource, 102, nullptr,
         kKROInputTextureBindError},
        {"destination without unordered-access binding", 401, readable, 401, noUnorderedAccess,
         kKROOutputTextureBindError},
        {"format 405 source", 405, readable, 102, nullptr, kKRORunD3D11KernelError},
        {"format 405 destination", 401, readable, 405, readable, kKRORunD3D11KernelError},
    };
    const KROHWContext context = b.context();
    for (const Case& c : cases) {
        std::unique_ptr<KROColorFunctions> f(KROColorFunctions::create(
            32, 16, static_cast<KROPixelFormat>(c.srcFormat), 32, 16, static_cast<KROPixelFormat>(c.dstFormat)));
        f->setHWContext(context);
        FrameBuffers host(kKRORGBA8888Format, 32, 16);
        host.fillRandom(7);
        const std::vector<uint8_t> before(host.plane(0), host.plane(0) + host.size(0));
        const uint8_t* src[4] = {reinterpret_cast<const uint8_t*>(c.src), nullptr, nullptr, nullptr};
        uint8_t* texture[4] = {reinterpret_cast<uint8_t*>(c.dst), nullptr, nullptr, nullptr};
        const int strides[4] = {0, 0, 0, 0};
        EXPECT_EQ(f->transcode(src, strides, c.dst ? texture : host.dstPlanes(), c.dst ? strides : host.strides()),
                  c.expected)
            << c.name;
        EXPECT_TRUE(std::equal(before.begin(), before.end(), host.plane(0))) << c.name;
    }
    readable->Release();
    noShaderResource->Release();
    noUnorderedAccess->Release();
}

TEST_F(D3D11Convertor, ConvertingAgainMakesNoNewObjects) {
    std::unique_ptr<D3D11Context> convertor =
        D3D11Context::create(device().manager()->device, device().manager()->context);
    ASSERT_TRUE(convertor);
    FrameBuffers src(kKROYUV420PFormat, 40, 20), first(kKRONV12Format, 24, 12), second(kKRONV12Format, 24, 12);
    src.fillRandom(3);
    KROFrame s = src.frame(1, 1, 1, 1), d1 = first.frame(5, 6, 5, 2), d2 = second.frame(5, 6, 5, 2);
    ASSERT_EQ(convertor->convertColor(&s, &d1), kKROSuccess);
    const D3D11Context::Counts made = convertor->counts();
    // Source, destination and intermediate textures; two shaders; the upload
    // and read-back CPU convertors.
    EXPECT_EQ(made.textureFrames, 3);
    EXPECT_EQ(made.shaderObjects, 2);
    EXPECT_EQ(made.cpuConvertors, 2);
    ASSERT_EQ(convertor->convertColor(&s, &d2), kKROSuccess);
    EXPECT_EQ(convertor->counts().textureFrames, made.textureFrames);
    EXPECT_EQ(convertor->counts().shaderObjects, made.shaderObjects);
    EXPECT_EQ(convertor->counts().cpuConvertors, made.cpuConvertors);
    for (int p = 0; p < 2; ++p) EXPECT_EQ(std::memcmp(first.plane(p), second.plane(p), first.size(p)), 0);
}

}  // namespace

#else

TEST(D3D11Convertor, UnavailableInThisBuild) {
    GTEST_SKIP() << "this build has no Direct3D 11 platform (neither Windows nor the Vulkan layer)";
}

#endif  // KRO_HAVE_D3D11_CONVERTOR
