// libFuzzer target over the public interface: every byte of the input is a
// caller's choice (formats, sizes, strides, hardware types, colour values,
// metadata, ICC profiles, crop rectangles, orientations, byte-format
// converters and their byte counts, Lab inputs). Frames sit on guarded pages
// (tests/fuzz/guarded_memory.h) with each plane ending right at an
// inaccessible page, so any read or write past a plane faults (planes are
// as large as the call's contract asks, no larger). Beyond "no
// crash", each call must return a code with a message, never change its
// source, and leave the destination untouched when it refuses.
#include <fuzzer/FuzzedDataProvider.h>

#include <climits>
#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "KROColorFunctions.h"
#include "guarded_memory.h"

using namespace KROCOLOR;
using kro_fuzz::GuardedBuffer;

namespace {

[[noreturn]] void fail(const char* what, int code) {
    std::fprintf(stderr, "api_fuzzer: %s (code %d)\n", what, code);
    std::abort();
}

// With KRO_FUZZ_TRACE set, every call is written to the standard error
// stream, so a finding replayed alone reads as the caller's code.
bool tracing() {
    static const bool on = std::getenv("KRO_FUZZ_TRACE") != nullptr;
    return on;
}

__attribute__((format(printf, 1, 2))) void trace(const char* format, ...) {
    if (!tracing()) return;
    va_list args;
    va_start(args, format);
    std::vfprintf(stderr, format, args);
    va_end(args);
    std::fputc('\n', stderr);
}

// ---------------------------------------------------------------------------
// Plane geometry of the host formats, written down from the public format
// list rather than taken from the library, so a wrong table there shows up
// as a fault here.
struct PlaneShape {
    int planes;           // plane pointers the format takes
    int bytesPerSample;   // 1 or 2
    int samplesPerPixel;  // packed formats: samples per pixel; planar: 1
    int shiftX, shiftY;   // log2 chroma subsampling (planar / semi-planar)
    bool packed;
    bool semiPlanar;
};

bool hostShape(int32_t format, PlaneShape* s) {
    auto packed = [&](int bytes, int samples) { *s = {1, bytes, samples, 0, 0, true, false}; };
    auto yuv = [&](int planes, int bytes, int sx, int sy) { *s = {planes, bytes, 1, sx, sy, false, planes == 2}; };
    switch (format) {
    case 101: case 119: packed(1, 3); return true;
    case 102: case 120: case 126: packed(1, 4); return true;
    case 114: case 115: packed(2, 4); return true;
    case 117: case 118: packed(2, 3); return true;
    case 103: yuv(2, 1, 1, 1); return true;
    case 104: yuv(3, 1, 1, 1); return true;
    case 105: yuv(3, 1, 1, 0); return true;
    case 106: yuv(3, 1, 0, 0); return true;
    case 107: yuv(3, 2, 1, 1); return true;
    case 108: case 109: yuv(2, 2, 1, 1); return true;
    case 110: yuv(3, 2, 1, 0); return true;
    case 111: case 112: case 113: yuv(3, 2, 0, 0); return true;
    case 116: yuv(3, 1, 2, 0); return true;
    case 124: case 125: yuv(4, 2, 0, 0); return true;
    default: return false;
    }
}

int64_t rowBytes(const PlaneShape& s, int plane, int64_t width) {
    if (s.packed) return width * s.samplesPerPixel * s.bytesPerSample;
    if (plane == 0 || plane == 3) return width * s.bytesPerSample;
    const int64_t chroma = (width + (int64_t{1} << s.shiftX) - 1) >> s.shiftX;
    return chroma * (s.semiPlanar ? 2 : 1) * s.bytesPerSample;
}

int64_t planeRows(const PlaneShape& s, int plane, int64_t height) {
    if (s.packed || plane == 0 || plane == 3) return height;
    return (height + (int64_t{1} << s.shiftY) - 1) >> s.shiftY;
}

// ---------------------------------------------------------------------------
// Choices.

constexpr int32_t kExoticFormats[] = {0,   -1,  100, 127, 200, 201, 202, 203, 204, 300, 301, 302, 303,
                                      312, 315, 319, 321, 322, 400, 401, 403, 405, 406, 407, 501, 507,
                                      601, 603, 605, 606, 607, 999, INT32_MIN, INT32_MAX};
constexpr int32_t kICCFormats[] = {101, 102, 114, 115, 117, 118, 126};

int32_t pickFormat(FuzzedDataProvider& in, bool iccBias) {
    const int kind = in.ConsumeIntegralInRange(0, 15);
    if (iccBias && kind < 10) return in.PickValueInArray(kICCFormats);
    if (kind < 12) return in.ConsumeIntegralInRange(101, 126);
    if (kind < 15) return in.PickValueInArray(kExoticFormats);
    return in.ConsumeIntegral<int32_t>();
}

// Widest plane row of `format` at `width` (host formats; 0 otherwise).
int64_t widestRow(int32_t format, int64_t width) {
    PlaneShape s;
    if (!hostShape(format, &s)) return 0;
    int64_t widest = 0;
    for (int p = 0; p < s.planes; ++p)
        if (rowBytes(s, p, width) > widest) widest = rowBytes(s, p, width);
    return widest;
}

// Mostly small sizes; sometimes 0 or negative; sometimes a width whose rows
// cannot be described by a 32-bit stride for this format, which the library
// must refuse before touching the (necessarily tiny) buffers.
void pickSize(FuzzedDataProvider& in, int32_t format, int* width, int* height) {
    const int kind = in.ConsumeIntegralInRange(0, 19);
    if (kind < 14) {
        *width = in.ConsumeIntegralInRange(1, 8);
        *height = in.ConsumeIntegralInRange(1, 8);
    } else if (kind < 17) {
        *width = in.ConsumeIntegralInRange(1, 64);
        *height = in.ConsumeIntegralInRange(1, 64);
    } else if (kind < 19) {
        static const int kOdd[] = {0, -1, -7, INT_MIN};
        *width = in.ConsumeBool() ? in.PickValueInArray(kOdd) : in.ConsumeIntegralInRange(1, 8);
        *height = in.ConsumeBool() ? in.PickValueInArray(kOdd) : in.ConsumeIntegralInRange(1, 8);
    } else {
        static const int kHuge[] = {INT_MAX, INT_MAX - 1, 1 << 30, (1 << 29) + 1, INT_MAX / 3 + 1};
        const int w = in.PickValueInArray(kHuge);
        *width = widestRow(format, w) > INT32_MAX ? w : 1;
        *height = in.ConsumeIntegralInRange(1, 3);
    }
}

// A host plane row is `row` bytes; returns the caller's stride for it.
// `wholeLastRow`: the caller must give stride x rows bytes.
int pickStride(FuzzedDataProvider& in, int64_t row, int64_t rows, bool wholeLastRow) {
    const int kind = in.ConsumeIntegralInRange(0, 15);
    const int64_t r = row > INT32_MAX ? INT32_MAX : row;
    int64_t stride;
    if (kind < 9) stride = r;                                              // tight
    else if (kind < 12) stride = r + in.ConsumeIntegralInRange(1, 40);    // padded
    else if (kind == 12) stride = r - in.ConsumeIntegralInRange(1, 8);    // short
    else if (kind == 13) stride = 0;
    else if (kind == 14) stride = in.ConsumeBool() ? -r : -in.ConsumeIntegralInRange(1, 64);
    else stride = in.ConsumeIntegral<int32_t>();
    // A far larger stride than the row needs no more memory only when the
    // plane has one row and its padding need not be there; larger buffers
    // than that are not worth the time.
    if (stride > r + 4096 && (rows > 1 || wholeLastRow)) stride = r + stride % 4096;
    if (stride > INT32_MAX) stride = INT32_MAX;
    return static_cast<int>(stride);
}

// Cheap reproducible bytes for source planes: the full range of every sample
// (16-bit words above their declared depth included).
struct Noise {
    uint32_t state;
    uint8_t next() {
        state ^= state << 13;
        state ^= state >> 17;
        state ^= state << 5;
        return static_cast<uint8_t>(state >> 24);
    }
    void fill(uint8_t* p, size_t n) {
        for (size_t i = 0; i < n; ++i) p[i] = next();
    }
};

// ---------------------------------------------------------------------------
// One side of a call: the planes, and the caller's plane and stride arrays,
// each exactly as long as the format needs (so reading a further entry
// faults too).
constexpr int64_t kMaxPlaneBytes = int64_t{1} << 24;

struct Frame {
    GuardedBuffer planes[4];
    std::vector<uint8_t> snapshot[4];
    GuardedBuffer pointerArray, strideArray;
    int entries = 0;
    bool nullArrays = false;

