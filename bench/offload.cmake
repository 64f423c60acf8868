wem_add_bench(bench_offload bench_offload.cc)
# Runs whole processes only: wem, its engine adapter and the offload sample on the simulated card.
add_dependencies(bench_offload wem zub-gdb card-server offload_host)
