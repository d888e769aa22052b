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
if ! (cd "$build" && ctest --output-on-failure -j"$(nproc)"); then
  # A CI summary keeps only the end of the log: run the failures once more,
  # one at a time, so their own output (a sanitizer report, an assertion)
  # is what the log ends with, or shows that they pass alone.
  echo "== the failed tests once more, one at a time"
  (cd "$build" && ctest --rerun-failed --output-on-failure -j1 2>&1 | tail -n 150) || true
  exit 8
fi
for check in "$root"/scripts/ci.d/*.sh; do
  [ -e "$check" ] || continue
  echo "== $(basename "$check")"
  bash "$check" "$build"
done
