// The cost of one "-data-list-register-values --thread 1 x" round trip (every register of the
// stopped thread) against stock gdb stopped at a breakpoint of a small program:
// - BM_RegisterValues/0: gdb driven directly;
// - /1: the same gdb driven through the program (no card known: line and answer pass through);
// - /2: through a session run in this process, no card known;
// - /3: the same session with a card known: the answer is rebuilt in the card architecture's
//   numbering (the host's register names were fetched once, before timing).
// In-process runs leave out the program's user threads; /1 against /2 shows what they cost.
// BM_RegisterValuesReply isolates the program's own work on gdb's answer, with and without card.
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <stdlib.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <fstream>
#include <string>
#include <vector>

#include "base/log.h"
#include "bench_child.h"
#include "commands/break_cmds.h"
#include "commands/data_cmds.h"
#include "commands/exec_cmd.h"
#include "engine/ctrl_module.h"
#include "session/mi_session.h"

namespace {

const std::string kWem = WEM_BINARY_DIR "/bin/wem";
const std::string kRequest = "3-data-list-register-values --thread 1 x\n";
// A program whose breakpoint is hit once; it then waits there for as long as anyone asks.
const char kRegsProgram[] = "void hit(void) {}\nint main(void) { hit(); return 0; }\n";

// gdb, or the program on gdb. Reads `prefix`'s line (kept in `matched`) and then, with
// `prompt`, the prompt after it ("(gdb) " from gdb itself).
bool answer(BenchChild& debugger, const std::string& prefix, bool prompt = true,
            std::string* matched = nullptr) {
  return debugger.waitFor(prefix, matched) && (!prompt || debugger.waitFor("(gdb)"));
}

// Stopped at the breakpoint. The program writes no prompt after a "*stopped" record.
bool stopAtHit(BenchChild& debugger) {
  return debugger.write("1-break-insert hit\n") && answer(debugger, "1^done") &&
         debugger.write("2-exec-run\n") && answer(debugger, "2^running") &&
         answer(debugger, "*stopped", false);
}

void overPipes(benchmark::State& state, bool throughWem, const std::string& program) {
  BenchChild debugger({throughWem ? kWem : "gdb", "--interpreter=mi", program},
                      {throughWem ? "ZUBC_HOST=gdb" : ""});
  if (debugger.pid <= 0 || !stopAtHit(debugger)) {
    state.SkipWithError("cannot stop the program under gdb");
    return;
  }
  for (auto _ : state) {
    if (!debugger.write(kRequest) || !answer(debugger, "3^done")) {
      state.SkipWithError("no register values within ten seconds");
      return;
    }
  }
}

bool drainUser(CtrlModule& ctrl, const std::string& prefix) {
  ctrl.flushUserOutput();  // what the commands sent is gathered until then
  bool found = false;
  for (std::string piece; ctrl.tryTakeUserOutput(piece);)
    found = found || piece.starts_with(prefix);
  return found;
}

void inProcess(benchmark::State& state, bool cardKnown, const std::string& program) {
  QuietStream log;
  Options options;
  CtrlModule ctrl(log);  // never started: the user's output is read from its queue
  MiSession session(ctrl, options);
  const char* argv[] = {"engine", "--interpreter=mi", program.c_str(), nullptr};
  std::string zubId;
  bool ready = session.spawnZub(argv, "i", zubId);
  session.currentZubId = zubId;
  BreakInsertCmd breakpoint("1-break-insert hit\n", false);
  ExecCmd run("2-exec-run\n");
  ready =
      ready && session.runCmd(breakpoint) && session.runCmd(run) && drainUser(ctrl, "2*stopped");
  if (cardKnown) {
    session.cardIpTable["0"] = "192.0.2.1";
    DataListRegisterValuesCmd first(kRequest);
    ready = ready && session.runCmd(first) && drainUser(ctrl, "3^done");
  }
  if (!ready) state.SkipWithError("cannot stop the program under gdb");
  for (auto _ : state) {
    if (!ready) break;
    DataListRegisterValuesCmd values(kRequest);
    if (!session.runCmd(values) || !drainUser(ctrl, "3^done")) {
      state.SkipWithError("no register values");
      break;
    }
  }
  session.stop();
}

void BM_RegisterValues(benchmark::State& state) {
  static const char* labels[] = {"gdb directly", "through wem", "in process, no card",
                                 "in process, card known"};
  state.SetLabel(labels[state.range(0)]);
  char dirTemplate[] = "/tmp/bench_data_XXXXXX";
  const std::string dir = mkdtemp(dirTemplate);
  const std::string program = buildProgram(dir, "regs", kRegsProgram);
  if (program.empty())
    state.SkipWithError("cannot build the program");
  else if (state.range(0) < 2)
    overPipes(state, state.range(0) == 1, program);
  else
    inProcess(state, state.range(0) == 3, program);
  if (system(("rm -rf " + dir).c_str()) != 0) state.SkipWithError("cannot remove the directory");
}
BENCHMARK(BM_RegisterValues)->DenseRange(0, 3)->Unit(benchmark::kMicrosecond)->UseRealTime();

// The program's own share of a register-values round trip on a card-less (0) and a card (1)
// session: gdb's recorded answer to "x" (every register) handed to the command, up to the reply
// queued for the user. With a card the answer is rebuilt in the card's 98-register numbering.
void BM_RegisterValuesReply(benchmark::State& state) {
  const bool cardKnown = state.range(0) == 1;
  state.SetLabel(cardKnown ? "card known" : "no card");
  char dirTemplate[] = "/tmp/bench_data_XXXXXX";
  const std::string dir = mkdtemp(dirTemplate);
  const std::string program = buildProgram(dir, "regs", kRegsProgram);
  std::string names, values;
  {
    BenchChild gdb({"gdb", "--interpreter=mi", program}, {});
    if (program.empty() || !stopAtHit(gdb) || !gdb.write("5-data-list-register-names\n") ||
        !answer(gdb, "5^done", true, &names) || !gdb.write(kRequest) ||
        !answer(gdb, "3^done", true, &values))
      state.SkipWithError("no answers recorded from gdb");
  }
  if (system(("rm -rf " + dir).c_str()) != 0) state.SkipWithError("cannot remove the directory");
  QuietStream log;
  Options options;
  CtrlModule ctrl(log);  // never started, no engine: answers are handed to the commands
  MiSession session(ctrl, options);
  std::string userThreadId;
  session.threadIdTable.toExtThreadId("i1", "1", userThreadId);
  if (cardKnown) {
    session.cardIpTable["0"] = "192.0.2.1";
    DataListRegisterNamesCmd fetch("5-data-list-register-names\n");
    fetch.pendingZubIds.insert("i1");
    fetch.handleResponse(session, "i1", names);
  }
  drainUser(ctrl, "");
  for (auto _ : state) {
    if (values.empty()) break;
    DataListRegisterValuesCmd cmd(kRequest);
    cmd.pendingZubIds.insert("i1");
    cmd.handleResponse(session, "i1", values);
    if (!drainUser(ctrl, "3^done")) {
      state.SkipWithError("no reply");
      break;
    }
  }
}
BENCHMARK(BM_RegisterValuesReply)->DenseRange(0, 1)->Unit(benchmark::kMicrosecond);

}  // namespace

int main(int argc, char** argv) {
  // The in-process session reads its engine once per process.
  setenv("ZUBC_HOST", "gdb", 1);
  signal(SIGPIPE, SIG_IGN);
  benchmark::Initialize(&argc, argv);
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
  return 0;
}
