# Direct rows between 8-bit YUV and 8-bit RGB frames: one translation unit
# per x86 instruction set, built for exactly that set (no FMA), as the
# vector colour stages they share their arithmetic with.
if(CMAKE_SYSTEM_PROCESSOR MATCHES "x86_64|AMD64|amd64|i.86")
  target_sources(kro_objects PRIVATE
    ${CMAKE_CURRENT_LIST_DIR}/direct_rows_sse2.cpp
    ${CMAKE_CURRENT_LIST_DIR}/direct_rows_avx2.cpp)
  set_property(SOURCE ${CMAKE_CURRENT_LIST_DIR}/direct_rows_sse2.cpp APPEND PROPERTY COMPILE_OPTIONS -msse2)
  set_property(SOURCE ${CMAKE_CURRENT_LIST_DIR}/direct_rows_avx2.cpp APPEND PROPERTY COMPILE_OPTIONS -mavx2 -mno-fma)
endif()
target_sources(kro_objects PRIVATE ${CMAKE_CURRENT_LIST_DIR}/direct_rows.cpp)
