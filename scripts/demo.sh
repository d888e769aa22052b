#!/usr/bin/env bash
# Installs what is missing, builds the library (release) and runs the main
# job on a built-in example frame. Usage: scripts/demo.sh [build-dir]
set -euo pipefail
root="$(cd "$(dirname "$0")/.." && pwd)"
build="${1:-$root/build}"
"$root/scripts/install-deps.sh"
cmake -S "$root" -B "$build" -DCMAKE_BUILD_TYPE=Release -DKRO_BUILD_TESTS=OFF >/dev/null
cmake --build "$build" -j"$(nproc)"
if [ -x "$build/tools/krocolor/krocolor" ]; then
  "$build/tools/krocolor/krocolor" demo
else
  "$build/examples/nv12_to_rgba" nv12_to_rgba.ppm
fi
