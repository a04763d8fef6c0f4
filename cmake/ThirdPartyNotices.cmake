# veskard_third_party_notices(PROGRAM LIBRARY...): writes THIRD-PARTY-NOTICES.txt beside the
# programs, from what the links of the libraries took in (their maps), and puts the text into
# PROGRAM, where --version prints it. PROGRAM links nothing that they do not; its own map is
# compared.
function(veskard_third_party_notices program)
  set(script ${PROJECT_SOURCE_DIR}/scripts/third_party.py)
  set(notices ${PROJECT_BINARY_DIR}/THIRD-PARTY-NOTICES.txt)
  if(CMAKE_HOST_WIN32)
    # The texts come from the distribution's packages.
    return()
  endif()
  find_package(Python3 REQUIRED COMPONENTS Interpreter)
  list(TRANSFORM ARGN REPLACE "(.+)" "${PROJECT_BINARY_DIR}/\\1.map" OUTPUT_VARIABLE maps)
  target_link_options(${program} PRIVATE -Wl,-Map,${program}.map)
  add_custom_command(OUTPUT ${notices}
    COMMAND ${Python3_EXECUTABLE} -B ${script} notices ${PROJECT_SOURCE_DIR} ${notices}
      ${maps}
    DEPENDS ${ARGN} ${script}
    COMMENT "Gathering the third-party notices"
    VERBATIM)
  add_custom_target(third_party_notices ALL DEPENDS ${notices})
  set(resource ${PROJECT_SOURCE_DIR}/tools/shellprobe/notices.rc)
  target_sources(${program} PRIVATE ${resource})
  target_include_directories(${program} PRIVATE ${PROJECT_BINARY_DIR})
  set_source_files_properties(${resource} PROPERTIES OBJECT_DEPENDS ${notices})
  add_dependencies(${program} third_party_notices)
  add_custom_command(TARGET ${program} POST_BUILD
    COMMAND ${Python3_EXECUTABLE} -B ${script} check ${PROJECT_SOURCE_DIR} ${notices}
      ${PROJECT_BINARY_DIR}/${program}.map
    VERBATIM)
endfunction()
