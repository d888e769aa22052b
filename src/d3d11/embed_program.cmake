# Script mode: turns the compute program into C++ data.
#   cmake -DPROGRAM=<file.hlsl> -DOUTPUT=<file.cpp> -DSYMBOL=<name> -P embed_program.cmake
# Each line `#include "generated/..."` is replaced by that file (relative to
# the program's folder), so the text the compiler gets stands alone and needs
# no include handler. Line ends become CR LF whatever the checkout uses. The
# bytes are written as a character array with its length, not as a string
# literal, so no compiler's literal-length limit applies.
cmake_minimum_required(VERSION 3.20)
get_filename_component(program_dir "${PROGRAM}" DIRECTORY)
file(READ "${PROGRAM}" text)
string(REGEX MATCHALL "#include \"generated/[^\"]+\"" includes "${text}")
foreach(line IN LISTS includes)
  string(REGEX REPLACE "#include \"([^\"]+)\"" "\\1" name "${line}")
  file(READ "${program_dir}/${name}" spliced)
  string(REPLACE "${line}" "${spliced}" text "${text}")
endforeach()
string(REPLACE "\r\n" "\n" text "${text}")
string(REPLACE "\n" "\r\n" text "${text}")

set(raw "${OUTPUT}.txt")
file(WRITE "${raw}" "${text}")
file(READ "${raw}" hex HEX)
file(REMOVE "${raw}")
string(LENGTH "${hex}" hex_length)
math(EXPR byte_count "${hex_length} / 2")
string(REGEX REPLACE "([0-9a-f][0-9a-f])" "0x\\1," bytes "${hex}")
string(REGEX REPLACE "(0x..,0x..,0x..,0x..,0x..,0x..,0x..,0x..,0x..,0x..,0x..,0x..,0x..,0x..,0x..,0x..,)" "\\1\n    " bytes "${bytes}")

file(WRITE "${OUTPUT}.tmp"
"// Generated from ${PROGRAM} by embed_program.cmake: do not edit.
#include <cstddef>

namespace KROCOLOR {
extern const char ${SYMBOL}[];
extern const std::size_t ${SYMBOL}Length;
const char ${SYMBOL}[] = {
    ${bytes}
    0};
const std::size_t ${SYMBOL}Length = ${byte_count};
}  // namespace KROCOLOR
")
file(COPY_FILE "${OUTPUT}.tmp" "${OUTPUT}" ONLY_IF_DIFFERENT)
file(REMOVE "${OUTPUT}.tmp")
