#!/usr/bin/env bash
# Builds the Python package (python/, its own Release build of the library:
# the ASan build must not be loaded into an uninstrumented interpreter) into
# a virtual environment under <build-dir>/python and runs its pytest suite.
# The krocolor program of the test build is the reference for the binding's
# bytes. Test-only dependencies come from PyPI: numpy, pytest, and Pillow,
# whose ImageCms (Little CMS) is the oracle of the ICC tests.
# Usage: scripts/ci.d/python.sh <build-dir>
set -euo pipefail
root="$(cd "$(dirname "$0")/../.." && pwd)"
build="$(cd "${1:-$root/build-test}" && pwd)/python"
venv="$build/venv"
[ -x "$venv/bin/python" ] || python3 -m venv "$venv"
"$venv/bin/python" -m pip install -q --disable-pip-version-check \
  numpy pytest Pillow "scikit-build-core>=0.10" "pybind11>=2.12"
# No build isolation: the build tools above are reused; build-dir keeps the
# compiled library between runs.
CMAKE_BUILD_PARALLEL_LEVEL="$(nproc)" "$venv/bin/python" -m pip install -q --disable-pip-version-check \
  --no-build-isolation -C build-dir="$build/wheel-build" "$root/python"
# Run from outside the source tree so the installed package is the one imported.
cd "$build"
KROCOLOR_CLI="$(dirname "$build")/tools/krocolor/krocolor" "$venv/bin/python" -m pytest -q -p no:cacheprovider \
  "$root/python/tests"
