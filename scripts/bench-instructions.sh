#!/usr/bin/env bash
# Counts the instructions of single steps with Valgrind's callgrind: parsing a few huge
# strings, formatting a text, loading the library, composing a placeholder's icon. The
# figures hardly change on a busy machine. The instructions of the system's kernel and of
# Wine's server are not counted.
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

# count TITLE NAME COMMAND...: the table of the steps that a program has named.
count() {
  local title=$1 name=$2
  shift 2
  printf '\n%s\n\n' "$title"
  # Wine's loader must stay what Valgrind has started.
  WINELOADERNOEXEC=1 run "$build/logs/$name.log" timeout 600 valgrind --tool=callgrind --trace-children=yes \
    --callgrind-out-file="$outputs/$name.%p" "$@"
  scripts/instructions_table.py "$outputs/$name".*
}

count_all() {
  local native="$build/native-bench" windows="$build/win64/bench"
  count "Parsing" parse_instructions "$native/parse_instructions"
  count "Formatting each text 1,000 times" format_instructions "$native/format_instructions"
  count "Loading, in a process without the system's libraries" load_instructions wine "$windows/load_instructions.exe"
  count "A placeholder's icon" icon_instructions wine "$windows/icon_instructions.exe"
}
measured instructions scripts/bench-instructions.sh count_all
