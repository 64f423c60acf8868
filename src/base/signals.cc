#include "base/signals.h"

volatile bool sigIntPending = false;
volatile bool sigQuitPending = false;
volatile bool sigTermPending = false;

void sigIntHandler(int) { sigIntPending = true; }
void sigQuitHandler(int) { sigQuitPending = true; }
void sigTermHandler(int) { sigTermPending = true; }

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
