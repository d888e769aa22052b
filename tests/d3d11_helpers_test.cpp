// KRODirectX on the Vulkan-backed Direct3D 11 layer (lavapipe in CI): device,
// texture, view, buffer, shader, query and copy operations, and a small
// compute program of the tests' own run end to end through the layer.
#include <gtest/gtest.h>
#include <vulkan/vulkan.h>

#include <cstring>
#include <string>
#include <thread>
#include <tuple>
#include <vector>

#include "KROColorFunctions.h"
#include "d3d11/d3d11_headers.h"
#include "d3d11/platform/layer_counters.h"

using namespace KROCOLOR;

namespace {

class D3D11Helpers : public ::testing::Test {
protected:
    void SetUp() override {
        manager_ = KRODirectX::createID3D11Device(0);
        ASSERT_NE(manager_, nullptr) << "no Vulkan device for the Direct3D 11 layer";
    }
    void TearDown() override { KRODirectX::releaseID3D11Device(&manager_); }

    // Row pitch the layer gives a staging texture of this size and format.
    UINT stagingPitch(ID3D11Texture2D* staging) {
        D3D11_MAPPED_SUBRESOURCE mapped{};
        EXPECT_EQ(manager_->context->Map(staging, 0, D3D11_MAP_READ, 0, &mapped), S_OK);
        manager_->context->Unmap(staging, 0);
        return mapped.RowPitch;
    }
    bool finish() {
        ID3D11Query* query = nullptr;
        if (!KRODirectX::createID3D11EventQuery(manager_, &query)) return false;
        manager_->context->End(query);
        manager_->context->Flush();
        const bool done = KRODirectX::queryID3D11GetDataWithTimeout(manager_, query, 10000);
        query->Release();
        return done;
    }

