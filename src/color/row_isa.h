// Which instruction set the per-row colour stages use. The best the
// processor offers is chosen at run time; tests and benchmarks may force a
// narrower one, down to the plain per-pixel loop, to compare results and
// speed. Every choice produces the same bytes.
#pragma once

#include <cstdint>

namespace KROCOLOR {

enum class RowIsa : uint8_t {
    Plain,  // one pixel at a time through the inline kernels
    SSE2,   // four pixels at a time
    AVX2,   // eight pixels at a time
};

// The instruction set pipelines built from now on use: the forced one if
// any (limited to what the processor supports), else the best supported.
RowIsa rowIsa();

// The widest instruction set this processor supports.
RowIsa bestRowIsa();

// Forces `isa` (clamped to bestRowIsa()) for pipelines built afterwards;
// resetRowIsa() returns to the automatic choice. Process-wide, for tests
// and benchmarks; pipelines already built keep their choice.
void forceRowIsa(RowIsa isa);
void resetRowIsa();

}  // namespace KROCOLOR
