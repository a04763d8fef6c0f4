#!/usr/bin/env bash
# Builds the 64-bit library and prints the size of its parts: each folder of the sources,
# the libraries that are linked in, and the resources. Fails when the library without its
# resources is larger than the aim.
set -euo pipefail
. "$(dirname "$0")/lib.sh"
answer_help "$@"
takes_nothing_more "$@"

cd "$root"
[ -f "$build/win64/build.ninja" ] || run "$build/logs/configure-win64.log" cmake --preset win64
run "$build/logs/build-library.log" cmake --build --preset win64 --target VeskardShellExt
measured library-size scripts/library-size.sh python3 "$root/scripts/library_size.py" "$build/win64/VeskardShellExt.dll" "$build/win64/VeskardShellExt.map" "$root"
