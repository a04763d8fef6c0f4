#!/usr/bin/env bash
# Every request for memory and every system call of the built library fails once, in
# everything that a host does with it: without the samples that the test suite is
# content with. Takes about three minutes on a quiet machine. Arguments go to GoogleTest:
#
#   scripts/torture.sh --gtest_filter='*RightClick*'
set -euo pipefail
. "$(dirname "$0")/lib.sh"
answer_help "$@"

"$root/scripts/build.sh" win64
wine_prefix_ready
trap wine_stop EXIT
VESKARD_THOROUGH=1 VESKARD_TIMEOUT=7200 "$root/scripts/wine-run.sh" "$build/win64/tests/torture_tests.exe" "$@"
