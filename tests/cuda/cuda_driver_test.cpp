// The driver loader and KROCuda's operations, against whatever driver the
// loader finds; the no-driver expectations run in their own process
// (ctest's cuda_without_driver), where no libcuda.so.1 can be found.
#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <string>
#include <sys/stat.h>

#include "core/frame.h"
#include "cuda/cuda_context.h"
#include "cuda/cuda_driver.h"
#include "cuda/driver_version.h"
#include "support/cuda_device.h"

using namespace KROCOLOR;

namespace {

TEST(CudaWithoutDriver, EveryOperationFailsCleanly) {
    if (!std::getenv("KRO_CUDA_EXPECT_NO_DRIVER"))
        GTEST_SKIP() << "runs as ctest cuda_without_driver, where no driver can be found";
    testing::internal::CaptureStderr();
    EXPECT_FALSE(KROCuda::init());
    EXPECT_NE(testing::internal::GetCapturedStderr().find("Cannot load libcuda.so.1"), std::string::npos);
    EXPECT_EQ(KROCuda::_cu, nullptr);
    EXPECT_EQ(KROCuda::malloc(1024), nullptr);
    EXPECT_EQ(KROCuda::getDeviceCount(), 0);
    EXPECT_EQ(KROCuda::retainDevicePrimaryCtx(0), nullptr);
    EXPECT_FALSE(KROCuda::memcpyHtoD(reinterpret_cast<void*>(16), "x", 1));
    EXPECT_FALSE(KROCuda::checkCUDAPTXSupported());

    uint8_t byte = 0;
    int fakeContext = 0;
    std::unique_ptr<CudaContext> c = CudaContext::create(&fakeContext, nullptr);
    ASSERT_TRUE(c);
    KROFrame s, d;
    s.width = d.width = s.height = d.height = 1;
    s.format = 302;
    d.format = 102;
    s.planes[0] = d.planes[0] = &byte;
    testing::internal::CaptureStderr();
    EXPECT_EQ(c->convertColor(&s, &d), kKROLoadCUDAError);
    EXPECT_EQ(c->rotate(&s, &d, 1), kKROLoadCUDAError);
    EXPECT_EQ(c->crop(&s, &d, 0, 0), kKROLoadCUDAError);
    // Each attempt loads again, and says so again.
    const std::string err = testing::internal::GetCapturedStderr();
    EXPECT_NE(err.find("Cannot load libcuda.so.1"), err.rfind("Cannot load libcuda.so.1"));
}

class CudaDriver : public ::testing::Test {
protected:
    void SetUp() override {
        if (!session_.ready()) GTEST_SKIP() << session_.why();
    }
    CudaFunctions* table() const { return static_cast<CudaFunctions*>(KROCuda::_cu); }
    test::CudaSession session_;
};

TEST_F(CudaDriver, InitTwiceKeepsTheTable) {
    void* first = KROCuda::_cu;
    EXPECT_TRUE(KROCuda::init());
    EXPECT_EQ(KROCuda::_cu, first);
}

TEST_F(CudaDriver, CheckResultPrintsTheDriversOwnNameAndDescription) {
    const CUresult invalid = static_cast<CUresult>(1);  // CUDA_ERROR_INVALID_VALUE
    const char* name = nullptr;
    const char* text = nullptr;
    table()->cuGetErrorName(invalid, &name);
    table()->cuGetErrorString(invalid, &text);
    ASSERT_TRUE(name && text);
    testing::internal::CaptureStdout();
    EXPECT_EQ(cuda::checkResult(invalid), -1);
    EXPECT_EQ(cuda::checkResult(CUDA_SUCCESS), 0);
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              std::string("KROColorFunctions cuda error ") + name + " " + text + "\n");
}

TEST_F(CudaDriver, DevicesContextsAndMemory) {
    const int count = KROCuda::getDeviceCount();
    EXPECT_GE(count, 1);
    EXPECT_EQ(KROCuda::retainDevicePrimaryCtx(static_cast<uint64_t>(count)), nullptr);
    EXPECT_FALSE(KROCuda::releaseDevicePrimaryCtx(static_cast<uint64_t>(count)));
    EXPECT_FALSE(KROCuda::pushContext(nullptr) || KROCuda::popContext(nullptr));

    const char text[] = "device round trip";
    void* a = KROCuda::malloc(sizeof(text));
    void* b = KROCuda::malloc(sizeof(text));
    ASSERT_TRUE(a && b);
    char back[sizeof(text)] = {};
    EXPECT_TRUE(KROCuda::memcpyHtoD(a, text, sizeof(text)));
    EXPECT_TRUE(KROCuda::memcpy(b, a, sizeof(text)));
    EXPECT_TRUE(KROCuda::memcpyDtoH(back, b, sizeof(text)));
    EXPECT_STREQ(back, text);
    for (void* p : {a, b, static_cast<void*>(nullptr)}) KROCuda::free(p);
}

