# Symbols of the shipped libraries. The library is linked with its debug information and
# then split: LIBRARY.dll ships, LIBRARY.dll.debug stays with whoever reads crash dumps
# (scripts/read_dump.py). From that, LIBRARY.pdb is made for the debuggers of Windows. All
# carry the same build identifier, which is computed from the file's contents and which a
# minidump holds too.

# veskard_debug_information(ON|OFF): whether the targets that follow in this folder, and
# below it, are compiled with debug information. For a release only: the other builds have
# it, or no use for it.
function(veskard_debug_information wanted)
  if(WIN32 AND CMAKE_BUILD_TYPE STREQUAL "Release")
    # Without the compiler's command line, which a compiler cache changes.
    set(debug_options -g -gno-record-gcc-switches)
    if(wanted)
      add_compile_options(${debug_options})
    else()
      get_property(options DIRECTORY PROPERTY COMPILE_OPTIONS)
      list(REMOVE_ITEM options ${debug_options})
      set_property(DIRECTORY PROPERTY COMPILE_OPTIONS ${options})
    endif()
  endif()
endfunction()

# veskard_keep_symbols(TARGET): splits what TARGET links into TARGET.dll and
# TARGET.dll.debug, in the same folder; also TARGET.pdb, with GCC and for ARM64.
function(veskard_keep_symbols target)
  target_link_options(${target} PRIVATE -Wl,--build-id)
  if(CMAKE_BUILD_TYPE STREQUAL "Release")
    set_target_properties(${target} PROPERTIES VESKARD_SYMBOLS ON)
    if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
      # Preserved dates: the link time in the header stays the zero that the linker wrote.
      # Short names: the section ".eh_frame" keeps the eight characters that a linker gives
      # it without symbols, under which the library looks for it.
      set(keep_dates --preserve-dates)
      set(short_names --long-section-names disable)
    endif()
    add_custom_command(TARGET ${target} POST_BUILD
      COMMAND ${CMAKE_OBJCOPY} ${keep_dates} --only-keep-debug $<TARGET_FILE:${target}> $<TARGET_FILE:${target}>.debug
      COMMAND ${CMAKE_OBJCOPY} ${keep_dates} --strip-all ${short_names} $<TARGET_FILE:${target}>
      BYPRODUCTS ${CMAKE_RUNTIME_OUTPUT_DIRECTORY}/${target}.dll.debug
      VERBATIM)
    if(CMAKE_SYSTEM_PROCESSOR STREQUAL "aarch64")
      # lld would write the PDB's folder beside its name, and leave out the functions' names
      # that our PDB is made from.
      set(lld_options -Wl,-Xlink=-pdbaltpath:${target}.pdb -Wl,-Xlink=-debug:dwarf)
    endif()
    if((lld_options OR CMAKE_CXX_COMPILER_ID STREQUAL "GNU") AND NOT CMAKE_HOST_WIN32)
      find_package(Python3 REQUIRED COMPONENTS Interpreter)
      set(pdb ${CMAKE_RUNTIME_OUTPUT_DIRECTORY}/${target}.pdb)
      # The linker writes the file's name into the library. Its own PDB, which is replaced, has
      # no lines, and the folder of its making.
      target_link_options(${target} PRIVATE -Wl,--pdb=${pdb} ${lld_options})
      # The script changes the library: when it is edited, the library has to be linked again.
      set(maker ${PROJECT_SOURCE_DIR}/scripts/make_pdb.py)
      set_property(TARGET ${target} APPEND PROPERTY LINK_DEPENDS ${maker})
      add_custom_command(TARGET ${target} POST_BUILD
        COMMAND ${Python3_EXECUTABLE} -B ${maker} $<TARGET_FILE:${target}> ${pdb}
        BYPRODUCTS ${pdb}
        VERBATIM)
    endif()
  endif()
endfunction()
