# The Windows module. Included twice: by the cross build (top-level
# CMakeLists.txt, WIN32), which makes the Windows test programs, and by the
# Linux build (tests/CMakeLists.txt), which makes the Linux counterparts and
# the CTest tests that build the cross tree, check the DLL's tables and run
# the Windows programs under wine.

if(WIN32)
  # Loads kx_mkv.dll like the conversion host and runs the shared scenarios.
  add_executable(windows_host
    ${CMAKE_CURRENT_LIST_DIR}/windows_host.cc
    ${CMAKE_CURRENT_LIST_DIR}/scenarios.c)
  target_include_directories(windows_host PRIVATE ${PROJECT_SOURCE_DIR})
  target_link_options(windows_host PRIVATE -municode)
  # Not linked against the module (it is loaded at run time), but it is
  # useless without it.
  add_dependencies(windows_host kx_mkv YR_Log YR_Utility)

  # The Windows branches of the platform layer against the real system.
  add_executable(platform_check ${CMAKE_CURRENT_LIST_DIR}/platform_check.cc)
  target_link_libraries(platform_check PRIVATE kx_mkv_static)
  target_link_options(platform_check PRIVATE -municode)
  return()
endif()

# ---- Linux side -------------------------------------------------------------

# Same scenarios through dlopen of libkx_mkv.so: the reference files.
add_executable(windows_linux_host
  ${CMAKE_CURRENT_LIST_DIR}/linux_host.cc
  ${CMAKE_CURRENT_LIST_DIR}/scenarios.c
  ${PROJECT_SOURCE_DIR}/src/platform/utf16.cc)
target_include_directories(windows_linux_host PRIVATE ${PROJECT_SOURCE_DIR})
target_link_libraries(windows_linux_host PRIVATE ${CMAKE_DL_LIBS})
add_dependencies(windows_linux_host kx_mkv)

add_executable(windows_output_compare
  ${CMAKE_CURRENT_LIST_DIR}/output_compare.cc
  ${CMAKE_CURRENT_LIST_DIR}/output_compare_util.cc)
target_include_directories(windows_output_compare PRIVATE ${PROJECT_SOURCE_DIR})

set(KX_WINDOWS_BUILD_DIR ${PROJECT_SOURCE_DIR}/build-win CACHE PATH
  "Cross build tree (mingw-w64) that the Windows tests build, or reuse when up to date")
set(kx_windows_work ${CMAKE_CURRENT_BINARY_DIR}/windows_work)
set(kx_windows_script ${CMAKE_CURRENT_LIST_DIR}/wine_tests.sh)

# Each test skips (exit 77) when the cross compiler or wine is missing.
add_test(NAME windows.cross_build
  COMMAND bash ${PROJECT_SOURCE_DIR}/scripts/build-windows.sh ${KX_WINDOWS_BUILD_DIR})
add_test(NAME windows.dll_tables
  COMMAND bash ${CMAKE_CURRENT_LIST_DIR}/check_dll_tables.sh ${KX_WINDOWS_BUILD_DIR}/bin/kx_mkv.dll)
add_test(NAME windows.wine_prefix
  COMMAND bash ${kx_windows_script} prefix ${CMAKE_BINARY_DIR}/wineprefix)
add_test(NAME windows.platform_under_wine
  COMMAND bash ${kx_windows_script} platform ${CMAKE_BINARY_DIR}/wineprefix
          ${KX_WINDOWS_BUILD_DIR}/bin ${kx_windows_work}/platform)
add_test(NAME windows.scenarios_match_linux
  COMMAND bash ${kx_windows_script} scenarios ${CMAKE_BINARY_DIR}/wineprefix
          ${KX_WINDOWS_BUILD_DIR}/bin ${kx_windows_work}/scenarios
          $<TARGET_FILE:windows_linux_host> $<TARGET_FILE:kx_mkv>
          $<TARGET_FILE:windows_output_compare>)
add_test(NAME windows.wine_shutdown
  COMMAND bash ${kx_windows_script} shutdown ${CMAKE_BINARY_DIR}/wineprefix)

set_tests_properties(windows.cross_build PROPERTIES
  FIXTURES_SETUP kx_windows_tree SKIP_RETURN_CODE 77 TIMEOUT 2400)
set_tests_properties(windows.dll_tables PROPERTIES
  FIXTURES_REQUIRED kx_windows_tree SKIP_RETURN_CODE 77 TIMEOUT 60)
# A fresh wine prefix takes a while to set up; it is made once, before the
# programs run, so that they do not race to create it.
set_tests_properties(windows.wine_prefix PROPERTIES
  FIXTURES_SETUP kx_wine SKIP_RETURN_CODE 77 TIMEOUT 300)
set_tests_properties(windows.platform_under_wine windows.scenarios_match_linux PROPERTIES
  FIXTURES_REQUIRED "kx_windows_tree;kx_wine" SKIP_RETURN_CODE 77 TIMEOUT 600)
set_tests_properties(windows.wine_shutdown PROPERTIES
  FIXTURES_CLEANUP kx_wine SKIP_RETURN_CODE 77 TIMEOUT 60)
