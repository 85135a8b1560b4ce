#!/usr/bin/env bash
# Installs what is missing, builds everything and runs every test.
# Usage: scripts/test.sh [--sanitize]   (build dir: build, or build-asan)
# With CI=true a test that was skipped or did not run fails the run, as does
# a suite whose tools are missing (the configure stops).
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
log=$build/ctest-output.txt
status=0
ctest --test-dir "$build" --output-on-failure --no-tests=error -j"$(nproc)" | tee "$log" ||
  status=$?
if grep -qE '\*\*\*(Skipped|Not Run)|tests did not run' "$log"; then
  echo "scripts/test.sh: some tests did not run (see above)" >&2
  [ "${CI:-}" = true ] && status=1
fi
exit $status
