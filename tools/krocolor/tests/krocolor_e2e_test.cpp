// End-to-end tests: each runs the built krocolor program on files in a
// scratch folder and checks its exit status, messages and output files.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <sstream>

#include "image.h"
#include "support/krocolor_runner.h"

namespace krocolor_test {
namespace {

using krocolor::Image;
using krocolor::findPixelFormat;
using krocolor::PixelFormatInfo;

// Fills every sample with reproducible values inside the legal range of the
// format: limited-range codes for YUV (16-235 luma, 16-240 chroma, scaled to
// the depth, as BT.601/BT.709/BT.2100 define them), the full range for RGB.
Image legalFrame(const char* format, int width, int height, uint32_t seed) {
    const PixelFormatInfo& f = *findPixelFormat(format);
    Image frame(f, width, height);
    const uint32_t scale = 1u << (f.depth - 8);
    for (int c = 0; c < f.componentCount; ++c) {
        const int p = f.components[c].plane;
        const bool yuv = f.model == krocolor::ColorModel::YUV;
        const bool chroma = yuv && (f.components[c].name == 'U' || f.components[c].name == 'V');
        const uint32_t lo = yuv ? 16 * scale : 0;
        const uint32_t hi = yuv ? (chroma ? 240 : 235) * scale : (1u << f.depth) - 1;
        for (int y = 0; y < frame.geometry().planeHeight[p]; ++y)
            for (int x = 0; x < frame.geometry().planeWidth[p]; ++x) {
                seed = seed * 1664525u + 1013904223u;
                frame.setSample(c, x, y, lo + (seed >> 8) % (hi - lo + 1));
            }
    }
    return frame;
}

std::vector<uint8_t> bytesOf(const std::vector<Image>& frames) {
    std::vector<uint8_t> all;
    for (const auto& f : frames) all.insert(all.end(), f.data(), f.data() + f.size());
    return all;
}

bool noTemporaryLeft(const std::string& folder) {
    for (const auto& name : listFolder(folder))
        if (name.find(".tmp-") != std::string::npos) return false;
    return true;
}

// ---------------------------------------------------------------------------
// Round trips: raw -> container -> raw with the same format and colour
// description must give back every byte (the legal codes normalise and
// quantise back to themselves).

struct RoundTripCase {
    const char* format;
    const char* extension;  // "png", "y4m" or "raw"
    int width, height, frames;
    const char* y4mTag;  // expected C tag, for y4m
};

class KrocolorRoundTrip : public ::testing::TestWithParam<RoundTripCase> {};

TEST_P(KrocolorRoundTrip, GivesBackEveryByte) {
    const RoundTripCase& c = GetParam();
    ScratchDir dir;
    std::vector<Image> frames;
    for (int i = 0; i < c.frames; ++i) frames.push_back(legalFrame(c.format, c.width, c.height, 7 + i));
    const std::vector<uint8_t> original = bytesOf(frames);
    writeFile(dir / "in.raw", original);
    const std::string middle = dir / (std::string("middle.") + c.extension);
    const std::string size = std::to_string(c.width) + "x" + std::to_string(c.height);

    RunResult there = runKrocolor({"convert", dir / "in.raw", middle, "-s", size, "--in-format", c.format,
                                   "--out-format", c.format, "-q"},
                                  dir.path());
    ASSERT_EQ(there.status, 0) << there.err;
    RunResult back = runKrocolor({"convert", middle, dir / "back.raw", "--in-format", c.format, "--out-format",
                                  c.format, "-s", size, "-q"},
                                 dir.path());
    ASSERT_EQ(back.status, 0) << back.err;
    EXPECT_EQ(readFile(dir / "back.raw"), original);
    EXPECT_TRUE(noTemporaryLeft(dir.path()));

    if (std::string(c.extension) == "y4m") {
        // The header FFmpeg would write, then "FRAME\n" and the planes per frame.
        const std::vector<uint8_t> y4m = readFile(middle);
        const std::string text(y4m.begin(), y4m.end());
        const std::string header = text.substr(0, text.find('\n') + 1);
        EXPECT_NE(header.find("YUV4MPEG2 W" + std::to_string(c.width) + " H" + std::to_string(c.height)),
                  std::string::npos)
            << header;
        EXPECT_NE(header.find(std::string(" C") + c.y4mTag + " "), std::string::npos) << header;
        EXPECT_NE(header.find("XCOLORRANGE=LIMITED"), std::string::npos) << header;
        EXPECT_EQ(y4m.size(), header.size() + c.frames * (6 + frames[0].size()));
    }
    if (std::string(c.extension) == "png" && frames[0].format().depth == 8) {
        // An independent decoder sees the same R, G, B (and A) values.
        int w = 0, h = 0;
        std::vector<uint8_t> rgba;
        ASSERT_TRUE(decodePngRgba8(middle, w, h, rgba));
        ASSERT_EQ(std::make_pair(w, h), std::make_pair(c.width, c.height));
        const Image& f = frames[0];
        for (int y = 0; y < h; ++y)
            for (int x = 0; x < w; ++x)
                for (int k = 0; k < f.format().componentCount; ++k)
                    ASSERT_EQ(rgba[(size_t(y) * w + x) * 4 + k], f.sample(k, x, y)) << x << "," << y << " " << k;
    }
}

INSTANTIATE_TEST_SUITE_P(
    Files, KrocolorRoundTrip,
    ::testing::Values(RoundTripCase{"rgba", "png", 17, 9, 1, nullptr}, RoundTripCase{"rgb24", "png", 8, 5, 1, nullptr},
                      RoundTripCase{"bgra", "png", 6, 4, 1, nullptr}, RoundTripCase{"bgr24", "png", 5, 3, 1, nullptr},
                      RoundTripCase{"rgba64le", "png", 7, 3, 1, nullptr},
                      RoundTripCase{"rgb48be", "png", 4, 6, 1, nullptr},
                      RoundTripCase{"yuv420p", "y4m", 33, 16, 3, "420jpeg"},
                      RoundTripCase{"yuv422p", "y4m", 18, 6, 2, "422"},
                      RoundTripCase{"yuv444p", "y4m", 9, 7, 1, "444"},
                      RoundTripCase{"yuv411p", "y4m", 20, 4, 2, "411"},
                      RoundTripCase{"yuv420p10le", "y4m", 16, 10, 2, "420p10"},
                      RoundTripCase{"yuv422p10le", "y4m", 12, 4, 1, "422p10"},
                      RoundTripCase{"yuv444p12le", "y4m", 6, 6, 1, "444p12"},
                      RoundTripCase{"yuv444p16le", "y4m", 6, 4, 1, "444p16"},
                      RoundTripCase{"nv12", "raw", 10, 6, 2, nullptr}, RoundTripCase{"p010le", "raw", 10, 6, 1, nullptr},
                      RoundTripCase{"yuva444p10le", "raw", 5, 5, 1, nullptr},
                      RoundTripCase{"cmyk", "raw", 5, 2, 1, nullptr}),
    [](const ::testing::TestParamInfo<RoundTripCase>& info) {
        return std::string(info.param.format) + "_" + info.param.extension;
    });

// Source pixel (x, y) of a W x H RGBA frame carries R = x, G = y, B = 7, A = 255.
std::vector<uint8_t> coordinateFrame(int w, int h) {
    std::vector<uint8_t> bytes;
    for (int y = 0; y < h; ++y)
        for (int x = 0; x < w; ++x) bytes.insert(bytes.end(), {uint8_t(x), uint8_t(y), 7, 255});
    return bytes;
}

// ---------------------------------------------------------------------------
// Commands against results worked out by hand: the text they print and the
// bytes of the file they write. Bad input gets one line on standard error
// naming the problem, a non-zero status, and no output file (nor temporary)
// left behind.

// Texts each to be found in one stream: none, one, or a list.
struct Texts : std::vector<std::string> {
    Texts(const char* one = nullptr) {
        if (one) push_back(one);
    }
    Texts(std::initializer_list<std::string> all) : std::vector<std::string>(all) {}
};

struct CommandCase {
    const char* name;
    std::vector<std::string> args;  // "@": inside the scratch folder
    int status;
    Texts err = {}, out = {};           // found on standard error, on standard output
    const char* file = nullptr;         // output file checked, or nullptr
    std::vector<uint8_t> bytes = {};    // its expected bytes
    int slack = 0;                      // largest code difference allowed
    const char* environment = nullptr;  // "NAME=value" set for this run only
};

std::vector<uint8_t> repeated(const std::vector<uint8_t>& pixel, int count) {
    std::vector<uint8_t> all;
    for (int i = 0; i < count; ++i) all.insert(all.end(), pixel.begin(), pixel.end());
    return all;
}

// `frames` frames of grey (128) after `header`; a fraction cuts the last one short.
std::vector<uint8_t> y4mFile(const std::string& header, size_t frameBytes, double frames) {
    std::string text = header;
    for (double left = frames; left > 0; left -= 1)
        text += "FRAME\n" + std::string(static_cast<size_t>(frameBytes * std::min(left, 1.0)), '\x80');
    return std::vector<uint8_t>(text.begin(), text.end());
}

class KrocolorCommands : public ::testing::TestWithParam<CommandCase> {};

TEST_P(KrocolorCommands, PrintAndWriteWhatWasWorkedOut) {
    const CommandCase& c = GetParam();
    ScratchDir dir;
    // Two 2x2 rgb24 frames of 100; the second has R +3 at one pixel and G -1 at another.
    writeFile(dir / "a.rgb", std::vector<uint8_t>(12, 100));
    writeFile(dir / "b.rgb", {103, 100, 100, 100, 99, 100, 100, 100, 100, 100, 100, 100});
    // 4x2 nv12: 8 luma bytes, then 2 U/V pairs; the second changes the second V by 10.
    writeFile(dir / "a.nv12", {16, 17, 18, 19, 20, 21, 22, 23, 100, 110, 120, 130});
    writeFile(dir / "b.nv12", {16, 17, 18, 19, 20, 21, 22, 23, 100, 110, 120, 140});
    writeFile(dir / "in.rgb", {10, 20, 30, 255, 255, 255, 0, 0, 0, 255, 0, 0});
    writeFile(dir / "in.raw", {18, 255, 0, 76});
    writeFile(dir / "coords6x4.rgba", coordinateFrame(6, 4));
    writeFile(dir / "coords3x2.rgba", coordinateFrame(3, 2));
    writeFile(dir / "flat.rgba", repeated({10, 20, 30, 255}, 6 * 4));
    writeFile(dir / "in.yuv", bytesOf({legalFrame("yuv420p10le", 8, 4, 3)}));
    writeFile(dir / "srgb.rgba", {255, 0, 0, 255, 0, 255, 0, 255, 128, 128, 128, 255});  // red, green, 50% grey
    // An 8x4 yuv420p y4m of 2 frames (48 bytes each), the same with the
    // second frame cut short, a raw file that is not a whole number of
    // frames, a y4m of an unsupported sampling, a cut PNG.
    writeFile(dir / "ok.y4m", y4mFile("YUV4MPEG2 W8 H4 F25:1 Ip A1:1 C420jpeg XCOLORRANGE=LIMITED\n", 48, 2));
    writeFile(dir / "cut.y4m", y4mFile("YUV4MPEG2 W8 H4 F25:1 C420jpeg\n", 48, 1.5));
    writeFile(dir / "mono.y4m", y4mFile("YUV4MPEG2 W8 H4 F25:1 Cmono\n", 32, 1));
    writeFile(dir / "odd.raw", std::vector<uint8_t>(8 * 4 * 4 + 3, 9));
    writeFile(dir / "frame.rgba", std::vector<uint8_t>(8 * 4 * 4, 9));
    ASSERT_EQ(runKrocolor({"convert", dir / "frame.rgba", dir / "good.png", "-s", "8x4", "--in-format", "rgba"},
                          dir.path())
                  .status,
              0);
    const std::vector<uint8_t> png = readFile(dir / "good.png");
    writeFile(dir / "cut.png", std::vector<uint8_t>(png.begin(), png.begin() + png.size() / 2));
    // An older output of the same name must survive a failed run untouched.
    writeFile(dir / "out.y4m", {'o', 'l', 'd'});
    const std::vector<std::string> before = listFolder(dir.path());

    std::string name;
    if (c.environment) {
        const std::string e = c.environment;
        name = e.substr(0, e.find('='));
        setenv(name.c_str(), e.substr(e.find('=') + 1).c_str(), 1);
    }
    std::vector<std::string> args;  // "@" in front names a file inside the scratch folder
    for (const auto& a : c.args) args.push_back(a[0] == '@' ? dir / a.substr(1) : a);
    RunResult r = runKrocolor(args, dir.path());
    if (c.environment) unsetenv(name.c_str());
    ASSERT_EQ(r.status, c.status) << r.err;
    for (const auto& text : c.err) EXPECT_NE(r.err.find(text), std::string::npos) << text << "\n" << r.err;
    for (const auto& text : c.out) EXPECT_NE(r.out.find(text), std::string::npos) << text << "\n" << r.out;
    if (c.status != 0) {
        EXPECT_EQ(r.err.rfind("krocolor: ", 0), 0u) << r.err;
        EXPECT_EQ(std::count(r.err.begin(), r.err.end(), '\n'), 1) << r.err;
        EXPECT_EQ(listFolder(dir.path()).size(), before.size()) << "an output or temporary file was left";
        EXPECT_EQ(readFile(dir / "out.y4m"), (std::vector<uint8_t>{'o', 'l', 'd'}));
    }
    if (!c.file) return;
    const std::vector<uint8_t> got = readFile(dir / c.file);
    ASSERT_EQ(got.size(), c.bytes.size());
    for (size_t i = 0; i < got.size(); ++i) EXPECT_NEAR(got[i], c.bytes[i], c.slack) << "byte " << i;
}

std::vector<CommandCase> commandCases() {
    const std::vector<std::string> compare = {"compare", "@a.rgb", "@b.rgb", "-s", "2x2", "-f", "rgb24"};
    auto with = [](std::vector<std::string> args, std::initializer_list<std::string> more) {
        args.insert(args.end(), more);
        return args;
    };
    const std::vector<std::string> icc = {"icc", "@srgb.rgba", "@out.rgb", "-s", "3x1", "--in-format", "rgba",
                                          "--out-format", "rgb24", "--icc-in", "srgb", "--icc-out"};
    return {
        // compare: per-component largest difference and PSNR = 10 log10(peak^2 / MSE).
        // R: MSE 9/4 -> 10 log10(65025 / 2.25) = 44.61; G: MSE 1/4 -> 54.15; B: identical.
        {"CompareRgb", compare, 0, {},
         {"R                3     44.61", "G                1     54.15", "B                0       inf"}},
        {"CompareAboveMaxDiff", with(compare, {"--max-diff", "2"}), 1, "largest difference 3 exceeds --max-diff 2"},
        {"CompareWithinMaxDiff", with(compare, {"--max-diff", "3"}), 0},
        // V: one of two samples differs by 10 -> MSE 50 -> 10 log10(65025 / 50) = 31.14.
        {"CompareSemiPlanarChroma", {"compare", "@a.nv12", "@b.nv12", "-s", "4x2", "-f", "nv12"}, 0, {},
         {"U                0       inf", "V               10     31.14"}},
        // Byte layouts: grey is (299 R + 587 G + 114 B + 500) / 1000, alpha from nothing 255.
        // (2990 + 11740 + 3420 + 500) / 1000 = 18; white 255; black 0; red (76245 + 500) / 1000 = 76.
        {"RgbToGrey", {"convert", "@in.rgb", "@out.raw", "-s", "2x2", "--in-format", "rgb24", "--out-format", "gray"}, 0,
         {}, {}, "out.raw", {18, 255, 0, 76}},
        {"GreyToRgba", {"convert", "@in.raw", "@out.rgba", "-s", "2x2", "--in-format", "i8", "--out-format", "rgba"}, 0,
         {}, {}, "out.rgba", {18, 18, 18, 255, 255, 255, 255, 255, 0, 0, 0, 255, 76, 76, 76, 255}},
        // Crop keeps the rectangle 2:1 3x2 of a frame whose pixels carry R = x, G = y.
        {"Crop",
         {"convert", "@coords6x4.rgba", "@out.rgba", "-s", "6x4", "--in-format", "rgba", "--out-format", "rgba",
          "--crop", "2:1:3:2"},
         0, {}, {}, "out.rgba", {2, 1, 7, 255, 3, 1, 7, 255, 4, 1, 7, 255, 2, 2, 7, 255, 3, 2, 7, 255, 4, 2, 7, 255}},
        // EXIF orientation 6 turns the 3x2 frame a quarter clockwise: destination
        // (x, y) takes source (y, 1 - x). Every orientation's table is checked on
        // every format by the library's geometry sweep.
        {"Orientation6",
         {"convert", "@coords3x2.rgba", "@out.rgba", "-s", "3x2", "--in-format", "rgba", "--out-format", "rgba",
          "--orientation", "6"},
         0, {}, {}, "out.rgba", {0, 1, 7, 255, 0, 0, 7, 255, 1, 1, 7, 255, 1, 0, 7, 255, 2, 1, 7, 255, 2, 0, 7, 255}},
        // Scaling a flat colour gives the asked size in the same colour.
        {"Scale",
         {"convert", "@flat.rgba", "@out.rgb", "-s", "6x4", "--in-format", "rgba", "--out-format", "rgb24", "--scale",
          "12x10"},
         0, {}, {}, "out.rgb", repeated({10, 20, 30}, 12 * 10)},
        // Names given on the command line are printed back canonically with -v.
        {"VerboseNames",
         {"convert", "@in.yuv", "@out.png", "-s", "8x4", "--in-format", "107", "--in-primaries", "2020",
          "--in-transfer", "pq", "--in-matrix", "2020_ncl", "--in-range", "limited", "--primaries", "display-p3",
          "--transfer", "srgb", "-v"},
         0,
         {"yuv420p10le (107), primaries bt2020 (9), transfer smpte2084 (16), matrix bt2020nc (9), range tv (1)",
          "rgba (102), primaries smpte432 (12), transfer iec61966-2-1 (13), matrix gbr (0), range pc (2)"}},
        // sRGB colours re-encoded by the embedded profiles. Expected codes from
        // tests/tools/icc_expected.py (published primaries, D65, the sRGB curve
        // and Adobe's gamma 563/256); one code of slack for the profiles' own
        // rounding (colorants stored as s15Fixed16 numbers).
        {"IccDisplayP3", with(icc, {"displayp3"}), 0, {}, {}, "out.rgb", {234, 51, 35, 117, 251, 76, 128, 128, 128}, 1},
        {"IccAdobeRgb", with(icc, {"adobergb"}), 0, {}, {}, "out.rgb", {219, 0, 0, 144, 255, 60, 127, 127, 127}, 1},
        {"FormatsTable", {"formats"}, 0, {},
         {"\n101   rgb24 ", "\n103   nv12 ", "\n108   p010le ", "\n116   yuv411p ", "\n125   yuva444p12le ",
          "\n126   cmyk ", "\n303   cuda-nv12 "}},
        // sRGB white is the D65 white; L* and b* as tests/tools/color_expected.py prints them.
        {"LabOfSrgbWhite", {"lab", "--primaries", "bt709", "--transfer", "srgb", "1", "1", "1"}, 0, {},
         {"L*=100.0000 a*=", " b*=-0.0186"}},
        {"ColorsTable", {"colors"}, 0, {},
         {"smpte2084", "arib-std-b67", "iec61966-2-1", "bt2020nc", "display-p3", "gamma2.6", "tv"}},
        // Bad input.
        {"UnknownPrimaries", {"convert", "@ok.y4m", "@out.y4m", "--primaries", "bt2021"}, 2,
         "--primaries: unknown primaries 'bt2021'"},
        {"UnknownTransfer", {"convert", "@ok.y4m", "@out.y4m", "--in-transfer", "pq10"}, 2, "unknown transfer 'pq10'"},
        {"UnknownMatrix", {"convert", "@ok.y4m", "@out.y4m", "--matrix", "bt2021nc"}, 2, "unknown matrix 'bt2021nc'"},
        {"UnknownRange", {"convert", "@ok.y4m", "@out.y4m", "--range", "medium"}, 2, "unknown range 'medium'"},
        {"UnknownFormat", {"convert", "@odd.raw", "@out.y4m", "-s", "8x4", "--in-format", "nv13"}, 2,
         "unknown pixel format 'nv13'"},
        {"UnknownOption", {"convert", "@ok.y4m", "@out.y4m", "--colour", "red"}, 2, "unknown option --colour"},
        {"UnknownCommand", {"transmogrify"}, 2, "unknown command 'transmogrify'"},
        {"ZeroSize", {"convert", "@odd.raw", "@out.y4m", "-s", "0x4", "--in-format", "rgba"}, 2, "is impossible"},
        {"NotASize", {"convert", "@odd.raw", "@out.y4m", "-s", "8by4", "--in-format", "rgba"}, 2, "is not a size WxH"},
        {"RawWithoutSize", {"convert", "@odd.raw", "@out.y4m"}, 2, "raw input needs its size"},
        {"RawNotWholeFrames", {"convert", "@odd.raw", "@out.y4m", "-s", "8x4", "--in-format", "rgba"}, 1,
         "131 bytes is not a whole number of 128-byte frames"},
        {"TruncatedY4m", {"convert", "@cut.y4m", "@out.y4m"}, 1, "truncated frame 2"},
        {"TruncatedPng", {"convert", "@cut.png", "@out.y4m"}, 1, "bad PNG"},
        {"UnsupportedY4mSampling", {"convert", "@mono.y4m", "@out.y4m"}, 1, "colour space Cmono has no krocolor pixel format"},
        {"FormatNotFittingPng", {"convert", "@ok.y4m", "@out.png", "--out-format", "nv12"}, 2,
         "output format nv12 does not fit a png file"},
        {"FormatNotFittingY4m", {"convert", "@ok.y4m", "@out.y4m", "--out-format", "p010le"}, 2,
         "output format p010le does not fit a y4m file"},
        {"InFormatNotFittingY4m", {"convert", "@ok.y4m", "@out.y4m", "--in-format", "nv12"}, 2,
         "the file holds yuv420p (C420jpeg); --in-format nv12 does not fit it"},
        {"InFormatNotFittingPng", {"convert", "@good.png", "@out.y4m", "--in-format", "yuv444p"}, 2,
         "--in-format yuv444p does not fit it"},
        {"TwoFramesIntoPng", {"convert", "@ok.y4m", "@out.png"}, 2, "a PNG holds one frame"},
        {"GpuFormatAsInput", {"convert", "@odd.raw", "@out.y4m", "-s", "8x4", "--in-format", "cuda-nv12"}, 2,
         "lives in GPU memory"},
        {"ByteLayoutFromYuv", {"convert", "@ok.y4m", "@out.raw", "--out-format", "gray"}, 1,
         "byte-format conversion yuv420p to gray failed: Unknown error. (KROReturn 1)"},
        {"ByteLayoutWithScale", {"convert", "@frame.rgba", "@out.raw", "-s", "8x4", "--in-format", "rgba", "--out-format",
                                 "gray", "--scale", "4x2"},
         2, "--scale does not apply to byte-layout conversions"},
        {"IccBrokenProfile", {"icc", "@good.png", "@out.png", "--icc-in", "@odd.raw"}, 1,
         "Invalid ICC profile. (KROReturn 27)"},
        {"IccFormatOutsideThePath", {"icc", "@ok.y4m", "@out.png", "--frames", "1"}, 1,
         "Input PixelFormat not supported. (KROReturn 25)"},
        {"MissingInput", {"convert", "@nothing.y4m", "@out.y4m"}, 1, "nothing.y4m: cannot open"},
        {"CropOutside", {"convert", "@ok.y4m", "@out.y4m", "--crop", "4:0:8:4"}, 2, "does not fit inside the 8x4 input"},
        {"OrientationZero", {"convert", "@ok.y4m", "@out.y4m", "--orientation", "0"}, 2, "--orientation: '0'"},
        {"UnknownBackend", {"convert", "@ok.y4m", "@out.y4m", "--backend", "quantum"}, 2, "unknown backend 'quantum'"},
        // Without any Vulkan driver the Direct3D 11 layer has no device to offer.
        {"BackendWithoutDevice", {"convert", "@ok.y4m", "@out.y4m", "--backend", "d3d11"}, 1,
         "backend d3d11 is not available: no Direct3D 11 device", {}, nullptr, {}, 0, "VK_ICD_FILENAMES=/nonexistent/icd.json"},
        {"MetadataWithoutValue", {"convert", "@ok.y4m", "@out.y4m", "--metadata", "src_max_luminance"}, 2,
         "is not key=value"},
        // Refusals of the library carry its own message and code.
        {"LibraryRefusesPrimaries", {"convert", "@ok.y4m", "@out.y4m", "--primaries", "25"}, 1,
         "Set color primaries error, not support. (KROReturn 3)"},
        {"LibraryRefusesMatrix", {"convert", "@ok.y4m", "@out.y4m", "--in-matrix", "15"}, 1,
         "Set color matrix error, not support. (KROReturn 4)"},
        {"LibraryRefusesTransfer", {"convert", "@ok.y4m", "@out.y4m", "--transfer", "101"}, 1,
         "set color transfer error, not support. (KROReturn 5)"},
        {"CompareDifferentFormats", {"compare", "@ok.y4m", "@good.png"}, 1, "compare needs the same size and format"},
        {"LabNeedsThreeValues", {"lab", "0.5", "0.5"}, 2, "lab needs three signal values"},
        {"LabNotANumber", {"lab", "0.5", "half", "0.5"}, 2, "'half' is not a number"},
    };
}

INSTANTIATE_TEST_SUITE_P(Commands, KrocolorCommands, ::testing::ValuesIn(commandCases()),
                         [](const ::testing::TestParamInfo<CommandCase>& info) { return info.param.name; });

// ---------------------------------------------------------------------------
// Against FFmpeg: a y4m made by Debian's ffmpeg, converted by krocolor and by
// ffmpeg's own swscale (accurate rounding, full chroma), must agree within
// what the two YUV-to-RGB matrices explain. The library's matrices carry
// four significant digits (for example 1.575 for BT.709's 1.5748); with
// chroma at most 0.5 that moves a channel by under 0.001 of full scale,
// 0.3 of an 8-bit code. Both sides round once more (half a code each) and
// swscale's fixed-point YUV path adds up to one code, so 2 codes bound the
// difference. 4:4:4 sources keep chroma upsampling out of the comparison,
// and codes stay inside the legal range, which the library clamps and
// swscale does not.

struct FfmpegCase {
    const char* name;
    const char* pixFmt;   // of the y4m
    const char* matrix;   // FFmpeg colorspace name
    const char* range;    // tv or pc
    int tolerance;
};

class KrocolorAgainstFfmpeg : public ::testing::TestWithParam<FfmpegCase> {};

TEST_P(KrocolorAgainstFfmpeg, MatchesSwscaleWithinTheMatrixRounding) {
    if (!haveFfmpeg()) GTEST_SKIP() << "ffmpeg is not installed";
    const FfmpegCase& c = GetParam();
    ScratchDir dir;
    const std::string tv = std::string(c.range) == "tv" ? "y='clip(val,16,235)':u='clip(val,16,240)':v='clip(val,16,240)'"
                                                        : "u='clip(val,1,255)':v='clip(val,1,255)'";
    std::ostringstream make;
    make << "ffmpeg -nostdin -y -f lavfi -i testsrc2=size=96x64:rate=25 -frames:v 2 -vf \"format=yuv444p,lutyuv="
         << tv << ",format=" << c.pixFmt << "\" -strict -1 -color_range " << c.range << " -colorspace " << c.matrix << " "
         << dir / "in.y4m";
    ASSERT_EQ(runShell(make.str()), 0) << make.str();
    // The range comes from the file's XCOLORRANGE tag; y4m carries no matrix.
    RunResult r = runKrocolor(
        {"convert", dir / "in.y4m", dir / "ours.rgb", "--out-format", "rgb24", "--in-matrix", c.matrix, "-q"},
        dir.path());
    ASSERT_EQ(r.status, 0) << r.err;
    std::ostringstream ref;
    ref << "ffmpeg -nostdin -y -i " << dir / "in.y4m" << " -vf scale=in_color_matrix=" << c.matrix
        << ":in_range=" << c.range << ":out_range=pc:flags=accurate_rnd+full_chroma_int+bitexact,format=rgb24"
        << " -f rawvideo " << dir / "ffmpeg.rgb";
    ASSERT_EQ(runShell(ref.str()), 0) << ref.str();
    const std::vector<uint8_t> ours = readFile(dir / "ours.rgb"), theirs = readFile(dir / "ffmpeg.rgb");
    ASSERT_EQ(ours.size(), 96u * 64 * 3 * 2);
    ASSERT_EQ(ours.size(), theirs.size());
    int worst = 0;
    for (size_t i = 0; i < ours.size(); ++i) worst = std::max(worst, std::abs(int(ours[i]) - int(theirs[i])));
    EXPECT_LE(worst, c.tolerance);
}

INSTANTIATE_TEST_SUITE_P(
    Oracle, KrocolorAgainstFfmpeg,
    ::testing::Values(FfmpegCase{"bt709_tv", "yuv444p", "bt709", "tv", 2},
                      FfmpegCase{"bt601_pc", "yuv444p", "smpte170m", "pc", 2},
                      FfmpegCase{"bt2020_tv", "yuv444p", "bt2020nc", "tv", 2},
                      FfmpegCase{"bt709_10bit_tv", "yuv444p10le", "bt709", "tv", 2}),
    [](const ::testing::TestParamInfo<FfmpegCase>& info) { return info.param.name; });

// ---------------------------------------------------------------------------
// demo: valid PNGs of the built-in frame and a table of every backend.

TEST(KrocolorDemo, WritesValidPngsAndATable) {
    ScratchDir dir;
    // No -o: the default folder krocolor-demo/ in the working folder.
    RunResult r = runKrocolor({"demo", "-s", "96x48", "--repeat", "1", "--backend", "cpu", "--backend", "simd",
                               "--backend", "cuda"},
                              dir.path());
    ASSERT_EQ(r.status, 0) << r.err;
    // A header and a row per backend (cuda's converted or saying why not).
    for (const char* text : {"backend", "\ncpu ", "\nsimd ", "\ncuda "}) EXPECT_NE(r.out.find(text), std::string::npos) << r.out;
    int w = 0, h = 0;
    std::vector<uint8_t> rgba;
    ASSERT_TRUE(decodePngRgba8(dir / "krocolor-demo/cpu.png", w, h, rgba));
    ASSERT_EQ(std::make_pair(w, h), std::make_pair(96, 48));
    // Bottom band (rows from 3/4 of the height): the patch in column 5 of 12
    // is PQ peak white (Y' 940), brighter than the SDR white, so it clips to
    // 255; column 0 is black (Y' 64), which stays 0. Alpha is opaque.
    auto px = [&](int x, int y, int k) { return rgba[(size_t(y) * w + x) * 4 + k]; };
    for (int k = 0; k < 3; ++k) {
        EXPECT_EQ(px(42, 40, k), 255) << k;
        EXPECT_EQ(px(2, 40, k), 0) << k;
    }
    EXPECT_EQ(px(2, 40, 3), 255);
    // The source frame is kept for users to convert themselves.
    const std::vector<uint8_t> y4m = readFile(dir / "krocolor-demo/source.y4m");
    const std::string head(y4m.begin(), y4m.begin() + std::min<size_t>(y4m.size(), 60));
    EXPECT_EQ(head.rfind("YUV4MPEG2 W96 H48 ", 0), 0u) << head;
    EXPECT_NE(head.find("C420p10"), std::string::npos) << head;
    // Every backend that ran wrote a PNG of the same size.
    for (const auto& name : listFolder(dir / "krocolor-demo"))
        if (name.size() > 4 && name.substr(name.size() - 4) == ".png") {
            ASSERT_TRUE(decodePngRgba8(dir / ("krocolor-demo/" + name), w, h, rgba)) << name;
            EXPECT_EQ(w * h, 96 * 48) << name;
        }
}

}  // namespace
}  // namespace krocolor_test
