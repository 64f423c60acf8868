#include <gtest/gtest.h>

#include <string>

#include "e2e/session_fixture.h"
#include "support/e2e.h"

namespace {

// Notifications are read only while a command runs, so each scenario lets a command's answer
// carry them.
TEST(Events, ThreadsGetUserIdsAndTheGroupStartsAndExitsWithThem) {
  WemRun run;
  ASSERT_TRUE(run.startAndGreet(R"(
on#1 -gdb-set =thread-created,id="7",group-id="i1",pid="4242"
on#1 -gdb-set =thread-created,id="9",group-id="i1",pid="4242"
on#1 -gdb-set =breakpoint-modified,bkpt={number="1"}
on#1 -gdb-set $TOKEN^done
on#2 -gdb-set =thread-exited,id="7",group-id="i1"
on#2 -gdb-set =thread-exited,id="3",group-id="i1"
on#2 -gdb-set =library-loaded,id="/lib/libm.so.6",thread-group="i1"
on#2 -gdb-set $TOKEN^done
on#3 -gdb-set =thread-exited,id="9",group-id="i1"
on#3 -gdb-set =thread-created,id="11",group-id="i1",pid="4242"
on#3 -gdb-set $TOKEN^done
)"));
  EXPECT_TRUE(e2e::runTranscript(run.wem, R"(
> 1-gdb-set a
< =thread-group-started,id="i1",type="process",pid="4242"
< =thread-created,id="1",group-id="i1",pid="4242"
< =thread-created,id="2",group-id="i1",pid="4242"
< 1^done
< (gdb)
> 2-gdb-set b
< =thread-exited,id="1",group-id="i1"
< =thread-exited,id="3",group-id="i1"
< =library-loaded,id="/lib/libm.so.6",thread-group="i1",group-id="i1"
< 2^done
< (gdb)
> 3-gdb-set c
< =thread-exited,id="2",group-id="i1"
< =thread-group-exited,id="i1"
< =thread-created,id="4",group-id="i1",pid="4242"
< 3^done
< (gdb)
)"));
  EXPECT_TRUE(run.logged("Ignoring event: =breakpoint-modified,bkpt={number=\"1\"}"));
  EXPECT_TRUE(run.logged("Failed to find thread."));
  EXPECT_TRUE(run.exitSession());
}

TEST(Events, NotificationsWithoutTheFieldsTheirHandlerNeedsAreOnlyLogged) {
  WemRun run;
  ASSERT_TRUE(run.startAndGreet(R"(
on#1 -gdb-set =thread-created
on#1 -gdb-set =thread-created,{broken
on#1 -gdb-set =thread-created,group-id="i1",pid="1"
on#1 -gdb-set =thread-created,id="5",group-id="i1"
on#1 -gdb-set =thread-exited,group-id="i1"
on#1 -gdb-set =thread-exited,id="5",group-id="i1"
on#1 -gdb-set =library-loaded,"unnamed"
on#1 -gdb-set $TOKEN^done
)"));
  EXPECT_TRUE(e2e::runTranscript(run.wem, R"(
> 1-gdb-set a
< 1^done
< (gdb)
)"));
  EXPECT_TRUE(run.logged("Event has no record: =thread-created"));
  EXPECT_TRUE(run.logged("Failed to parse event's record: =thread-created,{broken"));
  EXPECT_TRUE(run.logged("Field 'id' is missing: =thread-created,group-id=\"i1\",pid=\"1\""));
  EXPECT_TRUE(run.logged("Field 'pid' is missing: =thread-created,id=\"5\",group-id=\"i1\""));
  EXPECT_TRUE(run.logged("Failed to find thread id:group-id=\"i1\""));
  EXPECT_TRUE(run.logged("No thread found."));
  EXPECT_TRUE(run.exitSession());
}

TEST(Events, UnexpectedConditionIsPassedOnAndEndsTheSession) {
  WemRun run;
  ASSERT_TRUE(run.startAndGreet(R"(
on -gdb-set ~"This is an unexpected condition and may indicate the presence of a defect.\n"
on -gdb-set ~"Further details.\n"
on -gdb-set &"more\n"
on -gdb-set @prompt
on -gdb-set ~"after the prompt: not shown\n"
)"));
  EXPECT_TRUE(e2e::runTranscript(run.wem, R"(
> 4-gdb-set a
< ~"This is an unexpected condition and may indicate the presence of a defect.\n"
< ~"Further details.\n"
< &"more\n"
< ~"Quitting because of an internal error.\n"
)",
                                 e2e::Ms(10000)));
  EXPECT_TRUE(run.endsCleanly());
  EXPECT_TRUE(run.logged("'checkOutputOfZubs' failed."));
  EXPECT_TRUE(run.logged("stopping the session."));
  // The engine was interrupted and asked to exit.
  EXPECT_EQ(run.hostInput(), "4-gdb-set a\n<SIGINT>\n-gdb-exit\n");
}

}  // namespace
