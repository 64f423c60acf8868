#include "engine/ctrl_module.h"

#include <fcntl.h>
#include <sched.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstring>

#include "base/diagnostics.h"
#include "base/log.h"
#include "base/signals.h"
#include "base/unique_fd.h"
#include "base/wakeup.h"

namespace {

// Puts `fd` on `target` in the child. dup2 onto itself keeps close-on-exec, so clear it then.
void moveFd(int fd, int target) {
  if (fd == target)
    fcntl(fd, F_SETFD, 0);
  else
    dup2(fd, target);
}

// Runs in the forked child: only async-signal-safe calls until exec. `parent` is our pid, taken
// before the fork.
[[noreturn]] void execZub(const char* file, const char** argv, UniquePipe& toZub,
                          UniquePipe& fromZub, int started, pid_t parent) {
  toZub.writeEnd.reset();
  moveFd(toZub.readEnd.get(), STDIN_FILENO);
  fromZub.readEnd.reset();
  moveFd(fromZub.writeEnd.get(), STDOUT_FILENO);
  // Every other descriptor of ours is close-on-exec. The engine starts with the default signal
  // state: our ignored SIGPIPE and any blocked signal would otherwise survive the exec.
  sigset_t none;
  sigemptyset(&none);
  sigprocmask(SIG_SETMASK, &none, nullptr);
  signal(SIGPIPE, SIG_DFL);
  setsid();
  // The engine dies with the thread that forked it, which is our main thread, so nothing outlives
  // a killed front end. Our death before this call would go unnoticed: check the parent after it.
  prctl(PR_SET_PDEATHSIG, SIGKILL);
  if (getppid() != parent) _exit(0);
  execvp(file, const_cast<char* const*>(argv));
  const int error = errno;
  [[maybe_unused]] const ssize_t n = write(started, &error, sizeof error);
  _exit(0);  // Not exit(): the parent's stdio buffers and atexit handlers are not ours to run.
}

// True once `pid` is reaped, within the grace period; false when the period ends first or, with
// `userMayCut`, when the user's signal comes meanwhile. The signal is looked for by its count
// after every sleep, not by the sleep's EINTR, which misses one that comes while this thread is
// awake. A wait that fails counts as an end: nothing is left to wait for.
bool awaitExit(CtrlModule& ctrl, pid_t pid, bool userMayCut) {
  constexpr useconds_t kPollPeriodUs = 1000;
  const unsigned signalsBefore = userSignalCount.load();
  const auto deadline = std::chrono::steady_clock::now() + CtrlModule::kExitGrace;
  for (;;) {
    int status = 0;
    const pid_t ended = waitpid(pid, &status, WNOHANG);
    if (ended == pid) return true;
    if (ended < 0) {
      const int error = errno;
      LOG_BLANK_AT(ctrl) << "Call to waitpid failed with errno: " << error;
      return true;
    }
    if (std::chrono::steady_clock::now() >= deadline) return false;
    if (userMayCut && userSignalCount.load() != signalsBefore) return false;
    usleep(kPollPeriodUs);
  }
}

}  // namespace

CtrlModule::CtrlModule(std::ostream& log, FILE* userIn, FILE* userOut)
    : log(log), userIO(userIn, userOut, &userInput, &userOutput) {
  userInput.setWakeup(&mainWakeup);
  // On a single CPU the watch would only keep the threads that bring the event off it.
  cpu_set_t cpus;
  if (sched_getaffinity(0, sizeof cpus, &cpus) == 0 && CPU_COUNT(&cpus) > 1)
    spinBeforeSleep = kSpinBeforeSleep;
}

CtrlModule::~CtrlModule() { userIO.stop(); }

void CtrlModule::start() {
  installSignalHandlers();
  // Writing to an engine that has died must cost that engine's text, not this process.
  signal(SIGPIPE, SIG_IGN);
  userIO.start();
}

void CtrlModule::stop() {
  std::set<std::string> ids;
  getZubIds(ids);
  for (const std::string& id : ids) removeZub(id);
  flushUserOutput();
  // Stopping drops queued text; the last replies must reach the user first.
  if (userIO.isStarted()) userIO.drainOutput(std::chrono::seconds(1));
  userIO.stop();
  restoreDefaultSignalActions();
}

void CtrlModule::getZubIds(std::set<std::string>& ids) const {
  for (const auto& [id, zub] : zubs) {
    if (zub) ids.insert(id);
  }
}

void CtrlModule::getZubIds(const std::string& prefix, std::set<std::string>& ids) const {
  for (const auto& [id, zub] : zubs) {
    if (zub && id.compare(0, prefix.size(), prefix) == 0) ids.insert(id);
  }
}

boost::shared_ptr<ZubModule> CtrlModule::findZub(const std::string& id) const {
  auto it = zubs.find(id);
  return it == zubs.end() ? boost::shared_ptr<ZubModule>() : it->second;
}

