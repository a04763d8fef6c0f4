#!/usr/bin/env bash
# Applies .clang-format to the whole tree.
#
#   scripts/format.sh
#   scripts/format.sh --check    changes nothing; fails when a file is not formatted
set -euo pipefail
. "$(dirname "$0")/lib.sh"
answer_help "$@"
case "${1:-}" in "" | --check) ;; *) wrong_usage "unknown option $1" ;; esac
takes_nothing_more "${@:2}"

cd "$root"
mapfile -t files < <(find . -path ./build -prune -o \( -name '*.h' -o -name '*.cpp' \) -print)
if [ "${1:-}" = --check ]; then
  clang-format --dry-run --Werror "${files[@]}" || die "the formatting differs: run scripts/format.sh"
else
  clang-format -i "${files[@]}"
fi
