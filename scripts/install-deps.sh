#!/usr/bin/env bash
# Installs the Debian packages the build, the tools and the tests need, when
# any is missing. With --windows also the mingw-w64 cross compiler (posix
# thread model) and wine, for the Windows DLL and its tests. Runs apt-get as
# root (directly or through sudo).
set -euo pipefail
packages=(
  cmake g++ make pkg-config libgtest-dev python3
  ffmpeg mkvtoolnix libwebm-dev libavformat-dev libavcodec-dev libavutil-dev
  clang libclang-rt-14-dev
  dpkg-dev unzip
)
if [ "${1:-}" = "--windows" ]; then
  packages+=(g++-mingw-w64-x86-64-posix binutils-mingw-w64-x86-64 wine wine64)
fi
missing=()
for p in "${packages[@]}"; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed" || missing+=("$p")
done
[ ${#missing[@]} -eq 0 ] && exit 0
SUDO=""
[ "$(id -u)" -ne 0 ] && SUDO="sudo"
export DEBIAN_FRONTEND=noninteractive
$SUDO apt-get update
$SUDO apt-get install -y --no-install-recommends "${missing[@]}"
