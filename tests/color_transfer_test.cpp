// Transfer curves, HLG and PQ against values computed in double precision from
// the published formulas by tests/tools/color_expected.py (ITU-R BT.709,
// BT.2020, BT.2100, SMPTE ST 2084, IEC 61966-2-1/-2-4) and against published
// reference points.
#include <gtest/gtest.h>


#include "KROColorFunctions.h"
#include "color/color_science.h"
#include "color/color_constants.h"
#include "color/transfer_curves.h"

using namespace KROCOLOR;

namespace {

Pixel grey(float v) { return Pixel{v, v, v, 0.25f}; }

struct CurvePoint {
    int32_t transfer;
    float x;
    double eotf;  // signal -> linear
    double oetf;  // linear -> signal
};

// From color_expected.py ("generic curves").
const CurvePoint kCurvePoints[] = {
    {kColorTransferBT709, 0.01f, 0.00222222222, 0.045},
    {kColorTransferBT709, 0.5f, 0.259589401, 0.70551509},
    // LINEAR, unspecified, PQ and out-of-table values all take the BT.709 curve
    // (these rows also hold its points at 0.2 and 0.9).
    {kColorTransferLINEAR, 0.5f, 0.259589401, 0.70551509},
    {kColorTransferUNSPECIFIED, 0.2f, 0.0554266818, 0.433673621},
    {kColorTransferSMPTE2084, 0.9f, 0.808962584, 0.949109896},
    {-7, 0.5f, 0.259589401, 0.70551509},
    {250, 0.5f, 0.259589401, 0.70551509},
    {kColorTransferSMPTE170M, 0.5f, 0.259589401, 0.70551509},
    {kColorTransferGAMMA28, 0.2f, 0.0554266818, 0.433673621},
    {kColorTransferBT2020_10, 0.9f, 0.808962584, 0.949109896},
    {kColorTransferIEC61966_2_1, 0.01f, 0.000773993808, 0.0998528227},
    {kColorTransferIEC61966_2_1, 0.2f, 0.0331047666, 0.484529204},
    {kColorTransferIEC61966_2_1, 0.5f, 0.21404114, 0.735356983},
    {kColorTransferIEC61966_2_1, 0.9f, 0.787412289, 0.954687172},
    {kColorTransferGAMMA22, 0.01f, 3.98107171e-05, 0.123284674},
    {kColorTransferGAMMA22, 0.5f, 0.217637641, 0.729740053},
    {kColorTransferGAMMA18, 0.2f, 0.0551891865, 0.408962353},
    {kColorTransferGAMMA18, 0.9f, 0.827249507, 0.943146531},
    {kColorTransferDCIP3, 0.01f, 6.30957344e-06, 0.170125428},
    {kColorTransferDCIP3, 0.5f, 0.164938489, 0.765983179},
    {kColorTransferBT2020_12, 0.2f, 0.0555166572, 0.433519028},
    {kColorTransferBT2020_12, 0.5f, 0.259720827, 0.705434703},
    {kColorTransferIEC61966_2_4, 0.5f, 0.259589401, 0.70551509},
    {kColorTransferIEC61966_2_4, -0.5f, -0.173755464, -0.70551509},
};

class ColorTransferCurve : public ::testing::TestWithParam<CurvePoint> {};

TEST_P(ColorTransferCurve, MatchesPublishedFormula) {
    const CurvePoint& c = GetParam();
    const Pixel e = eotf(grey(c.x), c.transfer);
    const Pixel o = oetf(grey(c.x), c.transfer);
    const double tol = 2e-6;
    EXPECT_NEAR(e.c0, c.eotf, tol);
    EXPECT_NEAR(e.c2, c.eotf, tol);
    EXPECT_NEAR(o.c1, c.oetf, tol);
    EXPECT_EQ(e.a, 0.25f);  // generic curves never touch alpha
    EXPECT_EQ(o.a, 0.25f);
}

INSTANTIATE_TEST_SUITE_P(Points, ColorTransferCurve, ::testing::ValuesIn(kCurvePoints));

TEST(ColorTransfer, ClampingFollowsTheCurve) {
    // BT.709 OETF clamps; the same formula for BT.601 and BT.2020 does not.
    EXPECT_EQ(oetf(grey(1.5f), kColorTransferBT709).c0, 1.0f);
    EXPECT_NEAR(oetf(grey(1.5f), kColorTransferSMPTE170M).c0, 1.21998167, 2e-6);
    EXPECT_NEAR(oetf(grey(1.5f), kColorTransferBT2020_10).c0, 1.21998167, 2e-6);
    EXPECT_EQ(oetf(grey(-0.2f), kColorTransferBT709).c0, 0.0f);
    EXPECT_NEAR(oetf(grey(-0.01f), kColorTransferSMPTE170M).c0, -0.045, 1e-7);
    // BT.709 EOTF is not clamped: negative signal stays negative (x / 4.5).
    EXPECT_NEAR(eotf(grey(-0.09f), kColorTransferBT709).c0, -0.02, 1e-7);
    // sRGB and the power laws clamp; a negative base (NaN power) becomes 0.
    EXPECT_EQ(eotf(grey(-0.1f), kColorTransferIEC61966_2_1).c0, 0.0f);
    EXPECT_EQ(eotf(grey(1.2f), kColorTransferIEC61966_2_1).c0, 1.0f);
    EXPECT_EQ(eotf(grey(-0.25f), kColorTransferGAMMA22).c0, 0.0f);
    EXPECT_EQ(oetf(grey(-0.25f), kColorTransferDCIP3).c0, 0.0f);
    EXPECT_EQ(oetf(grey(2.0f), kColorTransferGAMMA18).c0, 1.0f);
}

TEST(ColorTransfer, HlgReferencePointsAndDisplayModel) {
    // ITU-R BT.2100 HLG: E = 1/12 -> 0.5, E = 1 -> 1.0, E = 0 -> 0; BT.2408
    // reference white: signal 0.75 <-> scene light 0.26496.
    EXPECT_NEAR(HLG_OETF(grey(1.0f / 12.0f)).c0, 0.5, 1e-6);
    EXPECT_NEAR(HLG_OETF(grey(1.0f)).c1, 1.0, 1e-6);
    EXPECT_NEAR(HLG_OETF(grey(0.5f)).c2, 0.8716434713, 1e-6);
    EXPECT_EQ(HLG_OETF(grey(0.0f)).c0, 0.0f);
    EXPECT_EQ(HLG_OETF(grey(0.5f)).a, 0.25f);
    EXPECT_NEAR(curves::HLGInverseOETF(0.75f), 0.26496256, 1e-6);
    EXPECT_NEAR(curves::HLGInverseOETF(0.5f), 1.0 / 12.0, 1e-7);
    // Not clamped: scene light above 1 gives a signal above 1.
    EXPECT_GT(HLG_OETF(grey(2.0f)).c0, 1.0f);
    // transfer 18 through the generic entry point is the same curve.
    EXPECT_EQ(oetf(grey(0.3f), kColorTransferARIB_STD_B67).c0, HLG_OETF(grey(0.3f)).c0);

    // EOTF display model:
    // gamma = 1.2 + 0.42 log10(203/1000), beta = sqrt(3 (0.005/203)^(1/gamma)).
    EXPECT_NEAR(kHlgGamma, 0.9091483359, 1e-7);
    EXPECT_NEAR(kHlgBeta, 0.005058612512, 1e-9);

    const Pixel g = HLG_EOTF(grey(0.75f));
    EXPECT_NEAR(g.c0, 0.300699118, 2e-6);
    EXPECT_NEAR(g.c2, 0.300699118, 2e-6);
    EXPECT_EQ(g.a, 1.0f);  // the EOTF sets alpha

    const Pixel c = HLG_EOTF(Pixel{1.0f, 0.5f, 0.25f, 0.0f});
    EXPECT_NEAR(c.c0, 1.10873777, 5e-6);
    EXPECT_NEAR(c.c1, 0.0933362323, 1e-6);
    EXPECT_NEAR(c.c2, 0.023805107, 1e-6);

    // Black lands on Lb / Lw.
    EXPECT_NEAR(HLG_EOTF(grey(0.0f)).c1, 0.005 / 203.0, 1e-9);
    EXPECT_EQ(eotf(grey(0.75f), kColorTransferARIB_STD_B67).c0, g.c0);
}

TEST(ColorTransfer, PqPublishedLuminanceAndScales) {
    // SMPTE ST 2084: signal 0.5 -> 92.25 cd/m2, 0.75 -> 983.4, 1.0 -> 10000.
    // Towards PQ with a 10000 cd/m2 source peak the ratio is 1, so the output
    // is luminance / 10000.
    const struct {
        float signal;
        double nits;
    } points[] = {{0.5f, 92.245709}, {0.75f, 983.377856}, {1.0f, 10000.0}};
    for (const auto& pt : points) {
        const Pixel p = PQ_EOTF(grey(pt.signal), 10000, kColorTransferSMPTE2084);
        // Single precision: c2 - c3 f cancels, so allow 1e-4 relative.
        EXPECT_NEAR(p.c0 * 10000.0, pt.nits, pt.nits * 1e-4) << pt.signal;
        EXPECT_EQ(p.a, 0.25f);
        // Ratio 20 towards SDR (500 cd/m2 -> 1), 10 towards HLG (1000 -> 1),
        // 10000 / Lpk towards PQ.
        EXPECT_FLOAT_EQ(PQ_EOTF(grey(pt.signal), 10000, kColorTransferBT709).c1, p.c1 * 20.0f);
        EXPECT_FLOAT_EQ(PQ_EOTF(grey(pt.signal), 10000, kColorTransferARIB_STD_B67).c1,
                        p.c1 * 10.0f);
        EXPECT_FLOAT_EQ(PQ_EOTF(grey(pt.signal), 1000, kColorTransferSMPTE2084).c2, p.c2 * 10.0f);
        EXPECT_FLOAT_EQ(PQ_EOTF(grey(pt.signal), 4000, kColorTransferSMPTE2084).c2, p.c2 * 2.5f);
    }
    EXPECT_EQ(PQ_EOTF(grey(0.0f), 10000, kColorTransferBT709).c0, 0.0f);

    // 100 cd/m2 is PQ signal 0.508078. Linear 1.0 from SDR means 500 cd/m2
    // (scale 0.05); from HLG or PQ 1000 cd/m2 (scale 0.1).
    EXPECT_NEAR(PQ_OETF(grey(0.2f), kColorTransferBT709).c0, 0.508078422, 2e-6);
    EXPECT_NEAR(PQ_OETF(grey(0.1f), kColorTransferARIB_STD_B67).c0, 0.508078422, 2e-6);
    EXPECT_NEAR(PQ_OETF(grey(0.1f), kColorTransferSMPTE2084).c0, 0.508078422, 2e-6);
    EXPECT_NEAR(PQ_OETF(grey(1.0f), kColorTransferSMPTE2084).c1, 0.751827096, 1e-5);  // 1000 cd/m2
    EXPECT_EQ(PQ_OETF(grey(1000.0f), kColorTransferSMPTE2084).c0, 1.0f);            // clamped
    EXPECT_EQ(PQ_OETF(grey(-1.0f), kColorTransferBT709).c0, 0.0f);                  // NaN -> 0
    EXPECT_EQ(PQ_OETF(grey(0.3f), kColorTransferBT709).a, 0.25f);
}

}  // namespace
