#pragma once
#include <signal.h>

// Set (to 1) by the handlers below and read on the main thread. sig_atomic_t is the type a
// handler may store to without the reader seeing a torn value; the session clears sigIntPending
// when it acts on it, the others stay.
extern volatile sig_atomic_t sigIntPending;
extern volatile sig_atomic_t sigQuitPending;
extern volatile sig_atomic_t sigTermPending;

// Each sets its flag and wakes the main thread.
void sigIntHandler(int);
void sigQuitHandler(int);
void sigTermHandler(int);

// Installs the three handlers (SIGINT, SIGQUIT, SIGTERM, in that order) with signal(), and puts
// the default actions back.
void installSignalHandlers();
void restoreDefaultSignalActions();
