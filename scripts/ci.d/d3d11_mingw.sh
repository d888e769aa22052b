#!/usr/bin/env bash
# The Direct3D 11 helpers are written once for Windows and for the Vulkan
# layer used elsewhere: compile src/d3d11/ with MinGW-w64 against the real
# d3d11.h, dxgi.h and d3dcompiler.h (syntax and types only; nothing is linked),
# src/cuda/ likewise,
# and the public header by itself.
# The posix thread model is the one whose C++ library has std::mutex.
# Usage: scripts/ci.d/d3d11_mingw.sh [build-dir]
set -euo pipefail
root="$(cd "$(dirname "$0")/../.." && pwd)"
cxx=x86_64-w64-mingw32-g++-posix
for source in "$root"/src/d3d11/*.cpp; do
  "$cxx" -std=c++17 -fsyntax-only -Wall -Wextra -Werror -DKRO_BUILDING_LIBRARY \
    -I"$root/include" -I"$root/src" "$source"
done
# The CUDA backend's Windows side (the driver DLL, the WMI version query);
# nv-codec-headers come from the host's include folder, alone.
ffnv="$(mktemp -d)"
trap 'rm -rf "$ffnv"' EXIT
ln -s /usr/include/ffnvcodec "$ffnv/ffnvcodec"
for source in "$root"/src/cuda/*.cpp; do
  "$cxx" -std=c++17 -fsyntax-only -Wall -Wextra -Werror -DKRO_BUILDING_LIBRARY \
    -I"$root/include" -I"$root/src" -isystem "$ffnv" "$source"
done
# The public header on its own, as a Windows host sees it.
"$cxx" -std=c++17 -fsyntax-only -Wall -Wextra -Wpedantic -Werror -I"$root/include" \
  "$root/tests/consumer/header_only.cpp"
echo "src/d3d11, src/cuda and the public header compile against the Windows SDK headers"
