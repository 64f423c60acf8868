#pragma once
// An in-process session for command tests: a controller whose user channel is never started
// (the test's own stdin and stdout stay untouched), a session, and fake engines started through
// the session itself. Commands are run exactly as the loop runs them; what the user would see is
// read from the controller's user output queue, and what each engine received from the fake
// engine's transcript.

#include <gtest/gtest.h>
#include <signal.h>
#include <stdlib.h>
#include <sys/types.h>

#include <chrono>
#include <condition_variable>
#include <map>
#include <mutex>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "base/signals.h"
#include "engine/ctrl_module.h"
#include "session/mi_session.h"
#include "support/e2e.h"

namespace exec_rig {

// The engine executables are read once per process, so they are chosen before any test runs.
// Like the program, the tests ignore SIGPIPE: an engine that ends while text is still queued
// for it must not end the test.
inline const bool kFakeEnginesChosen = [] {
  setenv("ZUBC_HOST", WEM_FAKE_ENGINE, 1);
  setenv("ZUBC_VEK", WEM_FAKE_ENGINE, 1);
  signal(SIGPIPE, SIG_IGN);
  return true;
}();

// Sets sigQuitPending when a run takes longer than its deadline, which makes runCmd give up, so
// a command that waits forever fails the test instead of hanging it.
class Watchdog {
 public:
  explicit Watchdog(std::chrono::milliseconds deadline)
      : thread([this, deadline] {
          std::unique_lock lock(mutex);
          if (!done.wait_for(lock, deadline, [this] { return finished; })) {
            expired = true;
            sigQuitPending = true;
          }
        }) {}
  ~Watchdog() {
    {
      std::lock_guard lock(mutex);
      finished = true;
    }
    done.notify_all();
    thread.join();
    if (expired) sigQuitPending = false;
  }
  bool hasExpired() {
    std::lock_guard lock(mutex);
    return expired;
  }

 private:
  std::mutex mutex;
  std::condition_variable done;
  bool finished = false;
  bool expired = false;
  std::thread thread;
};

class Rig {
 public:
  Rig() : ctrl(log), session(ctrl, options) {
    setenv("WEM_FAKE_TRANSCRIPT", (dir.path() + "/engine-%r%c-%p.txt").c_str(), 1);
  }
  ~Rig() { stop(); }
  Rig(const Rig&) = delete;
  Rig& operator=(const Rig&) = delete;

  // Starts a host engine ("i1", "i2", ...) playing `scenario`; the first becomes current.
  std::string startHost(const std::string& scenario) {
    setenv("WEM_FAKE_SCENARIO", dir.write("host.scn", scenario).c_str(), 1);
    const char* argv[] = {"engine", "--interpreter=mi", nullptr};
    std::string zubId = start(argv, "i");
    if (session.currentZubId.empty()) session.currentZubId = zubId;
    return zubId;
  }

  // Starts a card engine ("vek1", ...) as the attach does, with an address no card has.
  std::string startCard(const std::string& scenario) {
    setenv("WEM_FAKE_CARD_SCENARIO", dir.write("card.scn", scenario).c_str(), 1);
    const char* argv[] = {"engine", "-wem-launch=1", "-wem-cardid=0",
                          "-i=mi",  "-tco",          "-rconnect=tcpip:1.2.3.4:2000",
                          nullptr};
    return start(argv, "vek");
  }

  // Queues the commands of one user line and runs each to completion, as the session loop does.
  // False as soon as a run reports that the session must end.
  bool run(const std::string& line) {
    session.parseCmd(line + "\n", session.commandQueue);
    return runQueued();
  }

  bool runQueued() {
    Watchdog watchdog(std::chrono::seconds(10));
    while (!session.commandQueue.empty()) {
      MiCmdPtr cmd = session.commandQueue.front();
      bool ok = session.runCmd(*cmd);
      session.commandQueue.pop_front();
      if (!ok) {
        EXPECT_FALSE(watchdog.hasExpired()) << "command did not finish: " << cmd->cmdText;
        return false;
      }
    }
    return true;
  }

  // Everything sent to the user since the last call, pieces joined.
  std::string userOutput() {
    std::string all, piece;
    while (ctrl.userOutput.tryTake(piece)) all += piece;
    return all;
  }

  // Every line engine `zubId` received so far ("<SIGINT>" for each interrupt).
  std::string received(const std::string& zubId) {
    auto it = transcripts.find(zubId);
    return it == transcripts.end() ? std::string() : e2e::readFile(it->second);
  }

  // The log without the record numbers.
  std::string logText() const {
    std::istringstream lines(log.str());
    std::string text, line;
    while (std::getline(lines, line)) {
      size_t digits = line.find_first_not_of("0123456789");
      if (digits > 0 && digits != std::string::npos && line.compare(digits, 2, ": ") == 0)
        line.erase(0, digits + 2);
      text += line + "\n";
    }
    return text;
  }

  // Ends the session as the entry point does; afterwards no engine process may be left.
  void stop() {
    if (stopped) return;
    stopped = true;
    session.stop();
    for (const auto& [zubId, pid] : pids) {
      EXPECT_TRUE(e2e::waitGone(pid)) << zubId << " (pid " << pid << ") is still there";
      e2e::killIfAlive(pid);
    }
  }

  e2e::TempDir dir;
  std::ostringstream log;
  Options options;
  CtrlModule ctrl;
  MiSession session;
  std::map<std::string, pid_t> pids;

 private:
  std::string start(const char** argv, const std::string& prefix) {
    std::string zubId;
    if (!session.spawnZub(argv, prefix, zubId)) {
      ADD_FAILURE() << "could not start a " << prefix << " engine";
      return zubId;
    }
    pid_t pid = ctrl.findZub(zubId)->pid;
    pids[zubId] = pid;
    std::string role = prefix == "vek" ? "card0" : "host";
    transcripts[zubId] = dir.file("engine-" + role + "-" + std::to_string(pid) + ".txt");
    userOutput();  // the group announcement
    return zubId;
  }

  std::map<std::string, std::string> transcripts;
  bool stopped = false;
};

}  // namespace exec_rig
