# CTR_GROUPED: the files of a room are compiled in one go, which reads the headers that they share
# once and takes a fraction of the time. Where it is off, every file is compiled for itself and has
# to include what it uses. CTR_GROUPED_TESTS is the same for the tests.
option(CTR_GROUPED "Compile the files of a room in one go" OFF)
option(CTR_GROUPED_TESTS "Compile the tests of a room in one go" ${CTR_GROUPED})

# Groups the sources of a target by folder. What a file keeps in its unnamed namespace needs a name
# of its own in the room.
function(ctr_group_by_room target)
  get_target_property(sources ${target} SOURCES)
  get_target_property(base ${target} SOURCE_DIR)
  foreach(source IN LISTS sources)
    cmake_path(ABSOLUTE_PATH source BASE_DIRECTORY ${base})
    cmake_path(GET source PARENT_PATH room)
    cmake_path(GET room FILENAME room)
    set_source_files_properties(${source} TARGET_DIRECTORY ${target} PROPERTIES UNITY_GROUP ${room})
  endforeach()
  set_target_properties(${target} PROPERTIES UNITY_BUILD ON UNITY_BUILD_MODE GROUP)
endfunction()

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
