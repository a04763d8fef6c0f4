#!/usr/bin/env bash
# Measures everything in one run: the platform-neutral code natively, optimised, side
# by side with its peers; under Wine, as ratios to the least that the work takes, the
# right-click and the choice, the loading, the icons and the log, and as ratios to the
# library of an older commit the right-click and the choice once more; the library's size;
# and the instructions where an aim is missed. Takes seven minutes on a quiet machine,
# without building.
#
#   scripts/bench.sh
#   scripts/bench.sh agent_bench    that benchmark under Wine alone; or several of
#                                   menu_bench cost_bench load_bench icon_bench log_bench
#                                   agent_bench
#   scripts/bench.sh --clicks 2000 ...    so many right-clicks, and not 100,000, while
#                                   cost_bench watches private memory
#
# cost_bench needs the older library, which scripts/old-library.sh builds from the history:
# two minutes more on a quiet machine, the first time.
set -euo pipefail
. "$(dirname "$0")/lib.sh"
answer_help "$@"

clicks=100000
case "${1:-} ${2:+VALUE}" in
  "--clicks VALUE")
    [[ "$2" =~ ^[1-9][0-9]*$ ]] || wrong_usage "--clicks needs a number, not \"$2\""
    clicks=$2
    shift 2
    ;;
  "--clicks ") wrong_usage "--clicks needs a number" ;;
esac
windows_benches=(menu_bench cost_bench load_bench icon_bench log_bench agent_bench) everything=true
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
[[ " ${windows_benches[*]} " != *" cost_bench "* ]] || "$root/scripts/old-library.sh"
wine_prefix_ready
trap wine_stop EXIT
for bench in "${windows_benches[@]}"; do
  printf '\n%s, under Wine\n' "$bench"
  words=()
  [ "$bench" != cost_bench ] || words=("$clicks")
  # On a busy machine cost_bench takes longer than a program may otherwise.
  VESKARD_TIMEOUT=${VESKARD_TIMEOUT:-3600} "$root/scripts/wine-run.sh" "$build/win64/bench/$bench.exe" "${words[@]}"
done

"$everything" || exit 0
printf '\nSize of the library and of its parts, in bytes\n'
"$root/scripts/library-size.sh"
"$root/scripts/bench-instructions.sh"
