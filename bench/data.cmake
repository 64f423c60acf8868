# Register reads against stock gdb: directly, through the program, and through a session in
# process with and without a known card (the renumbering path).
wem_add_bench(bench_data bench_data.cc)
target_link_libraries(bench_data PRIVATE wem_session wem_commands)
add_dependencies(bench_data wem)
