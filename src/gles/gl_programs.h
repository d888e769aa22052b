// The vertex and fragment programs of the render convertor, embedded at
// build time from color_transfer.vert.glsl and color_transfer.frag.glsl
// (the latter with the generated colour constants spliced in).
#pragma once

namespace KROCOLOR {
extern const char kColorTransferVertexProgram[];
extern const char kColorTransferFragmentProgram[];
}  // namespace KROCOLOR
