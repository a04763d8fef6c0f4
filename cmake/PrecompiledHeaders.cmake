# Reading Windows' headers is most of what compiling a source costs: they are read
# once, and veskard_precompiled_headers(TARGET...) lets targets use the result. The tools and
# the tests do, the libraries that ship do not: they have to be the same bytes in every build,
# and GCC's precompiled header is not. Two builds of the 32-bit library differed once, and
# nothing else in them was found to change from build to build.
# Each source includes the headers that it needs, because Clang builds it without these.
if(NOT CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
  function(veskard_precompiled_headers)
  endfunction()
  return()
endif()
add_library(windows_headers OBJECT ${CMAKE_CURRENT_LIST_DIR}/precompiled_headers.cpp)
target_link_libraries(windows_headers PRIVATE veskard_flags)
target_precompile_headers(windows_headers PRIVATE
  <windows.h> <shlobj.h> <algorithm> <memory> <string> <string_view> <vector>)

function(veskard_precompiled_headers)
  foreach(target IN LISTS ARGN)
    target_precompile_headers(${target} REUSE_FROM windows_headers)
    veskard_quiet_string_warnings(${target})
  endforeach()
endfunction()
