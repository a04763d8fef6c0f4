# GoogleTest, built from the distribution's source package for the flavour at
# hand, and veskard_test(NAME SOURCES... [LIBS ...] [TIMEOUT seconds] [RESTRICTED]):
# one test program, one CTest entry; a restricted one runs without the right to
# override permissions.
set(INSTALL_GTEST OFF)
set(BUILD_GMOCK ON)
set(gtest_source /usr/src/googletest CACHE PATH "Where the package googletest puts its sources")
add_subdirectory(${gtest_source} ${PROJECT_BINARY_DIR}/googletest EXCLUDE_FROM_ALL SYSTEM)

# Compiling the tests is most of a cold build, and optimising them is half of that:
# what they test is optimised as it ships, they themselves are not. GoogleTest itself
# is, a little: not optimised it comes in ten times as many sections, over which the
# linker takes seconds for each test program.
set(test_optimisation -O0)
target_compile_options(gtest PRIVATE -O1)
target_compile_options(gmock PRIVATE -O1)

# Tests of the Windows flavours run under Wine, all in one prefix (scripts/lib.sh) unless
# they name another.
if(WIN32 AND NOT CMAKE_HOST_WIN32)
  set(test_runner ${PROJECT_SOURCE_DIR}/scripts/wine-run.sh)
  set(restricted_test_runner ${PROJECT_SOURCE_DIR}/scripts/wine-run-restricted.sh)
endif()

# An emulated machine (scripts/arm64-wine.sh) takes ten times as long.
set(test_patience 1)
if(WIN32 AND NOT CMAKE_HOST_WIN32 AND CMAKE_SYSTEM_PROCESSOR STREQUAL "aarch64")
  set(test_patience 10)
endif()

# leave_out_where_the_library_throws(TEST PATTERN...): tests that cannot pass there, because an
# exception inside the library ends the process under the emulated machine's Wine
# (tools/common/ThreadRegister.cpp). On Windows for ARM64 they can.
function(leave_out_where_the_library_throws test)
  if(NOT CMAKE_HOST_WIN32 AND CMAKE_SYSTEM_PROCESSOR STREQUAL "aarch64")
    string(JOIN ":" patterns ${ARGN})
    set_property(TEST ${test} APPEND PROPERTY ENVIRONMENT GTEST_FILTER=-${patterns})
  endif()
endfunction()

# GoogleTest's headers, too, are read once (see PrecompiledHeaders.cmake), and every
# test program reuses the result.
add_library(test_headers OBJECT ${PROJECT_SOURCE_DIR}/cmake/precompiled_headers.cpp)
target_link_libraries(test_headers PRIVATE veskard_flags gmock)
target_precompile_headers(test_headers PRIVATE
  <gmock/gmock.h> <gtest/gtest.h> <algorithm> <functional> <memory> <string> <string_view> <vector>
  $<$<BOOL:${WIN32}>:<windows.h$<ANGLE-R>> $<$<BOOL:${WIN32}>:<shlobj.h$<ANGLE-R>>)
# A library's objects and a program's are position independent in different ways, and
# Clang takes precompiled headers of its own way only: here both are as it likes.
set_target_properties(test_headers PROPERTIES POSITION_INDEPENDENT_CODE OFF)
target_compile_options(test_headers PRIVATE ${test_optimisation})

function(veskard_test name)
  cmake_parse_arguments(arg "RESTRICTED" "TIMEOUT" "SOURCES;LIBS" ${ARGN})
  if(NOT arg_TIMEOUT)
    set(arg_TIMEOUT 120)
  endif()
  math(EXPR arg_TIMEOUT "${arg_TIMEOUT} * ${test_patience}")
  add_executable(${name} ${arg_SOURCES})
  target_link_libraries(${name} PRIVATE veskard_flags ${arg_LIBS} gmock test_main)
  target_compile_options(${name} PRIVATE ${test_optimisation})
  target_precompile_headers(${name} REUSE_FROM test_headers)
  veskard_quiet_string_warnings(${name})
  set_target_properties(${name} PROPERTIES
    POSITION_INDEPENDENT_CODE OFF RUNTIME_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/tests)
  if(arg_RESTRICTED)
    set(runner ${restricted_test_runner})
  else()
    set(runner ${test_runner})
  endif()
  add_test(NAME ${name} COMMAND ${runner} $<TARGET_FILE:${name}>)
  set_tests_properties(${name} PROPERTIES TIMEOUT ${arg_TIMEOUT})
  if(VESKARD_SANITIZERS)
    # The default on most systems, not on all.
    set_tests_properties(${name} PROPERTIES ENVIRONMENT ASAN_OPTIONS=detect_leaks=1)
  endif()
endfunction()
