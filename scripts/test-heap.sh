#!/usr/bin/env bash
# The test suite with Wine's heap checking its blocks: a program that writes beyond
# one, or to one it has freed, ends at once. Takes several times as long as
# scripts/test.sh. Arguments go to CTest:
#
#   scripts/test-heap.sh -R torture
set -euo pipefail
. "$(dirname "$0")/lib.sh"

"$root/scripts/build.sh" win64
wine_prefix_ready
trap wine_stop EXIT
cd "$root"
VESKARD_HEAP_CHECKS=1 VESKARD_TIMEOUT=3600 ctest --preset win64 --timeout 3600 "$@"
