#include "color/code_thresholds.h"

#include <cstring>
#include <limits>
#include <mutex>

#include "color/curve_functions.h"
#include "color/pixel_kernels.h"

namespace KROCOLOR {

namespace {

// Float bit patterns mapped to unsigned keys in the order of the values
// (-NaN and +NaN fall outside [-inf, +inf]; -0 sorts just below +0).
uint32_t orderKey(float f) {
    uint32_t b;
    std::memcpy(&b, &f, sizeof b);
    return (b & 0x80000000u) ? ~b : (b | 0x80000000u);
}

float fromOrderKey(uint32_t k) {
    const uint32_t b = (k & 0x80000000u) ? (k & 0x7FFFFFFFu) : ~k;
    float f;
    std::memcpy(&f, &b, sizeof f);
    return f;
}

constexpr int kSlots = 12;  // ten curves, PQ once per scale

int slotOf(Curve curve, float pqScale) {
    if (curve != Curve::PQ) return static_cast<int>(curve);
    if (pqScale == kPqScaleFromHdr) return 10;
    if (pqScale == kPqScaleFromSdr) return 11;
    return -1;
}

}  // namespace

uint16_t encodedCode8(Curve curve, float pqScale, float x) {
    const float v = curve == Curve::PQ ? curves::PQ_OETF_unscaled(x * pqScale) : oetfFunctions(curve).channel(x);
    return kernels::toCode(v * kFullScale8, kFullScale8);
}

bool encodeHasThresholds(Curve curve) {
    switch (curve) {
    case Curve::BT709:
    case Curve::BT709Unclamped:
    case Curve::BT2020_12:
    case Curve::SRGB:
    case Curve::HLG:
        return true;
    default:
        return false;
    }
}

bool findCodeThresholds8(Curve curve, float pqScale, CodeThresholds& t) {
    const float nan = std::numeric_limits<float>::quiet_NaN();
    const float inf = std::numeric_limits<float>::infinity();
    if (encodedCode8(curve, pqScale, nan) != 0 || encodedCode8(curve, pqScale, -nan) != 0) return false;
    if (encodedCode8(curve, pqScale, -0.0f) != encodedCode8(curve, pqScale, 0.0f)) return false;
    t.t[0] = nan;
    const uint32_t top = orderKey(inf);
    const int topCode = encodedCode8(curve, pqScale, inf);
    uint32_t lo = orderKey(-inf);
    for (int k = 1; k < 256; ++k) {
        if (topCode < k) {
            t.t[k] = nan;  // no input reaches k: nothing counts
            continue;
        }
        // Smallest key in [lo, top] whose code is at least k.
        uint32_t hi = top;
        while (lo < hi) {
            const uint32_t mid = lo + (hi - lo) / 2;
            if (encodedCode8(curve, pqScale, fromOrderKey(mid)) >= k)
                hi = mid;
            else
                lo = mid + 1;
        }
        t.t[k] = fromOrderKey(lo);
    }
    t.t[256] = nan;
    for (int j = 0; j < CodeThresholds::kStarts; ++j) {
        int code = 0;
        const float x = fromOrderKey(orderKey(0.0f) + (static_cast<uint32_t>(j) << 16));
        while (code < 255 && x >= t.t[code + 1]) ++code;
        t.start[j] = static_cast<uint8_t>(code);
    }
    // Thresholds inside each start's range, the last one ending at 1.
    int belowOne = 0;
    while (belowOne < 255 && 1.0f > t.t[belowOne + 1]) ++belowOne;
    t.climb = 0;
    for (int j = 0; j < CodeThresholds::kStarts; ++j) {
        const int end = j + 1 < CodeThresholds::kStarts ? t.start[j + 1] : belowOne;
        if (end - t.start[j] > t.climb) t.climb = end - t.start[j];
    }
    return true;
}

const CodeThresholds* codeThresholds8(Curve curve, float pqScale) {
    if (!encodeHasThresholds(curve)) return nullptr;
    const int slot = slotOf(curve, pqScale);
    if (slot < 0) return nullptr;
    static CodeThresholds tables[kSlots];
    static bool valid[kSlots];
    static std::once_flag once[kSlots];
    std::call_once(once[slot], [&] { valid[slot] = findCodeThresholds8(curve, pqScale, tables[slot]); });
    return valid[slot] ? &tables[slot] : nullptr;
}

void buildDecodeTable8(Curve curve, double pqRatio, float table[256]) {
    const auto f = eotfFunctions(curve).channel;
    for (int k = 0; k < 256; ++k) {
        const float x = kernels::clamp01(static_cast<float>(k) / kFullScale8);  // kernels::normaliseRGB
        table[k] = curve == Curve::PQ ? kernels::pqEotfChannel(x, pqRatio) : f(x);
    }
}

}  // namespace KROCOLOR
