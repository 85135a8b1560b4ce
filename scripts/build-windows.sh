#!/usr/bin/env bash
# Cross-builds the Windows module kx_mkv.dll, the host stand-ins YR_Log.DLL
# and YR_Utility.dll, and the Windows test programs (windows_host.exe,
# platform_check.exe) with mingw-w64. Everything lands in BUILD_DIR/bin.
# Usage: scripts/build-windows.sh [BUILD_DIR]      (default: build-win)
# Environment: KX_WINDOWS_BUILD_TYPE (default Release), KX_JOBS (default 2).
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
build=${1:-$root/build-win}

if ! command -v x86_64-w64-mingw32-g++-posix >/dev/null 2>&1; then
  echo "x86_64-w64-mingw32-g++-posix is not installed: run scripts/install-deps.sh" >&2
  exit 1
fi

mkdir -p "$build"
# The Linux test suites of several build trees may all ask for this tree at
# once; one build at a time.
exec 9>"$build/.build-lock"
flock 9

cmake -S "$root" -B "$build" \
  -DCMAKE_TOOLCHAIN_FILE="$root/cmake/mingw-w64-x86_64.cmake" \
  -DCMAKE_BUILD_TYPE="${KX_WINDOWS_BUILD_TYPE:-Release}"
cmake --build "$build" -j"${KX_JOBS:-2}"
echo "Windows module: $build/bin/kx_mkv.dll"
