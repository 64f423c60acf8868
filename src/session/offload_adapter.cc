// The session as the offload layer sees it: card discovery over the shell, and following an
// offload over the session's engines and tables.
#include <stdio.h>
#include <sys/types.h>

#include <chrono>
#include <cstdlib>
#include <memory>

#include "base/engine_id.h"
#include "base/env_var.h"
#include "base/log.h"
#include "base/signals.h"
#include "base/silencer.h"
#include "engine/ctrl_module.h"
#include "offload/card_discovery.h"
#include "offload/offload_follower.h"
#include "session/mi_session.h"

namespace {

struct PipeCloser {
  void operator()(FILE* pipe) const { pclose(pipe); }
};

// The buffer getline grows to the longest line read; freed however the reading ends.
struct LineBuffer {
  LineBuffer() = default;
  LineBuffer(const LineBuffer&) = delete;
  LineBuffer& operator=(const LineBuffer&) = delete;
  ~LineBuffer() { free(data); }

  char* data = nullptr;
  size_t capacity = 0;
};

// The session for one offload event. What it runs is given up once the user wants control back
// (an interrupt, a terminate request or an exit waiting) or the attach outlasts its bound
// (WEM_VEK_ATTACH_TIMEOUT seconds, 30 by default): a card engine that is slow to start or
// attach never keeps the user waiting.
class SessionPort final : public OffloadPort {
 public:
  explicit SessionPort(MiSession& session)
      : session(session), deadline(std::chrono::steady_clock::now() + attachTimeout()) {}

  std::ostream& log() override { return session.ctrl.log; }
  void console(const std::string& text) override { session.miConsole(text); }
  bool runMuted(MiCmd& cmd) override {
    if (givingUp()) return false;
    bool ran;
    {
      Silencer quiet(session.ctrl.muted);
      ran = session.runCmd(cmd, [this] { return givingUp(); });
    }
    if (!gaveUp) return ran;
    if (!toldUser) {
      toldUser = true;
      session.miConsole(userWaits() ? "Following the offload was interrupted.\n"
                                    : "Following the offload took too long.\n");
    }
    return false;
  }
  bool removeEngine(const std::string& group) override {
    session.ctrl.sendToZub(group, "-gdb-exit\n");
    return session.removeZub(group);
  }
  bool startCardEngine(const char** argv, std::string& group) override {
    return session.spawnZub(argv, kCardEnginePrefix, group);
  }
  const BreakPointTable& breakpoints() const override { return session.breakPointTable; }
  const std::map<std::string, std::string>& cardAddresses() const override {
    return session.cardIpTable;
  }

 private:
  static std::chrono::seconds attachTimeout() {
    static const EnvVar timeout("WEM_VEK_ATTACH_TIMEOUT", "30");
    return std::chrono::seconds(std::strtoul(timeout.value().c_str(), nullptr, 10));
  }
  bool userWaits() const { return sigIntPending || sigTermPending || session.exitQueued(); }
  bool givingUp() {
    if (!gaveUp && (userWaits() || std::chrono::steady_clock::now() >= deadline)) {
      LOG_AT(session.ctrl) << "Giving up following the offload.";
      gaveUp = true;
    }
    return gaveUp;
  }

  MiSession& session;
  const std::chrono::steady_clock::time_point deadline;
  bool gaveUp = false;
  bool toldUser = false;
};

}  // namespace

bool MiSession::system(const std::string& command, std::stringstream& output) {
  LOG_AT(ctrl) << "Executing command: " << command;
  ctrl.flushUserOutput();  // what the user was told so far goes out before the shell's wait
  std::unique_ptr<FILE, PipeCloser> pipe(popen(command.c_str(), "r"));
  if (!pipe) {
    LOG_AT(ctrl) << "Command failed.";
    return false;
  }
  // Lines keep their "\n" and may hold any byte, so each is as long as getline says. The exit
  // status of the command is of no interest: what it printed is the answer.
  LineBuffer buffer;
  for (ssize_t length; (length = getline(&buffer.data, &buffer.capacity, pipe.get())) >= 0;) {
    const std::string line(buffer.data, static_cast<size_t>(length));
    output << line;
    LOG_AT(ctrl) << "Command output: " << line;
  }
  return true;
}

void MiSession::initVekCardIpTable() {
  discoverCards(
      ctrl.log,
      [this](const std::string& command, std::stringstream& output) {
        return system(command, output);
      },
      cardIpTable, ipCardTable);
}

bool MiSession::followOffloadStart(const std::string& hostGroup) {
  SessionPort port(*this);
  return OffloadFollower(port).followOffloadStart(hostGroup);
}

void MiSession::copyBreakpoints() {
  SessionPort port(*this);
  OffloadFollower(port).copyBreakpoints();
}

bool MiSession::followOffloadEnd(const std::string& group) {
  SessionPort port(*this);
  return OffloadFollower(port).followOffloadEnd(group);
}
