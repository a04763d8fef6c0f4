# The same menu for users of every language, as one picture: sourced by demo.sh,
# while its screen and its stand-in agent are there.

# A user's locale, and its caption on the sheet. The last two have no language of
# their own in the archive: Portuguese and Chinese are there for other countries only.
language_users=(
  "zh_CN|Chinese (China)" "nl_NL|Dutch" "fr_FR|French" "de_DE|German"
  "it_IT|Italian" "ja_JP|Japanese" "ko_KR|Korean" "pt_BR|Portuguese (Brazil)"
  "ru_RU|Russian" "es_ES|Spanish" "pt_PT|Portuguese (Portugal): English" "zh_TW|Chinese (Taiwan): English"
)

# language_sheet OUT PATH...: the menu of one selection in every language.
language_sheet() {
  local out=$1 work="$demo/languages" user locale name frames=()
  shift
  mkdir -p "$work"
  for user in "${language_users[@]}"; do
    locale=${user%%|*} name=${user#*|}
    probe_as "$locale" menu "$@" --png "$work/$locale.png" >"$work/$locale.txt"
    framed "$work/$locale.png" "$name" "$work/$locale-framed.png"
    frames+=("$work/$locale-framed.png")
    printf '    %-5s  %s\n' "${locale/_/-}" "$(menu_texts "$work/$locale.txt")"
  done
  montage-im6.q16 +set label "${frames[@]}" -tile 3x -geometry '690x292+0+0>' -gravity center -background "$backdrop" "$out"
  rm -r "$work"
}

# The shell itself need not know the locale, as Wine does.
probe_as() { timeout --kill-after=10 120 env LC_ALL="$1.UTF-8" "$(wine_loader "$programs/shellprobe.exe")" "$programs/shellprobe.exe" "${@:2}"; }

# The texts of a printed menu on one line; they begin where the heading says so.
menu_texts() {
  awk 'NR == 1 { start = index($0, "Text"); next }
       { printf "%s%s", separator, substr($0, start); separator = " / " }' "$1"
}
