#!/usr/bin/env bash
# Shows a right-click from the menu to the agent, on a fresh machine: installs and builds
# what is missing, registers the library in its own Wine prefix, makes a synchronised
# folder, starts a stand-in agent, right-clicks several selections through COM, in the
# classic menu and in the first menu of Windows 11, chooses commands and prints what the
# agent receives. Pictures of the menus and of placeholder icons are in build/demo/. A
# second run takes seconds.
#
#   scripts/demo.sh
#   scripts/demo.sh --keep-pictures    the same, and copies the pictures to docs/pictures/
set -euo pipefail
. "$(dirname "$0")/lib.sh"
answer_help "$@"
. "$(dirname "$0")/demo-languages.sh"

demo="$build/demo"
programs="$build/win64"
pictures="$root/docs/pictures"
export WINEPREFIX="$demo/wine"
export LC_ALL=C.UTF-8 # file names pass to Wine as UTF-8, texts are English

# Where an installer would put the library, and the tree that the demo shows.
installed='C:\Program Files\Nimbrel Veskard Agent\VeskardShellExt.dll'
tree='C:\Atlas'

keep_pictures=false
case "${1:-}" in
  "") ;;
  --keep-pictures) keep_pictures=true ;;
  *) wrong_usage "unknown option $1" ;;
esac
takes_nothing_more "${@:2}"

started=$SECONDS
indent() { sed 's/^./    &/'; }

# Runs a Windows program of this project, or of Wine, with a time limit.
windows() { timeout --kill-after=10 120 "$(wine_loader "$1")" "$@"; }
probe() { windows "$programs/shellprobe.exe" "$@"; }
agent() { windows "$programs/standin-agent.exe" "$@"; }

# Prints how far the build is, every ten percent, from Ninja's "[12/345]".
show_percent() {
  awk 'match($0, /^\[[0-9]+\/[0-9]+\]/) {
         split(substr($0, 2, RLENGTH - 2), part, "/")
         percent = int(part[1] * 10 / part[2]) * 10
         if (percent > shown) { printf "    %3d %%\n", percent; fflush(); shown = percent }
       }'
}

build_programs() {
  "$root/scripts/install-deps.sh"
  say "building the library and its tools"
  local log="$build/logs/demo-build.log" targets=(VeskardShellExt VeskardExplorerCommand shellprobe standin-agent contact-sheet)
  cd "$root"
  [ -f "$programs/build.ninja" ] || run "$build/logs/configure-win64.log" cmake --preset win64
  if ! cmake --build --preset win64 --target "${targets[@]}" 2>&1 | tee "$log" | show_percent; then
    tail -n 40 "$log" >&2
    die "the build failed (the whole output is in ${log#"$root"/})"
  fi
}

# A prefix that looks like a present-day desktop: a smooth font, quiet colours,
# twice the pixels.
prepare_prefix() {
  mkdir -p "$demo"
  wine_prefix_ready
  local settings="$root/scripts/demo-prefix.reg"
  cmp -s "$settings" "$WINEPREFIX/.settings" && return
  run "$build/logs/demo-prefix.log" windows reg import "$settings"
  wine_stop # a running server keeps the old ones
  cp "$settings" "$WINEPREFIX/.settings"
}

# A screen of its own for the menus. Xvfb writes the display's number once it
# takes clients: no waiting by the clock.
start_screen() {
  local number
  exec 7< <(exec Xvfb -displayfd 1 -screen 0 1600x1200x24 -nolisten tcp 2>"$build/logs/demo-xvfb.log")
  screen_pid=$!
  read -r -t 30 -u 7 number || die "no screen: see build/logs/demo-xvfb.log"
  export DISPLAY=":$number"
}

register_library() {
  say "registering the library: regsvr32 /n /i:S"
  local folder="$WINEPREFIX/drive_c/Program Files/Nimbrel Veskard Agent"
  mkdir -p "$folder"
  cp "$programs/VeskardShellExt.dll" "$folder/"
  run "$build/logs/demo-register.log" windows regsvr32 /s /n /i:S "$installed"
}

