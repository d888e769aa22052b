#!/usr/bin/env bash
# Builds the benchmarks (release, no sanitizers) and runs them all.
# Usage: scripts/bench.sh [build-dir] [extra benchmark flags...]
set -euo pipefail
root="$(cd "$(dirname "$0")/.." && pwd)"
build="${1:-$root/build-bench}"
shift || true
"$root/scripts/install-deps.sh"
cmake -S "$root" -B "$build" -DCMAKE_BUILD_TYPE=Release -DKRO_BUILD_TESTS=OFF -DKRO_BUILD_BENCH=ON >/dev/null
cmake --build "$build" -j"$(nproc)"
for bench in "$build"/bench/*_bench; do
  echo "== $(basename "$bench")"
  "$bench" "$@"
done
