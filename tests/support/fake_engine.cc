// A scriptable stand-in for an MI debugger engine, driven by a scenario file so that end-to-end
// tests can stage exact conversations, signals, delays, floods and deaths.
//
// The front end chooses the argument vector, so the fake takes its set-up from the directory
// named by WEM_FAKE_DIR. An engine with a "-rconnect=" argument is a card engine ("vek"), any
// other a host engine ("i"). At start it claims the first free number N of its kind by creating
// DIR/iN.pid (or vekN.pid) with its pid in it, so engines are numbered in start order. It plays
// DIR/iN.scn when that file exists, else DIR/i.scn (likewise vek), else it answers every command
// "$TOKEN^done". It records every received line exactly in DIR/iN.in, plus "<SIGINT>" for each
// interrupt and "<EPIPE>" when its output breaks. Without WEM_FAKE_DIR it plays the scenario
// named by WEM_FAKE_SCENARIO, if any, and records nothing (benchmarks use this).
//
// Scenario: one directive a line; blank lines and lines starting with "#" are ignored.
//   banner STEP            written at start, followed by "(gdb)"
//   on KEY STEP            one step of the answer to every line matching KEY
//   on#N KEY STEP          one step of the answer to the N-th line (from 1) matching KEY; when
//                          there is none for that count, the plain `on` answer is used
//   default STEP           one step of the answer to lines no key answers ("$TOKEN^done")
// Several directives with the same verb and key form one answer, in file order. `on KEY` with
// no step is an answer made of the prompt alone.
// KEY is the command word (first word after the token: "-exec-run", "attach"), a POSIX extended
// regular expression searched in the line without its newline ("/^[0-9]*-break-insert .*main/",
// ends at the first "/" followed by a blank), SIGINT (a SIGINT reached the engine) or EOF (stdin
// ended). Keys are tried in order of first appearance; every matching key counts the line, and the
// first one that has an answer for its count answers it.
// STEP is a line of text, where "$TOKEN" is replaced by the digits the received line began with
// (empty for banner, SIGINT and EOF answers), "$PID" by the engine's pid and "%c" by the card id
// of "-wem-cardid=", or one of:
//   @prompt          write "(gdb)" now
//   @noprompt        do not end this answer with "(gdb)"
//   @sleep MS        wait before the next step (input waits too)
//   @after MS STEP   run STEP MS milliseconds later while input goes on being served
//   @cancel          drop every step still waiting from @after
//   @exit STATUS     exit now with this status
//   @flood N TEXT    write N copies of the line TEXT
//   @partial TEXT    write TEXT without a newline
//   @stderr TEXT     write the line TEXT to standard error
//   @text TEXT       write the line TEXT even if it begins with "@"
//   @hang            answer nothing more; input and SIGINTs are still recorded; exit 0 at EOF
// Every answer ends with "(gdb)" unless it says @noprompt, exits or hangs; EOF answers never
// end with one. "-gdb-exit" with no key of its own is answered "$TOKEN^exit" and exits 0.
// At EOF of stdin the engine exits 0 after its EOF answer, if any; waiting @after steps are
// dropped. SIGINT never kills the engine and SIGPIPE is ignored; output goes straight to fd 1
// with write(2). A scenario it cannot read makes it exit 2 with a message on stderr.

#include <fcntl.h>
#include <poll.h>
#include <regex.h>
#include <signal.h>
#include <sys/types.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <tuple>
#include <utility>
#include <vector>

