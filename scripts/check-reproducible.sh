#!/usr/bin/env bash
# Builds the library once more, in another folder with a name of another length, and
# compares both byte by byte. The build uses no compiler cache.
#
#   scripts/check-reproducible.sh [LIBRARY]    the one in build/win64 unless LIBRARY is given
set -euo pipefail
. "$(dirname "$0")/lib.sh"
answer_help "$@"
refuse_options "$@"
takes_nothing_more "${@:2}"

built=$(realpath -m "${1:-$build/win64/VeskardShellExt.dll}")
[ -f "$built" ] || die "${built#"$root"/} is missing: run scripts/build.sh first"

copy=$(mktemp -d)/a/somewhat/longer/path/than/before
trap 'rm -rf "${copy%/a/somewhat*}"' EXIT
mkdir -p "$copy/build/deps"
tar -C "$root" -c --exclude=./build --exclude=./.git . | tar -C "$copy" -x
cp -r "$build/deps/minizip" "$copy/build/deps/"

cd "$copy"
export CCACHE_DISABLE=1
run "$build/logs/reproducible-configure.log" cmake --preset win64 -DVESKARD_BUILD_TESTS=OFF
run "$build/logs/reproducible-build.log" cmake --build --preset win64 --target VeskardShellExt
cmp "$built" build/win64/VeskardShellExt.dll || die "two builds in two folders differ"
