# Read by cpack before it packs anything.

# Without one of these, cpack would make packages that do not say what they need.
foreach(program dpkg dpkg-shlibdeps file)
  find_program(found_${program} ${program})
  if(NOT found_${program})
    message(FATAL_ERROR "${program} is missing; scripts/setup package installs what packing needs")
  endif()
endforeach()

# Taken now, not when the build was configured: there may be commits since.
include(${CMAKE_CURRENT_LIST_DIR}/Version.cmake)
set(source ${CMAKE_CURRENT_LIST_DIR}/../..)
ctr_package_version(CPACK_DEBIAN_PACKAGE_VERSION ${source} ${CPACK_PACKAGE_VERSION})

# The packages that a component's libraries need, and what packages of programs that use them learn
# from the file shlibs. dpkg-shlibdeps works in the folder of a source package, of which it wants no
# more than an empty control file; it knows no package yet of the libraries.
function(ctr_describe_libraries component)
  string(TOUPPER ${component} upper)
  set(folder ${CPACK_PACKAGE_DIRECTORY}/_CPack_Packages/needs)
  file(WRITE ${folder}/debian/control "")
  execute_process(
    COMMAND dpkg-shlibdeps -O --ignore-missing-info ${CPACK_CTR_PRIVATE} ${CPACK_CTR_LIBRARIES_${upper}}
    WORKING_DIRECTORY ${folder}
    OUTPUT_VARIABLE needs OUTPUT_STRIP_TRAILING_WHITESPACE
    ERROR_VARIABLE said
    RESULT_VARIABLE result)
  if(NOT result EQUAL 0)
    message(FATAL_ERROR "dpkg-shlibdeps: ${said}")
  endif()
  string(REGEX REPLACE "^shlibs:Depends=" "" needs "${needs}")
  set(CPACK_DEBIAN_${upper}_PACKAGE_DEPENDS "${needs}" PARENT_SCOPE)

  set(shlibs "")
  foreach(library IN LISTS CPACK_CTR_LIBRARIES_${upper})
    string(REGEX REPLACE "^.*/(lib.*)\\.so\\..*$" "\\1" name ${library})
    string(APPEND shlibs "${name} ${CPACK_PACKAGE_VERSION_MAJOR} ${CPACK_CTR_PACKAGE_${upper}}"
      " (>= ${CPACK_DEBIAN_PACKAGE_VERSION})\n")
  endforeach()
  file(WRITE ${CPACK_CTR_CONTENTS}/${component}/shlibs "${shlibs}")
endfunction()
list(TRANSFORM CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS PREPEND "-l" OUTPUT_VARIABLE CPACK_CTR_PRIVATE)
foreach(component IN LISTS CPACK_CTR_LIBRARY_COMPONENTS)
  ctr_describe_libraries(${component})
endforeach()

# Files bear the time of the commit: the same commit gives the same packages.
if(NOT DEFINED ENV{SOURCE_DATE_EPOCH})
  ctr_git(seconds ${source} log -1 --format=%ct)
  if(seconds)
    set(ENV{SOURCE_DATE_EPOCH} ${seconds})
  endif()
endif()
