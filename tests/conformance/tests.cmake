# kxmux: unit tests of its reframing and command line (linked into the
# folder's gtest executable), and the conformance suite, which muxes real
# encoded streams with kxmux and checks the files with FFmpeg and MKVToolNix.
if(TARGET conformance_tests)
  target_link_libraries(conformance_tests PRIVATE kxmux_core)
endif()
