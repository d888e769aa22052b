// Crop, rotate (the eight EXIF orientations) and scale of host frames. They
// move stored sample codes in the destination's format; no colour work.
#pragma once

#include "KROColorFunctions.h"
#include "api/frame.h"

namespace KROCOLOR {

// Whole-frame operations. Frames of 100 pixels or more with both sides at
// least 10 run on a pool of worker threads, others on the calling thread.
// Return kKROInputParamError for an absent frame, else kKROSuccess (an
// unknown orientation, a crop rectangle outside the source or a format the
// CPU cannot address writes nothing). kKRORunCPUKernelError when worker
// threads cannot be started.
KROReturn rotateFrame(const KROFrame* src, KROFrame* dst, int orientation);
KROReturn cropFrame(const KROFrame* src, KROFrame* dst, int left, int top);
// Scales src (W x H) into dst (W' x H'), both in dst's format. `threaded`
// selects the worker pool.
KROReturn scaleFrame(const KROFrame& src, KROFrame& dst, bool threaded);

// True when a frame of this size is worth spreading over worker threads.
inline bool useWorkerPool(int width, int height) {
    return int64_t{width} * height >= 100 && width >= 10 && height >= 10;
}

}  // namespace KROCOLOR
