# veskard_version_files(FOLDER VERSION): what says the version, below FOLDER: the header
# core/Version.h and the library's details, shellext/VeskardShellExt.rc. The templates use the
# names that CMake has for the version of a project.
function(veskard_version_files folder PROJECT_VERSION)
  string(REPLACE "." ";" numbers ${PROJECT_VERSION})
  list(POP_FRONT numbers PROJECT_VERSION_MAJOR PROJECT_VERSION_MINOR PROJECT_VERSION_PATCH)
  foreach(file IN ITEMS core/Version.h shellext/VeskardShellExt.rc)
    configure_file(${PROJECT_SOURCE_DIR}/${file}.in ${folder}/${file} @ONLY)
  endforeach()
endfunction()

# The project's own version: the one in CMakeLists.txt.
set(veskard_version_folder ${PROJECT_BINARY_DIR}/version)
veskard_version_files(${veskard_version_folder} ${PROJECT_VERSION})
