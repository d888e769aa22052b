#!/usr/bin/env bash
# Builds one libFuzzer target of this folder against the library compiled by
# clang with coverage, AddressSanitizer and UndefinedBehaviorSanitizer. The
# library is built once per build folder (CMake, so its source list is the
# project's own) and shared by every fuzzer.
# Usage: tests/fuzz/build.sh <build-dir> <fuzzer name, e.g. api_fuzzer>
# Prints the path of the fuzzer binary.
set -euo pipefail
root="$(cd "$(dirname "$0")/../.." && pwd)"
build="$1"
name="$2"
lib="$build/fuzz-lib"
# Clang from scripts/deps/icc.txt; CMake's configure reports a missing one.
cc="${CLANG:-clang}"
cxx="${CLANGXX:-clang++}"
flags="-g -O1 -fno-omit-frame-pointer -fsanitize=address,undefined -fno-sanitize-recover=undefined"
cmake -S "$root" -B "$lib" -DCMAKE_C_COMPILER="$cc" -DCMAKE_CXX_COMPILER="$cxx" \
  -DCMAKE_BUILD_TYPE=Fuzz -DCMAKE_CXX_FLAGS="$flags -fsanitize=fuzzer-no-link" \
  -DKRO_SANITIZE=OFF -DKRO_BUILD_TESTS=OFF -DKRO_BUILD_BENCH=OFF -DKRO_BUILD_TOOLS=OFF \
  -DKRO_BUILD_EXAMPLES=OFF >"$lib.log" 2>&1 || { cat "$lib.log" >&2; exit 1; }
cmake --build "$lib" --target kro_internal -j"$(nproc)" >>"$lib.log" 2>&1 || { tail -40 "$lib.log" >&2; exit 1; }
mkdir -p "$build/fuzzers"
# The archive's own dependencies (FFmpeg, EGL and GLES, Vulkan, glslang and
# whatever joins them) are the ones CMake links the shared library with, so
# they are read from that link line rather than listed again here.
mapfile -t deps < <(tr ' ' '\n' <"$lib/CMakeFiles/KROColorFunctions.dir/link.txt" |
  grep -E '\.a$|\.so(\.[0-9.]+)?$|^-l' | grep -v 'libKROColorFunctions')
"$cxx" -std=c++17 $flags -fsanitize=fuzzer -ffp-contract=off -I"$root/include" -I"$root/src" -I"$root/tests" \
  "$root/tests/fuzz/$name.cpp" "$lib/libkro_internal.a" "${deps[@]}" -lpthread \
  -o "$build/fuzzers/$name"
echo "$build/fuzzers/$name"
