# Installs the files by which other projects find an installed tree. All paths are relative, so that a
# tree can be moved.
include(CMakePackageConfigHelpers)

set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/radiometry)
file(RELATIVE_PATH RADIOMETRY_PREFIX_FROM_PC /${CMAKE_INSTALL_LIBDIR}/pkgconfig /)
string(REGEX REPLACE "/$" "" RADIOMETRY_PREFIX_FROM_PC ${RADIOMETRY_PREFIX_FROM_PC})

configure_package_config_file(
  ${CMAKE_CURRENT_LIST_DIR}/radiometryConfig.cmake.in ${PROJECT_BINARY_DIR}/radiometryConfig.cmake
  INSTALL_DESTINATION ${package_dir})
# Before 1.0, a minor version may change the interface.
write_basic_package_version_file(${PROJECT_BINARY_DIR}/radiometryConfigVersion.cmake
  COMPATIBILITY SameMinorVersion)
configure_file(${CMAKE_CURRENT_LIST_DIR}/radiometry.pc.in ${PROJECT_BINARY_DIR}/radiometry.pc @ONLY)

install(EXPORT radiometryTargets NAMESPACE tessik:: DESTINATION ${package_dir})
install(FILES ${PROJECT_BINARY_DIR}/radiometryConfig.cmake
              ${PROJECT_BINARY_DIR}/radiometryConfigVersion.cmake
  DESTINATION ${package_dir})
install(FILES ${PROJECT_BINARY_DIR}/radiometry.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
# Debian's copyright file says whose code the binaries contain, and on which terms.
install(FILES ${CMAKE_CURRENT_LIST_DIR}/copyright DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/radiometry)
