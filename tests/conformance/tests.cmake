# kxmux: unit tests of its reframing and command line (linked into the
# folder's gtest executable), and the conformance suite, which muxes real
# encoded streams with kxmux and checks the files with FFmpeg and MKVToolNix.
if(TARGET conformance_tests)
  target_link_libraries(conformance_tests PRIVATE kxmux_core)
endif()

find_package(Python3 COMPONENTS Interpreter)
find_program(KX_FFMPEG ffmpeg)
find_program(KX_FFPROBE ffprobe)
find_program(KX_MKVINFO mkvinfo)
find_program(KX_MKVMERGE mkvmerge)
if(NOT TARGET kxmux OR NOT Python3_Interpreter_FOUND OR NOT KX_FFMPEG OR NOT KX_FFPROBE
   OR NOT KX_MKVINFO OR NOT KX_MKVMERGE)
  message(STATUS "conformance suite not registered: it needs kxmux, python3, ffmpeg, ffprobe, "
                 "mkvinfo and mkvmerge (Debian: ffmpeg mkvtoolnix)")
  return()
endif()

set(kx_conformance_script ${CMAKE_CURRENT_LIST_DIR}/conformance.py)
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${kx_conformance_script})
execute_process(COMMAND ${Python3_EXECUTABLE} ${kx_conformance_script} --list
                OUTPUT_VARIABLE kx_conformance_cases OUTPUT_STRIP_TRAILING_WHITESPACE
                RESULT_VARIABLE kx_conformance_result)
if(NOT kx_conformance_result EQUAL 0)
  message(FATAL_ERROR "conformance.py --list failed")
endif()
string(REPLACE "\n" ";" kx_conformance_cases "${kx_conformance_cases}")
foreach(case IN LISTS kx_conformance_cases)
  add_test(NAME conformance.${case}
           COMMAND ${Python3_EXECUTABLE} ${kx_conformance_script}
                   --kxmux $<TARGET_FILE:kxmux>
                   --work ${CMAKE_CURRENT_BINARY_DIR}/conformance
                   --module-objects $<TARGET_FILE:kx_mkv_static>
                   ${case})
  # 77: the part of the module that the case needs is not built yet.
  set_tests_properties(conformance.${case} PROPERTIES
    SKIP_RETURN_CODE 77 TIMEOUT 300 LABELS conformance)
endforeach()
