# A host written in plain C that loads the built module the way the real host
# does, and a check of the module's dynamic symbol table.
add_executable(c_host ${CMAKE_CURRENT_LIST_DIR}/c_host.c)
set_target_properties(c_host PROPERTIES C_STANDARD 11 C_STANDARD_REQUIRED ON C_EXTENSIONS OFF)
target_include_directories(c_host PRIVATE ${PROJECT_SOURCE_DIR})
target_compile_options(c_host PRIVATE -pedantic -Werror)
target_link_libraries(c_host PRIVATE ${CMAKE_DL_LIBS})
# The module is loaded at run time only; build it (and its imports) first.
add_dependencies(c_host kx_mkv)
add_test(NAME c_host COMMAND c_host $<TARGET_FILE:kx_mkv>)

add_test(NAME exported_symbols
  COMMAND sh ${CMAKE_CURRENT_LIST_DIR}/check_exports.sh ${CMAKE_NM} $<TARGET_FILE:kx_mkv>)
