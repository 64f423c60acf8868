#include "support/e2e.h"

#include <stdlib.h>

#include <filesystem>
#include <fstream>
#include <sstream>
#include <thread>

namespace e2e {

using Clock = std::chrono::steady_clock;

TempDir::TempDir() {
  const char* base = std::getenv("TMPDIR");
  std::string pattern = std::string(base && *base ? base : "/tmp") + "/wem-test-XXXXXX";
  if (mkdtemp(pattern.data())) path_ = pattern;
}

TempDir::~TempDir() {
  std::error_code ignored;
  if (!path_.empty()) std::filesystem::remove_all(path_, ignored);
}

std::string TempDir::write(const std::string& name, const std::string& content) const {
  std::ofstream(file(name), std::ios::binary) << content;
  return file(name);
}

std::string readFile(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  std::ostringstream text;
  text << in.rdbuf();
  return text.str();
}

std::vector<std::string> readLogLines(const std::string& path) {
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

bool waitGone(pid_t pid, Ms timeout) {
  const auto deadline = Clock::now() + timeout;
  for (;;) {
    std::string state = readFile("/proc/" + std::to_string(pid) + "/stat");
    const size_t close = state.rfind(')');
    if (state.empty() || (close != std::string::npos && state.compare(close, 4, ") Z ") == 0))
      return true;
    if (Clock::now() > deadline) return false;
    std::this_thread::sleep_for(Ms(5));
  }
}

EnvChanges fakeEngineEnv(const std::string& dir) {
  return {{"ZUBC_HOST", WEM_FAKE_ENGINE}, {"ZUBC_VEK", WEM_FAKE_ENGINE}, {"WEM_FAKE_DIR", dir}};
}

std::map<std::string, pid_t> fakeEngines(const std::string& dir) {
  std::map<std::string, pid_t> pids;
  for (const auto& entry : std::filesystem::directory_iterator(dir)) {
    const std::string name = entry.path().filename();
    if (name.ends_with(".pid"))
      pids[name.substr(0, name.size() - 4)] = std::atoi(readFile(entry.path()).c_str());
  }
  return pids;
}

}  // namespace e2e
