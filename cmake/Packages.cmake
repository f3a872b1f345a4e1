# Debian packages of what cmake/Install.cmake lays down, each of one component, made by cpack from
# the build as it is:
#   library      libkxcontouringlib1      what programs built with the library need to run
#   development  libkxcontouringlib-dev   headers, links and descriptions to build them
#   drawing      libkxdrawing1            the same two of the drawing library
#   drawing_development  libkxdrawing-dev
#   tool         kxcontour                the program, its manual page and completions
# The files lie under /usr, libraries in /usr/lib: programs find them there, whatever prefix the
# build was configured for. Only for the project itself, not where it is part of another.
set(package_library libkxcontouringlib${PROJECT_VERSION_MAJOR})
set(package_development libkxcontouringlib-dev)
set(package_drawing libkxdrawing${PROJECT_VERSION_MAJOR})
set(package_drawing_development libkxdrawing-dev)
set(package_tool kxcontour)

set(CPACK_GENERATOR DEB)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_COMPONENTS_ALL library development)
if(CTR_BUILD_DRAWING)
  list(APPEND CPACK_COMPONENTS_ALL drawing drawing_development)
endif()
if(CTR_BUILD_TOOL)
  list(APPEND CPACK_COMPONENTS_ALL tool)
endif()
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGE_DIRECTORY ${PROJECT_BINARY_DIR}/packages)
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_PROJECT_CONFIG_FILE ${PROJECT_SOURCE_DIR}/cmake/packages/BeforePacking.cmake)
set(CPACK_STRIP_FILES ON)
set(CPACK_PRE_BUILD_SCRIPTS ${PROJECT_SOURCE_DIR}/cmake/packages/OpenFolders.cmake)

set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_COMPRESSION_TYPE xz)
set(CPACK_DEBIAN_PACKAGE_SOURCE kxcontouringlib)
set(CPACK_DEBIAN_PACKAGE_MAINTAINER "kxContouringLib developers <kxcontour@localhost>")

# Which packages a program needs is read from it. The libraries that are packaged here lie in the
# build: their package is named by the components, and with its version, as the tool and the library
# of one build belong together.
set(CPACK_DEBIAN_TOOL_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_ENABLE_COMPONENT_DEPENDS ON)
set(CPACK_COMPONENT_DEVELOPMENT_DEPENDS library)
set(CPACK_COMPONENT_DRAWING_DEPENDS library)
# Its headers include one of the library's.
set(CPACK_COMPONENT_DRAWING_DEVELOPMENT_DEPENDS drawing development)
set(CPACK_COMPONENT_TOOL_DEPENDS library)
# The headers include those of Wild Magic.
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS libwildmagic-dev)
# What the libraries need, cmake/packages/BeforePacking.cmake finds out: where cpack does, it has
# scripts call ldconfig, for which there is a trigger.
# The version of the packages, and what depends on it, are made there, too.
set(contents ${PROJECT_BINARY_DIR}/package-contents)
set(CPACK_CTR_CONTENTS ${contents})
function(ctr_package_libraries component)
  string(TOUPPER ${component} upper)
  set(libraries "")
  foreach(target IN LISTS ARGN)
    get_target_property(folder ${target} BINARY_DIR)
    list(APPEND CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${folder})
    list(APPEND libraries ${folder}/lib${target}.so.${PROJECT_VERSION})
  endforeach()
  set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS
    ${CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS} PARENT_SCOPE)
  set(CPACK_CTR_LIBRARIES_${upper} ${libraries} PARENT_SCOPE)
  set(CPACK_CTR_LIBRARY_COMPONENTS ${CPACK_CTR_LIBRARY_COMPONENTS} ${component} PARENT_SCOPE)
  set(CPACK_CTR_PACKAGE_${upper} ${package_${component}} PARENT_SCOPE)
  set(CPACK_DEBIAN_${upper}_PACKAGE_CONTROL_EXTRA
    ${contents}/${component}/shlibs ${PROJECT_SOURCE_DIR}/cmake/packages/triggers PARENT_SCOPE)
endfunction()
ctr_package_libraries(library kxContouringLib kxPlatform)
if(CTR_BUILD_DRAWING)
  ctr_package_libraries(drawing kxDrawing)
endif()

