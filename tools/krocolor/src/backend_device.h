// The device a GPU backend converts on, opened by krocolor for the length of
// a run: the KROHWContext that names it on both sides, and its release when
// the object goes. Host frames are handed to the library as they are; the
// backend's convertor uploads them and reads the result back.
#pragma once

#include <memory>
#include <string>

#include <KROColorFunctions.h>

#include "backends.h"

namespace krocolor {

class BackendDevice {
public:
    virtual ~BackendDevice() = default;
    virtual KROCOLOR::KROHWContext context() const = 0;

    // Null, with `reason` saying why in one line, when this machine has no
    // device for the backend (or krocolor cannot open one for it).
    static std::unique_ptr<BackendDevice> open(const BackendInfo& backend, std::string& reason);
};

}  // namespace krocolor
