#!/usr/bin/env bash
# Makes an emulated ARM64 machine with Wine, which runs Windows programs for ARM64, and runs
# programs in it. It is a folder with the distribution's packages for that architecture,
# unpacked only.
#
#   scripts/arm64-wine.sh make                  makes it in build/deps/ when it is missing
#                                               (one minute), and has the kernel start the
#                                               emulator for programs of that architecture
#   scripts/arm64-wine.sh run PROGRAM [WORD...] runs one of its programs, with this project's
#                                               folder and /tmp
#
# "make" also puts programs named wine, wineboot and wineserver into build/deps/arm64-wine,
# for the PATH of the other scripts.
set -euo pipefail
. "$(dirname "$0")/lib.sh"
exit_codes="0 done; 1 failed; 2 wrong command line; of \"run\" those of the program"
answer_help "$@"

machine="$build/deps/arm64-root"
programs="$build/deps/arm64-wine"
emulator=qemu-aarch64

# The kernel keeps what is registered until the next start of the machine, and "F" has it open
# the emulator now, so that a root folder without it will do.
register_emulator() {
  local folder=/proc/sys/fs/binfmt_misc
  [ -e "$folder/register" ] || as_root mount -t binfmt_misc binfmt_misc "$folder"
  [ ! -e "$folder/$emulator" ] || return 0
  say "having the kernel start $emulator for ARM64 programs, until this machine is restarted"
  as_root sh -c "cat /usr/lib/binfmt.d/$emulator.conf >$folder/register"
}

# From the machine's own package sources. libc-bin has the locale in which Wine finds files
# whose names are not plain English.
unpack_machine() {
  local suite file sources=()
  suite=$(. /etc/os-release && printf '%s' "$VERSION_CODENAME")
  for file in /etc/apt/sources.list /etc/apt/sources.list.d/*.list /etc/apt/sources.list.d/*.sources; do
    if grep -qs "$suite" "$file"; then sources+=("$file"); fi
  done
  [ "${#sources[@]}" -gt 0 ] || die "no package source of this machine is one of $suite"
  say "unpacking Wine and what it needs for ARM64 (one minute)"
  rm -rf "$machine"
  run "$build/logs/arm64-root.log" mmdebstrap --variant=extract --architectures=arm64 \
    --include=wine64,coreutils,bash,libgcc-s1,libc-bin "$suite" "$machine" "${sources[@]}"
}

make_programs() {
  local name inside
  mkdir -p "$programs"
  for name in wine wineboot wineserver; do
    case $name in
      wine) inside='/usr/lib/wine/wine64' ;;
      wineboot) inside='/usr/lib/wine/wine64 wineboot' ;;
      wineserver) inside='/usr/lib/wine/wineserver64' ;;
    esac
    printf '#!/bin/sh\nWINESERVER=/usr/lib/wine/wineserver64 exec %s run %s "$@"\n' \
      "'$root/scripts/arm64-wine.sh'" "$inside" >"$programs/$name"
    chmod +x "$programs/$name"
  done
}

# In a mount namespace, which ends with the program. Processes of one Wine prefix meet in /tmp.
run_program() {
  local namespace=(--mount)
  [ "$(id -u)" -eq 0 ] || namespace+=(--map-root-user)
  # shellcheck disable=SC2016  # the inner shell's variables
  exec unshare "${namespace[@]}" bash -euc '
    machine=$1
    shift
    for folder in "$0" /proc /dev /tmp; do
      mkdir -p "$machine$folder"
      mount --rbind "$folder" "$machine$folder"
    done
    [ -d "$machine$PWD" ] || cd /
    exec nsenter --root="$machine" --wd="$machine$PWD" "$@"
  ' "$root" "$machine" "$@"
}

case "${1:-}" in
  make)
    takes_nothing_more "${@:2}"
    register_emulator
    [ -e "$machine.complete" ] || unpack_machine
    make_programs
    touch "$machine.complete"
    ;;
  run)
    [ $# -ge 2 ] || wrong_usage "expected arguments: PROGRAM [ARGUMENT...]"
    [ -e "$machine.complete" ] || die "the machine is not there: scripts/arm64-wine.sh make makes it"
    run_program "${@:2}"
    ;;
  *) wrong_usage "expected make or run, not \"${1:-}\"" ;;
esac
