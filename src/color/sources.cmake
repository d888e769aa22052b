# The GPU programs carry the colour constants in their own languages. A host
# program prints them from color_constants.h; the printed files are checked
# in beside each program (src/cuda/generated, src/d3d11/generated,
# src/gles/generated). `regenerate_gpu_constants` rewrites them after a
# change; the tests fail while a checked-in copy is stale.
add_executable(kro_gpu_constants ${PROJECT_SOURCE_DIR}/tools/gpu_constants/gpu_constants.cpp)
target_include_directories(kro_gpu_constants PRIVATE ${PROJECT_SOURCE_DIR}/src)
add_custom_target(regenerate_gpu_constants
  COMMAND kro_gpu_constants ${PROJECT_SOURCE_DIR}/src
  COMMENT "Writing the GPU colour constant headers under src/")

include(${CMAKE_CURRENT_LIST_DIR}/x86/vector_rows.cmake)