namespace {

using Clock = std::chrono::steady_clock;

const char kPrompt[] = "(gdb)\n";

struct Step {
  enum Kind {
    kText,
    kPartial,
    kPrompt,
    kNoPrompt,
    kSleep,
    kAfter,
    kCancel,
    kExit,
    kFlood,
    kHang,
    kStderr
  };
  Kind kind = kText;
  std::string text;
  long number = 0;
  std::vector<Step> then;  // the delayed step of kAfter
};

using Answer = std::vector<Step>;

struct Key {
  enum Kind { kWord, kRegex, kSigint, kEof };
  Kind kind = kWord;
  std::string text;
  std::shared_ptr<regex_t> regex;  // POSIX extended syntax
  unsigned seen = 0;
  std::optional<Answer> every;
  std::map<unsigned, Answer> numbered;
};

struct Delayed {
  Clock::time_point due;
  unsigned long order;
  Step step;
  std::string token;
};

int transcriptFd = -1;
int sigintPipe[2] = {-1, -1};
std::string pidText;
std::string cardId;

void sigintHandler(int) {
  int savedErrno = errno;
  char byte = 0;
  [[maybe_unused]] ssize_t n = write(sigintPipe[1], &byte, 1);
  errno = savedErrno;
}

[[noreturn]] void die(const std::string& message) {
  std::string text = "fake_engine: " + message + "\n";
  [[maybe_unused]] ssize_t n = write(2, text.data(), text.size());
  _exit(2);
}

bool writeAll(int fd, const char* data, size_t size) {
  while (size > 0) {
    ssize_t n = write(fd, data, size);
    if (n < 0) {
      if (errno == EINTR) continue;
      return false;
    }
    data += n;
    size -= static_cast<size_t>(n);
  }
  return true;
}

void record(const std::string& text) {
  if (transcriptFd >= 0) writeAll(transcriptFd, text.data(), text.size());
}

// A reader that went away ends the conversation; the engine leaves quietly rather than dying
// of SIGPIPE, and says so in its transcript.
void writeOut(const char* data, size_t size) {
  if (writeAll(1, data, size)) return;
  if (errno == EPIPE) record("<EPIPE>\n");
  _exit(0);
}

void writeOut(const std::string& text) { writeOut(text.data(), text.size()); }

void sleepMs(long ms) {
  auto due = Clock::now() + std::chrono::milliseconds(ms);
  while (Clock::now() < due) std::this_thread::sleep_until(due);
}

std::string replaceAll(std::string text, const std::string& from, const std::string& to) {
  for (size_t at = text.find(from); at != std::string::npos; at = text.find(from, at + to.size()))
    text.replace(at, from.size(), to);
  return text;
}

std::string expand(const std::string& text, const std::string& token) {
  return replaceAll(replaceAll(replaceAll(text, "$TOKEN", token), "$PID", pidText), "%c", cardId);
}

// Splits "WORD REST" at the first run of blanks.
void splitWord(const std::string& text, std::string& word, std::string& rest) {
  size_t end = text.find_first_of(" \t");
  word = text.substr(0, end);
  size_t start = end == std::string::npos ? end : text.find_first_not_of(" \t", end);
  rest = start == std::string::npos ? "" : text.substr(start);
}

bool parseNumber(const std::string& text, long& number) {
  if (text.empty() || text.find_first_not_of("0123456789") != std::string::npos) return false;
  number = std::strtol(text.c_str(), nullptr, 10);
  return true;
}

bool parseStep(const std::string& text, Step& step, std::string& error) {
  if (text.empty() || text[0] != '@') {
    step.kind = Step::kText;
    step.text = text;
    return true;
  }
  std::string word, rest;
  splitWord(text, word, rest);
  static const std::map<std::string, Step::Kind> kBare = {{"@prompt", Step::kPrompt},
                                                          {"@noprompt", Step::kNoPrompt},
                                                          {"@cancel", Step::kCancel},
                                                          {"@hang", Step::kHang}};
  static const std::map<std::string, Step::Kind> kWithText = {
      {"@partial", Step::kPartial}, {"@stderr", Step::kStderr}, {"@text", Step::kText}};
  if (auto it = kBare.find(word); it != kBare.end()) {
    step.kind = it->second;
    return true;
  }
  if (auto it = kWithText.find(word); it != kWithText.end()) {
    step.kind = it->second;
    step.text = rest;
    return true;
  }
  std::string count, tail;
  splitWord(rest, count, tail);
  if (word == "@sleep" || word == "@exit") {
    step.kind = word == "@sleep" ? Step::kSleep : Step::kExit;
    if (parseNumber(count, step.number) && tail.empty()) return true;
  } else if (word == "@flood") {
    step.kind = Step::kFlood;
    step.text = tail;
    if (parseNumber(count, step.number)) return true;
  } else if (word == "@after") {
    step.kind = Step::kAfter;
    step.then.resize(1);
    if (!parseNumber(count, step.number) || tail.empty())
      error = word + " needs a delay and a step";
    else
      return parseStep(tail, step.then[0], error);
  } else {
    error = "unknown step " + word;
    return false;
  }
  error = word + " needs a number";
  return false;
}

class Scenario {
 public:
  Answer banner;
  std::optional<Answer> defaultAnswer;
  std::vector<Key> keys;

