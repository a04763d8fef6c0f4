#!/usr/bin/env bash
# Unpacks the distribution's source package of minizip into build/deps/minizip.
# There is no package of it for the MinGW target, so the build compiles its
# unzip half itself. apt gets a private configuration with the machine's own
# source entries turned from binary to source packages: nothing of the
# machine's configuration changes.
set -euo pipefail
. "$(dirname "$0")/lib.sh"
answer_help "$@"
takes_nothing_more "$@"

destination="$build/deps/minizip"
[ -f "$destination/unzip.c" ] && exit 0

say "fetching the source package of minizip"
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
chmod 755 "$work"
mkdir -p "$work/sources" "$work/lists/partial" "$work/archives/partial"

found=0
for file in /etc/apt/sources.list.d/*.sources; do
  [ -f "$file" ] || continue
  grep -q '^Types:.*deb' "$file" && grep -qi 'debian-archive-keyring\|Suites:.*bookworm' "$file" || continue
  sed 's/^Types:.*/Types: deb-src/' "$file" >"$work/sources/$(basename "$file")"
  found=1
done
if [ -f /etc/apt/sources.list ]; then
  sed -n 's/^deb /deb-src /p' /etc/apt/sources.list >"$work/sources/main.list"
  [ -s "$work/sources/main.list" ] && found=1
fi
[ "$found" = 1 ] || die "no package source of this machine can be turned into one for source packages"

options=(
  -o Dir::Etc::SourceList=/dev/null
  -o Dir::Etc::SourceParts="$work/sources"
  -o Dir::State::Lists="$work/lists"
  -o Dir::Cache::Archives="$work/archives"
  -o Dir::Cache::pkgcache= -o Dir::Cache::srcpkgcache=
  -o APT::Sandbox::User=root
)
run "$build/logs/minizip-lists.log" apt-get "${options[@]}" update
fetch() { cd "$work" && apt-get "${options[@]}" source --download-only minizip && dpkg-source --no-check -x ./minizip_*.dsc "$work/tree"; }
run "$build/logs/minizip-source.log" fetch

unzip_source=$(find "$work/tree" -name unzip.c -print -quit)
[ -n "$unzip_source" ] || die "the source package of minizip holds no unzip.c"
mkdir -p "$(dirname "$destination")"
rm -rf "$destination.part"
cp -r "$(dirname "$unzip_source")" "$destination.part"
mv "$destination.part" "$destination"
