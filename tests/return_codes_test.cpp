#include <gtest/gtest.h>

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
    // Codes outside the table never read past it.
    for (int code : {28, -1, INT32_MAX}) EXPECT_STREQ(queryKROReturn(static_cast<KROReturn>(code)), "Unknown error.");
}

// Both records are assigned field by field (handles are borrowed, never
// released); the move leaves its source as it was.
TEST(HWContextRecord, AssignmentsCopyAllSixFieldsAndLeaveTheSource) {
    EXPECT_TRUE(KROHWContext().srcType == 0 && !KROHWContext().dstHandle);
    int a = 0, b = 0, c = 0, d = 0;
    KROHWContext src, copy, moved;
    src.srcHandle = &a;
    src.srcQueue = &b;
    src.srcType = 0x7fff1234;
    src.dstHandle = &c;
    src.dstQueue = &d;
    src.dstType = -5;
    copy = src;
    moved = std::move(src);
    for (const KROHWContext* r : {&copy, &moved, &src}) {
        EXPECT_EQ(r->srcHandle, &a);
        EXPECT_EQ(r->srcQueue, &b);
        EXPECT_EQ(r->srcType, 0x7fff1234);
        EXPECT_EQ(r->dstHandle, &c);
        EXPECT_EQ(r->dstQueue, &d);
        EXPECT_EQ(r->dstType, -5);
    }
}

TEST(HWContextRecord, D3D11ManagerStartsNullAndCopiesBothPointers) {
    ID3D11Manager m, copy, moved;
    EXPECT_TRUE(!m.device && !m.context);
    m.device = reinterpret_cast<ID3D11Device*>(0x10);
    m.context = reinterpret_cast<ID3D11DeviceContext*>(0x20);
    copy = m;
    moved = std::move(m);
    for (const ID3D11Manager* r : {&copy, &moved, &m}) {
        EXPECT_EQ(r->device, reinterpret_cast<ID3D11Device*>(0x10));
        EXPECT_EQ(r->context, reinterpret_cast<ID3D11DeviceContext*>(0x20));
    }
}
