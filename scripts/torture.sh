#!/usr/bin/env bash
# Fails each request for memory and each system call of the built libraries once, in each
# scenario of a host. The test suite takes samples of the long scenarios; this takes all.
# Takes about three minutes on a quiet machine. Arguments go to GoogleTest:
#
#   scripts/torture.sh --gtest_filter='*RightClick*'
set -euo pipefail
. "$(dirname "$0")/lib.sh"
answer_help "$@"

"$root/scripts/build.sh" win64
wine_prefix_ready
trap wine_stop EXIT
VESKARD_THOROUGH=1 VESKARD_TIMEOUT=7200 "$root/scripts/wine-run.sh" "$build/win64/tests/torture_tests.exe" "$@"
