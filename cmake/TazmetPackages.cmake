# `cpack` in the build folder makes packages/tazmet_VERSION_amd64.deb and packages/tazmet-VERSION-Linux.tar.gz:
# programs, libraries, headers, rkd.pc, manuals, sample pictures and settings. tools/packages tries them.
set(CPACK_PACKAGE_NAME tazmet)
set(CPACK_PACKAGE_VENDOR "The Tazmet developers")
set(CPACK_PACKAGE_CONTACT "The Tazmet developers <tazmet@localhost>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "measures the functions of an image-primitives library in processor clocks")
set(CPACK_GENERATOR DEB TGZ)
set(CPACK_OUTPUT_FILE_PREFIX "${PROJECT_BINARY_DIR}/packages")
set(CPACK_STRIP_FILES ON)
set(CPACK_THREADS 0)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION devel)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS "${CMAKE_LIBRARY_OUTPUT_DIRECTORY}")
set(CPACK_DEBIAN_PACKAGE_SUGGESTS pkg-config)
# Packages are made of what has been built.
set(CMAKE_SKIP_INSTALL_ALL_DEPENDENCY ON)
include(CPack)
