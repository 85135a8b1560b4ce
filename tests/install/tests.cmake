# The installed tree, the packages and kxmux --json as a host, a packager and a script see them.
find_package(Python3 COMPONENTS Interpreter REQUIRED)
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
set(kx_json_kxmux kxmux-not-built)  # fails the test
if(TARGET kxmux)
  set(kx_json_kxmux $<TARGET_FILE:kxmux>)
endif()
add_test(NAME install.kxmux_json
  COMMAND ${Python3_EXECUTABLE} ${CMAKE_CURRENT_LIST_DIR}/kxmux_json.py ${kx_json_kxmux}
          ${PROJECT_SOURCE_DIR}/samples/sample.mp4 ${kx_install_work}/json)
set_tests_properties(install.consumer install.kxmux_json PROPERTIES TIMEOUT 300 LABELS install)
