#pragma once
// Tools for end-to-end tests: child processes with deadlines, an MI transcript runner, log and
// process checks, temporary directories. Every wait takes a deadline, and every process a test
// starts is killed by pid or process group, never by name.

#include <gtest/gtest.h>
#include <poll.h>
#include <sys/types.h>

#include <chrono>
#include <condition_variable>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

namespace e2e {

using Ms = std::chrono::milliseconds;
constexpr Ms kDefaultTimeout{5000};

// Variables to set (a value) or remove (nullopt) in a child's environment.
using EnvChanges = std::map<std::string, std::optional<std::string>>;

// A directory under $TMPDIR (or /tmp) removed with everything in it on destruction.
class TempDir {
 public:
  TempDir();
  ~TempDir();
  TempDir(const TempDir&) = delete;
  TempDir& operator=(const TempDir&) = delete;

  const std::string& path() const { return path_; }
  std::string file(const std::string& name) const { return path_ + "/" + name; }
  // Writes `content` to the named file in the directory and returns its path.
  std::string write(const std::string& name, const std::string& content) const;

 private:
  std::string path_;
};

// One child process with stdin, stdout and stderr on pipes (stderr may stay inherited), leader
// of its own process group. A reader thread collects stdout and stderr so that a talkative
// child never blocks on a full pipe. The destructor kills the group with SIGKILL and reaps.
class ChildProcess {
 public:
  ChildProcess() = default;
  ~ChildProcess();
  ChildProcess(const ChildProcess&) = delete;
  ChildProcess& operator=(const ChildProcess&) = delete;

  // argv[0] is the executable (searched in PATH when it has no "/"). False if already started
  // or if pipes or fork fail; a failed exec shows as exit status 127.
  bool start(const std::vector<std::string>& argv, const EnvChanges& env = {},
             bool pipeStderr = true);
  pid_t pid() const { return pid_; }

  bool write(const std::string& text);
  // Adds the newline when `line` lacks one.
  bool writeLine(const std::string& line);
  void closeStdin();

  // Waits until the unread stdout begins with `text` and consumes it. Fails at once when the
  // unread output can no longer become `text`, or at the deadline, with what arrived.
  testing::AssertionResult expect(const std::string& text, Ms timeout = kDefaultTimeout);
  // Consumes one line including its newline; false at the deadline or at EOF without one.
  bool readLine(std::string& line, Ms timeout = kDefaultTimeout);
  // Consumes everything up to and including `needle`; `skipped` gets the consumed text.
  bool readUntil(const std::string& needle, std::string& skipped, Ms timeout = kDefaultTimeout);
  // Consumes all stdout until EOF; false if EOF does not come before the deadline.
  bool readToEof(std::string& rest, Ms timeout = kDefaultTimeout);
  // True when no unread stdout arrives within `period`.
  bool staysQuiet(Ms period);

  std::string unread() const;     // stdout received and not yet consumed
  std::string allStdout() const;  // everything received on stdout
  std::string allStderr() const;  // everything received on stderr

  bool signal(int sig);       // kill(pid, sig)
  bool signalGroup(int sig);  // killpg(pid, sig)
  // Waits for the exit and stores the waitpid status; false at the deadline. Once it is true,
  // everything the child wrote before it ended is in allStdout() and allStderr().
  bool waitExit(int& status, Ms timeout = kDefaultTimeout);
  // Exit code, or -1 when the child did not end by exit within the deadline.
  int exitCode(Ms timeout = kDefaultTimeout);

 private:
  void readLoop();
  bool readReady(pollfd& fd);
  void drain(Ms timeout);
  void stopReader();
  template <class Done>
  bool waitFor(Ms timeout, Done done);

  pid_t pid_ = -1;
  bool reaped = false;
  int status_ = 0;
  int stdinFd = -1;
  int stdoutFd = -1;
  int stderrFd = -1;
  int wakeFd[2] = {-1, -1};
  std::thread reader;
  mutable std::mutex mutex;
  std::condition_variable changed;
  std::string out;
  size_t consumed = 0;
  std::string err;
  bool outEof = false;
  unsigned long drains = 0;
};

// Runs an MI conversation against a started child. One directive a line:
//   > TEXT        write TEXT and a newline to stdin
//   < TEXT        the next stdout line is exactly TEXT
//   <~ REGEX      the next stdout line matches REGEX (Perl syntax, whole line, no newline)
//   << TEXT       the next stdout bytes are exactly TEXT with no newline
//   ! SIGNAL      send SIGINT, SIGTERM, SIGQUIT, SIGKILL... to the child; "! SIGINT group"
//                 sends it to the child's process group
//   sleep MS      wait
//   quiet MS      no stdout arrives for MS milliseconds
//   close         close the child's stdin
//   eof           stdout ends with nothing more
//   exit STATUS   the child exits with STATUS (after eof, this proves nothing else was said)
// Blank lines and lines starting with "#" are skipped. "< " and "> " take the text after one
// blank, so "< " alone expects an empty line. The first mismatch fails with the transcript line
// and all stdout so far.
testing::AssertionResult runTranscript(ChildProcess& child, const std::string& transcript,
                                       Ms timeout = kDefaultTimeout);

// Whole file; empty if it cannot be read.
std::string readFile(const std::string& path);
// The file's lines without newlines, each stripped of a leading record number ("123: ").
std::vector<std::string> readLogLines(const std::string& path);

// True when no process `pid` exists any more, or only as a zombie.
bool processGone(pid_t pid);
// Polls processGone until it holds or the deadline passes.
bool waitGone(pid_t pid, Ms timeout = kDefaultTimeout);
// SIGKILLs `pid` when it still exists; for engines a failed test may leave behind.
void killIfAlive(pid_t pid);

// The fake engine, and the transcript files it writes under a directory when started with
// fakeEngineEnv: "engine-host-PID.txt" or "engine-cardN-PID.txt".
std::string fakeEnginePath();
struct EngineTranscript {
  std::string role;    // "host" or "card"
  std::string cardId;  // empty for host engines
  pid_t pid = -1;
  std::string path;
};
// Sorted by pid.
std::vector<EngineTranscript> findEngineTranscripts(const std::string& dir);
// Environment that makes wem start the fake engine for host and card engines, with the given
// scenario files (empty: unset; the card one may hold "%c") and transcripts under `dir`.
EnvChanges fakeEngineEnv(const std::string& dir, const std::string& hostScenario,
                         const std::string& cardScenario = "");

}  // namespace e2e
