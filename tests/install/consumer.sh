#!/usr/bin/env bash
# Usage: consumer.sh SOURCE_DIR BUILD_DIR WORK_DIR [CMAKE_ARGS]. Installs the build into a fresh
# prefix (with the host stand-ins a real host would bring), builds the consumer project against it
# and runs both builds of the guide's example; their files must hold its tracks and Cues (closed).
set -euo pipefail
source_dir=$1 work=$3
prefix=$work/prefix
rm -rf "$work"
cmake --install "$2" --prefix "$prefix" >/dev/null
cmake --install "$2" --prefix "$prefix" --component host_libs >/dev/null
export PKG_CONFIG_PATH=$prefix/lib/pkgconfig
cmake -S "$source_dir/tests/install/consumer" -B "$work/consumer" -DCMAKE_PREFIX_PATH="$prefix" \
  -DKX_HOST_GUIDE="$source_dir/docs/host-guide.md" "${@:4}" >/dev/null
cmake --build "$work/consumer" >/dev/null
for way in cmake pkgconfig; do
  YR_LOG_FILE=$work/$way.log "$work/consumer/example_$way" "$work/$way.mkv"
  grep -qx 'kx_mkv.dll: Return file formats...' "$work/$way.log"
  found=$(mkvinfo -a "$work/$way.mkv" | grep -oE 'Codec ID: \S+|^\|\+ Cues' | tr '\n' ' ')
  [ "$found" = "Codec ID: V_VP9 Codec ID: A_OPUS |+ Cues " ] || { echo "FAIL: $way: $found" >&2; exit 1; }
  echo "ok: the example built through $way wrote $work/$way.mkv"
done
