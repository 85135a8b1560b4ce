#!/usr/bin/env bash
# Checks kx_mkv.dll's export and import tables as objdump shows them:
# - exports: ordinal base 2, exactly GetFileFormats @2 and
#   GetFileMultiStreamFormats @3, nothing else;
# - imports: YR_Log.DLL by ordinals 1 and 2 only, YR_Utility.dll
#   cpu_num_processors by name only, everything else a Windows system DLL
#   (the GNU runtime is linked in, never imported).
# Usage: check_dll_tables.sh KX_MKV_DLL      Exit 77: no mingw objdump (skip).
set -uo pipefail

objdump=x86_64-w64-mingw32-objdump
if ! command -v "$objdump" >/dev/null 2>&1; then
  echo "SKIP: $objdump not installed (scripts/install-windows-deps.sh)"
  exit 77
fi
dll=${1:?usage: check_dll_tables.sh KX_MKV_DLL}
if [ ! -f "$dll" ]; then
  echo "FAIL: $dll does not exist (the cross build failed?)"
  exit 1
fi

dump=$("$objdump" -p "$dll") || { echo "FAIL: objdump could not read $dll"; exit 1; }
failures=0
check() {  # check CONDITION_STATUS DESCRIPTION
  if [ "$1" -eq 0 ]; then echo "ok: $2"; else echo "FAIL: $2"; failures=$((failures + 1)); fi
}

grep -q 'pei-x86-64' <<<"$dump"
check $? "PE32+ x86-64 image"

# ---- Exports ----
base=$(awk -F'\t+' '/^Ordinal Base/ {print $2; exit}' <<<"$dump")
[ "$base" = "2" ]
check $? "ordinal base is 2 (got '${base}')"
eat=$(awk '/Export Address Table[ \t]+[0-9a-f]+$/ {print $NF; exit}' <<<"$dump")
names=$(awk '/\[Name Pointer\/Ordinal\] Table[ \t]+[0-9a-f]+$/ {print $NF; exit}' <<<"$dump")
[ "$eat" = "00000002" ] && [ "$names" = "00000002" ]
check $? "two export addresses and two names (got '${eat}' and '${names}')"
# Lines "[   0] +base[   2] RVA Export RVA": the ordinals that exist.
ordinals=$(awk '/^Export Address Table -- Ordinal Base/ {on=1; next}
                on && /^$/ {exit}
                on {gsub(/[^0-9 ]/, " ", $0); split($0, f, " "); print f[2]}' <<<"$dump" |
           tr '\n' ' ')
[ "$ordinals" = "2 3 " ]
check $? "export ordinals are 2 and 3 (got '${ordinals}')"
# Lines "[   i] Name"; older objdump prints the unbiased index, newer ones the
# ordinal itself.
exports=$(awk -v base="$base" '/^\[Ordinal\/Name Pointer\] Table/ {on=1; next}
               on && /^$/ {exit}
               on {n = $0; sub(/^[ \t]*\[ *[0-9]+\] */, "", n); o = $0;
                   sub(/^[ \t]*\[ */, "", o); sub(/\].*/, "", o); o += 0;
                   if (o < base) o += base; print n "@" o}' <<<"$dump" | tr '\n' ' ')
[ "$exports" = "GetFileFormats@2 GetFileMultiStreamFormats@3 " ]
check $? "exports are GetFileFormats@2 GetFileMultiStreamFormats@3 (got '${exports}')"

# ---- Imports ----
# One line per imported entry: "DLL<TAB>ordinal N" or "DLL<TAB>name NAME".
imports=$(awk '/^The Import Tables/ {on=1; next}
               /^The Export Tables/ || /^There is an export table/ {on=0}
               !on {next}
               /DLL Name:/ {dll=$NF; next}
               /Hint\/Ord/ {next}
               /^$/ {dll=""; next}
               dll != "" && /^\t/ {
                 if ($1 ~ /^8000000000000/) { o = $2; sub(/^0+/, "", o); print dll "\tordinal " o }
                 else if (NF >= 3) print dll "\tname " $3
               }' <<<"$dump")

log_imports=$(awk -F'\t' 'tolower($1) == "yr_log.dll" {print $2}' <<<"$imports" | sort | tr '\n' ';')
[ "$log_imports" = "ordinal 1;ordinal 2;" ]
check $? "YR_Log.DLL imported by ordinals 1 and 2 only (got '${log_imports}')"
log_dll=$(grep -o 'DLL Name: [Yy][Rr]_[Ll]og\.[Dd][Ll][Ll]' <<<"$dump" | awk '{print $3}')
[ "$log_dll" = "YR_Log.DLL" ]
check $? "the log library is named YR_Log.DLL (got '${log_dll}')"

utility_imports=$(awk -F'\t' 'tolower($1) == "yr_utility.dll" {print $2}' <<<"$imports" | tr '\n' ';')
[ "$utility_imports" = "name cpu_num_processors;" ]
check $? "YR_Utility.dll imported as cpu_num_processors by name only (got '${utility_imports}')"

others=$(awk -F'\t' '{print $1}' <<<"$imports" | sort -u |
         grep -viE '^(yr_log\.dll|yr_utility\.dll)$' || true)
bad=""
for name in $others; do
  case "${name,,}" in
    kernel32.dll | msvcrt.dll | user32.dll | advapi32.dll | ntdll.dll | ucrtbase.dll | api-ms-win-*) ;;
    *) bad="$bad $name" ;;
  esac
done
[ -z "$bad" ]
check $? "every other import is a system DLL ($(echo $others | tr '\n' ' '); not allowed:${bad:- none})"

if [ "$failures" -ne 0 ]; then
  echo "$failures check(s) failed for $dll"
  exit 1
fi
echo "kx_mkv.dll tables are as the host expects"
