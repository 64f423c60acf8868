#include "commands/exec_cmd.h"

#include <gtest/gtest.h>

#include <chrono>
#include <string>
#include <thread>

#include "base/signals.h"
#include "support/session_rig.h"

namespace {

using Rig = SessionRig;

// A host that runs until a breakpoint 100 ms later, or until interrupted.
const char kHostStopsAtBreakpoint[] = R"(
on -exec-continue $TOKEN^running
on -exec-continue @after 100 *stopped,reason="breakpoint-hit",bkptno="1",frame={func="main"},thread-id="1"
on SIGINT @cancel
on SIGINT *stopped,reason="signal-received",thread-id="1"
)";

// An engine that runs until it is interrupted.
const char kRunsUntilInterrupted[] = R"(
on -exec-continue $TOKEN^running
on -exec-next $TOKEN^running
on -exec-step $TOKEN^running
on SIGINT *stopped,reason="signal-received",thread-id="1"
)";

size_t count(const std::string& text, const std::string& piece) {
  size_t n = 0;
  for (size_t at = text.find(piece); at != std::string::npos; at = text.find(piece, at + 1)) ++n;
  return n;
}

TEST(ExecCmd, FirstStopInterruptsTheOthersAndOneStopRecordCarriesTheToken) {
  Rig rig;
  rig.startHost(kHostStopsAtBreakpoint);
  rig.startCard(kRunsUntilInterrupted);
  ASSERT_TRUE(rig.run("5-exec-continue"));
  EXPECT_EQ(rig.userOutput(),
            "5^running\n*running,thread-id=\"all\"\n(gdb)\n"
            "5*stopped,reason=\"breakpoint-hit\",bkptno=\"1\",frame={func=\"main\"},"
            "thread-id=\"1\"\n");
  EXPECT_EQ(rig.received("i1"), "5-exec-continue\n");
  EXPECT_EQ(rig.received("vek1"), "5-exec-continue\n<SIGINT>\n");
  EXPECT_EQ(rig.session.currentZubId, "i1");
  EXPECT_NE(rig.logText().find("\nAll engines are stopped.\n"), std::string::npos);
}

TEST(ExecCmd, BreakpointInCardEngineInterruptsHostAndMakesTheCardCurrent) {
  Rig rig;
  rig.startHost(kRunsUntilInterrupted);
  rig.startCard(R"(
on -exec-continue $TOKEN^running
on -exec-continue @after 100 *stopped,reason="breakpoint-hit",bkptno="5",frame={func="kernel"},thread-id="3"
)");
  ASSERT_TRUE(rig.run("6-exec-continue"));
  // The card's thread 3 is the first thread seen, so the user knows it as thread 1.
  EXPECT_EQ(rig.userOutput(),
            "6^running\n*running,thread-id=\"all\"\n(gdb)\n"
            "6*stopped,reason=\"breakpoint-hit\",bkptno=\"5\",frame={func=\"kernel\"},"
            "thread-id=\"1\"\n");
  EXPECT_EQ(rig.received("i1"), "6-exec-continue\n<SIGINT>\n");
  EXPECT_EQ(rig.session.currentZubId, "vek1");
}

TEST(ExecCmd, CardSideExitDoesNotInterruptTheHost) {
  Rig rig;
  rig.startHost(R"(
on -exec-continue $TOKEN^running
on -exec-continue @after 400 *stopped,reason="breakpoint-hit",frame={func="main"},thread-id="1"
on SIGINT *stopped,reason="signal-received",thread-id="1"
)");
  rig.startCard(R"(
on -exec-continue $TOKEN^running
on -exec-continue @after 50 *stopped,reason="exited-normally"
)");
  ASSERT_TRUE(rig.run("7-exec-continue"));
  EXPECT_EQ(rig.received("i1"), "7-exec-continue\n");
  EXPECT_EQ(count(rig.userOutput(), "*stopped"), 1u);
  EXPECT_EQ(rig.logText().find("Sent signal"), std::string::npos);
}

