// One row per KROPixelFormat code: everything the library needs to know about
// a format. Frame building, intermediate-frame allocation, sample addressing,
// the colour pipeline and backend selection all read this table; adding a
// format is adding a row.
#pragma once

#include <cstdint>

namespace KROCOLOR {

// Where the pixels of a format live.
enum class FormatFamily : uint8_t { None, Host, GL, CUDA, D3D11, Other5, Other6 };

// What the samples mean to the colour pipeline.
enum class ColorClass : uint8_t {
    None,   // not addressable by the CPU kernels (textures, other platforms)
    RGB,    // packed R, G, B (A); no YUV matrix is ever applied
    CMYK,   // packed C, M, Y, K; read and written through RGB
    YUV,    // planar or semi-planar Y, U, V (A)
    Bytes,  // grey / alpha byte layouts of the byte-format converters only
};

// How the samples of a pixel are spread over the planes.
enum class PlaneLayout : uint8_t {
    None,
    Packed,      // all components interleaved in plane 0
    SemiPlanar,  // Y in plane 0; U, V interleaved in plane 1
    Planar,      // Y, U, V (and A) each in its own plane
    PlanarRGB,   // R, G, B planes one after another in one allocation (CUDA)
};

constexpr uint8_t kNoComponent = 0xFF;

struct FormatTraits {
    int32_t code;
    FormatFamily family;
    // Frame building: number of plane/stride entries taken from the caller
    // (0 = the descriptor does not take the format). 5xx formats take plane 0
    // and no stride at all.
    uint8_t descriptorPlanes;
    bool descriptorStrides;
    // The narrower tables of the crop and rotate objects (0 = not taken).
    uint8_t cropPlanes;
    uint8_t rotatePlanes;
    ColorClass colorClass;
    PlaneLayout layout;
    uint8_t depth;           // bits by which samples are normalised
    uint8_t bytesPerSample;  // 1 (bytes) or 2 (16-bit words)
    uint8_t samplesPerPixel; // packed formats: samples per pixel in plane 0
    // Packed formats: position within the pixel of native component k
    // (R, G, B, A or C, M, Y, K); kNoComponent where the format lacks it.
    uint8_t order[4];
    uint8_t chromaShiftX;    // log2 of the horizontal chroma subsampling
    uint8_t chromaShiftY;    // log2 of the vertical chroma subsampling
    bool bigEndian;          // 16-bit words stored most significant byte first
    uint8_t msbShift;        // sample sits this many bits up in its word (P010: 6)
    bool hasAlpha;           // alpha is stored
    int32_t hostTwin;        // CUDA formats: host format staged through (0 none)
    int32_t glTwin;          // host formats: GL texture format they stage in (0 none)
};

namespace formatrows {

constexpr FormatTraits base(int32_t code, FormatFamily fam, uint8_t planes) {
    return FormatTraits{code, fam, planes, true, 0, 0, ColorClass::None, PlaneLayout::None, 8, 1, 0,
                        {kNoComponent, kNoComponent, kNoComponent, kNoComponent}, 0, 0, false, 0,
                        false, 0, 0};
}

// Packed host format. `order` gives the sample position of R, G, B, A (C, M, Y, K).
constexpr FormatTraits packed(int32_t code, ColorClass cls, uint8_t bytesPerSample, uint8_t samples,
                              uint8_t o0, uint8_t o1, uint8_t o2, uint8_t o3, bool bigEndian,
                              bool geometry, int32_t glTwin) {
    FormatTraits t = base(code, FormatFamily::Host, 1);
    t.cropPlanes = geometry ? 1 : 0;
    t.rotatePlanes = geometry ? 1 : 0;
    t.colorClass = cls;
    t.layout = PlaneLayout::Packed;
    t.depth = bytesPerSample == 1 ? 8 : 16;
    t.bytesPerSample = bytesPerSample;
    t.samplesPerPixel = samples;
    t.order[0] = o0;
    t.order[1] = o1;
    t.order[2] = o2;
    t.order[3] = o3;
    t.bigEndian = bigEndian;
    t.hasAlpha = o3 != kNoComponent && cls == ColorClass::RGB;
    t.glTwin = glTwin;
    return t;
}

// Planar or semi-planar host YUV format.
constexpr FormatTraits yuv(int32_t code, PlaneLayout layout, uint8_t depth, uint8_t shiftX,
                           uint8_t shiftY, bool alpha, uint8_t msbShift) {
    const uint8_t planes = layout == PlaneLayout::SemiPlanar ? 2 : (alpha ? 4 : 3);
    FormatTraits t = base(code, FormatFamily::Host, planes);
    t.cropPlanes = alpha ? 0 : planes;
    t.rotatePlanes = planes;
    t.colorClass = ColorClass::YUV;
    t.layout = layout;
    t.depth = depth;
    t.bytesPerSample = depth > 8 ? 2 : 1;
    t.samplesPerPixel = 1;
    t.chromaShiftX = shiftX;
    t.chromaShiftY = shiftY;
    t.msbShift = msbShift;
    t.hasAlpha = alpha;
    return t;
}

constexpr FormatTraits byteOnly(int32_t code) {
    FormatTraits t = base(code, FormatFamily::Host, 0);
    t.colorClass = ColorClass::Bytes;
    return t;
}

// CUDA device format with the sample layout of `like` (a host row).
constexpr FormatTraits cuda(int32_t code, const FormatTraits& like, int32_t hostTwin, bool crop,
                            bool rotate) {
    FormatTraits t = like;
    t.code = code;
    t.family = FormatFamily::CUDA;
    t.cropPlanes = crop ? t.descriptorPlanes : 0;
    t.rotatePlanes = rotate ? t.descriptorPlanes : 0;
    t.hostTwin = hostTwin;
    t.glTwin = 0;
    return t;
}

// R, G, B planes in one CUDA allocation.
constexpr FormatTraits cudaPlanarRGB(int32_t code, uint8_t depth, uint8_t bytesPerSample) {
    FormatTraits t = base(code, FormatFamily::CUDA, 1);
    t.cropPlanes = 1;
    t.rotatePlanes = 1;
    t.colorClass = ColorClass::RGB;
    t.layout = PlaneLayout::PlanarRGB;
    t.depth = depth;
    t.bytesPerSample = bytesPerSample;
    t.samplesPerPixel = 1;
    return t;
}

constexpr FormatTraits texture(int32_t code, FormatFamily fam, uint8_t planes) {
    return base(code, fam, planes);
}

constexpr FormatTraits other5(int32_t code) {
    FormatTraits t = base(code, FormatFamily::Other5, 1);
    t.descriptorStrides = false;
    return t;
}

constexpr uint8_t N = kNoComponent;
constexpr ColorClass RGB = ColorClass::RGB;
constexpr PlaneLayout SP = PlaneLayout::SemiPlanar;
constexpr PlaneLayout PL = PlaneLayout::Planar;

constexpr FormatTraits kRGB888 = packed(101, RGB, 1, 3, 0, 1, 2, N, false, true, 203);
constexpr FormatTraits kRGBA8888 = packed(102, RGB, 1, 4, 0, 1, 2, 3, false, true, 201);
constexpr FormatTraits kNV12 = yuv(103, SP, 8, 1, 1, false, 0);
constexpr FormatTraits kYUV420P = yuv(104, PL, 8, 1, 1, false, 0);
constexpr FormatTraits kYUV422P = yuv(105, PL, 8, 1, 0, false, 0);
constexpr FormatTraits kYUV444P = yuv(106, PL, 8, 0, 0, false, 0);
constexpr FormatTraits kYUV420P10 = yuv(107, PL, 10, 1, 1, false, 0);
constexpr FormatTraits kP010 = yuv(108, SP, 10, 1, 1, false, 6);
constexpr FormatTraits kP016 = yuv(109, SP, 16, 1, 1, false, 0);
constexpr FormatTraits kYUV422P10 = yuv(110, PL, 10, 1, 0, false, 0);
constexpr FormatTraits kYUV444P10 = yuv(111, PL, 10, 0, 0, false, 0);
constexpr FormatTraits kYUV444P12 = yuv(112, PL, 12, 0, 0, false, 0);
constexpr FormatTraits kYUV444P16 = yuv(113, PL, 16, 0, 0, false, 0);
constexpr FormatTraits kRGBA16LE = packed(114, RGB, 2, 4, 0, 1, 2, 3, false, true, 202);
constexpr FormatTraits kRGBA16BE = packed(115, RGB, 2, 4, 0, 1, 2, 3, true, true, 0);
constexpr FormatTraits kYUV411P = yuv(116, PL, 8, 2, 0, false, 0);
constexpr FormatTraits kRGB16LE = packed(117, RGB, 2, 3, 0, 1, 2, N, false, true, 0);
constexpr FormatTraits kRGB16BE = packed(118, RGB, 2, 3, 0, 1, 2, N, true, true, 0);
constexpr FormatTraits kBGR888 = packed(119, RGB, 1, 3, 2, 1, 0, N, false, true, 0);
constexpr FormatTraits kBGRA8888 = packed(120, RGB, 1, 4, 2, 1, 0, 3, false, true, 0);
constexpr FormatTraits kYUVA444P10 = yuv(124, PL, 10, 0, 0, true, 0);
constexpr FormatTraits kYUVA444P12 = yuv(125, PL, 12, 0, 0, true, 0);
// CMYK is refused by the crop and rotate objects.
constexpr FormatTraits kCMYK = packed(126, ColorClass::CMYK, 1, 4, 0, 1, 2, 3, false, false, 0);

constexpr FormatTraits kTable[] = {
    kRGB888, kRGBA8888, kNV12, kYUV420P, kYUV422P, kYUV444P, kYUV420P10, kP010, kP016, kYUV422P10,
    kYUV444P10, kYUV444P12, kYUV444P16, kRGBA16LE, kRGBA16BE, kYUV411P, kRGB16LE, kRGB16BE,
    kBGR888, kBGRA8888, byteOnly(121), byteOnly(122), byteOnly(123), kYUVA444P10, kYUVA444P12,
    kCMYK,

    texture(201, FormatFamily::GL, 1), texture(202, FormatFamily::GL, 1),
    texture(203, FormatFamily::GL, 1),

    cuda(301, kRGB888, 101, true, true), cuda(302, kRGBA8888, 102, true, true),
    cuda(303, kNV12, 103, true, true), cuda(304, kYUV420P, 104, true, true),
    cuda(305, kYUV444P, 106, true, true), cuda(306, kYUV420P10, 107, true, true),
    cuda(307, kP010, 108, true, true), cuda(308, kP016, 109, true, true),
    cuda(309, kYUV422P10, 110, false, false), cuda(310, kBGR888, 119, true, true),
    cuda(311, kBGRA8888, 120, true, true), cudaPlanarRGB(312, 8, 1),
    cuda(313, kRGB16LE, 0, true, true), cuda(314, kRGBA16LE, 0, true, true),
    cudaPlanarRGB(315, 16, 2), cudaPlanarRGB(316, 10, 2),
    cuda(317, kYUV444P10, 111, false, false), cuda(318, kYUV444P12, 112, false, false),
    cuda(319, kYUV444P16, 113, true, true), cuda(320, kYUVA444P10, 124, false, true),
    cuda(321, kYUVA444P12, 125, false, true),

    texture(401, FormatFamily::D3D11, 2), texture(402, FormatFamily::D3D11, 2),
    texture(403, FormatFamily::D3D11, 2), texture(404, FormatFamily::D3D11, 2),
    texture(405, FormatFamily::D3D11, 2), texture(406, FormatFamily::D3D11, 2),

    other5(501), other5(502), other5(503), other5(504), other5(505), other5(506), other5(507),

    texture(601, FormatFamily::Other6, 1), texture(602, FormatFamily::Other6, 1),
    texture(603, FormatFamily::Other6, 2), texture(604, FormatFamily::Other6, 2),
    texture(605, FormatFamily::Other6, 1), texture(606, FormatFamily::Other6, 0),
    texture(607, FormatFamily::Other6, 0),
};

constexpr int kTableSize = static_cast<int>(sizeof(kTable) / sizeof(kTable[0]));

struct FamilyRange {
    FormatFamily family;
    int32_t first, last;
};
constexpr FamilyRange kFamilies[] = {
    {FormatFamily::Host, 101, 126},  {FormatFamily::GL, 201, 203},
    {FormatFamily::CUDA, 301, 321},  {FormatFamily::D3D11, 401, 406},
    {FormatFamily::Other5, 501, 507}, {FormatFamily::Other6, 601, 607},
};

// Every code of every family has exactly one row, of the right family.
constexpr bool tableIsComplete() {
    int expected = 0;
    for (const FamilyRange& r : kFamilies) {
        for (int32_t code = r.first; code <= r.last; ++code) {
            int hits = 0;
            for (const FormatTraits& t : kTable)
                if (t.code == code && t.family == r.family) ++hits;
            if (hits != 1) return false;
            ++expected;
        }
    }
    return expected == kTableSize;
}
static_assert(tableIsComplete(), "every KROPixelFormat code needs exactly one row");

}  // namespace formatrows

// The row of `code`, or null for a value outside every family.
constexpr const FormatTraits* formatTraits(int32_t code) {
    for (const FormatTraits& t : formatrows::kTable)
        if (t.code == code) return &t;
    return nullptr;
}

constexpr FormatFamily formatFamily(int32_t code) {
    const FormatTraits* t = formatTraits(code);
    return t ? t->family : FormatFamily::None;
}

constexpr bool isHostFormat(int32_t code) { return code >= 101 && code <= 126; }
constexpr bool isGLFormat(int32_t code) { return code >= 201 && code <= 203; }
constexpr bool isCUDAFormat(int32_t code) { return code >= 301 && code <= 321; }
constexpr bool isD3D11Format(int32_t code) { return code >= 401 && code <= 406; }
constexpr bool isOther5Format(int32_t code) { return code >= 501 && code <= 507; }
constexpr bool isOther6Format(int32_t code) { return code >= 601 && code <= 607; }

// Formats the CPU sample kernels can read and write (101-120, 124-126).
constexpr bool isCpuAddressable(const FormatTraits* t) {
    return t && t->family == FormatFamily::Host && t->layout != PlaneLayout::None;
}

}  // namespace KROCOLOR
