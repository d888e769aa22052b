#!/usr/bin/env bash
# Fuzzes the ICC profile engine (tests/fuzz/icc_fuzzer.cpp) for about 60
# seconds, seeded with the profiles of the Debian collections
# (scripts/deps/icc.txt) and with profiles generated for the kinds those lack
# (tests/fuzz/icc_seeds.cpp: CMYK, LUT-based, grey, parametric, cicp). Any
# finding fails the check; its input is kept under
# <build-dir>/icc_fuzzer/findings and must become a regression test.
# Usage: scripts/ci.d/icc_fuzz.sh <build-dir> [seconds]
set -euo pipefail
root="$(cd "$(dirname "$0")/../.." && pwd)"
build="${1:-$root/build-test}"
seconds="${2:-60}"
seeds="$build/icc_fuzzer/seeds"
rm -rf "$seeds"
mkdir -p "$seeds"
# Only profiles (the collections also hold measurement files), and only those
# up to the input size limit: the large ones are LUT profiles like the
# generated seeds, and every byte of an input costs time on each run.
max_len=32768
find /usr/share/color/icc -type f \( -iname '*.icc' -o -iname '*.icm' \) -size -"$((max_len + 1))"c \
  -exec cp {} "$seeds/" \; 2>/dev/null || true
"${CLANGXX:-clang++}" -std=c++17 -O1 "$root/tests/fuzz/icc_seeds.cpp" -o "$build/icc_fuzzer/icc_seeds"
"$build/icc_fuzzer/icc_seeds" "$seeds"
bash "$root/tests/fuzz/run.sh" icc_fuzzer "$build" "$seconds" -max_len="$max_len" "$seeds"
