#include "base/wakeup.h"

#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>

Wakeup mainWakeup;

namespace {

// Tells the CPU that this is a wait loop.
inline void relax() {
#if defined(__x86_64__) || defined(__i386__)
  __builtin_ia32_pause();
#endif
}

}  // namespace

static_assert(std::atomic<bool>::is_always_lock_free, "notify() runs in signal handlers");

Wakeup::Wakeup() : fd(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {}

Wakeup::~Wakeup() {
  if (fd >= 0) close(fd);
}

// `pending` is set before `sleeping` is read, and wait() sets `sleeping` before it reads
// `pending` (both in the one total order of these atomics): so either the waiter sees the
// notification before it sleeps, or the notifier sees the sleeper and writes the descriptor.
void Wakeup::notify() {
  pending.store(true);
  if (!sleeping.load()) return;
  const int saved = errno;  // a signal handler must leave errno as it found it
  const uint64_t one = 1;
  // A full counter already means "woken"; nothing else can go wrong here worth reporting.
  [[maybe_unused]] const ssize_t written = write(fd, &one, sizeof one);
  errno = saved;
}

bool Wakeup::wait(std::chrono::milliseconds limit, std::chrono::microseconds spin) {
  if (pending.exchange(false)) return true;
  if (spin.count() > 0) {
    const auto end = std::chrono::steady_clock::now() + spin;
    do {
      for (int i = 0; i < 64; ++i) {
        if (pending.load(std::memory_order_relaxed) && pending.exchange(false)) return true;
        relax();
      }
    } while (std::chrono::steady_clock::now() < end);
  }
  sleeping.store(true);
  bool woken = pending.exchange(false);
  if (!woken) {
    pollfd entry = {fd, POLLIN, 0};
    poll(&entry, 1, limit.count() < 0 ? -1 : static_cast<int>(limit.count()));
  }
  sleeping.store(false);
  // A notifier that saw the sleeper may write after the wake-up: the count is consumed now or,
  // at the latest, by the next sleep, which then ends at once and looks again.
  uint64_t count = 0;
  const bool written = read(fd, &count, sizeof count) == static_cast<ssize_t>(sizeof count);
  return pending.exchange(false) || woken || written;
}
