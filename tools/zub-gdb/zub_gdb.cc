// zub-gdb: stock `gdb --interpreter=mi` as an engine of wem, for the host program (ZUBC_HOST)
// and for card-side processes (ZUBC_VEK). It relays MI lines both ways and adds only what the
// session expects and stock gdb (13.1) lacks or does differently:
//
// - "=thread-created" has no "pid": the pid of the thread's group is taken from the
//   "=thread-group-started" that gdb always sends first, and added as the last field.
// - The card-engine options "-wem-launch=1", "-wem-cardid=N" and "-tco" are taken here and not
//   passed on (gdb refuses to start with them); "-rconnect=tcpip:ADDR:PORT" becomes a
//   "-target-select extended-remote ADDR:PORT" before any other command. Commands from the
//   session wait until that is answered; if it fails, an "attach" is refused rather than turned
//   into a local attach.
// - "attach PID FILE": gdb's attach takes a pid only. FILE is loaded first
//   (-file-exec-and-symbols), then "-target-attach PID" runs. gdb answers "^done" before the
//   attached program has stopped (and says "*running" in between), so the done is held back
//   until the "*stopped" has been passed on: the session sees one answer with its token and the
//   stop before it, never a stop that arrives while its next command runs.
// - "-exec-args" is spelt "-exec-arguments" by gdb.
// - The default sysroot "target:" makes gdb read every shared library of a remote program over
//   the connection ("Reading ... from remote target..."); the sysroot is set empty, so that the
//   host's files are read and the session's "solib-search-path" applies.
// - Without a terminal of its own the program writes onto gdb's standard output, in the middle
//   of MI records: "Enter value: " followed by gdb's "*stopped" makes one line that no MI reader
//   understands. The program gets a pseudo-terminal ("-inferior-tty-set"); what it writes comes
//   out as target-stream records (@"..."), whole lines as soon as they end, a partial line when
//   gdb has something to say or after kPartialLineMs. The terminal's output processing and echo
//   are off, so "\n" stays "\n" and nothing is written back.
// - gdb puts a program with a terminal of its own into a session of its own, so a SIGINT to the
//   engine's process group no longer reaches the program directly; gdb, which is in that group,
//   catches it and interrupts the program itself. This process ignores it. A remote program is
//   interrupted by gdbserver with a SIGINT to its process group (kill(-pid)): a card-side program
//   must lead its process group, or it cannot be interrupted at all.
// - gdb retries a refused connection for 15 s ("tcp auto-retry"): turned off, so that a card
//   without a debug server fails the attach at once.
// - A SIGINT that reaches gdb while the program is exiting (the session interrupts a card engine
//   when the host program has exited first) makes gdb print &"Quit\n" instead of the exit's
//   "*stopped": the session would wait for that stop for ever. After a "=thread-group-exited"
//   with no stop yet, that Quit becomes the "*stopped" gdb owed.
// - gdb announces a stop with a console record of just "\n" before "Breakpoint N, FUNC (...":
//   the two become one record (the blank waits kPartialLineMs for its follower), so that when
//   the session drops the announcement of its silent offload breakpoint no blank line is left.
//
// Passed on as gdb has it, for the session to know: the stop after an attach has no "reason";
// a connection announces "=tsv-created"; gdb does not follow the children of the host program
// ("[Detaching after fork from child process N]"), so card-side processes are left to the card
// engines; a pending breakpoint on a function gdb cannot find yet is answered "^done" after a
// log line (&"Function \"...\" not defined.\n"); after a card-side exit gdbserver --multi listens
// again, for the next card engine. gdb reads a second file argument as a core file or a pid, so
// program arguments go by "-exec-args", not on wem's command line.
//
// Everything else, gdb's own output included, passes unchanged. Commands this process sends on
// its own carry tokens from kInternalToken up; their answers and the prompt after them are not
// passed on.

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <stdlib.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <termios.h>
#include <unistd.h>

#include <boost/regex.hpp>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <deque>
#include <functional>
#include <map>
#include <string>
#include <vector>

