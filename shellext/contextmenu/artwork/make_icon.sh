#!/usr/bin/env bash
# Draws one icon at every size and packs the pictures into an icon file:
#
#   make_icon.sh SOURCE.svg RESULT.ico
#
# A menu asks for the size of its check mark, which follows its font and is
# always an odd number. With a picture of each odd size from 11 to 31, nothing is scaled at
# 100 to 200 percent. The even sizes are those of lists, tool bars and large views.
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
. "$here/../../../scripts/lib.sh"
answer_help "$@"
refuse_options "$@"
[ $# -ge 2 ] || wrong_usage "expected arguments: SOURCE.svg RESULT.ico"
source=$1 result=$2
shift 2
takes_nothing_more "$@"
sizes=(11 13 15 16 17 19 20 21 23 24 25 27 29 31 32 48)

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
draw() {
  python3 "$here/fit_to_pixels.py" "$source" "$1" >"$work/$1.svg"
  rsvg-convert --width "$1" --height "$1" --output "$work/$1.png" "$work/$1.svg"
}

pictures=()
for size in "${sizes[@]}"; do
  draw "$size"
  pictures+=("$work/$size.png")
done
draw 256
# The largest one stays compressed, as every reader of icons expects it.
icotool --create --output="$result" "${pictures[@]}" --raw="$work/256.png"
