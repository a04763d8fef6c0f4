#!/usr/bin/env bash
# Runs every test under Wine on a library that counts, and prints for each folder
# of it which share of its lines and branches was reached; the lines that were not
# are listed in build/coverage/. Fails when a test does, or when less is reached than
# is aimed at. Takes some twenty minutes on two cores.
set -euo pipefail
. "$(dirname "$0")/lib.sh"
answer_help "$@"
takes_nothing_more "$@"

"$root/scripts/install-deps.sh" coverage
"$root/scripts/build.sh" win64-coverage
wine_prefix_ready
trap wine_stop EXIT

cd "$root"
find "$build/win64-coverage" -name '*.gcda' -delete
# One at a time: two programs would write their counts into one file.
say "testing win64-coverage"
failed=0
if ! ctest --preset win64-coverage >"$build/logs/test-coverage.log" 2>&1; then
  say "some tests failed: see build/logs/test-coverage.log"
  failed=1
fi

report="$build/coverage"
mkdir -p "$report"
# Branches that only an exception takes are the compiler's, not ours. Objects of the
# library only: other targets compile some of its sources with other versions.
read -ra folders <<<"$(library_folders)"
run "$build/logs/gcovr.log" gcovr --root "$root" --gcov-executable x86_64-w64-mingw32-gcov-posix \
  --gcov-ignore-parse-errors --exclude-throw-branches --exclude-unreachable-branches \
  "${folders[@]/#/--filter=}" --json "$report/counts.json" "${folders[@]/#/$build/win64-coverage/}"

# reached NAME OPTION...: which share of the lines and branches, each with that name.
reached() {
  local name=$1
  shift
  gcovr --root "$root" --add-tracefile "$report/counts.json" --print-summary "$@" |
    sed "/^functions/d; s|^|$name: |"
}
for folder in $(find "${folders[@]}" -name '*.cpp' -printf '%h\n' | sort -u); do
  reached "$folder" --filter "$folder/[^/]*$" --txt /dev/null
done
reached "in all" --txt "$report/lines.txt" --html-details "$report/index.html" \
  --fail-under-line 95 --fail-under-branch 85 || failed=1
exit "$failed"
