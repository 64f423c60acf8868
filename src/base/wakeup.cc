#include "base/wakeup.h"

#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>

Wakeup mainWakeup;

Wakeup::Wakeup() : fd(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {}

Wakeup::~Wakeup() {
  if (fd >= 0) close(fd);
}

void Wakeup::notify() {
  const int saved = errno;  // a signal handler must leave errno as it found it
  const uint64_t one = 1;
  // A full counter already means "woken"; nothing else can go wrong here worth reporting.
  [[maybe_unused]] const ssize_t written = write(fd, &one, sizeof one);
  errno = saved;
}

bool Wakeup::wait(std::chrono::milliseconds limit) {
  pollfd entry = {fd, POLLIN, 0};
  const int ready = poll(&entry, 1, limit.count() < 0 ? -1 : static_cast<int>(limit.count()));
  uint64_t count = 0;
  const bool woken = read(fd, &count, sizeof count) == static_cast<ssize_t>(sizeof count);
  return ready > 0 && woken;
}
