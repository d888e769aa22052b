# The public header must stand alone: it compiles by itself with pedantic
# warnings as errors and no Windows or GPU headers around.
add_library(kro_header_standalone OBJECT ${CMAKE_CURRENT_SOURCE_DIR}/consumer/header_only.cpp)
target_include_directories(kro_header_standalone PRIVATE ${PROJECT_SOURCE_DIR}/include)
target_compile_options(kro_header_standalone PRIVATE -Wall -Wextra -Wpedantic -Werror)

# Installs the library into a scratch prefix and builds a small outside
# project against it, once with find_package and once with pkg-config.
add_test(NAME install_consumer
  COMMAND ${CMAKE_COMMAND}
    -DSOURCE_DIR=${PROJECT_SOURCE_DIR}
    -DBINARY_DIR=${PROJECT_BINARY_DIR}
    -DWORK_DIR=${CMAKE_CURRENT_BINARY_DIR}/install_consumer
    -DSANITIZE=${KRO_SANITIZE}
    -P ${CMAKE_CURRENT_SOURCE_DIR}/consumer/run_consumer.cmake)
set_tests_properties(install_consumer PROPERTIES TIMEOUT 600)
