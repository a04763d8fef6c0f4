#!/usr/bin/env bash
# Runs one Windows program under Wine in this build tree's prefix, with a time
# limit (VESKARD_TIMEOUT seconds, 600 unless set): wine-run.sh PROGRAM [ARGUMENT...]
# With VESKARD_HEAP_CHECKS set, Wine checks every block whenever the heap is used and
# ends a program that has damaged one; what it says about each use is left out.
set -euo pipefail
. "$(dirname "$0")/lib.sh"
exit_codes="the program's own; 124 time limit; 2 no program"
answer_help "$@"
refuse_options "$@"
[ $# -gt 0 ] || wrong_usage "which program?"
if [ -n "${VESKARD_HEAP_CHECKS:-}" ]; then
  export WINEDEBUG=-all,+heap
  exec 2> >(grep -a --line-buffered -v ':trace:heap:' >&2)
fi
wine_environment
run_under_wine "$@"
