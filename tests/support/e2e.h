#pragma once
// Driving programs as child processes: a temporary directory, a child on pipes read with poll()
// on the calling thread, and the transcript cases of tests/e2e/cases. Every wait has a deadline
// and every process a test starts is killed by pid or process group, never by name.

#include <sys/types.h>

#include <chrono>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace e2e {

using Ms = std::chrono::milliseconds;
constexpr Ms kTimeout{10000};

// A directory under $TMPDIR (or /tmp), removed with everything in it on destruction.
class TempDir {
 public:
  TempDir();
  ~TempDir();
  TempDir(const TempDir&) = delete;
  TempDir& operator=(const TempDir&) = delete;
  const std::string& path() const { return path_; }
  std::string file(const std::string& name) const { return path_ + "/" + name; }
  // Writes `content` to the named file and returns its path.
  std::string write(const std::string& name, const std::string& content) const;

 private:
  std::string path_;
};

// Variables to set (a value) or remove (nullopt) in a child's environment.
using EnvChanges = std::map<std::string, std::optional<std::string>>;

// One child process, leader of its own process group, with stdin and stdout on pipes and stderr
// in a file. Stdout is read only while the test waits for it, so everything runs on one thread;
// writes keep reading stdout so that neither side can block the other. The destructor kills the
// group and reaps the child.
class Child {
 public:
  Child() = default;
  ~Child();
  Child(const Child&) = delete;
  Child& operator=(const Child&) = delete;

  // argv[0] is searched in PATH when it has no "/"; a failed exec shows as exit status 127.
  bool start(const std::vector<std::string>& argv, const EnvChanges& env,
             const std::string& stderrPath = "/dev/null");
  pid_t pid() const { return pid_; }
  bool write(const std::string& text, Ms timeout = kTimeout);
  void closeStdin();
  bool signal(int sig);

  // The next stdout line without its newline; false at the deadline or at EOF without one.
  bool readLine(std::string& line, Ms timeout = kTimeout);
  // True when no stdout arrives within `period`.
  bool staysQuiet(Ms period);
  // True when stdout ends before the deadline with nothing unread.
  bool endsHere(Ms timeout = kTimeout);
  // The exit code, or -1 when the child does not exit normally before the deadline.
  int exitCode(Ms timeout = kTimeout);
  // Stdout received and not yet consumed.
  std::string unread() const { return out.substr(consumed); }

 private:
  // Reads what stdout has within `timeout` (0: only what is there); false at EOF or deadline.
  bool pump(Ms timeout);

  pid_t pid_ = -1;
  int status = 0;
  bool reaped = false;
  int stdinFd = -1;
  int stdoutFd = -1;
  bool outEof = false;
  std::string out;
  size_t consumed = 0;
};

std::string readFile(const std::string& path);
// The log's lines, each stripped of its leading record number ("123: ").
std::vector<std::string> readLogLines(const std::string& path);
// Waits until `pid` is gone or a zombie; false at the deadline.
bool waitGone(pid_t pid, Ms timeout = kTimeout);
// The environment that makes engines of both kinds fake engines that keep their scenarios, pid
// files and received lines in `dir` (see fake_engine.cc).
EnvChanges fakeEngineEnv(const std::string& dir);
// Pids of the fake engines started with that environment, by name ("i1", "vek1", ...).
std::map<std::string, pid_t> fakeEngines(const std::string& dir);

}  // namespace e2e
