# Cross toolchain: Clang as a second compiler for 64-bit Windows, with the headers
# and libraries of the MinGW-w64 toolchain.
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR x86_64)
set(triple x86_64-w64-mingw32)
include(${CMAKE_CURRENT_LIST_DIR}/mingw-w64.cmake)
set(mingw_gcc ${CMAKE_CXX_COMPILER})

foreach(language IN ITEMS C CXX)
  set(CMAKE_${language}_COMPILER_TARGET ${triple})
endforeach()
set(CMAKE_C_COMPILER clang)
set(CMAKE_CXX_COMPILER clang++)

# Clang does not find the folders of MinGW-w64's posix flavour; that flavour's GCC prints
# them.
execute_process(COMMAND ${mingw_gcc} -print-libgcc-file-name
  OUTPUT_VARIABLE libgcc OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
get_filename_component(gcc_folder ${libgcc} DIRECTORY)
set(cxx_headers ${gcc_folder}/include/c++)
# Thread-local variables are made as the standard library's own are, and the comparison
# of types is left to it, as its headers leave it for the compiler that built it.
set(CMAKE_CXX_FLAGS_INIT
  "-femulated-tls -D__GXX_TYPEINFO_EQUALITY_INLINE=0 -nostdinc++ -isystem ${cxx_headers} -isystem ${cxx_headers}/${triple} -isystem ${cxx_headers}/backward")
foreach(kind IN ITEMS EXE SHARED MODULE)
  set(CMAKE_${kind}_LINKER_FLAGS_INIT "-B${gcc_folder} -L${gcc_folder}")
endforeach()
# Nor that flavour's threads, which its run-time libraries need.
foreach(language IN ITEMS C CXX)
  set(CMAKE_${language}_STANDARD_LIBRARIES
    "-Wl,--start-group -lstdc++ -lgcc_eh -lpthread -Wl,--end-group \
-lkernel32 -luser32 -lgdi32 -lshell32 -lole32 -luuid -ladvapi32"
    CACHE STRING "What every program is linked with")
endforeach()
