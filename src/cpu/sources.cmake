# The SIMD CPU convertor lives in src/cpu/xsimd/. Its translation units are
# the only ones that include xsimd (header-only). They are built for SSE2, so
# the library runs on every x86-64 processor; the *_avx2_*.cpp units are built
# a second time for AVX2 (without FMA) and run only where the processor
# reports it (xsimd_lane_width.cpp).
file(GLOB KRO_XSIMD_SOURCES CONFIGURE_DEPENDS ${CMAKE_CURRENT_LIST_DIR}/xsimd/*.cpp)
file(GLOB KRO_XSIMD_AVX2_SOURCES CONFIGURE_DEPENDS ${CMAKE_CURRENT_LIST_DIR}/xsimd/*_avx2_*.cpp)
find_path(KRO_XSIMD_INCLUDE_DIR xsimd/xsimd.hpp REQUIRED)
target_sources(kro_objects PRIVATE ${KRO_XSIMD_SOURCES})
set_property(SOURCE ${KRO_XSIMD_SOURCES} APPEND PROPERTY INCLUDE_DIRECTORIES ${KRO_XSIMD_INCLUDE_DIR})
if(CMAKE_SYSTEM_PROCESSOR MATCHES "x86_64|AMD64|amd64|i.86")
  set_property(SOURCE ${KRO_XSIMD_SOURCES} APPEND PROPERTY COMPILE_OPTIONS -msse2)
  set_property(SOURCE ${KRO_XSIMD_AVX2_SOURCES} APPEND PROPERTY COMPILE_OPTIONS -mavx2)
endif()
include(${CMAKE_CURRENT_LIST_DIR}/x86/direct_rows.cmake)
