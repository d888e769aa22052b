// The error firewall: no exception crosses the library's interface. Public
// entry points run their body through guarded(), which maps anything thrown
// to a KROReturn code.
#pragma once

#include "KROColorFunctions.h"

namespace KROCOLOR {

template <typename Body>
KROReturn guarded(Body&& body, KROReturn onException = kKROUnknownError) noexcept {
    try {
        return body();
    } catch (...) {
        return onException;
    }
}

}  // namespace KROCOLOR
