target_link_libraries(perf_tests PRIVATE kx_bench_support)
# The benchmark, once on a tiny workload, so that it cannot rot; it checks
# that every writer succeeds, never a time.
add_test(NAME bench.tiny COMMAND kx_bench --tiny)
set_tests_properties(bench.tiny PROPERTIES LABELS bench TIMEOUT 120)
