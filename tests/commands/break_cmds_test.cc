#include "commands/break_cmds.h"

#include <gtest/gtest.h>

#include <string>

#include "support/session_rig.h"

namespace {

using Rig = SessionRig;

// Each engine numbers breakpoints its own way; the card's records say where they come from.
const char kHostBreakpoints[] = R"(
on /-break-insert .*main/ $TOKEN^done,bkpt={number="1",type="breakpoint",func="main"}
on /-break-insert .*tick/ $TOKEN^done,bkpt={number="2",type="breakpoint",func="tick"}
on /-break-insert .*__zub_target_so_loaded/ $TOKEN^done,bkpt={number="3",pending="__zub_target_so_loaded"}
on /-break-insert .*hostonly/ $TOKEN^done,bkpt={number="4",func="hostonly"}
on /-break-insert .*nobkpt/ $TOKEN^done
on /-break-insert .*dup/ $TOKEN^done,bkpt={number="1",func="dup"}
on /-break-insert .*nowhere/ $TOKEN^error,msg="Function \"nowhere\" not defined."
on -break-delete $TOKEN^error,msg="No breakpoint number 4."
on -exec-run $TOKEN^running
on -exec-run @after 100 *stopped,reason="breakpoint-hit",thread-id="1"
)";
const char kCardBreakpoints[] = R"(
on /-break-insert .*main/ $TOKEN^done,bkpt={number="5",type="breakpoint",func="main",on="card"}
on /-break-insert .*tick/ $TOKEN^done,bkpt={number="6",type="breakpoint",func="tick",on="card"}
on /-break-insert .*__zub_target_so_loaded/ $TOKEN^done,bkpt={number="7",on="card"}
on /-break-insert .*hostonly/ $TOKEN^error,msg="card: no hostonly"
on /-break-insert .*nobkpt/ $TOKEN^done,bkpt={type="breakpoint"}
on /-break-insert .*dup/ $TOKEN^error,msg="card: no dup"
on /-break-insert .*nowhere/ $TOKEN^error,msg="card: nowhere either"
on -exec-run $TOKEN^running
on SIGINT *stopped,reason="signal-received",thread-id="1"
)";

TEST(BreakInsertCmd, OneUserNumberForEveryEngineSkippingTheOffloadBreakpoint) {
  Rig rig;
  rig.startHost(kHostBreakpoints);
  rig.startCard(kCardBreakpoints);
  ASSERT_TRUE(rig.run("1-break-insert main"));
  // The last engine in id order shows its record, with the user's number in it.
  EXPECT_EQ(rig.userOutput(),
            "1^done,bkpt={number=\"1\",type=\"breakpoint\",func=\"main\",on=\"card\"}\n(gdb)\n");
  std::string number;
  EXPECT_TRUE(rig.session.breakPointTable.toEngineBkp("i1", "1", number));
  EXPECT_EQ(number, "1");
  EXPECT_TRUE(rig.session.breakPointTable.toEngineBkp("vek1", "1", number));
  EXPECT_EQ(number, "5");
  EXPECT_EQ(rig.session.breakPointTable.breakpointCmds["1"], "1-break-insert main\n");

  // A run first plants the offload breakpoint everywhere; its reply is only logged.
  ASSERT_TRUE(rig.run("2-exec-run"));
  EXPECT_EQ(rig.received("i1"),
            "1-break-insert main\n-break-insert -f __zub_target_so_loaded\n2-exec-run\n");
  EXPECT_EQ(rig.userOutput(),
            "2^running\n*running,thread-id=\"all\"\n(gdb)\n"
            "2*stopped,reason=\"breakpoint-hit\",thread-id=\"1\"\n");
  EXPECT_NE(rig.logText().find("\nmuted: ^done,bkpt={number=\"2\",on=\"card\"}\n"),
            std::string::npos)
      << "the offload breakpoint did not take user number 2";
  EXPECT_FALSE(rig.ctrl.muted);

  // So the next user breakpoint skips the internal number; "--thread" does not keep it from
  // any engine.
  ASSERT_TRUE(rig.run("3-break-insert --thread 1 tick"));
  EXPECT_EQ(rig.userOutput(),
            "3^done,bkpt={number=\"3\",type=\"breakpoint\",func=\"tick\",on=\"card\"}\n(gdb)\n");
  EXPECT_TRUE(rig.received("vek1").ends_with("2-exec-run\n<SIGINT>\n3-break-insert  tick\n"));
}

TEST(BreakInsertCmd, AnswersWithoutUsableBreakpointAreLeftOutOfTheReply) {
  Rig rig;
  rig.startHost(kHostBreakpoints);
  rig.startCard(kCardBreakpoints);

  // Accepted only by the host: the host's record is the reply.
  ASSERT_TRUE(rig.run("4-break-insert hostonly"));
  EXPECT_EQ(rig.userOutput(), "4^done,bkpt={number=\"1\",func=\"hostonly\"}\n(gdb)\n");

  // Accepted without a breakpoint tuple or without a number: nothing to number.
  ASSERT_TRUE(rig.run("5-break-insert nobkpt"));
  EXPECT_EQ(rig.userOutput(), "5^error,msg=\"Internal error\"\n(gdb)\n");
  EXPECT_NE(rig.logText().find("\nFailed to find bkpt map in: i1\n"), std::string::npos);
  EXPECT_NE(rig.logText().find("\nFailed to find breakpoint number in: vek1\n"), std::string::npos);

  // Refused everywhere: the last engine's error goes through unchanged.
  ASSERT_TRUE(rig.run("6-break-insert nowhere"));
  EXPECT_EQ(rig.userOutput(), "6^error,msg=\"card: nowhere either\"\n(gdb)\n");

  // The host reports its engine number 1 again, which already stands for user breakpoint 2.
  ASSERT_TRUE(rig.run("7-break-insert main"));
  rig.userOutput();
  ASSERT_TRUE(rig.run("8-break-insert dup"));
  EXPECT_EQ(rig.userOutput(), "8^error,msg=\"card: no dup\"\n(gdb)\n");
  EXPECT_NE(rig.logText().find("\nFailed to insert breakpoint (2).\n"), std::string::npos);
}

