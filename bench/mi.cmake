wem_add_bench(bench_mi bench_mi.cc)
target_link_libraries(bench_mi PRIVATE wem_mi)
