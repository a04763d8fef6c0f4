#!/usr/bin/env bash
# Makes the installation package, VeskardShellExt-VERSION-x64.msi, the same for arm64
# where build/arm64/ is built, and the identity package that both contain.
#
#   scripts/package.sh                     builds first; the packages are in build/package/
#   scripts/package.sh --from FOLDER       packs the programs of this build folder; may be
#                                          repeated; one called arm64 gives ARM64's package
#   scripts/package.sh --to FOLDER         puts the packages there
#
# They are unsigned unless VESKARD_SIGN_CERTIFICATE names a certificate; then the
# programs inside and the packages themselves are signed (scripts/sign.sh).
set -euo pipefail
. "$(dirname "$0")/lib.sh"
answer_help "$@"

folders=()
result="$build/package"
while [ $# -gt 0 ]; do
  case "$1 ${2:+VALUE}" in
    "--from VALUE") folders+=("$(realpath -m "$2")") ;;
    "--to VALUE") result=$(realpath -m "$2") ;;
    "--from " | "--to ") wrong_usage "$1 needs a folder" ;;
    *) wrong_usage "unknown option $1" ;;
  esac
  shift 2
done

version=$(product_version)
if [ "${#folders[@]}" -eq 0 ]; then
  folders=("$build/win64")
  [ ! -f "$build/arm64/VeskardShellExt.dll" ] || folders+=("$build/arm64")
  "$root/scripts/build.sh" "${folders[@]##*/}"
fi

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
sign() { if [ -n "${VESKARD_SIGN_CERTIFICATE:-}" ]; then "$root/scripts/sign.sh" "$@"; fi; }

hand_out() {
  cp "$1" "$result/$2"
  if [ -n "${VESKARD_SIGN_CERTIFICATE:-}" ]; then say "$result/$2 (signed)"; else say "$result/$2 (unsigned)"; fi
  sha256sum "$result/$2"
}

# Made once: it holds no program, so it is the same for every architecture.
make_identity() {
  python3 -B "$root/installer/make_msix.py" "${folders[0]}/VeskardExplorerCommand.dll" "$root/shellext" \
    "$root/shellext/contextmenu/artwork/menu_agent.svg" "$work/identity.msix"
  sign "$work/identity.msix"
  hand_out "$work/identity.msix" "VeskardExplorerCommand-$version.msix"
}

# make_package FOLDER ARCHITECTURE
make_package() {
  local programs="$work/$2" file files
  mkdir -p "$programs/x86"
  files=(VeskardShellExt.dll VeskardExplorerCommand.dll shellprobe.exe InstallerSteps.dll x86/VeskardShellExt.dll)
  for file in "${files[@]}"; do
    case "$file" in x86/*) cp "$1/installer/$file" "$programs/$file" ;; *) cp "$1/$file" "$programs/" ;; esac
  done
  sign "${files[@]/#/$programs/}"
  python3 -B "$root/installer/make_msi.py" "$2" "$programs/package.msi" \
    Library="$programs/VeskardShellExt.dll" Library32="$programs/x86/VeskardShellExt.dll" \
    Probe="$programs/shellprobe.exe" Command="$programs/VeskardExplorerCommand.dll" \
    Identity="$work/identity.msix" Notices="$1/THIRD-PARTY-NOTICES.txt" Steps="$programs/InstallerSteps.dll" \
    Icon="$1/shellext/contextmenu/menu_sync.ico"
  sign "$programs/package.msi"
  hand_out "$programs/package.msi" "VeskardShellExt-$version-$2.msi"
}

mkdir -p "$result"
make_identity
for folder in "${folders[@]}"; do
  case "$folder" in */arm64) make_package "$folder" arm64 ;; *) make_package "$folder" x64 ;; esac
done
