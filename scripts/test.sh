#!/usr/bin/env bash
# Runs the tests: the 64-bit library and the tools under Wine, and the platform-neutral code
# natively with the sanitizers. Ends with CTest's summary, and with what was left out.
#
#   scripts/test.sh
#   scripts/test.sh win32                   the same as 32-bit programs; this adds a second
#                                           package architecture (i386) to the machine
#   scripts/test.sh PRESET [ARGUMENT...]    only this flavour; arguments go to CTest
#   scripts/test.sh arm64                   under an emulated Wine: installs an emulator,
#                                           and registers it with the kernel
set -euo pipefail
. "$(dirname "$0")/lib.sh"
answer_help "$@"

test_presets() { sed -n '/"testPresets"/,$s/.*"name": "\([^"]*\)", "configurePreset".*/\1/p' "$root/CMakePresets.json"; }

# Unless told otherwise: with the file of the 32-bit library, and the sources' format.
builds=(win64 native-sanitizers) presets=(native-sanitizers win64) everything=true
if [ $# -gt 0 ]; then
  test_presets | grep -qxF -- "$1" || wrong_usage "there are no tests of a preset \"$1\""
  builds=("$1") presets=("$1") everything=false
  shift
fi
# The tests of 32-bit programs beside 64-bit ones take these from the other flavour.
if [ "${presets[*]}" = win32 ]; then
  "$root/scripts/install-deps.sh" win32
  builds=(win64-beside-win32 win32)
fi

if [ "${presets[*]}" = arm64 ]; then
  # What lib.sh says of Wine depends on it.
  [ "${VESKARD_WINE:-}" = arm64 ] || VESKARD_WINE=arm64 exec "$0" arm64 "$@"
  # The tests of a release pack all architectures.
  builds=(win64-product arm64)
fi

"$root/scripts/build.sh" "${builds[@]}"
[ "${presets[*]}" != arm64 ] || "$root/scripts/arm64-wine.sh" make
case "${presets[*]}" in *win* | arm64)
  wine_prefix_ready
  trap wine_stop EXIT
  ;;
esac

cd "$root"
failed=0
if "$everything"; then
  scripts/format.sh --check || failed=1
  # The tests of the 32-bit libraries are left out; their files are checked all the same.
  scripts/check-library.sh build/win32/VeskardShellExt.dll build/win32/VeskardExplorerCommand.dll || failed=1
fi
for preset in "${presets[@]}"; do
  say "testing $preset"
  ctest --preset "$preset" "$@" || failed=1
done
if "$everything"; then
  left_out=$(test_presets | grep -vxF "$(printf '%s\n' "${presets[@]}")" | paste -sd ' ')
  say "left out, each to be tested by scripts/test.sh PRESET: $left_out"
fi
exit "$failed"
