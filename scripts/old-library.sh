#!/usr/bin/env bash
# Builds the library of an older commit, with which scripts/bench.sh cost_bench compares
# today's: build/old-library/VeskardShellExt.dll. Sources and settings come from the
# repository's history. Takes two minutes on a quiet machine, and no time when the library
# exists already, from the same commit and compiler.
set -euo pipefail
. "$(dirname "$0")/lib.sh"
answer_help "$@"
takes_nothing_more "$@"

# The last commit that is old.
old_commit=57dc118

old="$build/old-library"
commit=$(git -C "$root" rev-parse --verify --quiet "$old_commit^{commit}") ||
  die "commit $old_commit is missing: use a clone with the whole history"
"$root/scripts/install-deps.sh"
origin="$commit, $(x86_64-w64-mingw32-g++-posix --version | sed 1q)"
if [ -f "$old/VeskardShellExt.dll" ] && [ "$(cat "$old/origin" 2>/dev/null)" = "$origin" ]; then exit 0; fi

say "building the library of commit $old_commit (about two minutes, once)"
rm -rf "$old"
mkdir -p "$old/source/build/deps"
git -C "$root" archive "$commit" | tar -C "$old/source" -x
cp -r "$build/deps/minizip" "$old/source/build/deps/"
cd "$old/source"
run "$build/logs/old-library-configure.log" cmake --preset win64 -DVESKARD_BUILD_TESTS=OFF
run "$build/logs/old-library-build.log" cmake --build --preset win64 --target VeskardShellExt
mv build/win64/VeskardShellExt.dll "$old/"
rm -rf "$old/source"
printf '%s\n' "$origin" >"$old/origin"