    // `wholeLastRow`: the plane holds stride x rows bytes, the last row's
    // padding included, as KROColorFunctions::transcode asks of its callers;
    // otherwise it ends right after the last row's own bytes.
    void build(FuzzedDataProvider& in, int32_t format, int width, int height, bool wholeLastRow, Noise* noise,
               uint8_t pattern) {
        PlaneShape s;
        const bool host = hostShape(format, &s);
        const bool undescribable = widestRow(format, width) > INT32_MAX;
        entries = host ? s.planes : 4;
        pointerArray.allocate(sizeof(uint8_t*) * entries);
        strideArray.allocate(sizeof(int) * entries);
        auto** pointers = reinterpret_cast<uint8_t**>(pointerArray.data());
        int* strides = reinterpret_cast<int*>(strideArray.data());
        for (int p = 0; p < entries; ++p) {
            const int64_t row = host && width > 0 ? rowBytes(s, p, width) : 16;
            const int64_t rows = !host ? 4 : (height > 0 ? planeRows(s, p, height) : 0);
            const int stride = pickStride(in, row, rows, wholeLastRow);
            // The smallest buffer an honest caller gives for that stride;
            // a stride the library must refuse gets tight rows.
            int64_t bytes = rows == 0 ? 0 : (stride >= row ? int64_t{stride} * (rows - 1) + row : row * rows);
            if (wholeLastRow && stride >= row) bytes = int64_t{stride} * rows;
            // Sizes are small except where some side of the call has rows no
            // stride describes: then the call must be refused, and small
            // buffers stand in for the ones no caller could allocate (the
            // other side of a rotation by 90 degrees has that many rows).
            if (undescribable || bytes > kMaxPlaneBytes) bytes = 64;
            planes[p].allocate(static_cast<size_t>(bytes));
            if (noise) noise->fill(planes[p].data(), planes[p].size());
            else std::memset(planes[p].data(), pattern, planes[p].size());
            snapshot[p].assign(planes[p].data(), planes[p].data() + planes[p].size());
            pointers[p] = in.ConsumeIntegralInRange(0, 63) == 0 ? nullptr : planes[p].data();
            strides[p] = stride;
        }
        nullArrays = in.ConsumeIntegralInRange(0, 63) == 0;
    }

