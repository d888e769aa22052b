#!/usr/bin/env bash
# Builds the ICC profile fuzzer with clang (libFuzzer, AddressSanitizer,
# UndefinedBehaviorSanitizer) from the engine's sources and runs it for about
# 60 seconds, seeded with the Debian profile collections and the embedded
# profiles. Any finding fails the check; its input is kept in the output
# folder and must become a regression test.
# Usage: scripts/ci.d/icc_fuzz.sh <build-dir> [seconds]
set -euo pipefail
root="$(cd "$(dirname "$0")/../.." && pwd)"
build="${1:-$root/build-test}"
seconds="${2:-60}"
out="$build/icc-fuzz"
mkdir -p "$out/corpus" "$out/findings"
cxx="${CLANGXX:-clang++}"
if ! command -v "$cxx" >/dev/null; then
  echo "icc_fuzz: $cxx not found (install scripts/deps/icc.txt)" >&2
  exit 1
fi
"$cxx" -std=c++17 -g -O1 -ffp-contract=off -fsanitize=fuzzer,address,undefined \
  -fno-sanitize-recover=undefined -I"$root/include" -I"$root/src" \
  "$root"/src/icc/*.cpp "$root/src/cpu/cpu_task.cpp" \
  "$root/tests/fuzz/icc_fuzzer_stubs.cpp" "$root/tests/fuzz/icc_fuzzer.cpp" \
  -lpthread -o "$out/icc_fuzzer"
seeds=("$out/corpus")
for dir in /usr/share/color/icc "$root/tests/fuzz/corpus"; do
  [ -d "$dir" ] && seeds+=("$dir")
done
"$out/icc_fuzzer" -max_total_time="$seconds" -timeout=10 -rss_limit_mb=2048 \
  -artifact_prefix="$out/findings/" -print_final_stats=1 "${seeds[@]}" 2>"$out/fuzz.log" || {
  tail -60 "$out/fuzz.log" >&2
  echo "icc_fuzz: finding stored under $out/findings" >&2
  exit 1
}
tail -12 "$out/fuzz.log"
