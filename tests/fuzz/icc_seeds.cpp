// Writes ICC profiles of the kinds the Debian collections lack into a folder,
// as seeds for the ICC fuzzer: CMYK with a LUT and a known print condition,
// Lab and XYZ LUT profiles in both directions, grey, every parametric curve
// type, table curves and a cicp tag.
// Usage: icc_seeds <folder>
#include <cstdio>
#include <string>
#include <vector>

#include "icc_profile_builder.h"

using namespace KROCOLOR::iccbuild;

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fprintf(stderr, "usage: %s <folder>\n", argv[0]);
        return 2;
    }
    auto mix = [](const double* c, int o) { return 0.2 + 0.6 * c[o % 3] * (1.0 - 0.3 * c[3]); };
    auto rgb = [](const double* c, int o) { return c[(o + 1) % 3]; };
    std::vector<std::pair<std::string, Bytes>> seeds = {
        {"para0", matrixProfile(para(0, {2.2}))},
        {"para1", matrixProfile(para(1, {2.2, 1.1, -0.1}))},
        {"para2", matrixProfile(para(2, {2.4, 1.0, 0.0, 0.05}))},
        {"para3", matrixProfile(para(3, {2.4, 0.947867, 0.0521327, 0.0773994, 0.04045}))},
        {"para4", matrixProfile(para(4, {2.4, 0.947867, 0.0521327, 0.0773994, 0.04045, 0.01, 0.0}))},
        {"curv-gamma", matrixProfile(curvGamma(0x0233))},
        {"curv-table", matrixProfile(curvTable({0, 900, 4000, 12000, 30000, 65535}))},
        {"curv-falling", matrixProfile(curvTable({65535, 20000, 20000, 0}))},
        {"gray", profile({{"kTRC", curvGamma(0x01cd)}}, "GRAY")},
        {"cmyk-print", profile({{"desc", textDesc("Japan Color 2001 Coated")},
                                {"A2B0", mft2(4, 3, 3, mix)},
                                {"B2A0", mft2(3, 4, 3, mix)}},
                               "CMYK", "Lab ", 0x02100000, "prtr")},
        {"lab-lut", profile({{"A2B0", mft2(3, 3, 5, rgb)}, {"B2A0", mft2(3, 3, 5, rgb)}}, "RGB ", "Lab ")},
        {"xyz-lut-a2b1", profile({{"A2B1", mft2(3, 3, 2, rgb)}, {"B2A2", mft2(3, 3, 2, rgb)}}, "RGB ", "XYZ ")},
    };
    Bytes cicp = element("cicp");  // BT.2020 primaries, PQ, full range
    cicp.insert(cicp.end(), {9, 16, 0, 1});
    seeds.emplace_back("cicp", matrixProfile(para(0, {1.0}), {{"cicp", cicp}}));

    for (const auto& seed : seeds) {
        const std::string path = std::string(argv[1]) + "/generated-" + seed.first + ".icc";
        FILE* f = std::fopen(path.c_str(), "wb");
        if (!f || std::fwrite(seed.second.data(), 1, seed.second.size(), f) != seed.second.size()) {
            std::fprintf(stderr, "icc_seeds: cannot write %s\n", path.c_str());
            return 1;
        }
        std::fclose(f);
    }
    return 0;
}
