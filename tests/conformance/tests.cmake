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

# A case whose part of the module is not built yet exits 77 (skipped).
kx_add_python_cases(${CMAKE_CURRENT_LIST_DIR}/conformance.py conformance 300
  --kxmux $<TARGET_FILE:kxmux>
  --work ${CMAKE_CURRENT_BINARY_DIR}/conformance
  --module-objects $<TARGET_FILE:kx_mkv_static>)
