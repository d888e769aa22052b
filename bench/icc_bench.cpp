// ICC-mode transcoding at 1920x1080 beside Little CMS on the same pixels and
// profiles: RGBA8888 sRGB -> Display P3 and RGB16 Adobe RGB (1998) -> sRGB.
// Little CMS runs with its default flags and with cmsFLAGS_NOCACHE; the
// ratio (Little CMS time / ours) is printed after the runs.
#include <benchmark/benchmark.h>

#include <cstdio>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "KROColorFunctions.h"

#ifdef KRO_HAVE_LCMS2
#include <lcms2.h>
#endif

using namespace KROCOLOR;

namespace {

constexpr int kWidth = 1920, kHeight = 1080;

std::vector<uint8_t> pattern(size_t bytes) {
    std::vector<uint8_t> v(bytes);
    uint32_t s = 12345;
    for (uint8_t& b : v) {
        s = s * 1664525u + 1013904223u;
        b = static_cast<uint8_t>(s >> 24);
    }
    return v;
}

struct Case {
    int32_t srcFormat, dstFormat;
    int bytesPerPixel;
    const uint8_t* srcProfile;
    int srcProfileSize;
    const uint8_t* dstProfile;
    int dstProfileSize;
};

Case rgba8ToP3() {
    return {kKRORGBA8888Format, kKRORGBA8888Format, 4, nullptr, 0, KROColorFunctions::getDisplayP3ICCProfile(),
            KROColorFunctions::getDisplayP3ICCProfileSize()};
}
Case rgb16AdobeToSRGB() {
    return {kKRORGB16LEFormat, kKRORGB16LEFormat, 6, KROColorFunctions::getAdobeRGBICCProfile(),
            KROColorFunctions::getAdobeRGBICCProfileSize(), nullptr, 0};
}

void runOurs(benchmark::State& state, const Case& c) {
    const std::vector<uint8_t> src = pattern(static_cast<size_t>(kWidth) * kHeight * c.bytesPerPixel);
    std::vector<uint8_t> dst(src.size());
    std::unique_ptr<KROColorFunctions> f(KROColorFunctions::create(
        kWidth, kHeight, static_cast<KROPixelFormat>(c.srcFormat), kWidth, kHeight, static_cast<KROPixelFormat>(c.dstFormat)));
    f->setType(kKROProfileTypeICC);
    f->setICCProfile(c.srcProfile, c.srcProfileSize, c.dstProfile, c.dstProfileSize);
    const uint8_t* in[] = {src.data()};
    uint8_t* out[] = {dst.data()};
    const int strides[] = {kWidth * c.bytesPerPixel};
    for (auto _ : state) {
        if (f->transcode(in, strides, out, strides) != kKROSuccess) state.SkipWithError("transcode failed");
        benchmark::DoNotOptimize(dst.data());
    }
    state.SetItemsProcessed(state.iterations() * kWidth * kHeight);
}

void BM_ICC_RGBA8_sRGB_to_P3_Ours(benchmark::State& s) { runOurs(s, rgba8ToP3()); }
void BM_ICC_RGB16_Adobe_to_sRGB_Ours(benchmark::State& s) { runOurs(s, rgb16AdobeToSRGB()); }
BENCHMARK(BM_ICC_RGBA8_sRGB_to_P3_Ours)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_ICC_RGB16_Adobe_to_sRGB_Ours)->Unit(benchmark::kMillisecond)->UseRealTime();

#ifdef KRO_HAVE_LCMS2
cmsHPROFILE openOrSRGB(const uint8_t* bytes, int size) {
    return bytes ? cmsOpenProfileFromMem(bytes, static_cast<cmsUInt32Number>(size)) : cmsCreate_sRGBProfile();
}

void runLcms(benchmark::State& state, const Case& c, cmsUInt32Number format, cmsUInt32Number flags) {
    const std::vector<uint8_t> src = pattern(static_cast<size_t>(kWidth) * kHeight * c.bytesPerPixel);
    std::vector<uint8_t> dst(src.size());
    cmsHPROFILE s = openOrSRGB(c.srcProfile, c.srcProfileSize), d = openOrSRGB(c.dstProfile, c.dstProfileSize);
    if (format == TYPE_RGBA_8) flags |= cmsFLAGS_COPY_ALPHA;
    cmsHTRANSFORM t = cmsCreateTransform(s, format, d, format, INTENT_RELATIVE_COLORIMETRIC, flags);
    for (auto _ : state) {
        cmsDoTransform(t, src.data(), dst.data(), static_cast<cmsUInt32Number>(kWidth) * kHeight);
        benchmark::DoNotOptimize(dst.data());
    }
    state.SetItemsProcessed(state.iterations() * kWidth * kHeight);
    cmsDeleteTransform(t);
    cmsCloseProfile(s);
    cmsCloseProfile(d);
}

void BM_ICC_RGBA8_sRGB_to_P3_Lcms(benchmark::State& s) { runLcms(s, rgba8ToP3(), TYPE_RGBA_8, 0); }
void BM_ICC_RGBA8_sRGB_to_P3_LcmsNoCache(benchmark::State& s) { runLcms(s, rgba8ToP3(), TYPE_RGBA_8, cmsFLAGS_NOCACHE); }
void BM_ICC_RGB16_Adobe_to_sRGB_Lcms(benchmark::State& s) { runLcms(s, rgb16AdobeToSRGB(), TYPE_RGB_16, 0); }
void BM_ICC_RGB16_Adobe_to_sRGB_LcmsNoCache(benchmark::State& s) {
    runLcms(s, rgb16AdobeToSRGB(), TYPE_RGB_16, cmsFLAGS_NOCACHE);
}
BENCHMARK(BM_ICC_RGBA8_sRGB_to_P3_Lcms)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_ICC_RGBA8_sRGB_to_P3_LcmsNoCache)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_ICC_RGB16_Adobe_to_sRGB_Lcms)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_ICC_RGB16_Adobe_to_sRGB_LcmsNoCache)->Unit(benchmark::kMillisecond)->UseRealTime();
#endif

// Console output plus a table of Little CMS time / our time per case.
class RatioReporter : public benchmark::ConsoleReporter {
public:
    void ReportRuns(const std::vector<Run>& runs) override {
        for (const Run& r : runs)
            if (!r.error_occurred) times_[r.benchmark_name()] = r.GetAdjustedRealTime();
        ConsoleReporter::ReportRuns(runs);
    }
    void printRatios() const {
        for (const char* c : {"BM_ICC_RGBA8_sRGB_to_P3", "BM_ICC_RGB16_Adobe_to_sRGB"}) {
            const auto ours = times_.find(std::string(c) + "_Ours/real_time");
            if (ours == times_.end()) continue;
            for (const char* peer : {"_Lcms", "_LcmsNoCache"}) {
                const auto theirs = times_.find(std::string(c) + peer + "/real_time");
                if (theirs == times_.end()) continue;
                std::printf("%s: Little CMS%s / ours = %.2f\n", c, peer + 5, theirs->second / ours->second);
            }
        }
    }

private:
    std::map<std::string, double> times_;
};

}  // namespace

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    RatioReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    reporter.printRatios();
    benchmark::Shutdown();
    return 0;
}
