#!/usr/bin/env bash
# Builds a flavour by its preset: the library, the tools and the tests, in build/PRESET/.
#
#   scripts/build.sh                   win64, and before it the library and the tools of win32
#   scripts/build.sh win64-traps       that flavour, and these before it if it makes packages
#   scripts/build.sh win32-product     the library and the tools alone
#   scripts/build.sh arm64             15 to 40 minutes the first time, for its run-time libraries
set -euo pipefail
. "$(dirname "$0")/lib.sh"
answer_help "$@"

presets=("$@")
[ "${#presets[@]}" -gt 0 ] || presets=(win64)

# The flavour that a build preset builds; nothing for one that is not there.
flavour_of() {
  sed -n "/\"buildPresets\"/,/\"testPresets\"/s/.*\"name\": \"$1\", \"configurePreset\": \"\([^\"]*\)\".*/\1/p" \
    "$root/CMakePresets.json"
}
for preset in "${presets[@]}"; do
  [ -n "$(flavour_of "$preset")" ] || wrong_usage "unknown preset \"$preset\""
done
# The packages of the other flavours hold the 32-bit library.
case "${presets[*]}" in *win64* | *arm64*) presets=(win32-product "${presets[@]}") ;; esac

"$root/scripts/install-deps.sh"
case " ${presets[*]} " in *" arm64 "*) "$root/scripts/install-deps.sh" arm64 ;; esac
cd "$root"
for preset in "${presets[@]}"; do
  say "building $preset"
  flavour=$(flavour_of "$preset")
  [ "$build/$flavour/build.ninja" -nt CMakePresets.json ] || run "$build/logs/configure-$flavour.log" cmake --preset "$flavour"
  run "$build/logs/build-$preset.log" cmake --build --preset "$preset"
done
