// libFuzzer target for the ICC engine: profiles are untrusted bytes. Each
// input is parsed (with the priorities the ICC path uses and with all three),
// checked by the CMYK print-profile recognition, and, when it parses, used as
// source and as destination of a short pixel run in several layouts.
#include <cstddef>
#include <cstdint>

#include "icc/icc_path.h"
#include "icc/icc_engine.h"

using namespace KROCOLOR;

namespace {

// A destination profile without B2A has its table curves inverted when a
// transform is planned, at a cost that grows with the table (real profiles
// carry up to 4096 entries, fuzzed ones tens of thousands). The inversion's
// memory handling does not depend on the length, so the destination role
// sees at most the first kMaxInvertedEntries entries of each table, which
// stay inside the parsed bytes: every input costs about the same.
constexpr uint32_t kMaxInvertedEntries = 64;

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    // libFuzzer hands over a heap copy of exactly `size` bytes, so any read
    // past the end is caught without a copy of our own.
    const uint8_t* p = size ? data : nullptr;

    static const int kPathPriorities[2] = {0, 1};
    static const int kAllPriorities[3] = {2, 1, 0};
    ICCProfile profile;
    const bool parsed = p && parseICCProfile(p, size, kPathPriorities, 2, &profile);
    ICCProfile other;
    if (p) parseICCProfile(p, size, kAllPriorities, 3, &other);
    if (size <= 0x7fffffff) isKnownCMYKPrintProfile(p, static_cast<int>(size));
    if (!parsed) return 0;
    ICCProfile destination = profile;
    for (ICCCurve& curve : destination.trc)
        if (curve.tableEntries > kMaxInvertedEntries) curve.tableEntries = kMaxInvertedEntries;

    uint8_t pixels[4 * 8 * 2];
    for (size_t i = 0; i < sizeof pixels; ++i) pixels[i] = static_cast<uint8_t>(i * 37 + 11);
    uint8_t out[4 * 8 * 2];
    transformICC(pixels, kICCPixelFormatRGBA8888, kICCAlphaUnpremultiplied, &profile, out,
                 kICCPixelFormatRGB888, kICCAlphaUnpremultiplied, nullptr, 8);
    transformICC(pixels, kICCPixelFormatRGB161616BE, kICCAlphaPremultiplied, nullptr, out,
                 kICCPixelFormatRGBA16161616LE, kICCAlphaOpaque, &destination, 8);
    transformICC(pixels, kICCPixelFormatBGRA8888, kICCAlphaUnpremultiplied, &profile, out,
                 kICCPixelFormatBGRA8888, kICCAlphaUnpremultiplied, &kICCXYZD50Profile, 8);
    return 0;
}
