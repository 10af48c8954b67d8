# cpack in the build folder makes a Debian package of the installed tree; it needs the packages dpkg-dev and file.
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME service-mediainfo)
set(CPACK_PACKAGE_VENDOR "the service-mediainfo developers")
set(CPACK_PACKAGE_CONTACT "the service-mediainfo developers <service-mediainfo@localhost>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "tells what is in media files, images and SVGs")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION utils)
# dpkg-shlibdeps finds the packages of the libraries that ours link; ours lie where it does not look.
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS "${CMAKE_LIBRARY_OUTPUT_DIRECTORY}")
# What https servers are checked against.
set(CPACK_DEBIAN_PACKAGE_RECOMMENDS ca-certificates)
include(CPack)
