#include <gtest/gtest.h>

#include <cstring>

#include "KROColorFunctions.h"

using namespace KROCOLOR;

// The message table is part of the interface: hosts match on these strings.
TEST(ReturnCodes, EveryMessageVerbatim) {
    const char* const expected[] = {
        "Success.",
        "Unknown error.",
        "Input param error.",
        "Set color primaries error, not support.",
        "Set color matrix error, not support.",
        "set color transfer error, not support.",
        "Missing HWContext, you must set HWContext if you want to use hw accelerating",
        "Format don't matching KROHWContext.",
        "Don't support different CUContext for input resource.",
        "Loading CUDA error, check your device is supporting CUDA",
        "cuCtxPushCurrent error",
        "Can't load CUDA kernel functions.",
        "Run CUDA kernel error.",
        "Run CPU kernel error.",
        "Platform don't support input format.",
        "Input ID3D11Texture2D should set D3D11_BIND_SHADER_RESOURCE flag",
        "Output ID3D11Texture2D should set D3D11_BIND_UNORDERED_ACCESS flag",
        "Run d3d11 kernel error.",
        "Load Metal Function error.",
        "Load D3D11 Function error.",
        "Load GLES3.1 Function error",
        "Input Texture2D should an immutable texture object",
        "Output Texture2D should an immutable texture object",
        "Load Metal kernel error.",
        "Load OpenGl Function error.",
        "Input PixelFormat not supported.",
        "Input width or height not matching.",
        "Invalid ICC profile.",
    };
    for (int code = 0; code <= 27; ++code)
        EXPECT_STREQ(queryKROReturn(static_cast<KROReturn>(code)), expected[code]) << code;
}

TEST(ReturnCodes, OutOfRangeCodesNeverReadOutsideTheTable) {
    EXPECT_STREQ(queryKROReturn(static_cast<KROReturn>(28)), "Unknown error.");
    EXPECT_STREQ(queryKROReturn(static_cast<KROReturn>(-1)), "Unknown error.");
    EXPECT_STREQ(queryKROReturn(static_cast<KROReturn>(INT32_MAX)), "Unknown error.");
}

TEST(HWContextRecord, AssignmentsCopyAllSixFieldsAndLeaveTheSource) {
    int a = 0, b = 0, c = 0, d = 0;
    KROHWContext src;
    src.srcHandle = &a;
    src.srcQueue = &b;
    src.srcType = 0x7fff1234;
    src.dstHandle = &c;
    src.dstQueue = &d;
    src.dstType = -5;
    KROHWContext copy;
    copy = src;
    KROHWContext moved;
    moved = std::move(src);
    for (const KROHWContext* r : {&copy, &moved, &src}) {
        EXPECT_EQ(r->srcHandle, &a);
        EXPECT_EQ(r->srcQueue, &b);
        EXPECT_EQ(r->srcType, 0x7fff1234);
        EXPECT_EQ(r->dstHandle, &c);
        EXPECT_EQ(r->dstQueue, &d);
        EXPECT_EQ(r->dstType, -5);
    }
    EXPECT_EQ(KROHWContext().srcType, 0);
    EXPECT_EQ(KROHWContext().dstHandle, nullptr);
}

TEST(HWContextRecord, D3D11ManagerStartsNullAndCopiesBothPointers) {
    ID3D11Manager empty;
    EXPECT_EQ(empty.device, nullptr);
    EXPECT_EQ(empty.context, nullptr);
    ID3D11Manager m;
    m.device = reinterpret_cast<ID3D11Device*>(0x10);
    m.context = reinterpret_cast<ID3D11DeviceContext*>(0x20);
    ID3D11Manager copy;
    copy = m;
    ID3D11Manager moved;
    moved = std::move(m);
    EXPECT_EQ(copy.device, m.device);
    EXPECT_EQ(moved.context, m.context);
    EXPECT_EQ(m.device, reinterpret_cast<ID3D11Device*>(0x10));
}
