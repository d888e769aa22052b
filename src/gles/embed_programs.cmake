# Script mode (cmake -P): writes OUTPUT, a C++ file defining the vertex and
# fragment program texts, from VERTEX and FRAGMENT. The fragment program's
# "// @COLOR_CONSTANTS@" line is replaced by the generated CONSTANTS file,
# so the program carries the CPU pipeline's tables without a second copy.
file(READ ${VERTEX} vertex)
file(READ ${FRAGMENT} fragment)
file(READ ${CONSTANTS} constants)
string(FIND "${fragment}" "// @COLOR_CONSTANTS@" at)
if(at EQUAL -1)
  message(FATAL_ERROR "${FRAGMENT} has no // @COLOR_CONSTANTS@ line")
endif()
string(REPLACE "// @COLOR_CONSTANTS@\n" "${constants}" fragment "${fragment}")
foreach(text vertex fragment)
  string(FIND "${${text}}" ")glsl\"" clash)
  if(NOT clash EQUAL -1)
    message(FATAL_ERROR "a program text contains the raw-string end )glsl\"")
  endif()
endforeach()
file(WRITE ${OUTPUT}.tmp
"// Generated from src/gles/*.glsl by src/gles/embed_programs.cmake; do not edit.
#include \"gles/gl_programs.h\"

namespace KROCOLOR {
const char kColorTransferVertexProgram[] = R\"glsl(${vertex})glsl\";
const char kColorTransferFragmentProgram[] = R\"glsl(${fragment})glsl\";
}  // namespace KROCOLOR
")
file(COPY_FILE ${OUTPUT}.tmp ${OUTPUT} ONLY_IF_DIFFERENT)
file(REMOVE ${OUTPUT}.tmp)
