#pragma once
#include <unistd.h>

#include <boost/regex.hpp>
#include <chrono>
#include <functional>
#include <string>
#include <thread>

// Polls `done` every millisecond until it holds or `seconds` pass; the result of the last poll.
inline bool waitUntil(const std::function<bool()>& done, double seconds = 5) {
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::duration<double>(seconds);
  while (!done()) {
    if (std::chrono::steady_clock::now() > deadline) return false;
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
  return true;
}

// Log records carry the writing line's number, which moves with the code: compare without it.
inline std::string stripNumbers(const std::string& log) {
  static const boost::regex number(R"(^\d+: )");
  return boost::regex_replace(log, number, "");
}

// A pipe whose ends close with the object unless released.
struct Pipe {
  int fds[2] = {-1, -1};
  Pipe() {
    if (pipe(fds) != 0) fds[0] = fds[1] = -1;
  }
  ~Pipe() {
    closeRead();
    closeWrite();
  }
  int readFd() const { return fds[0]; }
  int writeFd() const { return fds[1]; }
  void closeRead() {
    if (fds[0] >= 0) close(fds[0]);
    fds[0] = -1;
  }
  void closeWrite() {
    if (fds[1] >= 0) close(fds[1]);
    fds[1] = -1;
  }
};
