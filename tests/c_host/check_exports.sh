#!/bin/sh
# The module must export exactly the two catalogue functions and nothing else
# of its own or of the C++ runtime it was linked with.
# Usage: check_exports.sh NM LIBRARY
set -eu
nm_tool=$1
library=$2
expected='GetFileFormats T
GetFileMultiStreamFormats T'
actual=$("$nm_tool" -D --defined-only "$library" | awk '{ sub(/@.*/, "", $3); print $3, $2 }' | sort)
if [ "$actual" != "$expected" ]; then
  echo "exported symbols of $library:" >&2
  echo "$actual" >&2
  echo "expected:" >&2
  echo "$expected" >&2
  exit 1
fi
echo "exports: GetFileFormats GetFileMultiStreamFormats"
