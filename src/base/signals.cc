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
