#!/usr/bin/env bash
# Unpacks the distribution's source package of minizip into build/deps/minizip.
# The distribution has no package of it for the MinGW target, so the build compiles its
# unzip half.
set -euo pipefail
. "$(dirname "$0")/lib.sh"
answer_help "$@"
takes_nothing_more "$@"

destination="$build/deps/minizip"
[ -f "$destination/unzip.c" ] && exit 0

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
"$root/scripts/fetch-source.sh" minizip "$work"
run "$build/logs/minizip-unpack.log" dpkg-source --no-check -x "$work"/minizip_*.dsc "$work/tree"

unzip_source=$(find "$work/tree" -name unzip.c -print -quit)
[ -n "$unzip_source" ] || die "the source package of minizip has no unzip.c"
mkdir -p "$(dirname "$destination")"
rm -rf "$destination.part"
cp -r "$(dirname "$unzip_source")" "$destination.part"
mv "$destination.part" "$destination"
