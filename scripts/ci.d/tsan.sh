#!/usr/bin/env bash
# Builds the library and the threading tests (the worker pool, and many
# conversion objects on several threads) with ThreadSanitizer in a build
# folder of their own, and runs them; any report fails the check. No report
# is suppressed: the libraries we do not build (libswscale, libavutil, run
# single-threaded per call) have given none.
# Usage: scripts/ci.d/tsan.sh <build-dir>
set -euo pipefail
root="$(cd "$(dirname "$0")/../.." && pwd)"
build="${1:-$root/build-test}/tsan"
cmake -S "$root" -B "$build" -DCMAKE_BUILD_TYPE=RelWithDebInfo -DKRO_SANITIZE=OFF \
  -DKRO_BUILD_TESTS=ON -DKRO_BUILD_BENCH=OFF -DKRO_BUILD_TOOLS=OFF -DKRO_BUILD_EXAMPLES=OFF \
  -DCMAKE_C_FLAGS="-fsanitize=thread -fno-omit-frame-pointer" \
  -DCMAKE_CXX_FLAGS="-fsanitize=thread -fno-omit-frame-pointer" \
  -DCMAKE_EXE_LINKER_FLAGS="-fsanitize=thread" -DCMAKE_SHARED_LINKER_FLAGS="-fsanitize=thread" >/dev/null
cmake --build "$build" --target kro_thread_tests -j"$(nproc)"
# The first report ends the run with a failing exit code.
TSAN_OPTIONS="halt_on_error=1:second_deadlock_stack=1" "$build/tests/kro_thread_tests" --gtest_brief=1
