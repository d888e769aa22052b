# The worker-pool and many-threads tests on their own, for the
# ThreadSanitizer build of scripts/ci.d/tsan.sh; left out of the default
# build (both files also run in kro_tests).
add_executable(kro_thread_tests EXCLUDE_FROM_ALL cpu_task_test.cpp threads_test.cpp)
target_include_directories(kro_thread_tests PRIVATE ${CMAKE_CURRENT_SOURCE_DIR})
target_link_libraries(kro_thread_tests PRIVATE kro_internal GTest::gtest GTest::gtest_main)
