# The vector colour stages: one translation unit per x86 instruction set,
# each built for exactly that set (no FMA: -ffp-contract=off keeps every
# multiply and add separately rounded, as in the per-pixel kernels). The
# widest one the processor supports is chosen at run time.
if(CMAKE_SYSTEM_PROCESSOR MATCHES "x86_64|AMD64|amd64|i.86")
  target_sources(kro_objects PRIVATE
    ${CMAKE_CURRENT_LIST_DIR}/vector_rows_sse2.cpp
    ${CMAKE_CURRENT_LIST_DIR}/vector_rows_avx2.cpp)
  set_property(SOURCE ${CMAKE_CURRENT_LIST_DIR}/vector_rows_sse2.cpp APPEND PROPERTY COMPILE_OPTIONS -msse2)
  set_property(SOURCE ${CMAKE_CURRENT_LIST_DIR}/vector_rows_avx2.cpp APPEND PROPERTY COMPILE_OPTIONS -mavx2 -mno-fma)
  target_compile_definitions(kro_objects PRIVATE KRO_HAVE_X86_VECTOR_ROWS=1)
endif()
