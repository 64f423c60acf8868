#pragma once
// What tests of the program share: a temporary directory, files, logs, and the fake engines'
// set-up and pids. Every wait has a deadline.

#include <stdlib.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <map>
#include <sstream>
#include <string>
#include <vector>

namespace e2e {

using Ms = std::chrono::milliseconds;
constexpr Ms kTimeout{10000};

// Variables to set in a child's environment.
using Env = std::map<std::string, std::string>;

inline std::string readFile(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  std::ostringstream text;
  text << in.rdbuf();
  return text.str();
}

// A directory under $TMPDIR (or /tmp), removed with everything in it on destruction.
struct TempDir {
  TempDir() {
    const char* base = std::getenv("TMPDIR");
    std::string pattern = std::string(base && *base ? base : "/tmp") + "/wem-test-XXXXXX";
    if (mkdtemp(pattern.data())) path = pattern;
  }
  ~TempDir() {
    std::error_code ignored;
    if (!path.empty()) std::filesystem::remove_all(path, ignored);
  }
  TempDir(const TempDir&) = delete;
  TempDir& operator=(const TempDir&) = delete;
  std::string file(const std::string& name) const { return path + "/" + name; }
  // Writes `content` to the named file and returns its path.
  std::string write(const std::string& name, const std::string& content) const {
    std::ofstream(file(name), std::ios::binary) << content;
    return file(name);
  }
  std::string path;
};

// The log's lines, each stripped of its leading record number ("123: ").
inline std::vector<std::string> readLogLines(const std::string& path) {
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

// Waits until `pid` is gone or a zombie; false at the deadline.
inline bool waitGone(pid_t pid) {
  const auto deadline = std::chrono::steady_clock::now() + kTimeout;
  for (;; usleep(5000)) {
    const std::string state = readFile("/proc/" + std::to_string(pid) + "/stat");
    const size_t close = state.rfind(')');
    if (state.empty() || (close != std::string::npos && state.compare(close, 4, ") Z ") == 0))
      return true;
    if (std::chrono::steady_clock::now() > deadline) return false;
  }
}

// The environment that makes engines of both kinds fake engines that keep their scenarios, pid
// files and received lines in `dir` (see fake_engine.cc).
inline Env fakeEngineEnv(const std::string& dir) {
  return {{"ZUBC_HOST", WEM_FAKE_ENGINE}, {"ZUBC_VEK", WEM_FAKE_ENGINE}, {"WEM_FAKE_DIR", dir}};
}

// Pids of the fake engines started with that environment, by name ("i1", "vek1", ...).
inline std::map<std::string, pid_t> fakeEngines(const std::string& dir) {
  std::map<std::string, pid_t> pids;
  for (const auto& entry : std::filesystem::directory_iterator(dir)) {
    const std::string name = entry.path().filename();
    if (name.ends_with(".pid"))
      pids[name.substr(0, name.size() - 4)] = std::atoi(readFile(entry.path()).c_str());
  }
  return pids;
}

}  // namespace e2e
