// A build with neither the Windows SDK nor the Vulkan layer carries no
// Direct3D 11 convertor: the selection reaches this factory and fails with a
// clear code instead of converting on the wrong device.
#if !defined(_WIN32) && !KRO_HAVE_D3D11_CONVERTOR
#include "core/convertor.h"
#include "d3d11/d3d11_convertor.h"

namespace KROCOLOR {

std::unique_ptr<IConvertor> createD3D11Convertor(void*, void*, KROReturn& error) {
    error = kKROPlatformFormatNotSupported;
    return nullptr;
}

bool isD3D11Convertor(const IConvertor*) { return false; }

}  // namespace KROCOLOR
#endif  // !_WIN32 && !KRO_HAVE_D3D11_CONVERTOR
