#!/usr/bin/env bash
# Installs what is missing, builds everything and runs every test.
# Usage: scripts/test.sh [--sanitize]   (build dir: build, or build-asan)
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/install-deps.sh
build=build
flags=()
if [ "${1:-}" = "--sanitize" ]; then
  build=build-asan
  flags=(-DKX_SANITIZE=ON -DCMAKE_BUILD_TYPE=Debug)
fi
cmake -S . -B "$build" "${flags[@]}"
cmake --build "$build" -j"$(nproc)"
ctest --test-dir "$build" --output-on-failure -j"$(nproc)"