TEST(ExecCmd, StopWithoutReadableRecordReportsReasonUnknown) {
  Rig rig;
  rig.startHost(R"(
on#1 -exec-next $TOKEN^running
on#1 -exec-next *stopped
on#2 -exec-next $TOKEN^running
on#2 -exec-next *stopped,reason="end-stepping-range
on#3 -exec-next $TOKEN^running
on#3 -exec-next *stopped,thread-id={id="1"}
on#4 -exec-next $TOKEN^running
on#4 -exec-next *stopped,reason="exited-normally",exit-code="0"
)");
  ASSERT_TRUE(rig.run("1-exec-next"));
  ASSERT_TRUE(rig.run("2-exec-next"));
  ASSERT_TRUE(rig.run("3-exec-next"));
  const std::string running = "^running\n*running,thread-id=\"all\"\n(gdb)\n";
  EXPECT_EQ(rig.userOutput(), "1" + running + "1*stopped,reason=\"unknown\"\n" +      //
                                  "2" + running + "2*stopped,reason=\"unknown\"\n" +  //
                                  "3" + running + "3*stopped,reason=\"unknown\"\n");
  // The host's own exit is reported as it came.
  ASSERT_TRUE(rig.run("4-exec-next"));
  EXPECT_EQ(rig.userOutput(),
            "4" + running + "4*stopped,reason=\"exited-normally\",exit-code=\"0\"\n");
}

TEST(ExecCmd, WhenEveryEngineRefusesTheHostErrorIsPassedOn) {
  Rig rig;
  rig.startHost(R"(on -exec-continue $TOKEN^error,msg="The program is not being run.")");
  rig.startCard(R"(on -exec-continue $TOKEN^error,msg="card refuses")");
  ASSERT_TRUE(rig.run("8-exec-continue"));
  EXPECT_EQ(rig.userOutput(), "8^error,msg=\"The program is not being run.\"\n(gdb)\n");
  EXPECT_TRUE(rig.run("9-exec-continue"));
  EXPECT_EQ(rig.userOutput(), "9^error,msg=\"The program is not being run.\"\n(gdb)\n");
}

TEST(ExecCmd, CardErrorWhileTheHostRunsStillEndsInTheHostStop) {
  Rig rig;
  rig.startHost(kHostStopsAtBreakpoint);
  rig.startCard(R"(on -exec-continue $TOKEN^error,msg="card refuses")");
  ASSERT_TRUE(rig.run("3-exec-continue"));
  EXPECT_EQ(rig.userOutput(),
            "3^running\n*running,thread-id=\"all\"\n(gdb)\n"
            "3*stopped,reason=\"breakpoint-hit\",bkptno=\"1\",frame={func=\"main\"},"
            "thread-id=\"1\"\n");
}

TEST(ExecCmd, ProgramOutputReachesTheUserButOffloadSymbolConsoleLinesDoNot) {
  Rig rig;
  rig.startHost(R"(
on -exec-continue $TOKEN^running
on -exec-continue ~"Breakpoint 2, __zub_target_so_loaded () at offload.c:10\n"
on -exec-continue hello from the program
on -exec-continue ~"Breakpoint 1, main () at prog.c:3\n"
on -exec-continue &"a log line mentioning __zub_target_so_loaded\n"
on -exec-continue *stopped,reason="breakpoint-hit",thread-id="1"
)");
  ASSERT_TRUE(rig.run("4-exec-continue"));
  EXPECT_EQ(rig.userOutput(),
            "4^running\n*running,thread-id=\"all\"\n(gdb)\n"
            "hello from the program\n"
            "~\"Breakpoint 1, main () at prog.c:3\\n\"\n"
            "&\"a log line mentioning __zub_target_so_loaded\\n\"\n"
            "4*stopped,reason=\"breakpoint-hit\",thread-id=\"1\"\n");
}

