# Installs the header, the versioned library, a pkg-config file and a CMake
# config package exporting KROColorFunctions::KROColorFunctions.
include(CMakePackageConfigHelpers)

install(TARGETS KROColorFunctions EXPORT KROColorFunctionsTargets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR}
  RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR}
  INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(FILES ${PROJECT_SOURCE_DIR}/include/KROColorFunctions.h
  DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})

set(KRO_CMAKE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/KROColorFunctions)
install(EXPORT KROColorFunctionsTargets
  NAMESPACE KROColorFunctions::
  DESTINATION ${KRO_CMAKE_DIR})
configure_package_config_file(${PROJECT_SOURCE_DIR}/cmake/KROColorFunctionsConfig.cmake.in
  ${PROJECT_BINARY_DIR}/KROColorFunctionsConfig.cmake
  INSTALL_DESTINATION ${KRO_CMAKE_DIR})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/KROColorFunctionsConfigVersion.cmake
  VERSION ${PROJECT_VERSION} COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/KROColorFunctionsConfig.cmake
  ${PROJECT_BINARY_DIR}/KROColorFunctionsConfigVersion.cmake
  DESTINATION ${KRO_CMAKE_DIR})

# The .pc file finds its prefix from its own location, so an install to any
# --prefix (or a relocated tree) stays usable.
file(RELATIVE_PATH KRO_PC_TO_PREFIX "/root/${CMAKE_INSTALL_LIBDIR}/pkgconfig" "/root")
configure_file(${PROJECT_SOURCE_DIR}/cmake/KROColorFunctions.pc.in
  ${PROJECT_BINARY_DIR}/KROColorFunctions.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/KROColorFunctions.pc
  DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
