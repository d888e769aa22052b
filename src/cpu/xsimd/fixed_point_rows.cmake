# The fixed-point rows are built once per x86 instruction set; the AVX2 unit
# gets -mavx2 on top of the SSE2 baseline of every SIMD convertor source and
# is only called after the processor reported AVX2 (color/row_isa.h).
if(CMAKE_SYSTEM_PROCESSOR MATCHES "x86_64|AMD64|amd64|i.86")
  set_property(SOURCE ${CMAKE_CURRENT_LIST_DIR}/fixed_point_rows_avx2.cpp APPEND PROPERTY COMPILE_OPTIONS -mavx2 -mno-fma)
endif()
