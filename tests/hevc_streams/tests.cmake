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

# Without the kxmux target the script is given a path that does not exist,
# and reports every case as skipped.
if(TARGET kxmux)
  set(kx_hevc_streams_kxmux $<TARGET_FILE:kxmux>)
else()
  set(kx_hevc_streams_kxmux ${CMAKE_CURRENT_BINARY_DIR}/kxmux-not-built)
endif()
kx_add_python_cases(${CMAKE_CURRENT_LIST_DIR}/hevc_streams.py hevc_streams 120
  --kxmux ${kx_hevc_streams_kxmux}
  --module $<TARGET_FILE:kx_mkv>
  --work ${CMAKE_CURRENT_BINARY_DIR}/hevc_streams)
