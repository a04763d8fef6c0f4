#!/usr/bin/env bash
# Makes a Wine prefix, makes it anew, or ends the programs in it; for tests that need
# their own prefix.
#
#   scripts/wine-prefix.sh make FOLDER     makes it when it is missing
#   scripts/wine-prefix.sh renew FOLDER    deletes it and makes it from scratch
#   scripts/wine-prefix.sh stop FOLDER     ends its server and every program in it
set -euo pipefail
. "$(dirname "$0")/lib.sh"
answer_help "$@"

case "${1:-}" in make | renew | stop) ;; *) wrong_usage "expected make, renew or stop, not \"${1:-}\"" ;; esac
[ $# -ge 2 ] || wrong_usage "expected arguments: FOLDER"
takes_nothing_more "${@:3}"
export WINEPREFIX
WINEPREFIX=$(realpath -m "$2")  # Wine takes no other
wine_environment
case "$1" in
  make) wine_prefix_ready ;;
  renew)
    # Only what a former run has made here: never a folder that is something else.
    [ ! -e "$WINEPREFIX" ] || [ -d "$WINEPREFIX/drive_c" ] || die "$WINEPREFIX is not a Wine prefix"
    wine_prefix_take
    wine_stop
    rm -rf "$WINEPREFIX"
    wine_prefix_ready
    ;;
  stop) wine_stop ;;
esac
