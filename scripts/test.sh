#!/usr/bin/env bash
# Installs what is missing, builds everything with AddressSanitizer and
# UndefinedBehaviorSanitizer, and runs the whole test suite, then any extra
# checks in scripts/ci.d/. Usage: scripts/test.sh [build-dir]
set -euo pipefail
root="$(cd "$(dirname "$0")/.." && pwd)"
build="${1:-$root/build-test}"
"$root/scripts/install-deps.sh"
cmake -S "$root" -B "$build" -DCMAKE_BUILD_TYPE=RelWithDebInfo -DKRO_SANITIZE=ON \
  -DKRO_BUILD_TESTS=ON -DKRO_BUILD_BENCH=OFF >/dev/null
cmake --build "$build" -j"$(nproc)"
export ASAN_OPTIONS="detect_leaks=1:abort_on_error=1"
export UBSAN_OPTIONS="print_stacktrace=1:halt_on_error=1"
(cd "$build" && ctest --output-on-failure -j"$(nproc)")
for check in "$root"/scripts/ci.d/*.sh; do
  [ -e "$check" ] || continue
  echo "== $(basename "$check")"
  bash "$check" "$build"
done
