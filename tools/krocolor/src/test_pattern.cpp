#include "test_pattern.h"

#include <algorithm>
#include <cmath>

namespace krocolor {
namespace {

// BT.2020 / BT.2100 non-constant-luminance luma coefficients.
constexpr double kKr = 0.2627, kKb = 0.0593, kKg = 1.0 - kKr - kKb;

// Seven bars: white, yellow, cyan, green, magenta, red, blue.
constexpr int kBars[7][3] = {{1, 1, 1}, {1, 1, 0}, {0, 1, 1}, {0, 1, 0}, {1, 0, 1}, {1, 0, 0}, {0, 0, 1}};

Signal grey(double v) { return {v, v, v}; }

int quantise(double v, double scale, double offset) {
    const double code = std::floor(v * scale + offset + 0.5);
    return static_cast<int>(std::min(1019.0, std::max(4.0, code)));
}

}  // namespace

Signal testPatternSignal(int xIn, int yIn, int w, int h) {
    // Region edges fall on even pixels so that no 2x2 chroma block straddles
    // two patches; only the ramp uses the exact column.
    const int x = xIn & ~1, y = yIn & ~1;
    const int side = w / 8;               // grey side columns
    const int inner = w - 2 * side;       // bars and ramp between them
    const int band = y * 12 / h;          // twelfths of the height
    const bool inSide = x < side || x >= w - side;
    if (band < 7) {
        // Colour bars: 100% in the top third, 58% below down to 7/12.
        if (inSide) return grey(0.40);
        const double level = band < 4 ? 1.0 : 0.58;
        const int bar = std::min(6, (x - side) * 7 / inner);
        return {level * kBars[bar][0], level * kBars[bar][1], level * kBars[bar][2]};
    }
    if (band == 7) {
        // Ramp from black to peak between the sides.
        if (x < side) return grey(0.0);
        if (x >= w - side) return grey(1.0);
        return grey(static_cast<double>(xIn - side) / (inner - 1));
    }
    if (band == 8) return grey(std::min(10, x * 11 / w) / 10.0);  // 0%, 10%, ... 100%
    // Bottom band: black with patches in twelve columns.
    const int column = x * 12 / w;
    switch (column) {
        case 1: return grey(-0.02);
        case 2: return grey(0.02);
        case 3: return grey(0.04);
        case 5: return grey(1.0);
        case 7: return {0.58, 0, 0};
        case 8: return {0, 0.58, 0};
        case 9: return {0, 0, 0.58};
        case 10: return {0, 0.58, 0.58};
        case 11: return {0.58, 0, 0.58};
        default: return grey(0.0);
    }
}

Image makeTestPattern(int width, int height) {
    Image frame(*pixelFormatByCode(107), width, height);
    const int cw = width / 2, ch = height / 2;
    for (int cy = 0; cy < ch; ++cy)
        for (int cx = 0; cx < cw; ++cx) {
            double cb = 0, cr = 0;
            for (int dy = 0; dy < 2; ++dy)
                for (int dx = 0; dx < 2; ++dx) {
                    const int x = 2 * cx + dx, y = 2 * cy + dy;
                    const Signal s = testPatternSignal(x, y, width, height);
                    const double luma = kKr * s.r + kKg * s.g + kKb * s.b;
                    frame.setSample(0, x, y, static_cast<uint32_t>(quantise(luma, 876.0, 64.0)));
                    cb += (s.b - luma) / (2.0 * (1.0 - kKb));
                    cr += (s.r - luma) / (2.0 * (1.0 - kKr));
                }
            frame.setSample(1, cx, cy, static_cast<uint32_t>(quantise(cb / 4.0, 896.0, 512.0)));
            frame.setSample(2, cx, cy, static_cast<uint32_t>(quantise(cr / 4.0, 896.0, 512.0)));
        }
    return frame;
}

}  // namespace krocolor