    ID3D11Manager* manager_ = nullptr;
};

TEST_F(D3D11Helpers, DevicesAdaptersAndSharedTextures) {
    // The adapters are Vulkan's physical devices in Vulkan's order.
    VkInstanceCreateInfo info{VK_STRUCTURE_TYPE_INSTANCE_CREATE_INFO, nullptr, 0, nullptr, 0, nullptr, 0, nullptr};
    VkInstance instance = VK_NULL_HANDLE;
    ASSERT_EQ(vkCreateInstance(&info, nullptr, &instance), VK_SUCCESS);
    uint32_t count = 0;
    vkEnumeratePhysicalDevices(instance, &count, nullptr);
    std::vector<VkPhysicalDevice> devices(count);
    vkEnumeratePhysicalDevices(instance, &count, devices.data());
    VkPhysicalDeviceProperties first;
    vkGetPhysicalDeviceProperties(devices[0], &first);
    vkDestroyInstance(instance, nullptr);

    IDXGIAdapter* adapter = KRODirectX::queryIDXGIAdapter(manager_->device);
    ASSERT_NE(adapter, nullptr);
    DXGI_ADAPTER_DESC desc{};
    EXPECT_EQ(adapter->GetDesc(&desc), S_OK);
    std::string name;
    for (const WCHAR* c = desc.Description; *c; ++c) name += static_cast<char>(*c);
    EXPECT_EQ(name, std::string(first.deviceName));
    adapter->Release();
    EXPECT_EQ(KRODirectX::queryIDXGIAdapter(nullptr), nullptr);

    for (int index : {static_cast<int>(count), -1}) EXPECT_EQ(KRODirectX::createID3D11Device(index), nullptr) << index;

    ID3D11Manager* second = KRODirectX::createID3D11Device(0);
    ASSERT_NE(second, nullptr);
    EXPECT_NE(second->device, manager_->device);
    EXPECT_TRUE(KRODirectX::canInteroperability(manager_, second));
    EXPECT_FALSE(KRODirectX::canInteroperability(manager_, nullptr) || KRODirectX::canInteroperability(nullptr, second));

    // A shared texture of one device opens on the other, with its contents.
    ID3D11Texture2D* texture = KRODirectX::createID3D11Texture2D(manager_, 8, 4, DXGI_FORMAT_NV12);
    ID3D11Texture2D* staging = KRODirectX::createStagingID3D11Texture2D(manager_, 8, 4, DXGI_FORMAT_NV12);
    ASSERT_TRUE(texture && staging);
    EXPECT_EQ(KRODirectX::createSharedID3D11Texture2D(second, staging), nullptr);  // not shared
    EXPECT_EQ(KRODirectX::createSharedID3D11Texture2D(nullptr, texture), nullptr);
    ID3D11Texture2D* opened = KRODirectX::createSharedID3D11Texture2D(second, texture);
    ASSERT_NE(opened, nullptr);
    ID3D11Device* owner = nullptr;
    opened->GetDevice(&owner);
    EXPECT_EQ(owner, second->device);
    owner->Release();

    unsigned char pixels[8 * 6];
    for (int i = 0; i < 48; ++i) pixels[i] = static_cast<unsigned char>(200 - i);
    ASSERT_TRUE(KRODirectX::writeDataToStagingID3D11Texture2D(manager_, staging, 0, pixels, 8, 8, 4));
    ASSERT_TRUE(KRODirectX::writeDataToID3D11Texture2D(manager_, staging, 0, texture, 0));
    ASSERT_TRUE(finish());
    ID3D11Texture2D* secondStaging = KRODirectX::createStagingID3D11Texture2D(second, 8, 4, DXGI_FORMAT_NV12);
    ASSERT_TRUE(KRODirectX::readDataFromID3D11Texture2D(second, opened, 0, secondStaging, 0));
    unsigned char result[8 * 6] = {};
    ASSERT_TRUE(KRODirectX::readDataFromStagingID3D11Texture2D(second, result, 8, 8, 4, secondStaging, 0));
    EXPECT_EQ(0, std::memcmp(result, pixels, sizeof(pixels)));
    for (ID3D11Texture2D* t : {texture, staging, opened, secondStaging}) t->Release();
    KRODirectX::releaseID3D11Device(&second);
    EXPECT_EQ(second, nullptr);
    KRODirectX::releaseID3D11Device(&second);  // null manager: nothing happens
    KRODirectX::releaseID3D11Device(nullptr);
}

TEST_F(D3D11Helpers, TextureDescriptionsAndRefusals) {
    const DXGI_FORMAT formats[] = {DXGI_FORMAT_R8G8B8A8_UNORM, DXGI_FORMAT_B8G8R8A8_UNORM,
                                   DXGI_FORMAT_R16G16B16A16_UNORM, DXGI_FORMAT_NV12, DXGI_FORMAT_P010};
    for (DXGI_FORMAT format : formats) {
        SCOPED_TRACE(format);
        for (bool staging : {false, true}) {
            ID3D11Texture2D* texture = staging ? KRODirectX::createStagingID3D11Texture2D(manager_, 64, 30, format)
                                               : KRODirectX::createID3D11Texture2D(manager_, 64, 30, format);
            ASSERT_NE(texture, nullptr);
            D3D11_TEXTURE2D_DESC d;
            texture->GetDesc(&d);
            EXPECT_EQ(std::make_tuple(d.Width, d.Height, d.Format, d.MipLevels, d.ArraySize, d.SampleDesc.Count,
                                      d.SampleDesc.Quality),
                      std::make_tuple(64u, 30u, format, 1u, 1u, 1u, 0u));
            EXPECT_EQ(std::make_tuple(d.Usage, d.BindFlags, d.CPUAccessFlags, d.MiscFlags),
                      staging ? std::make_tuple(D3D11_USAGE_STAGING, 0u, UINT(D3D11_CPU_ACCESS_READ | D3D11_CPU_ACCESS_WRITE), 0u)
                              : std::make_tuple(D3D11_USAGE_DEFAULT, 168u, 0u, UINT(D3D11_RESOURCE_MISC_SHARED)));
            texture->Release();
        }
    }
    EXPECT_EQ(KRODirectX::createID3D11Texture2D(nullptr, 8, 8, DXGI_FORMAT_NV12), nullptr);
    EXPECT_EQ(KRODirectX::createID3D11Texture2D(manager_, 0, 8, DXGI_FORMAT_NV12), nullptr);
    EXPECT_EQ(KRODirectX::createStagingID3D11Texture2D(manager_, 8, -2, DXGI_FORMAT_NV12), nullptr);
    EXPECT_EQ(KRODirectX::createID3D11Texture2D(manager_, 8, 8, static_cast<DXGI_FORMAT>(2)), nullptr);
}

TEST_F(D3D11Helpers, ViewFormatTable) {
    struct Row {
        DXGI_FORMAT texture;
        DXGI_FORMAT view0;
        DXGI_FORMAT view1;  // UNKNOWN: no second view
    };
    const Row rows[] = {
        {DXGI_FORMAT_NV12, DXGI_FORMAT_R8_UNORM, DXGI_FORMAT_R8G8_UNORM},
        {DXGI_FORMAT_P010, DXGI_FORMAT_R16_UNORM, DXGI_FORMAT_R16G16_UNORM},
        {DXGI_FORMAT_R8G8B8A8_UNORM, DXGI_FORMAT_R8G8B8A8_UNORM, DXGI_FORMAT_UNKNOWN},
        {DXGI_FORMAT_B8G8R8A8_UNORM, DXGI_FORMAT_B8G8R8A8_UNORM, DXGI_FORMAT_UNKNOWN},
        {DXGI_FORMAT_R16G16B16A16_UNORM, DXGI_FORMAT_R16G16B16A16_UNORM, DXGI_FORMAT_UNKNOWN},
    };
    auto* junk = reinterpret_cast<ID3D11ShaderResourceView*>(0x1);
    for (const Row& row : rows) {
        SCOPED_TRACE(row.texture);
        ID3D11Texture2D* texture = KRODirectX::createID3D11Texture2D(manager_, 16, 8, row.texture);
        ASSERT_NE(texture, nullptr);
        ID3D11ShaderResourceView* srv[2] = {junk, junk};
        ASSERT_TRUE(KRODirectX::createID3D11ShaderResourceView(manager_, texture, 0, srv));
        ID3D11UnorderedAccessView* uav[2] = {nullptr, nullptr};
        ASSERT_TRUE(KRODirectX::createID3D11UnorderedAccessView(manager_, texture, 0, uav));
        const DXGI_FORMAT expected[2] = {row.view0, row.view1};
        for (int i = 0; i < 2; ++i) {
            if (expected[i] == DXGI_FORMAT_UNKNOWN) {
                EXPECT_TRUE(!srv[i] && !uav[i]);
                continue;
            }
            D3D11_SHADER_RESOURCE_VIEW_DESC s;
            srv[i]->GetDesc(&s);
            D3D11_UNORDERED_ACCESS_VIEW_DESC u;
            uav[i]->GetDesc(&u);
            EXPECT_EQ(std::make_tuple(s.Format, int(s.ViewDimension), s.Texture2DArray.FirstArraySlice,
                                      s.Texture2DArray.ArraySize, s.Texture2DArray.MipLevels),
                      std::make_tuple(expected[i], 5, 0u, 1u, 1u));
            EXPECT_EQ(std::make_tuple(u.Format, int(u.ViewDimension), u.Texture2DArray.MipSlice),
                      std::make_tuple(expected[i], 5, 0u));
            srv[i]->Release();
            uav[i]->Release();
        }
        // Slices outside [0, ArraySize) are refused without writing.
        for (long long slice : {1LL, -1LL, 1LL << 32}) {
            ID3D11ShaderResourceView* untouched[2] = {junk, junk};
            EXPECT_FALSE(KRODirectX::createID3D11ShaderResourceView(manager_, texture, slice, untouched));
            EXPECT_EQ(untouched[0], junk);
        }
        texture->Release();
    }
    // A format without a row in the table (the layer itself can make it).
    D3D11_TEXTURE2D_DESC desc{8, 8, 1, 1, DXGI_FORMAT_R8_UNORM, {1, 0}, D3D11_USAGE_DEFAULT, 168, 0, 0};
    ID3D11Texture2D* r8 = nullptr;
    ASSERT_EQ(manager_->device->CreateTexture2D(&desc, nullptr, &r8), S_OK);
    ID3D11UnorderedAccessView* untouched[2] = {nullptr, nullptr};
    EXPECT_FALSE(KRODirectX::createID3D11UnorderedAccessView(manager_, r8, 0, untouched));
    EXPECT_EQ(untouched[0], nullptr);
    EXPECT_FALSE(KRODirectX::createID3D11ShaderResourceView(nullptr, r8, 0, nullptr));
    EXPECT_FALSE(KRODirectX::createID3D11UnorderedAccessView(manager_, nullptr, 0, untouched));
    r8->Release();
}

TEST_F(D3D11Helpers, ConstantBuffers) {
    unsigned char bytes[48] = {};
    ID3D11Buffer* buffer = nullptr;
    ASSERT_TRUE(KRODirectX::createBuffer(manager_, bytes, sizeof(bytes), &buffer));
    D3D11_BUFFER_DESC d;
    buffer->GetDesc(&d);
    EXPECT_EQ(std::make_tuple(d.ByteWidth, d.Usage, d.BindFlags, d.CPUAccessFlags),
              std::make_tuple(48u, D3D11_USAGE_DYNAMIC, UINT(D3D11_BIND_CONSTANT_BUFFER), UINT(D3D11_CPU_ACCESS_WRITE)));
    buffer->Release();
    ID3D11Buffer* untouched = nullptr;
    EXPECT_FALSE(KRODirectX::createBuffer(manager_, bytes, 0, &untouched));
    EXPECT_FALSE(KRODirectX::createBuffer(manager_, nullptr, 48, &untouched));
    EXPECT_FALSE(KRODirectX::createBuffer(manager_, bytes, 20, &untouched));  // not a multiple of 16
    EXPECT_FALSE(KRODirectX::createBuffer(manager_, bytes, 1ULL << 32, &untouched));  // low 32 bits: 0
    EXPECT_FALSE(KRODirectX::createBuffer(nullptr, bytes, 48, &untouched));
    EXPECT_FALSE(KRODirectX::createBuffer(manager_, bytes, 48, nullptr));
    EXPECT_EQ(untouched, nullptr);
}

const char kBrokenProgram[] = "[numthreads(1,1,1)] void kroBroken(uint3 id : SV_DispatchThreadID) { undeclared = 1; }";
const char kTinyProgram[] =
    "RWTexture2D<unorm float4> o : register(u0);\r\n"
    "[numthreads(1,1,1)] void kroTiny(uint3 id : SV_DispatchThreadID) { o[id.xy] = float4(1, 0, 0, 1); }\r\n";

TEST_F(D3D11Helpers, ShaderCompileErrorsAndBytecodeCache) {
    ID3D11ComputeShader* shader = nullptr;
    testing::internal::CaptureStdout();
    EXPECT_FALSE(KRODirectX::createID3D11ComputeShader(manager_, kBrokenProgram, sizeof(kBrokenProgram) - 1,
                                                       "kroBroken", &shader));
    std::string printed = testing::internal::GetCapturedStdout();
    EXPECT_EQ(printed.rfind("KRODirectX D3DCompile error ", 0), 0u) << printed;
    EXPECT_NE(printed.find("undeclared"), std::string::npos) << printed;
    EXPECT_EQ(shader, nullptr);

    // Without an error blob (a length the compiler refuses outright).
    testing::internal::CaptureStdout();
    EXPECT_FALSE(KRODirectX::createID3D11ComputeShader(manager_, kTinyProgram, 1ULL << 40, "kroTinyTooLong", &shader));
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "KRODirectX D3DCompile error: Unknown error.");

