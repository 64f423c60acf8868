#include "support/e2e.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <stdlib.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <boost/regex.hpp>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <sstream>

extern char** environ;

namespace e2e {

namespace {

// Text as a block of lines, so that an assertion message shows exactly what arrived.
std::string showText(const std::string& text) {
  if (text.empty()) return "    (nothing)\n";
  std::string shown;
  size_t start = 0;
  while (start < text.size()) {
    size_t end = text.find('\n', start);
    if (end == std::string::npos) {
      shown += "    |" + text.substr(start) + "   (no newline at end)\n";
      break;
    }
    shown += "    |" + text.substr(start, end - start) + "\n";
    start = end + 1;
  }
  return shown;
}

void closeFd(int& fd) {
  if (fd >= 0) close(fd);
  fd = -1;
}

std::vector<std::string> buildEnvironment(const EnvChanges& changes) {
  std::vector<std::string> env;
  for (char** entry = environ; *entry; ++entry) {
    std::string text = *entry;
    if (!changes.count(text.substr(0, text.find('=')))) env.push_back(text);
  }
  for (const auto& [name, value] : changes)
    if (value) env.push_back(name + "=" + *value);
  return env;
}

int signalNumber(const std::string& name) {
  static const std::map<std::string, int> kSignals = {
      {"SIGCONT", SIGCONT}, {"SIGHUP", SIGHUP},   {"SIGINT", SIGINT},
      {"SIGKILL", SIGKILL}, {"SIGQUIT", SIGQUIT}, {"SIGSTOP", SIGSTOP},
      {"SIGTERM", SIGTERM}, {"SIGUSR1", SIGUSR1}, {"SIGUSR2", SIGUSR2}};
  if (auto it = kSignals.find(name); it != kSignals.end()) return it->second;
  if (!name.empty() && name.find_first_not_of("0123456789") == std::string::npos)
    return std::stoi(name);
  return -1;
}

}  // namespace

TempDir::TempDir() {
  const char* base = std::getenv("TMPDIR");
  std::string pattern = std::string(base && *base ? base : "/tmp") + "/wem-e2e-XXXXXX";
  if (mkdtemp(pattern.data())) path_ = pattern;
}

TempDir::~TempDir() {
  std::error_code ignored;
  if (!path_.empty()) std::filesystem::remove_all(path_, ignored);
}

std::string TempDir::write(const std::string& name, const std::string& content) const {
  std::string path = file(name);
  std::ofstream(path, std::ios::binary) << content;
  return path;
}

ChildProcess::~ChildProcess() {
  if (pid_ > 0) {
    killpg(pid_, SIGKILL);
    if (!reaped) waitpid(pid_, &status_, 0);
  }
  stopReader();
  closeFd(stdinFd);
}

bool ChildProcess::start(const std::vector<std::string>& argv, const EnvChanges& env,
                         bool pipeStderr) {
  if (pid_ > 0 || argv.empty()) return false;
  int in[2], outPipe[2], errPipe[2] = {-1, -1};
  if (pipe2(in, O_CLOEXEC) != 0) return false;
  if (pipe2(outPipe, O_CLOEXEC) != 0 || (pipeStderr && pipe2(errPipe, O_CLOEXEC) != 0) ||
      pipe2(wakeFd, O_CLOEXEC) != 0) {
    for (int fd : {in[0], in[1], outPipe[0], outPipe[1], errPipe[0], errPipe[1]})
      if (fd >= 0) close(fd);
    return false;
  }
  // Everything the child needs is built before fork: only async-signal-safe calls follow it.
  std::vector<std::string> envText = buildEnvironment(env);
  std::vector<char*> envp, args;
  for (auto& text : envText) envp.push_back(text.data());
  envp.push_back(nullptr);
  std::vector<std::string> argText = argv;
  for (auto& text : argText) args.push_back(text.data());
  args.push_back(nullptr);

  pid_t child = fork();
  if (child == 0) {
    setpgid(0, 0);
    ::signal(SIGPIPE, SIG_DFL);
    ::signal(SIGINT, SIG_DFL);
    dup2(in[0], 0);
    dup2(outPipe[1], 1);
    if (pipeStderr) dup2(errPipe[1], 2);
    execvpe(args[0], args.data(), envp.data());
    _exit(127);
  }
  close(in[0]);
  close(outPipe[1]);
  if (pipeStderr) close(errPipe[1]);
  stdinFd = in[1];
  stdoutFd = outPipe[0];
  stderrFd = errPipe[0];
  if (child < 0) {
    closeFd(stdinFd);
    closeFd(stdoutFd);
    closeFd(stderrFd);
    return false;
  }
  setpgid(child, child);  // both sides set it, so no signal can reach the old group
  pid_ = child;
  reader = std::thread(&ChildProcess::readLoop, this);
  return true;
}

// Takes what one of the child's outputs has; false when nothing was there.
bool ChildProcess::readReady(pollfd& fd) {
  if (!(fd.revents & (POLLIN | POLLHUP | POLLERR))) return false;
  char buffer[65536];
  ssize_t n = read(fd.fd, buffer, sizeof buffer);
  if (n < 0) return errno == EINTR;
  std::lock_guard lock(mutex);
  bool isStdout = fd.fd == stdoutFd;
  if (n > 0) {
    (isStdout ? out : err).append(buffer, static_cast<size_t>(n));
  } else {
    closeFd(isStdout ? stdoutFd : stderrFd);
    outEof = outEof || isStdout;
  }
  changed.notify_all();
  return true;
}

// A wake byte 'q' ends the loop; 'd' asks for everything already in the pipes to be taken
// before `drains` counts up, so a reaped child's last words are never missed.
void ChildProcess::readLoop() {
  for (;;) {
    pollfd fds[3] = {{wakeFd[0], POLLIN, 0}, {stdoutFd, POLLIN, 0}, {stderrFd, POLLIN, 0}};
    if (poll(fds, 3, -1) < 0) {
      if (errno == EINTR) continue;
      return;
    }
    char wake = 0;
    if (fds[0].revents && read(wakeFd[0], &wake, 1) == 1 && wake == 'q') return;
    readReady(fds[1]);
    readReady(fds[2]);
    if (wake != 'd') continue;
    for (bool more = true; more;) {
      pollfd pipes[2] = {{stdoutFd, POLLIN, 0}, {stderrFd, POLLIN, 0}};
      more = poll(pipes, 2, 0) > 0 && (readReady(pipes[0]) | readReady(pipes[1]));
    }
    std::lock_guard lock(mutex);
    ++drains;
    changed.notify_all();
  }
}

void ChildProcess::drain(Ms timeout) {
  unsigned long before;
  {
    std::lock_guard lock(mutex);
    before = drains;
  }
  char byte = 'd';
  if (::write(wakeFd[1], &byte, 1) == 1) waitFor(timeout, [&] { return drains != before; });
}

void ChildProcess::stopReader() {
  if (reader.joinable()) {
    char byte = 'q';
    [[maybe_unused]] ssize_t n = ::write(wakeFd[1], &byte, 1);
    reader.join();
  }
  closeFd(wakeFd[0]);
  closeFd(wakeFd[1]);
  closeFd(stdoutFd);
  closeFd(stderrFd);
}

bool ChildProcess::write(const std::string& text) {
  const char* data = text.data();
  size_t size = text.size();
  while (size > 0 && stdinFd >= 0) {
    ssize_t n = ::write(stdinFd, data, size);
    if (n < 0 && errno == EINTR) continue;
    if (n < 0) return false;
    data += n;
    size -= static_cast<size_t>(n);
  }
  return size == 0;
}

bool ChildProcess::writeLine(const std::string& line) {
  return write(!line.empty() && line.back() == '\n' ? line : line + "\n");
}

void ChildProcess::closeStdin() { closeFd(stdinFd); }

template <class Done>
bool ChildProcess::waitFor(Ms timeout, Done done) {
  std::unique_lock lock(mutex);
  return changed.wait_for(lock, timeout, done);
}

testing::AssertionResult ChildProcess::expect(const std::string& text, Ms timeout) {
  bool diverged = false;
  bool arrived = waitFor(timeout, [&] {
    size_t common = std::min(text.size(), out.size() - consumed);
    diverged = out.compare(consumed, common, text, 0, common) != 0;
    return diverged || out.size() - consumed >= text.size() || outEof;
  });
  std::lock_guard lock(mutex);
  if (arrived && !diverged && out.size() - consumed >= text.size()) {
    consumed += text.size();
    return testing::AssertionSuccess();
  }
  return testing::AssertionFailure() << (diverged ? "different output"
                                         : outEof ? "output ended"
                                                  : "timed out")
                                     << "; expected:\n"
                                     << showText(text) << "  unread output:\n"
                                     << showText(out.substr(consumed));
}

bool ChildProcess::readLine(std::string& line, Ms timeout) {
  return readUntil("\n", line, timeout);
}

bool ChildProcess::readUntil(const std::string& needle, std::string& skipped, Ms timeout) {
  size_t at = std::string::npos;
  waitFor(timeout,
          [&] { return (at = out.find(needle, consumed)) != std::string::npos || outEof; });
  std::lock_guard lock(mutex);
  if (at == std::string::npos) return false;
  skipped = out.substr(consumed, at + needle.size() - consumed);
  consumed = at + needle.size();
  return true;
}

bool ChildProcess::readToEof(std::string& rest, Ms timeout) {
  bool ended = waitFor(timeout, [&] { return outEof; });
  std::lock_guard lock(mutex);
  rest = out.substr(consumed);
  consumed = out.size();
  return ended;
}

bool ChildProcess::staysQuiet(Ms period) {
  return !waitFor(period, [&] { return out.size() > consumed; });
}

std::string ChildProcess::unread() const {
  std::lock_guard lock(mutex);
  return out.substr(consumed);
}

std::string ChildProcess::allStdout() const {
  std::lock_guard lock(mutex);
  return out;
}

std::string ChildProcess::allStderr() const {
  std::lock_guard lock(mutex);
  return err;
}

bool ChildProcess::signal(int sig) { return pid_ > 0 && !reaped && kill(pid_, sig) == 0; }

bool ChildProcess::signalGroup(int sig) { return pid_ > 0 && killpg(pid_, sig) == 0; }

bool ChildProcess::waitExit(int& status, Ms timeout) {
  auto deadline = std::chrono::steady_clock::now() + timeout;
  while (pid_ > 0 && !reaped) {
    pid_t done = waitpid(pid_, &status_, WNOHANG);
    if (done == pid_ || (done < 0 && errno != EINTR)) {
      reaped = true;
      drain(timeout);
      break;
    }
    if (std::chrono::steady_clock::now() >= deadline) return false;
    std::this_thread::sleep_for(Ms(2));
  }
  status = status_;
  return reaped;
}

int ChildProcess::exitCode(Ms timeout) {
  int status = 0;
  if (!waitExit(status, timeout) || !WIFEXITED(status)) return -1;
  return WEXITSTATUS(status);
}

namespace {

// The transcript runner's failure text: where in the transcript, what went wrong, and the
// whole conversation as the child wrote it.
testing::AssertionResult transcriptFailure(const ChildProcess& child, int lineNumber,
                                           const std::string& directive,
                                           const std::string& problem) {
  return testing::AssertionFailure() << "transcript line " << lineNumber << " \"" << directive
                                     << "\": " << problem << "\n  stdout so far:\n"
                                     << showText(child.allStdout()) << "  stderr so far:\n"
                                     << showText(child.allStderr());
}

testing::AssertionResult runDirective(ChildProcess& child, const std::string& line, Ms timeout,
                                      std::string& problem) {
  auto fail = [&](const std::string& text) {
    problem = text;
    return testing::AssertionFailure();
  };
  size_t space = line.find(' ');
  std::string verb = line.substr(0, space);
  std::string arg = space == std::string::npos ? "" : line.substr(space + 1);
  if (verb == ">")
    return child.writeLine(arg) ? testing::AssertionSuccess() : fail("cannot write to stdin");
  if (verb == "<" || verb == "<<") {
    testing::AssertionResult result = child.expect(verb == "<" ? arg + "\n" : arg, timeout);
    return result ? result : fail(result.message());
  }
  if (verb == "<~") {
    std::string got;
    if (!child.readLine(got, timeout))
      return fail("no complete line arrived; unread output:\n" + showText(child.unread()));
    got.pop_back();
    return boost::regex_match(got, boost::regex(arg))
               ? testing::AssertionSuccess()
               : fail("line does not match:\n" + showText(got));
  }
  if (verb == "!") {
    std::string name = arg.substr(0, arg.find(' '));
    int sig = signalNumber(name);
    bool toGroup = arg.size() > name.size() && arg.substr(name.size()) == " group";
    if (sig < 0) return fail("unknown signal");
    bool sent = toGroup ? child.signalGroup(sig) : child.signal(sig);
    return sent ? testing::AssertionSuccess() : fail("cannot send the signal");
  }
  if (verb == "sleep") {
    std::this_thread::sleep_for(Ms(std::stol(arg)));
    return testing::AssertionSuccess();
  }
  if (verb == "quiet")
    return child.staysQuiet(Ms(std::stol(arg))) ? testing::AssertionSuccess()
                                                : fail("unexpected output");
  if (verb == "close") {
    child.closeStdin();
    return testing::AssertionSuccess();
  }
  if (verb == "eof") {
    std::string rest;
    if (!child.readToEof(rest, timeout))
      return fail("stdout did not end; unread output:\n" + showText(rest));
    return rest.empty() ? testing::AssertionSuccess()
                        : fail("unexpected output before the end:\n" + showText(rest));
  }
  if (verb == "exit") {
    int status = 0;
    if (!child.waitExit(status, timeout)) return fail("the child did not exit in time");
    if (WIFEXITED(status) && std::to_string(WEXITSTATUS(status)) == arg)
      return testing::AssertionSuccess();
    return fail(WIFEXITED(status) ? "exit status " + std::to_string(WEXITSTATUS(status))
                                  : "killed by signal " + std::to_string(WTERMSIG(status)));
  }
  return fail("unknown directive");
}

}  // namespace

testing::AssertionResult runTranscript(ChildProcess& child, const std::string& transcript,
                                       Ms timeout) {
  std::istringstream in(transcript);
  std::string line;
  for (int number = 1; std::getline(in, line); ++number) {
    if (line.empty() || line[0] == '#') continue;
    std::string problem;
    try {
      if (!runDirective(child, line, timeout, problem))
        return transcriptFailure(child, number, line, problem);
    } catch (const std::exception& e) {  // a bad number or regular expression in the transcript
      return transcriptFailure(child, number, line, std::string("bad directive: ") + e.what());
    }
  }
  return testing::AssertionSuccess();
}

std::string readFile(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  std::ostringstream text;
  text << in.rdbuf();
  return text.str();
}

std::vector<std::string> readLogLines(const std::string& path) {
  std::vector<std::string> lines;
  std::istringstream in(readFile(path));
  std::string line;
  while (std::getline(in, line)) {
    size_t digits = line.find_first_not_of("0123456789");
    if (digits > 0 && digits != std::string::npos && line.compare(digits, 2, ": ") == 0)
      line.erase(0, digits + 2);
    lines.push_back(line);
  }
  return lines;
}

bool processGone(pid_t pid) {
  if (kill(pid, 0) != 0 && errno == ESRCH) return true;
  std::string stat = readFile("/proc/" + std::to_string(pid) + "/stat");
  size_t paren = stat.rfind(')');
  return stat.empty() || (paren != std::string::npos && stat.compare(paren, 3, ") Z") == 0);
}

bool waitGone(pid_t pid, Ms timeout) {
  auto deadline = std::chrono::steady_clock::now() + timeout;
  while (!processGone(pid)) {
    if (std::chrono::steady_clock::now() >= deadline) return false;
    std::this_thread::sleep_for(Ms(2));
  }
  return true;
}

void killIfAlive(pid_t pid) {
  if (pid > 0 && !processGone(pid)) kill(pid, SIGKILL);
}

std::string fakeEnginePath() { return WEM_FAKE_ENGINE; }

std::vector<EngineTranscript> findEngineTranscripts(const std::string& dir) {
  static const boost::regex kName(R"(engine-(host|card([0-9]*))-([0-9]+)\.txt)");
  std::vector<EngineTranscript> found;
  std::error_code error;
  for (const auto& entry : std::filesystem::directory_iterator(dir, error)) {
    boost::smatch match;
    std::string name = entry.path().filename().string();
    if (!boost::regex_match(name, match, kName)) continue;
    found.push_back(
        {match[2].matched ? "card" : "host", match[2], std::stoi(match[3]), entry.path().string()});
  }
  std::sort(found.begin(), found.end(), [](auto& a, auto& b) { return a.pid < b.pid; });
  return found;
}

EnvChanges fakeEngineEnv(const std::string& dir, const std::string& hostScenario,
                         const std::string& cardScenario) {
  auto optional = [](const std::string& text) {
    return text.empty() ? std::nullopt : std::optional<std::string>(text);
  };
  return {{"ZUBC_HOST", fakeEnginePath()},
          {"ZUBC_VEK", fakeEnginePath()},
          {"WEM_FAKE_SCENARIO", optional(hostScenario)},
          {"WEM_FAKE_CARD_SCENARIO", optional(cardScenario)},
          {"WEM_FAKE_TRANSCRIPT", dir + "/engine-%r%c-%p.txt"},
          {"WEM_FAKE_ARGV", dir + "/argv-%r%c-%p.txt"}};
}

}  // namespace e2e
