# Functions shared by the scripts in this folder: paths, messages, Wine. Source it, do not
# run it.

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
build="$root/build"

# The Wine prefix of all scripts and tests that do not say otherwise, whatever the flavour.
wine_prefix="$build/wine"
# VESKARD_WINE=arm64, which the test preset of that flavour sets: Windows programs for ARM64,
# under an emulated Wine (scripts/arm64-wine.sh make) with a prefix of its own.
if [ "${VESKARD_WINE:-}" = arm64 ]; then
  wine_prefix="$build/wine-arm64"
  PATH="$build/deps/arm64-wine:$PATH"
  export VESKARD_TIMEOUT=${VESKARD_TIMEOUT:-3600}
fi

product_version() {
  sed -n 's/^project(.* VERSION \([0-9.]*\) .*/\1/p' "$root/CMakeLists.txt" | grep . ||
    die "CMakeLists.txt has no version"
}

# The top folders of the library's sources.
library_folders() { python3 -B "$root/scripts/dependencies.py" folders; }

as_root() { if [ "$(id -u)" -eq 0 ]; then "$@"; else sudo "$@"; fi; }

say() { printf '%s\n' "==> $*"; }
die() { printf '%s\n' "error: $*" >&2; exit 1; }

# A script's opening comment is its help. Its exit codes are those of every tool
# here; a script that has others says so before it asks.
exit_codes="0 done; 1 failed; 2 wrong command line"
answer_help() {
  case "${1:-}" in -h | --help) ;; *) return 0 ;; esac
  sed -n '2,/^[^#]/s/^# \{0,1\}//p' "$0"
  printf '\n%s\n' "Exit codes: $exit_codes." | fold -sw 90
  exit 0
}
wrong_usage() { printf '%s\n' "error: $* (see ${0##*/} --help)" >&2; exit 2; }
refuse_options() { case "${1:-}" in -*) wrong_usage "unknown option $1" ;; esac; }
takes_nothing_more() { [ $# -eq 0 ] || wrong_usage "unexpected argument \"$1\""; }

# make_private_apt: a configuration of apt that leaves the machine's own unchanged, in the
# folder $apt until the script ends. apt-get gets "${apt_options[@]}"; its package sources are
# the files in $apt/sources.
make_private_apt() {
  apt=$(mktemp -d)
  trap 'rm -rf "$apt"' EXIT
  chmod 755 "$apt"
  mkdir -p "$apt/sources" "$apt/lists/partial"
  apt_options=(
    -o Dir::Etc::SourceList=/dev/null
    -o Dir::Etc::SourceParts="$apt/sources"
    -o Dir::State::Lists="$apt/lists"
    -o Dir::Cache::pkgcache= -o Dir::Cache::srcpkgcache=
    -o APT::Sandbox::User=root
  )
}

# The name of the distribution's main suite.
distribution_suite() {
  local suite
  suite=$(. /etc/os-release && printf '%s' "${VERSION_CODENAME:-}")
  [ -n "$suite" ] || die "this machine does not name its distribution's suite"
  printf '%s\n' "$suite"
}

# use_suites "SUITE...": after make_private_apt; the machine's own entries that list the main
# suite become the package sources, with these suites in its place.
use_suites() {
  local suite file word
  suite=$(distribution_suite)
  for file in /etc/apt/sources.list.d/*.sources; do
    [ -f "$file" ] || continue
    awk -v RS= -v ORS='\n\n' -v suite="$suite" '
      $0 ~ "(^|\n)Suites:[^\n]* " suite "( |\n|$)" && /(^|\n)Types:[^\n]*deb/' "$file" |
      sed "s/^Suites:.*/Suites: $1/; s/^Types:.*/Types: deb/; /^Architectures:/d" >"$apt/sources/$(basename "$file")"
  done
  if [ -f /etc/apt/sources.list ]; then
    for word in $1; do
      sed -nE "s/^(deb (\[[^]]*\] )?[^ ]+) $suite /\1 $word /p" /etc/apt/sources.list
    done >"$apt/sources/main.list"
  fi
  find "$apt/sources" -size +0 | grep -q . || die "no package source of this machine lists the suite $suite"
}

# run LOG COMMAND...: runs the command quietly; shows its output only if it fails.
run() {
  local log=$1 rc=0
  shift
  mkdir -p "$(dirname "$log")"
  "$@" >"$log" 2>&1 || rc=$?
  if [ "$rc" -ne 0 ]; then
    tail -n 60 "$log" >&2
    die "'$*' failed with code $rc (the whole output is in ${log#"$root"/})"
  fi
}

# When, with what and on which machine something is measured: the line above its tables.
measured_by() {
  local system processors processor compiler wine
  system=$(. /etc/os-release && printf '%s' "$PRETTY_NAME")
  processors="$(nproc) processors"
  [ "$processors" != "1 processors" ] || processors="1 processor"
  processor=$(sed -n 's/^model name[^:]*: *//p' /proc/cpuinfo | sed 1q)
  compiler=$(x86_64-w64-mingw32-g++-posix -dumpversion)
  wine=$(wine --version 2>/dev/null | sed 's/^wine-\([0-9.]*\).*/Wine \1/')
  printf 'Measured by `%s` on %s: %s (%s), load %s before; %s, GCC %s, %s.\n' "$1" "$(date +%F)" \
    "$processors" "$processor" "$(cut -d ' ' -f 1 /proc/loadavg)" "$system" "${compiler%-*}" "$wine"
}

# measured NAME SHOWN COMMAND...: runs the command, which prints Markdown tables, and shows
# them below that line, where SHOWN is what a person types. They are also left in
# build/measured/NAME.md, from where scripts/measured_tables.py puts them into the pages.
# Fails when the command does.
measured() {
  local file="$build/measured/$1.md" shown=$2
  shift 2
  mkdir -p "$build/measured"
  printf '\n'
  {
    measured_by "$shown"
    "$@"
  } | tee "$file.new" || return 1
  mv "$file.new" "$file"
}

# Everything Wine needs to behave the same on every machine: its own prefix,
# no debugger window on a crash, no download prompts, no chatter.
wine_environment() {
  export WINEPREFIX=${WINEPREFIX:-$wine_prefix}
  export WINEARCH=win64
  # VESKARD_HEAP_CHECKS=marks: Wine puts marks behind every block of a heap (see
  # heap_marks), and says which it finds damaged. VESKARD_HEAP_CHECKS=all: it also fills
  # what is free and keeps freed blocks for a while, which takes half a millisecond for
  # each block freed in a heap of some size.
  case "${VESKARD_HEAP_CHECKS:-}" in
    marks) WINEDEBUG=-all,err+heap ;;
    all) WINEDEBUG=-all,err+heap,warn+heap ;;
  esac
  export WINEDEBUG=${WINEDEBUG:--all}
  export WINEDLLOVERRIDES="winedbg.exe=d;mscoree=d;mshtml=d;winemenubuilder.exe=d"
}

