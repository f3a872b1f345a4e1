# What `cmake --install` lays down under one prefix: the library, the seam it is written against,
# their headers, the tool, and the two descriptions by which others find them (CMake package,
# pkg-config). The prefix may be moved as a whole afterwards. The components library, development
# and tool are what a package of each kind holds (cmake/Packages.cmake); the drawing library has two of its own.
include(CMakePackageConfigHelpers)

# Libraries lie side by side; the tool finds them from where it lies itself.
file(RELATIVE_PATH ctr_lib_from_bin ${CMAKE_INSTALL_FULL_BINDIR} ${CMAKE_INSTALL_FULL_LIBDIR})
set_target_properties(kxContouringLib kxPlatform PROPERTIES INSTALL_RPATH "$ORIGIN")

install(TARGETS kxContouringLib kxPlatform EXPORT kxContouringLibTargets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT library NAMELINK_COMPONENT development
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT development
  FILE_SET HEADERS DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} COMPONENT development)
if(CTR_BUILD_TOOL)
  set_target_properties(kxcontour PROPERTIES INSTALL_RPATH "$ORIGIN/${ctr_lib_from_bin}")
  install(TARGETS kxcontour RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT tool)
  # Where the manual and the shells look by themselves. Packages have the page compressed instead.
  install(FILES ${PROJECT_BINARY_DIR}/tool/kxcontour.1
    DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT manual)
  install(FILES ${PROJECT_BINARY_DIR}/tool/kxcontour.bash RENAME kxcontour
    DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions COMPONENT tool)
  install(FILES ${PROJECT_BINARY_DIR}/tool/kxcontour.zsh RENAME _kxcontour
    DESTINATION ${CMAKE_INSTALL_DATADIR}/zsh/site-functions COMPONENT tool)
  install(FILES ${PROJECT_BINARY_DIR}/tool/kxcontour.fish
    DESTINATION ${CMAKE_INSTALL_DATADIR}/fish/vendor_completions.d COMPONENT tool)
endif()

set(ctr_package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/kxContouringLib)
# A static one would ask its users for all that it is built on.
if(CTR_BUILD_DRAWING AND CTR_LIBRARY_TYPE STREQUAL "SHARED")
  set_target_properties(kxDrawing PROPERTIES INSTALL_RPATH "$ORIGIN")
  install(TARGETS kxDrawing EXPORT kxDrawingTargets
    LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
      COMPONENT drawing NAMELINK_COMPONENT drawing_development
    FILE_SET HEADERS DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} COMPONENT drawing_development)
  install(EXPORT kxDrawingTargets NAMESPACE kxContouringLib::
    DESTINATION ${ctr_package_dir} COMPONENT drawing_development)
endif()
configure_package_config_file(${PROJECT_SOURCE_DIR}/cmake/kxContouringLibConfig.cmake.in
  ${PROJECT_BINARY_DIR}/kxContouringLibConfig.cmake
  INSTALL_DESTINATION ${ctr_package_dir})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/kxContouringLibConfigVersion.cmake
  COMPATIBILITY SameMajorVersion)
install(FILES
  ${PROJECT_BINARY_DIR}/kxContouringLibConfig.cmake
  ${PROJECT_BINARY_DIR}/kxContouringLibConfigVersion.cmake
  DESTINATION ${ctr_package_dir} COMPONENT development)
install(EXPORT kxContouringLibTargets NAMESPACE kxContouringLib::
  DESTINATION ${ctr_package_dir} COMPONENT development)

file(RELATIVE_PATH ctr_prefix_from_pc
  ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig ${CMAKE_INSTALL_PREFIX})
string(REGEX REPLACE "/$" "" ctr_prefix_from_pc ${ctr_prefix_from_pc})
file(RELATIVE_PATH ctr_include_from_prefix ${CMAKE_INSTALL_PREFIX} ${CMAKE_INSTALL_FULL_INCLUDEDIR})
file(RELATIVE_PATH ctr_lib_from_prefix ${CMAKE_INSTALL_PREFIX} ${CMAKE_INSTALL_FULL_LIBDIR})
function(ctr_install_pkg_config name component)
  configure_file(${PROJECT_SOURCE_DIR}/cmake/${name}.pc.in ${PROJECT_BINARY_DIR}/${name}.pc @ONLY)
  install(FILES ${PROJECT_BINARY_DIR}/${name}.pc
    DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT ${component})
endfunction()
ctr_install_pkg_config(kxContouringLib development)
if(CTR_BUILD_DRAWING AND CTR_LIBRARY_TYPE STREQUAL "SHARED")
  ctr_install_pkg_config(kxDrawing drawing_development)
endif()
