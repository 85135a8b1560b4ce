#!/usr/bin/env bash
# Makes both packages from the built trees with scripts/package.sh and checks
# their exact file lists, a kxmux run from the unpacked .deb and the tables of
# the DLL in the .zip. Usage: check_packages.sh SOURCE_DIR LINUX_BUILD WINDOWS_BUILD WORK_DIR
set -euo pipefail
source_dir=$1 work=$4
rm -rf "$work"
mkdir -p "$work"  # its log goes beside it, so the parent must exist whatever ran first
KX_LINUX_BUILD_DIR=$2 KX_WINDOWS_BUILD_DIR=$3 "$source_dir/scripts/package.sh" --no-build "$work" \
  >"$work.log" 2>&1 || { cat "$work.log"; exit 1; }

expect() {  # expect WHAT ACTUAL EXPECTED...
  local what=$1 actual=$2
  shift 2
  [ "$actual" = "$(printf '%s\n' "$@")" ] || { echo "FAIL: $what: got"$'\n'"$actual" >&2; exit 1; }
  echo "ok: $what"
}
docs=(share/doc/kx_mkv/{README.md,compatibility.md,host-guide.md,reliability.md})
deb=$(echo "$work"/*.deb)
expect "files of the .deb" "$(dpkg-deb -c "$deb" | awk '$1 !~ /^d/ {print $6}' | LC_ALL=C sort)" \
  ./usr/bin/kxmux ./usr/include/kx_mkv/kx_mkv.h ./usr/lib/cmake/kx_mkv/kx_mkv-config-version.cmake \
  ./usr/lib/cmake/kx_mkv/kx_mkv-config.cmake ./usr/lib/libYR_Log.so ./usr/lib/libYR_Utility.so \
  ./usr/lib/libkx_mkv.so ./usr/lib/libkx_mkv.so.1 ./usr/lib/libkx_mkv.so.1.0 \
  ./usr/lib/pkgconfig/kx_mkv.pc "${docs[@]/#/./usr/}" ./usr/share/kx_mkv/{README.md,sample.mp4}
# Unpacked anywhere, its kxmux remuxes its sample through its module.
dpkg-deb -x "$deb" "$work/deb"
(cd "$work" && deb/usr/bin/kxmux --json) >"$work/deb.json"
grep -qF "\"path\":\"$work/deb/usr/lib/libkx_mkv.so.1.0\"" "$work/deb.json"

zip=$(echo "$work"/*.zip)
expect "files of the .zip" "$(unzip -Z1 "$zip" | grep -v '/$' | LC_ALL=C sort)" \
  bin/kx_mkv.dll include/kx_mkv/kx_mkv.h "${docs[@]}"
unzip -q "$zip" bin/kx_mkv.dll -d "$work/zip"
python3 "$source_dir/tests/windows/windows.py" tables "$work/zip/bin/kx_mkv.dll"
