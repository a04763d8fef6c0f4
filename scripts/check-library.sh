#!/usr/bin/env bash
# Checks built libraries without running them, for any processor: imports and exports,
# sections and size, protections in memory, and the version resource.
#
#   scripts/check-library.sh FILE...
#   scripts/check-library.sh --windows 6.0 FILE...    whether it loads on this older Windows
set -euo pipefail
. "$(dirname "$0")/lib.sh"
answer_help "$@"
# Without a version it is the oldest one of the file's architecture; a library with a newer
# import is not loaded there at all.
oldest_windows="-"
if [ "${1:-}" = --windows ]; then
  [[ "${2:-}" =~ ^[0-9]+\.[0-9]+$ ]] || wrong_usage "--windows needs a version such as 6.1"
  oldest_windows=$2
  shift 2
fi
refuse_options "$@"
[ "$#" -gt 0 ] || wrong_usage "expected arguments: FILE..."
for file in "$@"; do [ -f "$file" ] || die "$file does not exist"; done

# Imports: of Windows' own libraries and no others, for each library is one file to deploy;
# and only of those that Windows loads from its own folder whatever lies beside the host. The
# others are loaded late (core/LateLibrary.h), and have no row in the list.
# The interpreter is the distribution's own, which has the distribution's modules.
exec /usr/bin/python3 -B "$root/scripts/library_file.py" "$root/scripts/library-imports.txt" "$root" \
  "$(product_version)" "Nimbrel Veskard Agent" "$oldest_windows" "$@"
