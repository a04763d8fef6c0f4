#!/usr/bin/env bash
# Builds the libraries once more, in another folder with a name of another length, and
# compares them and their symbols byte by byte. The build uses no compiler cache.
#
#   scripts/check-reproducible.sh [LIBRARY...]    both in build/win64 unless some are given;
#                                                 their folder is named after its preset
set -euo pipefail
. "$(dirname "$0")/lib.sh"
answer_help "$@"
refuse_options "$@"
[ $# -gt 0 ] || set -- "$build/win64/VeskardShellExt.dll" "$build/win64/VeskardExplorerCommand.dll"

libraries=() targets=()
for library in "$@"; do
  [ -f "$library" ] || die "${library#"$root"/} is missing: run scripts/build.sh first"
  libraries+=("$(realpath "$library")")
  targets+=("$(basename "$library" .dll)")
done

copy=$(mktemp -d)/a/somewhat/longer/path/than/before
trap 'rm -rf "${copy%/a/somewhat*}"' EXIT
mkdir -p "$copy/build/deps"
tar -C "$root" -c --exclude=./build --exclude=./.git . | tar -C "$copy" -x
cp -r "$build/deps/minizip" "$copy/build/deps/"

flavour=$(basename "$(dirname "${libraries[0]}")")
# Building its run-time libraries again would take a quarter of an hour.
[ "$flavour" != arm64 ] || ln -s "$build/deps/arm64" "$copy/build/deps/"

cd "$copy"
export CCACHE_DISABLE=1
run "$build/logs/reproducible-configure.log" cmake --preset "$flavour" -DVESKARD_BUILD_TESTS=OFF
run "$build/logs/reproducible-build.log" cmake --build --preset "$flavour" --target "${targets[@]}"

# Which of the two builds' intermediate files differ, so that a failure says where to look.
say_what_differs() {
  local file
  while read -r file; do
    cmp -s "$file" "$build/$flavour/$file" ||
      say "differs: $file ($(cmp -l "$file" "$build/$flavour/$file" 2>/dev/null | wc -l) bytes)" >&2
  done < <(cd "build/$flavour" && find . -name '*.obj' -o -name '*.res' -o -name '*.ico' -o -name '*.dll*' -o -name '*.pdb')
}

for library in "${libraries[@]}"; do
  files=("$library" "$library.debug")
  [ ! -f "${library%.dll}.pdb" ] || files+=("${library%.dll}.pdb")
  for file in "${files[@]}"; do
    cmp "$file" "build/$flavour/$(basename "$file")" && continue
    say_what_differs
    die "two builds in two folders differ"
  done
done
