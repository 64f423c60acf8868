#pragma once
#include <unistd.h>

#include <utility>

// Owns one file descriptor (-1: none) and closes it when it ends or gets another one. It moves but
// does not copy, so exactly one holder closes each descriptor; release() hands it over unclosed.
class UniqueFd {
 public:
  UniqueFd() = default;
  explicit UniqueFd(int fd) : fd_(fd) {}
  ~UniqueFd() { reset(); }
  UniqueFd(UniqueFd&& other) noexcept : fd_(other.release()) {}
  UniqueFd& operator=(UniqueFd&& other) noexcept {
    reset(other.release());
    return *this;
  }
  UniqueFd(const UniqueFd&) = delete;
  UniqueFd& operator=(const UniqueFd&) = delete;

  int get() const { return fd_; }
  bool isOpen() const { return fd_ >= 0; }
  int release() { return std::exchange(fd_, -1); }
  // Closes the descriptor held, if any, and holds `fd`. Async-signal-safe, for a forked child.
  void reset(int fd = -1) {
    if (fd_ >= 0) close(fd_);
    fd_ = fd;
  }

 private:
  int fd_ = -1;
};

// Both ends of a pipe, each closed by its own holder.
struct UniquePipe {
  UniqueFd readEnd;
  UniqueFd writeEnd;

  // Holds a new pipe made by pipe2 with `flags`, closing the ends held before; false, with the
  // ends untouched, when pipe2 fails.
  bool open(int flags) {
    int fds[2];
    if (pipe2(fds, flags) != 0) return false;
    readEnd.reset(fds[0]);
    writeEnd.reset(fds[1]);
    return true;
  }
};
