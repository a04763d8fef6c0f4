#!/usr/bin/env bash
# Makes the installation package to hand out, VeskardShellExt-VERSION-x64.msi:
#
#   scripts/package.sh                     builds first; the package ends in build/package/
#   scripts/package.sh --from FOLDER       packs the programs that lie there
#   scripts/package.sh --to FOLDER         puts the package there
#
# It is unsigned unless VESKARD_SIGN_CERTIFICATE names a certificate; then the
# library, the probe and the package itself are signed (scripts/sign.sh).
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
  "$root/scripts/install-deps.sh"
  programs="$build/win64"
  cd "$root"
  [ -f "$programs/build.ninja" ] || run "$build/logs/configure-win64.log" cmake --preset win64
  say "building the library and the probe"
  run "$build/logs/package-build.log" cmake --build --preset win64 --target VeskardShellExt shellprobe
fi

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cp "$programs/VeskardShellExt.dll" "$programs/shellprobe.exe" "$work/"
sign() { if [ -n "${VESKARD_SIGN_CERTIFICATE:-}" ]; then "$root/scripts/sign.sh" "$@"; fi; }

sign "$work/VeskardShellExt.dll" "$work/shellprobe.exe"
mkdir -p "$result"
python3 -B "$root/installer/make_msi.py" "$work/VeskardShellExt.dll" "$work/shellprobe.exe" \
  "$programs/shellext/contextmenu/menu_sync.ico" "$work/package.msi"
sign "$work/package.msi"
cp "$work/package.msi" "$package"
if [ -n "${VESKARD_SIGN_CERTIFICATE:-}" ]; then say "$package (signed)"; else say "$package (unsigned)"; fi
sha256sum "$package"
