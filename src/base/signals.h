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