    const uint64_t shadersBefore = kro_d3d11::layerCounters().of(kro_d3d11::ObjectKind::ComputeShader);
    ASSERT_TRUE(KRODirectX::createID3D11ComputeShader(manager_, kTinyProgram, sizeof(kTinyProgram) - 1, "kroTiny",
                                                      &shader));
    shader->Release();
    shader = nullptr;
    // Cached by entry-point name: the source is not compiled again.
    testing::internal::CaptureStdout();
    ASSERT_TRUE(KRODirectX::createID3D11ComputeShader(manager_, kBrokenProgram, sizeof(kBrokenProgram) - 1, "kroTiny",
                                                      &shader));
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
    shader->Release();
    // Shader objects are made per call, from the cached bytecode.
    EXPECT_EQ(kro_d3d11::layerCounters().of(kro_d3d11::ObjectKind::ComputeShader), shadersBefore + 2);
    // The failed compilation stored nothing.
    testing::internal::CaptureStdout();
    EXPECT_FALSE(KRODirectX::createID3D11ComputeShader(manager_, kBrokenProgram, sizeof(kBrokenProgram) - 1,
                                                       "kroBroken", &shader));
    testing::internal::GetCapturedStdout();
    EXPECT_FALSE(KRODirectX::createID3D11ComputeShader(nullptr, kTinyProgram, 10, "kroTiny", &shader));
    EXPECT_FALSE(KRODirectX::createID3D11ComputeShader(manager_, nullptr, 10, "kroTiny", &shader));
}

