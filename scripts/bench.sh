#!/usr/bin/env bash
# Measures everything in one run: the platform-neutral code natively, optimised, beside
# its peers; under Wine the right-click, the choice of a command, loading, icons and the
# log, as ratios to the system calls that the same work needs, and the right-click once
# more beside the library of an older commit; the library's size; and instructions. Takes
# seven minutes on a quiet machine, without building.
#
#   scripts/bench.sh
#   scripts/bench.sh agent_bench    these benchmarks alone, of native_bench menu_bench
#                                   explorer_menu_bench cost_bench load_bench icon_bench
#                                   log_bench agent_bench
#   scripts/bench.sh --clicks 2000 ...    the number of right-clicks while cost_bench
#                                   watches private memory; otherwise 100,000
#   scripts/bench.sh --one-processor explorer_menu_bench    Wine's server and the benchmarks
#                                   of the library share one processor; the tables are left
#                                   in NAME-one-processor.md
#
# The tables are Markdown, with date and machine above them. They are left in
# build/measured/; scripts/measured_tables.py build/measured docs/benchmarks.md docs/evidence.md
# puts them into the pages.
#
# cost_bench needs the older library, which scripts/old-library.sh builds from the history
# the first time: two minutes more on a quiet machine.
set -euo pipefail
. "$(dirname "$0")/lib.sh"
answer_help "$@"

clicks=100000 one_processor=false
while [ $# -ne 0 ]; do
  case "$1" in
    --clicks)
      [ $# -ge 2 ] || wrong_usage "--clicks needs a number"
      [[ "$2" =~ ^[1-9][0-9]*$ ]] || wrong_usage "--clicks needs a number, not \"$2\""
      clicks=$2
      shift
      ;;
    --one-processor) one_processor=true ;;
    *) break ;;
  esac
  shift
done
benches=(native_bench menu_bench explorer_menu_bench cost_bench load_bench icon_bench log_bench agent_bench) everything=true
for name in "$@"; do
  [[ " ${benches[*]} " == *" $name "* ]] || wrong_usage "unknown benchmark \"$name\""
done
[ $# -eq 0 ] || { benches=("$@"); everything=false; }
windows_benches=()
for name in "${benches[@]}"; do [ "$name" = native_bench ] || windows_benches+=("$name"); done

"$root/scripts/install-deps.sh" bench
if [[ " ${benches[*]} " == *" native_bench "* ]]; then
  "$root/scripts/build.sh" native-bench
  measured native_bench 'scripts/bench.sh native_bench' "$build/native-bench/veskard_bench"
fi
[ ${#windows_benches[@]} -ne 0 ] || exit 0

cd "$root"
[ -f "$build/win64/build.ninja" ] || run "$build/logs/configure-win64.log" cmake --preset win64
run "$build/logs/build-bench.log" cmake --build --preset win64 --target "${windows_benches[@]}"
[[ " ${windows_benches[*]} " != *" cost_bench "* ]] || "$root/scripts/old-library.sh"
if "$one_processor"; then
  wine_environment
  wine_prefix_take
  wine_stop  # a server that runs already has all processors
  taskset --cpu-list --pid 0 $$ >/dev/null
fi
wine_prefix_ready
trap wine_stop EXIT
# On a busy machine cost_bench takes longer than a program may otherwise.
export VESKARD_TIMEOUT=${VESKARD_TIMEOUT:-3600}
for bench in "${windows_benches[@]}"; do
  words=() options= table=$bench
  if "$one_processor"; then options="--one-processor " table="$bench-one-processor"; fi
  if [ "$bench" = cost_bench ]; then
    words=("$clicks")
    [ "$clicks" = 100000 ] || options+="--clicks $clicks "
  fi
  measured "$table" "scripts/bench.sh $options$bench" "$root/scripts/wine-run.sh" "$build/win64/bench/$bench.exe" "${words[@]}"
done

"$everything" || exit 0
"$root/scripts/library-size.sh"
"$root/scripts/bench-instructions.sh"
