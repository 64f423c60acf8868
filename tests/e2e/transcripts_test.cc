// Runs every transcript case of tests/e2e/cases (format: tests/README.md), each a test of its
// own: the program as a child process against fake engines or stock gdb, or a session in
// process where the case needs card engines that the program does not start by itself.
#include <gtest/gtest.h>
#include <signal.h>

#include <boost/algorithm/string/replace.hpp>
#include <boost/regex.hpp>
#include <filesystem>
#include <fstream>
#include <set>
#include <thread>

#include "support/e2e.h"
#include "support/session_rig.h"

namespace {

namespace fs = std::filesystem;
using e2e::Ms;

const std::string kCases = WEM_SOURCE_DIR "/tests/e2e/cases";

struct Step {
  int line;
  std::string verb;  // ">", "<", "<~", "<...", "!", "sleep", "quiet", "eof", "close", "exit"
  std::string text;
};

struct Case {
  std::map<std::string, std::string> scenarios;  // fake engine scenario files by name
  std::vector<std::string> args{"--interpreter=mi"};
  e2e::EnvChanges env;
  std::string engine;  // host engines: "gdb", "zub-gdb" (ours, over gdb) or the fake engine
  std::vector<std::string> wrap;  // a command that runs the program (tools/simulate-card)
  bool inProcess = false;
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

std::string expand(std::string text, const std::string& dir) {
  boost::replace_all(text, "$DIR", dir);
  boost::replace_all(text, "$SRC", WEM_SOURCE_DIR);
  boost::replace_all(text, "$BUILD", WEM_BINARY_DIR);
  boost::replace_all(text, "$SAMPLE", WEM_BINARY_DIR "/bin/sample");
  return text;
}

// Set-up and check lines are "key: text"; the rest are conversation steps.
bool parseCase(const std::string& path, const std::string& dir, Case& c) {
  static const boost::regex keyed(
      R"(^(host\d*|card\d*|args|wrap|env|engine|file|cards|spawn|log|stderr|i\d+|vek\d+):(?: (.*))?$)");
  static const boost::regex step(
      R"(^(>|<~|<\.\.\.|<\+|<|!|sleep|quiet|eof|close|exit)(?: (.*))?$)");
  std::ifstream in(path);
  int number = 0;
  for (std::string line; std::getline(in, line);) {
    ++number;
    if (line.empty() || line[0] == '#') continue;
    line = expand(line, dir);
    if (line.ends_with(" $")) line.pop_back();  // "$" keeps a line's trailing blank visible
    boost::smatch m;
    if (line == "in-process") {
      c.inProcess = true;
    } else if (boost::regex_match(line, m, keyed)) {
      const std::string key = m[1], text = m[2];
      if (key.starts_with("host") || (key.starts_with("card") && key != "cards"))
        c.scenarios[(key[0] == 'h' ? "i" : "vek") + key.substr(4)] += text + "\n";
      else if (key == "args")
        c.args = words(text);
      else if (key == "wrap")
        c.wrap = words(text);
      else if (key == "env")
        c.env[text.substr(0, text.find('='))] = text.substr(text.find('=') + 1);
      else if (key == "engine")
        c.engine = text == "zub-gdb" ? WEM_BINARY_DIR "/bin/zub-gdb" : text;
      else if (key == "file")
        c.files[text.substr(0, text.find(' '))] += text.substr(text.find(' ') + 1) + "\n";
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
      // "<+" is a reply: the record, then its prompt (gdb's own, with a blank, in its mode).
      const bool reply = m[1] == "<+";
      c.steps.push_back({number, reply ? "<" : std::string(m[1]), m[2]});
      const bool gdbPrompt = c.env.contains("WEM_COMPAT") && c.env.at("WEM_COMPAT") == "gdb";
      if (reply) c.steps.push_back({number, "<", gdbPrompt ? "(gdb) " : "(gdb)"});
    } else {
      ADD_FAILURE() << path << ":" << number << ": cannot read: " << line;
      return false;
    }
  }
  return true;
}

// What a conversation talks to: the program as a child, or a session in process.
class Peer {
 public:
  virtual ~Peer() = default;
  virtual bool send(const std::string& line) = 0;
  virtual bool readLine(std::string& line) = 0;
  virtual std::string unread() = 0;
  // Steps only a child process can take; false when the step fails or does not apply.
  virtual bool control(const Step& step) = 0;
  // Ends the program or session and everything it started; returns the log.
  virtual std::vector<std::string> finish() = 0;
  bool started = false;
};

class ProgramPeer : public Peer {
 public:
  ProgramPeer(const Case& c, const e2e::TempDir& dir) : dir(dir) {
    e2e::EnvChanges env = e2e::fakeEngineEnv(dir.path());
    if (!c.engine.empty()) env["ZUBC_HOST"] = c.engine;
    env["WEM_LOG"] = dir.file("wem.log");
    for (const auto& [name, value] : c.env) env[name] = value;
    std::vector<std::string> argv = c.wrap;
    argv.push_back(WEM_BINARY);
    argv.insert(argv.end(), c.args.begin(), c.args.end());
    started = child.start(argv, env, dir.file("stderr"));
  }
  ~ProgramPeer() override { finish(); }

