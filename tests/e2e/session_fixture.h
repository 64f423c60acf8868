#pragma once
#include <signal.h>

#include <algorithm>
#include <chrono>
#include <string>
#include <thread>
#include <vector>

#include "support/e2e.h"

// One run of the program against fake engines, in a temporary directory that holds the
// scenarios, the engines' transcripts and the diagnostic log. Engines lead sessions of their own,
// so killing the program's process group does not reach them: the destructor kills every engine
// the run left behind, by pid.
class WemRun {
 public:
  WemRun() = default;
  ~WemRun() {
    for (const e2e::EngineTranscript& engine : engines()) e2e::killIfAlive(engine.pid);
  }
  WemRun(const WemRun&) = delete;
  WemRun& operator=(const WemRun&) = delete;

  // Starts the program with `args` after its path; host engines play `hostScenario` (empty: the
  // fake's default of answering "^done" to everything), card engines `cardScenario`.
  bool start(const std::string& hostScenario, std::vector<std::string> args = {"--interpreter=mi"},
             const e2e::EnvChanges& extra = {}, const std::string& cardScenario = "") {
    e2e::EnvChanges env = e2e::fakeEngineEnv(
        dir.path(), hostScenario.empty() ? "" : dir.write("host.scenario", hostScenario),
        cardScenario.empty() ? "" : dir.write("card.scenario", cardScenario));
    env["WEM_LOG"] = logPath();
    for (const auto& [name, value] : extra) env[name] = value;
    args.insert(args.begin(), WEM_BINARY);
    return wem.start(args, env);
  }
  // Starts as above and reads the host group's announcement and the first prompt.
  testing::AssertionResult startAndGreet(const std::string& hostScenario) {
    if (!start(hostScenario)) return testing::AssertionFailure() << "cannot start " << WEM_BINARY;
    return wem.expect("=thread-group-added,id=\"i1\"\n(gdb)\n");
  }

  std::string logPath() const { return dir.file("wem.log"); }
  std::vector<std::string> log() const { return e2e::readLogLines(logPath()); }
  size_t countLogged(const std::string& line) const {
    const std::vector<std::string> lines = log();
    return std::count(lines.begin(), lines.end(), line);
  }
  bool logged(const std::string& line) const { return countLogged(line) > 0; }
  // Waits until the log holds `line` at least `times` times.
  bool waitLogged(const std::string& line, size_t times = 1,
                  e2e::Ms timeout = e2e::kDefaultTimeout) const {
    const auto deadline = std::chrono::steady_clock::now() + timeout;
    while (countLogged(line) < times) {
      if (std::chrono::steady_clock::now() > deadline) return false;
      std::this_thread::sleep_for(e2e::Ms(5));
    }
    return true;
  }

  std::vector<e2e::EngineTranscript> engines() const {
    return e2e::findEngineTranscripts(dir.path());
  }
  // Everything the one host engine received (and the signals it saw), or "" with no engine.
  std::string hostInput() const {
    for (const e2e::EngineTranscript& engine : engines())
      if (engine.role == "host") return e2e::readFile(engine.path);
    return "";
  }
  // Waits until every engine this run started has ended.
  testing::AssertionResult enginesGone(e2e::Ms timeout = e2e::kDefaultTimeout) const {
    for (const e2e::EngineTranscript& engine : engines())
      if (!e2e::waitGone(engine.pid, timeout))
        return testing::AssertionFailure() << "engine " << engine.pid << " is still running";
    return testing::AssertionSuccess();
  }
  // The output ends, the program exits 0 and left no engine behind.
  testing::AssertionResult endsCleanly(e2e::Ms timeout = e2e::kDefaultTimeout) {
    std::string rest;
    if (!wem.readToEof(rest, timeout))
      return testing::AssertionFailure() << "output does not end; unread: " << wem.unread();
    if (!rest.empty())
      return testing::AssertionFailure() << "unexpected output at the end: " << rest;
    const int code = wem.exitCode(timeout);
    if (code != 0) return testing::AssertionFailure() << "exit code " << code;
    return enginesGone(timeout);
  }
  // "-gdb-exit" with one host engine: the group is removed, "^exit", and a clean end.
  testing::AssertionResult exitSession(const std::string& token = "") {
    wem.writeLine(token + "-gdb-exit");
    const testing::AssertionResult said =
        wem.expect("=thread-group-removed,id=\"i1\"\n" + token + "^exit\n");
    return said ? endsCleanly() : said;
  }

  e2e::TempDir dir;
  e2e::ChildProcess wem;
};
