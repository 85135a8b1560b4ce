# Read by CTest after the discovered tests of reliability_tests (see tests.cmake).
if(reliability_tests_TESTS MATCHES "LargeFile[.]BeyondFourGiBThroughBothTables")
  set_tests_properties(LargeFile.BeyondFourGiBThroughBothTables
                       PROPERTIES LABELS large TIMEOUT 600 COST 1000)
endif()
