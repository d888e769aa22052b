// libFuzzer target over the public interface: every byte of the input is a
// caller's choice (formats, sizes, strides, hardware types, colour values,
// metadata, ICC profiles, crop rectangles, orientations, byte-format
// converters and their byte counts, Lab inputs). Frames sit on guarded pages
// (support/guarded_block.h), each plane exactly as large as the call's contract
// asks, so any access past a plane faults. Beyond "no crash", each call must
// return a documented code with a message, never change its source, and
// leave the destination untouched when it refuses.
// The order in which bytes are read is part of the seeds' meaning (see
// README.md): keep it when editing.
#include <fuzzer/FuzzedDataProvider.h>

#include <algorithm>
#include <climits>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "KROColorFunctions.h"
#include "support/guarded_block.h"

using namespace KROCOLOR;
using GuardedBuffer = KROCOLOR::test::GuardedBlock;

namespace {

[[noreturn]] void fail(const char* what, int code) {
    std::fprintf(stderr, "api_fuzzer: %s (code %d)\n", what, code);
    std::abort();
}

// With KRO_FUZZ_TRACE set every call is written to stderr, so a finding
// replayed alone reads as the caller's code.
__attribute__((format(printf, 1, 2))) void trace(const char* format, ...) {
    static const bool on = std::getenv("KRO_FUZZ_TRACE") != nullptr;
    if (!on) return;
    va_list args;
    va_start(args, format);
    std::vfprintf(stderr, format, args);
    va_end(args);
    std::fputc('\n', stderr);
}

// Plane geometry of the host formats, written down from the public format
// list rather than taken from the library, so a wrong table there shows up
// here. One plane: packed, `samples` per pixel; two: semi-planar.
struct Shape {
    int32_t format;
    int planes, bytes, samples, shiftX, shiftY;
};
constexpr Shape kShapes[] = {
    {101, 1, 1, 3, 0, 0}, {119, 1, 1, 3, 0, 0}, {102, 1, 1, 4, 0, 0}, {120, 1, 1, 4, 0, 0}, {126, 1, 1, 4, 0, 0},
    {114, 1, 2, 4, 0, 0}, {115, 1, 2, 4, 0, 0}, {117, 1, 2, 3, 0, 0}, {118, 1, 2, 3, 0, 0}, {103, 2, 1, 1, 1, 1},
    {104, 3, 1, 1, 1, 1}, {105, 3, 1, 1, 1, 0}, {106, 3, 1, 1, 0, 0}, {107, 3, 2, 1, 1, 1}, {108, 2, 2, 1, 1, 1},
    {109, 2, 2, 1, 1, 1}, {110, 3, 2, 1, 1, 0}, {111, 3, 2, 1, 0, 0}, {112, 3, 2, 1, 0, 0}, {113, 3, 2, 1, 0, 0},
    {116, 3, 1, 1, 2, 0}, {124, 4, 2, 1, 0, 0}, {125, 4, 2, 1, 0, 0},
};

const Shape* hostShape(int32_t format) {
    for (const Shape& s : kShapes)
        if (s.format == format) return &s;
    return nullptr;
}

bool lumaLike(const Shape& s, int plane) { return s.planes == 1 || plane == 0 || plane == 3; }

int64_t rowBytes(const Shape& s, int plane, int64_t width) {
    if (lumaLike(s, plane)) return width * s.samples * s.bytes;
    return ((width + (int64_t{1} << s.shiftX) - 1) >> s.shiftX) * (s.planes == 2 ? 2 : 1) * s.bytes;
}

int64_t planeRows(const Shape& s, int plane, int64_t height) {
    return lumaLike(s, plane) ? height : (height + (int64_t{1} << s.shiftY) - 1) >> s.shiftY;
}

// Widest plane row of `format` at `width` (host formats; 0 otherwise).
int64_t widestRow(int32_t format, int64_t width) {
    const Shape* s = hostShape(format);
    int64_t widest = 0;
    for (int p = 0; s && p < s->planes; ++p) widest = std::max(widest, rowBytes(*s, p, width));
    return widest;
}

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

// Mostly small sizes; sometimes 0 or negative; sometimes a width whose rows
// no 32-bit stride describes for this format, which the library must refuse
// before touching the (necessarily tiny) buffers.
void pickSize(FuzzedDataProvider& in, int32_t format, int* width, int* height) {
    const int kind = in.ConsumeIntegralInRange(0, 19);
    static const int kOdd[] = {0, -1, -7, INT_MIN};
    static const int kHuge[] = {INT_MAX, INT_MAX - 1, 1 << 30, (1 << 29) + 1, INT_MAX / 3 + 1};
    if (kind < 17) {
        const int most = kind < 14 ? 8 : 64;
        *width = in.ConsumeIntegralInRange(1, most);
        *height = in.ConsumeIntegralInRange(1, most);
    } else if (kind < 19) {
        *width = in.ConsumeBool() ? in.PickValueInArray(kOdd) : in.ConsumeIntegralInRange(1, 8);
        *height = in.ConsumeBool() ? in.PickValueInArray(kOdd) : in.ConsumeIntegralInRange(1, 8);
    } else {
        const int w = in.PickValueInArray(kHuge);
        *width = widestRow(format, w) > INT32_MAX ? w : 1;
        *height = in.ConsumeIntegralInRange(1, 3);
    }
}

// The caller's stride for a plane row of `row` bytes: tight, padded, short,
// zero, negative or anything. `wholeLastRow`: the plane holds stride x rows.
int pickStride(FuzzedDataProvider& in, int64_t row, int64_t rows, bool wholeLastRow) {
    const int kind = in.ConsumeIntegralInRange(0, 15);
    const int64_t r = std::min<int64_t>(row, INT32_MAX);
    int64_t stride;
    if (kind < 9) stride = r;
    else if (kind < 12) stride = r + in.ConsumeIntegralInRange(1, 40);
    else if (kind == 12) stride = r - in.ConsumeIntegralInRange(1, 8);
    else if (kind == 13) stride = 0;
    else if (kind == 14) stride = in.ConsumeBool() ? -r : -in.ConsumeIntegralInRange(1, 64);
    else stride = in.ConsumeIntegral<int32_t>();
    // A huge stride costs no memory only on a single row whose padding need
    // not be there; elsewhere keep the buffers small.
    if (stride > r + 4096 && (rows > 1 || wholeLastRow)) stride = r + stride % 4096;
    return static_cast<int>(std::min<int64_t>(stride, INT32_MAX));
}

// Cheap reproducible source bytes over the full range of every sample
// (16-bit words above their declared depth included).
struct Noise {
    uint32_t state;
    void fill(uint8_t* p, size_t n) {
        for (size_t i = 0; i < n; ++i) {
            state ^= state << 13;
            state ^= state >> 17;
            state ^= state << 5;
            p[i] = static_cast<uint8_t>(state >> 24);
        }
    }
};

// One side of a call: the planes, and plane and stride arrays exactly as
// long as the format needs (so reading a further entry faults too).
struct Frame {
    GuardedBuffer planes[4], pointerArray, strideArray;
    std::vector<uint8_t> snapshot[4];
    int entries = 0;
    bool nullArrays = false;

