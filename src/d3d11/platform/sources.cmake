# Direct3D 11, DXGI and the HLSL compiler for builds outside Windows: a layer
# of the same names on Vulkan, with glslang compiling HLSL to SPIR-V. On
# Windows the system's own libraries are used and nothing here is built.
if(WIN32)
  return()
endif()
find_package(Vulkan REQUIRED)
# glslang's libraries are static on Debian; their own dependencies must be
# known before the glslang package is loaded.
find_package(Threads REQUIRED)
find_package(SPIRV-Tools-opt REQUIRED)
find_package(glslang REQUIRED)
file(GLOB KRO_D3D11_PLATFORM_SOURCES CONFIGURE_DEPENDS ${CMAKE_CURRENT_LIST_DIR}/*.cpp)
target_sources(kro_objects PRIVATE ${KRO_D3D11_PLATFORM_SOURCES})
# Vulkan structures are written {sType} with every other member zero.
set_property(SOURCE ${KRO_D3D11_PLATFORM_SOURCES} APPEND PROPERTY COMPILE_OPTIONS -Wno-missing-field-initializers)
# glslang is built without RTTI, so UBSan's dynamic-type check (which needs
# the typeinfo of glslang's classes) cannot be used where they are called.
# Always off here: sanitizers may also arrive through CMAKE_CXX_FLAGS (the
# fuzz build), and the flag is harmless without them.
set_property(SOURCE ${CMAKE_CURRENT_LIST_DIR}/d3d_compile.cpp APPEND PROPERTY COMPILE_OPTIONS -fno-sanitize=vptr)
# The libraries are linked where the objects are (the shared library and
# the static archive of the tests), not to kro_objects: the packages' include
# folder is /usr/include, and as a usage requirement of kro_objects it turns
# into -isystem /usr/include for the xsimd sources, which breaks
# #include_next. Both targets are defined after the fragments are read.
cmake_language(DEFER DIRECTORY ${PROJECT_SOURCE_DIR} CALL target_link_libraries KROColorFunctions PRIVATE
  Vulkan::Vulkan glslang::glslang glslang::SPIRV glslang::glslang-default-resource-limits)
cmake_language(DEFER DIRECTORY ${PROJECT_SOURCE_DIR} CALL target_link_libraries kro_internal PRIVATE
  Vulkan::Vulkan glslang::glslang glslang::SPIRV glslang::glslang-default-resource-limits)