lay_tree() {
  say "making a synchronised folder: $tree"
  local folder="$WINEPREFIX/drive_c/Atlas"
  rm -rf "$folder"
  mkdir -p "$folder/Maps" "$WINEPREFIX/drive_c/Elsewhere"
  # The agent's own folder; the extension writes its log there.
  mkdir -p "$WINEPREFIX/drive_c/users/$(id -un)/AppData/Roaming/Nimbrel Veskard Agent"
  printf 'Two columns of numbers\n' >"$folder/Budget.xlsx"
  printf 'Not synchronised\n' >"$WINEPREFIX/drive_c/Elsewhere/Notes.txt"
  agent lay-root "$tree" --type 2 --mode 1 --owner "$(id -un)"
  agent lay-placeholder "$tree\\Lecture.mp4.ghpl" "$tree\\Résumé.docx.ghpl"
  agent lay-placeholder "$tree\\Photos.zip.ghpl" --progress 45
}

# The agent prints to us line by line; its first line says that it is ready.
start_agent() {
  say "starting the stand-in agent"
  local ready
  exec 8< <(agent --time-limit 300)
  read -r -t 60 -u 8 ready || die "the stand-in agent did not start"
  printf '%s\n' "$ready" | indent
}

messages=0
# Prints what the agent receives until a command is complete.
print_received() {
  local line
  while IFS= read -r -t 60 -u 8 line; do
    printf '      %s\n' "$line"
    case "$line" in
      message\ *) messages=$((messages + 1)) ;;
      *"; end of the command") return ;;
    esac
  done
  die "the agent did not receive the whole command"
}

# selection NAME TITLE COMMAND PATH...: right-clicks, photographs, chooses.
selection() {
  local name=$1 title=$2 command=$3
  shift 3
  printf '\n'
  say "$title"
  printf '    selected: %s\n' "$@"
  probe menu "$@" --among-others --png "$demo/menu-$name.png" | indent
  [ -n "$command" ] || return 0
  printf '    chosen: %s; the agent receives\n' "$command"
  probe invoke "$command" "$@"
  print_received
}

# first_menu NAME DARK TITLE COMMAND PATH...: the same in the first menu of Windows 11.
first_menu() {
  local name=$1 dark=$2 title=$3 command=$4
  shift 4
  printf '\n'
  say "$title, in the first menu of Windows 11"
  printf '    selected: %s\n' "$@"
  probe menu --first-level "$@" --among-others ${dark:+"$dark"} --png "$demo/first-menu-$name.png" --choose "$command" | indent
  printf '    chosen: %s; the agent receives\n' "$command"
  print_received
}

# ImageMagick under the name that Debian always gives it.
draw() { convert-im6.q16 "$@"; }

backdrop='#e4e9f0'
letters=/usr/share/fonts/truetype/open-sans/OpenSans-Regular.ttf
# framed IN CAPTION OUT: what was selected, and below it the menu with its shadow.
framed() {
  draw \( -background "$backdrop" -font "$letters" -pointsize 25 -fill '#2f3b4a' label:"$2" \) \
    \( "$1" -bordercolor '#c4c9d0' -border 1 \
      \( +clone -background '#1b2430' -shadow 45x14+0+10 \) +swap -background "$backdrop" -layers merge +repage \) \
    -background "$backdrop" -gravity center -append -bordercolor "$backdrop" -border 8x20 "$3"
}

draw_overview() {
  local work="$demo/work"
  mkdir -p "$work"
  framed "$demo/menu-folder.png" "A folder" "$work/1.png"
  framed "$demo/menu-placeholder.png" "An online-only file" "$work/2.png"
  framed "$demo/menu-receiving.png" "A file being received" "$work/3.png"
  draw "$work/1.png" "$work/2.png" "$work/3.png" -background "$backdrop" -gravity north +append \
    -bordercolor "$backdrop" -border 16x4 -strip "$demo/menus.png"
  rm -r "$work"
}

