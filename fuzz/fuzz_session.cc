// libFuzzer target for a whole session in process, with fake engines and no child per input.
//
// The input is lines. ">TEXT" is a line the user types; "N TEXT" (N a digit from 1 to 9, then a
// blank) is a line of output of the N-th engine the session started ("1" is the host engine "i1");
// any other line is output of the first engine; "N <EOF>" ends the N-th engine's output there. The
// driver hands out one line each time the session is about to sleep, where the session sees it at
// once, so a run is the same every time. When the input is used up every engine's output ends,
// which the session takes as the engines' deaths; a command that still runs after that has hung,
// and the run aborts. WEM_FUZZ_TRACE=1 shows the session's log of each input on standard error.
#include <fcntl.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <boost/make_shared.hpp>
#include <boost/weak_ptr.hpp>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <deque>
#include <fstream>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "base/log.h"
#include "base/signals.h"
#include "base/wakeup.h"
#include "commands/mi_cmd.h"
#include "engine/ctrl_module.h"
#include "session/mi_session.h"

namespace {

// The pid every fake engine reports. Signals and waits need a real process: this one is a
// grandchild in a session of its own that ignores every signal it can, and ends when its lifeline
// (a pipe whose write end only this process holds) closes, so it never outlives us. Not being our
// child, waitpid on it fails at once, which the removal of an engine takes as its end.
pid_t startStandIn() {
  int lifeline[2];
  if (pipe(lifeline) != 0) std::abort();
  int report[2];
  if (pipe(report) != 0) std::abort();
  const pid_t child = fork();
  if (child < 0) std::abort();
  if (child == 0) {
    if (fork() != 0) _exit(0);
    setsid();
    for (int sig = 1; sig < NSIG; ++sig) signal(sig, SIG_IGN);
    close(lifeline[1]);
    close(report[0]);
    const pid_t self = getpid();
    [[maybe_unused]] ssize_t n = write(report[1], &self, sizeof self);
    close(report[1]);
    char byte;
    while (read(lifeline[0], &byte, 1) != 0) {
    }
    _exit(0);
  }
  close(lifeline[0]);
  close(report[1]);
  fcntl(lifeline[1], F_SETFD, FD_CLOEXEC);
  pid_t standIn = -1;
  if (read(report[0], &standIn, sizeof standIn) != sizeof standIn) std::abort();
  close(report[0]);
  waitpid(child, nullptr, 0);
  return standIn;
}

pid_t standInPid = -1;
// The session's log, when WEM_FUZZ_TRACE is set: how one input runs, on standard error.
std::ostream* traceLog = nullptr;

// Waits (bounded: a loaded machine is slow, not stuck) until `done` holds.
template <typename Done>
void waitUntil(Done done) {
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(10);
  while (!done() && std::chrono::steady_clock::now() < deadline) std::this_thread::yield();
}

class SessionDriver {
 public:
  SessionDriver(const uint8_t* data, size_t size)
      : log(traceLog != nullptr ? *traceLog : quietLog),
        ctrl(log, userIn.file, userOut.file),
        session(ctrl, options) {
    std::string text(reinterpret_cast<const char*>(data), size);
    for (size_t start = 0; start < text.size();) {
      size_t end = text.find('\n', start);
      if (end == std::string::npos) end = text.size();
      lines.push_back(text.substr(start, end - start));
      start = end + 1;
    }
    ctrl.zubFactory = [this](const char**) { return makeZub(); };
    ctrl.beforeWait = [this] { supplyEvent(); };
    // The card an offload attach looks up.
    session.cardIpTable["0"] = "127.0.0.1";
    session.ipCardTable["127.0.0.1"] = "0";
    // The user channel runs as in the program, so what is sent to the user drains away.
    ctrl.startUserThreads();
  }

  ~SessionDriver() {
    // Like the program: stop() interrupts what is left and asks it to exit, which the engines
    // answer with the end of their output.
    closeEngines();
    session.stop();
  }

  void run() {
    const char* argv[] = {"", "--interpreter=mi", nullptr};
    std::string id;
    if (!session.spawnZub(argv, "i", id)) std::abort();
    session.currentZubId = id;
    session.serve();
  }

 private:
  struct FakeEngine {
    boost::weak_ptr<ZubModule> zub;
    int fd;  // our end of the engine's output; -1 once closed
  };

  // An engine whose output is a pipe we close to end it, and whose input goes nowhere.
  boost::shared_ptr<ZubModule> makeZub() {
    int output[2];
    if (pipe2(output, O_CLOEXEC) != 0) return {};
    FILE* input = fopen("/dev/null", "we");
    if (input == nullptr) {
      close(output[0]);
      close(output[1]);
      return {};
    }
    auto zub = boost::make_shared<ZubModule>(fdopen(output[0], "r"), input, standInPid);
    engines.push_back({zub, output[1]});
    // An engine started after the input ran out has nothing to say.
    if (inputDone) {
      close(output[1]);
      engines.back().fd = -1;
    }
    return zub;
  }

