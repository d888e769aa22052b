// The SIMD CPU convertor is not part of this build yet. Until it lands,
// every road to it reports kKROPlatformFormatNotSupported instead of
// silently converting elsewhere. Replace these checks when it lands.
#include <gtest/gtest.h>

#include <memory>
#include <vector>

#include "KROColorFunctions.h"
#include "api/backend_selection.h"

using namespace KROCOLOR;

TEST(PendingSimd, EverySelectionOfTypeSixReportsNotSupported) {
    for (auto [srcType, dstType] : {std::pair<int, int>{0, 6}, {6, 0}, {6, 1}, {6, 6}}) {
        KROHWContext r;
        r.srcType = srcType;
        r.dstType = dstType;
        EXPECT_EQ(selectConvertor(101, 102, r), nullptr);
        EXPECT_EQ(takeSelectionError(), kKROPlatformFormatNotSupported);
    }
    std::vector<uint8_t> src(4 * 4 * 4), dst(4 * 4 * 4);
    const uint8_t* in[] = {src.data()};
    uint8_t* out[] = {dst.data()};
    const int strides[] = {16};
    KROHWContext simd;
    simd.srcType = kKROHWTypeXSimd;
    std::unique_ptr<KROColorFunctions> f(KROColorFunctions::create(4, 4, kKRORGBA8888Format, 4, 4, kKRORGBA8888Format));
    f->setHWContext(simd);
    EXPECT_EQ(f->transcode(in, strides, out, strides), kKROPlatformFormatNotSupported);
    std::unique_ptr<KRORotateFunctions> r(KRORotateFunctions::create(4, 4, kKRORGBA8888Format, 3));
    r->setHWContext(simd);
    EXPECT_EQ(r->transcode(in, strides, out, strides), kKROPlatformFormatNotSupported);
}
