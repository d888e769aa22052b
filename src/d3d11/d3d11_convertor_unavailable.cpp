// This build carries no Direct3D 11 convertor yet: the selection reaches this factory
// and fails with a clear code instead of converting on the wrong device. The
// backend's own convertor replaces this file.
#include "core/convertor.h"

namespace KROCOLOR {

std::unique_ptr<IConvertor> createD3D11Convertor(void*, void*, KROReturn& error) {
    error = kKROPlatformFormatNotSupported;
    return nullptr;
}

}  // namespace KROCOLOR
