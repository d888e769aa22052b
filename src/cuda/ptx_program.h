// The kernel program carried inside the library as PTX text, produced from
// kernels/kro_kernels.cu at build time. Builds made without a CUDA compiler
// carry an empty text: the driver then refuses the module and the convertor
// reports that it cannot load its kernels.
#pragma once

#include <cstddef>

namespace KROCOLOR {
namespace cuda {

// The text without its terminating zero, and its length in bytes.
const char* embeddedPtx();
size_t embeddedPtxSize();

// The four kernels the convertor launches, in its cache order.
inline constexpr const char* kKernelNames[4] = {"colorTransfer", "bilinearScale", "exifRotation", "frameCrop"};

}  // namespace cuda
}  // namespace KROCOLOR
