#pragma once
// What tests of the program share: a temporary directory, files, logs, the fake engines' set-up
// and pids (every wait has a deadline); and a session run in the test process.

#include <gtest/gtest.h>
#include <signal.h>
#include <stdlib.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include "base/signals.h"
#include "commands/mi_cmd.h"
#include "engine/ctrl_module.h"
#include "session/mi_session.h"

namespace e2e {

using Ms = std::chrono::milliseconds;
constexpr Ms kTimeout{10000};

inline std::string readFile(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  std::ostringstream text;
  text << in.rdbuf();
  return text.str();
}

// A directory under $TMPDIR (or /tmp), removed with everything in it on destruction.
struct TempDir {
  TempDir() {
    const char* base = std::getenv("TMPDIR");
    std::string pattern = std::string(base && *base ? base : "/tmp") + "/wem-test-XXXXXX";
    if (mkdtemp(pattern.data())) path = pattern;
  }
  ~TempDir() {
    std::error_code ignored;
    if (!path.empty()) std::filesystem::remove_all(path, ignored);
  }
  TempDir(const TempDir&) = delete;
  TempDir& operator=(const TempDir&) = delete;
  std::string file(const std::string& name) const { return path + "/" + name; }
  // Writes `content` to the named file and returns its path.
  std::string write(const std::string& name, const std::string& content) const {
    std::ofstream(file(name), std::ios::binary) << content;
    return file(name);
  }
  std::string path;
};

// The log's lines, each stripped of its leading record number ("123: ").
inline std::vector<std::string> readLogLines(const std::string& path) {
  std::vector<std::string> lines;
  std::istringstream in(readFile(path));
  for (std::string line; std::getline(in, line);) {
    const size_t digits = line.find_first_not_of("0123456789");
    if (digits > 0 && digits != std::string::npos && line.compare(digits, 2, ": ") == 0)
      line.erase(0, digits + 2);
    lines.push_back(line);
  }
  return lines;
}

// Waits until `pid` is gone or a zombie; false at the deadline.
inline bool waitGone(pid_t pid) {
  const auto deadline = std::chrono::steady_clock::now() + kTimeout;
  for (;; usleep(5000)) {
    const std::string state = readFile("/proc/" + std::to_string(pid) + "/stat");
    const size_t close = state.rfind(')');
    if (state.empty() || (close != std::string::npos && state.compare(close, 4, ") Z ") == 0))
      return true;
    if (std::chrono::steady_clock::now() > deadline) return false;
  }
}

// The environment that makes engines of both kinds fake engines that keep their scenarios, pid
// files and received lines in `dir` (see fake_engine.cc).
inline std::map<std::string, std::string> fakeEngineEnv(const std::string& dir) {
  return {{"ZUBC_HOST", WEM_FAKE_ENGINE}, {"ZUBC_VEK", WEM_FAKE_ENGINE}, {"WEM_FAKE_DIR", dir}};
}

// Pids of the fake engines started with that environment, by name ("i1", "vek1", ...).
inline std::map<std::string, pid_t> fakeEngines(const std::string& dir) {
  std::map<std::string, pid_t> pids;
  for (const auto& entry : std::filesystem::directory_iterator(dir)) {
    const std::string name = entry.path().filename();
    if (name.ends_with(".pid"))
      pids[name.substr(0, name.size() - 4)] = std::atoi(readFile(entry.path()).c_str());
  }
  return pids;
}

}  // namespace e2e

// A session in the test process: its user channel never starts (the user's output is read from
// its queue), it logs into a string (also written to `dir`/rig.log when read), and its engines
// are fake engines keeping their files in `dir`, which the caller owns.
class SessionRig {
 public:
  explicit SessionRig(const std::string& dir) : dir(dir), ctrl(log), session(ctrl, options) {
    // Like the program, the rig handles the user's signals and ignores SIGPIPE: an engine that
    // ends while text is still queued for it must not end the test.
    installSignalHandlers();
    signal(SIGPIPE, SIG_IGN);
    for (const auto& [name, value] : e2e::fakeEngineEnv(dir))
      setenv(name.c_str(), value.c_str(), 1);
    sigIntPending = 0;
    sigQuitPending = 0;
    sigTermPending = 0;
  }
  ~SessionRig() {
    stop();
    restoreDefaultSignalActions();
  }
  SessionRig(const SessionRig&) = delete;
  SessionRig& operator=(const SessionRig&) = delete;

  // Starts an engine through the session as the program does: a host engine ("i1", ...), or a
  // card engine for card `cardId` connected to `address` ("vek1", ...). False if it fails.
  bool spawnHost(std::string& zubId) {
    const char* argv[] = {"engine", "--interpreter=mi", nullptr};
    return session.spawnZub(argv, "i", zubId) && named(zubId);
  }
  bool spawnCard(const std::string& cardId, const std::string& address, std::string& zubId) {
    const std::string card = "-wem-cardid=" + cardId,
                      connect = "-rconnect=tcpip:" + address + ":2000";
    const char* argv[] = {"engine", "-wem-launch=1", card.c_str(), "-i=mi",
                          "-tco",   connect.c_str(), nullptr};
    return session.spawnZub(argv, "vek", zubId) && named(zubId);
  }
  // Runs the commands of one user line to completion, as the session loop does; false once a run
  // says the session must end. A command still running ten seconds on gives up as on the user's
  // SIGQUIT, so one that waits forever fails the test instead of hanging it.
  bool run(const std::string& line) {
    session.parseCmd(line + "\n", session.commandQueue);
    signal(SIGALRM, sigQuitHandler);
    alarm(10);
    bool ok = true;
    while (ok && !session.commandQueue.empty()) {
      MiCmdPtr cmd = session.commandQueue.front();
      ok = session.runCmd(*cmd);
      session.commandQueue.pop_front();
    }
    alarm(0);
    EXPECT_FALSE(sigQuitPending) << "a command did not finish within its deadline";
    sigQuitPending = 0;
    return ok;
  }
  // Everything queued for the user since the last call.
  std::string userOutput() {
    std::string all, piece;
    ctrl.flushUserOutput();
    while (ctrl.tryTakeUserOutput(piece)) all += piece;
    return all;
  }
  std::vector<std::string> logLines() const {
    std::ofstream(dir + "/rig.log") << log.str();
    return e2e::readLogLines(dir + "/rig.log");
  }
  // Ends the session as the entry point does, then kills any engine that is left.
  void stop() {
    if (stopped) return;
    stopped = true;
    session.stop();
    for (const auto& [name, pid] : e2e::fakeEngines(dir)) {
      const bool gone = pid <= 0 || e2e::waitGone(pid);
      EXPECT_TRUE(gone) << name << " (pid " << pid << ") is left";
      if (!gone) kill(pid, SIGKILL);
    }
  }

  const std::string dir;
  std::ostringstream log;
  Options options;
  CtrlModule ctrl;
  MiSession session;

 private:
  // A fake engine names itself when it starts running; waiting for that before the next engine
  // starts keeps the fake's names ("i2", "vek1") the same as the session's.
  bool named(const std::string& zubId) {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(5);
    const pid_t pid = ctrl.findZub(zubId) ? ctrl.findZub(zubId)->pid : -1;
    for (; std::chrono::steady_clock::now() < deadline; usleep(1000))
      for (const auto& [name, claimed] : e2e::fakeEngines(dir))
        if (claimed == pid) return true;
    return false;
  }
  bool stopped = false;
};
