// Stand-in for the SIMD CPU convertor until it lands: selecting hardware type
// 6 reports that this build cannot convert that way.
#include "api/backend_selection.h"

namespace KROCOLOR {

std::unique_ptr<IConvertor> createSimdConvertor(KROReturn& error) {
    error = kKROPlatformFormatNotSupported;
    return nullptr;
}

void* KROXSimd::malloc(uint64_t) { return nullptr; }
void KROXSimd::free(void*) {}
bool KROXSimd::isAligned(const void* ptr, uint64_t alignment) {
    return alignment != 0 && reinterpret_cast<uintptr_t>(ptr) % alignment == 0;
}

}  // namespace KROCOLOR
