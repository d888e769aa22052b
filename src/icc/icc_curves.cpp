#include "icc/icc_curves.h"

#include <cfloat>
#include <cmath>
#include <cstdint>

namespace KROCOLOR {
namespace icc {

void replaceIdentityTable(ICCCurve& curve) {
    const uint32_t n = curve.tableEntries;
    if (n < 2) return;
    const float tolerance = 1.0f / (2.0f * static_cast<float>(n));
    const float dx = 1.0f / static_cast<float>(n - 1);
    // Walk the entries keeping the range of slopes of lines through the first
    // entry that stay within the tolerance of every entry so far; remember
    // the slope through the last entry that lies in that range.
    const float offset = tableEntry(curve, 0);
    float slopeMin = -INFINITY, slopeMax = INFINITY, slope = 0.0f;
    uint32_t fitted = 1;
    for (uint32_t i = 1; i < n; ++i) {
        const float x = static_cast<float>(i) * dx;
        const float y = tableEntry(curve, i);
        const float hiSlope = (y + tolerance - offset) / x;
        const float loSlope = (y - tolerance - offset) / x;
        if (hiSlope < slopeMin || slopeMax < loSlope) break;
        slopeMax = std::fmin(slopeMax, hiSlope);
        slopeMin = std::fmax(slopeMin, loSlope);
        const float through = (y - offset) / x;
        if (slopeMin <= through && through <= slopeMax) {
            fitted = i + 1;
            slope = through;
        }
    }
    if (fitted == n && slope == 1.0f && offset == 0.0f) curve = identityCurve();
}

bool invertTransferFunction(const ICCTransferFunction& tf, ICCTransferFunction* inverse) {
    if (!isValidTransferFunction(tf)) return false;
    // The two pieces must meet at d (within 1/512), or no single function
    // of this form inverts the curve.
    const float linearAtD = tf.c * tf.d + tf.f;
    const float powerAtD = fastPow(tf.a * tf.d + tf.b, tf.g) + tf.e;
    if (std::fabs(linearAtD - powerAtD) > 1.0f / 512.0f) return false;

    ICCTransferFunction inv{0, 0, 0, 0, 0, 0, 0};
    inv.d = linearAtD;
    if (inv.d > 0.0f) {
        inv.c = 1.0f / tf.c;
        inv.f = -tf.f / tf.c;
    }
    // y = (a t + b)^g + e  =>  t = (a^-g y - e a^-g)^(1/g) - b/a
    const float aPow = fastPow(tf.a, -tf.g);
    inv.g = 1.0f / tf.g;
    inv.a = aPow;
    inv.b = -tf.e * aPow;
    inv.e = -tf.b / tf.a;
    // Keep the base of the power non-negative where the power piece starts.
    if (inv.a * inv.d + inv.b < 0.0f) inv.b = -inv.a * inv.d;
    if (!isValidTransferFunction(inv)) return false;

    // Make the inverse map f(1) to exactly 1, adjusting the piece holding it.
    const float y = evalTransferFunction(tf, 1.0f);
    const float s = y < 0.0f ? -1.0f : 1.0f;
    const float ay = std::fabs(y);
    if (ay < inv.d)
        inv.f = 1.0f - s * inv.c * ay;
    else
        inv.e = 1.0f - s * fastPow(inv.a * ay + inv.b, inv.g);
    *inverse = inv;
    return true;
}

namespace {

// The input in [0, 1] at which `curve` reaches `target`, by the secant method
// started on [x0, x1].
double solveCurve(const ICCCurve& curve, double target, double x0, double x1) {
    double y0 = evalCurve(curve, static_cast<float>(x0)) - target;
    double y1 = evalCurve(curve, static_cast<float>(x1)) - target;
    if (y0 == 0.0) return x0;  // an exact solution at the start
    for (int step = 0; step < 30; ++step) {
        if (y1 == 0.0 || std::fabs(y1 - y0) < 1e-10) break;
        double x2 = x1 - y1 * (x1 - x0) / (y1 - y0);
        if (!(x2 >= 0.0)) x2 = 0.0;
        if (x2 > 1.0) x2 = 1.0;
        x0 = x1;
        y0 = y1;
        x1 = x2;
        y1 = evalCurve(curve, static_cast<float>(x1)) - target;
    }
    return x1;
}

// For each target j / (n - 1) the table segment its secant search starts on:
// the lowest-numbered segment that rises or falls through the target, else
// the lowest flat segment lying exactly at the target's height, else none
// (kNoSegment). Curves that are flat at an end (log encodings, clipped
// tables) have many solutions there; preferring a sloped segment picks the
// one next to the curve's working range, where the curve is linear and the
// secant method lands on the solution at once.
//
// The targets rise with j, so the targets a segment covers are one run of j,
// found from an estimate corrected by the exact comparisons. Segments are
// visited in index order and each claims only the targets no earlier segment
// took (a skip list of unclaimed targets), which keeps the whole search
// linear even for tables that are not monotonic.
constexpr uint32_t kNoSegment = UINT32_MAX;

std::vector<uint32_t> startSegments(const ICCCurve& curve, double step) {
    const uint32_t n = curve.tableEntries;
    const double last = static_cast<double>(n - 1);
    auto target = [step](uint32_t j) { return static_cast<double>(j) * step; };
    // First j in [0, n] whose target is not below `value` (with `after`:
    // is above it). The comparison is monotonic in j, so walking from the
    // estimate value * (n - 1) to where it changes gives the exact answer.
    auto firstTarget = [&](double value, bool after) {
        auto below = [&](uint32_t j) { return after ? target(j) <= value : target(j) < value; };
        const double guess = value * last;
        uint32_t j = guess <= 0.0 ? 0 : (guess >= last ? n - 1 : static_cast<uint32_t>(guess));
        while (j < n && below(j)) ++j;
        while (j > 0 && !below(j - 1)) --j;
        return j;
    };
    std::vector<uint32_t> chosen(n, kNoSegment), flat(n, kNoSegment);
    // nextFree[j]: the lowest target >= j not yet claimed by a sloped segment.
    std::vector<uint32_t> unclaimed(static_cast<size_t>(n) + 1);
    uint32_t* sloped = chosen.data();
    uint32_t* nextFree = unclaimed.data();
    for (uint32_t j = 0; j <= n; ++j) nextFree[j] = j;
    auto findFree = [nextFree](uint32_t j) {
        uint32_t root = j;
        while (nextFree[root] != root) root = nextFree[root];
        while (nextFree[j] != root) {
            const uint32_t up = nextFree[j];
            nextFree[j] = root;
            j = up;
        }
        return root;
    };
    for (uint32_t i = 0; i + 1 < n; ++i) {
        const double a = tableEntry(curve, i), b = tableEntry(curve, i + 1);
        const double lo = a < b ? a : b, hi = a < b ? b : a;
        const uint32_t begin = firstTarget(lo, false), end = firstTarget(hi, true);
        if (a == b) {
            for (uint32_t j = begin; j < end; ++j)
                if (flat[j] == kNoSegment) flat[j] = i;
            continue;
        }
        for (uint32_t j = findFree(begin); j < end; j = findFree(j)) {
            sloped[j] = i;
            nextFree[j] = j + 1;
        }
    }
    for (uint32_t j = 0; j < n; ++j)
        if (sloped[j] == kNoSegment) sloped[j] = flat[j];
    return chosen;
}

}  // namespace

void invertTableCurve(const ICCCurve& curve, std::vector<uint8_t>& storage, ICCCurve* inverse) {
    const uint32_t n = curve.tableEntries;
    const bool wide = curve.table8 == nullptr;
    storage.assign(static_cast<size_t>(n) * (wide ? 2 : 1), 0);
    const double maxCode = wide ? 65535.0 : 255.0;
    const double step = 1.0 / static_cast<double>(n - 1);
    const std::vector<uint32_t> segments = startSegments(curve, step);
    for (uint32_t j = 0; j < n; ++j) {
        const double target = static_cast<double>(j) * step;
        double x0 = 0.0, x1 = 1.0;
        if (segments[j] != kNoSegment) {
            x0 = segments[j] * step;
            x1 = (segments[j] + 1) * step;
        }
        const double x = solveCurve(curve, target, x0, x1);
        double code = std::floor(x * maxCode + 0.5);
        if (code < 0.0) code = 0.0;
        if (code > maxCode) code = maxCode;
        const uint32_t v = static_cast<uint32_t>(code);
        if (wide) {
            storage[2 * j] = static_cast<uint8_t>(v >> 8);
            storage[2 * j + 1] = static_cast<uint8_t>(v);
        } else {
            storage[j] = static_cast<uint8_t>(v);
        }
    }
    ICCCurve inv{};
    inv.tableEntries = n;
    (wide ? inv.table16 : inv.table8) = storage.data();
    *inverse = inv;
}

bool invertMatrix3x3(const float m[3][3], float inverse[3][3]) {
    double a[3][3];
    for (int r = 0; r < 3; ++r)
        for (int c = 0; c < 3; ++c) a[r][c] = m[r][c];
    // Cofactors of the first row give the determinant.
    const double c00 = a[1][1] * a[2][2] - a[1][2] * a[2][1];
    const double c01 = a[1][2] * a[2][0] - a[1][0] * a[2][2];
    const double c02 = a[1][0] * a[2][1] - a[1][1] * a[2][0];
    const double det = a[0][0] * c00 + a[0][1] * c01 + a[0][2] * c02;
    if (det == 0.0) return false;
    const double invDet = 1.0 / det;
    if (invDet > FLT_MAX || invDet < -FLT_MAX) return false;
    // inverse = adjugate / det; the adjugate is the transposed cofactor matrix.
    const double adj[3][3] = {
        {c00, a[0][2] * a[2][1] - a[0][1] * a[2][2], a[0][1] * a[1][2] - a[0][2] * a[1][1]},
        {c01, a[0][0] * a[2][2] - a[0][2] * a[2][0], a[0][2] * a[1][0] - a[0][0] * a[1][2]},
        {c02, a[0][1] * a[2][0] - a[0][0] * a[2][1], a[0][0] * a[1][1] - a[0][1] * a[1][0]},
    };
    float out[3][3];
    for (int r = 0; r < 3; ++r)
        for (int c = 0; c < 3; ++c) {
            const double v = adj[r][c] * invDet;
            if (!(std::fabs(v) <= FLT_MAX)) return false;  // also NaN
            out[r][c] = static_cast<float>(v);
        }
    for (int r = 0; r < 3; ++r)
        for (int c = 0; c < 3; ++c) inverse[r][c] = out[r][c];
    return true;
}

}  // namespace icc
}  // namespace KROCOLOR
