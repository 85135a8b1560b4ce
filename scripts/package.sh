#!/usr/bin/env bash
# Makes the two packages: the Debian package of the Linux build (module, host
# stand-ins, kxmux, header, CMake and pkg-config files, docs) and the Windows
# .zip of the mingw-w64 build (kx_mkv.dll, header, docs).
# Usage: scripts/package.sh [--no-build] [OUTDIR]      (default OUTDIR: packages)
#   --no-build  package the build trees as they are (they must be built)
# Environment: KX_LINUX_BUILD_DIR (default build), KX_WINDOWS_BUILD_DIR
# (default build-win), KX_JOBS (default 2).
# Exit 77 when the cross compiler is not installed (scripts/install-windows-deps.sh).
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
build=true
if [ "${1:-}" = "--no-build" ]; then
  build=false
  shift
fi
out=$(realpath -m "${1:-$root/packages}")
linux=$(realpath -m "${KX_LINUX_BUILD_DIR:-$root/build}")
windows=$(realpath -m "${KX_WINDOWS_BUILD_DIR:-$root/build-win}")

if $build; then
  cmake -S "$root" -B "$linux"
  cmake --build "$linux" -j"${KX_JOBS:-2}"
  "$root/scripts/build-windows.sh" "$windows"
fi
for tree in "$linux" "$windows"; do
  if [ ! -f "$tree/CPackConfig.cmake" ]; then
    echo "package.sh: $tree is not a configured build tree" >&2
    exit 1
  fi
done

mkdir -p "$out"
# CPack keeps its staging trees beside the packages; they go afterwards.
cpack -G DEB --config "$linux/CPackConfig.cmake" -B "$out"
# The cross tree may be being built by another test run; see build-windows.sh.
flock "$windows/.build-lock" cpack -G ZIP --config "$windows/CPackConfig.cmake" -B "$out"
rm -rf "$out/_CPack_Packages"
ls -1 "$out"/*.deb "$out"/*.zip
