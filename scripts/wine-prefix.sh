#!/usr/bin/env bash
# Makes a Wine prefix ready, or ends what runs in it; for tests that need one of
# their own: wine-prefix.sh make|stop FOLDER
set -euo pipefail
. "$(dirname "$0")/lib.sh"
export WINEPREFIX=$2
case "$1" in
  make) wine_prefix_ready ;;
  stop) wine_environment; wine_stop ;;
  *) die "make or stop, not \"$1\"" ;;
esac