# When a process began, in ticks of the system's clock; nothing when there is none. A
# process number comes back, together with this it does not.
process_start() { { sed 's/.*) //' "/proc/$1/stat" | cut -d ' ' -f 20; } 2>/dev/null || true; }

# Takes the prefix for this script and those that it starts: when a script has done, it
# ends whatever runs in its prefix. One that was ended itself holds nothing any more.
wine_prefix_take() {
  local note="$WINEPREFIX.taken" process='' began='' name=''
  [ "${VESKARD_TAKEN_PREFIX:-}" != "$WINEPREFIX" ] || return 0
  mkdir -p "${WINEPREFIX%/*}"
  {
    flock 8
    read -r process began name <&8 || true
    if [ -n "$began" ] && [ "$(process_start "$process")" = "$began" ]; then
      die "$name (process $process) is using ${WINEPREFIX#"$root"/}: try again after its end"
    fi
    printf '%s %s %s\n' $$ "$(process_start $$)" "${0##*/}" >"$note"
  } 8<>"$note"
  export VESKARD_TAKEN_PREFIX=$WINEPREFIX
}

is_installed() { dpkg-query -W -f='${db:Status-Status}' "$1" 2>/dev/null | grep -qx installed; }

# Which programs the Wine in use runs, in bits.
has_wine32() { [ "${VESKARD_WINE:-}" != arm64 ] && is_installed wine32:i386; }
wine_runs() { if has_wine32; then echo "64 and 32"; else echo 64; fi; }

is_for_32_bits() {
  local header
  header=$(od -An -tu4 -j60 -N4 "$1") && [ "$(od -An -tx2 -j$((header + 4)) -N2 "$1")" = " 014c" ]
}

