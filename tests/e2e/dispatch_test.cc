#include <gtest/gtest.h>

#include <string>

#include "e2e/session_fixture.h"
#include "support/e2e.h"

namespace {

TEST(Dispatch, LinesWithoutCommandWordGetABarePrompt) {
  WemRun run;
  ASSERT_TRUE(run.startAndGreet(""));
  run.wem.write("\n   \t\n");
  EXPECT_TRUE(e2e::runTranscript(run.wem, R"(
< (gdb)
< (gdb)
> 42
< (gdb)
> # a comment
< (gdb)
> Upper-case start
< (gdb)
quiet 100
)"));
  EXPECT_TRUE(run.exitSession());
  EXPECT_EQ(run.hostInput(), "-gdb-exit\n");
  EXPECT_TRUE(run.logged("From user: "));
}

TEST(Dispatch, UnknownWordsAreDoneButNotImplementedWithTheirToken) {
  WemRun run;
  ASSERT_TRUE(run.startAndGreet(""));
  EXPECT_TRUE(e2e::runTranscript(run.wem, R"(
> 5-thread-select 1
< 5^done,msg="Command is not implemented."
< (gdb)
> -enable-pretty-printing
< ^done,msg="Command is not implemented."
< (gdb)
> 6-Gdb-set confirm off
< 6^done,msg="Command is not implemented."
< (gdb)
> 7-GDB-EXIT
< 7^done,msg="Command is not implemented."
< (gdb)
> 8-gdb-setx
< 8^done,msg="Command is not implemented."
< (gdb)
> 9|odd|
< 9^done,msg="Command is not implemented."
< (gdb)
quiet 100
)"));
  // None of them reached the engine.
  EXPECT_TRUE(run.exitSession());
  EXPECT_EQ(run.hostInput(), "-gdb-exit\n");
}

TEST(Dispatch, ExecInterruptQueuesNothingAndAnswersNothing) {
  WemRun run;
  ASSERT_TRUE(run.startAndGreet(""));
  EXPECT_TRUE(e2e::runTranscript(run.wem, R"(
> 12-exec-interrupt
quiet 300
> -exec-interrupt
quiet 300
> 13-gdb-set confirm off
< 13^done
< (gdb)
)"));
  EXPECT_EQ(run.countLogged("sigIntPending cleared."), 2u);
  EXPECT_TRUE(run.exitSession());
  EXPECT_EQ(run.hostInput(), "13-gdb-set confirm off\n-gdb-exit\n");
}

TEST(Dispatch, LinesTypedWhileACommandRunsAreAnsweredInOrderAfterIt) {
  WemRun run;
  ASSERT_TRUE(run.startAndGreet(R"(
on#1 -gdb-set @sleep 600
on#1 -gdb-set $TOKEN^done
)"));
  // The empty line is answered as soon as it is read, before the running command's reply; the
  // rest wait their turn.
  run.wem.write("1-gdb-set a\n2-list-features\n3-unknown-word\n\n4-gdb-set b\n");
  EXPECT_TRUE(e2e::runTranscript(run.wem, R"(
< (gdb)
< 1^done
< (gdb)
< 2^done
< (gdb)
< 3^done,msg="Command is not implemented."
< (gdb)
< 4^done
< (gdb)
quiet 100
)"));
  // The engine got each command only after it had answered the one before.
  EXPECT_TRUE(run.exitSession());
  EXPECT_EQ(run.hostInput(), "1-gdb-set a\n2-list-features\n4-gdb-set b\n-gdb-exit\n");
}

TEST(Dispatch, QuitEndsTheSessionLikeGdbExit) {
  WemRun run;
  // The engine is told "quit" too, and leaves as an engine does on "-gdb-exit".
  ASSERT_TRUE(run.startAndGreet("on quit $TOKEN^exit\non quit @exit 0\n"));
  run.wem.writeLine("21quit");
  EXPECT_TRUE(run.wem.expect("=thread-group-removed,id=\"i1\"\n21^exit\n"));
  EXPECT_TRUE(run.endsCleanly());
  EXPECT_EQ(run.hostInput(), "21quit\n");
}

}  // namespace
