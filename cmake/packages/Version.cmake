# ctr_package_version(RESULT SOURCE VERSION): the version of packages that are made of the sources in a
# folder, whose project says VERSION. Of two commits, one of which follows the other, the later one has
# the newer packages (`dpkg --compare-versions`), however often the project's version changes.
#   1.0.0+git567.1a2b3c4                     the 567th commit, counted from the first, and its name
#   1.0.0+git567.1a2b3c4.changed1763800000   with changes that are not committed, the last one then
#   1.0.0+git0.1763800000.1a2b3c4            of a commit without its history, by its date: from a
#                                            shallow clone, or an archive made by `git archive`
#   1.0.0                                    of sources that no commit is known of
# Read by cpack, and run as a script by tests/install/package-versions.

# ctr_git(RESULT SOURCE ARGUMENT...): what git prints, nothing where it fails or is missing.
function(ctr_git result source)
  execute_process(COMMAND git ${ARGN}
    WORKING_DIRECTORY ${source}
    OUTPUT_VARIABLE said OUTPUT_STRIP_TRAILING_WHITESPACE
    ERROR_QUIET
    RESULT_VARIABLE status)
  if(NOT status EQUAL 0)
    set(said "")
  endif()
  set(${result} "${said}" PARENT_SCOPE)
endfunction()

# When the youngest file was written that is not as it was committed, as ".changedSECONDS".
function(ctr_uncommitted result source)
  ctr_git(changed ${source} diff --name-only --relative HEAD)
  ctr_git(added ${source} ls-files --others --exclude-standard)
  set(${result} "" PARENT_SCOPE)
  if(changed STREQUAL "" AND added STREQUAL "")
    return()
  endif()
  set(last 0)
  string(REPLACE "\n" ";" names "${changed}\n${added}")
  foreach(name IN LISTS names)
    if(NOT name STREQUAL "" AND EXISTS ${source}/${name})
      file(TIMESTAMP ${source}/${name} seconds "%s" UTC)
      if(seconds GREATER last)
        set(last ${seconds})
      endif()
    endif()
  endforeach()
  set(${result} ".changed${last}" PARENT_SCOPE)
endfunction()

function(ctr_package_version result source version)
  # In a folder within the history of something else, no file of the project is in that history.
  ctr_git(tracked ${source} ls-files CMakeLists.txt)
  ctr_git(shallow ${source} rev-parse --is-shallow-repository)
  ctr_git(dated ${source} log -1 --format=%ct.%h)
  if(tracked STREQUAL "" OR dated STREQUAL "")
    # Filled in by `git archive`, see .gitattributes.
    file(STRINGS ${source}/cmake/packages/archived-commit archived REGEX "^[0-9]+[.][0-9a-f]+$")
    if(archived)
      string(APPEND version "+git0.${archived}")
    endif()
    set(${result} ${version} PARENT_SCOPE)
    return()
  endif()
  if(shallow STREQUAL "false")
    ctr_git(count ${source} rev-list --count HEAD)
    string(REGEX REPLACE "^[0-9]+" "${count}" commit ${dated})
  else()
    set(commit "0.${dated}")
  endif()
  ctr_uncommitted(uncommitted ${source})
  set(${result} ${version}+git${commit}${uncommitted} PARENT_SCOPE)
endfunction()

if(CMAKE_SCRIPT_MODE_FILE STREQUAL CMAKE_CURRENT_LIST_FILE)
  ctr_package_version(found ${SOURCE} ${VERSION})
  execute_process(COMMAND ${CMAKE_COMMAND} -E echo ${found})
endif()
