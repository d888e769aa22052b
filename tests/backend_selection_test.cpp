#include <gtest/gtest.h>

#include "api/backend_selection.h"
#include "cpu/cpu_context.h"
#include "cpu/xsimd/xsimd_context.h"
#include "cuda/cuda_context.h"
#include "d3d11/d3d11_convertor.h"
#include "gles/gl_render_context.h"

using namespace KROCOLOR;

namespace {

void* handle(uintptr_t v) { return reinterpret_cast<void*>(v); }

enum class Expect { Cpu, Swscale, XSimd, Cuda, D3D11, Gles, Code };

struct SelectionCase {
    const char* name;
    int32_t src, dst;
    int32_t srcType, dstType;
    uintptr_t srcHandle, srcQueue, dstHandle, dstQueue;
    Expect expect;
    KROReturn code;
};

class BackendSelection : public ::testing::TestWithParam<SelectionCase> {};

}  // namespace

TEST_P(BackendSelection, FirstMatchingRuleDecides) {
    const SelectionCase c = GetParam();
    KROHWContext r;
    r.srcType = c.srcType;
    r.dstType = c.dstType;
    r.srcHandle = handle(c.srcHandle);
    r.srcQueue = handle(c.srcQueue);
    r.dstHandle = handle(c.dstHandle);
    r.dstQueue = handle(c.dstQueue);
    const Selection chosen = selectConvertor(c.src, c.dst, r);
    EXPECT_EQ(chosen.code, c.code);
    EXPECT_EQ(takeSelectionError(), chosen.code) << "the shared copy carries the same code";
    EXPECT_EQ(takeSelectionError(), kKROSuccess) << "reading the shared copy clears it";
    // Whether the convertor is of each kind, in the order of Expect.
    const IConvertor* got = chosen.convertor.get();
    const auto* cpu = dynamic_cast<const CPUContext*>(got);
    const bool is[] = {cpu && !cpu->usesSwscale(), cpu && cpu->usesSwscale(),
                       dynamic_cast<const XSimdCPUContext*>(got) != nullptr, dynamic_cast<const CudaContext*>(got) != nullptr, isD3D11Convertor(got),
                       dynamic_cast<const GLRenderContext*>(got) != nullptr, got == nullptr};
    EXPECT_TRUE(is[static_cast<int>(c.expect)]) << "expected kind " << static_cast<int>(c.expect);
}

