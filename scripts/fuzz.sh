#!/usr/bin/env bash
# Fuzzes every target for SECONDS each, two at a time, from the committed seeds and from
# the corpus of earlier runs on this machine (build/fuzz/). A finding fails the run. Its
# input is left in fuzz/regressions/TARGET/; commit it together with the fix.
#
#   scripts/fuzz.sh SECONDS [TARGET...]    targets: parser, format, path, archive, lines
set -euo pipefail
. "$(dirname "$0")/lib.sh"
answer_help "$@"

known=(parser format path archive lines)
case "${1:-}" in
  "") wrong_usage "expected arguments: SECONDS [TARGET...]" ;;
  *[!0-9]*) wrong_usage "SECONDS must be a number, not \"$1\"" ;;
esac
seconds=$1
targets=("${@:2}")
for target in "${targets[@]}"; do
  case " ${known[*]} " in *" $target "*) ;; *) wrong_usage "unknown target \"$target\"" ;; esac
done
[ "${#targets[@]}" -gt 0 ] || targets=("${known[@]}")

# fuzz TARGET: one run, its output in a file of its own.
fuzz() {
  local target=$1 corpus="$build/fuzz/$1" regressions="$root/fuzz/regressions/$1" log="$build/logs/fuzz-$1.log"
  mkdir -p "$corpus"
  if "$build/native-fuzz/${target}_fuzz" -max_total_time="$seconds" -max_len="${VESKARD_FUZZ_MAX_LEN:-256}" \
    -timeout=10 -rss_limit_mb=2048 -print_final_stats=1 -artifact_prefix="$regressions/" \
    "$corpus" "$root/fuzz/seeds/$target" "$regressions" >"$log" 2>&1; then
    say "$target: $(sed -n 's/^stat::number_of_executed_units: *//p' "$log") executions without a finding"
  else
    tail -n 40 "$log" >&2
    die "the target $target has a finding; its input is in fuzz/regressions/$target/"
  fi
}

"$root/scripts/build.sh" native-fuzz
say "fuzzing for $seconds s each: ${targets[*]}"
failed=0
running=()
for target in "${targets[@]}"; do
  if [ "${#running[@]}" -eq 2 ]; then
    wait "${running[0]}" || failed=1
    running=("${running[1]}")
  fi
  fuzz "$target" &
  running+=("$!")
done
for job in "${running[@]}"; do wait "$job" || failed=1; done
exit "$failed"
