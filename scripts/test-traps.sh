#!/usr/bin/env bash
# Runs the test suite of the checked flavour: undefined behaviour and misuse of the standard
# library stop the program where they happen. Arguments go to CTest:
#
#   scripts/test-traps.sh -R torture
set -euo pipefail
. "$(dirname "$0")/lib.sh"
answer_help "$@"
exec "$root/scripts/test.sh" win64-traps "$@"
