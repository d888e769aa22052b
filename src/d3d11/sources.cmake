# The Direct3D 11 backend. Outside Windows the platform it runs on is the
# layer in platform/.
include(${CMAKE_CURRENT_LIST_DIR}/platform/sources.cmake)
