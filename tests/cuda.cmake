# CUDA tests. They run against whatever libcuda.so.1 the loader finds first:
# ctest puts the CPU stand-in driver (built here, never installed) on
# LD_LIBRARY_PATH, so on a machine without an NVIDIA GPU the convertor runs
# its kernels on the CPU; nothing in the tests depends on the stand-in.
include(${PROJECT_SOURCE_DIR}/tools/cuda_standin/standin.cmake)

file(GLOB KRO_CUDA_TEST_SOURCES CONFIGURE_DEPENDS ${CMAKE_CURRENT_LIST_DIR}/cuda/*_test.cpp)
# The GPU test hook, program model and shared conversion cases come along.
add_executable(kro_cuda_tests ${KRO_CUDA_TEST_SOURCES} ${CMAKE_CURRENT_LIST_DIR}/support/gpu_backend.cpp
  ${CMAKE_CURRENT_LIST_DIR}/support/gpu_program_model.cpp ${CMAKE_CURRENT_LIST_DIR}/support/gpu_conversion_cases.cpp)
target_include_directories(kro_cuda_tests PRIVATE ${CMAKE_CURRENT_LIST_DIR} ${FFNVCODEC_INCLUDE_DIRS})
target_link_libraries(kro_cuda_tests PRIVATE kro_internal GTest::gtest GTest::gtest_main)
add_dependencies(kro_cuda_tests kro_cuda_standin)
if(KRO_CUDA_PTX_ARCH)
  target_compile_definitions(kro_cuda_tests PRIVATE KRO_CUDA_HAVE_PTX=1)
endif()
gtest_discover_tests(kro_cuda_tests DISCOVERY_TIMEOUT 120
  PROPERTIES TIMEOUT 600 ENVIRONMENT "LD_LIBRARY_PATH=${KRO_CUDA_STANDIN_DIR}")

# The same binary with no driver to be found: every operation must fail
# cleanly with its code and the loader's message.
# (Machines with an installed NVIDIA driver cannot hide it, so they skip it.)
find_library(KRO_SYSTEM_LIBCUDA NAMES libcuda.so.1)
if(NOT KRO_SYSTEM_LIBCUDA)
  add_test(NAME cuda_without_driver COMMAND kro_cuda_tests --gtest_filter=CudaWithoutDriver.*)
  set_tests_properties(cuda_without_driver PROPERTIES ENVIRONMENT "KRO_CUDA_EXPECT_NO_DRIVER=1")
endif()

# The embedded program must assemble for the architecture it was made for
# and for a current one.
if(KRO_PTXAS AND KRO_CUDA_PTX_ARCH)
  string(REPLACE "compute_" "sm_" lowest_sm ${KRO_CUDA_PTX_ARCH})
  foreach(sm ${lowest_sm} sm_90)
    add_test(NAME cuda_ptx_assembles_${sm} COMMAND ${KRO_PTXAS} -arch=${sm} ${KRO_CUDA_PTX} -o /dev/null)
  endforeach()
endif()

# krocolor takes the CUDA road on the stand-in: the demo's cuda row converts.
if(TARGET krocolor)
  add_test(NAME cuda_krocolor_demo
    COMMAND krocolor demo -s 64x32 --repeat 1 --backend cpu --backend cuda -o ${CMAKE_CURRENT_BINARY_DIR}/cuda-demo)
  set_tests_properties(cuda_krocolor_demo PROPERTIES
    ENVIRONMENT "LD_LIBRARY_PATH=${KRO_CUDA_STANDIN_DIR}" PASS_REGULAR_EXPRESSION "\ncuda +[0-9.]+ +[0-9]+ ")
endif()
