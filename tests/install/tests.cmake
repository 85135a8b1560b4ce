# The installed tree, the packages and kxmux's JSON summary, as a host, a
# packager and a script see them.
find_package(Python3 COMPONENTS Interpreter REQUIRED)
set(kx_install_work ${CMAKE_CURRENT_BINARY_DIR}/install_work)
add_test(NAME install.consumer
  COMMAND bash ${CMAKE_CURRENT_LIST_DIR}/consumer.sh ${PROJECT_SOURCE_DIR} ${CMAKE_BINARY_DIR}
          ${kx_install_work}/consumer)
add_test(NAME install.packages
  COMMAND bash ${CMAKE_CURRENT_LIST_DIR}/check_packages.sh ${PROJECT_SOURCE_DIR}
          ${CMAKE_BINARY_DIR} ${KX_WINDOWS_BUILD_DIR} ${kx_install_work}/packages)
# Without kxmux the script gets a path that does not exist, and fails.
set(kx_json_kxmux ${CMAKE_CURRENT_BINARY_DIR}/kxmux-not-built)
if(TARGET kxmux)
  set(kx_json_kxmux $<TARGET_FILE:kxmux>)
endif()
add_test(NAME install.kxmux_json
  COMMAND ${Python3_EXECUTABLE} ${CMAKE_CURRENT_LIST_DIR}/kxmux_json.py ${kx_json_kxmux}
          ${PROJECT_SOURCE_DIR}/samples/sample.mp4 ${kx_install_work}/json)
set_tests_properties(install.consumer install.packages install.kxmux_json PROPERTIES
  TIMEOUT 300 LABELS install)
set_tests_properties(install.packages PROPERTIES
  FIXTURES_REQUIRED kx_windows_tree SKIP_RETURN_CODE 77)