  // Hands the session its next event: a waiting user line, else the next line of the input,
  // else the end of every engine's output. After that nothing can come: a run that goes on
  // waiting for a command is a hang, and with no command left the session is told to end.
  void supplyEvent() {
    if (giveUserLine()) return;
    while (next < lines.size()) {
      const std::string& line = lines[next++];
      if (!line.empty() && line[0] == '>') {
        userLines.push_back(line.substr(1) + "\n");
        if (giveUserLine()) return;
      } else if (line.size() >= 2 && line[0] >= '1' && line[0] <= '9' && line[1] == ' ') {
        if (giveEngineLine(line[0] - '1', line.substr(2))) return;
      } else if (giveEngineLine(0, line)) {
        return;
      }
    }
    mainWakeup.notify();
    if (!inputDone) {
      inputDone = true;
      closeEngines();
      return;
    }
    std::set<std::string> ids;
    ctrl.getZubIds(ids);
    waitUntil([&] {
      for (const std::string& id : ids)
        if (!ctrl.findZub(id)->ended) return false;
      return true;
    });
    const MiCmd* front =
        session.commandQueue.empty() ? nullptr : session.commandQueue.front().get();
    if (front != lastFront) stalls = 0;
    lastFront = front;
    if (front == nullptr && userLines.empty()) sigTermPending = 1;
    if (++stalls > kMaxStalls) {
      static const char kHang[] = "The session still waits after every engine has ended.\n";
      [[maybe_unused]] const ssize_t n = write(STDERR_FILENO, kHang, sizeof kHang - 1);
      std::abort();
    }
  }

  bool giveUserLine() {
    if (userLines.empty() || !ctrl.feedUserLine(userLines.front())) return false;
    userLines.pop_front();
    mainWakeup.notify();
    return true;
  }

  // False when the engine is gone, its output has ended or its queue is full: the line is lost.
  // The line goes straight into the engine's queue, as its reader thread would put it: a trip
  // through the pipe would cost a thread switch a line and gain nothing here.
  bool giveEngineLine(size_t index, const std::string& text) {
    if (index >= engines.size() || engines[index].fd < 0) return false;
    if (text == "<EOF>") {  // the engine dies here, before the next line comes
      close(engines[index].fd);
      engines[index].fd = -1;
      waitUntil([&] {
        const boost::shared_ptr<ZubModule> zub = engines[index].zub.lock();
        return !zub || zub->ended;
      });
      mainWakeup.notify();
      return true;
    }
    const boost::shared_ptr<ZubModule> zub = engines[index].zub.lock();
    if (!zub || zub->ended || zub->zubOutput.size() >= ZubModule::kQueueCapacity) return false;
    zub->zubOutput.put(text + "\n");
    mainWakeup.notify();
    return true;
  }

  void closeEngines() {
    for (FakeEngine& engine : engines) {
      if (engine.fd < 0) continue;
      close(engine.fd);
      engine.fd = -1;
      if (const boost::shared_ptr<ZubModule> zub = engine.zub.lock())
        waitUntil([&] { return zub->ended.load(); });
    }
  }

  // The user's side of the session: nothing to read, nowhere to write.
  struct NullFile {
    explicit NullFile(const char* mode) : file(std::fopen("/dev/null", mode)) {
      if (file == nullptr) std::abort();
    }
    ~NullFile() { std::fclose(file); }
    FILE* file;
  };

  static constexpr unsigned int kMaxStalls = 1000;
  NullFile userIn{"re"};
  NullFile userOut{"we"};
  QuietStream quietLog;
  std::ostream& log;
  Options options;
  CtrlModule ctrl;
  MiSession session;
  std::vector<std::string> lines;
  size_t next = 0;
  std::deque<std::string> userLines;
  std::vector<FakeEngine> engines;
  bool inputDone = false;
  const MiCmd* lastFront = nullptr;
  unsigned int stalls = 0;
};

}  // namespace

// Engines are only pretended, so their paths are never run. Parser complaints on standard error
// are silenced; libFuzzer and the sanitizers keep writing to the original descriptor.
extern "C" int LLVMFuzzerInitialize(int*, char***) {
  setenv("ZUBC_HOST", "fake-host-engine", 1);
  setenv("ZUBC_VEK", "fake-card-engine", 1);
  signal(SIGPIPE, SIG_IGN);
  standInPid = startStandIn();
  if (std::getenv("WEM_FUZZ_TRACE") != nullptr) traceLog = new std::ofstream("/dev/stderr");
  if (FILE* quiet = std::fopen("/dev/null", "w")) stderr = quiet;
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  sigIntPending = 0;
  sigQuitPending = 0;
  sigTermPending = 0;
  SessionDriver driver(data, size);
  driver.run();
  return 0;
}
