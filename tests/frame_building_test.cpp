#include <gtest/gtest.h>

#include "core/frame.h"

using namespace KROCOLOR;

namespace {

uint8_t* fake(uintptr_t v) { return reinterpret_cast<uint8_t*>(v); }

struct PlaneCase {
    int32_t format;
    int planes;      // entries taken; 0 = refused
    bool strides;    // strides copied
};

class FrameBuilding : public ::testing::TestWithParam<PlaneCase> {};

}  // namespace

// Only as many entries as the format has planes are read: the arrays passed
// here are exactly that long (ASan catches a read of one entry more).
TEST_P(FrameBuilding, TakesExactlyThePlanesOfTheFormat) {
    const PlaneCase c = GetParam();
    const int n = c.planes > 0 ? c.planes : 1;
    std::unique_ptr<const uint8_t*[]> planes(new const uint8_t*[n]);
    std::unique_ptr<int[]> strides(new int[n]);
    for (int i = 0; i < n; ++i) {
        planes[i] = fake(0x1000 * (i + 1));
        strides[i] = 100 + i;
    }
    KROFrame f;
    f.format = c.format;
    const bool taken = buildFrame(f, planes.get(), strides.get());
    ASSERT_EQ(taken, c.planes > 0) << c.format;
    if (!taken) return;
    for (int i = 0; i < 4; ++i) {
        EXPECT_EQ(f.planes[i], i < c.planes ? fake(0x1000 * (i + 1)) : nullptr) << c.format << " plane " << i;
        EXPECT_EQ(f.strides[i], (i < c.planes && c.strides) ? 100 + i : 0) << c.format << " stride " << i;
    }
}

INSTANTIATE_TEST_SUITE_P(
    Formats, FrameBuilding,
    ::testing::Values(PlaneCase{101, 1, true}, PlaneCase{102, 1, true}, PlaneCase{103, 2, true},
                      PlaneCase{104, 3, true}, PlaneCase{108, 2, true}, PlaneCase{109, 2, true},
                      PlaneCase{116, 3, true}, PlaneCase{118, 1, true}, PlaneCase{120, 1, true},
                      PlaneCase{121, 0, false}, PlaneCase{122, 0, false}, PlaneCase{123, 0, false},
                      PlaneCase{124, 4, true}, PlaneCase{125, 4, true}, PlaneCase{126, 1, true},
                      PlaneCase{201, 1, true}, PlaneCase{203, 1, true}, PlaneCase{301, 1, true},
                      PlaneCase{303, 2, true}, PlaneCase{309, 3, true}, PlaneCase{312, 1, true},
                      PlaneCase{319, 3, true}, PlaneCase{320, 4, true}, PlaneCase{401, 2, true},
                      PlaneCase{405, 2, true}, PlaneCase{406, 2, true}, PlaneCase{501, 1, false},
                      PlaneCase{507, 1, false}, PlaneCase{601, 1, true}, PlaneCase{603, 2, true},
                      PlaneCase{605, 1, true}, PlaneCase{606, 0, false}, PlaneCase{607, 0, false},
                      PlaneCase{100, 0, false}, PlaneCase{127, 0, false}, PlaneCase{0, 0, false},
                      PlaneCase{-1, 0, false}, PlaneCase{322, 0, false}));

TEST(FrameBuildingGeometry, CropAndRotateTablesDifferWhereTheObjectsDo) {
    const uint8_t* planes[4] = {fake(1), fake(2), fake(3), fake(4)};
    const int strides[4] = {1, 2, 3, 4};
    struct Row {
        int32_t format;
        int crop, rotate;
    };
    const Row rows[] = {{101, 1, 1}, {103, 2, 2}, {104, 3, 3}, {124, 0, 4}, {125, 0, 4},
                        {126, 0, 0}, {121, 0, 0}, {309, 0, 0}, {317, 0, 0}, {318, 0, 0},
                        {319, 3, 3}, {320, 0, 4}, {321, 0, 4}, {312, 1, 1}, {307, 2, 2}};
    for (const Row& r : rows) {
        for (GeometryKind kind : {GeometryKind::Crop, GeometryKind::Rotate}) {
            const int expected = kind == GeometryKind::Crop ? r.crop : r.rotate;
            KROFrame f;
            f.format = r.format;
            ASSERT_EQ(buildGeometryFrame(f, kind, planes, strides), expected > 0) << r.format;
            for (int i = 0; expected > 0 && i < 4; ++i)
                EXPECT_EQ(f.planes[i], i < expected ? planes[i] : nullptr) << r.format;
        }
    }
}

TEST(FormatTable, FamiliesFollowTheHundreds) {
    for (int32_t code = -5; code < 700; ++code) {
        const FormatTraits* t = formatTraits(code);
        const bool inFamily = isHostFormat(code) || isGLFormat(code) || isCUDAFormat(code) ||
                              isD3D11Format(code) || isOther5Format(code) || isOther6Format(code);
        EXPECT_EQ(t != nullptr, inFamily) << code;
    }
}