bool CtrlModule::spawnZub(const char* file, const char** argv, const std::string& prefix,
                          std::string& id) {
  for (const char** arg = argv; *arg != nullptr; ++arg) log << "  '" << *arg << "'";
  log << std::endl;
  if (zubFactory) {
    const boost::shared_ptr<ZubModule> zub = zubFactory(argv);
    if (!zub) return false;
    registerZub(zub, prefix, id);
    return true;
  }

  // All close-on-exec, so no engine inherits another engine's pipes. `started` closes in the
  // child at exec (or exit), which tells us the child has its own process group by then; a
  // child whose exec failed first writes the errno into it.
  UniquePipe toZub;
  UniquePipe fromZub;
  UniquePipe started;
  if (!toZub.open(O_CLOEXEC) || !fromZub.open(O_CLOEXEC) || !started.open(O_CLOEXEC)) return false;
  const pid_t parent = getpid();
  const pid_t pid = fork();
  if (pid < 0) return false;
  if (pid == 0) execZub(file, argv, toZub, fromZub, started.writeEnd.get(), parent);

  // The child's ends: while we held a write end, neither our read of `started` nor the engine's
  // reader would ever see end of file.
  toZub.readEnd.reset();
  fromZub.writeEnd.reset();
  started.writeEnd.reset();
  // Our end only: a write that does not fit returns what fit, so the writer thread never blocks
  // in write() and always notices a stop within one polling period.
  fcntl(toZub.writeEnd.get(), F_SETFL, fcntl(toZub.writeEnd.get(), F_GETFL) | O_NONBLOCK);
  int execError = 0;
  ssize_t got;
  while ((got = read(started.readEnd.get(), &execError, sizeof execError)) < 0 && errno == EINTR) {
  }
  // Such an engine is still registered: its output just ends, as for one that exits at once.
  if (got == sizeof execError)
    writeDiagnostic(log,
                    std::string("Error: Cannot execute ") + file + ": " + std::strerror(execError));

  FILE* zubStdout = fdopen(fromZub.readEnd.release(), "r");
  FILE* zubStdin = fdopen(toZub.writeEnd.release(), "w");
  registerZub(boost::shared_ptr<ZubModule>(new ZubModule(zubStdout, zubStdin, pid)), prefix, id);
  return true;
}

void CtrlModule::registerZub(const boost::shared_ptr<ZubModule>& zub, const std::string& prefix,
                             std::string& id) {
  zub->zubOutput.setWakeup(&mainWakeup);
  zub->start();
  unsigned int number = 1;
  while (zubs.count(prefix + std::to_string(number)) != 0) ++number;
  id = prefix + std::to_string(number);
  zubs[id] = zub;
}

bool CtrlModule::sendToZub(const std::string& id, const std::string& text) {
  boost::shared_ptr<ZubModule> zub = findZub(id);
  if (!zub) return false;
  flushUserOutput();  // the replies so far go out before a wait for a full engine queue
  std::vector<std::string> batch{text};
  zub->writeNow(batch);
  zub->zubInput.putAll(batch);
  LOG_AT(*this) << id << " : " << text;
  return true;
}

bool CtrlModule::sendToZubs(const std::set<std::string>& ids, const std::string& text) {
  for (const std::string& id : ids) {
    if (!sendToZub(id, text)) {
      LOG_BLANK_AT(*this) << "Failed to send string (" << text << ") to  " << id;
      return false;
    }
  }
  return true;
}

bool CtrlModule::sendSignalToZub(const std::string& id, int sig) {
  boost::shared_ptr<ZubModule> zub = findZub(id);
  if (!zub) return false;
  const pid_t group = getpgid(zub->pid);
  if (killpg(group, sig) != 0) {
    LOG_AT(*this) << "Failed to send signal " << sig << " to process group " << group << " (" << id
                  << " ).";
    return false;
  }
  LOG_AT(*this) << "Sent signal " << sig << " to process group " << group << " (" << id << " ).";
  return true;
}

bool CtrlModule::sendSignalToZubs(const std::set<std::string>& ids, int sig) {
  for (const std::string& id : ids) {
    if (!sendSignalToZub(id, sig)) {
      LOG_BLANK_AT(*this) << "Failed to send signal (" << sig << ") to  " << id;
      return false;
    }
  }
  return true;
}

bool CtrlModule::receiveFromZub(const std::string& id, std::string& line) {
  boost::shared_ptr<ZubModule> zub = findZub(id);
  if (!zub) return false;
  for (;;) {
    if (tryReceiveFromZub(id, line)) {
      LOG_AT(*this) << id << " : " << line;
      return true;
    }
    if (sigIntPending || zub->ended) return false;
    mainWakeup.wait();
  }
}

bool CtrlModule::tryReceiveFromZub(const std::string& id, std::string& line) {
  boost::shared_ptr<ZubModule> zub = findZub(id);
  if (!zub) return false;
  reportDroppedLines(*zub, id);
  // One lock for every line waiting; the rest stay here, in order, for the next calls.
  if (zub->taken.empty() && !zub->zubOutput.takeAll(zub->taken)) return false;
  line = std::move(zub->taken.front());
  zub->taken.pop_front();
  return true;
}

