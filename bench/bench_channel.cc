// Throughput of the bounded queue between two threads, and the round trip of one line through
// an engine channel: writer thread -> child `cat` -> reader thread -> tryTake.
#include <benchmark/benchmark.h>
#include <signal.h>

#include <string>
#include <thread>

#include "base/log.h"
#include "engine/ctrl_module.h"
#include "engine/shared_buffer.h"

namespace {

void BM_SharedBufferPutTake(benchmark::State& state) {
  const unsigned int capacity = state.range(0);
  const std::string line = "*stopped,reason=\"breakpoint-hit\",thread-id=\"1\"\n";
  for (auto _ : state) {
    state.PauseTiming();
    SharedBuffer<std::string> buffer(capacity);
    constexpr int kItems = 10000;
    state.ResumeTiming();
    std::thread producer([&] {
      for (int i = 0; i < kItems; ++i) buffer.put(line);
    });
    std::string item;
    for (int i = 0; i < kItems; ++i) buffer.take(item);
    producer.join();
  }
  state.SetItemsProcessed(state.iterations() * 10000);
}
BENCHMARK(BM_SharedBufferPutTake)->Arg(1)->Arg(100)->Arg(1000)->UseRealTime();

void BM_EngineChannelRoundTrip(benchmark::State& state) {
  QuietStream log;
  CtrlModule ctrl(log, stdin, stdout);  // The user channel is never started here.
  signal(SIGPIPE, SIG_IGN);
  const char* argv[] = {"cat", nullptr};
  std::string id;
  if (!ctrl.spawnZub(argv[0], argv, "i", id)) {
    state.SkipWithError("cannot start cat");
    return;
  }
  const std::string line = "-break-insert main.c:42\n";
  std::string echoed;
  for (auto _ : state) {
    ctrl.sendToZub(id, line);
    while (!ctrl.tryReceiveFromZub(id, echoed)) {
    }
  }
  ctrl.sendSignalToZub(id, SIGKILL);
  ctrl.removeZub(id);
}
BENCHMARK(BM_EngineChannelRoundTrip)->Unit(benchmark::kMicrosecond)->UseRealTime();

}  // namespace

BENCHMARK_MAIN();