# The loader for a program. Where both are installed, Debian's "wine" is the one for 32 bits;
# it would start a 64-bit program by way of another one, which does not end with it.
wine_loader() {
  local loader=/usr/lib/wine/wine64
  if [ ! -x "$loader" ] || ! has_wine32; then loader=wine; fi
  case "$1" in *[Ss]ys[Ww][Oo][Ww]64*) loader=wine ;; esac
  if [ -f "$1" ] && is_for_32_bits "$1"; then loader=wine; fi
  printf '%s\n' "$loader"
}

# Makes the prefix when it is missing, half made, or made by a Wine without the 32-bit half
# that this machine has now; for this script alone.
wine_prefix_ready() {
  wine_environment
  wine_prefix_take
  if [ "$(cat "$WINEPREFIX/.ready" 2>/dev/null)" = "$(wine_runs)" ]; then
    wine_server_stays
    heap_marks
    return 0
  fi
  say "making a Wine prefix (about ten seconds)"
  [ ! -e "$WINEPREFIX" ] || wine_stop
  rm -rf "$WINEPREFIX"
  mkdir -p "$WINEPREFIX"
  run "$build/logs/wineboot.log" env DISPLAY= timeout 180 wineboot -i
  wine_stop
  # Windows 10 answers to the version tests that choose between code paths.
  run "$build/logs/winecfg.log" env DISPLAY= timeout 60 wine reg add 'HKCU\Software\Wine' /v Version /d win10 /f
  wine_stop
  wine_runs >"$WINEPREFIX/.ready"
  wine_server_stays
  heap_marks
}

# Has every program of this prefix put marks behind its heaps' blocks, or none again,
# as VESKARD_HEAP_CHECKS asks.
heap_marks() {
  local made="$WINEPREFIX/.heap-marks" wanted=''
  local key='HKLM\System\CurrentControlSet\Control\Session Manager'
  [ "${VESKARD_HEAP_CHECKS:-}" != marks ] || wanted=yes
  if [ -n "$wanted" ] && [ ! -e "$made" ]; then
    run "$build/logs/heap-marks.log" timeout 60 wine reg add "$key" /v GlobalFlag /t REG_DWORD /d 0x10 /f
    touch "$made"
  elif [ -z "$wanted" ] && [ -e "$made" ]; then
    run "$build/logs/heap-marks.log" timeout 60 wine reg delete "$key" /v GlobalFlag /f
    rm "$made"
  fi
}

# Ends the server of this prefix, and of no other.
wine_stop() { timeout 60 wineserver -k >/dev/null 2>&1 || true; timeout 60 wineserver -w >/dev/null 2>&1 || true; }

# Starts this prefix's server if none runs, and keeps it for a minute after the last
# program. By itself it ends with that, and a program that another test starts in just
# that moment cannot connect to it.
# The first program brings up Wine's services, which keep its output open: nobody's.
wine_server_stays() {
  wineserver -p60 </dev/null >/dev/null 2>&1 || return 0
  timeout 60 "$(wine_loader cmd.exe)" cmd.exe /c exit </dev/null >/dev/null 2>&1 || true
}

# Runs one Windows program with a time limit (VESKARD_TIMEOUT seconds). GoogleTest
# keeps a file while its tests run. A file that remains means that the program ended
# before its tests, as Wine may do with exit code 0 when the stack overflows.
# The first program that needs a desktop starts Wine's, which lives until the last one
# that does has ended, and keeps the standard error of the first: a file here, shown
# afterwards, or whoever reads our output would wait for a stranger's program.
run_under_wine() {
  local folder rc=0
  folder=$(mktemp -d)
  wine_server_stays
  TEST_PREMATURE_EXIT_FILE="Z:$folder/unfinished" \
    timeout --kill-after=10 "${VESKARD_TIMEOUT:-600}" "$(wine_loader "$1")" "$@" 2>"$folder/errors" || rc=$?
  cat "$folder/errors" >&2
  if grep -aq ':heap:' "$folder/errors"; then
    say "a heap was damaged (exit code $rc)" >&2
    [ "$rc" -ne 0 ] || rc=70
  fi
  if [ -e "$folder/unfinished" ]; then
    say "the program ended before its tests did (exit code $rc)" >&2
    [ "$rc" -ne 0 ] || rc=70
  fi
  rm -rf "$folder"
  return "$rc"
}
