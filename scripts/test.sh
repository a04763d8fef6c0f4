#!/usr/bin/env bash
# Everything tested, one command: the library and the tools under Wine, and the
# platform-neutral code natively with the sanitizers. Ends in CTest's summary.
set -euo pipefail
. "$(dirname "$0")/lib.sh"
answer_help "$@"
takes_nothing_more "$@"

"$root/scripts/build.sh" win64 win32 native-sanitizers
wine_prefix_ready
trap wine_stop EXIT

cd "$root"
failed=0
# The 32-bit library does not run here; its file is looked into all the same.
scripts/check-library.sh build/win32/VeskardShellExt.dll || failed=1
for preset in native-sanitizers win64; do
  say "testing $preset"
  ctest --preset "$preset" || failed=1
done
exit "$failed"