  bool send(const std::string& line) override {
    see();
    return child.write(line + "\n");
  }
  bool readLine(std::string& line) override {
    const bool read = child.readLine(line);
    see();
    return read;
  }
  std::string unread() override { return child.unread(); }
  bool control(const Step& step) override {
    static const std::map<std::string, int> kSignals = {
        {"SIGINT", SIGINT}, {"SIGTERM", SIGTERM}, {"SIGQUIT", SIGQUIT}, {"SIGKILL", SIGKILL}};
    if (step.verb == "!") return kSignals.count(step.text) && child.signal(kSignals.at(step.text));
    if (step.verb == "quiet") return child.staysQuiet(Ms(std::stoi(step.text)));
    if (step.verb == "eof") return child.endsHere();
    if (step.verb == "close") {
      child.closeStdin();
      return true;
    }
    if (step.verb != "exit") return false;
    exited = child.exitCode() == std::stoi(step.text);
    return exited;
  }
  // Ends the program and every process it started (engines and what they debug); after a clean
  // exit none may be left.
  std::vector<std::string> finish() override {
    if (ended) return {};
    ended = true;
    if (!exited) {
      see();
      child.signal(SIGKILL);
    }
    for (const auto& [name, pid] : e2e::fakeEngines(dir.path()))
      if (pid > 0) seen.insert(pid);
    for (pid_t pid : seen) {
      if (!exited) kill(pid, SIGKILL);
      const bool gone = e2e::waitGone(pid);
      EXPECT_TRUE(gone) << "process " << pid << " is still running";
      if (!gone) kill(pid, SIGKILL);
    }
    return e2e::readLogLines(dir.file("wem.log"));
  }

 private:
  // Engines lead sessions of their own, so a group kill misses them: every process below the
  // program, found by parent, is remembered.
  void see() {
    std::multimap<pid_t, pid_t> children;
    for (const auto& entry : fs::directory_iterator("/proc")) {
      if (!isdigit(entry.path().filename().string()[0])) continue;  // "self" and the like
      const std::string stat = e2e::readFile(entry.path() / "stat");
      const size_t close = stat.rfind(") ");
      if (close == std::string::npos) continue;
      std::istringstream fields(stat.substr(close + 2));
      std::string state;
      pid_t parent = 0;
      fields >> state >> parent;
      children.emplace(parent, std::stoi(entry.path().filename()));
    }
    std::vector<pid_t> found{child.pid()};
    for (size_t i = 0; i < found.size(); ++i)
      for (auto [at, end] = children.equal_range(found[i]); at != end; ++at) {
        seen.insert(at->second);
        found.push_back(at->second);
      }
  }