namespace {

using Clock = std::chrono::steady_clock;

constexpr unsigned long kInternalToken = 900000001;
constexpr int kPartialLineMs = 50;
constexpr int kAttachStopMs = 10000;  // how long a held attach answer waits for its stop
const char kPrompt[] = "(gdb) \n";
const char kBlankLine[] = "~\"\\n\"\n";  // a console record of one line end

// A C string of MI: quotes, backslashes and control characters escaped.
std::string miQuoted(const std::string& text) {
  std::string out = "\"";
  for (unsigned char ch : text) {
    if (ch == '"' || ch == '\\') {
      out += '\\';
      out += static_cast<char>(ch);
    } else if (ch == '\n') {
      out += "\\n";
    } else if (ch == '\t') {
      out += "\\t";
    } else if (ch == '\r') {
      out += "\\r";
    } else if (ch < 0x20 || ch == 0x7f) {
      char octal[8];
      snprintf(octal, sizeof octal, "\\%03o", ch);
      out += octal;
    } else {
      out += static_cast<char>(ch);
    }
  }
  return out + "\"";
}

bool writeAll(int fd, const std::string& text) {
  for (size_t done = 0; done < text.size();) {
    const ssize_t n = write(fd, text.data() + done, text.size() - done);
    if (n < 0 && errno == EINTR) continue;
    if (n <= 0) return false;
    done += static_cast<size_t>(n);
  }
  return true;
}

// Cuts the complete lines (with their "\n") off the front of `buffer`.
std::vector<std::string> takeLines(std::string& buffer) {
  std::vector<std::string> lines;
  size_t start = 0;
  for (size_t end; (end = buffer.find('\n', start)) != std::string::npos; start = end + 1)
    lines.push_back(buffer.substr(start, end + 1 - start));
  buffer.erase(0, start);
  return lines;
}

struct Options {
  std::vector<std::string> gdbArgs;
  std::string remote;  // ADDR:PORT of the card's debug server, empty for a host engine
};

Options parseOptions(int argc, char** argv) {
  static const boost::regex cardOption(R"(^-(wem-launch|wem-cardid)=.*|^-tco$)");
  static const boost::regex rconnect(R"(^-rconnect=tcpip:(.+)$)");
  static const boost::regex interpreter(R"(^--?(i|interpreter)(=.*)?$)");
  Options options;
  bool hasInterpreter = false;
  for (int i = 1; i < argc; ++i) {
    const std::string arg = argv[i];
    boost::smatch m;
    if (boost::regex_match(arg, cardOption)) continue;
    if (boost::regex_match(arg, m, rconnect)) {
      options.remote = m[1];
      continue;
    }
    hasInterpreter = hasInterpreter || boost::regex_match(arg, interpreter);
    options.gdbArgs.push_back(arg);
  }
  if (!hasInterpreter) options.gdbArgs.insert(options.gdbArgs.begin(), "--interpreter=mi");
  return options;
}

// The program's terminal: the master end is read here, the slave end is the program's.
struct Terminal {
  int master = -1;
  int slave = -1;  // kept open, so that the master never reads a hang-up between two runs
  std::string name;

  bool open() {
    master = posix_openpt(O_RDWR | O_NOCTTY);
    if (master < 0 || grantpt(master) != 0 || unlockpt(master) != 0) return false;
    name = ptsname(master);
    // No O_NOCTTY would make it this session leader's controlling terminal.
    slave = ::open(name.c_str(), O_RDWR | O_NOCTTY);
    termios settings;
    if (slave < 0 || tcgetattr(slave, &settings) != 0) return false;
    settings.c_oflag &= ~OPOST;
    settings.c_lflag &= ~(ECHO | ECHONL);
    fcntl(master, F_SETFL, O_NONBLOCK);
    fcntl(master, F_SETFD, FD_CLOEXEC);
    fcntl(slave, F_SETFD, FD_CLOEXEC);
    return tcsetattr(slave, TCSANOW, &settings) == 0;
  }
};

class Adapter {
 public:
  explicit Adapter(Options options) : options(std::move(options)) {}
  int run();

 private:
  enum class AttachState { kNone, kLoadingFile, kAttaching };
  using Answer = std::function<void(const std::string& resultClass, const std::string& rest)>;