bool CtrlModule::tryReceiveFromUser(std::string& line) {
  reportDroppedLines(userIO, "the user");
  return userInput.tryTake(line);
}

bool CtrlModule::feedUserLine(const std::string& line) {
  if (userInput.size() >= kUserInputCapacity) return false;
  userInput.put(line);
  return true;
}

bool CtrlModule::hasEnded(const std::string& id) const {
  boost::shared_ptr<ZubModule> zub = findZub(id);
  return zub && zub->ended && zub->taken.empty() && zub->zubOutput.size() == 0;
}

void CtrlModule::reportDroppedLines(IOModule& channel, const std::string& from) {
  if (channel.droppedLines == 0) return;
  const unsigned int count = channel.droppedLines.exchange(0);
  LOG_AT(*this) << "Dropped " << count << " line(s) longer than " << IOModule::kLineLimit
                << " bytes from " << from << ".";
}

void CtrlModule::removeZub(std::string id) {
  auto it = zubs.find(id);
  if (it == zubs.end()) {
    LOG_BLANK_AT(*this) << "Failed to find " << id;
    return;
  }
  LOG_BLANK_AT(*this) << "Removing " << id;
  if (!it->second) {
    LOG_BLANK_AT(*this) << "The pointer to " << id << " is NULL.";
    zubs.erase(it);
    return;
  }
  const boost::shared_ptr<ZubModule> zub = it->second;
  flushUserOutput();
  endDeadlines.erase(id);
  if (!awaitExit(*this, zub->pid, true)) {
    // Deaf to "-gdb-exit" and interrupts, or the user would not wait.
    LOG_BLANK_AT(*this) << "Killing " << id << ", which has not ended.";
    if (!sendSignalToZub(id, SIGKILL))
      LOG_BLANK_AT(*this) << "Failed to kill " << id;
    else if (!awaitExit(*this, zub->pid, false))
      LOG_BLANK_AT(*this) << "Giving up on " << id << ", which outlived SIGKILL.";
  }
  LOG_BLANK_AT(*this) << "ZUB process " << zub->pid << " has terminated.";
  zub->stop();
  zubs.erase(id);
  LOG_BLANK_AT(*this) << "Removed " << id;
}

void CtrlModule::removeZubs(const std::set<std::string>& ids) {
  for (const std::string& id : ids) removeZub(id);
}

void CtrlModule::sendToUser(const std::string& text) {
  if (muted) {
    LOG_AT(*this) << "muted: " << text;
    return;
  }
  LOG_AT(*this) << "user: " << text;
  userPending.push_back(text);
  if (userPending.size() >= kUserBatch) flushUserOutput();
}

void CtrlModule::flushUserOutput() {
  if (userPending.empty()) return;
  userIO.writeNow(userPending);
  // A user who stops reading must not keep a quit or terminate request from ending the session.
  if (!userOutput.putAllUnless(userPending, [] { return sigQuitPending || sigTermPending; })) {
    userStuck_ = true;
    LOG_AT(*this) << "The user does not read; dropped what was left for the user.";
  }
  userPending.clear();
}

std::chrono::milliseconds CtrlModule::killOverdueZubs() {
  const auto now = std::chrono::steady_clock::now();
  std::chrono::milliseconds next(-1);
  for (auto it = endDeadlines.begin(); it != endDeadlines.end();) {
    const boost::shared_ptr<ZubModule> zub = findZub(it->first);
    if (zub && !zub->ended && it->second <= now) {
      LOG_BLANK_AT(*this) << "Killing " << it->first << ", which has not ended in time.";
      sendSignalToZub(it->first, SIGKILL);
    }
    if (!zub || zub->ended || it->second <= now) {
      it = endDeadlines.erase(it);
      continue;
    }
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(it->second - now);
    if (next.count() < 0 || left < next) next = left;
    ++it;
  }
  return next;
}

void CtrlModule::expectEnd(const std::set<std::string>& ids) {
  const auto deadline = std::chrono::steady_clock::now() + kExitGrace;
  for (const std::string& id : ids) endDeadlines.try_emplace(id, deadline);
}

void CtrlModule::waitForEvent(std::chrono::milliseconds limit) {
  flushUserOutput();
  if (const auto overdue = killOverdueZubs(); overdue.count() >= 0)
    limit = limit.count() < 0 ? overdue : std::min(limit, overdue);
  if (beforeWait) beforeWait();
  // A driver that supplies the events itself has nothing to watch for.
  const auto start = std::chrono::steady_clock::now();
  mainWakeup.wait(limit, beforeWait || !spinWorks ? std::chrono::microseconds(0) : spinBeforeSleep);
  // The watch pays while events come close together; after a long wait the next wait sleeps at
  // once, so a session that sits idle costs no watching.
  spinWorks = std::chrono::steady_clock::now() - start <= spinBeforeSleep;
}