  const e2e::TempDir& dir;
  e2e::Child child;
  bool exited = false;
  bool ended = false;
  std::set<pid_t> seen;  // every process the program started that the case saw
};

class InProcessPeer : public Peer {
 public:
  InProcessPeer(const Case& c, const std::string& dir) : rig(dir) {
    for (const auto& [name, value] : c.env)  // each case runs in a process of its own
      value->empty() ? unsetenv(name.c_str()) : setenv(name.c_str(), value->c_str(), 1);
    for (const auto& [card, address] : c.cards) {
      rig.session.cardIpTable[card] = address;
      rig.session.ipCardTable[address] = card;
    }
    std::string zubId;
    started = rig.spawnHost(zubId);
    rig.session.currentZubId = zubId;
    for (const std::vector<std::string>& spawn : c.spawns)
      started = started && (spawn.size() == 3 && spawn[0] == "vek"
                                ? rig.spawnCard(spawn[1], spawn[2], zubId)
                                : spawn.size() == 1 && spawn[0] == "i" && rig.spawnHost(zubId));
  }
  bool send(const std::string& line) override {
    rig.run(line);
    output += rig.userOutput();
    return true;
  }
  bool readLine(std::string& line) override {
    output += rig.userOutput();
    const size_t end = output.find('\n');
    if (end == std::string::npos) return false;
    line = output.substr(0, end);
    output.erase(0, end + 1);
    return true;
  }
  std::string unread() override { return output + rig.userOutput(); }
  bool control(const Step&) override { return false; }
  std::vector<std::string> finish() override {
    rig.stop();
    return rig.logLines();
  }

  SessionRig rig;

 private:
  std::string output;
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
        return ADD_FAILURE() << where << "expected " << step.verb << " " << step.text
                             << "\n  got: " << line << "\n  then: " << peer.unread();
    } else if (!peer.control(step)) {
      return ADD_FAILURE() << where << step.verb << " " << step.text
                           << " failed; unread: " << peer.unread();
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
      return ADD_FAILURE() << path << ": the log lacks (in order): " << line << alike;
    }
    ++at;
  }
}

class Transcript : public testing::TestWithParam<std::string> {};

TEST_P(Transcript, Runs) {
  const std::string path = kCases + "/" + GetParam() + ".t";
  e2e::TempDir dir;
  Case c;
  ASSERT_TRUE(parseCase(path, dir.path(), c));
  for (const auto& [name, text] : c.scenarios) dir.write(name + ".scn", text);
  for (const auto& [name, text] : c.files) dir.write(name, text);  // a wrapper may be one
  if (!c.wrap.empty()) {  // a wrapper that cannot work here says so with status 77
    e2e::Child trial;
    std::vector<std::string> argv = c.wrap;
    argv.push_back("true");
    ASSERT_TRUE(trial.start(argv, c.env, dir.file("stderr")));
    const int status = trial.exitCode();
    if (status == 77) GTEST_SKIP() << e2e::readFile(dir.file("stderr"));
    ASSERT_EQ(status, 0) << e2e::readFile(dir.file("stderr"));
  }
  std::unique_ptr<Peer> peer;
  if (c.inProcess)
    peer = std::make_unique<InProcessPeer>(c, dir.path());
  else
    peer = std::make_unique<ProgramPeer>(c, dir);
  ASSERT_TRUE(peer->started) << "cannot start the program or its engines";
  converse(path, c, *peer);
  checkLog(path, c, peer->finish());
  for (const auto& [name, text] : c.received)
    EXPECT_EQ(e2e::readFile(dir.file(name + ".in")), text) << "received by " << name;
  const std::string errors = e2e::readFile(dir.file("stderr"));
  EXPECT_TRUE(c.stderrText.empty() || errors == c.stderrText) << "standard error: " << errors;
}

// The case names (file names without ".t"), from the build: see tests/e2e/CMakeLists.txt.
const std::vector<std::string> kCaseNames = {
#include "case_list.inc"
};

INSTANTIATE_TEST_SUITE_P(Cases, Transcript, testing::ValuesIn(kCaseNames),
                         [](const testing::TestParamInfo<std::string>& info) {
                           std::string name = info.param;
                           for (char& ch : name)
                             if (!isalnum(static_cast<unsigned char>(ch))) ch = '_';
                           return name;
                         });

}  // namespace
