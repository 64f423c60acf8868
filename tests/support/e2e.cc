#include "support/e2e.h"

#include <dirent.h>
#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <stdlib.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <thread>

extern char** environ;

namespace e2e {

namespace {

using Clock = std::chrono::steady_clock;

int msLeft(Clock::time_point deadline) {
  auto left = std::chrono::ceil<Ms>(deadline - Clock::now()).count();
  return static_cast<int>(std::max<long>(0, left));
}

}  // namespace

TempDir::TempDir() {
  const char* base = std::getenv("TMPDIR");
  std::string pattern = std::string(base && *base ? base : "/tmp") + "/wem-test-XXXXXX";
  if (mkdtemp(pattern.data())) path_ = pattern;
}

TempDir::~TempDir() {
  std::error_code ignored;
  if (!path_.empty()) std::filesystem::remove_all(path_, ignored);
}

std::string TempDir::write(const std::string& name, const std::string& content) const {
  std::ofstream(file(name), std::ios::binary) << content;
  return file(name);
}

Child::~Child() {
  if (pid_ > 0) {
    killpg(pid_, SIGKILL);
    if (!reaped) waitpid(pid_, &status, 0);
  }
  closeStdin();
  if (stdoutFd >= 0) close(stdoutFd);
}

bool Child::start(const std::vector<std::string>& argv, const EnvChanges& env,
                  const std::string& stderrPath) {
  int in[2], outPipe[2];
  if (pid_ > 0 || argv.empty() || pipe2(in, O_CLOEXEC) != 0) return false;
  if (pipe2(outPipe, O_CLOEXEC) != 0) {
    close(in[0]);
    close(in[1]);
    return false;
  }
  // Everything the child needs is built before fork: only async-signal-safe calls follow it.
  std::vector<std::string> envText, argText = argv;
  for (char** entry = environ; *entry; ++entry) {
    std::string text = *entry;
    if (!env.count(text.substr(0, text.find('=')))) envText.push_back(text);
  }
  for (const auto& [name, value] : env)
    if (value) envText.push_back(name + "=" + *value);
  std::vector<char*> envp, args;
  for (auto& text : envText) envp.push_back(text.data());
  for (auto& text : argText) args.push_back(text.data());
  envp.push_back(nullptr);
  args.push_back(nullptr);
  const int err = open(stderrPath.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);

  pid_t child = fork();
  if (child == 0) {
    setpgid(0, 0);
    ::signal(SIGPIPE, SIG_DFL);
    ::signal(SIGINT, SIG_DFL);
    dup2(in[0], 0);
    dup2(outPipe[1], 1);
    if (err >= 0) dup2(err, 2);
    execvpe(args[0], args.data(), envp.data());
    _exit(127);
  }
  if (err >= 0) close(err);
  close(in[0]);
  close(outPipe[1]);
  stdinFd = in[1];
  stdoutFd = outPipe[0];
  if (child < 0) return false;
  setpgid(child, child);  // both sides set it, so no signal can reach the old group
  fcntl(stdinFd, F_SETFL, O_NONBLOCK);
  pid_ = child;
  return true;
}

bool Child::pump(Ms timeout) {
  if (outEof) return false;
  pollfd fd{stdoutFd, POLLIN, 0};
  if (poll(&fd, 1, static_cast<int>(timeout.count())) <= 0) return false;
  char buffer[65536];
  const ssize_t n = read(stdoutFd, buffer, sizeof buffer);
  if (n <= 0) {
    outEof = n == 0 || errno != EINTR;
    return false;
  }
  out.append(buffer, static_cast<size_t>(n));
  return true;
}

bool Child::write(const std::string& text, Ms timeout) {
  const auto deadline = Clock::now() + timeout;
  for (size_t done = 0; done < text.size();) {
    if (stdinFd < 0 || Clock::now() > deadline) return false;
    const ssize_t n = ::write(stdinFd, text.data() + done, text.size() - done);
    if (n > 0) {
      done += static_cast<size_t>(n);
    } else if (n < 0 && errno != EAGAIN && errno != EINTR) {
      return false;
    } else {
      // The child may be blocked writing to us: read while we wait for room.
      pollfd fds[2] = {{stdinFd, POLLOUT, 0}, {stdoutFd, POLLIN, 0}};
      if (outEof) fds[1].fd = -1;
      poll(fds, 2, std::min(msLeft(deadline), 100));
      if (fds[1].revents) pump(Ms(0));
    }
  }
  return true;
}

void Child::closeStdin() {
  if (stdinFd >= 0) close(stdinFd);
  stdinFd = -1;
}

bool Child::signal(int sig) { return pid_ > 0 && !reaped && kill(pid_, sig) == 0; }

bool Child::readLine(std::string& line, Ms timeout) {
  const auto deadline = Clock::now() + timeout;
  for (;;) {
    const size_t end = out.find('\n', consumed);
    if (end != std::string::npos) {
      line = out.substr(consumed, end - consumed);
      consumed = end + 1;
      return true;
    }
    if (outEof || Clock::now() > deadline) return false;
    pump(Ms(msLeft(deadline)));
  }
}

bool Child::staysQuiet(Ms period) {
  const auto deadline = Clock::now() + period;
  while (!outEof && Clock::now() < deadline) pump(Ms(msLeft(deadline)));
  return consumed == out.size();
}

bool Child::endsHere(Ms timeout) {
  const auto deadline = Clock::now() + timeout;
  while (!outEof && Clock::now() < deadline) pump(Ms(msLeft(deadline)));
  return outEof && consumed == out.size();
}

int Child::exitCode(Ms timeout) {
  const auto deadline = Clock::now() + timeout;
  while (!reaped) {
    const pid_t done = waitpid(pid_, &status, WNOHANG);
    if (done == pid_) reaped = true;
    if (done < 0 || (!reaped && Clock::now() > deadline)) return -1;
    if (!reaped) std::this_thread::sleep_for(Ms(2));
  }
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
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
  for (std::string line; std::getline(in, line);) {
    const size_t digits = line.find_first_not_of("0123456789");
    if (digits > 0 && digits != std::string::npos && line.compare(digits, 2, ": ") == 0)
      line.erase(0, digits + 2);
    lines.push_back(line);
  }
  return lines;
}

bool waitGone(pid_t pid, Ms timeout) {
  const auto deadline = Clock::now() + timeout;
  for (;;) {
    std::string state = readFile("/proc/" + std::to_string(pid) + "/stat");
    const size_t close = state.rfind(')');
    if (state.empty() || (close != std::string::npos && state.compare(close, 4, ") Z ") == 0))
      return true;
    if (Clock::now() > deadline) return false;
    std::this_thread::sleep_for(Ms(5));
  }
}

EnvChanges fakeEngineEnv(const std::string& dir) {
  return {{"ZUBC_HOST", WEM_FAKE_ENGINE}, {"ZUBC_VEK", WEM_FAKE_ENGINE}, {"WEM_FAKE_DIR", dir}};
}

std::map<std::string, pid_t> fakeEngines(const std::string& dir) {
  std::map<std::string, pid_t> pids;
  for (const auto& entry : std::filesystem::directory_iterator(dir)) {
    const std::string name = entry.path().filename();
    if (name.ends_with(".pid"))
      pids[name.substr(0, name.size() - 4)] = std::atoi(readFile(entry.path()).c_str());
  }
  return pids;
}

}  // namespace e2e
