#!/usr/bin/env bash
# Runs every test under Wine on a library that counts executed lines, and prints the
# coverage of lines and branches for each folder of the library as a Markdown table. The
# lines that no test reaches are listed in build/coverage/. Fails when a test fails, or
# when the coverage is below the aim. Takes some twenty minutes on two cores.
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

# reached NAME OPTION...: one row of the table. gcovr puts a new file in the place of what it is
# to write to, so that it must be a file: run as root, it would replace the null device.
reached() {
  local name=$1 summary rc=0
  shift
  summary=$(gcovr --root "$root" --add-tracefile "$report/counts.json" --print-summary "$@") || rc=$?
  printf '%s\n' "$summary" | awk -v name="$name" '
    function share(text) { match(text, /[0-9.]+%/); percent = substr(text, RSTART, RLENGTH)
                           match(text, /out of [0-9]+/); return percent " of " substr(text, RSTART + 7, RLENGTH - 7) }
    /^lines:/ { lines = share($0) } /^branches:/ { branches = share($0) }
    END { print "| " name " | " lines " | " branches " |" }'
  return "$rc"
}

coverage() {
  printf '\n| Folder | lines | branches |\n|---|---|---|\n'
  for folder in $(find "${folders[@]}" -name '*.cpp' -printf '%h\n' | sort -u); do
    reached "\`$folder\`" --filter "$folder/[^/]*$" --txt "$report/folder.txt"
  done
  reached "in all (aim: 95% and 85%)" --txt "$report/lines.txt" --html-details "$report/index.html" \
    --fail-under-line 95 --fail-under-branch 85
}
measured coverage scripts/coverage.sh coverage || failed=1
exit "$failed"
