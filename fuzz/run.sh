#!/usr/bin/env bash
# Builds the fuzz targets with clang in build-fuzz and runs each for SECONDS
# on its seed corpus (copied, so the checked-in corpus stays as it is).
# Exits non-zero when a target finds a crash, a leak or a sanitizer error.
# Usage: fuzz/run.sh SECONDS
set -euo pipefail
seconds=${1:?usage: fuzz/run.sh SECONDS}
root=$(cd "$(dirname "$0")/.." && pwd)
build=$root/build-fuzz
if ! command -v clang++ >/dev/null; then
  echo "fuzz/run.sh: clang++ is needed for libFuzzer (scripts/install-deps.sh installs it)" >&2
  exit 1
fi
cmake -S "$root/fuzz" -B "$build" -DCMAKE_CXX_COMPILER=clang++ -DCMAKE_BUILD_TYPE=RelWithDebInfo >/dev/null
targets=(fuzz_hvcc fuzz_hevc_reframe fuzz_single_stream)
cmake --build "$build" -j2 --target "${targets[@]}"
for target in "${targets[@]}"; do
  corpus=$build/corpus/$target
  mkdir -p "$corpus" "$build/artifacts/$target"
  if [ -d "$root/fuzz/corpus/$target" ]; then cp "$root/fuzz/corpus/$target/"* "$corpus/"; fi
  echo "== $target for ${seconds}s"
  # The log stand-in's file writes are not wanted inside the loop.
  set +e
  YR_LOG_FILE= "$build/$target" -max_total_time="$seconds" -max_len=4096 -timeout=10 \
    -rss_limit_mb=2048 -print_final_stats=1 -artifact_prefix="$build/artifacts/$target/" \
    "$corpus" >"$build/$target.log" 2>&1
  status=$?
  set -e
  grep -E '^(stat::|Done |#[0-9]+[[:space:]]+DONE)' "$build/$target.log" || true
  if [ "$status" -ne 0 ]; then
    tail -n 60 "$build/$target.log" >&2
    echo "$target failed (exit $status); inputs in $build/artifacts/$target" >&2
    exit 1
  fi
done
