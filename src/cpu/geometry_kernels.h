// Crop, rotate (the eight EXIF orientations) and scale of host frames. They
// move stored sample codes in the destination's format; no colour work.
#pragma once

#include "KROColorFunctions.h"
#include "core/frame.h"

namespace KROCOLOR {

// Whole-frame operations, in the destination's format for both frames.
// Frames of 100 pixels or more with both sides at least 10 run on a pool of
// worker threads (destination rows interleaved over the slots), others on the
// calling thread; the output is the same either way.
// Return kKROInputParamError for an absent frame or a missing plane, else
// kKROSuccess. Nothing is written (and kKROSuccess returned) for an unknown
// orientation, a rotate destination whose size is not the one the orientation
// implies (W x H for 1-4, H x W for 5-8), a crop rectangle outside the source
// or with a negative offset, or a format the CPU cannot address.
// kKRORunCPUKernelError when worker threads cannot be started or memory runs
// out. No exception escapes.
//
// `schedule` picks how a pooled run is split: whole destination rows per
// item (fast: row accessors, cache friendly), or single pixels interleaved
// over the slots (the SIMD convertor's documented schedule). Small frames run
// row-major on the calling thread either way; the output never differs.
enum class GeometrySchedule { Rows, Pixels };
KROReturn rotateFrame(const KROFrame* src, KROFrame* dst, int orientation,
                      GeometrySchedule schedule = GeometrySchedule::Rows);
KROReturn cropFrame(const KROFrame* src, KROFrame* dst, int left, int top,
                    GeometrySchedule schedule = GeometrySchedule::Rows);
// Scales src (W x H) into dst (W' x H'), both in dst's format, averaging four
// taps of stored codes. `threaded` allows the worker pool (used only when the
// destination also passes useWorkerPool).
KROReturn scaleFrame(const KROFrame& src, KROFrame& dst, bool threaded);

// Offset of the two bilinear taps that fold the scale filter {w, 1, w}, for
// a source/destination ratio: 0 when enlarging, 2/3 from a factor of 3 on.
float scaleTapOffset(float ratio);

// True when a frame of this size is worth spreading over worker threads.
inline bool useWorkerPool(int width, int height) {
    return int64_t{width} * height >= 100 && width >= 10 && height >= 10;
}

}  // namespace KROCOLOR