    // `wholeLastRow`: each plane holds stride x rows bytes, as
    // KROColorFunctions::transcode asks; otherwise it ends after the last
    // row's own bytes (crop and rotate).
    void build(FuzzedDataProvider& in, int32_t format, int width, int height, bool wholeLastRow, Noise* noise,
               uint8_t pattern) {
        const Shape* s = hostShape(format);
        const bool undescribable = widestRow(format, width) > INT32_MAX;
        entries = s ? s->planes : 4;
        pointerArray.allocate(sizeof(uint8_t*) * entries);
        strideArray.allocate(sizeof(int) * entries);
        auto** pointers = reinterpret_cast<uint8_t**>(pointerArray.data());
        int* strides = reinterpret_cast<int*>(strideArray.data());
        for (int p = 0; p < entries; ++p) {
            const int64_t row = s && width > 0 ? rowBytes(*s, p, width) : 16;
            const int64_t rows = !s ? 4 : (height > 0 ? planeRows(*s, p, height) : 0);
            const int stride = pickStride(in, row, rows, wholeLastRow);
            // The smallest buffer an honest caller gives; a stride the library
            // must refuse gets tight rows.
            int64_t bytes = rows == 0 ? 0 : (stride >= row ? int64_t{stride} * (rows - 1) + row : row * rows);
            if (wholeLastRow && stride >= row) bytes = int64_t{stride} * rows;
            // Where no stride describes some side's rows the call must be
            // refused: small buffers stand in for ones no caller could have.
            if (undescribable || bytes > (int64_t{1} << 24)) bytes = 64;
            planes[p].allocate(static_cast<size_t>(bytes));
            if (noise) noise->fill(planes[p].data(), planes[p].size());
            else std::memset(planes[p].data(), pattern, planes[p].size());
            snapshot[p].assign(planes[p].data(), planes[p].data() + planes[p].size());
            pointers[p] = in.ConsumeIntegralInRange(0, 63) == 0 ? nullptr : planes[p].data();
            strides[p] = stride;
            trace("  %s plane %d: stride %d, %zu bytes%s", noise ? "source" : "destination", p, stride, planes[p].size(), pointers[p] ? "" : " (null pointer)");
        }
        nullArrays = in.ConsumeIntegralInRange(0, 63) == 0;
        if (nullArrays) trace("  %s: null arrays", noise ? "source" : "destination");
    }