  bool load(const std::string& path, std::string& error);
  // The answer for a received line without its newline (or "SIGINT"/"EOF" for those keys),
  // or null when no key answers it.
  const Answer* answerFor(Key::Kind kind, const std::string& line, const std::string& word);

 private:
  bool parseDirective(const std::string& line, std::string& error);
  Key& keyFor(const std::string& text, std::string& error);
};

bool Scenario::load(const std::string& path, std::string& error) {
  std::ifstream in(path);
  if (!in) {
    error = "cannot open scenario " + path;
    return false;
  }
  std::string line;
  for (int number = 1; std::getline(in, line); ++number) {
    if (!line.empty() && line.back() == '\r') line.pop_back();
    size_t first = line.find_first_not_of(" \t");
    if (first == std::string::npos || line[first] == '#') continue;
    if (!parseDirective(line.substr(first), error)) {
      error = path + ":" + std::to_string(number) + ": " + error;
      return false;
    }
  }
  return true;
}

Key& Scenario::keyFor(const std::string& text, std::string& error) {
  for (Key& key : keys)
    if (key.text == text) return key;
  Key& key = keys.emplace_back();
  key.text = text;
  if (text == "SIGINT") {
    key.kind = Key::kSigint;
  } else if (text == "EOF") {
    key.kind = Key::kEof;
  } else if (text.size() >= 2 && text.front() == '/' && text.back() == '/') {
    key.kind = Key::kRegex;
    auto compiled = std::make_unique<regex_t>();
    std::string pattern = text.substr(1, text.size() - 2);
    if (int code = regcomp(compiled.get(), pattern.c_str(), REG_EXTENDED | REG_NOSUB)) {
      char reason[256];
      regerror(code, compiled.get(), reason, sizeof reason);
      error = "bad regular expression " + text + ": " + reason;
    } else {
      key.regex.reset(compiled.release(), [](regex_t* re) {
        regfree(re);
        delete re;
      });
    }
  }
  return key;
}

bool Scenario::parseDirective(const std::string& line, std::string& error) {
  std::string verb, rest, keyText, stepText;
  splitWord(line, verb, rest);
  Answer* answer = nullptr;
  if (verb == "banner") {
    answer = &banner;
    stepText = rest;
  } else if (verb == "default") {
    answer = &defaultAnswer.emplace();
    stepText = rest;
  } else if (verb == "on" || verb.rfind("on#", 0) == 0) {
    size_t keyEnd = rest.find_first_of(" \t");
    if (!rest.empty() && rest[0] == '/') {
      keyEnd = 1;
      while ((keyEnd = rest.find('/', keyEnd)) != std::string::npos && keyEnd + 1 < rest.size() &&
             rest[keyEnd + 1] != ' ' && rest[keyEnd + 1] != '\t')
        ++keyEnd;
      if (keyEnd == std::string::npos) return error = "regular expression without closing /", false;
      ++keyEnd;
    }
    keyText = rest.substr(0, keyEnd);
    if (keyText.empty()) return error = "missing key", false;
    size_t stepStart = keyEnd == std::string::npos ? keyEnd : rest.find_first_not_of(" \t", keyEnd);
    stepText = stepStart == std::string::npos ? "" : rest.substr(stepStart);
    Key& key = keyFor(keyText, error);
    if (!error.empty()) return false;
    long count = 0;
    if (verb == "on") {
      answer = key.every ? &*key.every : &key.every.emplace();
    } else if (parseNumber(verb.substr(3), count) && count > 0) {
      answer = &key.numbered[static_cast<unsigned>(count)];
    } else {
      return error = "bad answer number in " + verb, false;
    }
  } else {
    return error = "unknown directive " + verb, false;
  }
  if (stepText.empty()) return true;
  Step step;
  if (!parseStep(stepText, step, error)) return false;
  answer->push_back(std::move(step));
  return true;
}

const Answer* Scenario::answerFor(Key::Kind kind, const std::string& line,
                                  const std::string& word) {
  for (Key& key : keys) {
    bool matches = key.kind == kind;
    if (matches && kind == Key::kWord)
      matches = key.text == word;
    else if (key.kind == Key::kRegex && kind == Key::kWord)
      matches = regexec(key.regex.get(), line.c_str(), 0, nullptr, 0) == 0;
    if (!matches) continue;
    ++key.seen;
    if (auto it = key.numbered.find(key.seen); it != key.numbered.end()) return &it->second;
    if (key.every) return &*key.every;
  }
  return nullptr;
}

class Engine {
 public:
  explicit Engine(Scenario& scenario) : scenario(scenario) {}
  [[noreturn]] void run();