// One row per rule and outcome; every GPU backend is carried by this build,
// so a rule that names one yields its convertor.
INSTANTIATE_TEST_SUITE_P(
    Rules, BackendSelection,
    ::testing::Values(
        SelectionCase{"host_cpu", 101, 102, 0, 0, 0, 0, 0, 0, Expect::Cpu, kKROSuccess},
        SelectionCase{"host_swscale_src", 101, 102, 1, 0, 0, 0, 0, 0, Expect::Swscale, kKROSuccess},
        SelectionCase{"host_swscale_both", 103, 102, 1, 1, 0, 0, 0, 0, Expect::Swscale, kKROSuccess},
        SelectionCase{"host_simd_src", 101, 102, 6, 0, 0, 0, 0, 0, Expect::XSimd, kKROSuccess},
        SelectionCase{"host_simd_dst", 101, 102, 0, 6, 0, 0, 0, 0, Expect::XSimd, kKROSuccess},
        SelectionCase{"host_simd_over_swscale", 101, 102, 6, 1, 0, 0, 0, 0, Expect::XSimd, kKROSuccess},
        SelectionCase{"host_swscale_under_simd", 101, 102, 1, 6, 0, 0, 0, 0, Expect::XSimd, kKROSuccess},
        SelectionCase{"host_simd_both", 101, 102, 6, 6, 0, 0, 0, 0, Expect::XSimd, kKROSuccess},
        SelectionCase{"host_other_types_cpu", 103, 104, 4, 0, 0, 0, 0, 0, Expect::Cpu, kKROSuccess},
        SelectionCase{"host_type5_and_2_cpu", 103, 104, 5, 2, 0, 0, 0, 0, Expect::Cpu, kKROSuccess},
        SelectionCase{"cuda_both_same_ctx", 101, 302, 4, 4, 7, 8, 7, 9, Expect::Cuda, kKROSuccess},
        SelectionCase{"cuda_both_other_ctx", 301, 302, 4, 4, 7, 8, 6, 8, Expect::Code, kKROFormatHWContextMismatch},
        SelectionCase{"cuda_both_gl_format", 201, 302, 4, 4, 7, 8, 7, 8, Expect::Code, kKROFormatHWContextMismatch},
        SelectionCase{"cuda_to_host_null_ctx", 301, 101, 4, 0, 0, 0, 0, 0, Expect::Code, kKROMissingHWContext},
        SelectionCase{"cuda_to_host_cpu_types", 301, 101, 0, 0, 0, 0, 0, 0, Expect::Code, kKROFormatHWContextMismatch},
        SelectionCase{"cuda_to_host_ok", 301, 101, 4, 0, 5, 0, 0, 0, Expect::Cuda, kKROSuccess},
        SelectionCase{"host_to_cuda_null_ctx", 101, 301, 0, 4, 0, 0, 0, 0, Expect::Code, kKROMissingHWContext},
        SelectionCase{"host_to_cuda_wrong_types", 101, 301, 4, 0, 5, 0, 0, 0, Expect::Code, kKROFormatHWContextMismatch},
        SelectionCase{"cuda_pair_cpu_types", 301, 302, 0, 0, 0, 0, 0, 0, Expect::Code, kKROFormatHWContextMismatch},
        SelectionCase{"d3d11_same_context_ptr", 401, 402, 5, 5, 1, 3, 2, 3, Expect::D3D11, kKROSuccess},
        SelectionCase{"d3d11_null_device", 102, 401, 5, 5, 0, 0, 0, 0, Expect::Code, kKROMissingHWContext},
        SelectionCase{"d3d11_nothing_shared", 401, 402, 5, 5, 1, 3, 2, 4, Expect::Code, kKROFormatHWContextMismatch},
        SelectionCase{"d3d11_pair_cpu_types", 401, 402, 0, 0, 0, 0, 0, 0, Expect::Code, kKROFormatHWContextMismatch},
        SelectionCase{"gl_dst_rgb_texture", 201, 203, 2, 2, 1, 1, 1, 1, Expect::Code, kKROInputParamError},
        SelectionCase{"gl_dst_rgb_host", 201, 101, 2, 2, 1, 1, 1, 1, Expect::Code, kKROInputParamError},
        SelectionCase{"gl_same_queue", 101, 201, 2, 2, 1, 5, 2, 5, Expect::Gles, kKROSuccess},
        SelectionCase{"gl_same_handle", 202, 114, 2, 2, 1, 5, 1, 6, Expect::Gles, kKROSuccess},
        SelectionCase{"gl_nothing_shared", 101, 201, 2, 2, 1, 5, 2, 6, Expect::Code, kKROFormatHWContextMismatch},
        SelectionCase{"gl_cuda_format", 301, 201, 2, 2, 1, 1, 1, 1, Expect::Code, kKROFormatHWContextMismatch},
        SelectionCase{"other5_same", 501, 101, 3, 3, 1, 2, 1, 2, Expect::Code, kKROPlatformFormatNotSupported},
        SelectionCase{"other6_differs", 601, 602, 3, 3, 1, 2, 1, 3, Expect::Code, kKROFormatHWContextMismatch},
        SelectionCase{"other_mixed_families", 501, 601, 3, 3, 1, 2, 1, 2, Expect::Code, kKROInputParamError},
        SelectionCase{"other5_pair_cpu_types", 501, 502, 0, 0, 0, 0, 0, 0, Expect::Code, kKROFormatHWContextMismatch},
        SelectionCase{"other6_pair_cpu_types", 606, 601, 0, 0, 0, 0, 0, 0, Expect::Code, kKROFormatHWContextMismatch},
        SelectionCase{"gl_to_host_cpu_types", 201, 101, 0, 0, 0, 0, 0, 0, Expect::Code, kKROInputParamError},
        SelectionCase{"unknown_codes", 999, 101, 0, 0, 0, 0, 0, 0, Expect::Code, kKROInputParamError}),
    [](const ::testing::TestParamInfo<SelectionCase>& info) { return std::string(info.param.name); });
