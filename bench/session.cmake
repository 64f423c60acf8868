# The program as a whole against the fake engine: added round-trip latency, idle CPU, output
# throughput. It runs the built program and the tests' fake engine.
wem_add_bench(bench_session bench_session.cc)
add_dependencies(bench_session wem)
if(TARGET fake_engine)
  add_dependencies(bench_session fake_engine)
endif()
