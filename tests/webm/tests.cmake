# The browser test: every WebM file kxmux's WEBM row writes loads, seeks and
# plays to its end in headless Chromium (Debian: chromium).
kx_find_tools(kx_have_chromium chromium)
if(kx_have_media_tools AND kx_have_chromium)
  kx_add_python_cases(${CMAKE_CURRENT_LIST_DIR}/browser_test.py browser 300
    --kxmux $<TARGET_FILE:kxmux> --work ${CMAKE_CURRENT_BINARY_DIR}/browser)
endif()
