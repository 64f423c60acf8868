// Runs each transcript case of tests/e2e/cases (format: tests/README.md) as a test: the program as
// a child process, or a session in process where a case needs card engines it cannot start.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <boost/algorithm/string/replace.hpp>
#include <boost/regex.hpp>
#include <filesystem>
#include <fstream>
#include <thread>

#include "support/session_rig.h"

namespace {

using Clock = std::chrono::steady_clock;
using e2e::Ms;

const std::string kCases = WEM_SOURCE_DIR "/tests/e2e/cases";

struct Step {
  int line;
  std::string verb;  // ">", "<", "<~", "<...", "!", "sleep", "quiet", "close", "end", "exit"
  std::string text;  // for ">": the bytes to write, line end included
};

struct Case {
  std::map<std::string, std::string> scenarios;  // fake engine scenario files by name
  std::vector<std::string> args{"--interpreter=mi"};
  std::map<std::string, std::string> env;
  std::vector<std::string> wrap;  // a command that runs the program (tools/simulate-card)
  bool inProcess = false;
  bool announced = true;  // the conversation begins with the announcement of group i1
  std::map<std::string, std::string> files;
  std::vector<std::pair<std::string, std::string>> cards;
  std::vector<std::vector<std::string>> spawns;
  std::vector<Step> steps;
  std::vector<std::string> logged;
  std::string stderrText;
  std::map<std::string, std::string> received;  // engine name -> every line it received
};

std::vector<std::string> words(const std::string& text) {
  std::vector<std::string> all;
  std::istringstream in(text);
  for (std::string word; in >> word;) all.push_back(word);
  return all;
}

// Long failure texts are cut: cases send megabyte lines and floods.
std::string shown(const std::string& text) {
  return text.size() <= 2000
             ? text
             : text.substr(0, 2000) + "... (" + std::to_string(text.size()) + " bytes)";
}

// Names, then pieces repeated ("{x*1048576}").
std::string expand(std::string text, const std::string& dir) {
  static const boost::regex repeat(R"(\{([^{}]*)\*(\d+)\})");
  boost::replace_all(text, "$DIR", dir);
  boost::replace_all(text, "$SRC", WEM_SOURCE_DIR);
  boost::replace_all(text, "$BUILD", WEM_BINARY_DIR);
  boost::replace_all(text, "$SAMPLE", WEM_BINARY_DIR "/bin/sample");
  return boost::regex_replace(text, repeat, [](const boost::smatch& m) {
    std::string all;
    for (int n = std::stoi(m[2]); n > 0; --n) all += m[1];
    return all;
  });
}

// Any byte, written "\x00"; made after a line is parsed, so that it may even be a line end.
std::string bytes(const std::string& text) {
  static const boost::regex byte(R"(\\x([0-9a-fA-F]{2}))");
  return boost::regex_replace(text, byte, [](const boost::smatch& m) {
    return std::string(1, static_cast<char>(std::stoi(m[1], nullptr, 16)));
  });
}

// Set-up and check lines are "key: text"; the rest are conversation steps.
bool parseLine(std::string line, int number, Case& c) {
  static const boost::regex keyed(
      R"(^(host\d*|card\d*|args|wrap|env|file|cards|spawn|log|stderr|i\d+|vek\d+):(?: (.*))?$)");
  static const boost::regex step(
      R"(^((?:(?:i|vek)\d+,)*(?:i|vek)\d+(?=>))?(>\+|>running|>~|>\.\.\.|>|<~\+?|<\.\.\.\+?|<\+|<running|<|!|sleep|quiet|close|end|exit)(?: (.*))?$)");
  // "$" keeps a trailing blank visible; "\c" (as in echo) drops the line end of ">" and "file:".
  if (line.ends_with(" $")) line.pop_back();
  const bool open = line.ends_with("\\c");
  if (open) line.resize(line.size() - 2);
  const std::string end = open ? "" : "\n";
  boost::smatch m;
  if (line == "in-process") {
    c.inProcess = true;
  } else if (line == "unannounced") {
    c.announced = false;
  } else if (boost::regex_match(line, m, keyed)) {
    const std::string key = m[1], text = bytes(m[2]);
    const size_t blank = text.find(' '), equals = text.find('=');
    if (key.starts_with("host") || (key.starts_with("card") && key != "cards"))
      c.scenarios[(key[0] == 'h' ? "i" : "vek") + key.substr(4)] += text + "\n";
    else if (key == "args" || key == "wrap")
      (key == "args" ? c.args : c.wrap) = words(text);
    else if (key == "env")
      c.env[text.substr(0, equals)] = text.substr(equals + 1);
    else if (key == "file")
      c.files[text.substr(0, blank)] += text.substr(blank + 1) + end;
    else if (key == "cards")
      for (const std::string& card : words(text))
        c.cards.emplace_back(card.substr(0, card.find('=')), card.substr(card.find('=') + 1));
    else if (key == "spawn")
      c.spawns.push_back(words(text));
    else if (key == "log")
      c.logged.push_back(text);
    else if (key == "stderr")
      c.stderrText += text + "\n";
    else
      c.received[key] += text + "\n";
  } else if (boost::regex_match(line, m, step)) {
    std::string verb = m[2], text = bytes(m[3]);
    if (verb[0] == '>') {  // the line; ">+", ">~", ">..." ("LINE => REPLY") and ">running" reply
      const bool bare = verb == ">" || verb == ">running";
      const size_t arrow = bare ? text.npos : text.find(" => ");
      if (!bare && arrow == text.npos) return false;
      const std::string sent = text.substr(0, arrow) + (verb == ">" ? end : "\n");
      c.steps.push_back({number, ">", sent});
      // "i1,vek1>...": these engines receive the line as sent (an "i1:" line here).
      for (const std::string& name : words(boost::replace_all_copy(m[1].str(), ",", " ")))
        c.received[name] += sent;
      if (verb == ">") return true;
      text = bare ? text.substr(0, text.find_first_not_of("0123456789")) : text.substr(arrow + 4);
      verb = bare ? "<running" : verb == ">+" ? "<+" : "<" + verb.substr(1) + "+";
    }
    // Replies end in a prompt (gdb's own, with a blank, in its mode); a run's also announces it.
    const auto mode = c.env.find("WEM_COMPAT");
    const std::string prompt = mode != c.env.end() && mode->second == "gdb" ? "(gdb) " : "(gdb)";
    if (verb == "<running") text += "^running\n*running,thread-id=\"all\"";
    if (verb == "<+" || verb == "<running") verb = "<", text += "\n" + prompt;
    if (verb.ends_with("+")) {  // "<~+", "<...+": the line, then the prompt
      c.steps.push_back({number, verb.substr(0, verb.size() - 1), text});
      verb = "<", text = prompt;
    }
    std::istringstream lines(text);  // a line end in a text splits it
    for (std::string part; std::getline(lines, part);) c.steps.push_back({number, verb, part});
    if (text.empty()) c.steps.push_back({number, verb, ""});
  } else {
    return false;
  }
  return true;
}

// A line "N* LINE" counts as N lines LINE.
bool parseCase(const std::string& path, const std::string& dir, Case& c) {
  static const boost::regex times(R"(^(\d+)\* (.*)$)");
  std::ifstream in(path);
  int number = 0;
  for (std::string line; std::getline(in, line);) {
    ++number;
    if (line.empty() || line[0] == '#') continue;
    line = expand(line, dir);
    boost::smatch m;
    const bool repeated = boost::regex_match(line, m, times);
    for (int n = repeated ? std::stoi(m[1]) : 1; n > 0; --n)
      if (!parseLine(repeated ? m[2].str() : line, number, c)) {
        ADD_FAILURE() << path << ":" << number << ": cannot read: " << shown(line);
        return false;
      }
  }
  if (c.announced) {  // first, as the program writes it (the env lines decide its prompt)
    Case first;
    first.env = c.env;
    parseLine("<+ =thread-group-added,id=\"i1\"", 1, first);
    c.steps.insert(c.steps.begin(), first.steps.begin(), first.steps.end());
  }
  return true;
}

int msLeft(Clock::time_point deadline) {
  return static_cast<int>(
      std::max<long>(0, std::chrono::ceil<Ms>(deadline - Clock::now()).count()));
}

// The program as a child process (its own process group; stdin, stdout on pipes, stderr in a
// file), or a session in process. One thread: writes keep reading stdout, so neither side blocks
// the other. Ending kills the child, and every process below it, by pid.
class Peer {
 public:
  // argv[0] is searched in PATH when it has no "/"; a failed exec shows as exit status 127.
  Peer(const std::vector<std::string>& argv, const std::string& dir) : dir(dir) {
    started = start(argv);
  }
  Peer(const Case& c, const std::string& dir) : dir(dir), rig(std::make_unique<SessionRig>(dir)) {
    for (const auto& [name, value] : c.env)  // after the rig's own, and empty ones unset
      value.empty() ? unsetenv(name.c_str()) : setenv(name.c_str(), value.c_str(), 1);
    for (const auto& [card, address] : c.cards) {
      rig->session.cardIpTable[card] = address;
      rig->session.ipCardTable[address] = card;
    }
    std::string zubId;
    started = rig->spawnHost(zubId);
    rig->session.currentZubId = zubId;
    for (const std::vector<std::string>& spawn : c.spawns)
      started = started && (spawn.size() == 3 && spawn[0] == "vek"
                                ? rig->spawnCard(spawn[1], spawn[2], zubId)
                                : spawn.size() == 1 && spawn[0] == "i" && rig->spawnHost(zubId));
  }
  ~Peer() {
    finish();
    if (pid > 0) killpg(pid, SIGKILL);
    if (stdinFd >= 0) close(stdinFd);
    if (stdoutFd >= 0) close(stdoutFd);
  }

