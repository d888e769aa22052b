# Installs the built library to WORK_DIR/prefix, then configures, builds and
# runs tests/consumer/project twice: through find_package and pkg-config.
file(REMOVE_RECURSE ${WORK_DIR})
set(prefix ${WORK_DIR}/prefix)
execute_process(COMMAND ${CMAKE_COMMAND} --install ${BINARY_DIR} --prefix ${prefix}
  RESULT_VARIABLE rc)
if(NOT rc EQUAL 0)
  message(FATAL_ERROR "install failed")
endif()
# An instrumented library needs an instrumented program in front of it.
set(flags "")
if(SANITIZE)
  set(flags "-fsanitize=address,undefined")
endif()
foreach(mode find_package pkg_config)
  set(build ${WORK_DIR}/build-${mode})
  execute_process(COMMAND ${CMAKE_COMMAND} -S ${SOURCE_DIR}/tests/consumer/project -B ${build}
      -DCMAKE_PREFIX_PATH=${prefix} -DCONSUMER_MODE=${mode}
      -DCMAKE_BUILD_TYPE=Release "-DCMAKE_CXX_FLAGS=${flags}"
    RESULT_VARIABLE rc)
  if(NOT rc EQUAL 0)
    message(FATAL_ERROR "configure (${mode}) failed")
  endif()
  execute_process(COMMAND ${CMAKE_COMMAND} --build ${build} RESULT_VARIABLE rc)
  if(NOT rc EQUAL 0)
    message(FATAL_ERROR "build (${mode}) failed")
  endif()
  execute_process(COMMAND ${build}/consumer RESULT_VARIABLE rc OUTPUT_VARIABLE out)
  if(NOT rc EQUAL 0 OR NOT out MATCHES "consumer ok")
    message(FATAL_ERROR "consumer (${mode}) failed: ${rc} ${out}")
  endif()
endforeach()