TEST(ExecCmd, ThreadOptionStepsItsEngineWhileTheOthersContinue) {
  Rig rig;
  rig.startHost(R"(
on#1 -exec-continue $TOKEN^running
on#1 -exec-continue @after 100 *stopped,reason="breakpoint-hit",thread-id="1"
on -exec-continue $TOKEN^running
on -exec-next $TOKEN^running
on -exec-next @after 100 *stopped,reason="end-stepping-range",thread-id="1"
on SIGINT @cancel
on SIGINT *stopped,reason="signal-received",thread-id="1"
)");
  rig.startCard(R"(
on -exec-continue $TOKEN^running
on -exec-step $TOKEN^running
on -exec-step @after 50 *stopped,reason="end-stepping-range",thread-id="1"
on SIGINT @cancel
on SIGINT *stopped,reason="signal-received",thread-id="1"
)");
  // Host thread 1 becomes user thread 1, card thread 1 user thread 2.
  ASSERT_TRUE(rig.run("1-exec-continue"));
  rig.userOutput();

  ASSERT_TRUE(rig.run("2-exec-next --thread 1"));
  EXPECT_EQ(rig.received("i1"), "1-exec-continue\n2-exec-next \n");
  EXPECT_EQ(rig.received("vek1"), "1-exec-continue\n<SIGINT>\n2-exec-continue\n<SIGINT>\n");
  EXPECT_EQ(rig.session.currentZubId, "i1");
  rig.userOutput();

  ASSERT_TRUE(rig.run("3-exec-step --thread 2"));
  EXPECT_EQ(rig.received("vek1"),
            "1-exec-continue\n<SIGINT>\n2-exec-continue\n<SIGINT>\n3-exec-step \n");
  EXPECT_EQ(rig.received("i1"), "1-exec-continue\n2-exec-next \n3-exec-continue\n<SIGINT>\n");
  EXPECT_EQ(rig.userOutput(),
            "3^running\n*running,thread-id=\"all\"\n(gdb)\n"
            "3*stopped,reason=\"end-stepping-range\",thread-id=\"2\"\n");
  EXPECT_EQ(rig.session.currentZubId, "vek1");

  // An unknown thread is refused before any engine hears of it.
  ASSERT_TRUE(rig.run("4-exec-next --thread 42"));
  EXPECT_EQ(rig.userOutput(), "4^error,msg=\"Invalid thread: 42\"\n(gdb)\n");
  EXPECT_EQ(rig.received("i1"), "1-exec-continue\n2-exec-next \n3-exec-continue\n<SIGINT>\n");
}

TEST(ExecCmd, OtherInferiorsRunOnTheirOwn) {
  Rig rig;
  rig.startHost(kRunsUntilInterrupted);
  rig.startHost(R"(
on -exec-continue $TOKEN^running
on -exec-continue *stopped,reason="breakpoint-hit",thread-id="1"
on -exec-next $TOKEN^running
on -exec-next *stopped,reason="end-stepping-range",thread-id="1"
)");
  ASSERT_TRUE(rig.run("1-exec-continue --thread-group i2"));
  EXPECT_EQ(rig.userOutput(),
            "1^running\n*running,thread-id=\"all\"\n(gdb)\n"
            "1*stopped,reason=\"breakpoint-hit\",thread-id=\"1\"\n");
  EXPECT_EQ(rig.received("i2"), "1-exec-continue \n");
  EXPECT_EQ(rig.received("i1"), "");
  EXPECT_EQ(rig.session.currentZubId, "i2");

  ASSERT_TRUE(rig.run("2-exec-next"));
  EXPECT_EQ(rig.received("i2"), "1-exec-continue \n2-exec-next\n");
  EXPECT_EQ(rig.received("i1"), "");
  rig.userOutput();

  ASSERT_TRUE(rig.run("3-exec-continue --thread-group i7"));
  EXPECT_EQ(rig.userOutput(), "3^error,msg=\"Invalid thread-group: i7\"\n(gdb)\n");
  rig.session.currentZubId = "i9";
  ASSERT_TRUE(rig.run("4-exec-next"));
  EXPECT_EQ(rig.userOutput(), "4^error,msg=\"Invalid thread-group: i9\"\n(gdb)\n");
  EXPECT_EQ(rig.received("i1"), "");
}

TEST(ExecCmd, HostGroupOptionGoesToEveryEngineOfTheHostProgram) {
  Rig rig;
  rig.startHost(kHostStopsAtBreakpoint);
  rig.startCard(kRunsUntilInterrupted);
  rig.session.currentZubId = "vek1";
  ASSERT_TRUE(rig.run("2-exec-continue --thread-group i1"));
  EXPECT_EQ(rig.received("i1"), "2-exec-continue \n");
  EXPECT_EQ(rig.received("vek1"), "2-exec-continue \n<SIGINT>\n");
  EXPECT_EQ(rig.session.currentZubId, "i1");
}

TEST(ExecCmd, InternalResumeDoesNotAnnounceRunningAgain) {
  Rig rig;
  rig.startHost(kHostStopsAtBreakpoint);
  ExecCmd resume("7-exec-continue\n", true);
  ASSERT_TRUE(rig.session.runCmd(resume));
  EXPECT_TRUE(resume.isFinished());
  EXPECT_EQ(rig.userOutput(),
            "7*stopped,reason=\"breakpoint-hit\",bkptno=\"1\",frame={func=\"main\"},"
            "thread-id=\"1\"\n");
}

