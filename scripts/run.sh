#!/usr/bin/env bash
# Installs what is missing, builds the module and kxmux, and remuxes the
# bundled sample (samples/sample.mp4) into out/sample.mkv, printing kxmux's
# summary of the written file.
# Usage: scripts/run.sh [kxmux options]   e.g. scripts/run.sh --video-fourcc I264
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/install-deps.sh
cmake -S . -B build
cmake --build build --target kxmux -j"$(nproc)"
mkdir -p out
exec build/tools/kxmux/kxmux "$@" samples/sample.mp4 out/sample.mkv
