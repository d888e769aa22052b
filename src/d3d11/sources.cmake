# The Direct3D 11 backend. Outside Windows the platform it runs on is the
# layer in platform/; the convertor's compute program is embedded by
# convertor.cmake.
include(${CMAKE_CURRENT_LIST_DIR}/platform/sources.cmake)
include(${CMAKE_CURRENT_LIST_DIR}/convertor.cmake)
