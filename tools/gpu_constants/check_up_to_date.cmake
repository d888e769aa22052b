# Regenerates the GPU colour constant headers into WORK_DIR and fails when a
# checked-in copy under SOURCE_DIR differs. Run by ctest (gpu_constants_up_to_date).
execute_process(COMMAND ${GENERATOR} ${WORK_DIR} RESULT_VARIABLE result)
if(NOT result EQUAL 0)
  message(FATAL_ERROR "the generator failed: ${result}")
endif()
file(GLOB_RECURSE generated RELATIVE ${WORK_DIR} ${WORK_DIR}/*)
foreach(path ${generated})
  execute_process(COMMAND ${CMAKE_COMMAND} -E compare_files ${WORK_DIR}/${path} ${SOURCE_DIR}/${path}
                  RESULT_VARIABLE differs)
  if(differs)
    message(FATAL_ERROR "src/${path} is stale: build the regenerate_gpu_constants target and commit the result")
  endif()
endforeach()
