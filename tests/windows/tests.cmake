# The Windows module. Included by the cross build (top-level CMakeLists.txt,
# WIN32), which makes the Windows test programs, and by the Linux build, which
# makes the Linux side of the scenario host and the tests that build the cross
# tree, check the DLL's tables and run the Windows programs under wine.
add_executable(scenario_host ${CMAKE_CURRENT_LIST_DIR}/scenario_host.c)
target_include_directories(scenario_host PRIVATE ${PROJECT_SOURCE_DIR})

if(WIN32)
  # Loaded at run time, but useless without.
  add_dependencies(scenario_host kx_mkv YR_Log YR_Utility)
  # GoogleTest from Debian's sources (package googletest), for the platform
  # layer against the real Windows calls.
  add_subdirectory(/usr/src/googletest/googletest ${CMAKE_BINARY_DIR}/googletest EXCLUDE_FROM_ALL)
  add_executable(platform_tests ${CMAKE_CURRENT_LIST_DIR}/platform_win.cc)
  target_link_libraries(platform_tests PRIVATE kx_mkv_static gtest_main)
  return()
endif()

# The Linux side: the same host in strict C, loading libkx_mkv.so.
set_target_properties(scenario_host PROPERTIES C_STANDARD 11 C_EXTENSIONS OFF)
target_compile_options(scenario_host PRIVATE -pedantic -Werror)
target_link_libraries(scenario_host PRIVATE ${CMAKE_DL_LIBS})
add_dependencies(scenario_host kx_mkv)
add_test(NAME exported_symbols COMMAND ${Python3_EXECUTABLE} ${CMAKE_CURRENT_LIST_DIR}/windows.py
         symbols $<TARGET_FILE:kx_mkv>)

kx_find_tools(kx_have_windows_tools x86_64-w64-mingw32-g++-posix x86_64-w64-mingw32-objdump wine)
if(NOT kx_have_windows_tools)
  return()
endif()
set(win ${KX_WINDOWS_BUILD_DIR}/bin)
set(prefix ${CMAKE_BINARY_DIR}/wineprefix)
set(driver ${Python3_EXECUTABLE} ${CMAKE_CURRENT_LIST_DIR}/windows.py)
add_test(NAME windows.cross_build
  COMMAND bash ${PROJECT_SOURCE_DIR}/scripts/build-windows.sh ${KX_WINDOWS_BUILD_DIR})
add_test(NAME windows.dll_tables COMMAND ${driver} tables ${win}/kx_mkv.dll)
# A fresh wine prefix takes a while; it is made once, before the programs run.
add_test(NAME windows.wine_prefix COMMAND ${driver} wine ${prefix} cmd /c exit)
add_test(NAME windows.platform_under_wine
  COMMAND ${driver} wine ${prefix} ${win}/platform_tests.exe)
add_test(NAME windows.scenarios_match_linux
  COMMAND ${driver} scenarios ${prefix} ${win} ${CMAKE_CURRENT_BINARY_DIR}/windows_work
          $<TARGET_FILE:scenario_host> $<TARGET_FILE:kx_mkv>)
add_test(NAME windows.wine_shutdown COMMAND sh -c "WINEPREFIX=${prefix} wineserver -k || true")
set_tests_properties(windows.cross_build PROPERTIES FIXTURES_SETUP kx_windows_tree
  RESOURCE_LOCK kx_windows_tree TIMEOUT 2400)
set_tests_properties(windows.wine_prefix PROPERTIES FIXTURES_SETUP kx_wine TIMEOUT 300)
set_tests_properties(windows.dll_tables windows.platform_under_wine windows.scenarios_match_linux
  PROPERTIES FIXTURES_REQUIRED "kx_windows_tree;kx_wine" TIMEOUT 600)
set_tests_properties(windows.wine_shutdown PROPERTIES FIXTURES_CLEANUP kx_wine TIMEOUT 60)