TEST_F(CudaDriver, Direct3D11InteropIsAbsentOnLinux) {
    int texture = 0;
    EXPECT_EQ(KROCuda::cuGraphicsD3D11RegisterResource(&texture), nullptr);
    EXPECT_FALSE(KROCuda::copyCUdeviceptrToCUResource(&texture, 4, &texture, 4, 1));
    EXPECT_FALSE(KROCuda::copyD3D11Texture2DToCUResource(&texture, 4, reinterpret_cast<unsigned char*>(&texture), 4,
                                                         1, nullptr));
}

TEST_F(CudaDriver, EmbeddedProgramLoadsOnlyWithACurrentContext) {
#if !defined(KRO_CUDA_HAVE_PTX)
    GTEST_SKIP() << "this build has no CUDA compiler, so it carries no kernel program";
#endif
    EXPECT_TRUE(KROCuda::checkCUDAPTXSupported());
    void* popped = nullptr;
    ASSERT_TRUE(KROCuda::popContext(&popped));
    testing::internal::CaptureStdout();
    EXPECT_FALSE(KROCuda::checkCUDAPTXSupported());
    testing::internal::GetCapturedStdout();
    EXPECT_TRUE(KROCuda::pushContext(popped));
}

// The Linux version source on prepared folders: the kernel module's version
// line and display-class PCI devices.
class LinuxDriverVersion : public ::testing::Test {
protected:
    void SetUp() override {
        char pattern[] = "/tmp/kro_pciXXXXXX";
        ASSERT_TRUE(mkdtemp(pattern));
        root_ = pattern;
    }
    void TearDown() override { std::system(("rm -rf " + root_).c_str()); }
    void device(const std::string& slot, const char* cls, const char* vendor, const char* dev) {
        const std::string dir = root_ + "/devices/" + slot;
        std::system(("mkdir -p " + dir).c_str());
        std::ofstream(dir + "/class") << cls << "\n";
        std::ofstream(dir + "/vendor") << vendor << "\n";
        std::ofstream(dir + "/device") << dev << "\n";
    }
    void module(const char* version) {
        std::ofstream(root_ + "/version") << "NVRM version: NVIDIA UNIX x86_64 Kernel Module  " << version
                                          << "  Thu Feb 22 01:44:30 UTC 2024\nGCC version: gcc 12\n";
    }
    bool read(double& v) {
        mkdir((root_ + "/devices").c_str(), 0700);
        return cuda::readLinuxDriverVersion((root_ + "/version").c_str(), (root_ + "/devices").c_str(), v);
    }
    std::string root_;
};

TEST_F(LinuxDriverVersion, ModuleVersionTimes100FromTheFirstNvidiaAdapter) {
    const struct {
        const char* module;
        double expected;
    } cases[] = {{"550.54.14", 55054}, {"471.41", 47141}, {"460.79.01", 46079}, {"535.104.05", 53510.4}};
    for (const auto& c : cases) {
        TearDown();
        SetUp();
        device("0000:00:02.0", "0x030000", "0x8086", "0x3e92");
        device("0000:00:1f.3", "0x040300", "0x10de", "0x0001");  // audio, not display
        device("0000:01:00.0", "0x030200", "0x10de", "0x2330");
        module(c.module);
        double v = 0;
        testing::internal::CaptureStdout();
        EXPECT_TRUE(read(v)) << c.module;
        EXPECT_EQ(testing::internal::GetCapturedStdout(),
                  std::string("Adapter: Intel Device 3e92, DriverVersion: \n"
                              "Adapter: NVIDIA Device 2330, DriverVersion: ") +
                      c.module + "\nNVIDIA Driver Version: " + std::to_string(int(c.expected)) + "\n");
        EXPECT_DOUBLE_EQ(v, c.expected);
    }
}

TEST_F(LinuxDriverVersion, NoNvidiaAdapterOrNoModuleIsNoVersion) {
    device("0000:00:02.0", "0x030000", "0x1002", "0x73bf");
    module("550.54.14");
    double v = 7;
    testing::internal::CaptureStdout();
    EXPECT_FALSE(read(v));
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "Adapter: AMD Device 73bf, DriverVersion: \n");
    device("0000:01:00.0", "0x030000", "0x10de", "0x2330");
    std::remove((root_ + "/version").c_str());
    testing::internal::CaptureStdout();
    EXPECT_FALSE(read(v));
    testing::internal::GetCapturedStdout();
    EXPECT_EQ(v, 7);
}

TEST(NvidiaDriverVersion, MachinesWithoutTheModuleAreBelowTheMinimum) {
    struct stat st;
    if (stat("/proc/driver/nvidia/version", &st) == 0) GTEST_SKIP() << "this machine has the NVIDIA kernel module";
    testing::internal::CaptureStdout();
    double v = 1;
    EXPECT_FALSE(KROCuda::getNVIDIADriverVersion(v));
    EXPECT_EQ(v, 0);
    EXPECT_TRUE(KROCuda::isNVIDIADriverBelowTheMinimumVersion());
    testing::internal::GetCapturedStdout();
}

}  // namespace