    uint8_t* const* pointers() const {
        return nullArrays ? nullptr : reinterpret_cast<uint8_t* const*>(pointerArray.data());
    }
    const int* strides() const { return nullArrays ? nullptr : reinterpret_cast<const int*>(strideArray.data()); }
    bool unchanged() const {
        for (int p = 0; p < entries; ++p)
            if (!snapshot[p].empty() && std::memcmp(planes[p].data(), snapshot[p].data(), snapshot[p].size()))
                return false;
        return true;
    }
};

// One transcode of any front object on fresh frames. Every result is a
// documented code with a message, the source is never written, and a
// refused call leaves the destination as it was (a conversion failing
// part-way, a worker or an allocation, may have written rows).
template <typename Object>
void transcodeOnce(FuzzedDataProvider& in, Noise& noise, Object& object, int32_t srcFormat, int sw, int sh,
                   int32_t dstFormat, int dw, int dh, bool wholeLastRow) {
    trace("transcode (%d x %d, %d) -> (%d x %d, %d)", sw, sh, srcFormat, dw, dh, dstFormat);
    Frame src, dst;
    src.build(in, srcFormat, sw, sh, wholeLastRow, &noise, 0);
    dst.build(in, dstFormat, dw, dh, wholeLastRow, nullptr, in.ConsumeIntegral<uint8_t>());
    const KROReturn code = object.transcode(src.pointers(), src.strides(), dst.pointers(), dst.strides());
    trace("  -> %d", code);
    if (code < kKROSuccess || code > kKROInvalidICCProfile) fail("result outside the documented codes", code);
    if (!queryKROReturn(code)) fail("no message for a result", code);
    if (!src.unchanged()) fail("source frame written", code);
    if (code != kKROSuccess && code != kKRORunCPUKernelError && !dst.unchanged())
        fail("refused call wrote into the destination", code);
}

// Scalar, swscale and SIMD host types, and codes no backend owns.
template <typename Object>
void setContext(FuzzedDataProvider& in, Object& object) {
    static const int32_t kTypes[] = {0, 0, 1, 6, 6, -1, 7, 8, 100, INT32_MIN, INT32_MAX};
    KROHWContext context;
    context.srcType = in.PickValueInArray(kTypes);
    context.dstType = in.PickValueInArray(kTypes);
    trace("setHWContext(srcType %d, dstType %d)", context.srcType, context.dstType);
    object.setHWContext(context);
}

int32_t pickColourValue(FuzzedDataProvider& in, int32_t inRange) {
    const int kind = in.ConsumeIntegralInRange(0, 7);
    if (kind < 6) return in.ConsumeIntegralInRange(0, inRange);
    return kind == 6 ? in.ConsumeIntegralInRange(-3, 130) : in.ConsumeIntegral<int32_t>();
}

// A profile for setICCProfile: none, an embedded one (whole, cut short or
// with a few bytes changed), or bytes straight from the input, handed over
// on a guarded buffer of exactly their length.
struct Profile {
    GuardedBuffer guarded;
    const uint8_t* pointer = nullptr;
    int size = 0;

