# Cross toolchain: Windows on ARM64, with Clang, LLVM's linker and its run-time libraries for
# C++. The distribution has no package of those for this target: scripts/arm64-sysroot.sh
# makes them.
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR aarch64)
get_filename_component(sysroot ${CMAKE_CURRENT_LIST_DIR}/../build/deps/arm64 ABSOLUTE)
if(NOT EXISTS ${sysroot}/.complete)
  message(FATAL_ERROR "the sysroot for ARM64 is missing: run scripts/arm64-sysroot.sh first")
endif()
set(CMAKE_SYSROOT ${sysroot})

foreach(language IN ITEMS C CXX)
  set(CMAKE_${language}_COMPILER_TARGET aarch64-w64-windows-gnu)
endforeach()
set(CMAKE_C_COMPILER clang-19)
set(CMAKE_CXX_COMPILER clang++-19)
# Under a name that begins with the target, by which it chooses the format.
set(CMAKE_RC_COMPILER ${sysroot}/bin/aarch64-w64-mingw32-windres)
set(CMAKE_RC_FLAGS_INIT -I${sysroot}/include)
foreach(tool IN ITEMS AR RANLIB STRIP DLLTOOL)
  string(TOLOWER ${tool} name)
  set(CMAKE_${tool} ${sysroot}/bin/aarch64-w64-mingw32-${name})
endforeach()
foreach(mode IN ITEMS LIBRARY INCLUDE PACKAGE)
  set(CMAKE_FIND_ROOT_PATH_MODE_${mode} ONLY)
endforeach()
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)

# The resource folder has the compiler's own headers and the builtins for this target.
# -stdlib=libc++ chooses headers as well as libraries, and a compiler that only compiles
# warns of half of it: the headers are named.
set(CMAKE_C_FLAGS_INIT "-resource-dir=${sysroot}/resource")
set(CMAKE_CXX_FLAGS_INIT "${CMAKE_C_FLAGS_INIT} -nostdinc++ -isystem ${sysroot}/include/c++/v1")
foreach(kind IN ITEMS EXE SHARED MODULE)
  set(CMAKE_${kind}_LINKER_FLAGS_INIT "-fuse-ld=lld --rtlib=compiler-rt --unwindlib=libunwind -stdlib=libc++")
endforeach()
