#!/usr/bin/env bash
# Looks into built libraries without running them: what they import and export,
# how they may be placed in memory, what the file says of itself.
#
#   scripts/check-library.sh FILE...
#   scripts/check-library.sh --windows 6.0 FILE...    would it load on this older Windows?
set -euo pipefail
. "$(dirname "$0")/lib.sh"
answer_help "$@"
# Windows 7, as README.md says; a library with a newer import is not loaded there at all.
oldest_windows="6.1"
if [ "${1:-}" = --windows ]; then
  [[ "${2:-}" =~ ^[0-9]+\.[0-9]+$ ]] || wrong_usage "--windows needs a version such as 6.1"
  oldest_windows=$2
  shift 2
fi
refuse_options "$@"

# Windows' own and nothing else: the library is one file to deploy. And only those that
# Windows loads from its own folder whatever lies beside the host; the others are loaded
# late (core/LateLibrary.h), and have no row in the list.
import_list="$root/scripts/library-imports.txt"
expected_exports="DllGetClassObject DllInstall DllRegisterServer DllUnregisterServer GetExtVersion"
expected_version=$(product_version)
expected_product="Nimbrel Veskard Agent"

failed=0
complain() { printf '%s\n' "$file: $*" >&2; failed=1; }

# "DLL FUNCTION" for each import; one that has a number only is called "<none>".
imports() {
  awk '/^\tDLL Name:/ { dll = tolower($3); sub(/\.dll$/, "", dll) }
    /^\t[0-9a-f]+\t *[0-9]+ / { print dll, $3 }' <<<"$headers"
}

check_imports() {
  local wrong
  wrong=$(imports | awk -v oldest="$oldest_windows" -v list="${import_list#"$root"/}" '
    FNR == NR { if ($1 ~ /^[0-9]/) since[$2 " " $3] = $1; next }
    !($0 in since) { print "imports " $2 " of " $1 ", which has no row in " list; next }
    since[$0] + 0 > oldest + 0 { print "imports " $2 " of " $1 ", which Windows " oldest " does not have, only " since[$0] }
    END { if (FNR == NR) print "imports nothing" }
  ' "$import_list" -)
  [ -z "$wrong" ] || while read -r line; do complain "$line"; done <<<"$wrong"
}

check_exports() {
  local exports
  exports=$(sed -n '/^\[Ordinal\/Name Pointer\] Table/,/^$/s/^\t\[ *[0-9]*\] //p' <<<"$headers" | tr '\n' ' ')
  [ "$exports" = "$expected_exports " ] || complain "exports $exports"
}

check_placement() {
  local wanted="DYNAMIC_BASE NX_COMPAT" flag
  case "$headers" in *pei-x86-64*) wanted="$wanted HIGH_ENTROPY_VA" ;; esac
  for flag in $wanted; do
    grep -qw "$flag" <<<"$headers" || complain "$flag is not set"
  done
  # Without relocations the system cannot move the library at all.
  objdump -h "$file" | grep -qw '\.reloc' || complain "has no relocations"
}

check_reproducible_fields() {
  grep -q '^Time/Date.*Jan  1 00:00:00 1970' <<<"$headers" || complain "carries the time of its linking"
  if grep -qaF "$root/" "$file"; then complain "carries the path of the tree that it was built in"; fi
}

check_version() {
  local resource
  # UTF-16 to something that grep reads; the resource is plain ASCII text in it.
  resource=$(wrestool --extract --raw --type=16 "$file" | tr -d '\000')
  grep -qa "ProductVersion.*$expected_version" <<<"$resource" || complain "is not version $expected_version"
  grep -qa "ProductName.*$expected_product" <<<"$resource" || complain "does not name its product"
}

[ "$#" -gt 0 ] || wrong_usage "which library?"
for file in "$@"; do
  [ -f "$file" ] || die "$file does not exist"
  headers=$(objdump -p "$file")
  check_imports
  check_exports
  check_placement
  check_reproducible_fields
  check_version
done
exit "$failed"
