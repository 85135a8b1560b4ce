#!/usr/bin/env bash
# Installs what the Windows build and its tests need (see install-deps.sh).
exec "$(dirname "$0")/install-deps.sh" --windows
