// A scriptable stand-in for an MI debugger engine: tests stage exact conversations, signals,
// delays, floods and deaths with it.
//
// The front end chooses the argument vector, so the set-up comes from the directory named by
// WEM_FAKE_DIR. An engine with a "-rconnect=" argument is a card engine ("vek"), any other a
// host engine ("i"). At start it claims the first free number N of its kind by creating
// DIR/iN.pid (or vekN.pid) with its pid in it, so engines are numbered in start order. It plays
// DIR/iN.scn if that exists, else DIR/i.scn (likewise vek), and records every line it receives,
// exactly, in DIR/iN.in, with "<SIGINT>" for each interrupt. Without WEM_FAKE_DIR it plays the
// scenario named by WEM_FAKE_SCENARIO, if any, and records nothing (the benchmarks use this).
//
// Scenario: one directive a line; blank lines and "#" lines are ignored.
//   banner STEP     a step written at start
//   on KEY STEP     a step of the answer to every line that KEY matches
//   on#N KEY STEP   a step of the answer to the N-th such line (instead of the `on` answer)
// KEY is the command word after the token ("-exec-run"), a POSIX extended regular expression
// searched in the line ("/^[0-9]*-break-insert .*main/", ending at a "/" before a blank),
// SIGINT, or EOF (answered once; the engine then lives on without input). Every key that
// matches a line counts it; the first with an answer for its count answers. " ;; " separates
// several steps of one line. A STEP is a line of text ("$TOKEN": the line's leading digits) or:
// @prompt, @noprompt (no "(gdb)" after this answer), @sleep MS, @after MS STEP (STEP later, while
// input is still served), @cancel (drop what @after scheduled), @exit STATUS (KILL: killed by its
// pid), @flood N TEXT (N copies of the line), @text TEXT (a line that begins with "@"), @ifopen
// PATH STEP (STEP only while one of our descriptors is open on PATH), @deaf (see below). Every
// answer ends with "(gdb)" unless it says @noprompt or exits. A line no key answers gets
// "$TOKEN^done", but "-gdb-exit" is answered "$TOKEN^exit" and ends the engine; so does EOF
// without a key. After @deaf neither does anything, and SIGINT, SIGTERM, SIGQUIT and SIGHUP are
// ignored.

#include <fcntl.h>
#include <poll.h>
#include <regex.h>
#include <signal.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <map>
#include <optional>
#include <string>
#include <thread>
#include <vector>

