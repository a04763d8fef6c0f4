# veskard_version_files(FOLDER VERSION): the files with the version, below FOLDER: the header
# core/Version.h and the libraries' details, shellext/NAME.rc. The templates use the names
# that CMake has for the version of a project.
function(veskard_version_files folder PROJECT_VERSION)
  string(REPLACE "." ";" numbers ${PROJECT_VERSION})
  list(POP_FRONT numbers PROJECT_VERSION_MAJOR PROJECT_VERSION_MINOR PROJECT_VERSION_PATCH)
  configure_file(${PROJECT_SOURCE_DIR}/core/Version.h.in ${folder}/core/Version.h @ONLY)
  set(description_of_VeskardShellExt "Explorer extension")
  set(description_of_VeskardExplorerCommand "Explorer commands")
  foreach(library IN ITEMS VeskardShellExt VeskardExplorerCommand)
    set(description ${description_of_${library}})
    configure_file(${PROJECT_SOURCE_DIR}/shellext/LibraryDetails.rc.in ${folder}/shellext/${library}.rc @ONLY)
  endforeach()
endfunction()

# The project's own version: the one in CMakeLists.txt.
set(veskard_version_folder ${PROJECT_BINARY_DIR}/version)
veskard_version_files(${veskard_version_folder} ${PROJECT_VERSION})
