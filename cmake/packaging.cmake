# CPack: `cpack -G DEB` in a Linux build tree makes the Debian package (the
# module, the host stand-ins, kxmux, the header, the package configs and the
# docs); `cpack -G ZIP` in the mingw-w64 tree makes the Windows archive
# (kx_mkv.dll, the header, the docs). scripts/package.sh runs both.
set(CPACK_PACKAGE_NAME kx_mkv)
set(CPACK_PACKAGE_VENDOR "kx_mkv developers")
set(CPACK_PACKAGE_CONTACT "kx_mkv developers <kx_mkv@localhost>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "Matroska / WebM writer module for a video conversion host")
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_RESOURCE_FILE_README ${PROJECT_SOURCE_DIR}/README.md)
set(CPACK_STRIP_FILES ON)

# One package per generator, made of the components listed here. Listing
# host_libs pulls the stand-ins into the .deb although a plain install leaves
# them out.
set(CPACK_COMPONENTS_GROUPING ALL_COMPONENTS_IN_ONE)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_ARCHIVE_COMPONENT_INSTALL ON)
if(WIN32)
  set(CPACK_GENERATOR ZIP)
  set(CPACK_COMPONENTS_ALL module dev docs)
  set(CPACK_PACKAGE_FILE_NAME kx_mkv-${PROJECT_VERSION}-win64)
else()
  set(CPACK_GENERATOR DEB)
  set(CPACK_COMPONENTS_ALL module dev docs tools host_libs)
  set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
  # Debian package names take no underscore.
  set(CPACK_DEBIAN_PACKAGE_NAME kx-mkv)
  set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
  set(CPACK_DEBIAN_PACKAGE_SECTION video)
  # kxmux's FFmpeg and libwebm, and the C++ runtime, as dpkg-shlibdeps finds
  # them; the package's own libraries are resolved inside the package.
  set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
  set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${PROJECT_BINARY_DIR})
endif()
include(CPack)
