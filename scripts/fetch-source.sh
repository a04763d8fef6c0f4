#!/usr/bin/env bash
# Downloads a source package of the distribution into a folder, without unpacking it. apt
# gets a private configuration, with the machine's own entries turned from binary to source
# packages. The machine's configuration does not change. An interrupted download is resumed.
#
#   scripts/fetch-source.sh PACKAGE FOLDER
set -euo pipefail
. "$(dirname "$0")/lib.sh"
answer_help "$@"
refuse_options "$@"
[ $# -ge 2 ] || wrong_usage "expected arguments: PACKAGE FOLDER"
takes_nothing_more "${@:3}"
package=$1 folder=$(realpath -m "$2")

make_private_apt
found=0
for file in /etc/apt/sources.list.d/*.sources; do
  [ -f "$file" ] || continue
  grep -q '^Types:.*deb' "$file" && grep -qi 'debian-archive-keyring\|Suites:.*bookworm' "$file" || continue
  sed 's/^Types:.*/Types: deb-src/' "$file" >"$apt/sources/$(basename "$file")"
  found=1
done
if [ -f /etc/apt/sources.list ]; then
  sed -n 's/^deb /deb-src /p' /etc/apt/sources.list >"$apt/sources/main.list"
  [ -s "$apt/sources/main.list" ] && found=1
fi
[ "$found" = 1 ] || die "apt has no package source on this machine that can serve source packages"

mkdir -p "$apt/archives/partial"
apt_options+=(-o Dir::Cache::Archives="$apt/archives")
say "fetching the source package of $package"
run "$build/logs/source-lists.log" apt-get "${apt_options[@]}" update
mkdir -p "$folder"
cd "$folder"
run "$build/logs/source-$package.log" apt-get "${apt_options[@]}" source --download-only "$package"
