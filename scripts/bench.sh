#!/usr/bin/env bash
# Builds the platform-neutral code optimised and measures it natively, side by
# side with its peers, in one run; then measures under Wine what runs on Windows
# only. Prints tables of ratios. Takes some three minutes on a quiet machine.
set -euo pipefail
. "$(dirname "$0")/lib.sh"
answer_help "$@"
takes_nothing_more "$@"

windows_benches=(icon_bench log_bench)

"$root/scripts/install-deps.sh" bench
"$root/scripts/build.sh" native-bench
"$build/native-bench/veskard_bench"

cd "$root"
[ -f "$build/win64/build.ninja" ] || run "$build/logs/configure-win64.log" cmake --preset win64
run "$build/logs/build-bench.log" cmake --build --preset win64 --target "${windows_benches[@]}"
wine_prefix_ready
trap wine_stop EXIT
for bench in "${windows_benches[@]}"; do
  printf '\n%s, under Wine\n' "$bench"
  "$root/scripts/wine-run.sh" "$build/win64/$bench.exe"
done
