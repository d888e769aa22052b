# CUDA backend. The driver is loaded at run time through nv-codec-headers'
# loader (headers only). The kernels in kernels/kro_kernels.cu are compiled
# to PTX by nvcc and embedded into the library as text; a build without nvcc
# embeds an empty text, so the convertor reports that it cannot load its
# kernels and the tests that need the program say why they skip.
pkg_check_modules(FFNVCODEC REQUIRED ffnvcodec)
target_include_directories(kro_objects PRIVATE ${FFNVCODEC_INCLUDE_DIRS})

find_program(KRO_NVCC nvcc HINTS ENV CUDA_PATH PATHS /usr/local/cuda PATH_SUFFIXES bin)
find_program(KRO_PTXAS ptxas HINTS ENV CUDA_PATH PATHS /usr/local/cuda PATH_SUFFIXES bin)

set(KRO_CUDA_KERNEL_SOURCE ${CMAKE_CURRENT_LIST_DIR}/kernels/kro_kernels.cu)
set(KRO_CUDA_PTX ${PROJECT_BINARY_DIR}/cuda/kro_kernels.ptx)
set(KRO_CUDA_PTX_SOURCE ${PROJECT_BINARY_DIR}/cuda/ptx_program.cpp)
set(KRO_CUDA_PTX_ARCH "")

if(KRO_NVCC)
  # The lowest virtual architecture this toolkit accepts, so any driver and
  # GPU that can run the toolkit's PTX can just-in-time compile the program.
  execute_process(COMMAND ${KRO_NVCC} --list-gpu-arch OUTPUT_VARIABLE archs RESULT_VARIABLE rc ERROR_QUIET)
  if(rc EQUAL 0)
    string(REGEX MATCHALL "compute_[0-9]+" archs "${archs}")
    set(lowest 100000)
    foreach(a ${archs})
      string(REPLACE "compute_" "" n ${a})
      if(n LESS lowest)
        set(lowest ${n})
      endif()
    endforeach()
    if(NOT lowest EQUAL 100000)
      set(KRO_CUDA_PTX_ARCH compute_${lowest})
    endif()
  endif()
endif()

if(KRO_CUDA_PTX_ARCH)
  message(STATUS "CUDA kernels: PTX for ${KRO_CUDA_PTX_ARCH} with ${KRO_NVCC}")
  add_custom_command(OUTPUT ${KRO_CUDA_PTX}
    COMMAND ${CMAKE_COMMAND} -E make_directory ${PROJECT_BINARY_DIR}/cuda
    # No fused multiply-adds: the kernels round like the host code does.
    COMMAND ${KRO_NVCC} -ptx -m64 -arch=${KRO_CUDA_PTX_ARCH} -fmad=false -o ${KRO_CUDA_PTX} ${KRO_CUDA_KERNEL_SOURCE}
    DEPENDS ${KRO_CUDA_KERNEL_SOURCE} ${CMAKE_CURRENT_LIST_DIR}/kernels/kernel_compat.h
            ${CMAKE_CURRENT_LIST_DIR}/generated/color_constants.cuh
    COMMENT "Compiling the CUDA kernels to PTX (${KRO_CUDA_PTX_ARCH})")
  set(ptx_input ${KRO_CUDA_PTX})
else()
  message(STATUS "CUDA kernels: no nvcc found; the library carries an empty kernel program")
  set(ptx_input "")
endif()

add_custom_command(OUTPUT ${KRO_CUDA_PTX_SOURCE}
  COMMAND ${CMAKE_COMMAND} -DPTX=${ptx_input} -DOUT=${KRO_CUDA_PTX_SOURCE}
          -P ${CMAKE_CURRENT_LIST_DIR}/embed_ptx.cmake
  DEPENDS ${ptx_input} ${CMAKE_CURRENT_LIST_DIR}/embed_ptx.cmake
  COMMENT "Embedding the CUDA kernel program")
target_sources(kro_objects PRIVATE ${KRO_CUDA_PTX_SOURCE})