    void pick(FuzzedDataProvider& in) {
        const int kind = in.ConsumeIntegralInRange(0, 7);
        pointer = nullptr;
        if (kind == 0) {
            size = in.ConsumeIntegralInRange(-1, 600);
            return;
        }
        std::vector<uint8_t> bytes;
        if (kind == 7) {
            bytes = in.ConsumeBytes<uint8_t>(in.ConsumeIntegralInRange<size_t>(0, 4096));
        } else {
            using F = KROColorFunctions;  // 1, 4, 5: Display P3; 2, 6: Adobe RGB; 3: sRGB
            const int which = kind == 3 ? 2 : kind == 2 || kind == 6 ? 1 : 0;
            const uint8_t* base = (which == 2 ? F::getSRGBICCProfile : which ? F::getAdobeRGBICCProfile : F::getDisplayP3ICCProfile)();
            size = (which == 2 ? F::getSRGBICCProfileSize : which ? F::getAdobeRGBICCProfileSize : F::getDisplayP3ICCProfileSize)();
            if (!base || size <= 0) {
                pointer = base;  // the sRGB accessor gives null and 0
                return;
            }
            bytes.assign(base, base + size);
            if (kind == 4) bytes.resize(in.ConsumeIntegralInRange<size_t>(0, bytes.size()));
            if (kind == 5 || kind == 6) {
                const int changes = in.ConsumeIntegralInRange(1, 8);
                for (int i = 0; i < changes && !bytes.empty(); ++i)
                    bytes[in.ConsumeIntegralInRange<size_t>(0, bytes.size() - 1)] = in.ConsumeIntegral<uint8_t>();
            }
        }
        guarded.allocate(bytes.size());
        if (!bytes.empty()) std::memcpy(guarded.data(), bytes.data(), bytes.size());
        pointer = guarded.data();
        size = static_cast<int>(bytes.size());
    }
};

void setProfiles(FuzzedDataProvider& in, KROColorFunctions& object, Profile profiles[2]) {
    profiles[0].pick(in);
    profiles[1].pick(in);
    trace("setICCProfile(%s, %d, %s, %d)", profiles[0].pointer ? "bytes" : "null", profiles[0].size,
          profiles[1].pointer ? "bytes" : "null", profiles[1].size);
    object.setICCProfile(profiles[0].pointer, profiles[0].size, profiles[1].pointer, profiles[1].size);
}

std::string pickMetaValue(FuzzedDataProvider& in) {
    static const char* const kValues[] = {"",   "0",   "-1",         "1",          "100",         "1000",
                                          "10000", "4000", "2147483647", "2147483648", "-2147483648", "-2147483649",
                                          "99999999999999999999999",     "1e4",        " 400",        "400 nits",
                                          "abc", "nan", "0x10",         "+12"};
    return in.ConsumeBool() ? in.PickValueInArray(kValues) : in.ConsumeRandomLengthString(24);
}

void colourSetting(FuzzedDataProvider& in, KROColorFunctions& object, Profile profiles[2]) {
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
    case 2: setContext(in, object); break;
    case 3: object.setHWSync(in.ConsumeBool()); break;
    case 4: {
        const bool keep = in.ConsumeBool();
        trace("setKeepSourceColor(%d)", keep);
        object.setKeepSourceColor(keep);
        break;
    }
    case 5: {
        const int32_t type = in.PickValueInArray({0, 1, 1, 2, -1});
        trace("setType(%d)", type);
        object.setType(KROProfileType(type));
        break;
    }
    case 6:
    case 7: setProfiles(in, object, profiles); break;
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
    case 9: trace("cleanup()"), object.cleanup(); break;
    }
}