 private:
  void answer(const Answer& steps, const std::string& token, bool withPrompt);
  // False when the step ends the answer's prompt (@noprompt).
  bool runStep(const Step& step, const std::string& token);
  void handleLine(const std::string& line);
  void handleSigints();
  [[noreturn]] void handleEof();
  [[noreturn]] void hang();
  void runDueSteps();
  int pollTimeoutMs() const;
  bool readInput();

  Scenario& scenario;
  std::vector<Delayed> delayed;
  unsigned long nextOrder = 0;
  std::string pending;  // received bytes not yet answered
};

void flood(long count, const std::string& line) {
  std::string chunk;
  long perChunk = std::max<long>(1, 65536 / static_cast<long>(line.size()));
  for (long i = 0; i < std::min(count, perChunk); ++i) chunk += line;
  for (long written = 0; written < count; written += perChunk) {
    long n = std::min(perChunk, count - written);
    writeOut(chunk.data(), static_cast<size_t>(n) * line.size());
  }
}

bool Engine::runStep(const Step& step, const std::string& token) {
  switch (step.kind) {
    case Step::kText:
      writeOut(expand(step.text, token) + "\n");
      break;
    case Step::kPartial:
      writeOut(expand(step.text, token));
      break;
    case Step::kPrompt:
      writeOut(kPrompt);
      break;
    case Step::kNoPrompt:
      return false;
    case Step::kSleep:
      sleepMs(step.number);
      break;
    case Step::kAfter:
      delayed.push_back({Clock::now() + std::chrono::milliseconds(step.number), nextOrder++,
                         step.then[0], token});
      break;
    case Step::kCancel:
      delayed.clear();
      break;
    case Step::kExit:
      _exit(static_cast<int>(step.number));
    case Step::kFlood:
      flood(step.number, expand(step.text, token) + "\n");
      break;
    case Step::kHang:
      hang();
    case Step::kStderr: {
      std::string text = expand(step.text, token) + "\n";
      writeAll(2, text.data(), text.size());
      break;
    }
  }
  return true;
}

void Engine::answer(const Answer& steps, const std::string& token, bool withPrompt) {
  for (const Step& step : steps) withPrompt = runStep(step, token) && withPrompt;
  if (withPrompt) writeOut(kPrompt);
}

void Engine::handleLine(const std::string& line) {
  record(line);
  std::string body = line;
  if (!body.empty() && body.back() == '\n') body.pop_back();
  size_t tokenEnd = body.find_first_not_of("0123456789");
  std::string token = body.substr(0, tokenEnd);
  std::string word, rest;
  splitWord(tokenEnd == std::string::npos ? "" : body.substr(tokenEnd), word, rest);
  if (const Answer* steps = scenario.answerFor(Key::kWord, body, word)) {
    answer(*steps, token, true);
  } else if (word == "-gdb-exit") {
    writeOut(token + "^exit\n");
    _exit(0);
  } else if (scenario.defaultAnswer) {
    answer(*scenario.defaultAnswer, token, true);
  } else {
    writeOut(token + "^done\n" + kPrompt);
  }
}

void Engine::handleSigints() {
  char bytes[64];
  ssize_t n = read(sigintPipe[0], bytes, sizeof bytes);
  for (ssize_t i = 0; i < n; ++i) {
    record("<SIGINT>\n");
    if (const Answer* steps = scenario.answerFor(Key::kSigint, "", "")) answer(*steps, "", true);
  }
}

void Engine::handleEof() {
  if (const Answer* steps = scenario.answerFor(Key::kEof, "", "")) answer(*steps, "", false);
  _exit(0);
}

// Reads what stdin has and answers its complete lines; a last line without newline counts as
// a line at EOF. Each line leaves `pending` before it is answered, so that a hanging answer
// still records the lines behind it. False at EOF.
bool Engine::readInput() {
  char buffer[65536];
  ssize_t n = read(0, buffer, sizeof buffer);
  if (n < 0) return errno == EINTR || errno == EAGAIN;
  pending.append(buffer, static_cast<size_t>(n));
  for (size_t end; (end = pending.find('\n')) != std::string::npos;) {
    std::string line = pending.substr(0, end + 1);
    pending.erase(0, end + 1);
    handleLine(line);
  }
  if (n > 0) return true;
  if (!pending.empty()) handleLine(std::exchange(pending, ""));
  return false;
}

void Engine::hang() {
  record(pending);
  for (;;) {
    pollfd fds[2] = {{0, POLLIN, 0}, {sigintPipe[0], POLLIN, 0}};
    if (poll(fds, 2, -1) < 0) continue;
    char bytes[65536];
    for (ssize_t i = read(sigintPipe[0], bytes, sizeof bytes); i > 0; --i) record("<SIGINT>\n");
    if (!(fds[0].revents & (POLLIN | POLLHUP | POLLERR))) continue;
    ssize_t n = read(0, bytes, sizeof bytes);
    if (n == 0) _exit(0);
    if (n > 0) record(std::string(bytes, static_cast<size_t>(n)));
  }
}

int Engine::pollTimeoutMs() const {
  if (delayed.empty()) return -1;
  auto due = std::min_element(delayed.begin(), delayed.end(), [](auto& a, auto& b) {
               return a.due < b.due;
             })->due;
  auto left = std::chrono::ceil<std::chrono::milliseconds>(due - Clock::now()).count();
  return static_cast<int>(std::max<long>(0, left));
}

void Engine::runDueSteps() {
  for (;;) {
    auto now = Clock::now();
    auto next = delayed.end();
    for (auto it = delayed.begin(); it != delayed.end(); ++it)
      if (it->due <= now && (next == delayed.end() ||
                             std::tie(it->due, it->order) < std::tie(next->due, next->order)))
        next = it;
    if (next == delayed.end()) return;
    Delayed due = std::move(*next);
    delayed.erase(next);
    runStep(due.step, due.token);
  }
}

void Engine::run() {
  answer(scenario.banner, "", true);
  for (;;) {
    pollfd fds[2] = {{0, POLLIN, 0}, {sigintPipe[0], POLLIN, 0}};
    int ready = poll(fds, 2, pollTimeoutMs());
    runDueSteps();
    // The handler has run by the time poll returns, though poll may not have seen its byte:
    // a SIGINT sent before a line is always handled before that line.
    handleSigints();
    if (ready > 0 && (fds[0].revents & (POLLIN | POLLHUP | POLLERR)) && !readInput()) handleEof();
  }
}

// Claims the first free name of the kind by creating its pid file; false if none can be made.
bool claimName(const std::string& dir, const std::string& prefix, std::string& name) {
  for (int n = 1; n < 1000; ++n) {
    name = prefix + std::to_string(n);
    int fd =
        open((dir + "/" + name + ".pid").c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0644);
    if (fd >= 0) {
      writeAll(fd, pidText.data(), pidText.size());
      close(fd);
      return true;
    }
    if (errno != EEXIST) return false;
  }
  return false;
}

}  // namespace

