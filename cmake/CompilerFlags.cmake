# One set of compiler and linker flags for every target of ours, as the
# interface library "veskard_flags"; third-party code does not link to it.
add_library(veskard_flags INTERFACE)
target_include_directories(veskard_flags INTERFACE ${PROJECT_SOURCE_DIR})

target_compile_options(veskard_flags INTERFACE
  -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wsign-conversion -Wold-style-cast
  # No -Wnon-virtual-dtor: COM's interfaces have no destructors at all. Deleting
  # through one of them is what -Wall's -Wdelete-non-virtual-dtor refuses.
  -Woverloaded-virtual -Wcast-qual -Werror
  # File names inside the binaries do not depend on where the tree lies.
  -ffile-prefix-map=${PROJECT_SOURCE_DIR}=. -ffile-prefix-map=${PROJECT_BINARY_DIR}=./build
  -ffunction-sections -fdata-sections)

if(WIN32)
  target_compile_definitions(veskard_flags INTERFACE
    UNICODE _UNICODE NOMINMAX WIN32_LEAN_AND_MEAN _WIN32_WINNT=0x0601 WINVER=0x0601 STRICT)
  # Wine's debugger does not read DWARF 5, the compilers' default.
  target_compile_options(veskard_flags INTERFACE $<$<CONFIG:Debug,RelWithDebInfo>:-gdwarf-4>)
  # One file to deploy: the compiler's run-time libraries are linked in. The
  # rest makes two builds byte-identical and keeps the unused out.
  target_link_options(veskard_flags INTERFACE
    -static -Wl,--no-insert-timestamp -Wl,--gc-sections
    -Wl,--dynamicbase -Wl,--nxcompat)
  if(CMAKE_SIZEOF_VOID_P EQUAL 8)
    target_link_options(veskard_flags INTERFACE -Wl,--high-entropy-va)
  endif()
  if(CMAKE_BUILD_TYPE STREQUAL "Release")
    # Where the symbols go to a file of their own, cmake/Symbols.cmake strips.
    target_link_options(veskard_flags INTERFACE $<$<NOT:$<BOOL:$<TARGET_PROPERTY:VESKARD_SYMBOLS>>>:-s>)
  endif()
endif()

if(VESKARD_TRAPS)
  target_compile_options(veskard_flags INTERFACE
    -fsanitize=undefined -fsanitize-undefined-trap-on-error -D_GLIBCXX_ASSERTIONS)
endif()
if(VESKARD_COVERAGE)
  target_compile_options(veskard_flags INTERFACE --coverage -fprofile-update=atomic)
  target_link_options(veskard_flags INTERFACE --coverage)
endif()
if(VESKARD_SANITIZERS)
  add_compile_options(-fsanitize=address,undefined -fno-sanitize-recover=all -fno-omit-frame-pointer)
  add_link_options(-fsanitize=address,undefined)
endif()
if(VESKARD_FUZZ)
  # Comparisons are not traced: the grammars are simple, and speed finds more.
  add_compile_options(-fsanitize=fuzzer-no-link -fno-sanitize-coverage=trace-cmp)
endif()

# GCC 12 warns of overruns and overlaps in its own inlined std::wstring. It does not treat
# the header as a system header when that is precompiled.
function(veskard_quiet_string_warnings target)
  if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
    target_compile_options(${target} PRIVATE
      -Wno-array-bounds -Wno-restrict -Wno-stringop-overread -Wno-stringop-overflow)
  endif()
endfunction()
