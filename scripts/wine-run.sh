#!/usr/bin/env bash
# Runs one Windows program under Wine in this build tree's prefix, with a time
# limit (VESKARD_TIMEOUT seconds, 600 unless set): wine-run.sh PROGRAM [ARGUMENT...]
set -euo pipefail
. "$(dirname "$0")/lib.sh"
wine_environment
run_under_wine "$@"
