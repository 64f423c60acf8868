#include "base/signals.h"

#include "base/wakeup.h"

volatile bool sigIntPending = false;
volatile bool sigQuitPending = false;
volatile bool sigTermPending = false;

void sigIntHandler(int) {
  sigIntPending = true;
  mainWakeup.notify();
}
void sigQuitHandler(int) {
  sigQuitPending = true;
  mainWakeup.notify();
}
void sigTermHandler(int) {
  sigTermPending = true;
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

InterruptibleWaits::InterruptibleWaits() {
  static_assert(sizeof(kHandled) / sizeof(kHandled[0]) == kSignalCount);
  for (int i = 0; i < kSignalCount; ++i) {
    if (sigaction(kHandled[i].number, nullptr, &saved[i]) != 0) continue;
    if ((saved[i].sa_flags & SA_SIGINFO) || saved[i].sa_handler != kHandled[i].handler) continue;
    struct sigaction interrupting = saved[i];
    interrupting.sa_flags &= ~SA_RESTART;
    changed[i] = sigaction(kHandled[i].number, &interrupting, nullptr) == 0;
  }
}

InterruptibleWaits::~InterruptibleWaits() {
  for (int i = 0; i < kSignalCount; ++i) {
    if (changed[i]) sigaction(kHandled[i].number, &saved[i], nullptr);
  }
}
