#!/usr/bin/env bash
# Makes the installation package, VeskardShellExt-VERSION-x64.msi:
#
#   scripts/package.sh                     builds first; the package is in build/package/
#   scripts/package.sh --from FOLDER       packs the programs of this build folder
#   scripts/package.sh --to FOLDER         puts the package there
#
# It is unsigned unless VESKARD_SIGN_CERTIFICATE names a certificate; then the
# libraries, the probe and the package itself are signed (scripts/sign.sh).
set -euo pipefail
. "$(dirname "$0")/lib.sh"
answer_help "$@"

programs=
result="$build/package"
while [ $# -gt 0 ]; do
  case "$1 ${2:+VALUE}" in
    "--from VALUE") programs=$(realpath -m "$2") ;;
    "--to VALUE") result=$(realpath -m "$2") ;;
    "--from " | "--to ") wrong_usage "$1 needs a folder" ;;
    *) wrong_usage "there is no option $1" ;;
  esac
  shift 2
done

version=$(product_version)
package="$result/VeskardShellExt-$version-x64.msi"
if [ -z "$programs" ]; then
  "$root/scripts/build.sh" win64
  programs="$build/win64"
fi

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
mkdir "$work/x86"
cp "$programs/VeskardShellExt.dll" "$programs/shellprobe.exe" "$work/"
cp "$programs/installer/x86/VeskardShellExt.dll" "$work/x86/"
sign() { if [ -n "${VESKARD_SIGN_CERTIFICATE:-}" ]; then "$root/scripts/sign.sh" "$@"; fi; }

sign "$work/VeskardShellExt.dll" "$work/x86/VeskardShellExt.dll" "$work/shellprobe.exe"
mkdir -p "$result"
python3 -B "$root/installer/make_msi.py" x64 "$work/package.msi" \
  Library="$work/VeskardShellExt.dll" Library32="$work/x86/VeskardShellExt.dll" Probe="$work/shellprobe.exe" \
  Icon="$programs/shellext/contextmenu/menu_sync.ico"
sign "$work/package.msi"
cp "$work/package.msi" "$package"
if [ -n "${VESKARD_SIGN_CERTIFICATE:-}" ]; then say "$package (signed)"; else say "$package (unsigned)"; fi
sha256sum "$package"
