#include "pixel_formats.h"

#include <cstdlib>
#include <sstream>

namespace krocolor {
namespace {

// Shorthands for the rows below.
constexpr PlaneLayout kFull1{0, 0, 1};
constexpr PlaneLayout kFull2{0, 0, 2};
constexpr PlaneLayout kFull3{0, 0, 3};
constexpr PlaneLayout kFull4{0, 0, 4};
constexpr PlaneLayout kC420{1, 1, 1};
constexpr PlaneLayout kC420x2{1, 1, 2};
constexpr PlaneLayout kC422{1, 0, 1};
constexpr PlaneLayout kC411{2, 0, 1};
constexpr PlaneLayout kNone{0, 0, 0};

#define PLANAR_YUV {{'Y', 0, 0}, {'U', 1, 0}, {'V', 2, 0}, {0, 0, 0}}
#define PLANAR_YUVA {{'Y', 0, 0}, {'U', 1, 0}, {'V', 2, 0}, {'A', 3, 0}}
#define SEMI_YUV {{'Y', 0, 0}, {'U', 1, 0}, {'V', 1, 1}, {0, 0, 0}}
#define PACKED_RGB {{'R', 0, 0}, {'G', 0, 1}, {'B', 0, 2}, {0, 0, 0}}
#define PACKED_RGBA {{'R', 0, 0}, {'G', 0, 1}, {'B', 0, 2}, {'A', 0, 3}}
#define PACKED_BGR {{'R', 0, 2}, {'G', 0, 1}, {'B', 0, 0}, {0, 0, 0}}
#define PACKED_BGRA {{'R', 0, 2}, {'G', 0, 1}, {'B', 0, 0}, {'A', 0, 3}}
#define PACKED_CMYK {{'C', 0, 0}, {'M', 0, 1}, {'Y', 0, 2}, {'K', 0, 3}}
#define NO_COMPONENTS {{0, 0, 0}, {0, 0, 0}, {0, 0, 0}, {0, 0, 0}}

using M = Memory;
using C = ColorModel;

const std::vector<PixelFormatInfo> kFormats = {
    // code name aliases memory model planes {layouts} components {..} depth bytes BE shift y4m summary
    {101, "rgb24", "rgb888 rgb", M::Host, C::RGB, 1, {kFull3}, 3, PACKED_RGB, 8, 1, false, 0, nullptr,
     "packed R, G, B bytes"},
    {102, "rgba", "rgba8888", M::Host, C::RGB, 1, {kFull4}, 4, PACKED_RGBA, 8, 1, false, 0, nullptr,
     "packed R, G, B, A bytes"},
    {103, "nv12", "", M::Host, C::YUV, 2, {kFull1, kC420x2}, 3, SEMI_YUV, 8, 1, false, 0, nullptr,
     "Y plane, interleaved U/V plane"},
    {104, "yuv420p", "i420 420", M::Host, C::YUV, 3, {kFull1, kC420, kC420}, 3, PLANAR_YUV, 8, 1, false, 0,
     "420jpeg", "Y, U, V planes"},
    {105, "yuv422p", "422", M::Host, C::YUV, 3, {kFull1, kC422, kC422}, 3, PLANAR_YUV, 8, 1, false, 0, "422",
     "Y, U, V planes"},
    {106, "yuv444p", "444", M::Host, C::YUV, 3, {kFull1, kFull1, kFull1}, 3, PLANAR_YUV, 8, 1, false, 0, "444",
     "Y, U, V planes"},
    {107, "yuv420p10le", "yuv420p10 i010", M::Host, C::YUV, 3, {kFull1, kC420, kC420}, 3, PLANAR_YUV, 10, 2,
     false, 0, "420p10", "Y, U, V planes, 10 bits in 16-bit LE words"},
    {108, "p010le", "p010 nv12-10", M::Host, C::YUV, 2, {kFull1, kC420x2}, 3, SEMI_YUV, 10, 2, false, 6, nullptr,
     "Y plane, interleaved U/V plane, 10 bits in the high bits of LE words"},
    {109, "p016le", "p016 nv12-16", M::Host, C::YUV, 2, {kFull1, kC420x2}, 3, SEMI_YUV, 16, 2, false, 0, nullptr,
     "Y plane, interleaved U/V plane, 16-bit LE words"},
    {110, "yuv422p10le", "yuv422p10", M::Host, C::YUV, 3, {kFull1, kC422, kC422}, 3, PLANAR_YUV, 10, 2, false, 0,
     "422p10", "Y, U, V planes, 10 bits in 16-bit LE words"},
    {111, "yuv444p10le", "yuv444p10", M::Host, C::YUV, 3, {kFull1, kFull1, kFull1}, 3, PLANAR_YUV, 10, 2, false,
     0, "444p10", "Y, U, V planes, 10 bits in 16-bit LE words"},
    {112, "yuv444p12le", "yuv444p12", M::Host, C::YUV, 3, {kFull1, kFull1, kFull1}, 3, PLANAR_YUV, 12, 2, false,
     0, "444p12", "Y, U, V planes, 12 bits in 16-bit LE words"},
    {113, "yuv444p16le", "yuv444p16", M::Host, C::YUV, 3, {kFull1, kFull1, kFull1}, 3, PLANAR_YUV, 16, 2, false,
     0, "444p16", "Y, U, V planes, 16-bit LE words"},
    {114, "rgba64le", "rgba16le", M::Host, C::RGB, 1, {kFull4}, 4, PACKED_RGBA, 16, 2, false, 0, nullptr,
     "packed R, G, B, A 16-bit LE words"},
    {115, "rgba64be", "rgba16be rgba64", M::Host, C::RGB, 1, {kFull4}, 4, PACKED_RGBA, 16, 2, true, 0, nullptr,
     "packed R, G, B, A 16-bit BE words"},
    {116, "yuv411p", "411", M::Host, C::YUV, 3, {kFull1, kC411, kC411}, 3, PLANAR_YUV, 8, 1, false, 0, "411",
     "Y, U, V planes"},
    {117, "rgb48le", "rgb16le", M::Host, C::RGB, 1, {kFull3}, 3, PACKED_RGB, 16, 2, false, 0, nullptr,
     "packed R, G, B 16-bit LE words"},
    {118, "rgb48be", "rgb16be rgb48", M::Host, C::RGB, 1, {kFull3}, 3, PACKED_RGB, 16, 2, true, 0, nullptr,
     "packed R, G, B 16-bit BE words"},
    {119, "bgr24", "bgr888 bgr", M::Host, C::RGB, 1, {kFull3}, 3, PACKED_BGR, 8, 1, false, 0, nullptr,
     "packed B, G, R bytes"},
    {120, "bgra", "bgra8888", M::Host, C::RGB, 1, {kFull4}, 4, PACKED_BGRA, 8, 1, false, 0, nullptr,
     "packed B, G, R, A bytes"},
    {121, "a8", "alpha", M::Host, C::Bytes, 1, {kFull1}, 1, {{'A', 0, 0}, {0, 0, 0}, {0, 0, 0}, {0, 0, 0}}, 8, 1,
     false, 0, nullptr, "alpha bytes (byte-format conversions only)"},
    {122, "gray", "i8 grey gray8", M::Host, C::Bytes, 1, {kFull1}, 1, {{'I', 0, 0}, {0, 0, 0}, {0, 0, 0}, {0, 0, 0}},
     8, 1, false, 0, nullptr, "grey bytes (byte-format conversions only)"},
    {123, "ya8", "ai88 gray8a", M::Host, C::Bytes, 1, {kFull2}, 2, {{'I', 0, 0}, {'A', 0, 1}, {0, 0, 0}, {0, 0, 0}},
     8, 1, false, 0, nullptr, "grey, alpha bytes (byte-format conversions only)"},
    {124, "yuva444p10le", "yuva444p10", M::Host, C::YUV, 4, {kFull1, kFull1, kFull1, kFull1}, 4, PLANAR_YUVA, 10,
     2, false, 0, nullptr, "Y, U, V, A planes, 10 bits in 16-bit LE words"},
    {125, "yuva444p12le", "yuva444p12", M::Host, C::YUV, 4, {kFull1, kFull1, kFull1, kFull1}, 4, PLANAR_YUVA, 12,
     2, false, 0, nullptr, "Y, U, V, A planes, 12 bits in 16-bit LE words"},
    {126, "cmyk", "cmyk8888", M::Host, C::CMYK, 1, {kFull4}, 4, PACKED_CMYK, 8, 1, false, 0, nullptr,
     "packed C, M, Y, K bytes"},

    {201, "gl-rgba", "", M::GL, C::Texture, 1, {kFull4}, 0, NO_COMPONENTS, 8, 1, false, 0, nullptr,
     "OpenGL ES RGBA8 texture"},
    {202, "gl-rgba-half", "", M::GL, C::Texture, 1, {kFull4}, 0, NO_COMPONENTS, 16, 2, false, 0, nullptr,
     "OpenGL ES RGBA16F texture"},
    {203, "gl-rgb", "", M::GL, C::Texture, 1, {kFull3}, 0, NO_COMPONENTS, 8, 1, false, 0, nullptr,
     "OpenGL ES RGB8 texture (source only)"},

    {301, "cuda-rgb24", "", M::CUDA, C::RGB, 1, {kFull3}, 3, PACKED_RGB, 8, 1, false, 0, nullptr, "as rgb24"},
    {302, "cuda-rgba", "", M::CUDA, C::RGB, 1, {kFull4}, 4, PACKED_RGBA, 8, 1, false, 0, nullptr, "as rgba"},
    {303, "cuda-nv12", "", M::CUDA, C::YUV, 2, {kFull1, kC420x2}, 3, SEMI_YUV, 8, 1, false, 0, nullptr, "as nv12"},
    {304, "cuda-yuv420p", "", M::CUDA, C::YUV, 3, {kFull1, kC420, kC420}, 3, PLANAR_YUV, 8, 1, false, 0, nullptr,
     "as yuv420p"},
    {305, "cuda-yuv444p", "", M::CUDA, C::YUV, 3, {kFull1, kFull1, kFull1}, 3, PLANAR_YUV, 8, 1, false, 0, nullptr,
     "as yuv444p"},
    {306, "cuda-yuv420p10le", "", M::CUDA, C::YUV, 3, {kFull1, kC420, kC420}, 3, PLANAR_YUV, 10, 2, false, 0,
     nullptr, "as yuv420p10le"},
    {307, "cuda-p010le", "", M::CUDA, C::YUV, 2, {kFull1, kC420x2}, 3, SEMI_YUV, 10, 2, false, 6, nullptr,
     "as p010le"},
    {308, "cuda-p016le", "", M::CUDA, C::YUV, 2, {kFull1, kC420x2}, 3, SEMI_YUV, 16, 2, false, 0, nullptr,
     "as p016le"},
    {309, "cuda-yuv422p10le", "", M::CUDA, C::YUV, 3, {kFull1, kC422, kC422}, 3, PLANAR_YUV, 10, 2, false, 0,
     nullptr, "as yuv422p10le"},
    {310, "cuda-bgr24", "", M::CUDA, C::RGB, 1, {kFull3}, 3, PACKED_BGR, 8, 1, false, 0, nullptr, "as bgr24"},
    {311, "cuda-bgra", "", M::CUDA, C::RGB, 1, {kFull4}, 4, PACKED_BGRA, 8, 1, false, 0, nullptr, "as bgra"},
    {312, "cuda-gbrp", "", M::CUDA, C::RGB, 1, {kFull1}, 0, NO_COMPONENTS, 8, 1, false, 0, nullptr,
     "R, G, B byte planes in one allocation"},
    {313, "cuda-rgb48le", "", M::CUDA, C::RGB, 1, {kFull3}, 3, PACKED_RGB, 16, 2, false, 0, nullptr, "as rgb48le"},
    {314, "cuda-rgba64le", "", M::CUDA, C::RGB, 1, {kFull4}, 4, PACKED_RGBA, 16, 2, false, 0, nullptr,
     "as rgba64le"},
    {315, "cuda-gbrp16le", "", M::CUDA, C::RGB, 1, {kFull1}, 0, NO_COMPONENTS, 16, 2, false, 0, nullptr,
     "R, G, B 16-bit planes in one allocation"},
    {316, "cuda-gbrp10le", "", M::CUDA, C::RGB, 1, {kFull1}, 0, NO_COMPONENTS, 10, 2, false, 0, nullptr,
     "R, G, B 10-bit planes in one allocation"},
    {317, "cuda-yuv444p10le", "", M::CUDA, C::YUV, 3, {kFull1, kFull1, kFull1}, 3, PLANAR_YUV, 10, 2, false, 0,
     nullptr, "as yuv444p10le"},
    {318, "cuda-yuv444p12le", "", M::CUDA, C::YUV, 3, {kFull1, kFull1, kFull1}, 3, PLANAR_YUV, 12, 2, false, 0,
     nullptr, "as yuv444p12le"},
    {319, "cuda-yuv444p16le", "", M::CUDA, C::YUV, 3, {kFull1, kFull1, kFull1}, 3, PLANAR_YUV, 16, 2, false, 0,
     nullptr, "as yuv444p16le"},
    {320, "cuda-yuva444p10le", "", M::CUDA, C::YUV, 4, {kFull1, kFull1, kFull1, kFull1}, 4, PLANAR_YUVA, 10, 2,
     false, 0, nullptr, "as yuva444p10le"},
    {321, "cuda-yuva444p12le", "", M::CUDA, C::YUV, 4, {kFull1, kFull1, kFull1, kFull1}, 4, PLANAR_YUVA, 12, 2,
     false, 0, nullptr, "as yuva444p12le"},

    {401, "d3d11-rgba", "", M::D3D11, C::Texture, 2, {kFull4, kNone}, 0, NO_COMPONENTS, 8, 1, false, 0, nullptr,
     "Direct3D 11 R8G8B8A8_UNORM texture"},
    {402, "d3d11-bgra", "", M::D3D11, C::Texture, 2, {kFull4, kNone}, 0, NO_COMPONENTS, 8, 1, false, 0, nullptr,
     "Direct3D 11 B8G8R8A8_UNORM texture"},
    {403, "d3d11-nv12", "", M::D3D11, C::Texture, 2, {kFull1, kC420x2}, 0, NO_COMPONENTS, 8, 1, false, 0, nullptr,
     "Direct3D 11 NV12 texture"},
    {404, "d3d11-p010", "", M::D3D11, C::Texture, 2, {kFull1, kC420x2}, 0, NO_COMPONENTS, 10, 2, false, 6, nullptr,
     "Direct3D 11 P010 texture"},
    {406, "d3d11-rgba64", "", M::D3D11, C::Texture, 2, {kFull4, kNone}, 0, NO_COMPONENTS, 16, 2, false, 0, nullptr,
     "Direct3D 11 R16G16B16A16_UNORM texture"},
};

bool parseInt(const std::string& s, int& out) {
    if (s.empty() || s.size() > 9) return false;
    for (char c : s)
        if (c < '0' || c > '9') return false;
    out = std::atoi(s.c_str());
    return true;
}

std::string lower(std::string s) {
    for (char& c : s)
        if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
    return s;
}

}  // namespace

const std::vector<PixelFormatInfo>& pixelFormats() { return kFormats; }

const PixelFormatInfo* pixelFormatByCode(int code) {
    for (const auto& f : kFormats)
        if (f.code == code) return &f;
    return nullptr;
}

const PixelFormatInfo* findPixelFormat(const std::string& text) {
    // Names first: some aliases are numbers ("420", "444").
    const std::string key = lower(text);
    for (const auto& f : kFormats) {
        if (key == f.name) return &f;
        std::istringstream aliases(f.aliases);
        std::string alias;
        while (aliases >> alias)
            if (key == alias) return &f;
    }
    int code = 0;
    return parseInt(text, code) ? pixelFormatByCode(code) : nullptr;
}

std::string subsamplingText(const PixelFormatInfo& f) {
    if (f.model != ColorModel::YUV || f.planeCount < 2) return "-";
    const PlaneLayout& c = f.planes[1];
    if (c.xShift == 0 && c.yShift == 0) return "4:4:4";
    if (c.xShift == 1 && c.yShift == 0) return "4:2:2";
    if (c.xShift == 1 && c.yShift == 1) return "4:2:0";
    if (c.xShift == 2 && c.yShift == 0) return "4:1:1";
    return "?";
}

bool computeGeometry(const PixelFormatInfo& f, int width, int height, FrameGeometry& out, std::string& why) {
    if (width < 1 || height < 1) {
        why = "frame size " + std::to_string(width) + "x" + std::to_string(height) + " is not positive";
        return false;
    }
    if (width > kMaxSide || height > kMaxSide) {
        why = "frame size " + std::to_string(width) + "x" + std::to_string(height) + " exceeds " +
              std::to_string(kMaxSide) + " pixels a side";
        return false;
    }
    // With sides of at most 2^15, interleave 4 and 2-byte samples every
    // product below stays under 2^35, so size_t arithmetic cannot overflow.
    FrameGeometry g;
    g.width = width;
    g.height = height;
    g.planeCount = f.planeCount;
    size_t offset = 0;
    for (int p = 0; p < f.planeCount; ++p) {
        const PlaneLayout& l = f.planes[p];
        const int xs = 1 << l.xShift, ys = 1 << l.yShift;
        g.planeWidth[p] = (width + xs - 1) / xs;
        g.planeHeight[p] = (height + ys - 1) / ys;
        g.rowBytes[p] = g.planeWidth[p] * l.interleave * f.bytesPerSample;
        g.planeOffset[p] = offset;
        g.planeBytes[p] = static_cast<size_t>(g.rowBytes[p]) * static_cast<size_t>(g.planeHeight[p]);
        offset += g.planeBytes[p];
    }
    g.frameBytes = offset;
    out = g;
    return true;
}

}  // namespace krocolor