    const uint8_t* const* sourcePlanes() const {
        return nullArrays ? nullptr : reinterpret_cast<const uint8_t* const*>(pointerArray.data());
    }
    uint8_t* const* destinationPlanes() const {
        return nullArrays ? nullptr : reinterpret_cast<uint8_t* const*>(pointerArray.data());
    }
    const int* strides() const { return nullArrays ? nullptr : reinterpret_cast<const int*>(strideArray.data()); }

    void describe(const char* side) const {
        if (!tracing()) return;
        if (nullArrays) return trace("  %s: null arrays", side);
        auto* const* pointers = reinterpret_cast<uint8_t* const*>(pointerArray.data());
        const int* s = strides();
        for (int p = 0; p < entries; ++p)
            trace("  %s plane %d: stride %d, %zu bytes%s", side, p, s[p], planes[p].size(),
                  pointers[p] ? "" : " (null pointer)");
    }

    bool unchanged() const {
        for (int p = 0; p < entries; ++p)
            if (!snapshot[p].empty() &&
                std::memcmp(planes[p].data(), snapshot[p].data(), snapshot[p].size()) != 0)
                return false;
        return true;
    }
};

// Every result is one of the documented codes, the source is never written,
// and a refused call leaves the destination as it was. A conversion that
// fails part-way (a worker thread or an allocation failing) may have written
// some rows.
void checkCall(KROReturn code, const Frame& src, const Frame& dst) {
    if (code < kKROSuccess || code > kKROInvalidICCProfile) fail("result outside the documented codes", code);
    if (!queryKROReturn(code)) fail("no message for a result", code);
    if (!src.unchanged()) fail("source frame written", code);
    if (code != kKROSuccess && code != kKRORunCPUKernelError && !dst.unchanged())
        fail("refused call wrote into the destination", code);
}

KROHWContext pickContext(FuzzedDataProvider& in) {
    // Host memory kinds (scalar, swscale, SIMD) and codes no backend owns.
    static const int32_t kTypes[] = {0, 0, 1, 6, 6, -1, 7, 8, 100, INT32_MIN, INT32_MAX};
    KROHWContext context;
    context.srcType = in.PickValueInArray(kTypes);
    context.dstType = in.PickValueInArray(kTypes);
    trace("setHWContext(srcType %d, dstType %d)", context.srcType, context.dstType);
    return context;
}

int32_t pickColourValue(FuzzedDataProvider& in, int32_t inRange) {
    const int kind = in.ConsumeIntegralInRange(0, 7);
    if (kind < 6) return in.ConsumeIntegralInRange(0, inRange);
    if (kind == 6) return in.ConsumeIntegralInRange(-3, 130);
    return in.ConsumeIntegral<int32_t>();
}

// The profile given to setICCProfile: none, an embedded one (whole, cut
// short, or with a few bytes changed), or bytes straight from the input.
struct ProfileChoice {
    std::vector<uint8_t> bytes;
    GuardedBuffer guarded;  // exactly the bytes handed over
    const uint8_t* pointer = nullptr;
    int size = 0;

