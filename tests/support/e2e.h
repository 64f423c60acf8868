#pragma once
// What tests of the program share: a temporary directory, files, logs, and the fake engines'
// set-up and pids. Every wait has a deadline.

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
