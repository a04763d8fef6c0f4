#!/usr/bin/env bash
# Builds a flavour by its preset, release for 64-bit Windows unless told
# otherwise; the library and the tools end in build/PRESET/.
#
#   scripts/build.sh                 win64, and win32 (the library for 32-bit hosts)
#   scripts/build.sh win64-traps     that flavour alone
#   scripts/build.sh arm64           the first time with what it is built with, 15 to 40 minutes
set -euo pipefail
. "$(dirname "$0")/lib.sh"
answer_help "$@"

presets=("$@")
[ "${#presets[@]}" -gt 0 ] || presets=(win64 win32)
for preset in "${presets[@]}"; do
  grep -q "\"configurePreset\": \"$preset\"" "$root/CMakePresets.json" || wrong_usage "there is no preset \"$preset\""
done

"$root/scripts/install-deps.sh"
case " ${presets[*]} " in *" arm64 "*) "$root/scripts/install-deps.sh" arm64 ;; esac
cd "$root"
for preset in "${presets[@]}"; do
  say "building $preset"
  [ -f "$build/$preset/build.ninja" ] || run "$build/logs/configure-$preset.log" cmake --preset "$preset"
  run "$build/logs/build-$preset.log" cmake --build --preset "$preset"
done
