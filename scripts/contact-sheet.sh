#!/usr/bin/env bash
# Draws a picture of placeholder icons: types of file across, progress down, large and
# small icons, on a light and on a dark background. The types are the demo's own, drawn
# in scripts/contact-sheet/. Build the library and contact-sheet first (scripts/build.sh
# or scripts/demo.sh).
#
#   scripts/contact-sheet.sh             the picture is build/demo/icons.png
#   scripts/contact-sheet.sh OUT.png
set -euo pipefail
. "$(dirname "$0")/lib.sh"
answer_help "$@"

refuse_options "$@"
takes_nothing_more "${@:2}"
result=${1:-$build/demo/icons.png}
programs="$build/win64"
types=(docx xlsx jpg mp3 mp4 zip)
columns=("${types[@]}" - folder)
captions=(docx xlsx jpg mp3 mp4 zip "no type" folder)
rows=("online only" "0 %" "15 %" "45 %" "75 %" "100 %")

work=$(mktemp -d)
wine_environment
wine_prefix_ready
sheet="$WINEPREFIX/drive_c/Contact Sheet"
trap 'rm -rf "$work" "$sheet"' EXIT
windows() { timeout --kill-after=10 120 "$(wine_loader "$1")" "$@"; }
draw() { convert-im6.q16 "$@"; }

# An icon file of one type, and the registry's lines that give it to the type.
make_type() {
  local type=$1 size pictures=()
  for size in 16 20 24 32 48; do
    rsvg-convert --width "$size" --output "$work/$type-$size.png" "$root/scripts/contact-sheet/$type.svg"
    pictures+=("$work/$type-$size.png")
  done
  rsvg-convert --width 256 --output "$work/$type-256.png" "$root/scripts/contact-sheet/$type.svg"
  icotool --create --output="$sheet/$type.ico" "${pictures[@]}" --raw="$work/$type-256.png"
  printf '[HKEY_LOCAL_MACHINE\\Software\\Classes\\.%s]\n@="ContactSheet.%s"\n\n' "$type" "$type"
  printf '[HKEY_LOCAL_MACHINE\\Software\\Classes\\ContactSheet.%s\\DefaultIcon]\n' "$type"
  printf '@="C:\\\\Contact Sheet\\\\%s.ico"\n\n' "$type"
}

register_types() {
  mkdir -p "$sheet"
  { printf 'REGEDIT4\n\n'; for type in "${types[@]}"; do make_type "$type"; done; } >"$sheet/types.reg"
  run "$build/logs/contact-sheet-types.log" windows reg import 'C:\Contact Sheet\types.reg'
}

draw_icons() {
  run "$build/logs/contact-sheet.log" windows "$programs/contact-sheet.exe" 'C:\Contact Sheet\Synchronised' \
    'C:\Contact Sheet\large.png' 'C:\Contact Sheet\small.png' "${columns[@]}" \
    --dll "$(windows winepath -w "$programs/VeskardShellExt.dll" | tr -d '\r')"
}

# Large icons are shown at half their size, as a view of big symbols would; small
# ones as they are, in the corner of the same cell.
cell_width=172 cell_height=140 left=150 top=64

# panel BACKGROUND INK OUT
panel() {
  local background=$1 ink=$2 out=$3 large small width height i x y
  width=$((left + ${#columns[@]} * cell_width + 20)) height=$((top + ${#rows[@]} * cell_height + 16))
  large=$(identify-im6.q16 -format '%[fx:w/'"${#columns[@]}"']' "$sheet/large.png")
  small=$(identify-im6.q16 -format '%[fx:w/'"${#columns[@]}"']' "$sheet/small.png")
  draw "$sheet/large.png" -crop "${large}x$large" +repage -resize 50% "$work/large-%03d.png"
  draw "$sheet/small.png" -crop "${small}x$small" +repage "$work/small-%03d.png"

  local steps=(-size "${width}x$height" "xc:$background" -font DejaVu-Sans -pointsize 20 -fill "$ink")
  for ((i = 0; i < ${#columns[@]}; ++i)); do
    steps+=(-gravity north -annotate "+$((left + i * cell_width + 64 - width / 2))+24" "${captions[i]}")
  done
  for ((i = 0; i < ${#rows[@]}; ++i)); do
    steps+=(-gravity northwest -annotate "+20+$((top + i * cell_height + 54))" "${rows[i]}")
  done
  for ((i = 0; i < ${#columns[@]} * ${#rows[@]}; ++i)); do
    x=$((left + i % ${#columns[@]} * cell_width)) y=$((top + i / ${#columns[@]} * cell_height))
    steps+=("$(printf '%s/large-%03d.png' "$work" "$i")" -geometry "+$x+$y" -composite)
    steps+=("$(printf '%s/small-%03d.png' "$work" "$i")" -geometry "+$((x + 124))+$((y + 112 - small))" -composite)
  done
  draw "${steps[@]}" "$out"
}

say "drawing a contact sheet of placeholders"
register_types
draw_icons
panel '#ffffff' '#3c4858' "$work/light.png"
panel '#202124' '#c8d0da' "$work/dark.png"
mkdir -p "$(dirname "$result")"
draw "$work/light.png" "$work/dark.png" -append -depth 8 "$result"
printf '    %s\n' "${result#"$root"/}"