TEST(BreakInsertCmd, WithoutAnyEngineAnswersInternalError) {
  Rig rig;
  ASSERT_TRUE(rig.run("3-break-insert main"));
  EXPECT_EQ(rig.userOutput(), "3^error,msg=\"Internal error\"\n(gdb)\n");
}

TEST(BreakNumberCmds, ReachOnlyTheEnginesThatHoldTheBreakpoint) {
  Rig rig;
  rig.startHost(kHostBreakpoints);
  rig.startCard(kCardBreakpoints);
  ASSERT_TRUE(rig.run("1-break-insert main"));      // user 1: host 1, card 5
  ASSERT_TRUE(rig.run("2-break-insert hostonly"));  // user 2: host 4
  rig.userOutput();

  ASSERT_TRUE(rig.run("3-break-disable 1"));
  ASSERT_TRUE(rig.run("4-break-enable 1"));
  ASSERT_TRUE(rig.run("5-break-disable 2"));
  EXPECT_EQ(rig.userOutput(), "3^done\n(gdb)\n4^done\n(gdb)\n5^done\n(gdb)\n");
  EXPECT_EQ(rig.session.breakPointTable.disabledBreakpoints, std::set<std::string>{"2"});

  // The host refuses the delete; the user still gets "^done", and the number is gone.
  ASSERT_TRUE(rig.run("6-break-delete 2"));
  EXPECT_EQ(rig.userOutput(), "6^done\n(gdb)\n");
  EXPECT_TRUE(rig.received("i1").ends_with(
      "3-break-disable 1\n4-break-enable 1\n5-break-disable 4\n6-break-delete 4\n"));
  EXPECT_TRUE(rig.received("vek1").ends_with("3-break-disable 5\n4-break-enable 5\n"));
  EXPECT_EQ(rig.session.breakPointTable.breakpointCmds.count("2"), 0u);
  EXPECT_TRUE(rig.session.breakPointTable.disabledBreakpoints.empty());

  // The condition or count reaches every engine unchanged, behind each engine's number.
  ASSERT_TRUE(rig.run("7-break-condition 1 counter > 2"));
  ASSERT_TRUE(rig.run("8-break-after --thread-group i1 1 3"));
  EXPECT_EQ(rig.userOutput(), "7^done\n(gdb)\n8^done\n(gdb)\n");
  EXPECT_TRUE(
      rig.received("i1").ends_with("7-break-condition 1 counter > 2\n8-break-after  1 3\n"));
  EXPECT_TRUE(
      rig.received("vek1").ends_with("7-break-condition 5 counter > 2\n8-break-after  5 3\n"));
}

TEST(BreakNumberCmds, MissingUnknownAndSeveralNumbers) {
  Rig rig;
  rig.startHost(kHostBreakpoints);
  rig.startCard(kCardBreakpoints);
  ASSERT_TRUE(rig.run("1-break-insert main"));  // user 1
  ASSERT_TRUE(rig.run("2-break-insert tick"));  // user 2
  rig.userOutput();
  const std::string hostBefore = rig.received("i1");

  for (const char* line : {"3-break-delete", "3-break-enable", "3-break-disable main",
                           "3-break-condition", "3-break-after x 1", "3-break-condition  "}) {
    ASSERT_TRUE(rig.run(line));
    EXPECT_EQ(rig.userOutput(), "3^error,msg=\"Breakpoint number is missing.\"\n(gdb)\n") << line;
  }

  // Numbers no engine holds are answered at once; disabling still records them.
  ASSERT_TRUE(rig.run("4-break-disable 9"));
  EXPECT_EQ(rig.session.breakPointTable.disabledBreakpoints, std::set<std::string>{"9"});
  ASSERT_TRUE(rig.run("5-break-enable 9"));
  EXPECT_TRUE(rig.session.breakPointTable.disabledBreakpoints.empty());
  ASSERT_TRUE(rig.run("6-break-condition 9 x"));
  ASSERT_TRUE(rig.run("7-break-delete 9"));
  EXPECT_EQ(rig.userOutput(), "4^done\n(gdb)\n5^done\n(gdb)\n6^done\n(gdb)\n7^done\n(gdb)\n");
  EXPECT_EQ(rig.received("i1"), hostBefore);

  // Delete acts on the last number of the line; condition on the first.
  ASSERT_TRUE(rig.run("8-break-delete 1 2"));
  EXPECT_TRUE(rig.received("i1").ends_with("8-break-delete 2\n"));
  EXPECT_TRUE(rig.received("vek1").ends_with("8-break-delete 6\n"));
  ASSERT_TRUE(rig.run("9-break-condition 1 2"));
  EXPECT_TRUE(rig.received("vek1").ends_with("9-break-condition 5 2\n"));
  // Without a condition the engines still receive a complete line.
  ASSERT_TRUE(rig.run("10-break-condition 1"));
  EXPECT_TRUE(rig.received("vek1").ends_with("10-break-condition 5 \n"));
  EXPECT_EQ(rig.userOutput(), "8^done\n(gdb)\n9^done\n(gdb)\n10^done\n(gdb)\n");
  EXPECT_EQ(rig.session.breakPointTable.breakpointCmds.count("1"), 1u);
  EXPECT_EQ(rig.session.breakPointTable.breakpointCmds.count("2"), 0u);
}

}  // namespace