    void pick(FuzzedDataProvider& in) {
        const int kind = in.ConsumeIntegralInRange(0, 7);
        const uint8_t* base = nullptr;
        int baseSize = 0;
        if (kind == 1 || kind == 4 || kind == 5) {
            base = KROColorFunctions::getDisplayP3ICCProfile();
            baseSize = KROColorFunctions::getDisplayP3ICCProfileSize();
        } else if (kind == 2 || kind == 6) {
            base = KROColorFunctions::getAdobeRGBICCProfile();
            baseSize = KROColorFunctions::getAdobeRGBICCProfileSize();
        } else if (kind == 3) {
            base = KROColorFunctions::getSRGBICCProfile();
            baseSize = KROColorFunctions::getSRGBICCProfileSize();
        }
        if (kind == 0) {
            pointer = nullptr;
            size = in.ConsumeIntegralInRange(-1, 600);
            return;
        }
        if (kind == 7) {
            bytes = in.ConsumeBytes<uint8_t>(in.ConsumeIntegralInRange<size_t>(0, 4096));
        } else if (base && baseSize > 0) {
            bytes.assign(base, base + baseSize);
            if (kind == 4) bytes.resize(in.ConsumeIntegralInRange<size_t>(0, bytes.size()));
            if (kind == 5 || kind == 6) {
                const int changes = in.ConsumeIntegralInRange(1, 8);
                for (int i = 0; i < changes && !bytes.empty(); ++i)
                    bytes[in.ConsumeIntegralInRange<size_t>(0, bytes.size() - 1)] = in.ConsumeIntegral<uint8_t>();
            }
        } else {
            pointer = base;  // the sRGB accessor: null and 0
            size = baseSize;
            return;
        }
        guarded.allocate(bytes.size());
        if (!bytes.empty()) std::memcpy(guarded.data(), bytes.data(), bytes.size());
        pointer = guarded.data();
        size = static_cast<int>(bytes.size());
    }
};

void traceProfiles(const ProfileChoice profiles[2]) {
    trace("setICCProfile(%s, %d, %s, %d)", profiles[0].pointer ? "bytes" : "null", profiles[0].size,
          profiles[1].pointer ? "bytes" : "null", profiles[1].size);
}

std::string pickMetaValue(FuzzedDataProvider& in) {
    static const char* const kValues[] = {"",     "0",          "-1",        "1",          "100",
                                          "1000", "10000",      "4000",      "2147483647", "2147483648",
                                          "-2147483648", "-2147483649", "99999999999999999999999", "1e4",
                                          " 400", "400 nits",   "abc",       "nan",        "0x10",
                                          "+12"};
    if (in.ConsumeBool()) return in.PickValueInArray(kValues);
    return in.ConsumeRandomLengthString(24);
}

// ---------------------------------------------------------------------------
// The operations.

// One transcode of any of the three front objects on fresh frames.
template <typename Object>
void transcodeOnce(FuzzedDataProvider& in, Noise& noise, Object& object, int32_t srcFormat, int sw, int sh,
                   int32_t dstFormat, int dw, int dh, bool wholeLastRow) {
    Frame src, dst;
    src.build(in, srcFormat, sw, sh, wholeLastRow, &noise, 0);
    dst.build(in, dstFormat, dw, dh, wholeLastRow, nullptr, in.ConsumeIntegral<uint8_t>());
    trace("transcode (%d x %d, %d) -> (%d x %d, %d)", sw, sh, srcFormat, dw, dh, dstFormat);
    src.describe("source");
    dst.describe("destination");
    const KROReturn code = object.transcode(src.sourcePlanes(), src.strides(), dst.destinationPlanes(), dst.strides());
    trace("  -> %d", code);
    checkCall(code, src, dst);
}

// Settings and calls of the crop and rotate objects.
template <typename Object>
void geometryCalls(FuzzedDataProvider& in, Noise& noise, Object& object, int32_t format, int sw, int sh, int dw,
                   int dh) {
    const int calls = in.ConsumeIntegralInRange(1, 2);
    for (int call = 0; call < calls; ++call) {
        if (in.ConsumeBool()) object.setHWContext(pickContext(in));
        if (in.ConsumeBool()) object.setHWSync(in.ConsumeBool());
        transcodeOnce(in, noise, object, format, sw, sh, format, dw, dh, false);
    }
}

void colourSetting(FuzzedDataProvider& in, KROColorFunctions& object, ProfileChoice profiles[2]) {
    switch (in.ConsumeIntegralInRange(0, 9)) {
    case 0:
    case 1: {
        int32_t v[8];
        for (int side = 0; side < 2; ++side) {
            v[4 * side + 0] = pickColourValue(in, 25);
            v[4 * side + 1] = in.ConsumeIntegralInRange(0, 9) == 0 ? 100 : pickColourValue(in, 19);
            v[4 * side + 2] = pickColourValue(in, 15);
            v[4 * side + 3] = pickColourValue(in, 2);
        }
        trace("setColorspaceDetails(%d, %d, %d, %d, %d, %d, %d, %d)", v[0], v[1], v[2], v[3], v[4], v[5], v[6], v[7]);
        const KROReturn code = object.setColorspaceDetails(
            KROColorPrimaries(v[0]), KROColorTransfer(v[1]), KROColorMatrix(v[2]), KROColorRange(v[3]),
            KROColorPrimaries(v[4]), KROColorTransfer(v[5]), KROColorMatrix(v[6]), KROColorRange(v[7]));
        if (code != kKROSuccess && code != kKROColorPrimariesError && code != kKROColorMatrixError &&
            code != kKROColorTransferError)
            fail("setColorspaceDetails gave an undocumented code", code);
        break;
    }
    case 2: object.setHWContext(pickContext(in)); break;
    case 3: object.setHWSync(in.ConsumeBool()); break;
    case 4: {
        const bool keep = in.ConsumeBool();
        trace("setKeepSourceColor(%d)", keep);
        object.setKeepSourceColor(keep);
        break;
    }
    case 5: {
        static const int32_t kTypes[] = {0, 1, 1, 2, -1};
        const int32_t type = in.PickValueInArray(kTypes);
        trace("setType(%d)", type);
        object.setType(KROProfileType(type));
        break;
    }
    case 6:
    case 7:
        profiles[0].pick(in);
        profiles[1].pick(in);
        traceProfiles(profiles);
        object.setICCProfile(profiles[0].pointer, profiles[0].size, profiles[1].pointer, profiles[1].size);
        break;
    case 8: {
        const int kind = in.ConsumeIntegralInRange(0, 9);
        const std::string key = kind < 8 ? "src_max_luminance" : in.ConsumeRandomLengthString(12);
        const std::string value = pickMetaValue(in);
        const char* k = kind == 9 ? nullptr : key.c_str();
        const char* v = kind == 8 && in.ConsumeBool() ? nullptr : value.c_str();
        trace("setMetaData(\"%s\", \"%s\")", k ? k : "(null)", v ? v : "(null)");
        object.setMetaData(k, v);
        break;
    }
    case 9:
        trace("cleanup()");
        object.cleanup();
        break;
    }
}

void runColourFunctions(FuzzedDataProvider& in, Noise& noise, bool iccBias) {
    const int32_t srcFormat = pickFormat(in, iccBias);
    const int32_t dstFormat = pickFormat(in, iccBias);
    int sw, sh, dw, dh;
    pickSize(in, srcFormat, &sw, &sh);
    if (in.ConsumeBool()) {
        // The same size, unless that size is one only the source's rows
        // cannot describe.
        dw = widestRow(dstFormat, sw) > INT32_MAX || sw <= 64 ? sw : 1;
        dh = sh;
    } else {
        pickSize(in, dstFormat, &dw, &dh);
    }
    std::unique_ptr<KROColorFunctions> object;
    if (in.ConsumeBool()) {
        trace("KROColorFunctions::create(%d, %d, %d, %d, %d, %d)", sw, sh, srcFormat, dw, dh, dstFormat);
        object.reset(KROColorFunctions::create(sw, sh, KROPixelFormat(srcFormat), dw, dh, KROPixelFormat(dstFormat)));
    } else {
        trace("KROColorFunctions::create(%d, %d)", srcFormat, dstFormat);
        object.reset(KROColorFunctions::create(KROPixelFormat(srcFormat), KROPixelFormat(dstFormat)));
        if (object && in.ConsumeBool()) {
            trace("setSrcDimensions(%d, %d)", sw, sh);
            object->setSrcDimensions(sw, sh);
        }
        if (object && in.ConsumeBool()) {
            trace("setDstDimensions(%d, %d)", dw, dh);
            object->setDstDimensions(dw, dh);
        }
    }
    if (!object) fail("create returned null", 0);
    ProfileChoice profiles[2];
    if (iccBias) {
        object->setType(kKROProfileTypeICC);
        profiles[0].pick(in);
        profiles[1].pick(in);
        trace("setType(1)");
        traceProfiles(profiles);
        object->setICCProfile(profiles[0].pointer, profiles[0].size, profiles[1].pointer, profiles[1].size);
    }

    const int calls = in.ConsumeIntegralInRange(1, 3);
    for (int call = 0; call < calls && in.remaining_bytes() > 0; ++call) {
        const int settings = in.ConsumeIntegralInRange(0, 4);
        for (int i = 0; i < settings; ++i) colourSetting(in, *object, profiles);
        if (call > 0 && in.ConsumeIntegralInRange(0, 3) == 0) {
            // New sizes keep the convertor built for the old ones.
            pickSize(in, srcFormat, &sw, &sh);
            pickSize(in, dstFormat, &dw, &dh);
            trace("setSrcDimensions(%d, %d); setDstDimensions(%d, %d)", sw, sh, dw, dh);
            object->setSrcDimensions(sw, sh);
            object->setDstDimensions(dw, dh);
        }
        if (call > 0 && in.ConsumeIntegralInRange(0, 7) == 0) {
            std::unique_ptr<KROColorFunctions> copy(new KROColorFunctions(*object));
            const bool assign = in.ConsumeBool();
            trace(assign ? "object = copy of object" : "object = new copy of object");
            if (assign) *object = *copy;
            else object = std::move(copy);
        }
        transcodeOnce(in, noise, *object, srcFormat, object->getSrcW(), object->getSrcH(), dstFormat,
                      object->getDstW(), object->getDstH(), true);
    }
}

void runCrop(FuzzedDataProvider& in, Noise& noise) {
    const int32_t format = pickFormat(in, false);
    int sw, sh;
    pickSize(in, format, &sw, &sh);
    const int limitW = sw > 0 && sw < 64 ? sw : 8, limitH = sh > 0 && sh < 64 ? sh : 8;
    const int x = in.ConsumeIntegralInRange(-1, limitW), y = in.ConsumeIntegralInRange(-1, limitH);
    const int w = in.ConsumeIntegralInRange(-1, limitW + 1), h = in.ConsumeIntegralInRange(-1, limitH + 1);
    trace("KROCropFunctions::create(%d, %d, %d, %d, %d, %d, %d)", sw, sh, format, x, y, w, h);
    std::unique_ptr<KROCropFunctions> crop(KROCropFunctions::create(sw, sh, KROPixelFormat(format), x, y, w, h));
    if (!crop) return;
    int cx = 0, cy = 0, cw = 0, ch = 0;
    if (crop->getcropRect(&cx, &cy, &cw, &ch) != kKROSuccess) fail("getcropRect failed", 0);
    geometryCalls(in, noise, *crop, format, sw, sh, cw, ch);
}

void runRotate(FuzzedDataProvider& in, Noise& noise) {
    const int32_t format = pickFormat(in, false);
    int sw, sh;
    pickSize(in, format, &sw, &sh);
    const int orientation = in.ConsumeIntegralInRange(0, 15) == 0 ? in.ConsumeIntegral<int>() : in.ConsumeIntegralInRange(0, 9);
    trace("KRORotateFunctions::create(%d, %d, %d, %d)", sw, sh, format, orientation);
    std::unique_ptr<KRORotateFunctions> rotate(KRORotateFunctions::create(sw, sh, KROPixelFormat(format), orientation));
    if (!rotate) return;
    int dw = 0, dh = 0;
    if (rotate->getDstWH(&dw, &dh) != kKROSuccess) fail("getDstWH failed", 0);
    geometryCalls(in, noise, *rotate, format, sw, sh, dw, dh);
}

// The direct byte-format converters with the bytes per pixel they read and
// write.
struct DirectConverter {
    void (*fn)(const uint8_t*, unsigned int, uint8_t*);
    unsigned in, out;
};
const DirectConverter kDirect[] = {
    {KROImageConvert::convertAI88ToA8, 2, 1},         {KROImageConvert::convertAI88ToI8, 2, 1},
    {KROImageConvert::convertAI88ToRGB888, 2, 3},     {KROImageConvert::convertAI88ToRGBA8888, 2, 4},
    {KROImageConvert::convertI8ToAI88, 1, 2},         {KROImageConvert::convertI8ToRGB888, 1, 3},
    {KROImageConvert::convertI8ToRGBA8888, 1, 4},     {KROImageConvert::convertRGB888ToA8, 3, 1},
    {KROImageConvert::convertRGB888ToI8, 3, 1},       {KROImageConvert::convertRGB888ToAI88, 3, 2},
    {KROImageConvert::convertRGB888ToRGBA8888, 3, 4}, {KROImageConvert::convertRGBA8888ToA8, 4, 1},
    {KROImageConvert::convertRGBA8888ToI8, 4, 1},     {KROImageConvert::convertRGBA8888ToAI88, 4, 2},
    {KROImageConvert::convertRGBA8888ToRGB888, 4, 3}, {KROImageConvert::convertBGRA8888ToAI88, 4, 2},
    {KROImageConvert::convertBGRA8888ToI8, 4, 1},
};

using Dispatcher = KROReturn (*)(const uint8_t*, unsigned int, KROPixelFormat, uint8_t**, unsigned int*);
struct DispatcherRow {
    Dispatcher fn;
    unsigned in;
};
const DispatcherRow kDispatchers[] = {
    {KROImageConvert::convertRGB888ToFormat, 3},
    {KROImageConvert::convertRGBA8888ToFormat, 4},
    {KROImageConvert::convertI8ToFormat, 1},
    {KROImageConvert::convertAI88ToFormat, 2},
};

unsigned bytesPerPixel(int32_t format) {
    switch (format) {
    case 101: return 3;
    case 102: case 120: return 4;
    case 121: case 122: return 1;
    case 123: return 2;
    default: return 0;
    }
}

// A buffer returned through the out-pointers must hold every byte it claims
// (AddressSanitizer checks the reads) and be released with free.
void checkReturnedBuffer(KROReturn code, uint8_t* out, unsigned size, uint8_t* sentinel, unsigned minimum) {
    if (code == kKROSuccess) {
        if (out == sentinel) fail("success without a buffer", code);
        if (size < minimum) fail("returned buffer smaller than its pixels", code);
        unsigned sum = 0;
        for (unsigned i = 0; i < size; ++i) sum += out[i];
        volatile unsigned sink = sum;
        (void)sink;
        std::free(out);
        return;
    }
    if (out != sentinel && out != nullptr) fail("refused call returned a buffer", code);
}

void runImageConvert(FuzzedDataProvider& in, Noise& noise) {
    const unsigned n = in.ConsumeIntegralInRange<unsigned>(0, in.ConsumeBool() ? 16 : 300);
    GuardedBuffer src(n);
    noise.fill(src.data(), n);
    std::vector<uint8_t> before(src.data(), src.data() + n);
    const int kind = in.ConsumeIntegralInRange(0, 22);
    const uint8_t* source = in.ConsumeIntegralInRange(0, 31) == 0 ? nullptr : src.data();
    static const int32_t kTargets[] = {101, 102, 120, 121, 122, 123, 0, 103, 126, -1, 1000};
    if (kind < 17) {
        const DirectConverter& c = kDirect[kind];
        GuardedBuffer dst(n / c.in * c.out);
        trace("direct converter %d, %u bytes", kind, n);
        c.fn(src.data(), n, dst.data());
    } else if (kind == 17) {
        const int width = in.ConsumeIntegralInRange(-4, 40);
        const int stride = in.ConsumeIntegralInRange(0, 7) == 0 ? in.ConsumeIntegral<int>() : in.ConsumeIntegralInRange(-8, 200);
        const bool rows = source && n > 0 && width > 0 && stride > 0 && int64_t{stride} >= int64_t{width} * 4;
        GuardedBuffer dst(rows ? size_t(n / unsigned(stride)) * unsigned(width) : 0);
        trace("convertBGRA8888ToI8(%s, %u, %d, %d)", source ? "bytes" : "null", n, width, stride);
        KROImageConvert::convertBGRA8888ToI8(source, n, width, stride, dst.data());
    } else if (kind < 22) {
        const DispatcherRow& d = kDispatchers[kind - 18];
        const int32_t target = in.ConsumeIntegralInRange(0, 7) == 0 ? in.ConsumeIntegral<int32_t>() : in.PickValueInArray(kTargets);
        uint8_t sentinel = 0;
        uint8_t* out = &sentinel;
        unsigned size = 12345;
        trace("dispatcher %d(%s, %u, %d)", kind - 18, source ? "bytes" : "null", n, target);
        const KROReturn code = d.fn(source, n, KROPixelFormat(target), &out, &size);
        if (code != kKROSuccess && code != kKROUnknownError && code != kKROInputParamError)
            fail("dispatcher gave an undocumented code", code);
        checkReturnedBuffer(code, out, size, &sentinel, n / d.in * bytesPerPixel(target));
    } else {
        const int32_t from = in.ConsumeIntegralInRange(0, 3) == 0 ? in.ConsumeIntegral<int32_t>() : in.ConsumeIntegralInRange(100, 127);
        const int32_t to = in.ConsumeIntegralInRange(0, 3) == 0 ? in.ConsumeIntegral<int32_t>() : in.PickValueInArray(kTargets);
        uint8_t sentinel = 0;
        uint8_t* out = &sentinel;
        unsigned size = 12345;
        trace("transcodeFormat(%d, %s, %u, %d)", from, source ? "bytes" : "null", n, to);
        const KROReturn code = KROImageConvert::transcodeFormat(KROPixelFormat(from), source, n, KROPixelFormat(to), &out, &size);
        if (code != kKROSuccess && code != kKROUnknownError && code != kKROInputParamError)
            fail("transcodeFormat gave an undocumented code", code);
        const unsigned fromBpp = bytesPerPixel(from);
        checkReturnedBuffer(code, out, size, &sentinel, from == to ? n : (fromBpp ? n / fromBpp * bytesPerPixel(to) : 0));
    }
    if (n && std::memcmp(src.data(), before.data(), n) != 0) fail("byte-format source written", 0);
}

void runLab(FuzzedDataProvider& in) {
    static const int32_t kPrimaries[] = {1, 9, 12, 0, 2, 5, 23, 24, 25, -1};
    static const int32_t kTransfers[] = {1, 13, 16, 18, 0, 8, 100, 101, -1};
    const int32_t primaries = in.ConsumeBool() ? in.PickValueInArray(kPrimaries) : in.ConsumeIntegral<int32_t>();
    const int32_t transfer = in.ConsumeBool() ? in.PickValueInArray(kTransfers) : in.ConsumeIntegral<int32_t>();
    float rgb[3];
    for (float& v : rgb) {
        if (in.ConsumeBool()) {
            v = in.ConsumeFloatingPointInRange(-0.5f, 1.5f);
        } else {
            const uint32_t bits = in.ConsumeIntegral<uint32_t>();  // NaN and infinities included
            std::memcpy(&v, &bits, sizeof v);
        }
    }
    float L = 0, a = 0, b = 0;
    trace("convertToLab(%d, %d, %g, %g, %g)", primaries, transfer, rgb[0], rgb[1], rgb[2]);
    const KROReturn code = convertToLab(KROColorPrimaries(primaries), KROColorTransfer(transfer), rgb[0], rgb[1],
                                        rgb[2], &L, &a, &b);
    if (code != kKROSuccess) fail("convertToLab did not return success", code);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    FuzzedDataProvider in(data, size);
    Noise noise{in.ConsumeIntegral<uint32_t>() | 1u};
    if (!queryKROReturn(KROReturn(in.ConsumeIntegralInRange(0, 27)))) fail("no message for a code", 0);
    queryKROReturn(KROReturn(in.ConsumeIntegral<int32_t>()));  // any text or null; no stray read
    switch (in.ConsumeIntegralInRange(0, 11)) {
    case 0: case 1: case 2: case 3: runColourFunctions(in, noise, false); break;
    case 4: case 5: runColourFunctions(in, noise, true); break;
    case 6: case 7: runCrop(in, noise); break;
    case 8: case 9: runRotate(in, noise); break;
    case 10: runImageConvert(in, noise); break;
    case 11: runLab(in); break;
    }
    return 0;
}
