# The vector colour stages: one translation unit per x86 instruction set
# (kro_x86_units); the widest one the processor supports is chosen at run
# time.
kro_x86_units(SSE2 ${CMAKE_CURRENT_LIST_DIR}/vector_rows_sse2.cpp AVX2 ${CMAKE_CURRENT_LIST_DIR}/vector_rows_avx2.cpp)
if(CMAKE_SYSTEM_PROCESSOR MATCHES "x86_64|AMD64|amd64|i.86")
  target_compile_definitions(kro_objects PRIVATE KRO_HAVE_X86_VECTOR_ROWS=1)
endif()
