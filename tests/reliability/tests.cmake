# The files beyond 4 GiB (a minute or more of disk) get label large, for runs that leave them out,
# ten minutes, and a start before the rest; CTest makes them only when it discovers them, so a
# script it reads then sets this.
set_property(DIRECTORY APPEND PROPERTY TEST_INCLUDE_FILES ${CMAKE_CURRENT_LIST_DIR}/large.cmake)
