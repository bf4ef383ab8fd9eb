# `cpack -G DEB` makes a Debian package of all that is installed.
set(CPACK_PACKAGE_NAME radiometry)
set(CPACK_PACKAGE_VENDOR "radiometry developers")
set(CPACK_PACKAGE_CONTACT "radiometry developers <radiometry@localhost>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "${PROJECT_DESCRIPTION}")
set(CPACK_PACKAGE_DESCRIPTION
"Turns raw pixel values of multispectral and colour images from drones and
aircraft into values proportional to scene reflectance: dark current,
vignetting, exposure, changing light and the tilt of the irradiance sensor
are taken out. Holds the command, the shared libraries, and what is needed to
build applications with them.")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION science)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${CMAKE_LIBRARY_OUTPUT_DIRECTORY})
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_PACKAGE_SUGGESTS "libboost-dev, libeigen3-dev, qtbase5-dev")
include(CPack)
