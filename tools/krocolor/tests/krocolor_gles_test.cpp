// --backend gles end to end, on krocolor's own headless EGL context
// (llvmpipe where there is no GPU).
#include <gtest/gtest.h>

#include <cstdlib>

#include "image.h"
#include "support/krocolor_runner.h"

namespace krocolor_test {
namespace {

// RGBA to RGBA from BT.709 to BT.2020 light: both backends apply the same
// curves and table, and for inputs in [0, 1] this table's rows (all
// coefficients positive, summing to 1) stay in [0, 1], so the render
// pass's clamp after the table changes nothing: the results may differ by
// the last rounding only. A 2x upscale on the render pass is bilinear, so
// it is held only to its size.
TEST(KrocolorGles, ConvertsLikeTheCpuBackend) {
    ScratchDir dir;
    std::vector<uint8_t> rgba(40 * 24 * 4);
    uint32_t seed = 5;
    for (auto& b : rgba) b = static_cast<uint8_t>((seed = seed * 1664525u + 1013904223u) >> 24);
    writeFile(dir / "in.rgba", rgba);
    std::vector<uint8_t> out[2];
    const char* backend[2] = {"cpu", "gles"};
    for (int i = 0; i < 2; ++i) {
        RunResult r = runKrocolor({"convert", dir / "in.rgba", dir / (std::string(backend[i]) + ".rgba"), "-s",
                                   "40x24", "--in-format", "rgba", "--out-format", "rgba", "--in-primaries", "bt709", "--in-transfer", "bt709",
                                   "--primaries", "bt2020", "--transfer", "bt2020-10", "--backend", backend[i], "-q"},
                                  dir.path());
        ASSERT_EQ(r.status, 0) << r.err;
        out[i] = readFile(dir / (std::string(backend[i]) + ".rgba"));
        ASSERT_EQ(out[i].size(), rgba.size()) << backend[i];
    }
    for (size_t i = 0; i < rgba.size(); ++i) ASSERT_LE(std::abs(out[0][i] - out[1][i]), 1) << i;

    RunResult r = runKrocolor({"convert", dir / "in.rgba", dir / "big.rgba", "-s", "40x24", "--in-format", "rgba",
                               "--out-format", "rgba", "--scale", "80x48", "--backend", "gles", "-q"},
                              dir.path());
    ASSERT_EQ(r.status, 0) << r.err;
    EXPECT_EQ(readFile(dir / "big.rgba").size(), 80u * 48 * 4);
}

TEST(KrocolorGles, DemoHasAGlesRow) {
    ScratchDir dir;
    RunResult r = runKrocolor({"demo", "-s", "64x32", "--repeat", "1", "--backend", "cpu", "--backend", "gles"},
                              dir.path());
    ASSERT_EQ(r.status, 0) << r.err;
    EXPECT_NE(r.out.find("\ngles "), std::string::npos) << r.out;
    EXPECT_EQ(r.out.find("not available"), std::string::npos) << r.out;
}

}  // namespace
}  // namespace krocolor_test
