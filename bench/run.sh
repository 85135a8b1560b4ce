#!/usr/bin/env bash
# Builds the benchmark (Release-like flags of the normal build) and runs it.
# Usage: bench/run.sh [kx_bench options]   e.g. --runs 11 --out-dir /dev/shm/kx_out
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/install-deps.sh
cmake -S . -B build >/dev/null
cmake --build build -j"$(nproc)" --target kx_bench >/dev/null
echo "kx_bench $* on $(uname -srm), $(nproc) cores, $(grep -m1 'model name' /proc/cpuinfo | cut -d: -f2 | xargs)"
echo "load average before: $(cut -d' ' -f1-3 /proc/loadavg)"
build/bench/kx_bench "$@"
