#pragma once
#include <signal.h>

// Set by the handlers below and read on the main thread. One byte each, so a store from a
// handler is never torn; the session clears sigIntPending when it acts on it, the others stay.
extern volatile bool sigIntPending;
extern volatile bool sigQuitPending;
extern volatile bool sigTermPending;

// Each sets its flag and wakes the main thread.
void sigIntHandler(int);
void sigQuitHandler(int);
void sigTermHandler(int);

// Installs the three handlers (SIGINT, SIGQUIT, SIGTERM, in that order) with signal(), and puts
// the default actions back.
void installSignalHandlers();
void restoreDefaultSignalActions();

// While alive, our three handlers interrupt blocking system calls of the main thread (EINTR)
// instead of having them restarted, which signal() asks for. A blocking waitpid for an engine that
// never ends can so be broken by a user's interrupt or terminate. Signals whose handler is not ours
// are left alone; the destructor puts the saved actions back.
class InterruptibleWaits {
 public:
  InterruptibleWaits();
  ~InterruptibleWaits();
  InterruptibleWaits(const InterruptibleWaits&) = delete;
  InterruptibleWaits& operator=(const InterruptibleWaits&) = delete;

 private:
  static constexpr int kSignalCount = 3;
  bool changed[kSignalCount] = {};
  struct sigaction saved[kSignalCount] = {};
};
