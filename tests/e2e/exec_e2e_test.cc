// Execution control through the whole program, against fake engines: the user's interrupt, in
// both of its forms, reaches the running command, and an engine that breaks the execution
// protocol ends the session cleanly.

#include <gtest/gtest.h>
#include <signal.h>

#include <string>

#include "e2e/session_fixture.h"

namespace {

const char kRunsUntilInterrupted[] = R"(
on -break-insert $TOKEN^done,bkpt={number="1",type="breakpoint",pending="__zub_target_so_loaded"}
on -exec-run $TOKEN^running
on -exec-continue $TOKEN^running
on SIGINT *stopped,reason="signal-received",signal-name="SIGINT",thread-id="1"
)";

TEST(ExecE2e, ExecInterruptAndSigintReachTheRunningCommand) {
  WemRun run;
  ASSERT_TRUE(run.startAndGreet(kRunsUntilInterrupted));
  // The offload breakpoint goes first and silently; the run is announced once.
  EXPECT_TRUE(e2e::runTranscript(run.wem, R"(
> 1-exec-run
< 1^running
< *running,thread-id="all"
< (gdb)
> -exec-interrupt
< 1*stopped,reason="signal-received",signal-name="SIGINT",thread-id="1"
> 2-exec-continue
< 2^running
< *running,thread-id="all"
< (gdb)
quiet 100
! SIGINT
< 2*stopped,reason="signal-received",signal-name="SIGINT",thread-id="1"
quiet 100
)"));
  EXPECT_EQ(run.hostInput(),
            "-break-insert -f __zub_target_so_loaded\n1-exec-run\n<SIGINT>\n"
            "2-exec-continue\n<SIGINT>\n");
  EXPECT_TRUE(
      run.logged("muted: ^done,bkpt={number=\"1\",type=\"breakpoint\","
                 "pending=\"__zub_target_so_loaded\"}"));
  EXPECT_TRUE(run.exitSession("3"));
}

// Each scenario breaks the protocol during "-exec-continue": the program exits 0 with nothing
// more said than what was due before the fault, and the engine is gone.
TEST(ExecE2e, EngineBreakingTheExecutionProtocolEndsTheProgram) {
  struct Case {
    const char* scenario;
    const char* said;
    const char* logged;
  } cases[] = {
      {"on -exec-continue $TOKEN^connected", "", "Unexpected result type: connected"},
      {"on -exec-continue $TOKEN^running\non -exec-continue $TOKEN^running",
       "4^running\n*running,thread-id=\"all\"\n(gdb)\n", "Unexpected result from i1."},
      {"on -exec-continue *stopped,reason=\"breakpoint-hit\"\n"
       "on -exec-continue $TOKEN^running",
       "", "i1 is not supposed to be running."},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.scenario);
    WemRun run;
    ASSERT_TRUE(run.startAndGreet(c.scenario));
    run.wem.writeLine("4-exec-continue");
    EXPECT_TRUE(run.wem.expect(c.said));
    EXPECT_TRUE(run.endsCleanly());
    EXPECT_TRUE(run.logged(c.logged));
    EXPECT_TRUE(run.logged("'checkOutputOfZubs' failed."));
  }
}

}  // namespace
