#include "support/session_rig.h"

#include <signal.h>
#include <stdlib.h>
#include <unistd.h>

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <set>
#include <thread>

#include "base/signals.h"
#include "commands/mi_cmd.h"

namespace {

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

}  // namespace

SessionRig::SessionRig(const std::string& engine) : ctrl(log), session(ctrl, options) {
  // Like the program, the rig ignores SIGPIPE: an engine that ends while text is still queued
  // for it must not end the test.
  signal(SIGPIPE, SIG_IGN);
  setenv("ZUBC_HOST", engine.c_str(), 1);
  setenv("ZUBC_VEK", engine.c_str(), 1);
  setenv("WEM_FAKE_TRANSCRIPT", (dir.path() + "/engine-%r%c-%p.txt").c_str(), 1);
  unsetenv("WEM_FAKE_SCENARIO");
  unsetenv("WEM_FAKE_CARD_SCENARIO");
  sigIntPending = false;
  sigQuitPending = false;
  sigTermPending = false;
}

SessionRig::~SessionRig() { stop(); }

void SessionRig::hostPlays(const std::string& scenario) {
  const std::string name = "host" + std::to_string(++scenarios) + ".scn";
  setenv("WEM_FAKE_SCENARIO", dir.write(name, scenario).c_str(), 1);
}

void SessionRig::cardPlays(const std::string& scenario) {
  const std::string name = "card" + std::to_string(++scenarios) + ".scn";
  setenv("WEM_FAKE_CARD_SCENARIO", dir.write(name, scenario).c_str(), 1);
}

std::string SessionRig::spawnHost() {
  const char* argv[] = {"engine", "--interpreter=mi", nullptr};
  std::string zubId;
  EXPECT_TRUE(session.spawnZub(argv, "i", zubId));
  track(zubId, "host");
  return zubId;
}

std::string SessionRig::spawnCard(const std::string& cardId, const std::string& rconnect) {
  const std::string cardArg = "-wem-cardid=" + cardId;
  const char* argv[] = {"engine", "-wem-launch=1",  cardArg.c_str(), "-i=mi",
                        "-tco",   rconnect.c_str(), nullptr};
  std::string zubId;
  EXPECT_TRUE(session.spawnZub(argv, "vek", zubId));
  track(zubId, "card" + cardId);
  return zubId;
}

std::string SessionRig::startHost(const std::string& scenario) {
  hostPlays(scenario);
  const std::string zubId = spawnHost();
  if (session.currentZubId.empty()) session.currentZubId = zubId;
  userOutput();
  return zubId;
}

std::string SessionRig::startCard(const std::string& scenario) {
  cardPlays(scenario);
  return spawnCard("0", "-rconnect=tcpip:1.2.3.4:2000");
}

std::string SessionRig::spawnShell(const std::string& script, const std::string& prefix) {
  const char* argv[] = {"sh", "-c", script.c_str(), nullptr};
  std::string zubId;
  EXPECT_TRUE(ctrl.spawnZub("sh", argv, prefix, zubId));
  track(zubId, "");
  return zubId;
}

std::string SessionRig::spawnCat(const std::string& prefix) {
  const char* argv[] = {"cat", nullptr};
  std::string zubId;
  EXPECT_TRUE(ctrl.spawnZub("cat", argv, prefix, zubId));
  track(zubId, "");
  return zubId;
}

void SessionRig::track(const std::string& zubId, const std::string& role) {
  if (zubId.empty() || !ctrl.findZub(zubId)) return;
  const pid_t pid = ctrl.findZub(zubId)->pid;
  pids[zubId] = pid;
  if (!role.empty())
    transcripts[zubId] = dir.file("engine-" + role + "-" + std::to_string(pid) + ".txt");
}

bool SessionRig::run(const std::string& line) {
  session.parseCmd(line.ends_with("\n") ? line : line + "\n", session.commandQueue);
  return runQueued();
}

bool SessionRig::runQueued() {
  Watchdog watchdog(std::chrono::seconds(10));
  while (!session.commandQueue.empty()) {
    MiCmdPtr cmd = session.commandQueue.front();
    const bool ok = session.runCmd(*cmd);
    session.commandQueue.pop_front();
    if (!ok) {
      EXPECT_FALSE(watchdog.hasExpired()) << "command did not finish: " << cmd->cmdText;
      return false;
    }
  }
  return true;
}

std::string SessionRig::userOutput() {
  std::string all, piece;
  while (ctrl.userOutput.tryTake(piece)) all += piece;
  return all;
}

std::string SessionRig::received(const std::string& zubId) const {
  auto it = transcripts.find(zubId);
  return it == transcripts.end() ? std::string() : e2e::readFile(it->second);
}

std::string SessionRig::nextLine(const std::string& zubId) {
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(2);
  std::string line;
  while (!ctrl.tryReceiveFromZub(zubId, line)) {
    if (std::chrono::steady_clock::now() > deadline) return "";
    usleep(1000);
  }
  return line;
}

bool SessionRig::staysQuiet(const std::string& zubId) {
  usleep(100000);
  std::string line;
  return !ctrl.tryReceiveFromZub(zubId, line);
}

std::string SessionRig::group(const std::string& id) const {
  std::string text;
  const auto found = session.threadGroups.find(id);
  if (found != session.threadGroups.end()) found->second.printToString(text);
  return text;
}

std::vector<std::string> SessionRig::logLines() const {
  std::vector<std::string> lines;
  std::istringstream in(log.str());
  for (std::string line; std::getline(in, line);) {
    const size_t digits = line.find_first_not_of("0123456789");
    if (digits > 0 && digits != std::string::npos && line.compare(digits, 2, ": ") == 0)
      line.erase(0, digits + 2);
    lines.push_back(line);
  }
  return lines;
}

std::string SessionRig::logText() const {
  std::string text;
  for (const std::string& line : logLines()) text += line + "\n";
  return text;
}

bool SessionRig::logHas(const std::string& line) const {
  for (const std::string& logged : logLines())
    if (logged == line) return true;
  return false;
}

void SessionRig::killEngines() {
  std::set<std::string> ids;
  ctrl.getZubIds(ids);
  for (const std::string& id : ids) {
    ctrl.sendSignalToZub(id, SIGKILL);
    ctrl.removeZub(id);
  }
}

void SessionRig::stop() {
  if (stopped) return;
  stopped = true;
  session.stop();
  for (const auto& [zubId, pid] : pids) {
    EXPECT_TRUE(e2e::waitGone(pid)) << zubId << " (pid " << pid << ") is still there";
    e2e::killIfAlive(pid);
  }
}
