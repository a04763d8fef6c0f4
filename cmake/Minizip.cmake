# The unzip half of minizip, compiled from the distribution's source package
# (scripts/fetch-minizip.sh), and zlib for the target.
find_package(ZLIB REQUIRED)
find_library(VESKARD_ZLIB_STATIC NAMES libz.a REQUIRED)
set(minizip_source ${PROJECT_SOURCE_DIR}/build/deps/minizip)
if(NOT EXISTS ${minizip_source}/unzip.c)
  message(FATAL_ERROR "minizip's sources are missing: run scripts/install-deps.sh first")
endif()

add_library(minizip STATIC ${minizip_source}/unzip.c ${minizip_source}/ioapi.c)
target_include_directories(minizip SYSTEM PUBLIC ${minizip_source} ${ZLIB_INCLUDE_DIRS})
# The archive is read from memory only: no file functions, no decryption.
target_compile_definitions(minizip PUBLIC NOUNCRYPT)
target_compile_options(minizip PRIVATE -w -ffunction-sections -fdata-sections
  -ffile-prefix-map=${PROJECT_SOURCE_DIR}=.)
target_link_libraries(minizip PUBLIC ${VESKARD_ZLIB_STATIC})
