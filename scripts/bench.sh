#!/usr/bin/env bash
# Builds the platform-neutral code optimised and measures it natively, side by
# side with its peers, and the diagnostic log under Wine, beside the bare calls; in
# one run, printed as tables of ratios (docs/benchmarks.md says how to read them).
# Takes about two minutes on a quiet machine.
set -euo pipefail
. "$(dirname "$0")/lib.sh"

"$root/scripts/install-deps.sh" bench
"$root/scripts/build.sh" native-bench win64
run "$build/logs/build-log-bench.log" cmake --build "$build/win64" --target log_bench
wine_prefix_ready
trap wine_stop EXIT
"$build/native-bench/veskard_bench"
"$root/scripts/wine-run.sh" "$build/win64/log_bench.exe"
