// The table forms of the PQ and HLG decodings and the BT.709 encoding that
// the SIMD pass uses towards 8-bit destinations. Each table is swept over its
// whole domain (a fine grid of floats in every octave) against the curve's
// formula in double precision; then every 16-bit code of a PQ and an HLG
// RGB source goes through the SIMD convertor at both widths and must land
// within one 8-bit code of the scalar convertor.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <functional>

#include "KROColorFunctions.h"
#include "color/color_constants.h"
#include "cpu/cpu_context.h"
#include "cpu/xsimd/xsimd_context.h"
#include "cpu/xsimd/xsimd_curves.h"
#include "cpu/xsimd/xsimd_vector_plan.h"
#include "support/frame_buffers.h"

using namespace KROCOLOR;

namespace {

namespace v = simd::KRO_SIMD_NS;

struct TableCase {
    const char* name;
    std::function<float(float)> vector;  // the table form, lane 0 of a vector of x
    std::function<double(double)> exact;
    float lo, hi;                         // swept domain
    double relative, absolute;            // allowed |error| <= relative |exact| + absolute
};

float lane0(const v::VF& r) { return r.get(0); }

// Bounds: at the 8-bit end one code is 1/255 of signal, and the BT.709
// encoding multiplies a relative error of linear light by at most 4.5; PQ
// light reaches the encoding times 20 through a gamut matrix whose rows sum
// to at most 2.3 in magnitude. A relative error of 1e-6 in each keeps every
// code far inside one step. Below 1e-12 of
// the PQ reference no 8-bit code can tell values apart.
const TableCase kTables[] = {
    {"PQ decoding",
     [](float x) { return lane0(v::pqEotfUnscaledFast(simd::pqEotfTable(), v::VF(x))); },
     [](double x) {
         const double f = std::pow(x, 1.0 / 78.84375);
         return std::pow(std::max(0.0, f - 0.8359375) / (18.8515625 - 18.6875 * f), 1.0 / 0.1593017578125);
     },
     std::ldexp(1.0f, -22), 1.0f, 1e-6, 1e-12},
    {"BT.709 encoding",
     [](float x) { return lane0(v::bt709OetfUnclampedFast(simd::bt709OetfPowerTable(), v::VF(x))); },
     [](double x) { return x < 0.018 ? 4.5 * x : 1.099 * std::pow(x, 0.45) - 0.099; }, std::ldexp(1.0f, -8), 64.0f,
     1e-6, 1e-9},
    {"HLG inverse encoding",
     [](float x) { return lane0(v::hlgInverseOetfFast(simd::hlgInverseOetfExpTable(), v::VF(x))); },
     [](double x) { return x > 0.5 ? (std::exp((x - 0.55991073) / 0.17883277) + 0.28466892) / 12 : x * x / 3; },
     std::ldexp(1.0f, -4), 1.0f, 1e-6, 1e-9},
    {"HLG system gain",
     [](float x) {
         return lane0(v::lookup<v::Below::Exact>(simd::hlgOotfTable(), v::VF(x), [](const v::VF& y) { return y; }));
     },
     [](double x) { return std::pow(x, static_cast<double>(kHlgGamma) - 1.0); }, std::ldexp(1.0f, -17), 1.0f, 1e-6, 0},
};

class CurveTableBound : public ::testing::TestWithParam<TableCase> {};

// Every 64th float of the domain: each segment (at least 2^16 floats wide)
// is hit at a thousand points or more.
TEST_P(CurveTableBound, StaysWithinItsBoundOverTheWholeDomain) {
    const TableCase& c = GetParam();
    uint32_t bits, end;
    std::memcpy(&bits, &c.lo, sizeof bits);
    std::memcpy(&end, &c.hi, sizeof end);
    double worst = 0;
    for (; bits <= end; bits += 64) {
        float x;
        std::memcpy(&x, &bits, sizeof x);
        const double exact = c.exact(x), error = std::fabs(c.vector(x) - exact);
        worst = std::max(worst, error / (c.relative * std::fabs(exact) + c.absolute));
        if (error > c.relative * std::fabs(exact) + c.absolute) FAIL() << c.name << " at " << x << ": " << error;
    }
    EXPECT_GT(worst, 0.01) << "the sweep never came near the bound";
}

INSTANTIATE_TEST_SUITE_P(Tables, CurveTableBound, ::testing::ValuesIn(kTables),
                         [](const ::testing::TestParamInfo<TableCase>& info) { return std::to_string(info.index); });

// Every 16-bit code of R (G and B on other codes, for HLG's three-channel
// gain) from a PQ or HLG RGBA64 source to 8-bit RGBA SDR.
TEST(XSimdCurveTables, EverySixteenBitCodeLandsWithinOneCodeOfTheScalarConvertor) {
    constexpr int kWidth = 4096, kHeight = 16;
    for (int32_t transfer : {kColorTransferSMPTE2084, kColorTransferARIB_STD_B67}) {
        test::FrameBuffers src(kKRORGBA16LEFormat, kWidth, kHeight), scalar(kKRORGBA8888Format, kWidth, kHeight),
            vector(kKRORGBA8888Format, kWidth, kHeight);
        for (uint32_t i = 0; i < kWidth * kHeight; ++i) {
            const uint16_t rgba[4] = {uint16_t(i), uint16_t(i * 7919u), uint16_t(65535 - i), 65535};
            std::memcpy(src.plane(0) + 8 * size_t{i}, rgba, sizeof rgba);
        }
        KROFrame s = src.frame(kColorPrimariesBT2020, transfer, 0, kColorRangeJpeg);
        KROFrame d = scalar.frame(kColorPrimariesBT709, kColorTransferBT709, 0, kColorRangeJpeg);
        CPUContext reference;
        ASSERT_EQ(reference.convertColor(&s, &d), kKROSuccess);
        for (int lanes : {4, 8}) {
            simd::setLaneLimit(lanes);
            KROFrame o = vector.frame(kColorPrimariesBT709, kColorTransferBT709, 0, kColorRangeJpeg);
            XSimdCPUContext c;
            ASSERT_EQ(c.convertColor(&s, &o), kKROSuccess);
            for (size_t i = 0; i < vector.size(0); ++i)
                ASSERT_LE(std::abs(vector.plane(0)[i] - scalar.plane(0)[i]), 1)
                    << "transfer " << transfer << ", " << lanes << " lanes, pixel " << i / 4;
        }
        simd::setLaneLimit(simd::kMaxLanes);
    }
}

}  // namespace
