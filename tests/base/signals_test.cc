#include "base/signals.h"

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>

#include "base/silencer.h"

namespace {

void clearFlags() {
  sigIntPending = false;
  sigQuitPending = false;
  sigTermPending = false;
}

}  // namespace

TEST(Signals, HandlersOnlySetTheirFlagAndDefaultsComeBack) {
  installSignalHandlers();
  clearFlags();
  raise(SIGINT);
  EXPECT_TRUE(sigIntPending);
  EXPECT_FALSE(sigQuitPending);
  raise(SIGQUIT);
  raise(SIGTERM);
  EXPECT_TRUE(sigQuitPending);
  EXPECT_TRUE(sigTermPending);
  restoreDefaultSignalActions();
  struct sigaction action;
  for (int sig : {SIGINT, SIGQUIT, SIGTERM}) {
    sigaction(sig, nullptr, &action);
    EXPECT_EQ(action.sa_handler, SIG_DFL);
  }
  clearFlags();
}

// A blocking waitpid for a child that never ends returns EINTR on SIGINT only inside the guard.
TEST(Signals, InterruptibleWaitsBreakABlockingWaitAndRestoreRestart) {
  installSignalHandlers();
  const pid_t sleeper = fork();
  ASSERT_GE(sleeper, 0);
  if (sleeper == 0) {
    sleep(30);
    _exit(0);
  }
  const pid_t parent = getpid();
  const pid_t poker = fork();
  ASSERT_GE(poker, 0);
  if (poker == 0) {
    usleep(100000);
    kill(parent, SIGINT);
    _exit(0);
  }
  {
    InterruptibleWaits interruptible;
    int status;
    errno = 0;
    EXPECT_EQ(waitpid(sleeper, &status, 0), -1);
    EXPECT_EQ(errno, EINTR);
    EXPECT_TRUE(sigIntPending);
  }
  struct sigaction action;
  sigaction(SIGINT, nullptr, &action);
  EXPECT_TRUE(action.sa_flags & SA_RESTART);
  EXPECT_EQ(action.sa_handler, sigIntHandler);
  kill(sleeper, SIGKILL);
  int status;
  waitpid(sleeper, &status, 0);
  waitpid(poker, &status, 0);
  restoreDefaultSignalActions();
  sigIntPending = false;
}

TEST(Silencer, MutesForItsLifetimeAndAnyEndUnmutes) {
  bool muted = false;
  {
    Silencer outer(muted);
    EXPECT_TRUE(muted);
    {
      Silencer inner(muted);
      EXPECT_TRUE(muted);
    }
    EXPECT_FALSE(muted);  // Guards do not nest.
  }
  EXPECT_FALSE(muted);
}
