# The CPU stand-in for the CUDA driver: a libcuda.so.1 built in the build
# tree (never installed) that runs the library's own kernel source on the
# CPU. Putting its folder on LD_LIBRARY_PATH makes any program take the CUDA
# road on a machine without an NVIDIA GPU; the tests use it that way.
set(KRO_CUDA_STANDIN_DIR ${CMAKE_BINARY_DIR}/cuda-standin)
add_library(kro_cuda_standin SHARED
  ${CMAKE_CURRENT_LIST_DIR}/standin_driver.cpp
  ${PROJECT_SOURCE_DIR}/src/cuda/kernels/kro_kernels.cu)
# One kernel source, two compilers: the host compiler builds it as C++.
set_source_files_properties(${PROJECT_SOURCE_DIR}/src/cuda/kernels/kro_kernels.cu PROPERTIES LANGUAGE CXX)
set_target_properties(kro_cuda_standin PROPERTIES
  OUTPUT_NAME cuda SOVERSION 1
  LIBRARY_OUTPUT_DIRECTORY ${KRO_CUDA_STANDIN_DIR}
  CXX_VISIBILITY_PRESET hidden)
target_compile_options(kro_cuda_standin PRIVATE $<$<COMPILE_LANGUAGE:CXX>:-x c++>)
target_include_directories(kro_cuda_standin PRIVATE ${PROJECT_SOURCE_DIR}/src ${FFNVCODEC_INCLUDE_DIRS})
