// The compute program D3D11ColorTransfer_CS as the build embeds it: the text
// of color_transfer_cs.hlsl with the colour tables spliced in, CR LF line
// ends, followed by one zero byte that the length does not count.
#pragma once

#include <cstddef>

namespace KROCOLOR {
extern const char kColorTransferProgram[];
extern const std::size_t kColorTransferProgramLength;
}  // namespace KROCOLOR
