// HLG to display light as the GPU programs apply it (ITU-R BT.2100 with a
// nominal peak of 203 cd/m2, black 0.005 cd/m2 and gain 1), in double
// precision from the published formulas. One definition for the tests of
// every GPU backend, whose programs share this step.
#pragma once

#include <algorithm>
#include <cmath>

namespace KROCOLOR {
namespace test {

constexpr double kHlgA = 0.17883277, kHlgB = 0.28466892, kHlgC = 0.55991073;

// `in` and `out` hold R, G, B (they may be the same array).
inline void hlgToDisplayLight(const double* in, double* out) {
    const double gamma = 1.2 + 0.42 * std::log10(203.0 / 1000.0);
    const double beta = std::sqrt(3 * std::pow(0.005 / 203.0, 1 / gamma));
    double e[3];
    for (int k = 0; k < 3; ++k) {
        const double x = std::max(0.0, (1 - beta) * in[k] + beta);
        e[k] = x > 0.5 ? (std::exp((x - kHlgC) / kHlgA) + kHlgB) / 12 : x * x / 3;
    }
    const double ys = 0.2627 * e[0] + 0.678 * e[1] + 0.0593 * e[2];
    const double g = std::pow(ys, gamma - 1);
    for (int k = 0; k < 3; ++k) out[k] = g * e[k];
}

}  // namespace test
}  // namespace KROCOLOR
