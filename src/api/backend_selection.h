// Chooses the convertor for a pair of formats and a KROHWContext. A failed
// selection leaves its code in one process-wide integer that the caller reads
// and clears (unsynchronised, as documented for the front objects).
#pragma once

#include <memory>

#include "KROColorFunctions.h"
#include "api/convertor.h"

namespace KROCOLOR {

// Null when no convertor results; the reason is then in the last-error code.
std::unique_ptr<IConvertor> selectConvertor(int32_t srcFormat, int32_t dstFormat,
                                            const KROHWContext& context);

// Returns the selection's last-error code and resets it to 0.
KROReturn takeSelectionError();

// Backend factories. Each returns null with `error` set when it cannot
// build its convertor (a backend missing from this build reports
// kKROPlatformFormatNotSupported).
std::unique_ptr<IConvertor> createCPUConvertor(bool useSwscale, KROReturn& error);
std::unique_ptr<IConvertor> createSimdConvertor(KROReturn& error);
std::unique_ptr<IConvertor> createCudaConvertor(void* context, void* stream, KROReturn& error);
std::unique_ptr<IConvertor> createD3D11Convertor(void* device, void* deviceContext, KROReturn& error);
std::unique_ptr<IConvertor> createGLConvertor(void* handle, void* queue, KROReturn& error);

}  // namespace KROCOLOR