// Creation calls may come from any thread; the bytecode cache is shared.
TEST_F(D3D11Helpers, ShadersCompiledOnSeveralThreads) {
    const char program[] =
        "RWTexture2D<unorm float> o : register(u1);\n"
        "[numthreads(4,4,1)] void kroThreaded(uint3 id : SV_DispatchThreadID) { o[id.xy] = 0.5; }\n";
    bool made[4] = {};
    std::vector<std::thread> threads;
    for (bool& ok : made) {
        threads.emplace_back([&] {
            ID3D11ComputeShader* shader = nullptr;
            ok = KRODirectX::createID3D11ComputeShader(manager_, program, sizeof(program) - 1, "kroThreaded", &shader);
            if (shader) shader->Release();
        });
    }
    for (std::thread& t : threads) t.join();
    for (bool ok : made) EXPECT_TRUE(ok);
}

TEST_F(D3D11Helpers, EventQueryBoundedWait) {
    ID3D11Query* query = nullptr;
    ASSERT_TRUE(KRODirectX::createID3D11EventQuery(manager_, &query));
    // Never ended: never signalled, so the wait runs into its timeout.
    EXPECT_FALSE(KRODirectX::queryID3D11GetDataWithTimeout(manager_, query, 5));
    manager_->context->End(query);
    EXPECT_TRUE(KRODirectX::queryID3D11GetDataWithTimeout(manager_, query, 1000));
    // Already signalled: a zero timeout still sees it.
    EXPECT_TRUE(KRODirectX::queryID3D11GetDataWithTimeout(manager_, query, 0));
    BOOL signalled = FALSE;
    EXPECT_EQ(manager_->context->GetData(query, &signalled, sizeof(signalled), 0), S_OK);
    EXPECT_EQ(signalled, TRUE);
    query->Release();

    // Work recorded but not submitted: S_FALSE until a flush lets it run.
    ID3D11Texture2D* a = KRODirectX::createID3D11Texture2D(manager_, 64, 64, DXGI_FORMAT_R8G8B8A8_UNORM);
    ID3D11Texture2D* b = KRODirectX::createID3D11Texture2D(manager_, 64, 64, DXGI_FORMAT_R8G8B8A8_UNORM);
    ASSERT_TRUE(a && b && KRODirectX::createID3D11EventQuery(manager_, &query));
    ASSERT_TRUE(KRODirectX::copyID3D11Texture2D(manager_, b, 0, a, 0));
    manager_->context->End(query);
    EXPECT_EQ(manager_->context->GetData(query, nullptr, 0, D3D11_ASYNC_GETDATA_DONOTFLUSH), S_FALSE);
    EXPECT_TRUE(KRODirectX::queryID3D11GetDataWithTimeout(manager_, query, 10000));
    for (IUnknown* object : std::initializer_list<IUnknown*>{a, b, query}) object->Release();
    EXPECT_FALSE(KRODirectX::queryID3D11GetDataWithTimeout(manager_, nullptr, 0));
    EXPECT_FALSE(KRODirectX::createID3D11EventQuery(nullptr, &query));
    EXPECT_FALSE(KRODirectX::createID3D11EventQuery(manager_, nullptr));
}

