# The checked-in GPU colour constant headers must be what the generator
# prints from color_constants.h today.
add_dependencies(kro_tests kro_gpu_constants)
add_test(NAME gpu_constants_up_to_date
  COMMAND ${CMAKE_COMMAND}
    -DGENERATOR=$<TARGET_FILE:kro_gpu_constants>
    -DSOURCE_DIR=${PROJECT_SOURCE_DIR}/src
    -DWORK_DIR=${CMAKE_CURRENT_BINARY_DIR}/gpu_constants
    -P ${PROJECT_SOURCE_DIR}/tools/gpu_constants/check_up_to_date.cmake)
