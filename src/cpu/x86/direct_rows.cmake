# Direct rows between 8-bit YUV and 8-bit RGB frames: one translation unit
# per x86 instruction set (kro_x86_units), as the vector colour stages they
# share their arithmetic with; the selector is portable.
kro_x86_units(SSE2 ${CMAKE_CURRENT_LIST_DIR}/direct_rows_sse2.cpp AVX2 ${CMAKE_CURRENT_LIST_DIR}/direct_rows_avx2.cpp)
target_sources(kro_objects PRIVATE ${CMAKE_CURRENT_LIST_DIR}/direct_rows.cpp)
