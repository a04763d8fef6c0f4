#!/usr/bin/env bash
# Counts instructions with Valgrind's callgrind, step by step: what parsing a few huge
# strings, formatting a text, loading the library and a placeholder's icon spend theirs on. The same numbers on a busy machine as on a quiet one. What the
# system's kernel and Wine's server do is not in them.
set -euo pipefail
. "$(dirname "$0")/lib.sh"
answer_help "$@"
takes_nothing_more "$@"

"$root/scripts/install-deps.sh" bench
"$root/scripts/build.sh" native-bench
cd "$root"
# Once more: Valgrind's headers may be new here.
run "$build/logs/configure-win64.log" cmake --preset win64
run "$build/logs/build-instructions.log" cmake --build --preset win64 --target icon_instructions load_instructions
wine_prefix_ready
outputs=$(mktemp -d)
trap 'wine_stop; rm -rf "$outputs"' EXIT

# count NAME COMMAND...: the table of what a program has named.
count() {
  local name=$1
  shift
  printf '\n%s: instructions\n' "$name"
  # Wine's loader must stay what Valgrind has started.
  WINELOADERNOEXEC=1 run "$build/logs/$name.log" timeout 600 valgrind --tool=callgrind --trace-children=yes \
    --callgrind-out-file="$outputs/$name.%p" "$@"
  scripts/instructions_table.py "$outputs/$name".*
}

for program in parse_instructions format_instructions; do
  count "$program" "$build/native-bench/$program"
done
for program in load_instructions icon_instructions; do
  count "$program" wine "$build/win64/bench/$program.exe"
done
