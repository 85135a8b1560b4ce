# What `cmake --install` lays out, by component:
#   module     lib/libkx_mkv.so.* (Windows: bin/kx_mkv.dll)
#   dev        include/kx_mkv/kx_mkv.h, the libkx_mkv.so link name, the CMake
#              package config (find_package(kx_mkv CONFIG)) and kx_mkv.pc
#   docs       share/doc/kx_mkv/
#   tools      bin/kxmux and the sample it remuxes by default (Linux only)
#   host_libs  the stand-ins for the host's YR_Log and YR_Utility libraries.
#              A real host brings its own, so a plain install leaves them out
#              unless KX_INSTALL_HOST_LIBS is on; the .deb always carries them
#              because its kxmux cannot load the module without them.
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

option(KX_INSTALL_HOST_LIBS "Install the stand-in host libraries with the module" OFF)

set_target_properties(kx_mkv PROPERTIES
  VERSION ${PROJECT_VERSION}
  SOVERSION ${PROJECT_VERSION_MAJOR}
  # The host libraries are also looked for in the module's own directory.
  INSTALL_RPATH "$ORIGIN")

set(kx_host_libs_all "")
if(NOT KX_INSTALL_HOST_LIBS)
  set(kx_host_libs_all EXCLUDE_FROM_ALL)
endif()
install(TARGETS YR_Log YR_Utility
  RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT host_libs ${kx_host_libs_all}
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT host_libs ${kx_host_libs_all}
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT host_libs EXCLUDE_FROM_ALL)

install(FILES include/kx_mkv/kx_mkv.h
  DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/kx_mkv COMPONENT dev)
install(FILES README.md docs/host-guide.md docs/reliability.md docs/compatibility.md
  DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT docs)

if(WIN32)
  # The host loads the DLL with LoadLibrary; it needs no import library.
  install(TARGETS kx_mkv
    RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT module
    ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT import_lib EXCLUDE_FROM_ALL)
  return()
endif()

install(TARGETS kx_mkv
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT module NAMELINK_COMPONENT dev)

set(kx_cmake_dir ${CMAKE_INSTALL_LIBDIR}/cmake/kx_mkv)
set(KX_MODULE_SONAME libkx_mkv.so.${PROJECT_VERSION_MAJOR})
set(KX_MODULE_FILE ${CMAKE_INSTALL_LIBDIR}/${KX_MODULE_SONAME})
configure_package_config_file(cmake/kx_mkv-config.cmake.in
  ${PROJECT_BINARY_DIR}/kx_mkv-config.cmake INSTALL_DESTINATION ${kx_cmake_dir}
  PATH_VARS KX_MODULE_FILE CMAKE_INSTALL_INCLUDEDIR)
write_basic_package_version_file(${PROJECT_BINARY_DIR}/kx_mkv-config-version.cmake
  COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/kx_mkv-config.cmake
              ${PROJECT_BINARY_DIR}/kx_mkv-config-version.cmake
  DESTINATION ${kx_cmake_dir} COMPONENT dev)

file(RELATIVE_PATH KX_PC_TO_PREFIX /prefix/${CMAKE_INSTALL_LIBDIR}/pkgconfig /prefix)
string(REGEX REPLACE "/$" "" KX_PC_TO_PREFIX "${KX_PC_TO_PREFIX}")
configure_file(cmake/kx_mkv.pc.in ${PROJECT_BINARY_DIR}/kx_mkv.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/kx_mkv.pc
  DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT dev)
