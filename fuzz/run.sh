#!/usr/bin/env bash
# Builds the fuzz targets (every fuzz/fuzz_*.cc) with clang in build-fuzz and
# runs each for SECONDS on a copy of its seed corpus. Exits non-zero when a
# target finds a crash, a leak or a sanitizer error.
# Usage: fuzz/run.sh SECONDS
set -euo pipefail
seconds=${1:?usage: fuzz/run.sh SECONDS}
root=$(cd "$(dirname "$0")/.." && pwd)
build=$root/build-fuzz
cmake -S "$root/fuzz" -B "$build" -DCMAKE_CXX_COMPILER=clang++ -DCMAKE_BUILD_TYPE=RelWithDebInfo >/dev/null
cmake --build "$build" -j2
for source in "$root"/fuzz/fuzz_*.cc; do
  target=$(basename "$source" .cc)
  corpus=$build/corpus/$target
  mkdir -p "$corpus" "$build/artifacts/$target"
  cp "$root/fuzz/corpus/$target/"* "$corpus/"
  echo "== $target for ${seconds}s"
  # The log stand-in's file writes are not wanted inside the loop.
  if ! YR_LOG_FILE= "$build/$target" -max_total_time="$seconds" -max_len=4096 -timeout=10 \
      -rss_limit_mb=2048 -print_final_stats=1 -artifact_prefix="$build/artifacts/$target/" \
      "$corpus" >"$build/$target.log" 2>&1; then
    tail -n 60 "$build/$target.log" >&2
    echo "$target failed; inputs in $build/artifacts/$target" >&2
    exit 1
  fi
  grep -E '^(stat::|Done )' "$build/$target.log" || true
done
