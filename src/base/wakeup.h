#pragma once
#include <atomic>
#include <chrono>

// Wakes the main thread. Whatever the main thread may wait for (a line queued by a reader
// thread, an engine's end of output, a signal) notifies it here, and the main thread sleeps in
// wait() only after it has looked at every source once since the last wake-up. A notification
// that comes between that look and the sleep ends the sleep at once, so none is ever lost.
// notify() is safe in signal handlers and in any thread; it makes a system call only when the
// main thread sleeps, so a busy main thread is not slowed down by its producers.
class Wakeup {
 public:
  Wakeup();
  ~Wakeup();
  Wakeup(const Wakeup&) = delete;
  Wakeup& operator=(const Wakeup&) = delete;

  void notify();
  // Sleeps until a notification (or a signal) comes, or `limit` passes (negative: no limit), and
  // consumes every notification made so far. True when woken by a notification. For the first
  // `spin` of the wait the thread stays on its CPU and watches for the notification: one that
  // comes in that time costs neither side a system call nor the wake-up of a sleeping CPU.
  bool wait(std::chrono::milliseconds limit = std::chrono::milliseconds(-1),
            std::chrono::microseconds spin = std::chrono::microseconds(0));

 private:
  std::atomic<bool> pending{false};
  std::atomic<bool> sleeping{false};
  int fd;
};

// The main thread's wake-up.
extern Wakeup mainWakeup;