  bool startGdb();
  void startUp();
  void sendInternal(const std::string& command, Answer answer);
  void fromSession(const std::string& line);
  void toGdbFromSession(const std::string& line);
  void startAttach(const std::string& token, const std::string& pid, const std::string& file);
  void finishAttach();
  void fromGdb(const std::string& line);
  bool internalAnswer(const std::string& line);
  void readProgram();
  void flushProgram(bool partialToo);
  void emit(const std::string& text);
  void followRunState(const std::string& line, std::string& out);
  void flushBlank();
  bool holding() const { return startUpPending > 0 || attach != AttachState::kNone; }
  int pollTimeout() const;

  Options options;
  Terminal terminal;
  pid_t gdbPid = -1;
  int toGdb = -1;
  int fromGdbFd = -1;
  std::string sessionText, gdbText, programText, toGdbText;
  Clock::time_point programSince;  // when the unfinished program line began
  std::deque<std::string> held;    // session lines that wait for start-up or an attach
  std::map<std::string, Answer> answers;
  unsigned long nextToken = kInternalToken;
  bool dropPrompt = false;
  int startUpPending = 0;
  bool connected = false;
  std::map<std::string, std::string> groupPids;
  bool blankHeld = false;  // a kBlankLine waits for the console record it belongs to
  Clock::time_point blankSince;
  bool running = false;  // gdb said "*running" and no "*stopped" since
  std::string exitCode;  // of the program that exited while running, if any

