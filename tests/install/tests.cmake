# The installed tree and the packages as a host and a packager see them.
set(kx_install_work ${CMAKE_CURRENT_BINARY_DIR}/install_work)
# A sanitized module loads only into a sanitized program.
set(kx_consumer_flags $<$<BOOL:${KX_SANITIZE}>:-DCMAKE_C_FLAGS=-fsanitize=address,undefined>)
add_test(NAME install.consumer
  COMMAND bash ${CMAKE_CURRENT_LIST_DIR}/consumer.sh ${PROJECT_SOURCE_DIR} ${CMAKE_BINARY_DIR}
          ${kx_install_work}/consumer ${kx_consumer_flags} COMMAND_EXPAND_LISTS)
kx_find_tools(kx_have_package_tools dpkg-deb unzip x86_64-w64-mingw32-g++-posix
  x86_64-w64-mingw32-objdump)
if(kx_have_package_tools)
  add_test(NAME install.packages
    COMMAND bash ${CMAKE_CURRENT_LIST_DIR}/check_packages.sh ${PROJECT_SOURCE_DIR}
            ${CMAKE_BINARY_DIR} ${KX_WINDOWS_BUILD_DIR} ${kx_install_work}/packages)
  # Packs the cross tree that windows.cross_build makes: never before that
  # build is done, and never beside another build of it.
  set_tests_properties(install.packages PROPERTIES TIMEOUT 300 LABELS install
    FIXTURES_REQUIRED kx_windows_tree RESOURCE_LOCK kx_windows_tree)
endif()
set_tests_properties(install.consumer PROPERTIES TIMEOUT 300 LABELS install)
