#include "core/frame.h"

#include <atomic>
#include <climits>

namespace KROCOLOR {

namespace {

void copyEntries(KROFrame& frame, int count, bool withStrides, const uint8_t* const planes[],
                 const int strides[]) {
    for (int i = 0; i < 4; ++i) {
        frame.planes[i] = i < count ? const_cast<uint8_t*>(planes[i]) : nullptr;
        frame.strides[i] = (withStrides && i < count) ? strides[i] : 0;
    }
}

// 1280 x 720: from this pixel count on, unspecified values mean HD (BT.709).
constexpr int64_t kHDPixelCount = 921600;

}  // namespace

bool buildFrame(KROFrame& frame, const uint8_t* const planes[], const int strides[]) {
    const FormatTraits* t = formatTraits(frame.format);
    if (!t || t->descriptorPlanes == 0) return false;
    copyEntries(frame, t->descriptorPlanes, t->descriptorStrides, planes, strides);
    return true;
}

bool buildGeometryFrame(KROFrame& frame, GeometryKind kind, const uint8_t* const planes[],
                        const int strides[]) {
    const FormatTraits* t = formatTraits(frame.format);
    const int count = !t ? 0 : (kind == GeometryKind::Crop ? t->cropPlanes : t->rotatePlanes);
    if (count == 0) return false;
    copyEntries(frame, count, true, planes, strides);
    return true;
}

ColorDescription describeColor(const ColorDescription& stored, int32_t width, int32_t height,
                               bool keepAsStored) {
    if (keepAsStored) return stored;
    const bool hd = static_cast<int64_t>(width) * height >= kHDPixelCount;
    ColorDescription d = stored;
    if (d.primaries == kColorPrimariesRESERVED0 || d.primaries == kColorPrimariesUNSPECIFIED ||
        d.primaries == kColorPrimariesRESERVED)
        d.primaries = hd ? kColorPrimariesBT709 : kColorPrimariesBT470BG;
    if (d.transfer == kColorTransferRESERVED0 || d.transfer == kColorTransferUNSPECIFIED ||
        d.transfer == kColorTransferRESERVED)
        d.transfer = hd ? kColorTransferBT709 : kColorTransferSMPTE170M;
    else if (d.transfer == kColorTransferLOG_SQRT)
        d.transfer = kColorTransferIEC61966_2_1;
    if (d.matrix == kColorMatrixUNSPECIFIED || d.matrix == kColorMatrixRESERVED || d.matrix == -1)
        d.matrix = hd ? kColorMatrixBT709 : kColorMatrixSMPTE170M;
    else if (d.matrix == kColorMatrixYCGCO)
        d.matrix = kColorMatrixBT709;
    if (d.range == kColorRangeUNSPECIFIED) d.range = kColorRangeMpeg;
    return d;
}

std::string nextFrameName() {
    static std::atomic<uint64_t> counter{0};
    return "KROFrame-" + std::to_string(counter.fetch_add(1, std::memory_order_relaxed));
}

}  // namespace KROCOLOR

namespace KROCOLOR {

int planeCount(const FormatTraits& t) {
    switch (t.layout) {
    case PlaneLayout::Packed:
    case PlaneLayout::PlanarRGB: return 1;
    case PlaneLayout::SemiPlanar: return 2;
    case PlaneLayout::Planar: return t.hasAlpha ? 4 : 3;
    case PlaneLayout::None: break;
    }
    return 0;
}

int64_t planeRowBytes(const FormatTraits& t, int plane, int64_t width) {
    if (plane < 0 || plane >= planeCount(t)) return 0;
    if (t.layout == PlaneLayout::Packed) return width * t.samplesPerPixel * t.bytesPerSample;
    if (plane == 0 || plane == 3) return width * t.bytesPerSample;
    const int64_t chromaWidth = (width + (int64_t{1} << t.chromaShiftX) - 1) >> t.chromaShiftX;
    const int64_t samples = t.layout == PlaneLayout::SemiPlanar ? 2 * chromaWidth : chromaWidth;
    return samples * t.bytesPerSample;
}

int64_t planeRows(const FormatTraits& t, int plane, int64_t height) {
    if (plane < 0 || plane >= planeCount(t)) return 0;
    if (plane == 0 || plane == 3 || t.layout == PlaneLayout::Packed) return height;
    return (height + (int64_t{1} << t.chromaShiftY) - 1) >> t.chromaShiftY;
}

bool hostPlanesPresent(const KROFrame& frame) {
    const FormatTraits* t = formatTraits(frame.format);
    const int planes = t ? planeCount(*t) : 0;
    for (int p = 0; p < planes; ++p)
        if (!frame.planes[p]) return false;
    return true;
}

bool hostRowsFit(int32_t format, int64_t width) {
    const FormatTraits* t = formatTraits(format);
    if (!isCpuAddressable(t)) return true;
    for (int p = 0; p < planeCount(*t); ++p)
        if (planeRowBytes(*t, p, width) > INT32_MAX) return false;
    return true;
}

KROReturn validateHostFrame(const KROFrame& frame) {
    const FormatTraits* t = formatTraits(frame.format);
    if (!isCpuAddressable(t)) return kKROSuccess;
    for (int p = 0; p < planeCount(*t); ++p) {
        const int64_t rowBytes = planeRowBytes(*t, p, frame.width);
        if (rowBytes > INT32_MAX || !frame.planes[p] || frame.strides[p] < rowBytes)
            return kKROInputParamError;
    }
    return kKROSuccess;
}

}  // namespace KROCOLOR
