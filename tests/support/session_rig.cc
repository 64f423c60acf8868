#include "support/session_rig.h"

#include <gtest/gtest.h>
#include <signal.h>
#include <stdlib.h>
#include <unistd.h>

#include <chrono>
#include <fstream>

#include "base/signals.h"
#include "commands/mi_cmd.h"

SessionRig::SessionRig(const std::string& dir) : dir(dir), ctrl(log), session(ctrl, options) {
  // Like the program, the rig handles the user's signals and ignores SIGPIPE: an engine that ends
  // while text is still queued for it must not end the test.
  installSignalHandlers();
  signal(SIGPIPE, SIG_IGN);
  for (const auto& [name, value] : e2e::fakeEngineEnv(dir)) setenv(name.c_str(), value.c_str(), 1);
  sigIntPending = false;
  sigQuitPending = false;
  sigTermPending = false;
}

SessionRig::~SessionRig() {
  stop();
  restoreDefaultSignalActions();
}

// A fake engine names itself when it starts running; waiting for that before the next engine
// starts keeps the fake's names ("i2", "vek1") the same as the session's.
bool SessionRig::named(const std::string& zubId) {
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(5);
  const pid_t pid = ctrl.findZub(zubId) ? ctrl.findZub(zubId)->pid : -1;
  for (; std::chrono::steady_clock::now() < deadline; usleep(1000))
    for (const auto& [name, claimed] : e2e::fakeEngines(dir))
      if (claimed == pid) return true;
  return false;
}

bool SessionRig::spawnHost(std::string& zubId) {
  const char* argv[] = {"engine", "--interpreter=mi", nullptr};
  return session.spawnZub(argv, "i", zubId) && named(zubId);
}

bool SessionRig::spawnCard(const std::string& cardId, const std::string& address,
                           std::string& zubId) {
  const std::string card = "-wem-cardid=" + cardId,
                    connect = "-rconnect=tcpip:" + address + ":2000";
  const char* argv[] = {"engine", "-wem-launch=1", card.c_str(), "-i=mi",
                        "-tco",   connect.c_str(), nullptr};
  return session.spawnZub(argv, "vek", zubId) && named(zubId);
}

bool SessionRig::run(const std::string& line) {
  session.parseCmd(line + "\n", session.commandQueue);
  // A command still running at the alarm gives up as it would on the user's SIGQUIT, so one that
  // waits forever fails the test instead of hanging it.
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
  sigQuitPending = false;
  return ok;
}

std::string SessionRig::userOutput() {
  std::string all, piece;
  ctrl.flushUserOutput();
  while (ctrl.userOutput.tryTake(piece)) all += piece;
  return all;
}

std::vector<std::string> SessionRig::logLines() const {
  std::ofstream(dir + "/rig.log") << log.str();
  return e2e::readLogLines(dir + "/rig.log");
}

void SessionRig::stop() {
  if (stopped) return;
  stopped = true;
  session.stop();
  for (const auto& [name, pid] : e2e::fakeEngines(dir)) {
    const bool gone = pid <= 0 || e2e::waitGone(pid);
    EXPECT_TRUE(gone) << name << " (pid " << pid << ") is left";
    if (!gone) kill(pid, SIGKILL);
  }
}
