#include <gtest/gtest.h>

#include <string>

#include "e2e/session_fixture.h"
#include "support/e2e.h"

namespace {

TEST(Signals, InterruptWhileIdleIsOnlyLogged) {
  WemRun run;
  ASSERT_TRUE(run.startAndGreet(""));
  EXPECT_TRUE(e2e::runTranscript(run.wem, R"(
! SIGINT
quiet 300
> 1-gdb-set a
< 1^done
< (gdb)
)"));
  EXPECT_EQ(run.countLogged("sigIntPending cleared."), 1u);
  EXPECT_TRUE(run.exitSession());
  EXPECT_EQ(run.hostInput(), "1-gdb-set a\n-gdb-exit\n");
}

TEST(Signals, InterruptWhileACommandWaitsSignalsItsEngineOnce) {
  WemRun run;
  ASSERT_TRUE(run.startAndGreet(R"(
on -stack-info-depth @noprompt
on SIGINT ^done,depth="3"
)"));
  EXPECT_TRUE(e2e::runTranscript(run.wem, R"(
> 4-stack-info-depth
quiet 300
! SIGINT
< 4^done,depth="3"
< (gdb)
)"));
  EXPECT_EQ(run.countLogged("sigIntPending cleared."), 1u);
  EXPECT_TRUE(run.exitSession());
  EXPECT_EQ(run.hostInput(), "4-stack-info-depth\n<SIGINT>\n-gdb-exit\n");
}

TEST(Signals, TerminateWaitsForTheRunningCommand) {
  WemRun run;
  ASSERT_TRUE(run.startAndGreet(R"(
on -stack-info-depth @sleep 800
on -stack-info-depth $TOKEN^done,depth="1"
)"));
  EXPECT_TRUE(e2e::runTranscript(run.wem, R"(
> 5-stack-info-depth
sleep 200
! SIGTERM
< 5^done,depth="1"
< (gdb)
)"));
  EXPECT_TRUE(run.endsCleanly());
  EXPECT_EQ(run.hostInput(), "5-stack-info-depth\n<SIGINT>\n-gdb-exit\n");
  EXPECT_TRUE(run.logged("stopping the session."));
}

TEST(Signals, TerminateWhileIdleEndsTheSession) {
  WemRun run;
  ASSERT_TRUE(run.startAndGreet(""));
  // One answer first: an engine that is still starting may die of the interrupt instead.
  EXPECT_TRUE(e2e::runTranscript(run.wem, R"(
> 1-gdb-set a
< 1^done
< (gdb)
! SIGTERM
)"));
  EXPECT_TRUE(run.endsCleanly());
  EXPECT_EQ(run.hostInput(), "1-gdb-set a\n<SIGINT>\n-gdb-exit\n");
}

TEST(Signals, QuitEndsAtOnceEvenWhileACommandWaits) {
  WemRun run;
  ASSERT_TRUE(run.startAndGreet(R"(
on -stack-info-depth @after 5000 $TOKEN^done,depth="9"
on -stack-info-depth @noprompt
)"));
  EXPECT_TRUE(e2e::runTranscript(run.wem, R"(
> 6-stack-info-depth
sleep 200
! SIGQUIT
)"));
  EXPECT_TRUE(run.endsCleanly(e2e::Ms(3000)));
  EXPECT_EQ(run.hostInput(), "6-stack-info-depth\n<SIGINT>\n-gdb-exit\n");
}

TEST(Signals, EngineThatDiesMidCommandLeavesItWaitingUntilQuit) {
  WemRun run;
  ASSERT_TRUE(run.startAndGreet("on -stack-info-depth @exit 0\n"));
  // The command never completes: the interrupt reaches no engine, a terminate request waits for
  // the command, and only a quit ends the session.
  EXPECT_TRUE(e2e::runTranscript(run.wem, R"(
> 7-stack-info-depth
quiet 300
! SIGINT
quiet 300
! SIGTERM
quiet 300
! SIGQUIT
)"));
  EXPECT_TRUE(run.endsCleanly());
  EXPECT_TRUE(run.logged("sigIntPending cleared."));
}

TEST(Signals, EngineThatExitsAtStartStillLetsTheSessionEnd) {
  WemRun run;
  ASSERT_TRUE(run.startAndGreet("banner @exit 0\n"));
  EXPECT_TRUE(e2e::runTranscript(run.wem, R"(
> 8-thread-select 1
< 8^done,msg="Command is not implemented."
< (gdb)
> 9-gdb-set a
quiet 300
! SIGQUIT
)"));
  EXPECT_TRUE(run.endsCleanly());
}

}  // namespace
