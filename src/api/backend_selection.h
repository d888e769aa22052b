// Chooses the convertor for a pair of formats and a KROHWContext. The result
// carries its own code; a failed selection also leaves that code in one
// process-wide integer, kept for callers that read it, and deliberately not
// synchronised between threads beyond being a relaxed atomic.
#pragma once

#include <memory>

#include "KROColorFunctions.h"
#include "core/convertor.h"

namespace KROCOLOR {

struct Selection {
    std::unique_ptr<IConvertor> convertor;  // null when the selection failed
    KROReturn code = kKROSuccess;           // why it failed
};
Selection selectConvertor(int32_t srcFormat, int32_t dstFormat, const KROHWContext& context);

// Returns the process-wide last-error code and resets it to 0. Another
// thread's selection may have written it in between, which is why the front
// objects return their own selection's code instead.
KROReturn takeSelectionError();

}  // namespace KROCOLOR
