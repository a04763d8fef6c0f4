#!/usr/bin/env bash
# Makes a release in build/release/, from the commit that is checked out: installation
# packages, symbols, third-party notices, a bill of materials, release notes, SHA256SUMS.
#
#   scripts/release.sh [VERSION]           refuses another VERSION than that of CMakeLists.txt
#   scripts/release.sh --skip-tests ...    without scripts/test.sh, for a commit that passed it
#   scripts/release.sh --built ...         takes what lies in build/ and does not build
#   scripts/release.sh --without-arm64 ... only for x64 and x86; ARM64's first build takes
#                                          15 to 40 minutes more
#   scripts/release.sh --to FOLDER ...     puts the release there
#
# It refuses changes that are not committed, a version without a section in CHANGELOG.md,
# and programs that fail a check. The packages are signed as scripts/package.sh signs them;
# otherwise "unsigned" is part of their names. The same commit gives the same bytes in every
# folder, except for signatures.
set -euo pipefail
. "$(dirname "$0")/lib.sh"
answer_help "$@"

result="$build/release" wanted='' tests=true built=false arm64=true
while [ $# -gt 0 ]; do
  case "$1" in
    --skip-tests) tests=false ;;
    --built) built=true ;;
    --without-arm64) arm64=false ;;
    --to)
      [ -n "${2:-}" ] || wrong_usage "--to needs a folder"
      result=$(realpath -m "$2")
      shift
      ;;
    -*) wrong_usage "unknown option $1" ;;
    *)
      [ -z "$wanted" ] || wrong_usage "unexpected argument \"$1\""
      wanted=$1
      ;;
  esac
  shift
done

cd "$root"
version=$(product_version)
[ -z "$wanted" ] || [ "$wanted" = "$version" ] || die "CMakeLists.txt has version $version, not $wanted"
changes=$(git status --porcelain) || die "a release is made from a git repository"
[ -z "$changes" ] || die "there are changes that are not committed: ${changes%%$'\n'*}"
# The section of this version, from behind its title to the next one or to the links.
notes=$(awk -v title="## [$version] - " \
  'index($0, "## [") == 1 { inside = index($0, title) == 1; next } /^\[.*\]: / { inside = 0 } inside' CHANGELOG.md)
[ -n "${notes//[[:space:]]/}" ] || die "CHANGELOG.md has no section of $version with its day"

libraries=(VeskardShellExt VeskardExplorerCommand)
architecture_of() { case "$1" in win64) echo x64 ;; win32) echo x86 ;; *) echo "$1" ;; esac; }

# The packages of the other flavours hold the 32-bit library, so that one is built first.
flavours=(win32 win64)
! "$arm64" || flavours+=(arm64)
if ! "$built"; then
  "$root/scripts/install-deps.sh"
  ! "$arm64" || "$root/scripts/install-deps.sh" arm64
  for flavour in "${flavours[@]}"; do
    say "building $flavour"
    [ -f "$build/$flavour/build.ninja" ] || run "$build/logs/configure-$flavour.log" cmake --preset "$flavour"
    run "$build/logs/release-$flavour.log" cmake --build --preset "$flavour" \
      --target "${libraries[@]}" shellprobe $([ "$flavour" = win32 ] || echo library_for_32_bits InstallerSteps)
  done
fi
for flavour in "${flavours[@]}"; do
  [ -f "$build/$flavour/${libraries[0]}.dll" ] || die "build/$flavour is not built"
done

say "checking"
run "$build/logs/release-format.log" scripts/format.sh --check
for flavour in "${flavours[@]}"; do
  for library in "${libraries[@]}"; do
    scripts/check-library.sh "$build/$flavour/$library.dll" || die "a library of $flavour fails its check"
  done
done
python3 -B tests/documents/documents_test.py "$root" >"$build/logs/release-documents.log" 2>&1 ||
  die "the documents fail their check (build/logs/release-documents.log)"
if "$tests"; then
  "$root/scripts/test.sh"
else
  say "the tests are not run"
fi

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
release="$work/release"
mkdir "$release"
moment=$(git log -1 --format=%ct)

say "packing"
# The name shows whether the folder is signed.
suffix=-unsigned
[ -z "${VESKARD_SIGN_CERTIFICATE:-}" ] || suffix=
run "$build/logs/release-package.log" scripts/package.sh --from "$build/win64" \
  $(! "$arm64" || echo --from build/arm64) --to "$work/packages"
for package in "$work/packages"/*; do
  name=$(basename "$package")
  cp "$package" "$release/${name%.*}$suffix.${name##*.}"
done

symbols="VeskardShellExt-$version-symbols"
shipped=()
for flavour in "${flavours[@]}"; do
  folder="$work/$symbols/$(architecture_of "$flavour")"
  mkdir -p "$folder"
  for library in "${libraries[@]}"; do
    cp "$build/$flavour/$library.dll" "$build/$flavour/$library.dll.debug" "$build/$flavour/$library.pdb" "$folder/"
    shipped+=("$build/$flavour/$library.dll=$build/$flavour/$library.map")
  done
  [ "$flavour" = win32 ] || for program in shellprobe.exe InstallerSteps.dll; do
    shipped+=("$build/$flavour/$program=$build/$flavour/${program%.*}.map")
  done
  [ "$flavour" != arm64 ] || cp "$build/arm64/THIRD-PARTY-NOTICES.txt" "$release/THIRD-PARTY-NOTICES-arm64.txt"
done
tar -C "$work" --sort=name --format=ustar --mtime="@$moment" --owner=0 --group=0 --numeric-owner --mode=u=rwX,go=rX \
  -c "$symbols" | gzip -n >"$release/$symbols.tar.gz"

cp "$build/win64/THIRD-PARTY-NOTICES.txt" "$release/"
python3 -B scripts/third_party.py bill "$root" "$release/VeskardShellExt-$version.spdx.json" "$version" \
  "$(date -u -d "@$moment" +%Y-%m-%dT%H:%M:%SZ)" "${shipped[@]}"
printf '# Nimbrel Veskard Agent Explorer Extension %s\n%s\n' "$version" "$notes" >"$release/RELEASE-NOTES.md"
(cd "$release" && sha256sum -- * >"$work/SHA256SUMS")
mv "$work/SHA256SUMS" "$release/"

rm -rf "$result"
mkdir -p "$(dirname "$result")"
mv "$release" "$result"
"$arm64" || say "without ARM64"
say "${result#"$root"/}, from commit $(git rev-parse --short HEAD)"
cat "$result/SHA256SUMS"
