// The CUDA convertor against values worked out from the kernels' documented
// formulas: colour conversion for every pair of staged formats with host and
// device frames on either side, scaling, the eight orientations, crops, the
// places where the kernels deliberately differ from the CPU pipeline, and
// the failure codes. Runs on whatever driver the loader finds (ctest puts
// the CPU stand-in first).
#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "color/color_constants.h"
#include "core/frame.h"
#include "cpu/cpu_context.h"
#include "cpu/sample_access.h"
#include "cuda/cuda_context.h"
#include "cuda/cuda_driver.h"
#include "support/cuda_device.h"
#include "support/hlg_reference.h"

using namespace KROCOLOR;
using test::CudaSession;
using test::DeviceCopy;
using test::HostFrame;

namespace {

struct Desc {
    int p, t, m, r;
};

// Host formats with a device twin, and their twins.
const int32_t kHost[] = {101, 102, 119, 120, 103, 104, 106, 107, 108, 109, 110, 111, 112, 113, 124, 125};
int32_t twin(int32_t h) {
    const int32_t d[] = {301, 302, 310, 311, 303, 304, 305, 306, 307, 308, 309, 317, 318, 319, 320, 321};
    for (int i = 0; i < 16; ++i)
        if (kHost[i] == h) return d[i];
    return 0;
}

int depthOf(int32_t host) { return formatTraits(host)->depth; }
bool isRgb(int32_t host) { return formatTraits(host)->colorClass == ColorClass::RGB; }
bool hasAlpha(int32_t host) { return host == 102 || host == 120 || host == 124 || host == 125; }

// ---- the kernels' pipeline, written out from its description ----

using V4 = std::array<double, 4>;

V4 mul(const Matrix3& m, const V4& c) {
    V4 o = c;
    for (int k = 0; k < 3; ++k) o[k] = double(m.m[k][0]) * c[0] + double(m.m[k][1]) * c[1] + double(m.m[k][2]) * c[2];
    return o;
}
double clampd(double v, double lo, double hi) { return v > lo ? (v < hi ? v : hi) : lo; }

V4 normalise(const NativePixel& n, int32_t f, int range) {
    const int d = depthOf(f);
    if (isRgb(f)) {
        const double s = d == 16 ? 65535 : 255;
        return {clampd(n.c[0] / s, 0, 1), clampd(n.c[1] / s, 0, 1), clampd(n.c[2] / s, 0, 1),
                hasAlpha(f) ? clampd(n.c[3] / s, 0, 1) : 1};
    }
    V4 p;
    if (range == 2) {
        const double top = (1 << d) - 1, mid = 1 << (d - 1);
        p = {n.c[0] / top, (n.c[1] - mid) / top, (n.c[2] - mid) / top, hasAlpha(f) ? n.c[3] / top : 1};
    } else {
        const double s = 1 << (d - 8);
        p = {(n.c[0] / s - 16) / 219, (n.c[1] / s - 128) / 224, (n.c[2] / s - 128) / 224,
             hasAlpha(f) ? n.c[3] / s / 255 : 1};
    }
    return {clampd(p[0], 0, 1), clampd(p[1], -0.5, 0.5), clampd(p[2], -0.5, 0.5), clampd(p[3], 0, 1)};
}

NativePixel quantise(const V4& p, int32_t f, int range) {
    const int d = depthOf(f);
    const double top = (1 << d) - 1;
    auto q = [&](double v) { return static_cast<uint16_t>(clampd(std::round(v), 0, top)); };
    NativePixel n;
    if (isRgb(f)) {
        for (int k = 0; k < 4; ++k) n.c[k] = q(p[k] * top);
    } else if (range == 2) {
        const double mid = 1 << (d - 1);
        n = {{q(p[0] * top), q(p[1] * top + mid), q(p[2] * top + mid), q(p[3] * top)}};
    } else {
        const double s = 1 << (d - 8);
        n = {{q((p[0] * 219 + 16) * s), q((p[1] * 224 + 128) * s), q((p[2] * 224 + 128) * s), q(p[3] * 255 * s)}};
    }
    return n;
}

const Matrix3& yuvToRgb(int m, double u, double v) {
    switch (m) {
        case 10: return *kBT2020CLYUVtoRGB[(u > 0 ? 2 : 0) + (v > 0 ? 1 : 0)];
        case 5: case 6: case 11: case 12: return kBT601YUVtoRGB;
        case 9: return kBT2020YUVtoRGB;
        case 8: return kYCGCOYUVtoRGB;
        default: return kBT709YUVtoRGB;
    }
}

const Matrix3& rgbToYuv(int m, const V4& c) {
    if (m == 10) {
        const double y = 0.2627 * c[0] + 0.678 * c[1] + 0.0593 * c[2];
        return *kBT2020CLRGBtoYUV[(c[2] - y > 0 ? 2 : 0) + (c[0] - y > 0 ? 1 : 0)];
    }
    return m == 5 || m == 6 || m == 11 || m == 12 ? kBT601RGBtoYUV
           : m == 9                              ? kBT2020RGBtoYUV
           : m == 8                              ? kYCGCORGBtoYUV
                                                 : kBT709RGBtoYUV;
}

// The primaries pairs these tests use.
const Matrix3& primaries(int s, int d) {
    if (s == 5 && d == 1) return kBT601ToBT709;
    if (s == 1 && d == 9) return kBT709ToBT2020;
    if (s == 9 && d == 1) return kBT2020ToBT709;
    if (s == 12 && d == 1) return kDisplayP3toBT709;
    if (s == 23 && d == 1) return kAdobeRGBtoBT709;
    EXPECT_EQ(s, d) << "pair without a table in this test";
    return kIdentity;
}

double decode(double v, int t) {
    switch (t) {
        case 4: return clampd(std::pow(v, 2.2), 0, 1);
        case 10: return std::pow(10.0, 2.5 * (v - 1));
        case 13: return clampd(v < 0.04045 ? v / 12.92 : std::pow((v + 0.055) / 1.055, 2.4), 0, 1);
        default: return v < 0.081 ? v / 4.5 : std::pow((v + 0.099) / 1.099, 1 / 0.45);
    }
}

double encode(double l, int t) {
    const double bt709 = l < 0.018 ? 4.5 * l : 1.099 * std::pow(l, 0.45) - 0.099;
    switch (t) {
        case 5: case 6: case 14: return l < 0.018 ? 4.5 * l : 1.099 * std::pow(l, 0.45) - 0.099;
        case 13: return clampd(l < 0.0031308 ? 12.92 * l : 1.055 * std::pow(l, 1 / 2.4) - 0.055, 0, 1);
        case 18: return l <= 1.0 / 12 ? std::sqrt(3 * l) : 0.17883277 * std::log(12 * l - 0.28466892) + 0.55991073;
        default: return clampd(bt709, 0, 1);
    }
}

V4 hlgDecode(const V4& c) {
    V4 p = c;
    test::hlgToDisplayLight(c.data(), p.data());
    p[3] = 1;
    return p;
}

NativePixel expected(const NativePixel& in, int32_t sf, const Desc& s, int32_t df, const Desc& d) {
    V4 p = normalise(in, sf, s.r);
    if (!(sf == df && s.p == d.p && s.t == d.t && s.m == d.m && s.r == d.r)) {
        if (!isRgb(sf)) {
            p = mul(yuvToRgb(s.m, p[1], p[2]), p);
            p = {clampd(p[0], 0, 1), clampd(p[1], 0, 1), clampd(p[2], 0, 1), 1};
        }
        if (s.p != d.p || s.t != d.t) {
            if (s.t == 18) p = hlgDecode(p);
            else p = {decode(p[0], s.t), decode(p[1], s.t), decode(p[2], s.t), p[3]};
            p = mul(primaries(s.p, d.p), p);
            p = {encode(p[0], d.t), encode(p[1], d.t), encode(p[2], d.t), p[3]};
        }
        if (!isRgb(df)) {
            p = mul(rgbToYuv(d.m, p), p);
            p = {clampd(p[0], 0, 1), clampd(p[1], -0.5, 0.5), clampd(p[2], -0.5, 0.5), 1};
        }
    }
    return quantise(p, df, d.r);
}

// ---- frames ----

void fill(HostFrame& f, const std::function<NativePixel(int, int)>& codes) {
    const SampleAccess a = sampleAccessFor(f.frame.format);
    for (int y = 0; y < f.frame.height; ++y)
        for (int x = 0; x < f.frame.width; ++x) writePixel(a, f.frame, x, y, codes(x, y));
}

// Components a format stores (alpha only where it has one).
int components(int32_t f) { return hasAlpha(f) ? 4 : 3; }

// Largest difference between the codes of a frame and `want`; chroma of
// subsampled formats is compared at the block's top-left pixel only.
int worstDifference(const HostFrame& f, const std::function<NativePixel(int, int)>& want) {
    const SampleAccess a = sampleAccessFor(f.frame.format);
    const FormatTraits& t = *formatTraits(f.frame.format);
    int worst = 0;
    for (int y = 0; y < f.frame.height; ++y)
        for (int x = 0; x < f.frame.width; ++x) {
            const NativePixel got = readPixel(a, f.frame, x, y);
            const bool owner = (x % (1 << t.chromaShiftX)) == 0 && (y % (1 << t.chromaShiftY)) == 0;
            const NativePixel w = want(x, y);
            for (int k = 0; k < components(f.frame.format); ++k) {
                if (k > 0 && k < 3 && t.colorClass == ColorClass::YUV && !owner) continue;
                worst = std::max(worst, std::abs(int(got.c[k]) - int(w.c[k])));
            }
        }
    return worst;
}

class CudaConvertor : public ::testing::Test {
protected:
    void SetUp() override {
        if (!session_.ready()) GTEST_SKIP() << session_.why();
#if !defined(KRO_CUDA_HAVE_PTX)
        GTEST_SKIP() << "this build has no CUDA compiler, so it carries no kernel program";
#endif
    }
    CudaSession session_;
};

// One conversion through the public object. Each side is a host frame or,
// when `device` says so, a device copy of it in the twin format.
KROReturn transcode(void* context, HostFrame& src, bool srcDevice, const Desc& s, HostFrame& dst, bool dstDevice,
                    const Desc& d) {
    DeviceCopy ds(src, twin(src.frame.format)), dd(dst, twin(dst.frame.format));
    if (srcDevice) {
        EXPECT_TRUE(ds.upload());
    }
    if (dstDevice) {
        EXPECT_TRUE(dd.upload());
    }
    const KROFrame& sf = srcDevice ? ds.frame : src.frame;
    const KROFrame& df = dstDevice ? dd.frame : dst.frame;
    std::unique_ptr<KROColorFunctions> f(KROColorFunctions::create(
        sf.width, sf.height, KROPixelFormat(sf.format), df.width, df.height, KROPixelFormat(df.format)));
    f->setKeepSourceColor(true);
    f->setColorspaceDetails(KROColorPrimaries(s.p), KROColorTransfer(s.t), KROColorMatrix(s.m), KROColorRange(s.r),
                            KROColorPrimaries(d.p), KROColorTransfer(d.t), KROColorMatrix(d.m), KROColorRange(d.r));
    KROHWContext hw;
    hw.srcType = srcDevice || !dstDevice ? kKROHWTypeCUDA : kKROHWTypeCPU;
    hw.dstType = dstDevice || !srcDevice ? kKROHWTypeCUDA : kKROHWTypeCPU;
    hw.srcHandle = hw.dstHandle = context;
    f->setHWContext(hw);
    const KROReturn r = f->transcode(const_cast<const uint8_t* const*>(sf.planes), sf.strides, df.planes, df.strides);
    if (dstDevice) {
        EXPECT_TRUE(dd.download(dst));
    }
    return r;
}

// A flat colour in a format's codes: RGB formats from normalised R, G, B, A,
// YUV formats from normalised Y, U, V, A.
NativePixel flat(int32_t f, int range) {
    return isRgb(f) ? quantise({0.8, 0.4, 0.15, 0.6}, f, range) : quantise({0.55, -0.12, 0.2, 0.6}, f, range);
}

TEST_F(CudaConvertor, FlatColoursBetweenEveryStagedFormatPairOnEitherSide) {
    const Desc kLimited709{1, 1, 1, 1}, kFull709{1, 1, 1, 2};
    const struct {
        Desc s, d;
    } colours[] = {
        {kLimited709, kLimited709},                 // identical descriptions
        {kLimited709, kFull709},                    // range only
        {{5, 6, 5, 1}, kLimited709},                // BT.601 to BT.709
        {{12, 13, 0, 2}, kFull709},                 // Display P3 sRGB to BT.709
        {{9, 18, 9, 1}, kFull709},                  // HLG to SDR
        {kLimited709, {9, 14, 10, 2}},              // to BT.2020 constant luminance
        {{23, 4, 1, 2}, {1, 1, 8, 2}},              // Adobe RGB gamma 2.2 to YCgCo
    };
    int n = 0;
    for (int32_t sf : kHost)
        for (int32_t df : kHost)
            for (int placement = 0; placement < 4; ++placement, ++n) {
                const auto& c = colours[n % 7];
                const bool scaled = n % 3 == 0;
                HostFrame src(sf, 5, 3, n % 2 ? 3 : 0), dst(df, scaled ? 8 : 5, scaled ? 6 : 3, n % 5 ? 0 : 2);
                const NativePixel in = flat(sf, c.s.r);
                fill(src, [&](int, int) { return in; });
                dst.fill(0x5A);
                ASSERT_EQ(transcode(session_.context(), src, placement & 1, c.s, dst, placement & 2, c.d), kKROSuccess);
                const NativePixel want = expected(in, sf, c.s, df, c.d);
                ASSERT_LE(worstDifference(dst, [&](int, int) { return want; }), 1)
                    << sf << " -> " << df << " placement " << placement << " colour " << n % 7;
            }
}

// Colour then scale on a pattern: the scaler averages the four samples the
// documented positions pick, for luma and for chroma.
TEST_F(CudaConvertor, BilinearScaleUpAndDown) {
    const struct {
        int sw, sh, dw, dh;
    } sizes[] = {{16, 12, 5, 7}, {5, 4, 13, 9}, {33, 2, 8, 2}, {6, 6, 6, 11}};
    const Desc d{1, 1, 1, 2};
    for (int32_t f : {102, 103, 107})
        for (const auto& g : sizes) {
            HostFrame src(f, g.sw, g.sh), dst(f, g.dw, g.dh);
            auto pattern = [&](int x, int y) {
                const int top = (1 << depthOf(f)) - 1;
                return NativePixel{{uint16_t((x * 37 + y * 11) % top), uint16_t((x * 5 + y * 53 + 40) % top),
                                    uint16_t((x * 23 + y * 3 + 9) % top), uint16_t((x + y * 7) % top)}};
            };
            fill(src, pattern);
            ASSERT_EQ(transcode(session_.context(), src, false, d, dst, false, d), kKROSuccess);
            const SampleAccess a = sampleAccessFor(f);
            const float sx = float(g.sw) / g.dw, sy = float(g.sh) / g.dh;
            const float rx = std::min(std::max((sx - 1) * 0.5f, 0.f), 1.f), ry = std::min(std::max((sy - 1) * 0.5f, 0.f), 1.f);
            const float dx = rx / (rx + 0.5f), dy = ry / (ry + 0.5f);
            auto want = [&](int x, int y) {
                const float cx = (x + 0.5f) * sx, cy = (y + 0.5f) * sy;
                const int xs[2] = {int(cx - dx), int(cx + dx)}, ys[2] = {int(cy - dy), int(cy + dy)};
                int sum[4] = {0, 0, 0, 0};
                for (int j : ys)
                    for (int i : xs) {
                        const NativePixel p = readPixel(a, src.frame, i, j);
                        for (int k = 0; k < 4; ++k) sum[k] += p.c[k];
                    }
                return NativePixel{{uint16_t(sum[0] >> 2), uint16_t(sum[1] >> 2), uint16_t(sum[2] >> 2), uint16_t(sum[3] >> 2)}};
            };
            EXPECT_EQ(worstDifference(dst, want), 0) << f << " " << g.sw << "x" << g.sh << " -> " << g.dw << "x" << g.dh;
        }
}

// Rotation and crop copy samples unchanged from the source pixel the
// orientation or window names; chroma follows its pixel.
TEST_F(CudaConvertor, EightOrientationsAndCrops) {
    std::unique_ptr<CudaContext> c = CudaContext::create(session_.context(), nullptr);
    ASSERT_TRUE(c);
    const int W = 6, H = 4;
    for (int32_t f : {102, 103, 104, 108, 111}) {
        HostFrame src(f, W, H);
        auto pattern = [&](int x, int y) {
            const uint16_t v = uint16_t(((x * 31 + y * 7) % 200 + 20) << (depthOf(f) - 8));
            return NativePixel{{v, uint16_t(v + 1), uint16_t(v + 2), uint16_t(v + 3)}};
        };
        fill(src, pattern);
        const SampleAccess a = sampleAccessFor(f);
        for (int o = 1; o <= 8; ++o) {
            const bool swap = o >= 5;
            HostFrame dst(f, swap ? H : W, swap ? W : H);
            for (bool deviceSide : {false, true}) {
                dst.fill(0);
                DeviceCopy ds(src, twin(f));
                ASSERT_TRUE(ds.upload());
                KROFrame s = deviceSide ? ds.frame : src.frame;
                ASSERT_EQ(c->rotate(&s, &dst.frame, o), kKROSuccess);
                // The EXIF table: the source pixel of destination (x, y).
                auto want = [&](int x, int y) {
                    const int sx[9] = {0, x, W - 1 - x, W - 1 - x, x, y, y, W - 1 - y, W - 1 - y};
                    const int sy[9] = {0, y, y, H - 1 - y, H - 1 - y, x, H - 1 - x, H - 1 - x, x};
                    return readPixel(a, src.frame, sx[o], sy[o]);
                };
                EXPECT_EQ(worstDifference(dst, want), 0) << f << " orientation " << o << (deviceSide ? " device" : "");
            }
        }
        const struct {
            int w, h, x, y;
            bool fits;
        } crops[] = {{4, 2, 2, 2, true}, {6, 4, 0, 0, true}, {2, 2, 0, 1, true}, {4, 2, 3, 0, false}, {2, 2, 4, 3, false}};
        for (const auto& k : crops) {
            HostFrame dst(f, k.w, k.h);
            dst.fill(0);
            const HostFrame untouched(f, k.w, k.h);
            ASSERT_EQ(c->crop(&src.frame, &dst.frame, k.x, k.y), kKROSuccess);
            if (k.fits) {
                EXPECT_EQ(worstDifference(dst, [&](int x, int y) { return readPixel(a, src.frame, x + k.x, y + k.y); }), 0)
                    << f << " crop at " << k.x << "," << k.y;
            } else {
                for (int p = 0; p < dst.planes; ++p)
                    for (size_t i = 0; i < dst.sizes[p]; ++i) ASSERT_EQ(dst.frame.planes[p][i], 0) << f << " crop";
            }
        }
    }
}

// Where the kernels leave the CPU pipeline on purpose; each case is held to
// the kernels' formula and shown to differ from the scalar convertor.
TEST_F(CudaConvertor, KernelCurvesThatDifferFromTheCpu) {
    const struct {
        const char* what;
        Desc s, d;
        bool cpuDiffers;
    } cases[] = {
        {"PQ decoded with the BT.709-type curve", {1, 16, 1, 2}, {1, 1, 1, 2}, true},
        {"transfer 17 decoded with the BT.709-type curve", {1, 17, 1, 2}, {1, 13, 1, 2}, false},
        {"LOG_SQRT has its own curve", {1, 10, 1, 2}, {1, 1, 1, 2}, true},
        {"BT.2020 (14) encoding leaves values outside [0, 1] to the YUV clamp", {9, 1, 9, 2}, {1, 14, 1, 2}, false},
    };
    for (const auto& k : cases) {
        const int32_t sf = 102, df = k.d.t == 14 ? 106 : 102;
        HostFrame src(sf, 4, 2), gpu(df, 4, 2), cpu(df, 4, 2);
        auto pattern = [&](int x, int y) {
            return NativePixel{{uint16_t(x * 60 + 20), uint16_t(y * 90 + 30), uint16_t(x * 10 + y * 40), 200}};
        };
        fill(src, pattern);
        ASSERT_EQ(transcode(session_.context(), src, false, k.s, gpu, false, k.d), kKROSuccess);
        EXPECT_LE(worstDifference(gpu, [&](int x, int y) { return expected(pattern(x, y), sf, k.s, df, k.d); }), 1)
            << k.what;
        KROFrame s = src.frame, d = cpu.frame;
        s.primaries = k.s.p, s.transfer = k.s.t, s.matrix = k.s.m, s.range = k.s.r;
        d.primaries = k.d.p, d.transfer = k.d.t, d.matrix = k.d.m, d.range = k.d.r;
        CPUContext scalar;
        ASSERT_EQ(scalar.convertColor(&s, &d), kKROSuccess);
        if (k.cpuDiffers) {
            const SampleAccess a = sampleAccessFor(df);
            EXPECT_GT(worstDifference(gpu, [&](int x, int y) { return readPixel(a, cpu.frame, x, y); }), 2) << k.what;
        }
    }
}

TEST_F(CudaConvertor, FailureCodes) {
    std::unique_ptr<CudaContext> c = CudaContext::create(session_.context(), nullptr);
    HostFrame rgba(102, 4, 4), yuv422(105, 4, 4);
    KROFrame none = rgba.frame;
    none.planes[0] = nullptr;
    EXPECT_EQ(c->convertColor(nullptr, &rgba.frame), kKROInputParamError);
    EXPECT_EQ(c->convertColor(&rgba.frame, &none), kKROInputParamError);
    EXPECT_EQ(c->rotate(&none, &rgba.frame, 1), kKROInputParamError);
    // A host format without a device twin cannot be staged; nothing is written.
    rgba.fill(7);
    EXPECT_EQ(c->convertColor(&yuv422.frame, &rgba.frame), kKROLoadCUDAKernelError);
    EXPECT_EQ(c->crop(&rgba.frame, &yuv422.frame, 0, 0), kKROLoadCUDAKernelError);
    EXPECT_EQ(rgba.frame.planes[0][0], 7);

    // A grid taller than the device allows is refused at launch.
    void* plane = KROCuda::malloc(64);
    KROFrame tall;
    tall.format = 301;
    tall.width = 1;
    tall.height = 65536 * 16 + 1;
    tall.strides[0] = 3;
    tall.planes[0] = static_cast<uint8_t*>(plane);
    testing::internal::CaptureStdout();
    EXPECT_EQ(c->rotate(&tall, &tall, 1), kKRORunCUDAKernelError);
    EXPECT_NE(testing::internal::GetCapturedStdout().find("cuLaunchKernel failed\n"), std::string::npos);

    // An intermediate frame whose size would overflow is refused before
    // anything is allocated.
    KROFrame huge = tall;
    huge.format = 302;
    huge.width = huge.height = 1 << 30;
    KROFrame one = tall;
    one.format = 314;
    one.width = one.height = 1;
    EXPECT_EQ(c->convertColor(&huge, &one), kKROInputParamError);
    KROCuda::free(plane);

    // A context the driver no longer knows cannot be pushed.
    CudaFunctions* f = static_cast<CudaFunctions*>(KROCuda::_cu);
    CUcontext gone = nullptr;
    ASSERT_EQ(f->cuCtxCreate(&gone, 0, 0), CUDA_SUCCESS);
    ASSERT_EQ(f->cuCtxDestroy(gone), CUDA_SUCCESS);
    std::unique_ptr<CudaContext> stale = CudaContext::create(gone, nullptr);
    testing::internal::CaptureStdout();
    EXPECT_EQ(stale->convertColor(&rgba.frame, &rgba.frame), kKROCUCtxPushCurrentError);
    EXPECT_NE(testing::internal::GetCapturedStdout().find("KROColorFunctions cuda error"), std::string::npos);
}

TEST_F(CudaConvertor, SelectionBuildsTheConvertorOnlyWithAContext) {
    KROHWContext hw;
    hw.srcType = kKROHWTypeCUDA;
    hw.dstType = kKROHWTypeCPU;
    std::unique_ptr<KROColorFunctions> f(KROColorFunctions::create(4, 4, kKRORGBA8888CUDAFormat, 4, 4, kKRORGBA8888Format));
    f->setHWContext(hw);
    HostFrame h(102, 4, 4);
    const uint8_t* planes[4] = {h.frame.planes[0]};
    EXPECT_EQ(f->transcode(planes, h.frame.strides, h.frame.planes, h.frame.strides), kKROMissingHWContext);
}

}  // namespace

namespace {

// A build made without a CUDA compiler carries no program: the driver
// refuses the empty module and every conversion says it cannot load kernels.
TEST(CudaWithoutProgram, ConversionsCannotLoadTheirKernels) {
#if defined(KRO_CUDA_HAVE_PTX)
    GTEST_SKIP() << "this build carries the kernel program";
#endif
    CudaSession session;
    if (!session.ready()) GTEST_SKIP() << session.why();
    std::unique_ptr<CudaContext> c = CudaContext::create(session.context(), nullptr);
    HostFrame a(102, 4, 4), b(102, 4, 4);
    testing::internal::CaptureStdout();
    EXPECT_EQ(c->convertColor(&a.frame, &b.frame), kKROLoadCUDAKernelError);
    EXPECT_EQ(c->rotate(&a.frame, &b.frame, 1), kKROLoadCUDAKernelError);
    EXPECT_FALSE(KROCuda::checkCUDAPTXSupported());
    testing::internal::GetCapturedStdout();
}

}  // namespace
