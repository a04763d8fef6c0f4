#!/usr/bin/env bash
# Builds the libraries for Windows on ARM64 that the distribution does not package: headers
# and C run-time library of mingw-w64, LLVM's run-time libraries for C++, and zlib. Clang
# builds them from the distribution's source packages into build/deps/arm64.
#
# Takes 15 minutes on two cores, 40 on a busy machine, once. Completed steps are not
# repeated, also after an interrupted run.
#
#   scripts/arm64-sysroot.sh
#   scripts/arm64-sysroot.sh renew        deletes the old one first
#   scripts/arm64-sysroot.sh step NAME    one step, even if it is completed: sources,
#                                         tools, headers, crt, builtins, cxx, zlib
set -euo pipefail
. "$(dirname "$0")/lib.sh"
answer_help "$@"
steps=(sources tools headers crt builtins cxx zlib)
case "${1:-}" in
  "") ;;
  renew) takes_nothing_more "${@:2}" ;;
  step)
    [[ " ${steps[*]} " == *" ${2:-} "* ]] || wrong_usage "unknown step \"${2:-}\""
    takes_nothing_more "${@:3}"
    ;;
  *) wrong_usage "unexpected argument \"$1\"" ;;
esac

sysroot="$build/deps/arm64"
work="$build/deps/arm64-work"  # sources and what is made of them; thrown away in the end
compiler=clang-19
triple=aarch64-w64-windows-gnu
gnu_triple=aarch64-w64-mingw32  # the same under the name that configure knows
jobs=$(nproc)

# The folders' names are not to end in the libraries.
flags="-O2 -DNDEBUG -g0 -ffunction-sections -fdata-sections -ffile-prefix-map=$work=."

# unpack PACKAGE PATH...: these folders and files of its sources into $work/PACKAGE.
unpack() {
  local package=$1 archive
  shift
  mkdir -p "$work/$package"
  archive=$(find "$work/archives/$package" -name '*.orig.tar.*' ! -name '*.asc')
  tar -x -f "$archive" -C "$work/$package" --strip-components=1 \
    --wildcards --no-wildcards-match-slash "${@/#/*/}"
}
make_sources() {
  local package
  for package in mingw-w64 llvm-toolchain-19 zlib; do
    "$root/scripts/fetch-source.sh" "$package" "$work/archives/$package"
  done
  unpack mingw-w64 mingw-w64-headers mingw-w64-crt build-aux
  unpack zlib '*.c' '*.h'
  unpack llvm-toolchain-19 cmake llvm/cmake runtimes libunwind libcxx libcxxabi compiler-rt/CMakeLists.txt \
    compiler-rt/cmake compiler-rt/lib/builtins
}

# The compiler and the programs beside it, under the names that GNU's have. What Clang
# brings for each target, its headers and the builtins, lies in its resource folder: ours
# takes the headers from the package, and has room for the builtins.
make_tools() {
  local tool folder
  mkdir -p "$sysroot"/{bin,include,lib} "$sysroot/resource/lib/windows"
  for tool in ar ranlib nm strip dlltool windres; do
    folder=$(llvm-config-19 --bindir)
    ln -sfn "$folder/llvm-$tool" "$sysroot/bin/$gnu_triple-$tool"
  done
  ln -sfn "$($compiler -print-resource-dir)/include" "$sysroot/resource/include"
  for tool in gcc as; do
    printf '#!/bin/sh\nexec %s --target=%s --sysroot=%s -resource-dir=%s -fuse-ld=lld --rtlib=compiler-rt "$@"\n' \
      "$compiler" "$triple" "'$sysroot'" "'$sysroot/resource'" >"$sysroot/bin/$gnu_triple-$tool"
    chmod +x "$sysroot/bin/$gnu_triple-$tool"
  done
}

# from_mingw FOLDER ARGUMENT...: configure and make install.
from_mingw() {
  local folder="$work/build-$1" source="$work/mingw-w64/$1"
  shift
  mkdir -p "$folder"
  cd "$folder"
  PATH="$sysroot/bin:$PATH" CC=$gnu_triple-gcc CFLAGS="$flags" \
    "$source/configure" --host=$gnu_triple --prefix="$sysroot" --with-default-msvcrt=ucrt "$@"
  PATH="$sysroot/bin:$PATH" make -j"$jobs" install
}
make_headers() { from_mingw mingw-w64-headers; }
make_crt() {
  from_mingw mingw-w64-crt --disable-lib32 --disable-lib64 --disable-libarm32 --enable-libarm64
}

