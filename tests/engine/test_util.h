#pragma once
#include <unistd.h>

#include <chrono>
#include <functional>
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

// A pipe whose ends close with the object unless closed before.
struct Pipe {
  int fds[2] = {-1, -1};
  Pipe() {
    if (pipe(fds) != 0) fds[0] = fds[1] = -1;
  }
  ~Pipe() { closeEnd(0), closeEnd(1); }
  void closeEnd(int end) {
    if (fds[end] >= 0) close(fds[end]);
    fds[end] = -1;
  }
};
