wem_add_bench(bench_exec bench_exec.cc)
target_link_libraries(bench_exec PRIVATE wem_session wem_commands)
# The fake engine comes with the tests; `make bench` builds them too.
add_dependencies(bench_exec wem)
if(TARGET fake_engine)
  add_dependencies(bench_exec fake_engine)
endif()
