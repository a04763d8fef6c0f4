#!/usr/bin/env bash
# Builds a flavour by its preset: the library, the tools and the tests, in build/PRESET/.
#
#   scripts/build.sh                 win64, and before it win32 (the library for 32-bit hosts)
#   scripts/build.sh win64-traps     that flavour, and win32 before it if it makes packages
#   scripts/build.sh arm64           15 to 40 minutes the first time, for its run-time libraries
set -euo pipefail
. "$(dirname "$0")/lib.sh"
answer_help "$@"

presets=("$@")
[ "${#presets[@]}" -gt 0 ] || presets=(win64)
for preset in "${presets[@]}"; do
  grep -q "\"configurePreset\": \"$preset\"" "$root/CMakePresets.json" || wrong_usage "there is no preset \"$preset\""
done
# The packages of the other flavours hold the 32-bit library.
case "${presets[*]}" in *win64* | *arm64*) presets=(win32 "${presets[@]}") ;; esac

"$root/scripts/install-deps.sh"
case " ${presets[*]} " in *" arm64 "*) "$root/scripts/install-deps.sh" arm64 ;; esac
cd "$root"
for preset in "${presets[@]}"; do
  say "building $preset"
  [ -f "$build/$preset/build.ninja" ] || run "$build/logs/configure-$preset.log" cmake --preset "$preset"
  run "$build/logs/build-$preset.log" cmake --build --preset "$preset"
done
