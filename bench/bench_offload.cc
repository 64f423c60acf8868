// Offload costs on the simulated card (tools/simulate-card), through wem with zub-gdb over stock
// gdb and gdbserver as host and card engines. Skipped where the namespaces are refused.
// - BM_OffloadAttach: one attach of a card-side process, from "Attaching VEK process..." (what
//   wem sends first once the host has stopped at the offload symbol) to "VEK process is
//   attached.": card engine start, connection, search path, attach, breakpoint copy. Each
//   iteration is one offload of one run of offload_host.
// - BM_OffloadContinueStopCycle/0 and /1: one "-exec-continue" to the next breakpoint hit, with
//   the host engine only (0: a loop program's breakpoint) against host and card engines (1: a
//   breakpoint in the card-side work's loop; the host is interrupted at every stop).
#include <benchmark/benchmark.h>
#include <signal.h>
#include <stdlib.h>

#include <chrono>
#include <fstream>
#include <string>
#include <vector>

#include "bench_child.h"

namespace {

using Clock = std::chrono::steady_clock;

const std::string kBin = WEM_BINARY_DIR "/bin/";
const std::string kSimulateCard = WEM_SOURCE_DIR "/tools/simulate-card";
constexpr int kAttachRounds = 20;

const std::vector<std::string> kEnv = {"WEM_CARD_SERVER=" + kBin + "card-server",
                                       "ZUBC_HOST=" + kBin + "zub-gdb",
                                       "ZUBC_VEK=" + kBin + "zub-gdb"};

// wem debugging `program` on the simulated card.
std::vector<std::string> onCard(const std::string& program) {
  return {kSimulateCard, kBin + "wem", "--interpreter=mi", program};
}

bool cardRefused(benchmark::State& state) {
  const std::string trial =
      "WEM_CARD_SERVER='" + kBin + "card-server' '" + kSimulateCard + "' true 2>/dev/null";
  const int status = system(trial.c_str());
  if (status == 0) return false;
  state.SkipWithError(WEXITSTATUS(status) == 77 ? "namespaces are refused here"
                                                : "simulate-card fails");
  return true;
}

void BM_OffloadAttach(benchmark::State& state) {
  if (cardRefused(state)) return;
  BenchChild wem(onCard(kBin + "offload_host"), kEnv);
  const bool ready = wem.pid > 0 &&
                     wem.write("1-exec-args " + std::to_string(kAttachRounds) + "\n") &&
                     wem.waitFor("1^done") && wem.write("2-exec-run\n");
  for (auto _ : state) {
    if (!ready || !wem.waitFor("Attaching VEK process...")) {
      state.SkipWithError("no offload within ten seconds");
      break;
    }
    const auto start = Clock::now();
    if (!wem.waitFor("VEK process is attached.")) {
      state.SkipWithError("no attach within ten seconds");
      break;
    }
    state.SetIterationTime(std::chrono::duration<double>(Clock::now() - start).count());
  }
  if (ready) wem.waitFor("*stopped,reason=\"exited-normally\"");
}
BENCHMARK(BM_OffloadAttach)
    ->Iterations(kAttachRounds)
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond);

void BM_OffloadContinueStopCycle(benchmark::State& state) {
  const bool withCard = state.range(0) == 1;
  state.SetLabel(withCard ? "host and card engines" : "host engine only");
  if (cardRefused(state)) return;
  char dirTemplate[] = "/tmp/bench_offload_XXXXXX";
  const std::string dir = mkdtemp(dirTemplate);
  const std::string program =
      withCard ? kBin + "offload_host" : buildProgram(dir, "loop", kLoopProgram);
  bool ready = !program.empty();
  {
    BenchChild wem(onCard(program), kEnv);
    // The card-side work loops long enough for every cycle; its body is line 12.
    ready =
        ready && wem.pid > 0 &&
        wem.write(withCard ? "1-break-insert -f offload_card.c:12\n" : "1-break-insert hit\n") &&
        wem.waitFor("1^done") &&
        (!withCard || (wem.write("2-exec-args 1 10000000\n") && wem.waitFor("2^done"))) &&
        wem.write("3-exec-run\n") && wem.waitFor("3*stopped,reason=\"breakpoint-hit\"");
    if (!ready) state.SkipWithError("cannot start the program under wem");
    for (auto _ : state) {
      if (!ready) break;
      if (!wem.write("4-exec-continue\n") || !wem.waitFor("4*stopped,reason=\"breakpoint-hit\"")) {
        state.SkipWithError("no stop within ten seconds");
        break;
      }
    }
  }
  std::remove((dir + "/loop").c_str());
  std::remove((dir + "/loop.c").c_str());
  rmdir(dir.c_str());
}
BENCHMARK(BM_OffloadContinueStopCycle)
    ->Arg(0)
    ->Arg(1)
    ->Unit(benchmark::kMicrosecond)
    ->UseRealTime();

}  // namespace

int main(int argc, char** argv) {
  signal(SIGPIPE, SIG_IGN);
  benchmark::Initialize(&argc, argv);
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
  return 0;
}
