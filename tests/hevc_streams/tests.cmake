# Real HEVC streams encoded with libx265 and muxed by kxmux: the conformance
# checks, and the hvcC record against FFmpeg's parse of the stream.
if(kx_have_media_tools)
  kx_add_python_cases(${CMAKE_CURRENT_LIST_DIR}/hevc_streams.py hevc_streams 300
    --kxmux $<TARGET_FILE:kxmux> --work ${CMAKE_CURRENT_BINARY_DIR}/hevc_streams)
endif()
