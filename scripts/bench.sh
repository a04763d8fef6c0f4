#!/usr/bin/env bash
# Measures everything in one run: the platform-neutral code natively, optimised, side
# by side with its peers; under Wine, as ratios to the least that the work takes, the
# right-click and the choice, the loading, the icons and the log; the library's size; and
# the instructions where an aim is missed. Takes three minutes on a quiet
# machine, without building.
#
#   scripts/bench.sh
#   scripts/bench.sh agent_bench    that benchmark under Wine alone; or several of
#                                   menu_bench load_bench icon_bench log_bench agent_bench
set -euo pipefail
. "$(dirname "$0")/lib.sh"
answer_help "$@"

windows_benches=(menu_bench load_bench icon_bench log_bench agent_bench) everything=true
for name in "$@"; do
  [[ " ${windows_benches[*]} " == *" $name "* ]] || wrong_usage "there is no benchmark \"$name\""
done
[ $# -eq 0 ] || { windows_benches=("$@"); everything=false; }

"$root/scripts/install-deps.sh" bench
if "$everything"; then
  "$root/scripts/build.sh" native-bench
  "$build/native-bench/veskard_bench"
fi

cd "$root"
[ -f "$build/win64/build.ninja" ] || run "$build/logs/configure-win64.log" cmake --preset win64
run "$build/logs/build-bench.log" cmake --build --preset win64 --target "${windows_benches[@]}"
wine_prefix_ready
trap wine_stop EXIT
for bench in "${windows_benches[@]}"; do
  printf '\n%s, under Wine\n' "$bench"
  "$root/scripts/wine-run.sh" "$build/win64/bench/$bench.exe"
done

"$everything" || exit 0
printf '\nSize of the library and of its parts, in bytes\n'
"$root/scripts/library-size.sh"
"$root/scripts/bench-instructions.sh"
