# The compute program of the Direct3D 11 convertor is a source file of its
# own, color_transfer_cs.hlsl; the build embeds it (with the colour tables it
# includes) as data for the convertor to compile at run time.
set(KRO_D3D11_PROGRAM ${CMAKE_CURRENT_LIST_DIR}/color_transfer_cs.hlsl)
set(KRO_D3D11_PROGRAM_CPP ${PROJECT_BINARY_DIR}/generated/d3d11/color_transfer_program.cpp)
add_custom_command(OUTPUT ${KRO_D3D11_PROGRAM_CPP}
  COMMAND ${CMAKE_COMMAND} -DPROGRAM=${KRO_D3D11_PROGRAM} -DOUTPUT=${KRO_D3D11_PROGRAM_CPP}
          -DSYMBOL=kColorTransferProgram -P ${CMAKE_CURRENT_LIST_DIR}/embed_program.cmake
  DEPENDS ${KRO_D3D11_PROGRAM} ${CMAKE_CURRENT_LIST_DIR}/generated/color_constants.hlsli
          ${CMAKE_CURRENT_LIST_DIR}/embed_program.cmake
  COMMENT "Embedding the Direct3D 11 compute program"
  VERBATIM)
target_sources(kro_objects PRIVATE ${KRO_D3D11_PROGRAM_CPP})

# The convertor needs Direct3D 11: the Windows SDK, or the library's layer on
# Vulkan under platform/. Without either the selection keeps answering that
# this build has no Direct3D 11 convertor.
if(WIN32 OR EXISTS ${CMAKE_CURRENT_LIST_DIR}/platform)
  target_compile_definitions(kro_objects PUBLIC KRO_HAVE_D3D11_CONVERTOR=1)
endif()
