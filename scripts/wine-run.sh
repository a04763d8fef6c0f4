#!/usr/bin/env bash
# Runs one Windows program under Wine in this build tree's prefix, with a time
# limit (VESKARD_TIMEOUT seconds, 600 unless set): wine-run.sh PROGRAM [ARGUMENT...]
# With VESKARD_HEAP_CHECKS set, a program fails when Wine finds a damaged heap in it.
set -euo pipefail
. "$(dirname "$0")/lib.sh"
exit_codes="the program's own; 2 wrong command line; 70 its tests did not all run, or a heap is damaged; 124 time limit"
answer_help "$@"
refuse_options "$@"
[ $# -gt 0 ] || wrong_usage "expected arguments: PROGRAM [ARGUMENT...]"
wine_environment
run_under_wine "$@"
