#!/usr/bin/env bash
# Checks the library and the tools with clang-tidy (configured by .clang-tidy) and with
# cppcheck; any finding fails. Takes some ten minutes on two cores.
#
#   scripts/lint.sh [FILE...]    only these sources, with clang-tidy
set -euo pipefail
. "$(dirname "$0")/lib.sh"
answer_help "$@"
refuse_options "$@"

cd "$root"
"$root/scripts/install-deps.sh" lint
read -ra folders <<<"$(library_folders) tools"
# The build by Clang supplies the flags and the headers.
run "$build/logs/configure-win64-clang.log" cmake --preset win64-clang
run "$build/logs/generated.log" cmake --build --preset win64-clang --target language_archive_file

files=("$@")
# The sources of other flavours only are not among the commands of that build.
[ "${#files[@]}" -gt 0 ] || mapfile -t files < <(find "${folders[@]}" -name '*.cpp' ! -path 'lang/archive/*' | sort |
  while read -r file; do ! grep -qF "$root/$file\"" "$build/win64-clang/compile_commands.json" || echo "$file"; done)
say "clang-tidy, ${#files[@]} files"
printf '%s\n' "${files[@]}" | xargs -P "$(nproc)" -n 4 clang-tidy --quiet -p "$build/win64-clang"

[ "$#" -eq 0 ] || exit 0
say "cppcheck"
# Suppressed, and why:
#   passedByValue           as in .clang-tidy; and it does not see what is moved
#   uninitDerivedMemberVar  an aggregate base that is initialised counts as not
#   invalidLifetime, uninitvar  one finding each that mixes up two functions
cppcheck --quiet --error-exitcode=1 --std=c++20 --language=c++ --platform=win64 \
  --enable=warning,performance,portability --inline-suppr -j "$(nproc)" -I . -I "$build/win64-clang/version" \
  -D_WIN32 -D_WIN64 -DUNICODE -DWINAPI= '-DSTDMETHODIMP_(type)=type' -DSTDMETHODIMP=long '-DSTDMETHOD_(type,name)=type name' \
  --suppress=passedByValue --suppress=uninitDerivedMemberVar \
  --suppress=invalidLifetime:lang/LanguageTable.cpp --suppress=uninitvar:util/string/ByteBuilder.h \
  "${folders[@]}"
say "no finding"
