// The ICC engine against Little CMS (relative colorimetric, no black-point
// compensation) on the embedded profiles and the Debian profile collections
// (icc-profiles-free, colord-data). Which of the latter parse is checked in
// icc_fast_plan_test.cpp.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <string>
#include <vector>

#include "icc/icc_engine.h"
#include "support/icc_test_profiles.h"

#ifdef KRO_HAVE_LCMS2
#include <lcms2.h>
#endif

namespace KROCOLOR {
namespace {

#ifdef KRO_HAVE_LCMS2

struct Named {
    std::string name;
    std::vector<uint8_t> bytes;  // empty: built-in sRGB
};

// Little CMS's own sRGB profile derives its colorants from the primaries, so
// it differs from the engine's built-in record in the last digits; near the
// gamut edge such digits decide whether a channel is slightly positive or
// clipped, which a 1/2.2 power magnifies into hundreds of codes. The oracle
// therefore gets a profile made of the built-in record's own numbers.
cmsHPROFILE lcmsFromRecord(const ICCProfile& record) {
    cmsHPROFILE p = cmsCreateProfilePlaceholder(nullptr);
    cmsSetProfileVersion(p, 4.3);
    cmsSetDeviceClass(p, cmsSigDisplayClass);
    cmsSetColorSpace(p, cmsSigRgbData);
    cmsSetPCS(p, cmsSigXYZData);
    cmsWriteTag(p, cmsSigMediaWhitePointTag, cmsD50_XYZ());
    const cmsTagSignature colorants[3] = {cmsSigRedColorantTag, cmsSigGreenColorantTag, cmsSigBlueColorantTag};
    const cmsTagSignature curves[3] = {cmsSigRedTRCTag, cmsSigGreenTRCTag, cmsSigBlueTRCTag};
    for (int c = 0; c < 3; ++c) {
        const cmsCIEXYZ xyz{record.toXYZD50[0][c], record.toXYZD50[1][c], record.toXYZD50[2][c]};
        cmsWriteTag(p, colorants[c], &xyz);
        const ICCTransferFunction& tf = record.trc[c].parametric;
        const cmsFloat64Number params[7] = {tf.g, tf.a, tf.b, tf.c, tf.d, tf.e, tf.f};
        cmsToneCurve* curve = cmsBuildParametricToneCurve(nullptr, 4, params);
        cmsWriteTag(p, curves[c], curve);
        cmsFreeToneCurve(curve);
    }
    return p;
}

cmsHPROFILE openLcms(const Named& p) {
    if (p.bytes.empty()) return lcmsFromRecord(kICCsRGBProfile);
    return cmsOpenProfileFromMem(p.bytes.data(), static_cast<cmsUInt32Number>(p.bytes.size()));
}

// 8-bit and 16-bit RGB grids: every corner and edge of a 9^3 lattice, plus
// values near black where curves are steepest.
std::vector<uint16_t> grid16() {
    std::vector<uint16_t> v;
    const int steps = 9;
    for (int r = 0; r < steps; ++r)
        for (int g = 0; g < steps; ++g)
            for (int b = 0; b < steps; ++b) {
                v.push_back(static_cast<uint16_t>(r * 65535 / (steps - 1)));
                v.push_back(static_cast<uint16_t>(g * 65535 / (steps - 1)));
                v.push_back(static_cast<uint16_t>(b * 65535 / (steps - 1)));
            }
    for (int k = 0; k < 64; ++k) {
        const uint16_t x = static_cast<uint16_t>(k * 97);
        v.insert(v.end(), {x, static_cast<uint16_t>(x / 2), static_cast<uint16_t>(x * 3 / 4)});
    }
    return v;
}

std::vector<uint8_t> grid8() {
    std::vector<uint8_t> v;
    const int values[] = {0, 1, 3, 8, 16, 32, 64, 100, 128, 160, 192, 224, 250, 255};
    for (int r : values)
        for (int g : values)
            for (int b : values) v.insert(v.end(), {uint8_t(r), uint8_t(g), uint8_t(b)});
    return v;
}

constexpr int kTolerance8 = 1;
constexpr int kTolerance16 = 131;  // 0.2% of 65535

// Both ends of one comparison, opened for Little CMS and parsed for the
// engine (no record: the built-in sRGB).
struct Opened {
    Opened(const Named& src, const Named& dst) : ls(openLcms(src)), ld(openLcms(dst)) {
        EXPECT_TRUE(ls && ld);
        es = parse(src, ps);
        ed = parse(dst, pd);
    }
    ~Opened() {
        if (ls) cmsCloseProfile(ls);
        if (ld) cmsCloseProfile(ld);
    }
    static const ICCProfile* parse(const Named& p, ICCProfile& record) {
        if (p.bytes.empty()) return nullptr;
        EXPECT_TRUE(test::parseAsThePathDoes(p.bytes, &record)) << p.name;
        return &record;
    }
    cmsHPROFILE ls, ld;
    ICCProfile ps, pd;
    const ICCProfile* es;
    const ICCProfile* ed;
};

// Converts packed RGB samples (8 or 16 bits) with Little CMS into `theirs`
// and with the engine into `ours`.
template <typename T>
void convertBoth(const Opened& o, const std::vector<T>& in, std::vector<T>& ours, std::vector<T>& theirs) {
    constexpr bool wide = sizeof(T) == 2;
    const size_t n = in.size() / 3;
    ours.assign(in.size(), 0);
    theirs.assign(in.size(), 0);
    const cmsUInt32Number type = wide ? TYPE_RGB_16 : TYPE_RGB_8;
    cmsHTRANSFORM t = cmsCreateTransform(o.ls, type, o.ld, type, INTENT_RELATIVE_COLORIMETRIC,
                                         cmsFLAGS_NOOPTIMIZE | cmsFLAGS_NOCACHE);
    EXPECT_TRUE(t);
    if (t) {
        cmsDoTransform(t, in.data(), theirs.data(), static_cast<cmsUInt32Number>(n));
        cmsDeleteTransform(t);
    }
    const ICCPixelFormat layout = wide ? kICCPixelFormatRGB161616LE : kICCPixelFormatRGB888;
    EXPECT_TRUE(transformICC(in.data(), layout, kICCAlphaUnpremultiplied, o.es, ours.data(), layout,
                             kICCAlphaUnpremultiplied, o.ed, n));
}

template <typename T>
int largestDifference(const std::vector<T>& a, const std::vector<T>& b) {
    int worst = 0;
    for (size_t i = 0; i < a.size(); ++i) worst = std::max(worst, std::abs(int(a[i]) - int(b[i])));
    return worst;
}

// The Cineon log profiles' curves are flat at both ends (several table
// entries of 0 and of 65535), so many codes decode to the same colour. Our
// table inversion solves for the input by the secant method starting from
// the ends of [0, 1] and lands anywhere on such a plateau; Little CMS picks
// one end of it, and next to a plateau the curve is so steep (or so flat)
// that codes far apart decode to nearly the same value. For these
// destinations two codes agree when they decode to the same value within the
// 16-bit tolerance.
bool hasFlatEndedCurves(const std::string& name) { return name.find("CineonLog") != std::string::npos; }

// Counts our code as Little CMS's wherever the two decode, through the
// destination's own curves evaluated by Little CMS, to values within the
// 16-bit tolerance of each other (`scale` widens the codes to 16 bits).
template <typename T>
void acceptCodesOnPlateaus(cmsHPROFILE dst, std::vector<T>& ours, const std::vector<T>& theirs, int scale) {
    const cmsTagSignature curves[3] = {cmsSigRedTRCTag, cmsSigGreenTRCTag, cmsSigBlueTRCTag};
    for (int c = 0; c < 3; ++c) {
        const cmsToneCurve* curve = static_cast<const cmsToneCurve*>(cmsReadTag(dst, curves[c]));
        ASSERT_TRUE(curve);
        for (size_t i = c; i < ours.size(); i += 3) {
            const int a = cmsEvalToneCurve16(curve, cmsUInt16Number(ours[i] * scale));
            const int b = cmsEvalToneCurve16(curve, cmsUInt16Number(theirs[i] * scale));
            if (std::abs(a - b) <= kTolerance16) ours[i] = theirs[i];
        }
    }
}

// Both grids agree with Little CMS: within one code at 8 bits, 0.2% of full
// scale at 16 bits, with plateaus accepted for flat-ended destinations.
void expectAgreement(const Named& src, const Named& dst) {
    const Opened o(src, dst);
    std::vector<uint8_t> ours8, theirs8;
    std::vector<uint16_t> ours16, theirs16;
    convertBoth(o, grid8(), ours8, theirs8);
    convertBoth(o, grid16(), ours16, theirs16);
    if (hasFlatEndedCurves(dst.name)) {
        acceptCodesOnPlateaus(o.ld, ours8, theirs8, 257);
        acceptCodesOnPlateaus(o.ld, ours16, theirs16, 1);
    }
    EXPECT_LE(largestDifference(ours8, theirs8), kTolerance8) << src.name << " -> " << dst.name;
    EXPECT_LE(largestDifference(ours16, theirs16), kTolerance16) << src.name << " -> " << dst.name;
}

std::vector<Named> referenceProfiles() {
    std::vector<Named> v = {
        {"built-in sRGB", {}}, {"Display P3", test::embeddedP3()}, {"Adobe RGB (1998)", test::embeddedAdobe()}};
    for (test::InstalledProfile& p : test::installedProfiles())
        if (p.path == "colord/ProPhotoRGB.icc") v.push_back(Named{"ProPhoto", std::move(p.bytes)});
    return v;
}

TEST(ICCOracle, ReferenceProfilesAgreeWithLittleCMS) {
    const std::vector<Named> profiles = referenceProfiles();
    for (const Named& src : profiles)
        for (const Named& dst : profiles)
            if (&src != &dst) expectAgreement(src, dst);
}

// Every RGB profile of the collections, as source into sRGB and as the
// destination of sRGB (the latter exercises the curve and matrix inversion).
TEST(ICCOracle, DebianRGBProfilesAgreeWithLittleCMS) {
    std::vector<test::InstalledProfile> installed = test::installedProfiles();
    if (installed.empty()) GTEST_SKIP() << "icc-profiles-free / colord-data not installed";
    const Named srgb{"built-in sRGB", {}};
    int compared = 0;
    for (test::InstalledProfile& file : installed) {
        Named p{file.path, std::move(file.bytes)};
        ICCProfile parsed;
        if (!test::parseAsThePathDoes(p.bytes, &parsed)) continue;
        if (parsed.dataColorSpace != kICCSigRGB) continue;
        expectAgreement(p, srgb);
        expectAgreement(srgb, p);
        ++compared;
    }
    EXPECT_GT(compared, 25);
}

#else

TEST(ICCOracle, NeedsLittleCMS) {
    GTEST_SKIP() << "built without Little CMS (liblcms2-dev): the engine is not compared with it";
}

#endif  // KRO_HAVE_LCMS2

}  // namespace
}  // namespace KROCOLOR
