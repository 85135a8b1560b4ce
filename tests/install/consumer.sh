#!/usr/bin/env bash
# Usage: consumer.sh SOURCE_DIR BUILD_DIR WORK_DIR [CMAKE_ARGS]. Installs the build into a fresh
# prefix (with the host stand-ins a real host would bring), builds the consumer project against it
# and runs both builds of the guide's example; their files must hold its tracks and Cues (closed).
set -euo pipefail
source_dir=$1 work=$3 prefix=$3/prefix
rm -rf "$work"
cmake --install "$2" --prefix "$prefix" >/dev/null
cmake --install "$2" --prefix "$prefix" --component host_libs >/dev/null
export PKG_CONFIG_PATH=$prefix/lib/pkgconfig
cmake -S "$source_dir/tests/install/consumer" -B "$work/consumer" -DCMAKE_PREFIX_PATH="$prefix" \
  -DKX_HOST_GUIDE="$source_dir/docs/host-guide.md" "${@:4}" >/dev/null
cmake --build "$work/consumer" >/dev/null
tracks_aac='Codec ID: A_AAC private data: size 2'
expected="Codec ID: V_VP9 $tracks_aac |+ Cues Codec ID: V_VP9 $tracks_aac $tracks_aac |+ Cues "
for way in cmake pkgconfig; do
  YR_LOG_FILE=$work/$way.log "$work/consumer/example_$way" "$work/$way.mkv" "$work/$way-multi.mkv"
  grep -qx 'kx_mkv: InitMediaFileMultiStream Success,.*' "$work/$way.log"
  found=$(for file in "$work/$way.mkv" "$work/$way-multi.mkv"; do mkvinfo -a "$file"; done |
    grep -oE 'Codec ID: \S+|private data: size [0-9]+|^\|\+ Cues' | tr '\n' ' ')
  [ "$found" = "$expected" ] || { echo "FAIL: $way: $found" >&2; exit 1; }
done