struct StagingCase {
    DXGI_FORMAT format;
    int width, height;
    int rows, rowBytes;  // what the staging copies move
    bool rgb = false;    // RGB rows, expanded into the RGBA texels with alpha 255
};

// Height 5 NV12: rows 0..7, since 7 < 7.5.
const StagingCase kStagingCases[] = {
    {DXGI_FORMAT_R8G8B8A8_UNORM, 21, 7, 7, 84},  {DXGI_FORMAT_B8G8R8A8_UNORM, 64, 3, 3, 256},
    {DXGI_FORMAT_R16G16B16A16_UNORM, 9, 4, 4, 72}, {DXGI_FORMAT_NV12, 10, 5, 8, 10},
    {DXGI_FORMAT_NV12, 256, 4, 6, 256},          {DXGI_FORMAT_P010, 12, 6, 9, 24},
    {DXGI_FORMAT_R8G8B8A8_UNORM, 13, 5, 5, 39, true},
};

// CPU -> staging -> texture -> staging -> CPU, with strides equal to and
// different from the staging row pitch on both ends; RGB rows through the
// RGBA expansion.
TEST_F(D3D11Helpers, StagingTransfersThroughATexture) {
    for (const StagingCase& c : kStagingCases) {
        for (int extra : {0, 3}) {
            SCOPED_TRACE(testing::Message() << c.format << " " << c.width << "x" << c.height << " extra " << extra);
            ID3D11Texture2D* upload = KRODirectX::createStagingID3D11Texture2D(manager_, c.width, c.height, c.format);
            ID3D11Texture2D* download = KRODirectX::createStagingID3D11Texture2D(manager_, c.width, c.height, c.format);
            ID3D11Texture2D* texture = KRODirectX::createID3D11Texture2D(manager_, c.width, c.height, c.format);
            ASSERT_TRUE(upload && download && texture);
            const int pitch = static_cast<int>(stagingPitch(upload));
            ASSERT_GE(pitch, c.rowBytes);
            // extra 0: the caller's stride is the pitch (one block); else a
            // stride of its own, row by row.
            const int stride = extra == 0 ? pitch : c.rowBytes + extra;
            std::vector<unsigned char> source(size_t(stride) * c.rows);
            for (size_t i = 0; i < source.size(); ++i) source[i] = static_cast<unsigned char>(i * 31 + 7);
            ASSERT_TRUE(c.rgb ? KRODirectX::writeRGBDataToRGBAStagingID3D11Texture2D(manager_, upload, 0, source.data(),
                                                                                   stride, c.width, c.height)
                              : KRODirectX::writeDataToStagingID3D11Texture2D(manager_, upload, 0, source.data(), stride,
                                                                              c.width, c.height));
            ASSERT_TRUE(KRODirectX::writeDataToID3D11Texture2D(manager_, upload, 0, texture, 0));
            ASSERT_TRUE(KRODirectX::readDataFromID3D11Texture2D(manager_, texture, 0, download, 0));
            std::vector<unsigned char> result(source.size(), 0xEE);
            ASSERT_TRUE(c.rgb ? KRODirectX::readRGBDataFromRGBAStagingID3D11Texture2D(manager_, result.data(), stride,
                                                                                   c.width, c.height, download, 0)
                              : KRODirectX::readDataFromStagingID3D11Texture2D(manager_, result.data(), stride, c.width,
                                                                               c.height, download, 0));
            if (c.rgb) {  // the texels themselves: each pixel's three samples, then 255
                std::vector<unsigned char> texels(size_t(c.width) * c.height * 4);
                ASSERT_TRUE(KRODirectX::readDataFromStagingID3D11Texture2D(manager_, texels.data(), c.width * 4, c.width,
                                                                           c.height, download, 0));
                for (int i = 0; i < c.width * c.height * 4; ++i)
                    ASSERT_EQ(texels[i], i % 4 == 3 ? 255 : source[i / 4 / c.width * stride + i / 4 % c.width * 3 + i % 4]);
            }
            for (int r = 0; r < c.rows; ++r) {
                ASSERT_EQ(0, std::memcmp(&result[size_t(r) * stride], &source[size_t(r) * stride], c.rowBytes))
                    << "row " << r;
                if (extra) {
                    EXPECT_EQ(result[size_t(r) * stride + c.rowBytes], 0xEE) << "padding of row " << r;
                }
            }
            for (ID3D11Texture2D* t : {upload, download, texture}) t->Release();
        }
    }
}

