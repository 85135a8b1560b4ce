#!/usr/bin/env bash
# Runs the Windows test programs of the cross build under wine.
#
#   wine_tests.sh prefix PREFIX
#       make the private wine prefix (slow the first time)
#   wine_tests.sh platform PREFIX WIN_BIN WORK
#       platform_check.exe: the Windows branches of the platform layer
#   wine_tests.sh scenarios PREFIX WIN_BIN WORK LINUX_HOST MODULE_SO COMPARE
#       the shared scenarios through kx_mkv.dll under wine and through
#       MODULE_SO on Linux; every file, the reports and the logs must match
#       (files: all bytes except the DateUTC value)
#   wine_tests.sh shutdown PREFIX
#       stop the prefix's wineserver
#
# Exit 77 (skip) when wine is not installed.
set -uo pipefail

find_wine() {
  if command -v wine >/dev/null 2>&1; then
    command -v wine
  elif [ -x /usr/lib/wine/wine64 ]; then
    echo /usr/lib/wine/wine64
  fi
}

find_wineserver() {
  if command -v wineserver >/dev/null 2>&1; then
    command -v wineserver
  elif [ -x /usr/lib/wine/wineserver64 ]; then
    echo /usr/lib/wine/wineserver64
  fi
}

command=${1:?usage: wine_tests.sh prefix|platform|scenarios|shutdown PREFIX ...}
prefix=${2:?wine prefix}
wine=$(find_wine)
if [ -z "$wine" ]; then
  echo "SKIP: wine is not installed (scripts/install-windows-deps.sh)"
  exit 77
fi

export WINEPREFIX=$prefix
export WINEARCH=win64
export WINEDEBUG=-all
# No Mono or Gecko installer prompts, no desktop menu entries.
export WINEDLLOVERRIDES="mscoree,mshtml=;winemenubuilder.exe=d"
# Windows file names reach the Linux file system as UTF-8.
export LC_ALL=C.UTF-8
unset DISPLAY WAYLAND_DISPLAY

# wine's output goes through a file: a wineserver that outlives the program
# must not hold CTest's output pipe open.
run_wine() {  # run_wine LOGFILE PROGRAM ARGS...
  local log=$1
  shift
  "$wine" "$@" >"$log" 2>&1 </dev/null
  local status=$?
  tr -d '\r' <"$log"
  return $status
}

# The prefix maps drive Z: to the Unix root; programs get Windows paths.
winpath() { printf 'Z:%s' "${1//\//\\}"; }

need_programs() {  # need_programs DIR NAME...
  local dir=$1
  shift
  for name in "$@"; do
    if [ ! -f "$dir/$name" ]; then
      echo "FAIL: $dir/$name missing (did the cross build run? scripts/build-windows.sh)"
      exit 1
    fi
  done
}

case "$command" in
  prefix)
    mkdir -p "$prefix"
    log=$(mktemp)
    "$wine" cmd /c exit >"$log" 2>&1 </dev/null
    status=$?
    tr -d '\r' <"$log"
    rm -f "$log"
    [ $status -eq 0 ] && echo "wine prefix ready: $prefix"
    exit $status
    ;;

  platform)
    bin=${3:?WIN_BIN}
    work=${4:?WORK}
    need_programs "$bin" platform_check.exe kx_mkv.dll
    rm -rf "$work"
    mkdir -p "$work"
    run_wine "$work/wine.out" "$bin/platform_check.exe" "$(winpath "$(cd "$work" && pwd)")"
    exit $?
    ;;

  scenarios)
    bin=${3:?WIN_BIN}
    work=${4:?WORK}
    linux_host=${5:?LINUX_HOST}
    module_so=${6:?MODULE_SO}
    compare=${7:?COMPARE}
    need_programs "$bin" windows_host.exe kx_mkv.dll YR_Log.DLL YR_Utility.dll
    rm -rf "$work"
    mkdir -p "$work"
    work=$(cd "$work" && pwd)

    echo "== Linux host ($module_so)"
    "$linux_host" "$module_so" "$work/linux" "$work/linux.report" "$work/linux.log"
    linux_status=$?
    echo "== Windows host under wine ($bin/kx_mkv.dll)"
    mkdir -p "$work/wine"
    run_wine "$work/wine.out" "$bin/windows_host.exe" "$(winpath "$(cd "$bin" && pwd)/kx_mkv.dll")" \
      "$(winpath "$work/wine")" "$(winpath "$work/wine.report")" "$(winpath "$work/wine.log")"
    wine_status=$?

    failures=0
    if [ $linux_status -ne 0 ]; then
      echo "FAIL: the Linux host failed ($linux_status)"
      failures=$((failures + 1))
    fi
    if [ $wine_status -ne 0 ]; then
      echo "FAIL: the Windows host failed ($wine_status)"
      failures=$((failures + 1))
    fi

    echo "== Reports (Linux | Windows)"
    paste -d'|' "$work/linux.report" "$work/wine.report" 2>/dev/null || true
    if ! cmp -s "$work/linux.report" "$work/wine.report"; then
      echo "FAIL: the scenario reports differ"
      diff "$work/linux.report" "$work/wine.report"
      failures=$((failures + 1))
    fi

    # The logs name the output files by their full paths; the wine host sees
    # the same folder as Z:\ followed by the Unix path with backslashes.
    unix_dir="$work/linux/"
    wine_dir="$(winpath "$work/wine/")"
    sed_literal() { printf '%s' "$1" | sed -e 's/[]\/$*.^[]/\\&/g'; }
    sed "s/$(sed_literal "$unix_dir")/<out>\\//g" "$work/linux.log" >"$work/linux.log.cmp" 2>/dev/null ||
      : >"$work/linux.log.cmp"
    sed "s/$(sed_literal "$wine_dir")/<out>\\//g" "$work/wine.log" >"$work/wine.log.cmp" 2>/dev/null ||
      : >"$work/wine.log.cmp"
    if ! cmp -s "$work/linux.log.cmp" "$work/wine.log.cmp"; then
      echo "FAIL: the host logs differ (output folder masked)"
      diff "$work/linux.log.cmp" "$work/wine.log.cmp" | head -40
      failures=$((failures + 1))
    else
      echo "ok: host logs equal ($(wc -l <"$work/linux.log.cmp") lines)"
    fi

    echo "== Files"
    "$compare" "$work/linux" "$work/wine" || failures=$((failures + 1))
    [ $failures -eq 0 ] && echo "ok: no difference between the Linux and the Windows module"
    exit $((failures == 0 ? 0 : 1))
    ;;

  shutdown)
    server=$(find_wineserver)
    [ -n "$server" ] && [ -d "$prefix" ] && "$server" -k >/dev/null 2>&1
    exit 0
    ;;

  *)
    echo "unknown command $command" >&2
    exit 2
    ;;
esac
