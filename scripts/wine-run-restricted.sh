#!/usr/bin/env bash
# Runs one Windows program under Wine without the right to override permissions, so that
# read-only files and forbidden folders behave as on Windows:
# wine-run-restricted.sh PROGRAM [ARGUMENT...]
# A root shell drops the right; another user does not have it. The program has its own
# prefix, because the prefix's server must be without the right too.
set -euo pipefail
. "$(dirname "$0")/lib.sh"
exit_codes="the program's own; 2 wrong command line; 70 its tests did not all run, or a heap is damaged; 124 time limit"
answer_help "$@"
refuse_options "$@"
[ $# -gt 0 ] || wrong_usage "expected arguments: PROGRAM [ARGUMENT...]"
export WINEPREFIX="$wine_prefix-restricted"

if [ "$(id -u)" -eq 0 ] && [ -z "${VESKARD_RESTRICTED:-}" ]; then
  rights=-dac_override,-dac_read_search
  export VESKARD_RESTRICTED=1
  exec setpriv --bounding-set="$rights" --inh-caps="$rights" "$0" "$@"
fi

wine_prefix_ready
trap wine_stop EXIT
run_under_wine "$@"
