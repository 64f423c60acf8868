#include "base/signals.h"

#include "base/wakeup.h"

volatile sig_atomic_t sigIntPending = 0;
volatile sig_atomic_t sigQuitPending = 0;
volatile sig_atomic_t sigTermPending = 0;
std::atomic<unsigned> userSignalCount{0};

static_assert(std::atomic<unsigned>::is_always_lock_free, "the handlers count signals");

void sigIntHandler(int) {
  sigIntPending = 1;
  ++userSignalCount;
  mainWakeup.notify();
}
void sigQuitHandler(int) {
  sigQuitPending = 1;
  ++userSignalCount;
  mainWakeup.notify();
}
void sigTermHandler(int) {
  sigTermPending = 1;
  ++userSignalCount;
  mainWakeup.notify();
}

namespace {

struct HandledSignal {
  int number;
  void (*handler)(int);
};
constexpr HandledSignal kHandled[] = {
    {SIGINT, sigIntHandler}, {SIGQUIT, sigQuitHandler}, {SIGTERM, sigTermHandler}};

}  // namespace

void installSignalHandlers() {
  for (const HandledSignal& s : kHandled) signal(s.number, s.handler);
}

void restoreDefaultSignalActions() {
  for (const HandledSignal& s : kHandled) signal(s.number, SIG_DFL);
}
