#!/usr/bin/env bash
# Runs all tests: the library and the tools under Wine, and the platform-neutral code
# natively with the sanitizers. Ends with CTest's summary.
#
#   scripts/test.sh
#   scripts/test.sh PRESET [ARGUMENT...]    only this flavour; arguments go to CTest
set -euo pipefail
. "$(dirname "$0")/lib.sh"
answer_help "$@"

# Everything: what the 32-bit library is tested by too, and the sources' format.
flavours=(win64 win32 native-sanitizers) presets=(native-sanitizers win64) everything=true
if [ $# -gt 0 ]; then
  sed -n '/"testPresets"/,$p' "$root/CMakePresets.json" | grep -q "\"name\": \"$1\", \"configurePreset\"" ||
    wrong_usage "there are no tests of a preset \"$1\""
  flavours=("$1") presets=("$1") everything=false
  shift
fi

"$root/scripts/build.sh" "${flavours[@]}"
case "${presets[*]}" in *win*)
  wine_prefix_ready
  trap wine_stop EXIT
  ;;
esac

cd "$root"
failed=0
if "$everything"; then
  scripts/format.sh --check || failed=1
  # The 32-bit libraries do not run here; their files are looked into all the same.
  scripts/check-library.sh build/win32/VeskardShellExt.dll build/win32/VeskardExplorerCommand.dll || failed=1
fi
for preset in "${presets[@]}"; do
  say "testing $preset"
  ctest --preset "$preset" "$@" || failed=1
done
exit "$failed"
