#pragma once
#include <signal.h>

#include <atomic>

// Set (to 1) by the handlers below and read on the main thread. sig_atomic_t is the type a
// handler may store to without the reader seeing a torn value; the session clears sigIntPending
// when it acts on it, the others stay.
extern volatile sig_atomic_t sigIntPending;
extern volatile sig_atomic_t sigQuitPending;
extern volatile sig_atomic_t sigTermPending;
// Counts the signals the handlers below received, so that a wait can tell that one came since it
// began even when its flag was set before.
extern std::atomic<unsigned> userSignalCount;

// Each sets its flag, counts the signal and wakes the main thread.
void sigIntHandler(int);
void sigQuitHandler(int);
void sigTermHandler(int);

// Installs the three handlers (SIGINT, SIGQUIT, SIGTERM, in that order) with signal(), and puts
// the default actions back.
void installSignalHandlers();
void restoreDefaultSignalActions();
