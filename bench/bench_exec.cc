// Execution control costs.
// - BM_CombinedStopRecord: from the last of four engines' "*stopped" lines (one host, three
//   cards) reaching the execution command to the combined "*stopped" record queued for the user.
// - BM_ContinueStopCycleFakeEngines: one whole continue/stop cycle through the session loop with
//   one host and three card fake engines: four "^running", four stops (each engine stops 1 ms
//   after accepting), the interrupts the first stop sends, one record for the user.
// - BM_ContinueStopCycle/0 and /1: one "-exec-continue" to the next breakpoint hit of a looping
//   program, stock gdb driven directly (0) against the same gdb driven through wem (1).
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <stdlib.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <fstream>
#include <string>
#include <vector>

#include "base/log.h"
#include "bench_child.h"
#include "commands/exec_cmd.h"
#include "engine/ctrl_module.h"
#include "session/mi_session.h"

namespace {

const std::string kFakeEngine = WEM_BINARY_DIR "/bin/fake_engine";
const std::string kWem = WEM_BINARY_DIR "/bin/wem";

// A gdb-like stop record of realistic size.
std::string stopLine(const std::string& threadId) {
  return "*stopped,reason=\"breakpoint-hit\",disp=\"keep\",bkptno=\"1\",frame={addr="
         "\"0x0000555555555153\",func=\"sum_of_squares\",args=[{name=\"count\",value=\"2\"}],"
         "file=\"sample.c\",fullname=\"/work/examples/sample.c\",line=\"7\",arch=\"i386:x86-64\"},"
         "thread-id=\"" +
         threadId + "\",stopped-threads=\"all\",core=\"1\"\n";
}

void drainUser(CtrlModule& ctrl) {
  std::string piece;
  while (ctrl.tryTakeUserOutput(piece)) {
  }
}

void BM_CombinedStopRecord(benchmark::State& state) {
  QuietStream log;
  Options options;
  CtrlModule ctrl(log);  // never started: no engines, no user threads
  MiSession session(ctrl, options);
  const std::vector<std::string> zubIds = {"i1", "vek1", "vek2", "vek3"};
  const std::string line = stopLine("1");
  for (auto _ : state) {
    state.PauseTiming();
    ExecCmd cmd("5-exec-continue\n");
    cmd.runningZubIds.insert(zubIds.begin(), zubIds.end());
    for (size_t i = 0; i + 1 < zubIds.size(); ++i) cmd.handleResponse(session, zubIds[i], line);
    state.ResumeTiming();
    cmd.handleResponse(session, zubIds.back(), line);
    state.PauseTiming();
    if (!cmd.isFinished()) state.SkipWithError("the last stop did not finish the command");
    drainUser(ctrl);
    state.ResumeTiming();
  }
}
BENCHMARK(BM_CombinedStopRecord);

std::string writeFile(const std::string& path, const std::string& text) {
  std::ofstream(path) << text;
  return path;
}

void removeDir(const std::string& dir) {
  if (system(("rm -rf " + dir).c_str()) != 0) fprintf(stderr, "cannot remove %s\n", dir.c_str());
}

void BM_ContinueStopCycleFakeEngines(benchmark::State& state) {
  char dirTemplate[] = "/tmp/bench_exec_XXXXXX";
  const std::string dir = mkdtemp(dirTemplate);
  // Every engine stops by itself 1 ms after accepting, so that all have accepted before the first
  // stop. The interrupts that the first stop sends meet engines that stop anyway: like a real
  // engine whose program already stopped, they answer them with a bare prompt.
  const std::string scenario = writeFile(dir + "/engine.scn",
                                         "on -exec-continue $TOKEN^running\n"
                                         "on -exec-continue @sleep 1\n"
                                         "on -exec-continue " +
                                             stopLine("1") + "on SIGINT\n");
  setenv("WEM_FAKE_SCENARIO", scenario.c_str(), 1);
  QuietStream log;
  Options options;
  CtrlModule ctrl(log);
  MiSession session(ctrl, options);
  std::string id;
  const char* hostArgv[] = {"engine", "-i=mi", nullptr};
  bool started = session.spawnZub(hostArgv, "i", id);
  for (int card = 0; card < 3; ++card) {
    const char* cardArgv[] = {"engine", "-i=mi", "-rconnect=tcpip:1.2.3.4:2000", nullptr};
    started = session.spawnZub(cardArgv, "vek", id) && started;
  }
  session.currentZubId = "i1";
  if (!started) state.SkipWithError("cannot start the fake engines");
  for (auto _ : state) {
    if (!started) break;
    ExecCmd cmd("7-exec-continue\n");
    if (!session.runCmd(cmd)) {
      state.SkipWithError("the cycle failed");
      break;
    }
    drainUser(ctrl);
  }
  session.stop();
  removeDir(dir);
}
BENCHMARK(BM_ContinueStopCycleFakeEngines)->Unit(benchmark::kMicrosecond)->UseRealTime();

void BM_ContinueStopCycle(benchmark::State& state) {
  const bool throughWem = state.range(0) == 1;
  state.SetLabel(throughWem ? "through wem" : "gdb directly");
  char dirTemplate[] = "/tmp/bench_exec_XXXXXX";
  const std::string dir = mkdtemp(dirTemplate);
  const std::string program = buildProgram(dir, "loop", kLoopProgram);
  BenchChild child({throughWem ? kWem : "gdb", "--interpreter=mi", program},
                   {throughWem ? "ZUBC_HOST=gdb" : ""});
  const bool ready = !program.empty() && child.pid > 0 && child.write("1-break-insert hit\n") &&
                     child.waitFor("1^done") && child.write("2-exec-run\n") &&
                     child.waitFor("*stopped,reason=\"breakpoint-hit\"");
  if (!ready) state.SkipWithError("cannot start the program under gdb");
  for (auto _ : state) {
    if (!ready) break;
    if (!child.write("3-exec-continue\n") || !child.waitFor("*stopped,reason=\"breakpoint-hit\"")) {
      state.SkipWithError("no stop within ten seconds");
      break;
    }
  }
  removeDir(dir);
}
BENCHMARK(BM_ContinueStopCycle)->Arg(0)->Arg(1)->Unit(benchmark::kMicrosecond)->UseRealTime();

}  // namespace

int main(int argc, char** argv) {
  // The engine executables are read once per process: the fake engine for the in-process cases.
  setenv("ZUBC_HOST", kFakeEngine.c_str(), 1);
  setenv("ZUBC_VEK", kFakeEngine.c_str(), 1);
  signal(SIGPIPE, SIG_IGN);
  benchmark::Initialize(&argc, argv);
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
  return 0;
}
