// The conversion backends users can name with --backend, each mapped to the
// library's hardware type. Whether a backend works is asked of the library
// at run time: a tiny conversion is tried, and a refusal (for example
// "Platform don't support input format.") means this build lacks it.
#pragma once

#include <string>
#include <vector>

namespace krocolor {

struct BackendInfo {
    const char* name;
    const char* aliases;  // space-separated
    int hwType;           // KROHWContext srcType/dstType
    bool needsDevice;     // GPU: converts on a device krocolor opens for the run
    const char* summary;
};

const std::vector<BackendInfo>& backends();
const BackendInfo* findBackend(const std::string& name);
std::string backendNames();  // "cpu, simd, swscale, ..."

// Empty when the backend converts on this machine; otherwise why not.
std::string backendUnavailableReason(const BackendInfo& backend);

}  // namespace krocolor
