#!/usr/bin/env bash
# Installs what the Windows build and its tests need: install-deps.sh does.
exec "$(dirname "$0")/install-deps.sh"
