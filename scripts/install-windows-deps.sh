#!/usr/bin/env bash
# Installs what the Windows build and its tests need, when missing: the
# mingw-w64 cross compiler (posix thread model) and wine to run the Windows
# test programs. Runs apt-get as root (directly or through sudo).
set -euo pipefail
packages=(g++-mingw-w64-x86-64-posix binutils-mingw-w64-x86-64 wine wine64)
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
