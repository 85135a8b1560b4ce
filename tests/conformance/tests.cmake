# The conformance suite: real encoded streams muxed with kxmux, the files
# checked with FFmpeg and MKVToolNix.
if(kx_have_media_tools)
  kx_add_python_cases(${CMAKE_CURRENT_LIST_DIR}/conformance.py conformance 300
    --kxmux $<TARGET_FILE:kxmux> --work ${CMAKE_CURRENT_BINARY_DIR}/conformance)
endif()
