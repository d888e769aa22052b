// The fuzzer links the ICC engine and path on their own; the path's resize
// step (the scalar CPU convertor) is not part of what it exercises.
#include "core/convertor.h"

namespace KROCOLOR {

std::unique_ptr<IConvertor> createCPUConvertor(bool, KROReturn& error) {
    error = kKROPlatformFormatNotSupported;
    return nullptr;
}

}  // namespace KROCOLOR
