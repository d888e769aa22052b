// Factories of the backends this build does not carry yet. Each reports
// kKROPlatformFormatNotSupported, so a selection that reaches one fails with
// a clear code instead of converting on the wrong device. A backend's own
// source file replaces its entry here when it lands.
#include "api/backend_selection.h"

namespace KROCOLOR {

std::unique_ptr<IConvertor> createCudaConvertor(void*, void*, KROReturn& error) {
    error = kKROPlatformFormatNotSupported;
    return nullptr;
}

std::unique_ptr<IConvertor> createD3D11Convertor(void*, void*, KROReturn& error) {
    error = kKROPlatformFormatNotSupported;
    return nullptr;
}

std::unique_ptr<IConvertor> createGLConvertor(void*, void*, KROReturn& error) {
    error = kKROPlatformFormatNotSupported;
    return nullptr;
}

}  // namespace KROCOLOR