TEST_F(D3D11Helpers, StagingRefusals) {
    ID3D11Texture2D* staging = KRODirectX::createStagingID3D11Texture2D(manager_, 8, 4, DXGI_FORMAT_B8G8R8A8_UNORM);
    ASSERT_NE(staging, nullptr);
    std::vector<unsigned char> buffer(8 * 4 * 4, 0x5A);
    unsigned char* p = buffer.data();
    EXPECT_FALSE(KRODirectX::readDataFromStagingID3D11Texture2D(manager_, p, 32, 8, 0, staging, 0));
    EXPECT_FALSE(KRODirectX::readDataFromStagingID3D11Texture2D(manager_, p, -32, 8, 4, staging, 0));
    EXPECT_FALSE(KRODirectX::readDataFromStagingID3D11Texture2D(manager_, p, 32, 8, 5, staging, 0));  // size differs
    EXPECT_FALSE(KRODirectX::readDataFromStagingID3D11Texture2D(manager_, p, 16, 8, 4, staging, 0));  // rows overlap
    EXPECT_FALSE(KRODirectX::readDataFromStagingID3D11Texture2D(manager_, nullptr, 32, 8, 4, staging, 0));
    EXPECT_FALSE(KRODirectX::readDataFromStagingID3D11Texture2D(nullptr, p, 32, 8, 4, staging, 0));
    EXPECT_FALSE(KRODirectX::writeDataToStagingID3D11Texture2D(manager_, nullptr, 0, p, 32, 8, 4));
    EXPECT_FALSE(KRODirectX::writeRGBDataToRGBAStagingID3D11Texture2D(manager_, staging, 0, p, 24, 8, 4));  // BGRA
    EXPECT_FALSE(KRODirectX::readRGBDataFromRGBAStagingID3D11Texture2D(manager_, p, 24, 8, 4, staging, 0));
    for (unsigned char b : buffer) ASSERT_EQ(b, 0x5A);
    staging->Release();
}

