# CTR_GROUPED: the sources of a target are compiled together, as few files, which reads the headers that
# they share once and takes a fraction of the time. Where it is off, every file is compiled by itself
# and has to include what it uses. CTR_GROUPED_TESTS is the same for the tests, CTR_GROUPED_CORE for
# the core library, which is 3 % slower for it. Between them, the presets for the two compilers compile
# every file by itself.
option(CTR_GROUPED "Compile the sources of a target together" OFF)
option(CTR_GROUPED_CORE "Compile the sources of the core library together" ${CTR_GROUPED})
option(CTR_GROUPED_TESTS "Compile the tests of a folder together" ${CTR_GROUPED})

# Groups the sources of a target. Files that have a name in their unnamed namespaces in
# common come into different groups, so that such names are free.
function(ctr_group target)
  get_target_property(files ${target} SOURCES)
  get_target_property(base ${target} SOURCE_DIR)
  set(sources "")
  foreach(source IN LISTS files)
    cmake_path(ABSOLUTE_PATH source BASE_DIRECTORY ${base} NORMALIZE)
    cmake_path(IS_PREFIX PROJECT_BINARY_DIR ${source} isGenerated)
    if(source MATCHES "[.]cpp$" AND NOT isGenerated)
      list(APPEND sources ${source})
    endif()
  endforeach()
  execute_process(COMMAND ${CTR_PYTHON} ${PROJECT_SOURCE_DIR}/cmake/group-sources
    ${PROJECT_SOURCE_DIR} ${sources} OUTPUT_VARIABLE groups COMMAND_ERROR_IS_FATAL ANY)
  string(REGEX MATCHALL "[^\n]+" groups "${groups}")
  foreach(line IN LISTS groups)
    string(REGEX MATCH "^(.*) ([^ ]+)$" line "${line}")
    set_source_files_properties(${CMAKE_MATCH_1} TARGET_DIRECTORY ${target} PROPERTIES
      UNITY_GROUP ${CMAKE_MATCH_2})
  endforeach()
  set_target_properties(${target} PROPERTIES UNITY_BUILD ON UNITY_BUILD_MODE GROUP)
  # Other names make other groups.
  set_property(DIRECTORY ${base} APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${sources})
endfunction()

if(CTR_GROUPED OR CTR_GROUPED_CORE)
  find_program(CTR_PYTHON python3 REQUIRED)
  mark_as_advanced(CTR_PYTHON)
endif()

# Sets RESULT to the given test files or, where builds are grouped, to one file that includes them
# all, each in a namespace of its own: tests may call their helpers the same. All headers come first,
# as none may be read for the first time inside such a namespace.
function(ctr_group_tests result name)
  if(NOT CTR_GROUPED_TESTS OR NOT ARGN)
    set(${result} ${ARGN} PARENT_SCOPE)
    return()
  endif()
  set(includes "")
  set(bodies "")
  foreach(file IN LISTS ARGN)
    cmake_path(GET file STEM stem)
    file(STRINGS ${file} lines REGEX "^#include ")
    list(APPEND includes ${lines})
    string(APPEND bodies "namespace in_${stem} {\n#include \"${file}\"\n}\n")
  endforeach()
  list(REMOVE_DUPLICATES includes)
  list(JOIN includes "\n" includes)
  set(group ${CMAKE_CURRENT_BINARY_DIR}/grouped/${name}.cpp)
  file(CONFIGURE OUTPUT ${group} CONTENT "${includes}\n${bodies}" @ONLY)
  set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${ARGN})
  set(${result} ${group} PARENT_SCOPE)
endfunction()