  // The next line without its newline; false when none comes before the deadline.
  bool readLine(std::string& line) {
    const auto deadline = Clock::now() + e2e::kTimeout;
    size_t end;
    while ((end = out.find('\n', consumed)) == std::string::npos)
      if (!more(deadline)) return false;
    line = out.substr(consumed, end - consumed);
    consumed = end + 1;
    return true;
  }
  std::string unread() {
    more(Clock::now());
    return out.substr(consumed);
  }
  bool send(const std::string& text) {
    if (rig) {
      rig->run(text.substr(0, text.find('\n')));
      return true;
    }
    const auto deadline = Clock::now() + e2e::kTimeout;
    for (size_t done = 0; done < text.size();) {
      if (stdinFd < 0 || Clock::now() > deadline) return false;
      const ssize_t n = ::write(stdinFd, text.data() + done, text.size() - done);
      if (n > 0) {
        done += static_cast<size_t>(n);
      } else if (n < 0 && errno != EAGAIN && errno != EINTR) {
        return false;
      } else {  // the program may be blocked writing to us: read while we wait for room
        pollfd fds[2] = {{stdinFd, POLLOUT, 0}, {outEof ? -1 : stdoutFd, POLLIN, 0}};
        poll(fds, 2, std::min(msLeft(deadline), 100));
        if (fds[1].revents) pump(0);
      }
    }
    return true;
  }
  // Steps only a child process can take; false when the step fails.
  bool control(const Step& step) {
    static const std::map<std::string, int> kSignals = {
        {"SIGINT", SIGINT}, {"SIGTERM", SIGTERM}, {"SIGQUIT", SIGQUIT}, {"SIGKILL", SIGKILL}};
    if (rig) return false;
    const size_t blank = step.text.find(' ');
    const std::string signal = step.text.substr(0, blank);
    if (step.verb == "!" && blank != std::string::npos)  // "! SIGKILL gdbserver": by its name
      return kSignals.count(signal) &&
             signalNamed(step.text.substr(blank + 1), kSignals.at(signal));
    if (step.verb == "!")
      return kSignals.count(step.text) && !reaped && kill(pid, kSignals.at(step.text)) == 0;
    if (step.verb == "close") {
      close(stdinFd);
      stdinFd = -1;
      return true;
    }
    const bool end = step.verb == "end";
    if (step.verb == "quiet" || end) {
      const auto deadline = Clock::now() + (end ? e2e::kTimeout : Ms(std::stoi(step.text)));
      while (!outEof && Clock::now() < deadline) pump(msLeft(deadline));
      if (consumed != out.size() || (end && !outEof)) return false;
      if (!end) return true;
    }
    exited = exitStatus() == (end ? 0 : std::stoi(step.text));
    return exited;
  }
  // The exit code, or -1 when the child does not exit normally before the deadline.
  int exitStatus() {
    const auto deadline = Clock::now() + e2e::kTimeout;
    for (pid_t done; !reaped; usleep(2000)) {
      done = waitpid(pid, &status, WNOHANG);
      reaped = done == pid;
      if (done < 0 || (!reaped && Clock::now() > deadline)) return -1;
    }
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  }
  // Ends the program or session and every process it started (engines and what they debug);
  // after a clean exit none may be left. Returns the log.
  std::vector<std::string> finish() {
    if (ended) return {};
    ended = true;
    if (rig) {
      rig->stop();
      return rig->logLines();
    }
    if (pid <= 0) return {};
    if (!exited) killpg(pid, SIGKILL);
    if (!reaped) waitpid(pid, &status, 0);
    for (pid_t below : descendants()) {
      if (!exited) kill(below, SIGKILL);
      const bool gone = e2e::waitGone(below);
      EXPECT_TRUE(gone) << "process " << below << " is still running";
      if (!gone) kill(below, SIGKILL);
    }
    return e2e::readLogLines(dir + "/wem.log");
  }
  bool started = false;