TEST_F(D3D11Helpers, TextureCopies) {
    ID3D11Texture2D* rgba = KRODirectX::createID3D11Texture2D(manager_, 16, 8, DXGI_FORMAT_R8G8B8A8_UNORM);
    ID3D11Texture2D* bgra = KRODirectX::createID3D11Texture2D(manager_, 16, 8, DXGI_FORMAT_B8G8R8A8_UNORM);
    ID3D11Texture2D* small = KRODirectX::createID3D11Texture2D(manager_, 4, 3, DXGI_FORMAT_R8G8B8A8_UNORM);
    ID3D11Texture2D* staging = KRODirectX::createStagingID3D11Texture2D(manager_, 16, 8, DXGI_FORMAT_R8G8B8A8_UNORM);
    ID3D11Texture2D* smallStaging = KRODirectX::createStagingID3D11Texture2D(manager_, 4, 3, DXGI_FORMAT_R8G8B8A8_UNORM);
    ASSERT_TRUE(rgba && bgra && small && staging && smallStaging);
    EXPECT_FALSE(KRODirectX::copyID3D11Texture2D(manager_, bgra, 0, rgba, 0));
    EXPECT_FALSE(KRODirectX::copyID3D11Texture2D(manager_, nullptr, 0, rgba, 0));
    EXPECT_FALSE(KRODirectX::copyID3D11Texture2D(nullptr, small, 0, rgba, 0));

    // Different sizes are queued; what fits of the source arrives.
    std::vector<unsigned char> pixels(16 * 8 * 4);
    for (size_t i = 0; i < pixels.size(); ++i) pixels[i] = static_cast<unsigned char>(i);
    ASSERT_TRUE(KRODirectX::writeDataToStagingID3D11Texture2D(manager_, staging, 0, pixels.data(), 64, 16, 8));
    ASSERT_TRUE(KRODirectX::writeDataToID3D11Texture2D(manager_, staging, 0, rgba, 0));
    ASSERT_TRUE(KRODirectX::copyID3D11Texture2D(manager_, small, 0, rgba, 0));
    ASSERT_TRUE(KRODirectX::readDataFromID3D11Texture2D(manager_, small, 0, smallStaging, 0));
    std::vector<unsigned char> out(4 * 3 * 4);
    ASSERT_TRUE(KRODirectX::readDataFromStagingID3D11Texture2D(manager_, out.data(), 16, 4, 3, smallStaging, 0));
    for (int y = 0; y < 3; ++y) EXPECT_EQ(0, std::memcmp(&out[y * 16], &pixels[y * 64], 16)) << "row " << y;
    for (ID3D11Texture2D* t : {rgba, bgra, small, staging, smallStaging}) t->Release();
}

// A program of the tests' own: known values into an RGBA texture; blue adds
// a load from outside the source texture, which must read as zero. (The
// planes of NV12 and P010 targets are written by the convertor's program,
// whose format pairs cover them.)
const char kFillProgram[] = R"(
cbuffer Params : register(b0) { int width; int height; int seed; int pad; };
Texture2D<float4> g_source : register(t0);
RWTexture2D<unorm float4> g_rgba : register(u0);
[numthreads(8, 4, 1)]
void kroTestFill(uint3 id : SV_DispatchThreadID) {
    if (id.x >= (uint)width || id.y >= (uint)height) return;
    float4 s = g_source[id.xy];
    float4 outside = g_source[uint2(id.x + (uint)width, id.y)];
    g_rgba[id.xy] = float4(((id.x * 7 + id.y + (uint)seed) % 256) / 255.0, s.g, s.b + outside.r, 1.0);
}
)";

