// The ICC path of KROColorFunctions: CMYK sources are first turned into RGBA,
// sizes are matched by the scalar CPU convertor, and the ICC profile engine
// converts tightly packed rows, ten bands at a time on the worker pool.
#include "icc/icc_path.h"

#include <cstring>
#include <memory>
#include <new>

#include "core/convertor.h"
#include "core/frame.h"
#include "core/pixel_format_table.h"
#include "cpu/cpu_task.h"
#include "icc/icc_engine.h"
#include "icc/icc_transform.h"

namespace KROCOLOR {
namespace {

// Host formats the path converts, with the engine layout each is given.
struct ICCFormatRow {
    int32_t format;
    ICCPixelFormat layout;
};
constexpr ICCFormatRow kICCFormats[] = {
    {kKRORGB888Format, kICCPixelFormatRGB888},
    {kKRORGBA8888Format, kICCPixelFormatRGBA8888},
    {kKRORGBA16LEFormat, kICCPixelFormatRGBA16161616LE},
    {kKRORGBA16BEFormat, kICCPixelFormatRGBA16161616BE},
    {kKRORGB16LEFormat, kICCPixelFormatRGB161616LE},
    {kKRORGB16BEFormat, kICCPixelFormatRGB161616BE},
};

const ICCFormatRow* findICCFormat(int32_t format) {
    for (const ICCFormatRow& row : kICCFormats)
        if (row.format == format) return &row;
    return nullptr;
}

int64_t bytesPerPixel(int32_t format) {
    const FormatTraits* t = formatTraits(format);
    return t ? int64_t{t->samplesPerPixel} * t->bytesPerSample : 0;
}

constexpr int kPriorities[2] = {0, 1};
constexpr int kBandCount = kDefaultThreadCount;
constexpr int kMinRowsForBands = 10;

uint32_t readU32(const uint8_t* p) {
    return (uint32_t(p[0]) << 24) | (uint32_t(p[1]) << 16) | (uint32_t(p[2]) << 8) | uint32_t(p[3]);
}

bool parseGiven(const uint8_t* bytes, int size, ICCProfile* profile) {
    return size > 0 && parseICCProfile(bytes, static_cast<size_t>(size), kPriorities, 2, profile);
}

bool containsText(const uint8_t* text, uint32_t length, const char* needle) {
    const size_t n = std::strlen(needle);
    if (n > length) return false;
    for (uint32_t i = 0; i + n <= length; ++i)
        if (std::memcmp(text + i, needle, n) == 0) return true;
    return false;
}

// Plain naive CMYK to RGB: R = (1 - C)(1 - K), and so on, in 8 bits. Print
// profiles of the known families store their data inverted (255 = no ink).
bool cmykToRGBA(const ICCImage& src, bool inverted, std::unique_ptr<uint8_t[]>& out) {
    const size_t w = static_cast<size_t>(src.width), h = static_cast<size_t>(src.height);
    out.reset(new (std::nothrow) uint8_t[w * h * 4]);
    if (!out) return false;
    for (size_t y = 0; y < h; ++y) {
        const uint8_t* in = src.pixels + static_cast<ptrdiff_t>(y) * src.stride;
        uint8_t* o = out.get() + y * w * 4;
        for (size_t x = 0; x < w; ++x, in += 4, o += 4) {
            if (inverted) {
                const float k = 1.0f - (255.0f - in[3]) / 255.0f;
                for (int c = 0; c < 3; ++c)
                    o[c] = static_cast<uint8_t>((1.0f - (255.0f - in[c]) / 255.0f) * k * 255.0f + 0.5f);
            } else {
                const float k = 1.0f - in[3] / 255.0f;
                for (int c = 0; c < 3; ++c)
                    o[c] = static_cast<uint8_t>((1.0f - in[c] / 255.0f) * k * 255.0f + 0.5f);
            }
            o[3] = 255;
        }
    }
    return true;
}

struct Plane {
    const uint8_t* pixels;
    int64_t stride;
};

// Same-sized transform with tight rows, ten bands for tall images.
KROReturn transformImage(Plane src, int32_t srcFormat, const ICCProfile* srcProfile, uint8_t* dstPixels,
                         int64_t dstStride, int32_t dstFormat, const ICCProfile* dstProfile, int width,
                         int height) {
    const int64_t srcRow = bytesPerPixel(srcFormat) * width, dstRow = bytesPerPixel(dstFormat) * width;
    const size_t pixels = static_cast<size_t>(width) * static_cast<size_t>(height);

    icc::ICCTransform plan;
    if (!plan.build(findICCFormat(srcFormat)->layout, kICCAlphaUnpremultiplied, srcProfile,
                    findICCFormat(dstFormat)->layout, kICCAlphaUnpremultiplied, dstProfile, pixels))
        return kKROUnknownError;

    std::unique_ptr<uint8_t[]> tightSrc, tightDst;
    const uint8_t* in = src.pixels;
    if (src.stride != srcRow) {
        tightSrc.reset(new (std::nothrow) uint8_t[static_cast<size_t>(srcRow) * height]);
        if (!tightSrc) return kKROUnknownError;
        for (int y = 0; y < height; ++y)
            std::memcpy(tightSrc.get() + y * srcRow, src.pixels + y * src.stride, static_cast<size_t>(srcRow));
        in = tightSrc.get();
    }
    uint8_t* out = dstPixels;
    if (dstStride != dstRow) {
        tightDst.reset(new (std::nothrow) uint8_t[static_cast<size_t>(dstRow) * height]);
        if (!tightDst) return kKROUnknownError;
        out = tightDst.get();
    }

    bool ok = true;
    if (height >= kMinRowsForBands) {
        CPUTask pool(kBandCount);
        pool.runSlices([&](int slot, int slots) {
            const ICCBand band = iccBand(height, slot, slots);
            if (band.first == band.end) return true;
            return plan.run(in + band.first * srcRow, out + band.first * dstRow,
                            static_cast<size_t>(band.end - band.first) * static_cast<size_t>(width));
        });
        pool.join();
        ok = pool.hasFailed() == 0;
    } else {
        ok = plan.run(in, out, pixels);
    }
    if (!ok) return kKROUnknownError;
    if (tightDst)
        for (int y = 0; y < height; ++y)
            std::memcpy(dstPixels + y * dstStride, out + y * dstRow, static_cast<size_t>(dstRow));
    return kKROSuccess;
}

// The scalar CPU convertor resizes `src` into `resized` (both in `format`,
// colour description left at 0 so only the scaler runs).
KROReturn resize(Plane src, int32_t format, int srcWidth, int srcHeight, uint8_t* resized, int dstWidth,
                 int dstHeight) {
    const int64_t dstRow = bytesPerPixel(format) * dstWidth;
    if (src.stride > INT32_MAX || dstRow > INT32_MAX) return kKROUnknownError;
    KROReturn error = kKROSuccess;
    std::unique_ptr<IConvertor> scaler = createCPUConvertor(false, error);
    if (!scaler) return kKROUnknownError;
    KROFrame in;
    in.width = srcWidth;
    in.height = srcHeight;
    in.format = format;
    in.strides[0] = static_cast<int32_t>(src.stride);
    in.planes[0] = const_cast<uint8_t*>(src.pixels);
    KROFrame out;
    out.width = dstWidth;
    out.height = dstHeight;
    out.format = format;
    out.strides[0] = static_cast<int32_t>(dstRow);
    out.planes[0] = resized;
    return scaler->convertColor(&in, &out) == kKROSuccess ? kKROSuccess : kKROUnknownError;
}

}  // namespace

ICCBand iccBand(int height, int band, int bandCount) {
    const int rows = (height + bandCount - 1) / bandCount;
    const int64_t first = int64_t{band} * rows;
    if (first >= height) return {height, height};
    const int64_t end = first + rows < height ? first + rows : height;
    return {static_cast<int>(first), static_cast<int>(end)};
}

bool isKnownCMYKPrintProfile(const uint8_t* bytes, int size) {
    ICCProfile profile;
    if (!bytes || !parseGiven(bytes, size, &profile) || profile.dataColorSpace != kICCSigCMYK) return false;
    const uint64_t length = static_cast<uint64_t>(size);
    const uint32_t count = readU32(bytes + 128);
    static const char* const kPrintConditions[] = {"Japan Color 2001", "US Web Coated", "Photoshop",
                                                   "DeviceCMYK"};
    for (uint32_t i = 0; i < count; ++i) {
        const uint64_t entry = 132 + 12 * uint64_t(i);
        if (entry + 12 > length) return false;
        if (readU32(bytes + entry) != iccSignature('d', 'e', 's', 'c')) continue;
        const uint64_t offset = readU32(bytes + entry + 4), tagSize = readU32(bytes + entry + 8);
        if (offset + tagSize > length) return false;
        if (offset + 12 > length) continue;  // no room for the ASCII count
        const uint32_t textLength = readU32(bytes + offset + 8);
        if (textLength == 0 || offset + 12 + textLength > length) continue;
        for (const char* condition : kPrintConditions)
            if (containsText(bytes + offset + 12, textLength, condition)) return true;
    }
    return false;
}

KROReturn convertWithICCProfiles(const ICCImage& srcImage, const ICCImage& dst, uint8_t* dstPixels) {
    const bool cmyk = srcImage.format == kKROCMYK8888Format;
    if (!cmyk && !findICCFormat(srcImage.format)) return kKROInputPixelFormatNotSupported;
    if (!findICCFormat(dst.format)) return kKROInputPixelFormatNotSupported;
    if (!srcImage.pixels || !dstPixels || srcImage.width <= 0 || srcImage.height <= 0 || dst.width <= 0 ||
        dst.height <= 0)
        return kKROInputParamError;
    const int64_t srcRow = bytesPerPixel(srcImage.format) * srcImage.width;
    const int64_t dstRow = bytesPerPixel(dst.format) * dst.width;
    if (srcImage.stride < srcRow || dst.stride < dstRow) return kKROInputParamError;

    ICCProfile srcParsed, dstParsed;
    const bool srcGiven = srcImage.profile && srcImage.profileSize != 0;
    const bool dstGiven = dst.profile && dst.profileSize != 0;
    if (srcGiven && !parseGiven(srcImage.profile, srcImage.profileSize, &srcParsed)) return kKROInvalidICCProfile;
    if (dstGiven && !parseGiven(dst.profile, dst.profileSize, &dstParsed)) return kKROInvalidICCProfile;
    const ICCProfile* srcProfile = srcGiven ? &srcParsed : &kICCsRGBProfile;
    const ICCProfile* dstProfile = dstGiven ? &dstParsed : &kICCsRGBProfile;

    Plane src{srcImage.pixels, srcImage.stride};
    int32_t srcFormat = srcImage.format;
    std::unique_ptr<uint8_t[]> rgba;
    if (cmyk) {
        const bool inverted = srcGiven && isKnownCMYKPrintProfile(srcImage.profile, srcImage.profileSize);
        if (!cmykToRGBA(srcImage, inverted, rgba)) return kKROUnknownError;
        src = Plane{rgba.get(), int64_t{4} * srcImage.width};
        srcFormat = kKRORGBA8888Format;
    }

    if (srcImage.width == dst.width && srcImage.height == dst.height)
        return transformImage(src, srcFormat, srcProfile, dstPixels, dst.stride, dst.format, dstProfile, dst.width,
                              dst.height);

    const int64_t resizedRow = bytesPerPixel(srcFormat) * dst.width;
    std::unique_ptr<uint8_t[]> resized(new (std::nothrow) uint8_t[static_cast<size_t>(resizedRow) * dst.height]);
    if (!resized) return kKROUnknownError;
    if (resize(src, srcFormat, srcImage.width, srcImage.height, resized.get(), dst.width, dst.height) !=
        kKROSuccess)
        return kKROUnknownError;
    return transformImage(Plane{resized.get(), resizedRow}, srcFormat, srcProfile, dstPixels, dst.stride,
                          dst.format, dstProfile, dst.width, dst.height);
}

}  // namespace KROCOLOR