set(subject "Finds creases, silhouettes and intersection lines of triangle meshes seen
through a camera, decides exactly which parts of them are hidden, and writes
the rest as paths of an SVG in millimetres. The same model gives the same
drawing, byte for byte.")
set(CPACK_DEBIAN_LIBRARY_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_LIBRARY_DESCRIPTION "vector line drawings of 3D meshes (shared library)
${subject}

This package holds what programs that use the library need to run.")
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEVELOPMENT_DESCRIPTION "vector line drawings of 3D meshes (development files)
${subject}

This package holds the headers of the library and of the framework that it is
written against, what CMake and pkg-config need to find them, the examples,
and a page on how to use the library.")
set(subject "Draws triangle meshes as lines on a page of a given size, with hidden lines
removed or shown apart: as SVG, PDF, PNG, DXF or JSON, or as paths in
millimetres for a program of one's own.")
set(CPACK_DEBIAN_DRAWING_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_DRAWING_DESCRIPTION "line drawings of 3D meshes on paper (shared library)
${subject}

This package holds what programs that use the library need to run.")
set(CPACK_DEBIAN_DRAWING_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DRAWING_DEVELOPMENT_DESCRIPTION "line drawings of 3D meshes on paper (development files)
${subject}

This package holds the headers of the library, and what CMake and pkg-config
need to find them.")
set(CPACK_DEBIAN_TOOL_PACKAGE_SECTION graphics)
set(CPACK_DEBIAN_TOOL_DESCRIPTION "vector line drawings of 3D models (command-line tool)
Draws models in glTF, OBJ, STL, PLY, 3MF, FBX, IFC and other formats as lines
on a page of a given size, at a given scale, with hidden lines removed or
shown apart: as SVG, PDF, PNG, DXF or JSON. The same model gives the same
drawing, byte for byte.")

# What packages have and `cmake --install` does not lay down: what is compressed at build time, and
# the notices of those whose header files are compiled into the tool.
find_program(CTR_GZIP gzip)
mark_as_advanced(CTR_GZIP)
function(ctr_compress file result)
  add_custom_command(OUTPUT ${contents}/${result}
    COMMAND ${CTR_GZIP} -9nc ${file} > ${contents}/${result}
    DEPENDS ${file} ${ARGN}
    COMMENT "Writing ${result}"
    VERBATIM)
  set(compressed ${compressed} ${contents}/${result} PARENT_SCOPE)
endfunction()

ctr_compress(${PROJECT_SOURCE_DIR}/CHANGELOG.md changelog.gz)
foreach(component ${CPACK_COMPONENTS_ALL})
  string(TOUPPER ${component} upper)
  set(CPACK_DEBIAN_${upper}_PACKAGE_NAME ${package_${component}})
  install(FILES ${contents}/changelog.gz cmake/packages/copyright
    DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/${package_${component}}
    COMPONENT ${component} EXCLUDE_FROM_ALL)
endforeach()
if(CTR_BUILD_TOOL)
  ctr_compress(${PROJECT_BINARY_DIR}/tool/kxcontour.1 kxcontour.1.gz kxcontour_texts)
  install(FILES ${contents}/kxcontour.1.gz
    DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT tool EXCLUDE_FROM_ALL)
  foreach(package libtomlplusplus-dev nlohmann-json3-dev)
    install(FILES /usr/share/doc/${package}/copyright RENAME ${package}
      DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/${package_tool}/notices
      COMPONENT tool EXCLUDE_FROM_ALL)
  endforeach()
endif()
# The page for hosts and the programs that it shows, with its links led to where these lie. The other
# pages stay behind.
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS docs/embedding.md)
file(READ docs/embedding.md page)
string(REPLACE "](../examples/" "](examples/" page "${page}")
string(REGEX REPLACE "\\[([^]]*)\\]\\([A-Za-z]+\\.md[^)]*\\)" "\\1" page "${page}")
file(WRITE ${contents}/embedding.md "${page}")
install(FILES ${contents}/embedding.md
  DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/${package_development}
  COMPONENT development EXCLUDE_FROM_ALL)
install(DIRECTORY examples
  DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/${package_development}
  COMPONENT development EXCLUDE_FROM_ALL)
# All that has to be built before cpack is called.
add_custom_target(package_contents ALL DEPENDS ${compressed})
add_dependencies(package_contents kxContouringLib)
if(CTR_BUILD_DRAWING)
  add_dependencies(package_contents kxDrawing)
endif()

include(CPack)
