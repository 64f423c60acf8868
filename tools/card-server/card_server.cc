// card-server ADDR PORT COMMAND [ARG...]
//
// The simulated card's debug server: listens on ADDR:PORT (TCP) and serves every connection with
// a COMMAND of its own (`gdbserver --multi --once stdio`), whose standard input and output are the
// connection, so that several card engines are served at once, as a real card serves them.
// Prints "Listening on ADDR:PORT" once it listens. A COMMAND ends with its connection: once the
// peer has closed it, the COMMAND has kCloseGrace to end by itself, and is then killed with its
// process group (a gdbserver --multi whose connection is gone would otherwise try to reopen stdio
// for ever, at full speed, complaining into this server's log). On SIGTERM or SIGHUP, or when its
// parent ends, it kills every COMMAND it started that is still running (by pid), reaps them and
// exits 0. Each COMMAND leads a process group of its own: gdbserver signals process groups to
// interrupt programs, and a stray one must not reach this server or the shell that started it.
#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <optional>
#include <vector>

namespace {

using Clock = std::chrono::steady_clock;
constexpr auto kCloseGrace = std::chrono::milliseconds(250);

volatile sig_atomic_t stopSignal = 0;

void requestStop(int sig) { stopSignal = sig; }
void noteChildEnd(int) {}

// A running COMMAND: our copy of its connection, watched for the peer's close.
struct Served {
  int connection;
  std::optional<Clock::time_point> closedAt;
};

// Reaps the commands that ended; `block` waits for every one left.
void reap(std::map<pid_t, Served>& children, bool block) {
  for (pid_t pid; !children.empty() && (pid = waitpid(-1, nullptr, block ? 0 : WNOHANG)) != 0;) {
    if (pid < 0 && errno == EINTR) continue;
    if (pid < 0) return children.clear();
    if (auto it = children.find(pid); it != children.end()) {
      close(it->second.connection);
      children.erase(it);
    }
  }
}

// Notes the connections whose peer closed, and kills the commands whose grace since has passed.
void endClosed(std::map<pid_t, Served>& children, const std::vector<pollfd>& watched) {
  const auto now = Clock::now();
  for (const pollfd& fd : watched) {
    if (fd.revents == 0) continue;
    for (auto& [pid, served] : children)
      if (served.connection == fd.fd && !served.closedAt) served.closedAt = now;
  }
  for (auto& [pid, served] : children)
    if (served.closedAt && now - *served.closedAt >= kCloseGrace) kill(-pid, SIGKILL);
}

int listenOn(const char* address, const char* port) {
  sockaddr_in where{};
  where.sin_family = AF_INET;
  where.sin_port = htons(static_cast<uint16_t>(std::atoi(port)));
  if (inet_pton(AF_INET, address, &where.sin_addr) != 1) return -1;
  const int fd = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  const int on = 1;
  if (fd < 0 || setsockopt(fd, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on) != 0 ||
      bind(fd, reinterpret_cast<sockaddr*>(&where), sizeof where) != 0 || listen(fd, 8) != 0)
    return -1;
  return fd;
}

// Starts the command on the connection; it dies with this server.
pid_t serve(int connection, char** command) {
  const pid_t pid = fork();
  if (pid != 0) return pid;
  prctl(PR_SET_PDEATHSIG, SIGKILL);
  if (getppid() == 1) _exit(1);  // the server ended before the line above
  setpgid(0, 0);
  signal(SIGTERM, SIG_DFL);
  signal(SIGHUP, SIG_DFL);
  dup2(connection, 0);
  dup2(connection, 1);
  execvp(command[0], command);
  perror(command[0]);
  _exit(127);
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 4) {
    std::fprintf(stderr, "usage: card-server ADDR PORT COMMAND [ARG...]\n");
    return 2;
  }
  struct sigaction stop {};
  stop.sa_handler = requestStop;  // no SA_RESTART: poll() returns at once
  for (int sig : {SIGTERM, SIGHUP}) sigaction(sig, &stop, nullptr);
  // A command's end breaks our poll, so that our copy of its connection closes with it and the
  // peer sees the close at once. (An inherited SIG_IGN would reap the commands behind our back.)
  struct sigaction childEnd {};
  childEnd.sa_handler = noteChildEnd;
  sigaction(SIGCHLD, &childEnd, nullptr);
  prctl(PR_SET_PDEATHSIG, SIGTERM);
  const int listener = listenOn(argv[1], argv[2]);
  if (listener < 0) {
    std::perror("card-server: cannot listen");
    return 1;
  }
  std::printf("Listening on %s:%s\n", argv[1], argv[2]);
  std::fflush(stdout);
  std::map<pid_t, Served> children;
  while (!stopSignal) {
    // The listener first; then the connections still open. Only their close is asked for: the
    // data on them is the commands' to read.
    std::vector<pollfd> ready{{listener, POLLIN, 0}};
    for (const auto& [pid, served] : children)
      if (!served.closedAt) ready.push_back({served.connection, POLLRDHUP, 0});
    const int n = poll(ready.data(), ready.size(), 200);
    reap(children, false);
    if (n < 0) continue;
    endClosed(children, std::vector<pollfd>(ready.begin() + 1, ready.end()));
    if (!(ready[0].revents & POLLIN)) continue;
    const int connection = accept4(listener, nullptr, nullptr, SOCK_CLOEXEC);
    if (connection < 0) continue;
    const pid_t pid = serve(connection, argv + 3);
    if (pid > 0)
      children[pid] = Served{connection, std::nullopt};
    else
      close(connection);
  }
  std::fprintf(stderr, "card-server: stopping on signal %d\n", static_cast<int>(stopSignal));
  for (const auto& [pid, served] : children) kill(pid, SIGKILL);
  reap(children, true);
  return 0;
}
