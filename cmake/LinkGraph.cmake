# Writes which target links which to link_graph.txt in the build folder, for
# scripts/dependencies.py:
#
#     target lang_text code lang       its name; "code", or "none" without C++ sources;
#                                      the folders of its sources, or else its own
#     link lang lang_text              a target, and one that it links or hands on
#
# Not "cmake --graphviz": that configures the build anew, and has no folders. CMake's file
# API leaves out what a target hands on without linking it itself.

# The targets of this project in a folder and below it.
function(veskard_targets_below folder result)
  get_property(targets DIRECTORY ${folder} PROPERTY BUILDSYSTEM_TARGETS)
  get_property(folders DIRECTORY ${folder} PROPERTY SUBDIRECTORIES)
  foreach(below IN LISTS folders)
    string(FIND "${below}/" "${PROJECT_SOURCE_DIR}/" at)
    if(at EQUAL 0)
      veskard_targets_below(${below} more)
      list(APPEND targets ${more})
    endif()
  endforeach()
  set(${result} ${targets} PARENT_SCOPE)
endfunction()

# "code" and the folders of a target's C++ sources, or "none" and its own folder.
function(veskard_describe_sources target result)
  get_target_property(own_folder ${target} SOURCE_DIR)
  get_target_property(sources ${target} SOURCES)
  list(FILTER sources INCLUDE REGEX "\\.cpp$")
  set(description none)
  set(folders ${own_folder})
  if(sources)
    set(description code)
    set(folders)
    foreach(source IN LISTS sources)
      cmake_path(ABSOLUTE_PATH source BASE_DIRECTORY ${own_folder} NORMALIZE)
      cmake_path(GET source PARENT_PATH folder)
      list(APPEND folders ${folder})
    endforeach()
    list(REMOVE_DUPLICATES folders)
  endif()
  foreach(folder IN LISTS folders)
    file(RELATIVE_PATH folder ${PROJECT_SOURCE_DIR} ${folder})
    string(APPEND description " ${folder}")
  endforeach()
  set(${result} ${description} PARENT_SCOPE)
endfunction()

# Everything that a target names for its own linking or for that of its users.
function(veskard_links_of target result)
  set(links)
  foreach(property IN ITEMS LINK_LIBRARIES INTERFACE_LINK_LIBRARIES)
    get_target_property(items ${target} ${property})
    if(items)
      # Targets' names inside generator expressions count too.
      string(REGEX MATCHALL "[A-Za-z0-9_.+-]+" words "${items}")
      list(APPEND links ${words})
    endif()
  endforeach()
  list(REMOVE_DUPLICATES links)
  set(${result} ${links} PARENT_SCOPE)
endfunction()

# Call it after all targets are defined.
function(veskard_write_link_graph)
  veskard_targets_below(${PROJECT_SOURCE_DIR} targets)
  set(graph "")
  foreach(target IN LISTS targets)
    veskard_describe_sources(${target} description)
    string(APPEND graph "target ${target} ${description}\n")
    veskard_links_of(${target} links)
    foreach(link IN LISTS links)
      if(link IN_LIST targets)
        string(APPEND graph "link ${target} ${link}\n")
      endif()
    endforeach()
  endforeach()
  file(WRITE ${PROJECT_BINARY_DIR}/link_graph.txt "${graph}")
endfunction()