  AttachState attach = AttachState::kNone;
  std::string attachToken;
  bool attachDone = false;
  bool attachStopped = false;
  Clock::time_point attachDeadline;
};

bool Adapter::startGdb() {
  int in[2], out[2];
  if (pipe2(in, O_CLOEXEC) != 0 || pipe2(out, O_CLOEXEC) != 0) return false;
  std::vector<char*> argv{const_cast<char*>("gdb")};
  for (std::string& arg : options.gdbArgs) argv.push_back(arg.data());
  argv.push_back(nullptr);
  const pid_t self = getpid();
  gdbPid = fork();
  if (gdbPid < 0) return false;
  if (gdbPid == 0) {
    // gdb dies with us, as we die with wem: a gdb busy with its program would not see the end of
    // its input for a long time. Our death before the call shows in the parent's pid.
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (getppid() != self) _exit(127);
    // gdb stays in this process group, so that a SIGINT to the group reaches it.
    signal(SIGINT, SIG_DFL);
    signal(SIGPIPE, SIG_DFL);
    dup2(in[0], STDIN_FILENO);
    dup2(out[1], STDOUT_FILENO);
    execvp("gdb", argv.data());
    _exit(127);
  }
  close(in[0]);
  close(out[1]);
  toGdb = in[1];
  fromGdbFd = out[0];
  fcntl(toGdb, F_SETFL, O_NONBLOCK);
  return true;
}

void Adapter::sendInternal(const std::string& command, Answer answer) {
  const std::string token = std::to_string(nextToken++);
  answers[token] = std::move(answer);
  toGdbText += token + command + "\n";
}

void Adapter::startUp() {
  auto counted = [this](const std::string&, const std::string&) { --startUpPending; };
  startUpPending = 2;
  sendInternal("-inferior-tty-set " + terminal.name, counted);
  sendInternal("-gdb-set sysroot", counted);
  if (options.remote.empty()) return;
  startUpPending += 2;
  sendInternal("-gdb-set tcp auto-retry off", counted);
  sendInternal("-target-select extended-remote " + options.remote,
               [this](const std::string& resultClass, const std::string& rest) {
                 --startUpPending;
                 connected = resultClass == "connected";
                 static const boost::regex message(R"re(^msg="(.*)"$)re");
                 boost::smatch m;
                 if (!connected)
                   emit("&\"zub-gdb: cannot connect to " + options.remote + ": " +
                        (boost::regex_match(rest, m, message) ? m[1].str() : rest) + "\\n\"\n");
               });
}

void Adapter::fromSession(const std::string& line) {
  if (holding() || !held.empty())
    held.push_back(line);
  else
    toGdbFromSession(line);
}

void Adapter::toGdbFromSession(const std::string& line) {
  static const boost::regex attachLine(R"(^(\d*)\s*attach\s+(\d+)\s+(.*?)\s*\n$)");
  static const boost::regex execArgs(R"(^(\d*)-exec-args(?=\s))");
  boost::smatch m;
  if (boost::regex_match(line, m, attachLine) && m[3].length() > 0)
    return startAttach(m[1], m[2], m[3]);
  toGdbText += boost::regex_replace(line, execArgs, "$1-exec-arguments");
}

void Adapter::startAttach(const std::string& token, const std::string& pid,
                          const std::string& file) {
  if (!options.remote.empty() && !connected) {
    emit(token + "^error,msg=" + miQuoted("Not connected to " + options.remote + ".") + "\n" +
         kPrompt);
    return;
  }
  attach = AttachState::kLoadingFile;
  attachToken = token;
  attachDone = attachStopped = false;
  sendInternal("-file-exec-and-symbols " + miQuoted(file),
               [this, pid](const std::string& resultClass, const std::string& rest) {
                 if (resultClass != "done") {
                   emit(attachToken + "^error," + rest + "\n" + kPrompt);
                   attach = AttachState::kNone;
                   return;
                 }
                 attach = AttachState::kAttaching;
                 attachDeadline = Clock::now() + std::chrono::milliseconds(kAttachStopMs);
                 sendInternal("-target-attach " + pid,
                              [this](const std::string& resultClass, const std::string& rest) {
                                if (resultClass == "done") {
                                  attachDone = true;
                                  return finishAttach();
                                }
                                emit(attachToken + "^error," + rest + "\n" + kPrompt);
                                attach = AttachState::kNone;
                              });
               });
}

// The held answer goes out once the attached program has stopped (or after kAttachStopMs).
void Adapter::finishAttach() {
  if (!attachDone || (!attachStopped && Clock::now() < attachDeadline)) return;
  emit(attachToken + "^done\n" + kPrompt);
  attach = AttachState::kNone;
}

// A result with one of our tokens is answered here and not passed on; true when it was ours.
bool Adapter::internalAnswer(const std::string& line) {
  static const boost::regex result(R"(^(\d+)\^([a-z]+),?(.*?)\n$)");
  boost::smatch m;
  if (!boost::regex_match(line, m, result)) return false;
  auto it = answers.find(m[1]);
  if (it == answers.end()) return false;
  Answer answer = std::move(it->second);
  answers.erase(it);
  dropPrompt = true;
  answer(m[2], m[3]);
  return true;
}

void Adapter::fromGdb(const std::string& line) {
  static const boost::regex groupStarted(
      R"re(^=thread-group-started,id="([^"]*)",pid="(\d+)".*)re");
  static const boost::regex threadCreated(R"re(^=thread-created,.*group-id="([^"]*)".*\n)re");
  // The program wrote what it wrote before gdb saw it stop or end.
  readProgram();
  flushProgram(true);
  if (blankHeld && line.starts_with("~\"")) {
    blankHeld = false;
    return fromGdb("~\"\\n" + line.substr(2));
  }
  flushBlank();
  if (line == kBlankLine) {
    blankHeld = true;
    blankSince = Clock::now();
    return;
  }
  if (dropPrompt && line == kPrompt) {
    dropPrompt = false;
    return;
  }
  dropPrompt = false;
  if (internalAnswer(line)) return;
  boost::smatch m;
  std::string out = line;
  followRunState(line, out);
  if (boost::regex_match(line, m, groupStarted)) {
    groupPids[m[1]] = m[2];
  } else if (boost::regex_match(line, m, threadCreated) && groupPids.count(m[1]) &&
             line.find(",pid=") == std::string::npos) {
    out.insert(out.size() - 1, ",pid=\"" + groupPids[m[1]] + "\"");
  } else if (attach == AttachState::kAttaching && line.rfind("*stopped", 0) == 0) {
    emit(out);
    attachStopped = true;
    return finishAttach();
  }
  emit(out);
}

void Adapter::followRunState(const std::string& line, std::string& out) {
  static const boost::regex groupExited(R"re(^=thread-group-exited,.*exit-code="([^"]*)".*\n)re");
  boost::smatch m;
  if (line.starts_with("*running")) {
    running = true;
    exitCode.clear();
  } else if (line.starts_with("*stopped")) {
    running = false;
  } else if (running && boost::regex_match(line, m, groupExited)) {
    exitCode = m[1];
  } else if (running && !exitCode.empty() && line == "&\"Quit\\n\"\n") {
    running = false;
    out = exitCode == "0" ? "*stopped,reason=\"exited-normally\"\n"
                          : "*stopped,reason=\"exited\",exit-code=\"" + exitCode + "\"\n";
  }
}

void Adapter::flushBlank() {
  if (blankHeld) emit(kBlankLine);
  blankHeld = false;
}

void Adapter::readProgram() {
  char buffer[4096];
  ssize_t n;
  while ((n = read(terminal.master, buffer, sizeof buffer)) > 0) {
    if (programText.empty()) programSince = Clock::now();
    programText.append(buffer, static_cast<size_t>(n));
  }
}

void Adapter::flushProgram(bool partialToo) {
  const std::vector<std::string> lines = takeLines(programText);
  for (const std::string& line : lines) emit("@" + miQuoted(line) + "\n");
  if (!lines.empty()) programSince = Clock::now();
  if (partialToo && !programText.empty()) {
    emit("@" + miQuoted(programText) + "\n");
    programText.clear();
  }
}

void Adapter::emit(const std::string& text) { writeAll(STDOUT_FILENO, text); }

int Adapter::pollTimeout() const {
  auto until = Clock::time_point::max();
  if (!programText.empty()) until = programSince + std::chrono::milliseconds(kPartialLineMs);
  if (blankHeld) until = std::min(until, blankSince + std::chrono::milliseconds(kPartialLineMs));
  if (attach == AttachState::kAttaching && attachDone) until = std::min(until, attachDeadline);
  if (until == Clock::time_point::max()) return -1;
  const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(until - Clock::now());
  return static_cast<int>(std::max<long>(0, left.count()) + 1);
}

int Adapter::run() {
  if (!terminal.open()) {
    perror("zub-gdb: cannot open a terminal for the program");
    return 1;
  }
  signal(SIGINT, SIG_IGN);
  signal(SIGPIPE, SIG_IGN);
  if (!startGdb()) {
    perror("zub-gdb: cannot start gdb");
    return 1;
  }
  startUp();
  bool sessionOpen = true;
  for (;;) {
    pollfd fds[4] = {{sessionOpen ? STDIN_FILENO : -1, POLLIN, 0},
                     {fromGdbFd, POLLIN, 0},
                     {terminal.master, POLLIN, 0},
                     {toGdbText.empty() ? -1 : toGdb, POLLOUT, 0}};
    if (poll(fds, 4, pollTimeout()) < 0 && errno != EINTR) break;
    char buffer[65536];
    if (fds[2].revents & POLLIN) readProgram();
    if (fds[1].revents & (POLLIN | POLLHUP)) {
      const ssize_t n = read(fromGdbFd, buffer, sizeof buffer);
      if (n <= 0) break;
      gdbText.append(buffer, static_cast<size_t>(n));
      for (const std::string& line : takeLines(gdbText)) fromGdb(line);
    }
    if (fds[0].revents & (POLLIN | POLLHUP)) {
      const ssize_t n = read(STDIN_FILENO, buffer, sizeof buffer);
      if (n > 0) sessionText.append(buffer, static_cast<size_t>(n));
      for (const std::string& line : takeLines(sessionText)) fromSession(line);
      sessionOpen = n > 0;
    }
    while (!holding() && !held.empty()) {
      const std::string line = held.front();
      held.pop_front();
      toGdbFromSession(line);
    }
    if (!toGdbText.empty()) {
      const ssize_t n = write(toGdb, toGdbText.data(), toGdbText.size());
      if (n > 0) toGdbText.erase(0, static_cast<size_t>(n));
    }
    // The session has gone: gdb ends at the end of its input.
    if (!sessionOpen && toGdbText.empty() && toGdb >= 0 && !holding()) {
      close(toGdb);
      toGdb = -1;
    }
    flushProgram(Clock::now() - programSince >= std::chrono::milliseconds(kPartialLineMs));
    if (Clock::now() - blankSince >= std::chrono::milliseconds(kPartialLineMs)) flushBlank();
    if (attach == AttachState::kAttaching) finishAttach();
  }
  readProgram();
  flushProgram(true);
  flushBlank();
  int status = 0;
  waitpid(gdbPid, &status, 0);
  return WIFEXITED(status) ? WEXITSTATUS(status) : 1;
}

}  // namespace

int main(int argc, char** argv) { return Adapter(parseOptions(argc, argv)).run(); }
