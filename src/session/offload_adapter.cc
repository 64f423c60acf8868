// The session as the offload layer sees it: card discovery over the shell, and following an
// offload over the session's engines and tables.
#include <stdio.h>
#include <sys/types.h>

#include <cstdlib>
#include <memory>

#include "base/engine_id.h"
#include "base/log.h"
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

class SessionPort final : public OffloadPort {
 public:
  explicit SessionPort(MiSession& session) : session(session) {}

  std::ostream& log() override { return session.ctrl.log; }
  void console(const std::string& text) override { session.miConsole(text); }
  bool runMuted(MiCmd& cmd) override {
    Silencer quiet(session.ctrl.muted);
    return session.runCmd(cmd);
  }
  bool startCardEngine(const char** argv, std::string& group) override {
    return session.spawnZub(argv, kCardEnginePrefix, group);
  }
  const BreakPointTable& breakpoints() const override { return session.breakPointTable; }
  const std::map<std::string, std::string>& cardAddresses() const override {
    return session.cardIpTable;
  }

 private:
  MiSession& session;
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
