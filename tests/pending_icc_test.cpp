// ICC mode is not part of this build yet: it reports
// kKROPlatformFormatNotSupported and no profile bytes are embedded.
// Replace these checks when the ICC path lands.
#include <gtest/gtest.h>

#include <memory>
#include <vector>

#include "KROColorFunctions.h"

using namespace KROCOLOR;

TEST(PendingIcc, IccModeReportsNotSupportedAndReleasesTheConvertor) {
    std::vector<uint8_t> src(4 * 4 * 4), dst(4 * 4 * 4);
    const uint8_t* in[] = {src.data()};
    uint8_t* out[] = {dst.data()};
    const int strides[] = {16};
    std::unique_ptr<KROColorFunctions> f(KROColorFunctions::create(4, 4, kKRORGBA8888Format, 4, 4, kKRORGBA8888Format));
    ASSERT_EQ(f->transcode(in, strides, out, strides), kKROSuccess);
    ASSERT_NE(f->convertor, nullptr);
    f->setType(kKROProfileTypeICC);
    EXPECT_EQ(f->transcode(in, strides, out, strides), kKROPlatformFormatNotSupported);
    EXPECT_EQ(f->convertor, nullptr) << "switching mode released the colour-space convertor";
    EXPECT_EQ(KROColorFunctions::getDisplayP3ICCProfile(), nullptr);
    EXPECT_EQ(KROColorFunctions::getAdobeRGBICCProfileSize(), 0);
}