TEST(ExecCmd, UserInterruptStopsEveryRunningEngine) {
  // The engine that stops last also hears the interrupt that the first stop sends; like a real
  // engine whose program already stopped, it reports no second stop.
  const char stopsOnce[] = R"(
on -exec-continue $TOKEN^running
on#1 SIGINT *stopped,reason="signal-received",thread-id="1"
on SIGINT
)";
  Rig rig;
  rig.startHost(stopsOnce);
  rig.startCard(stopsOnce);
  // The loop calls the running command's interruptCmd when the flag is set, as
  // "-exec-interrupt" and the user's SIGINT do.
  std::thread user([] {
    std::this_thread::sleep_for(std::chrono::milliseconds(300));
    sigIntPending = true;
  });
  bool ok = rig.run("3-exec-continue");
  user.join();
  ASSERT_TRUE(ok);
  EXPECT_TRUE(rig.received("i1").starts_with("3-exec-continue\n<SIGINT>\n"));
  EXPECT_TRUE(rig.received("vek1").starts_with("3-exec-continue\n<SIGINT>\n"));
  EXPECT_EQ(count(rig.userOutput(), "3*stopped,reason=\"signal-received\""), 1u);
}

// Each engine misbehaves in its own way; each time the run reports that the session must end,
// the log names the fault, and stopping the session leaves no engine behind.
TEST(ExecCmd, EngineProtocolViolationsEndTheSession) {
  struct Case {
    const char* host;
    const char* logged;
  } cases[] = {
      {"on -exec-continue $TOKEN^done", "Unexpected result type: done"},
      {"on -exec-continue $TOKEN^connected", "Unexpected result type: connected"},
      {"on -exec-continue $TOKEN^running\non -exec-continue $TOKEN^running",
       "Unexpected result from i1."},
      {"on -exec-continue *stopped,reason=\"breakpoint-hit\"\n"
       "on -exec-continue $TOKEN^running",
       "i1 is not supposed to be running."},
      {"on -exec-continue $TOKEN^running\n"
       "on -exec-continue *stopped,reason=\"breakpoint-hit\"\n"
       "on -exec-continue *stopped,reason=\"breakpoint-hit\"",
       "i1 is not supposed to be running."},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.host);
    Rig rig;
    rig.startHost(c.host);
    // The card answers its interrupt only after a while, so the host's second word is seen
    // while the command still runs.
    rig.startCard(
        "on -exec-continue $TOKEN^running\n"
        "on SIGINT @sleep 500\n"
        "on SIGINT *stopped,reason=\"signal-received\"\n");
    EXPECT_FALSE(rig.run("1-exec-continue"));
    EXPECT_NE(rig.logText().find("\n" + std::string(c.logged) + "\n"), std::string::npos)
        << rig.logText();
    rig.stop();
  }
}

TEST(ExecCmd, HostProgramWithoutItsHostEngineCannotBeRun) {
  Rig rig;
  rig.startCard(kRunsUntilInterrupted);
  rig.session.currentZubId = "vek1";
  EXPECT_FALSE(rig.run("1-exec-continue"));
  EXPECT_NE(rig.logText().find("\nFailed to send command to i1.\n"), std::string::npos);
  EXPECT_NE(rig.logText().find("\nFailed to to launch cmd: 1-exec-continue\n"), std::string::npos);
  EXPECT_EQ(rig.userOutput(), "");
}

TEST(ExecCmd, QuitWithTwoEnginesRemovesBothAndEndsTheSession) {
  Rig rig;
  rig.startHost("on quit $TOKEN^exit\non quit @exit 0\n");
  rig.startCard("on quit $TOKEN^exit\non quit @exit 0\n");
  ASSERT_TRUE(rig.run("quit"));
  EXPECT_EQ(rig.received("i1"), "quit\n");
  EXPECT_EQ(rig.received("vek1"), "quit\n");
  EXPECT_EQ(rig.userOutput(), "=thread-group-removed,id=\"i1\"\n^exit\n");
  EXPECT_TRUE(rig.session.exitRequested);
  EXPECT_TRUE(rig.ctrl.zubs.empty());
  for (const auto& [zubId, pid] : rig.pids) EXPECT_TRUE(e2e::waitGone(pid)) << zubId;
}

}  // namespace
