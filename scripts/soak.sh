#!/usr/bin/env bash
# Repeats right-clicks and icons of the built library in one process, then menus of Windows
# 11's own: 100,000 of each unless ROUNDS is given (some fifteen minutes). Prints, as Markdown
# tables, the memory and the handles of the process at the start, on the way and at the end.
# Fails when they grow.
#
#   scripts/soak.sh [ROUNDS]
set -euo pipefail
. "$(dirname "$0")/lib.sh"
answer_help "$@"
refuse_options "$@"
[[ "${1:-1}" =~ ^[1-9][0-9]*$ ]] || wrong_usage "ROUNDS must be a number, not \"$1\""
takes_nothing_more "${@:2}"

"$root/scripts/build.sh" win64
wine_prefix_ready
trap wine_stop EXIT
export VESKARD_SOAK=${1:-100000} VESKARD_TIMEOUT=36000

# The rows of the tables stand among GoogleTest's lines, with an empty line before each table.
soak() {
  "$root/scripts/wine-run.sh" "$build/win64/tests/soak_tests.exe" | tee "$build/logs/soak.log" | grep -E '^(\||$)' | cat -s
}
measured soak "scripts/soak.sh $VESKARD_SOAK" soak || { cat "$build/logs/soak.log"; exit 1; }
