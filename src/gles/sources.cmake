# OpenGL ES backend: the GLSL programs are source files here, embedded into
# the library at build time, and the library links the system's EGL and
# OpenGL ES 2/3 libraries (Mesa's llvmpipe renders where no GPU is present).
pkg_check_modules(KRO_GLES REQUIRED IMPORTED_TARGET egl glesv2)

set(KRO_GLES_PROGRAMS
  ${CMAKE_CURRENT_LIST_DIR}/color_transfer.vert.glsl
  ${CMAKE_CURRENT_LIST_DIR}/color_transfer.frag.glsl
  ${CMAKE_CURRENT_LIST_DIR}/generated/color_constants.glsl)
set(KRO_GLES_EMBEDDED ${PROJECT_BINARY_DIR}/generated/gles/gl_programs.cpp)
add_custom_command(OUTPUT ${KRO_GLES_EMBEDDED}
  COMMAND ${CMAKE_COMMAND}
    -DVERTEX=${CMAKE_CURRENT_LIST_DIR}/color_transfer.vert.glsl
    -DFRAGMENT=${CMAKE_CURRENT_LIST_DIR}/color_transfer.frag.glsl
    -DCONSTANTS=${CMAKE_CURRENT_LIST_DIR}/generated/color_constants.glsl
    -DOUTPUT=${KRO_GLES_EMBEDDED}
    -P ${CMAKE_CURRENT_LIST_DIR}/embed_programs.cmake
  DEPENDS ${KRO_GLES_PROGRAMS} ${CMAKE_CURRENT_LIST_DIR}/embed_programs.cmake
  COMMENT "Embedding the OpenGL ES programs")
target_sources(kro_objects PRIVATE ${KRO_GLES_EMBEDDED})
target_link_libraries(kro_objects PUBLIC PkgConfig::KRO_GLES)
# The shared library is declared after these fragments are read.
cmake_language(DEFER CALL target_link_libraries KROColorFunctions PRIVATE PkgConfig::KRO_GLES)