# panel IN CAPTION OUT: the same for a picture with rounded corners.
panel() {
  draw \( -background "$backdrop" -font "$letters" -pointsize 25 -fill '#2f3b4a' label:"$2" \) \
    \( "$1" \( +clone -background '#1b2430' -shadow 45x14+0+10 \) +swap -background "$backdrop" -layers merge +repage \) \
    -background "$backdrop" -gravity center -append -bordercolor "$backdrop" -border 8x20 "$3"
}

draw_first_menus() {
  local work="$demo/work"
  mkdir -p "$work"
  panel "$demo/first-menu-folder.png" "A folder" "$work/1.png"
  panel "$demo/first-menu-receiving.png" "A file being received, on a dark desktop" "$work/2.png"
  draw "$work/1.png" "$work/2.png" -background "$backdrop" -gravity north +append \
    -bordercolor "$backdrop" -border 16x4 -strip "$demo/first-menu.png"
  rm -r "$work"
}

# What support asks for: what was logged, is it installed well, why is there no menu.
show_insight() {
  printf '\n'
  say "The log of the last right-clicks: shellprobe tail"
  probe tail --no-follow --process shellprobe.exe --lines 9 | indent
  printf '\n'
  say "The state of the installation: shellprobe doctor"
  probe doctor | indent
  printf '\n'
  say "The reasons for a placeholder's commands: shellprobe explain"
  probe explain "$tree\\Photos.zip.ghpl" | indent
  printf '\n'
  say "The reasons for no commands on C:\\Elsewhere\\Notes.txt: shellprobe explain"
  local rc=0
  probe explain 'C:\Elsewhere\Notes.txt' >"$demo/explain.txt" || rc=$?
  [ "$rc" -eq 14 ] || die "shellprobe explain ended with $rc"
  indent <"$demo/explain.txt"
}

unregister_library() {
  printf '\n'
  say "removing the library: regsvr32 /u /n /i:S"
  run "$build/logs/demo-unregister.log" windows regsvr32 /s /u /n /i:S "$installed"
}

finish() {
  wine_stop
  [ -z "${screen_pid:-}" ] || kill "$screen_pid" 2>/dev/null || true
}

build_programs
exec 9>"$build/demo.lock"
flock -n 9 || die "the demo is running already"
wine_environment
prepare_prefix
trap finish EXIT
start_screen
register_library
lay_tree
start_agent

selection folder "A folder" "Sync to this device" "$tree\\Maps"
selection file "A file that is here" "Remove from this device" "$tree\\Budget.xlsx"
selection placeholder "A placeholder" "Sync to this device" "$tree\\Lecture.mp4.ghpl"
selection receiving "A placeholder that is being received" "Cancel receiving" "$tree\\Photos.zip.ghpl"
selection mixed "A mixed selection" "Remove from this device" \
  "$tree\\Maps" "$tree\\Budget.xlsx" "$tree\\Résumé.docx.ghpl" "$tree\\Photos.zip.ghpl"
selection outside "A file outside every synchronised folder" "" 'C:\Elsewhere\Notes.txt'
first_menu folder "" "A folder" "Sync to this device" "$tree\\Maps"
first_menu receiving --dark "A placeholder that is being received" "Cancel receiving" "$tree\\Photos.zip.ghpl"
printf '\n'
say "The menu in ten languages, and in English for users of other languages"
language_sheet "$demo/languages.png" "$tree\\Maps" "$tree\\Photos.zip.ghpl"
printf '\n'
"$root/scripts/contact-sheet.sh" "$demo/icons.png"
show_insight
unregister_library
draw_overview
draw_first_menus
if "$keep_pictures"; then
  mkdir -p "$pictures"
  cp "$demo/menus.png" "$demo/first-menu.png" "$demo/languages.png" "$demo/icons.png" "$pictures/"
fi

printf '\n'
say "8 menus, $messages messages to the agent, $((SECONDS - started)) seconds. The pictures:"
find "$demo" -maxdepth 1 -name '*.png' | sort | sed "s|^$root/|    |"
