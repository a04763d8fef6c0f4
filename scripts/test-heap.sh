#!/usr/bin/env bash
# The test suite with Wine's heap checking its blocks: a program that writes beyond
# one, or to one it has freed, ends at once. Takes several times as long as
# scripts/test.sh. Arguments go to CTest:
#
#   scripts/test-heap.sh -R torture
set -euo pipefail
. "$(dirname "$0")/lib.sh"
answer_help "$@"

"$root/scripts/build.sh" win64-heap
wine_prefix_ready
trap wine_stop EXIT
cd "$root"
ctest --preset win64-heap "$@"
