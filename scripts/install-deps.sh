#!/usr/bin/env bash
# Installs the Debian packages that the build, the tools and every test need,
# when any is missing: also the mingw-w64 cross compiler (posix threads),
# GoogleTest's sources and wine for the Windows DLL and its tests, and clang
# for the fuzz targets. Runs apt-get as root (directly or through sudo).
set -euo pipefail
packages=(
  cmake g++ make pkg-config libgtest-dev googletest python3
  ffmpeg mkvtoolnix libwebm-dev libavformat-dev libavcodec-dev libavutil-dev
  clang libclang-rt-14-dev chromium
  dpkg-dev unzip
  g++-mingw-w64-x86-64-posix binutils-mingw-w64-x86-64 wine wine64
)
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