 private:
  bool start(std::vector<std::string> argv) {
    int in[2], outPipe[2];
    if (argv.empty() || pipe2(in, O_CLOEXEC) != 0) return false;
    if (pipe2(outPipe, O_CLOEXEC) != 0) return close(in[0]), close(in[1]), false;
    // Everything the child needs is built before fork: only async-signal-safe calls follow it.
    std::vector<char*> args;
    for (auto& text : argv) args.push_back(text.data());
    args.push_back(nullptr);
    const int err = open((dir + "/stderr").c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
    prctl(PR_SET_CHILD_SUBREAPER, 1);
    const pid_t child = fork();
    if (child == 0) {
      setpgid(0, 0);
      signal(SIGPIPE, SIG_DFL);
      signal(SIGINT, SIG_DFL);
      dup2(in[0], 0);
      dup2(outPipe[1], 1);
      if (err >= 0) dup2(err, 2);
      execvp(args[0], args.data());
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
    pid = child;
    return true;
  }
  // Adds output to `out`; false when none can come before the deadline (in process: none came).
  bool more(Clock::time_point deadline) {
    if (rig) {
      const std::string added = rig->userOutput();
      out += added;
      return !added.empty();
    }
    if (outEof || Clock::now() > deadline) return false;
    pump(msLeft(deadline));
    return true;
  }
  // Reads what stdout has within `ms` (0: only what is there).
  void pump(int ms) {
    pollfd fd{stdoutFd, POLLIN, 0};
    if (outEof || poll(&fd, 1, ms) <= 0) return;
    char buffer[65536];
    const ssize_t n = read(stdoutFd, buffer, sizeof buffer);
    if (n > 0) out.append(buffer, static_cast<size_t>(n));
    outEof = n == 0 || (n < 0 && errno != EINTR);
  }
  // Signals each process below the test whose name is `name` (an engine, a debug server, a
  // program they debug); false when there is none.
  static bool signalNamed(const std::string& name, int sig) {
    bool found = false;
    for (pid_t below : descendants()) {
      std::string comm = e2e::readFile("/proc/" + std::to_string(below) + "/comm");
      if (comm == name + "\n") found = kill(below, sig) == 0 || found;
    }
    return found;
  }
  // Engines lead sessions of their own, so a group kill misses them; but every process the program
  // started and left behind comes to the test, a subreaper, so all of them are below it.
  static std::vector<pid_t> descendants() {
    std::multimap<pid_t, pid_t> children;
    for (const auto& entry : std::filesystem::directory_iterator("/proc")) {
      if (!isdigit(entry.path().filename().string()[0])) continue;  // "self" and the like
      const std::string stat = e2e::readFile(entry.path() / "stat");
      const size_t name = stat.rfind(") ");
      pid_t parent = 0;
      if (name != std::string::npos && sscanf(stat.c_str() + name + 2, "%*c %d", &parent) == 1)
        children.emplace(parent, std::stoi(entry.path().filename()));
    }
    std::vector<pid_t> found{getpid()};
    for (size_t i = 0; i < found.size(); ++i)
      for (auto [at, end] = children.equal_range(found[i]); at != end; ++at)
        found.push_back(at->second);
    return {found.begin() + 1, found.end()};
  }

  const std::string dir;
  std::unique_ptr<SessionRig> rig;
  std::string out;
  size_t consumed = 0;
  pid_t pid = -1;
  int status = 0, stdinFd = -1, stdoutFd = -1;
  bool reaped = false, exited = false, ended = false, outEof = false;
};

// Runs the conversation; stops at the first step that fails.
void converse(const std::string& path, const Case& c, Peer& peer) {
  for (const Step& step : c.steps) {
    const std::string where = path + ":" + std::to_string(step.line) + ": ";
    std::string line;
    if (step.verb == ">") {
      if (!peer.send(step.text)) return ADD_FAILURE() << where << "cannot write the line";
    } else if (step.verb == "sleep") {
      std::this_thread::sleep_for(Ms(std::stoi(step.text)));
    } else if (step.verb[0] == '<') {
      const bool skip = step.verb == "<...";
      const boost::regex pattern(step.verb == "<" ? "" : step.text);
      bool matched = false;
      while (!matched && peer.readLine(line)) {
        matched = step.verb == "<" ? line == step.text : boost::regex_match(line, pattern);
        if (!matched && !skip) break;
      }
      if (!matched)
        return ADD_FAILURE() << where << "expected " << step.verb << " " << shown(step.text)
                             << "\n  got: " << shown(line) << "\n  then: " << shown(peer.unread());
    } else if (!peer.control(step)) {
      return ADD_FAILURE() << where << step.verb << " " << step.text
                           << " failed; unread: " << shown(peer.unread());
    }
  }
}

void checkLog(const std::string& path, const Case& c, const std::vector<std::string>& log) {
  auto at = log.begin();
  for (const std::string& line : c.logged) {
    at = std::find(at, log.end(), line);
    if (at == log.end()) {
      std::string alike;  // lines that begin the same way, to show what was logged instead
      for (const std::string& logged : log)
        if (logged.compare(0, 12, line, 0, 12) == 0) alike += "\n  " + logged;
      return ADD_FAILURE() << path << ": the log lacks (in order): " << shown(line) << shown(alike);
    }
    ++at;
  }
}

class Transcript : public testing::TestWithParam<std::string> {};

TEST_P(Transcript, Runs) {
  const std::string path = kCases + "/" + GetParam() + ".t";
  e2e::TempDir dir;
  Case c;
  ASSERT_TRUE(parseCase(path, dir.path, c));
  for (const auto& [name, text] : c.scenarios) dir.write(name + ".scn", text);
  for (const auto& [name, text] : c.files)  // a wrapper or a stub command may be one
    chmod(dir.write(name, text).c_str(), 0755);
  // Each case runs in a process of its own: the program inherits the environment made here.
  for (const auto& [name, value] : e2e::fakeEngineEnv(dir.path))
    setenv(name.c_str(), value.c_str(), 1);
  setenv("WEM_LOG", dir.file("wem.log").c_str(), 1);
  for (const auto& [name, value] : c.env) setenv(name.c_str(), value.c_str(), 1);
  std::vector<std::string> argv = c.wrap;
  if (!c.wrap.empty()) {  // a wrapper that cannot work here says so with status 77
    argv.push_back("true");
    const int status = Peer(argv, dir.path).exitStatus();
    if (status == 77) GTEST_SKIP() << e2e::readFile(dir.file("stderr"));
    ASSERT_EQ(status, 0) << e2e::readFile(dir.file("stderr"));
    argv.pop_back();
  }
  argv.push_back(WEM_BINARY);
  argv.insert(argv.end(), c.args.begin(), c.args.end());
  const auto peer =
      c.inProcess ? std::make_unique<Peer>(c, dir.path) : std::make_unique<Peer>(argv, dir.path);
  ASSERT_TRUE(peer->started) << "cannot start the program or its engines";
  // A fake engine names itself when it runs: an engine added soon after the host's must not
  // take the name "i1" first.
  if (!c.inProcess && !c.env.contains("ZUBC_HOST"))
    for (int ms = 0; ms < 2000 && access(dir.file("i1.pid").c_str(), F_OK) != 0; ms += 5)
      usleep(5000);
  converse(path, c, *peer);
  checkLog(path, c, peer->finish());
  for (const auto& [name, text] : c.received)
    if (const std::string got = e2e::readFile(dir.file(name + ".in")); got != text)
      ADD_FAILURE() << name << " received:\n" << shown(got) << "\ninstead of:\n" << shown(text);
  const std::string errors = e2e::readFile(dir.file("stderr"));
  EXPECT_TRUE(c.stderrText.empty() || errors == c.stderrText) << "standard error: " << errors;
}

// The case names (file names without ".t"), from the build: see tests/e2e/CMakeLists.txt.
const std::vector<std::string> kCaseNames = {
#include "case_list.inc"
};

// Case files are named in snake_case, which test names allow.
INSTANTIATE_TEST_SUITE_P(Cases, Transcript, testing::ValuesIn(kCaseNames),
                         [](const auto& info) { return info.param; });

}  // namespace
