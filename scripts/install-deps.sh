#!/usr/bin/env bash
# Installs what building, testing and the demo need on Debian 12, as root or with sudo.
# Does nothing, and uses no network, on a machine that has everything.
#
#   scripts/install-deps.sh            everything that the tests and the demo need
#   scripts/install-deps.sh bench      the same, and the peers of the benchmarks
#   scripts/install-deps.sh lint       the same, and the static analysers
#   scripts/install-deps.sh coverage   the same, and the program that reports coverage
#   scripts/install-deps.sh win32      the same, and the 32-bit half of Wine, which adds a
#                                      second package architecture (i386) to the machine
#   scripts/install-deps.sh arm64      the same, and the compiler for ARM64, its run-time
#                                      libraries (scripts/arm64-sysroot.sh) and an emulator
set -euo pipefail
. "$(dirname "$0")/lib.sh"
answer_help "$@"
case "${1:-}" in "" | bench | lint | coverage | win32 | arm64) ;; *) wrong_usage "unexpected argument \"$1\"" ;; esac
takes_nothing_more "${@:2}"

packages=(
  # Compilers: the library for 64 and 32 bits, the native sanitizer flavour.
  cmake ninja-build g++ g++-mingw-w64-x86-64-posix g++-mingw-w64-i686-posix
  clang clang-format libclang-rt-14-dev llvm
  # Writes the PDB.
  lld
  # Linked into the library: zlib for each flavour; minizip comes as source, below.
  libz-mingw-w64-dev zlib1g-dev dpkg-dev
  # Tests: GoogleTest ships as source and is built for each flavour.
  googletest wine wine64 util-linux
  # Artwork from vector sources; pictures of real menus.
  librsvg2-bin icoutils xvfb xauth imagemagick fonts-liberation2 fonts-dejavu-core fonts-open-sans
  fonts-wqy-microhei
  python3 python3-pefile
  # The installation package, and its signature; install-osslsigncode.sh installs the rest.
  msitools gcab openssl
  # The picture of the dependencies.
  graphviz
)
case "${1:-}" in
  bench) packages+=(libtorrent-rasterbar-dev libfmt-dev valgrind) ;;
  lint) packages+=(clang-tidy cppcheck) ;;
  coverage) packages+=(gcovr) ;;
  arm64) packages+=(clang-19 lld-19 llvm-19 make qemu-user-static mmdebstrap) ;;
esac

missing=()
for package in "${packages[@]}"; do
  is_installed "$package" || missing+=("$package")
done
if [ "${#missing[@]}" -gt 0 ]; then
  say "installing ${#missing[@]} packages: ${missing[*]}"
  export DEBIAN_FRONTEND=noninteractive
  run "$build/logs/apt-update.log" as_root apt-get update
  run "$build/logs/apt-install.log" as_root apt-get install -y --no-install-recommends "${missing[@]}"
fi

"$root/scripts/install-osslsigncode.sh"
"$root/scripts/fetch-minizip.sh"
[ "${1:-}" != arm64 ] || "$root/scripts/arm64-sysroot.sh"
[ "${1:-}" != win32 ] || "$root/scripts/install-wine32.sh"
