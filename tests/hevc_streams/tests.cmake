# Real HEVC streams: libx265 encodes at test time, kxmux muxes them through the
# module's HEVC muxer, FFmpeg and MKVToolNix check the files and the hvcC
# record against the streams' own parameter sets. One test per stream; a test
# reports itself skipped when kxmux or the module is not built, a tool is
# missing or ffmpeg has no libx265.
find_package(Python3 COMPONENTS Interpreter)
if(NOT Python3_Interpreter_FOUND)
  message(STATUS "HEVC stream tests not registered: they need python3")
  return()
endif()

set(kx_hevc_streams_script ${CMAKE_CURRENT_LIST_DIR}/hevc_streams.py)
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${kx_hevc_streams_script})
execute_process(COMMAND ${Python3_EXECUTABLE} ${kx_hevc_streams_script} --list
                OUTPUT_VARIABLE kx_hevc_streams_cases OUTPUT_STRIP_TRAILING_WHITESPACE
                RESULT_VARIABLE kx_hevc_streams_result)
if(NOT kx_hevc_streams_result EQUAL 0)
  message(FATAL_ERROR "hevc_streams.py --list failed")
endif()
string(REPLACE "\n" ";" kx_hevc_streams_cases "${kx_hevc_streams_cases}")

if(TARGET kxmux)
  set(kx_hevc_streams_kxmux $<TARGET_FILE:kxmux>)
else()
  set(kx_hevc_streams_kxmux "")
endif()
foreach(case IN LISTS kx_hevc_streams_cases)
  add_test(NAME hevc_streams.${case}
           COMMAND ${Python3_EXECUTABLE} ${kx_hevc_streams_script}
                   --kxmux "${kx_hevc_streams_kxmux}"
                   --module $<TARGET_FILE:kx_mkv>
                   --work ${CMAKE_CURRENT_BINARY_DIR}/hevc_streams
                   ${case})
  set_tests_properties(hevc_streams.${case} PROPERTIES
    SKIP_RETURN_CODE 77 TIMEOUT 120 LABELS hevc_streams)
endforeach()
