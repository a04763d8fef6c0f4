#!/usr/bin/env bash
# Builds the platform-neutral code optimised and measures it natively, side by
# side with its peers, in one run; prints tables of ratios (docs/benchmarks.md
# says how to read them). Takes about a minute and a half on a quiet machine.
set -euo pipefail
. "$(dirname "$0")/lib.sh"
answer_help "$@"
takes_nothing_more "$@"

"$root/scripts/install-deps.sh" bench
"$root/scripts/build.sh" native-bench
exec "$build/native-bench/veskard_bench"