TEST_F(D3D11Helpers, ComputeProgramEndToEnd) {
    const int width = 38, height = 22;  // 8 x 4 groups: the last column and row are partial
    ID3D11ComputeShader* shader = nullptr;
    ASSERT_TRUE(KRODirectX::createID3D11ComputeShader(manager_, kFillProgram, sizeof(kFillProgram) - 1, "kroTestFill",
                                                      &shader));
    ID3D11Texture2D* t[3] = {};  // source, target, staging
    for (int i = 0; i < 3; ++i) {
        t[i] = i < 2 ? KRODirectX::createID3D11Texture2D(manager_, width, height, DXGI_FORMAT_R8G8B8A8_UNORM)
                     : KRODirectX::createStagingID3D11Texture2D(manager_, width, height, DXGI_FORMAT_R8G8B8A8_UNORM);
        ASSERT_NE(t[i], nullptr);
    }
    std::vector<unsigned char> source(size_t(width) * height * 4), rgba(source.size());
    for (size_t i = 0; i < source.size(); ++i) source[i] = static_cast<unsigned char>(i * 13 + 1);
    ASSERT_TRUE(KRODirectX::writeDataToStagingID3D11Texture2D(manager_, t[2], 0, source.data(), width * 4, width, height));
    ASSERT_TRUE(KRODirectX::writeDataToID3D11Texture2D(manager_, t[2], 0, t[0], 0));

    ID3D11ShaderResourceView* srv[2] = {};
    ID3D11UnorderedAccessView* uav[2] = {};
    ASSERT_TRUE(KRODirectX::createID3D11ShaderResourceView(manager_, t[0], 0, srv));
    ASSERT_TRUE(KRODirectX::createID3D11UnorderedAccessView(manager_, t[1], 0, uav));
    ID3D11DeviceContext* context = manager_->context;
    // Runs the program with `seed`, reads the target back and checks it
    // against what the program wrote with `written`.
    auto runAndCheck = [&](int seed, ID3D11ShaderResourceView* texture, ID3D11UnorderedAccessView* target,
                           int written, bool withSource) {
        int32_t params[4] = {width, height, seed, 0};
        ID3D11Buffer* constants = nullptr;
        ASSERT_TRUE(KRODirectX::createBuffer(manager_, params, sizeof(params), &constants));
        context->CSSetShader(shader, nullptr, 0);
        context->CSSetShaderResources(0, 1, &texture);
        context->CSSetUnorderedAccessViews(0, 1, &target, nullptr);
        context->CSSetConstantBuffers(0, 1, &constants);
        context->Dispatch((width + 7) / 8, (height + 3) / 4, 1);
        // The buffer can go at once: the recorded work keeps what it uses.
        constants->Release();
        EXPECT_TRUE(finish());
        ASSERT_TRUE(KRODirectX::readDataFromID3D11Texture2D(manager_, t[1], 0, t[2], 0));
        ASSERT_TRUE(KRODirectX::readDataFromStagingID3D11Texture2D(manager_, rgba.data(), width * 4, width, height, t[2], 0));
        for (int y = 0; y < height; ++y)
            for (int x = 0; x < width; ++x) {
                const size_t i = (size_t(y) * width + x) * 4;
                const int want[4] = {(x * 7 + y + written) % 256, withSource ? source[i + 1] : 0,
                                     withSource ? source[i + 2] : 0, 255};
                for (int k = 0; k < 4; ++k) ASSERT_EQ(rgba[i + k], want[k]) << x << "," << y << " component " << k;
            }
    };

    runAndCheck(5, srv[0], uav[0], 5, true);
    // An empty texture slot reads as zeros; stores to an empty target slot
    // are dropped (the target keeps the second run's values).
    runAndCheck(9, nullptr, uav[0], 9, false);
    runAndCheck(13, srv[0], nullptr, 9, false);

    ID3D11UnorderedAccessView* none = nullptr;
    context->CSSetUnorderedAccessViews(0, 1, &none, nullptr);
    for (IUnknown* object : std::initializer_list<IUnknown*>{uav[0], srv[0], shader}) object->Release();
    for (ID3D11Texture2D* texture : t) texture->Release();
}

}  // namespace