int main(int argc, char** argv) {
  pidText = std::to_string(getpid());
  std::string prefix = "i";
  for (int i = 1; i < argc; ++i) {
    if (std::strncmp(argv[i], "-rconnect=", 10) == 0) prefix = "vek";
    if (std::strncmp(argv[i], "-wem-cardid=", 12) == 0) cardId = argv[i] + 12;
  }

  signal(SIGPIPE, SIG_IGN);
  if (pipe(sigintPipe) != 0) die("cannot create the signal pipe");
  fcntl(sigintPipe[0], F_SETFL, O_NONBLOCK);
  fcntl(sigintPipe[1], F_SETFL, O_NONBLOCK);
  struct sigaction action = {};
  action.sa_handler = sigintHandler;
  sigemptyset(&action.sa_mask);
  sigaction(SIGINT, &action, nullptr);

  Scenario scenario;
  const char* dirText = std::getenv("WEM_FAKE_DIR");
  if (dirText && *dirText) {
    const std::string dir = dirText;
    std::string name, error;
    if (!claimName(dir, prefix, name)) die("cannot claim a name in " + dir);
    const std::string input = dir + "/" + name + ".in";
    transcriptFd = open(input.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0644);
    if (transcriptFd < 0) die("cannot open " + input + ": " + std::strerror(errno));
    for (const std::string& path : {dir + "/" + name + ".scn", dir + "/" + prefix + ".scn"})
      if (access(path.c_str(), F_OK) == 0) {
        if (!scenario.load(path, error)) die(error);
        break;
      }
  } else if (const char* path = std::getenv("WEM_FAKE_SCENARIO"); path && *path) {
    std::string error;
    if (!scenario.load(path, error)) die(error);
  }
  Engine(scenario).run();
}