void runColourFunctions(FuzzedDataProvider& in, Noise& noise, bool iccBias) {
    const int32_t srcFormat = pickFormat(in, iccBias), dstFormat = pickFormat(in, iccBias);
    int sw, sh, dw, dh;
    pickSize(in, srcFormat, &sw, &sh);
    if (in.ConsumeBool()) {  // the same size, unless only the source's rows cannot describe it
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
    Profile profiles[2];
    if (iccBias) {
        trace("setType(1)");
        object->setType(kKROProfileTypeICC);
        setProfiles(in, *object, profiles);
    }
    const int calls = in.ConsumeIntegralInRange(1, 3);
    for (int call = 0; call < calls && in.remaining_bytes() > 0; ++call) {
        const int settings = in.ConsumeIntegralInRange(0, 4);
        for (int i = 0; i < settings; ++i) colourSetting(in, *object, profiles);
        if (call > 0 && in.ConsumeIntegralInRange(0, 3) == 0) {  // the convertor built for the old sizes stays
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

// A crop (rectangle from the input) or rotate (orientation) object, then one
// or two transcodes.
void runGeometry(FuzzedDataProvider& in, Noise& noise, bool crop) {
    const int32_t format = pickFormat(in, false);
    int sw, sh, dw = 0, dh = 0;
    pickSize(in, format, &sw, &sh);
    std::unique_ptr<KROCropFunctions> cropper;
    std::unique_ptr<KRORotateFunctions> rotator;
    if (crop) {
        const int limitW = sw > 0 && sw < 64 ? sw : 8, limitH = sh > 0 && sh < 64 ? sh : 8;
        const int x = in.ConsumeIntegralInRange(-1, limitW), y = in.ConsumeIntegralInRange(-1, limitH);
        const int w = in.ConsumeIntegralInRange(-1, limitW + 1), h = in.ConsumeIntegralInRange(-1, limitH + 1);
        trace("KROCropFunctions::create(%d, %d, %d, %d, %d, %d, %d)", sw, sh, format, x, y, w, h);
        cropper.reset(KROCropFunctions::create(sw, sh, KROPixelFormat(format), x, y, w, h));
        int cx, cy;
        if (cropper && cropper->getcropRect(&cx, &cy, &dw, &dh) != kKROSuccess) fail("getcropRect failed", 0);
    } else {
        const int orientation =
            in.ConsumeIntegralInRange(0, 15) == 0 ? in.ConsumeIntegral<int>() : in.ConsumeIntegralInRange(0, 9);
        trace("KRORotateFunctions::create(%d, %d, %d, %d)", sw, sh, format, orientation);
        rotator.reset(KRORotateFunctions::create(sw, sh, KROPixelFormat(format), orientation));
        if (rotator && rotator->getDstWH(&dw, &dh) != kKROSuccess) fail("getDstWH failed", 0);
    }
    if (!cropper && !rotator) return;
    const int calls = in.ConsumeIntegralInRange(1, 2);
    for (int call = 0; call < calls; ++call) {
        const bool context = in.ConsumeBool();
        if (context && cropper) setContext(in, *cropper);
        if (context && rotator) setContext(in, *rotator);
        if (in.ConsumeBool()) {
            const bool sync = in.ConsumeBool();
            if (cropper) cropper->setHWSync(sync);
            else rotator->setHWSync(sync);
        }
        if (cropper) transcodeOnce(in, noise, *cropper, format, sw, sh, format, dw, dh, false);
        else transcodeOnce(in, noise, *rotator, format, sw, sh, format, dw, dh, false);
    }
}

// The direct byte-format converters with the bytes per pixel they read and
// write, and the dispatchers that return a malloc'ed buffer.
struct Direct {
    void (*fn)(const uint8_t*, unsigned int, uint8_t*);
    unsigned in, out;
};
using I = KROImageConvert;
const Direct kDirect[] = {
    {I::convertAI88ToA8, 2, 1},         {I::convertAI88ToI8, 2, 1},         {I::convertAI88ToRGB888, 2, 3},
    {I::convertAI88ToRGBA8888, 2, 4},   {I::convertI8ToAI88, 1, 2},         {I::convertI8ToRGB888, 1, 3},
    {I::convertI8ToRGBA8888, 1, 4},     {I::convertRGB888ToA8, 3, 1},       {I::convertRGB888ToI8, 3, 1},
    {I::convertRGB888ToAI88, 3, 2},     {I::convertRGB888ToRGBA8888, 3, 4}, {I::convertRGBA8888ToA8, 4, 1},
    {I::convertRGBA8888ToI8, 4, 1},     {I::convertRGBA8888ToAI88, 4, 2},   {I::convertRGBA8888ToRGB888, 4, 3},
    {I::convertBGRA8888ToAI88, 4, 2},   {I::convertBGRA8888ToI8, 4, 1},
};
const struct {
    KROReturn (*fn)(const uint8_t*, unsigned int, KROPixelFormat, uint8_t**, unsigned int*);
    unsigned in;
} kDispatchers[] = {{I::convertRGB888ToFormat, 3}, {I::convertRGBA8888ToFormat, 4}, {I::convertI8ToFormat, 1},
                    {I::convertAI88ToFormat, 2}};

unsigned bytesPerPixel(int32_t f) {
    return f == 101 ? 3 : f == 102 || f == 120 ? 4 : f == 121 || f == 122 ? 1 : f == 123 ? 2 : 0;
}

void runImageConvert(FuzzedDataProvider& in, Noise& noise) {
    const unsigned n = in.ConsumeIntegralInRange<unsigned>(0, in.ConsumeBool() ? 16 : 300);
    GuardedBuffer src(n);
    noise.fill(src.data(), n);
    const std::vector<uint8_t> before(src.data(), src.data() + n);
    const int kind = in.ConsumeIntegralInRange(0, 22);
    const uint8_t* source = in.ConsumeIntegralInRange(0, 31) == 0 ? nullptr : src.data();
    static const int32_t kTargets[] = {101, 102, 120, 121, 122, 123, 0, 103, 126, -1, 1000};
    if (kind < 17) {
        GuardedBuffer dst(n / kDirect[kind].in * kDirect[kind].out);
        trace("direct converter %d, %u bytes", kind, n);
        kDirect[kind].fn(src.data(), n, dst.data());
    } else if (kind == 17) {
        const int width = in.ConsumeIntegralInRange(-4, 40);
        const int stride =
            in.ConsumeIntegralInRange(0, 7) == 0 ? in.ConsumeIntegral<int>() : in.ConsumeIntegralInRange(-8, 200);
        const bool rows = source && n > 0 && width > 0 && stride > 0 && int64_t{stride} >= int64_t{width} * 4;
        GuardedBuffer dst(rows ? size_t(n / unsigned(stride)) * unsigned(width) : 0);
        trace("convertBGRA8888ToI8(%s, %u, %d, %d)", source ? "bytes" : "null", n, width, stride);
        I::convertBGRA8888ToI8(source, n, width, stride, dst.data());
    } else {
        // A dispatcher or transcodeFormat: a buffer returned through the
        // out-pointers holds every byte it claims (AddressSanitizer checks
        // the reads) and is released with free; a refusal returns none.
        uint8_t sentinel = 0;
        uint8_t* out = &sentinel;
        unsigned size = 12345, minimum = 0;
        KROReturn code;
        if (kind < 22) {
            const int32_t to =
                in.ConsumeIntegralInRange(0, 7) == 0 ? in.ConsumeIntegral<int32_t>() : in.PickValueInArray(kTargets);
            trace("dispatcher %d(%s, %u, %d)", kind - 18, source ? "bytes" : "null", n, to);
            code = kDispatchers[kind - 18].fn(source, n, KROPixelFormat(to), &out, &size);
            minimum = n / kDispatchers[kind - 18].in * bytesPerPixel(to);
        } else {
            const int32_t from =
                in.ConsumeIntegralInRange(0, 3) == 0 ? in.ConsumeIntegral<int32_t>() : in.ConsumeIntegralInRange(100, 127);
            const int32_t to =
                in.ConsumeIntegralInRange(0, 3) == 0 ? in.ConsumeIntegral<int32_t>() : in.PickValueInArray(kTargets);
            trace("transcodeFormat(%d, %s, %u, %d)", from, source ? "bytes" : "null", n, to);
            code = I::transcodeFormat(KROPixelFormat(from), source, n, KROPixelFormat(to), &out, &size);
            minimum = from == to ? n : (bytesPerPixel(from) ? n / bytesPerPixel(from) * bytesPerPixel(to) : 0);
        }
        if (code != kKROSuccess && code != kKROUnknownError && code != kKROInputParamError)
            fail("byte-format call gave an undocumented code", code);
        if (code == kKROSuccess) {
            if (out == &sentinel) fail("success without a buffer", code);
            if (size < minimum) fail("returned buffer smaller than its pixels", code);
            volatile unsigned sum = 0;
            for (unsigned i = 0; i < size; ++i) sum = sum + out[i];
            std::free(out);
        } else if (out != &sentinel && out != nullptr) {
            fail("refused call returned a buffer", code);
        }
    }
    if (n && std::memcmp(src.data(), before.data(), n) != 0) fail("byte-format source written", 0);
}

// Any primaries and transfer, any float (NaN and infinities included):
// convertToLab always succeeds.
void runLab(FuzzedDataProvider& in) {
    static const int32_t kPrimaries[] = {1, 9, 12, 0, 2, 5, 23, 24, 25, -1};
    static const int32_t kTransfers[] = {1, 13, 16, 18, 0, 8, 100, 101, -1};
    const int32_t primaries = in.ConsumeBool() ? in.PickValueInArray(kPrimaries) : in.ConsumeIntegral<int32_t>();
    const int32_t transfer = in.ConsumeBool() ? in.PickValueInArray(kTransfers) : in.ConsumeIntegral<int32_t>();
    float rgb[3], L = 0, a = 0, b = 0;
    for (float& v : rgb) {
        if (in.ConsumeBool()) {
            v = in.ConsumeFloatingPointInRange(-0.5f, 1.5f);
        } else {
            const uint32_t bits = in.ConsumeIntegral<uint32_t>();
            std::memcpy(&v, &bits, sizeof v);
        }
    }
    trace("convertToLab(%d, %d, %g, %g, %g)", primaries, transfer, rgb[0], rgb[1], rgb[2]);
    const KROReturn code =
        convertToLab(KROColorPrimaries(primaries), KROColorTransfer(transfer), rgb[0], rgb[1], rgb[2], &L, &a, &b);
    if (code != kKROSuccess) fail("convertToLab did not return success", code);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    FuzzedDataProvider in(data, size);
    Noise noise{in.ConsumeIntegral<uint32_t>() | 1u};
    if (!queryKROReturn(KROReturn(in.ConsumeIntegralInRange(0, 27)))) fail("no message for a code", 0);
    queryKROReturn(KROReturn(in.ConsumeIntegral<int32_t>()));  // any text or null; no stray read
    const int operation = in.ConsumeIntegralInRange(0, 11);
    if (operation < 6) runColourFunctions(in, noise, operation >= 4);
    else if (operation < 10) runGeometry(in, noise, operation < 8);
    else if (operation == 10) runImageConvert(in, noise);
    else runLab(in);
    return 0;
}