# with_cmake NAME SOURCE SETTING...: configure, build and install.
with_cmake() {
  local folder="$work/build-$1" source="$work/llvm-toolchain-19/$2" language settings=()
  shift 2
  for language in C CXX ASM; do
    settings+=(
      -DCMAKE_${language}_COMPILER=$compiler -DCMAKE_${language}_COMPILER_TARGET=$triple
      "-DCMAKE_${language}_FLAGS=$flags -resource-dir=$sysroot/resource"
      -DCMAKE_${language}_COMPILER_WORKS=ON  # what a whole program takes is still to be made
    )
  done
  cmake -G Ninja -S "$source" -B "$folder" \
    -DCMAKE_SYSTEM_NAME=Windows -DCMAKE_SYSTEM_PROCESSOR=aarch64 -DCMAKE_SYSROOT="$sysroot" \
    "${settings[@]}" -DCMAKE_CXX_COMPILER=${compiler/clang/clang++} \
    -DCMAKE_AR="$(llvm-config-19 --bindir)/llvm-ar" -DCMAKE_RANLIB="$(llvm-config-19 --bindir)/llvm-ranlib" \
    -DCMAKE_BUILD_TYPE=None -DCMAKE_FIND_ROOT_PATH="$sysroot" \
    -DCMAKE_FIND_ROOT_PATH_MODE_{PROGRAM=NEVER,LIBRARY=ONLY,INCLUDE=ONLY,PACKAGE=ONLY} \
    "-DCMAKE_EXE_LINKER_FLAGS=-fuse-ld=lld --rtlib=compiler-rt --unwindlib=none -nostdlib++" "$@"
  cmake --build "$folder" -j"$jobs"
  cmake --install "$folder"
}
make_builtins() {
  with_cmake builtins compiler-rt/lib/builtins -DCMAKE_INSTALL_PREFIX="$sysroot/resource" \
    -DCOMPILER_RT_DEFAULT_TARGET_ONLY=ON -DCOMPILER_RT_USE_BUILTINS_LIBRARY=ON
}

# Static, with the system's own threads, and nothing that a library which links them would
# export.
make_cxx() {
  with_cmake runtimes runtimes -DCMAKE_INSTALL_PREFIX="$sysroot" \
    "-DLLVM_ENABLE_RUNTIMES=libunwind;libcxxabi;libcxx" -DLLVM_INCLUDE_TESTS=OFF \
    -DLIBUNWIND_ENABLE_{SHARED=OFF,STATIC=ON} -DLIBUNWIND_USE_COMPILER_RT=ON -DLIBUNWIND_HIDE_SYMBOLS=ON \
    -DLIBCXXABI_ENABLE_{SHARED=OFF,STATIC=ON} -DLIBCXXABI_USE_{COMPILER_RT,LLVM_UNWINDER}=ON \
    -DLIBCXXABI_HAS_WIN32_THREAD_API=ON -DLIBCXXABI_HERMETIC_STATIC_LIBRARY=ON \
    -DLIBCXX_ENABLE_{SHARED=OFF,STATIC=ON} -DLIBCXX_ENABLE_STATIC_ABI_LIBRARY=ON -DLIBCXX_CXX_ABI=libcxxabi \
    -DLIBCXX_USE_COMPILER_RT=ON -DLIBCXX_HAS_WIN32_THREAD_API=ON -DLIBCXX_HERMETIC_STATIC_LIBRARY=ON \
    -DLIBCXX_INCLUDE_{BENCHMARKS,TESTS}=OFF
}

make_zlib() {
  local file objects=()
  cd "$work/zlib"
  for file in adler32 compress crc32 deflate gzclose gzlib gzread gzwrite infback inffast inflate inftrees \
    trees uncompr zutil; do
    # shellcheck disable=SC2086  # the flags are several words
    "$sysroot/bin/$gnu_triple-gcc" $flags -DHAVE_MEMCPY -c $file.c
    objects+=($file.o)
  done
  rm -f libz.a
  "$sysroot/bin/$gnu_triple-ar" rcs libz.a "${objects[@]}"
  cp libz.a "$sysroot/lib/"
  cp zlib.h zconf.h "$sysroot/include/"
}

case "${1:-}" in
  renew) rm -rf "$sysroot" "$work" ;;
  step)
    "make_$2"
    exit
    ;;
esac
[ ! -e "$sysroot/.complete" ] || exit 0

declare -A titles=(
  [sources]="the sources (180 MB)"
  [tools]="names for the tools"
  [headers]="mingw-w64's headers"
  [crt]="mingw-w64's C run-time and import libraries (5 to 20 minutes)"
  [builtins]="compiler-rt's builtins (1 to 4 minutes)"
  [cxx]="libunwind, libc++abi and libc++ (4 to 15 minutes)"
  [zlib]="zlib"
)
mkdir -p "$sysroot" "$work"
for i in "${!steps[@]}"; do
  name=${steps[i]} mark="$sysroot/.step-${steps[i]}"
  [ ! -e "$mark" ] || continue
  began=$SECONDS
  say "ARM64's run-time libraries, $((i + 1)) of ${#steps[@]}: ${titles[$name]}"
  # A process of its own: a function whose result is asked for goes on after a failure.
  run "$build/logs/arm64-$name.log" "$root/scripts/arm64-sysroot.sh" step "$name"
  touch "$mark"
  say "done in $(((SECONDS - began) / 60)) min $(((SECONDS - began) % 60)) s"
done
touch "$sysroot/.complete"
rm -rf "$work"
