#include "cuda/device_frame.h"

#include <new>

#include "KROColorFunctions.h"

namespace KROCOLOR {
namespace cuda {

namespace {

struct PlaneLayoutRow {
    int64_t stride;  // bytes
    int64_t rows;
};

bool fullSizeGroup(int32_t hostFormat) {
    switch (hostFormat) {
        case 106: case 110: case 111: case 112: case 113: case 124: case 125: return true;
        default: return false;
    }
}

bool multiply(int64_t a, int64_t b, int64_t& out) {
    if (a < 0 || b < 0) return false;
    return !__builtin_mul_overflow(a, b, &out);
}

// Bytes a host plane holds: stride x rows, chroma rows rounded up as the
// frame layout stores them.
bool hostPlaneBytes(const KROFrame& host, int plane, int64_t& bytes) {
    const FormatTraits* t = formatTraits(host.format);
    if (!t) return false;
    return multiply(host.strides[plane], planeRows(*t, plane, host.height), bytes);
}

int planesOf(int32_t deviceFormat) {
    switch (deviceFormat) {
        case 303: case 307: case 308: return 2;
        case 304: case 305: case 306: case 309: case 317: case 318: case 319: return 3;
        case 320: case 321: return 4;
        default: return 1;
    }
}

// Stride and rows of each plane of a device intermediate frame.
int intermediateLayout(int32_t f, int64_t w, int64_t h, PlaneLayoutRow rows[4]) {
    const int64_t cw = (w + 1) / 2, ch = (h + 1) / 2;
    switch (f) {
        case 301: case 310: rows[0] = {3 * w, h}; return 1;
        case 302: case 311: rows[0] = {4 * w, h}; return 1;
        case 312: rows[0] = {w, 3 * h}; return 1;
        case 313: rows[0] = {6 * w, h}; return 1;
        case 314: rows[0] = {8 * w, h}; return 1;
        case 315: case 316: rows[0] = {2 * w, 3 * h}; return 1;
        case 303: rows[0] = {w, h}; rows[1] = {2 * cw, ch}; return 2;
        case 307: case 308: rows[0] = {2 * w, h}; rows[1] = {4 * cw, ch}; return 2;
        case 304: rows[0] = {w, h}; rows[1] = rows[2] = {cw, ch}; return 3;
        case 306: rows[0] = {2 * w, h}; rows[1] = rows[2] = {2 * cw, ch}; return 3;
        case 309: rows[0] = {2 * w, h}; rows[1] = rows[2] = {2 * cw, h}; return 3;
        case 305: rows[0] = rows[1] = rows[2] = {w, h}; return 3;
        case 317: case 318: case 319: rows[0] = rows[1] = rows[2] = {2 * w, h}; return 3;
        case 320: case 321: rows[0] = rows[1] = rows[2] = rows[3] = {2 * w, h}; return 4;
        default: return 0;
    }
}

KROFrame* newRecord(int32_t format, int32_t width, int32_t height) {
    KROFrame* f = new (std::nothrow) KROFrame();
    if (!f) return nullptr;
    f->format = format;
    f->width = width;
    f->height = height;
    f->name = nextFrameName();
    return f;
}

// Allocates plane p of `frame` with `bytes` bytes; false on failure.
bool allocatePlane(KROFrame& frame, int p, int64_t bytes) {
    frame.planes[p] = static_cast<uint8_t*>(KROCuda::malloc(static_cast<uint64_t>(bytes > 0 ? bytes : 1)));
    return frame.planes[p] != nullptr;
}

}  // namespace

int32_t deviceTwinOf(int32_t hostFormat) {
    switch (hostFormat) {
        case 101: return 301;
        case 102: return 302;
        case 119: return 310;
        case 120: return 311;
        case 104: return 304;
        case 107: return 306;
        case 103: return 303;
        case 108: return 307;
        case 109: return 308;
        case 106: return 305;
        case 110: return 309;
        case 111: return 317;
        case 112: return 318;
        case 113: return 319;
        case 124: return 320;
        case 125: return 321;
        default: return 0;
    }
}

void releaseDeviceFrame(KROFrame* frame) {
    if (!frame) return;
    for (uint8_t* p : frame->planes)
        if (p) KROCuda::free(p);
    delete frame;
}

KROFrame* createIntermediateFrame(int32_t format, int32_t width, int32_t height, bool& overflow) {
    overflow = false;
    PlaneLayoutRow rows[4];
    if (width <= 0 || height <= 0) return nullptr;
    const int n = intermediateLayout(format, width, height, rows);
    if (n == 0) return nullptr;
    int64_t bytes[4] = {0, 0, 0, 0};
    for (int p = 0; p < n; ++p)
        if (rows[p].stride > INT32_MAX || !multiply(rows[p].stride, rows[p].rows, bytes[p])) {
            overflow = true;
            return nullptr;
        }
    KROFrame* f = newRecord(format, width, height);
    if (!f) return nullptr;
    for (int p = 0; p < n; ++p) {
        f->strides[p] = static_cast<int32_t>(rows[p].stride);
        if (!allocatePlane(*f, p, bytes[p])) {
            releaseDeviceFrame(f);
            return nullptr;
        }
    }
    return f;
}

KROReturn stageHostFrame(const KROFrame& host, KROFrame*& staged, bool upload) {
    const int32_t twin = deviceTwinOf(host.format);
    if (!twin) return kKROLoadCUDAKernelError;
    const int n = planesOf(twin);
    int64_t bytes[4] = {0, 0, 0, 0};
    for (int p = 0; p < n; ++p)
        if (!host.planes[p] || !hostPlaneBytes(host, p, bytes[p])) return kKROInputParamError;

    bool keep = staged && staged->format == twin && staged->width == host.width && staged->height == host.height;
    for (int p = 0; keep && p < n; ++p) keep = staged->strides[p] == host.strides[p];
    if (!keep) {
        releaseDeviceFrame(staged);
        staged = newRecord(twin, host.width, host.height);
        if (!staged) return kKROLoadCUDAKernelError;
        for (int p = 0; p < n; ++p) {
            staged->strides[p] = host.strides[p];
            if (!allocatePlane(*staged, p, bytes[p])) {
                releaseDeviceFrame(staged);
                staged = nullptr;
                return kKROLoadCUDAKernelError;
            }
        }
    }
    staged->primaries = host.primaries;
    staged->transfer = host.transfer;
    staged->matrix = host.matrix;
    staged->range = host.range;
    if (upload || fullSizeGroup(host.format))
        for (int p = 0; p < n; ++p)
            if (bytes[p] > 0 && !KROCuda::memcpyHtoD(staged->planes[p], host.planes[p], static_cast<uint64_t>(bytes[p])))
                return kKROLoadCUDAKernelError;
    return kKROSuccess;
}

void downloadFrame(const KROFrame& device, const KROFrame& host) {
    if (deviceTwinOf(host.format) != device.format) return;
    const int n = planesOf(device.format);
    for (int p = 0; p < n; ++p) {
        int64_t bytes = 0;
        if (!host.planes[p] || !hostPlaneBytes(host, p, bytes) || bytes == 0) continue;
        KROCuda::memcpyDtoH(host.planes[p], device.planes[p], static_cast<uint64_t>(bytes));
    }
}

}  // namespace cuda
}  // namespace KROCOLOR
