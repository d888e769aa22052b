#include "api/backend_selection.h"

namespace KROCOLOR {

std::unique_ptr<IConvertor> createCPUConvertor(bool, KROReturn& error) {
    error = kKROPlatformFormatNotSupported;
    return nullptr;
}

}  // namespace KROCOLOR