namespace {

using Clock = std::chrono::steady_clock;
using Ms = std::chrono::milliseconds;
using Answer = std::vector<std::string>;

struct Key {
  std::string text;
  regex_t* regex = nullptr;  // for "/.../" keys; kept while the engine lives
  unsigned seen = 0;
  std::optional<Answer> every;
  std::map<unsigned, Answer> numbered;
};

int recordFd = -1;
int sigintPipe[2] = {-1, -1};
std::string pidText;
bool deaf = false;
Answer banner;
std::vector<Key> keys;
// Steps by due time, with the token of their line; equal due times keep the order of scheduling.
std::multimap<Clock::time_point, std::pair<std::string, std::string>> delayed;

void onSigint(int) {
  const int saved = errno;
  [[maybe_unused]] ssize_t n = write(sigintPipe[1], "", 1);
  errno = saved;
}

[[noreturn]] void die(const std::string& message) {
  const std::string text = "fake_engine: " + message + "\n";
  [[maybe_unused]] ssize_t n = write(2, text.data(), text.size());
  _exit(2);
}

void writeAll(int fd, const std::string& text) {
  for (size_t done = 0; done < text.size();) {
    const ssize_t n = write(fd, text.data() + done, text.size() - done);
    if (n < 0 && errno == EINTR) continue;
    if (n < 0) _exit(0);  // the reader went away: the conversation is over
    done += static_cast<size_t>(n);
  }
}

// Splits "WORD REST" at the first run of blanks.
std::pair<std::string, std::string> splitWord(const std::string& text) {
  const size_t end = std::min(text.find(' '), text.size());
  const size_t rest = std::min(text.find_first_not_of(' ', end), text.size());
  return {text.substr(0, end), text.substr(rest)};
}

Key& keyFor(const std::string& text) {
  for (Key& key : keys)
    if (key.text == text) return key;
  Key& key = keys.emplace_back();
  key.text = text;
  if (text.size() > 2 && text.front() == '/' && text.back() == '/') {
    key.regex = new regex_t;
    if (regcomp(key.regex, text.substr(1, text.size() - 2).c_str(), REG_EXTENDED | REG_NOSUB))
      die("bad regular expression " + text);
  }
  return key;
}

void load(const std::string& path) {
  std::ifstream in(path);
  if (!in) die("cannot open scenario " + path);
  for (std::string line; std::getline(in, line);) {
    if (line.empty() || line[0] == '#') continue;
    auto [verb, rest] = splitWord(line);
    Answer* answer = nullptr;
    if (verb == "banner") {
      answer = &banner;
    } else if (verb == "on" || verb.starts_with("on#")) {
      // A regular expression key runs to the first "/" that a blank or the end follows.
      size_t keyEnd = rest.find(' ');
      if (rest.starts_with("/")) keyEnd = std::min(rest.find("/ ", 1), rest.size() - 1) + 1;
      Key& key = keyFor(rest.substr(0, keyEnd));
      rest = rest.substr(std::min(rest.find_first_not_of(' ', keyEnd), rest.size()));
      answer = verb == "on" ? (key.every ? &*key.every : &key.every.emplace())
                            : &key.numbered[std::stoul(verb.substr(3))];
    } else {
      die(path + ": unknown directive " + verb);
    }
    for (size_t at; (at = rest.find(" ;; ")) != std::string::npos; rest.erase(0, at + 4))
      answer->push_back(rest.substr(0, at));
    if (!rest.empty()) answer->push_back(rest);
  }
}

// True when one of our descriptors is open on `path`.
bool holds(const std::string& path) {
  for (const auto& fd : std::filesystem::directory_iterator("/proc/self/fd")) {
    std::error_code closed;  // a descriptor that closed meanwhile is just not ours
    if (std::filesystem::read_symlink(fd.path(), closed) == path) return true;
  }
  return false;
}

// Runs one step; false when it takes the prompt away from its answer.
bool runStep(const std::string& step, const std::string& token) {
  if (!step.starts_with("@")) {
    std::string text = step;
    for (size_t at = text.find("$TOKEN"); at != std::string::npos; at = text.find("$TOKEN", at))
      text.replace(at, 6, token);
    writeAll(1, text + "\n");
    return true;
  }
  auto [word, rest] = splitWord(step);
  auto [count, tail] = splitWord(rest);
  if (word == "@prompt") {
    writeAll(1, "(gdb)\n");
  } else if (word == "@noprompt") {
    return false;
  } else if (word == "@sleep") {
    std::this_thread::sleep_for(Ms(std::stol(count)));
  } else if (word == "@after") {
    delayed.emplace(Clock::now() + Ms(std::stol(count)), std::pair(tail, token));
  } else if (word == "@cancel") {
    delayed.clear();
  } else if (word == "@exit") {
    if (count == "KILL") kill(getpid(), SIGKILL);
    _exit(std::stoi(count));
  } else if (word == "@flood") {
    std::string chunk;
    for (long i = std::stol(count); i > 0; --i) chunk += tail + "\n";
    writeAll(1, chunk);
  } else if (word == "@text") {
    writeAll(1, rest + "\n");
  } else if (word == "@deaf") {
    deaf = true;
    for (int sig : {SIGHUP, SIGINT, SIGQUIT, SIGTERM}) signal(sig, SIG_IGN);
  } else if (word == "@ifopen") {
    return !holds(count) || runStep(tail, token);
  } else {
    die("unknown step " + word);
  }
  return true;
}

void answer(const Answer& steps, const std::string& token) {
  bool prompt = true;
  for (const std::string& step : steps) prompt = runStep(step, token) && prompt;
  if (prompt) writeAll(1, "(gdb)\n");
}

// The answer to a line (without its newline), or to "SIGINT"; null when no key answers it.
const Answer* answerFor(const std::string& line, const std::string& word) {
  for (Key& key : keys) {
    const bool matches = key.regex
                             ? line != "SIGINT" && !regexec(key.regex, line.c_str(), 0, nullptr, 0)
                             : key.text == word;
    if (!matches) continue;
    ++key.seen;
    if (auto it = key.numbered.find(key.seen); it != key.numbered.end()) return &it->second;
    if (key.every) return &*key.every;
  }
  return nullptr;
}

void handleLine(const std::string& line) {
  writeAll(recordFd, line + "\n");
  const size_t tokenEnd = std::min(line.find_first_not_of("0123456789"), line.size());
  const std::string token = line.substr(0, tokenEnd);
  const std::string word = splitWord(line.substr(tokenEnd)).first;
  if (const Answer* steps = answerFor(line, word)) {
    answer(*steps, token);
  } else if (word == "-gdb-exit") {
    if (deaf) return;
    writeAll(1, token + "^exit\n");
    _exit(0);
  } else {
    answer({"$TOKEN^done"}, token);
  }
}

[[noreturn]] void serve() {
  answer(banner, "");
  int input = 0;
  std::string pending;
  for (;;) {
    pollfd fds[2] = {{input, POLLIN, 0}, {sigintPipe[0], POLLIN, 0}};
    long wait = -1;  // ms until the next delayed step is due
    if (!delayed.empty())
      wait =
          std::max<long>(0, std::chrono::ceil<Ms>(delayed.begin()->first - Clock::now()).count());
    const int ready = poll(fds, 2, static_cast<int>(wait));
    while (!delayed.empty() && delayed.begin()->first <= Clock::now()) {
      const auto [step, token] = delayed.begin()->second;
      delayed.erase(delayed.begin());
      runStep(step, token);
    }
    // The handler has run by the time poll returns: an interrupt sent before a line is always
    // handled before that line.
    char bytes[65536];
    for (ssize_t n = read(sigintPipe[0], bytes, sizeof bytes); n > 0; --n) {
      writeAll(recordFd, "<SIGINT>\n");
      if (const Answer* steps = answerFor("SIGINT", "SIGINT")) answer(*steps, "");
    }
    if (ready <= 0 || !(fds[0].revents & (POLLIN | POLLHUP | POLLERR))) continue;
    const ssize_t n = read(0, bytes, sizeof bytes);
    if (n == 0) {
      const Answer* steps = answerFor("EOF", "EOF");
      if (!steps && !deaf) _exit(0);
      if (steps) answer(*steps, "");
      input = -1;  // poll skips it
    }
    if (n < 0) continue;
    pending.append(bytes, static_cast<size_t>(n));
    for (size_t end; (end = pending.find('\n')) != std::string::npos;) {
      const std::string line = pending.substr(0, end);
      pending.erase(0, end + 1);
      handleLine(line);
    }
  }
}

// Claims the first free name of the kind by creating its pid file.
std::string claimName(const std::string& dir, const std::string& prefix) {
  for (int n = 1; n < 1000; ++n) {
    const std::string name = prefix + std::to_string(n);
    const int fd = open((dir + "/" + name + ".pid").c_str(), O_WRONLY | O_CREAT | O_EXCL, 0644);
    if (fd >= 0) {
      writeAll(fd, pidText);
      close(fd);
      return name;
    }
    if (errno != EEXIST) break;
  }
  die("cannot claim a name in " + dir);
}

}  // namespace

int main(int argc, char** argv) {
  pidText = std::to_string(getpid());
  recordFd = open("/dev/null", O_WRONLY);  // unless a directory wants the lines
  std::string prefix = "i";
  for (int i = 1; i < argc; ++i)
    if (std::strncmp(argv[i], "-rconnect=", 10) == 0) prefix = "vek";
  signal(SIGPIPE, SIG_IGN);
  if (pipe2(sigintPipe, O_NONBLOCK) != 0) die("cannot create the signal pipe");
  signal(SIGINT, onSigint);

  if (const char* dir = std::getenv("WEM_FAKE_DIR"); dir && *dir) {
    const std::string name = claimName(dir, prefix), base = std::string(dir) + "/";
    recordFd = open((base + name + ".in").c_str(), O_WRONLY | O_CREAT | O_APPEND, 0644);
    if (recordFd < 0) die("cannot record into " + base);
    for (const std::string& path : {base + name + ".scn", base + prefix + ".scn"})
      if (access(path.c_str(), F_OK) == 0) {
        load(path);
        break;
      }
  } else if (const char* path = std::getenv("WEM_FAKE_SCENARIO"); path && *path) {
    load(path);
  }
  serve();
}
