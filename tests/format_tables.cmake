# The command line keeps its own format table (names, file layouts); the test
# that holds it to the library's table compiles that table into kro_tests.
target_sources(kro_tests PRIVATE ${PROJECT_SOURCE_DIR}/tools/krocolor/src/pixel_formats.cpp)
target_include_directories(kro_tests PRIVATE ${PROJECT_SOURCE_DIR}/tools/krocolor/src)
