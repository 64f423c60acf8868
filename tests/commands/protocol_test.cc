#include <set>

#include "commands/errors.h"
#include "commands/exit_cmd.h"
#include "commands/passthrough_cmds.h"
#include "support/session_rig.h"

namespace {

using Protocol = ShellSessionTest;
using LaunchRules = ShellSessionTest;
using ReplyRules = ShellSessionTest;

// A stale token, a second answer from one engine and console lines are checked through the real
// binary; what stays here needs two engines or a state the program never sets up itself.
TEST_F(Protocol, ResultsAreCollectedUntilTheLastPendingEngineAnswers) {
  GdbSetUnsetCmd cmd("12-gdb-set x 1\n");
  cmd.pendingZubIds = {"i1", "i2"};
  EXPECT_TRUE(cmd.handleResponse(session, "i1", "12^done,value=\"1\",thread-id=\"4\"\n"));
  EXPECT_FALSE(cmd.isFinished());
  EXPECT_EQ(userOutput(), "");
  EXPECT_TRUE(cmd.handleResponse(session, "i2", "^error,msg=\"no\"\n"));
  EXPECT_TRUE(cmd.isFinished());
  EXPECT_EQ(cmd.resultClasses.at("i1"), "done");
  EXPECT_EQ(cmd.resultClasses.at("i2"), "error");
  // The first engine's answer, its thread id in the user's numbering.
  EXPECT_EQ(userOutput(), "12^done,value=\"1\",thread-id=\"1\"\n(gdb)\n");
  std::string engine, thread;
  ASSERT_TRUE(session.threadIdTable.fromExtThreadId("1", engine, thread));
  EXPECT_EQ(engine + "/" + thread, "i1/4");
}

TEST_F(Protocol, ConsoleOutputPassesWhenTheCommandAsksForIt) {
  StackCmd cmd("-stack-list-frames\n");
  cmd.pendingZubIds = {"i1"};
  cmd.forwardConsoleOutput = true;
  cmd.handleResponse(session, "i1", "~\"shown\"\n");
  EXPECT_EQ(userOutput(), "~\"shown\"\n");
  EXPECT_FALSE(cmd.isFinished());
}

TEST_F(Protocol, NotImplementedAnswersAtOnceAndTakesNoEngineLine) {
  NotImplementedCmd done("8-foo\n", true);
  NotImplementedCmd error("-foo\n", false);
  EXPECT_TRUE(done.launchCmd(session));
  EXPECT_TRUE(error.launchCmd(session));
  EXPECT_TRUE(done.isFinished());
  EXPECT_TRUE(done.interruptCmd(session));
  EXPECT_FALSE(done.handleResponse(session, "i1", "^done\n"));
  EXPECT_EQ(userOutput(),
            "8^done,msg=\"Command is not implemented.\"\n(gdb)\n"
            "^error,msg=\"Command is not implemented.\"\n(gdb)\n");
}

TEST_F(Protocol, ErrorWritersSendTheirRecordThenThePrompt) {
  reportInvalidThreadIdError(ctrl, "9", "1");
  reportInvalidThreadGroupIdError(ctrl, "i9", "");
  reportInvalidVariableError(ctrl, "v", "2");
  reportNameIsAlreadyInUseError(ctrl, "v", "3");
  reportInvalidRegisterError(ctrl, 4294967295u, "4");
  reportCannotOpenFileError(ctrl, "f.gdb", "5");
  reportSyntaxError(ctrl, "6");
  reportCommandNotImplementedError(ctrl, "7");
  reportInternalError(ctrl, "8");
  EXPECT_EQ(userOutput(),
            "1^error,msg=\"Invalid thread: 9\"\n(gdb)\n"
            "^error,msg=\"Invalid thread-group: i9\"\n(gdb)\n"
            "2^error,msg=\"Invalid variable: v\"\n(gdb)\n"
            "3^error,msg=\"Name is already in use: v.\"\n(gdb)\n"
            "4^error,msg=\"Invalid register: 4294967295\"\n(gdb)\n"
            "5^error,msg=\"Cannot open file: f.gdb.\"\n(gdb)\n"
            "6^error,msg=\"Syntax error\"\n(gdb)\n"
            "7^error,msg=\"Command not implemented\"\n(gdb)\n"
            "8^error,msg=\"Internal error\"\n(gdb)\n");
}

TEST_F(LaunchRules, OneEngineRuleFollowsThreadThenGroupThenCurrent) {
  const std::string host = spawnCat();   // i1
  const std::string other = spawnCat();  // i2
  session.currentZubId = host;
  std::string userThread;
  session.threadIdTable.toExtThreadId(other, "4", userThread);

  StackCmd unknown("5-stack-list-frames --thread 77\n");
  EXPECT_TRUE(unknown.launchCmd(session));
  EXPECT_TRUE(unknown.isFinished());
  EXPECT_EQ(userOutput(), "5^error,msg=\"Invalid thread: 77\"\n(gdb)\n");

  // The thread wins over the group and makes its engine current.
  StackCmd byThread("6-stack-list-frames --thread " + userThread + " --thread-group i1\n");
  EXPECT_TRUE(byThread.launchCmd(session));
  EXPECT_EQ(nextLine(other), "6-stack-list-frames --thread 4 --thread-group i1\n");
  EXPECT_EQ(byThread.pendingZubIds, std::set<std::string>{other});
  EXPECT_EQ(session.currentZubId, other);

  session.currentZubId = host;
  EnvironmentCmd byGroup("7-environment-pwd --thread-group i2\n");
  EXPECT_TRUE(byGroup.launchCmd(session));
  EXPECT_EQ(nextLine(other), "7-environment-pwd \n");
  EXPECT_EQ(session.currentZubId, host);

  InterpreterExecCmd noGroup("8-interpreter-exec --thread-group i9 console \"p 1\"\n");
  EXPECT_TRUE(noGroup.launchCmd(session));
  EXPECT_TRUE(noGroup.isFinished());
  EXPECT_EQ(userOutput(), "8^error,msg=\"Invalid thread-group: i9\"\n(gdb)\n");

  InferiorTtySetCmd plain("9-inferior-tty-set /dev/pts/3\n");
  EXPECT_TRUE(plain.launchCmd(session));
  EXPECT_EQ(nextLine(host), "9-inferior-tty-set /dev/pts/3\n");

  session.currentZubId = "i5";
  StackCmd noCurrent("10-stack-info-depth\n");
  EXPECT_TRUE(noCurrent.launchCmd(session));
  EXPECT_EQ(userOutput(), "10^error,msg=\"Invalid thread-group: i5\"\n(gdb)\n");
  EXPECT_TRUE(staysQuiet(host) && staysQuiet(other));
}

TEST_F(LaunchRules, BroadcastsReachEveryEngineOrTheNamedGroup) {
  GdbSetUnsetCmd alone("1-gdb-set a 1\n");
  EXPECT_TRUE(alone.launchCmd(session));  // no engine at all
  EXPECT_TRUE(alone.isFinished());
  EXPECT_EQ(userOutput(), "1^done\n(gdb)\n");

  const std::string host = spawnCat();
  const std::string card = spawnCat("vek");
  GdbSetUnsetCmd all("2set a 2\n");
  EXPECT_TRUE(all.launchCmd(session));
  EXPECT_EQ(all.pendingZubIds, (std::set<std::string>{host, card}));
  EXPECT_EQ(nextLine(host), "2set a 2\n");
  EXPECT_EQ(nextLine(card), "2set a 2\n");

  GdbSetUnsetCmd one("3-gdb-set --thread-group vek1 a 3\n");
  EXPECT_TRUE(one.launchCmd(session));
  EXPECT_EQ(one.pendingZubIds, std::set<std::string>{card});
  EXPECT_EQ(nextLine(card), "3-gdb-set  a 3\n");
  EXPECT_TRUE(staysQuiet(host));

  // Neither of these looks at options.
  session.currentZubId = host;
  ListFeaturesCmd features("4-list-features --thread-group vek1\n");
  EXPECT_TRUE(features.launchCmd(session));
  EXPECT_EQ(nextLine(host), "4-list-features --thread-group vek1\n");
  SetSerializeExecutionCmd serialize("5-set-serialize-execution --thread-group i1 on\n");
  EXPECT_TRUE(serialize.launchCmd(session));
  EXPECT_EQ(nextLine(host), "5-set-serialize-execution --thread-group i1 on\n");
  EXPECT_EQ(nextLine(card), "5-set-serialize-execution --thread-group i1 on\n");
  EXPECT_EQ(userOutput(), "");
}

TEST_F(LaunchRules, InterruptSignalsOnlyPendingEngines) {
  const std::string waiting = spawnShell("trap 'echo got-int' INT; echo ready; cat >/dev/null");
  const std::string done = spawnCat();
  ASSERT_EQ(nextLine(waiting), "ready\n");
  GdbSetUnsetCmd cmd("-gdb-set a\n");
  cmd.pendingZubIds = {waiting};
  EXPECT_TRUE(cmd.interruptCmd(session));
  EXPECT_FALSE(cmd.isFinished());
  EXPECT_TRUE(logHas("Sent signal 2 to process group " +
                     std::to_string(ctrl.findZub(waiting)->pid) + " (" + waiting + " )."));
  EXPECT_TRUE(staysQuiet(done));
}

TEST_F(ReplyRules, FirstEngineAnswersAndCountsAreChecked) {
  StackCmd two("4-stack-info-depth\n");
  two.pendingZubIds = {"i1", "i2"};
  two.handleResponse(session, "i2", "4^done,depth=\"2\"\n");
  two.handleResponse(session, "i1", "4^done,depth=\"1\"\n");
  EXPECT_EQ(userOutput(), "4^error,msg=\"Internal error\"\n(gdb)\n");

  InferiorTtySetCmd many("5-inferior-tty-set x\n");
  many.pendingZubIds = {"i2", "vek1"};
  many.handleResponse(session, "vek1", "5^done\n");
  many.handleResponse(session, "i2", "5^error,msg=\"Nope\"\n");
  EXPECT_EQ(userOutput(), "5^error,msg=\"Nope\"\n(gdb)\n");

  ListFeaturesCmd empty("6-list-features\n");
  EXPECT_TRUE(empty.replyToUser(session));
  EXPECT_EQ(userOutput(), "6^error,msg=\"Internal error\"\n(gdb)\n");
}

TEST_F(ReplyRules, SerializeExecutionPrefersTheFirstError) {
  SetSerializeExecutionCmd failed("7-set-serialize-execution on\n");
  failed.pendingZubIds = {"i1", "i2", "vek1"};
  failed.handleResponse(session, "i1", "7^done,a=\"1\"\n");
  failed.handleResponse(session, "vek1", "7^error,msg=\"card\"\n");
  failed.handleResponse(session, "i2", "7^error\n");
  EXPECT_EQ(userOutput(), "7^error\n(gdb)\n");

  SetSerializeExecutionCmd fine("8-set-serialize-execution on\n");
  fine.pendingZubIds = {"i1", "i2"};
  fine.handleResponse(session, "i2", "8^done,b=\"2\"\n");
  fine.handleResponse(session, "i1", "8^done\n");
  EXPECT_EQ(userOutput(), "8^done,b=\"2\"\n(gdb)\n");
}

TEST_F(ReplyRules, ExitRemovesEveryEngineAndEndsTheSession) {
  GdbExitCmd alone("1-gdb-exit\n");
  EXPECT_TRUE(alone.launchCmd(session));
  EXPECT_TRUE(session.exitRequested);
  EXPECT_EQ(userOutput(), "1^exit\n");

  session.exitRequested = false;
  const char* argv[] = {"x", nullptr};
  std::string host, second;
  ASSERT_TRUE(session.spawnZub(argv, "i", host));
  const char* argv2[] = {"x", nullptr};
  ASSERT_TRUE(session.spawnZub(argv2, "i", second));
  userOutput();
  GdbExitCmd quit("2quit\n");
  quit.pendingZubIds = {host, second};
  quit.handleResponse(session, host, "2^exit\n");
  EXPECT_FALSE(session.exitRequested);
  quit.handleResponse(session, second, "2^exit\n");
  EXPECT_TRUE(session.exitRequested);
  EXPECT_EQ(userOutput(),
            "=thread-group-removed,id=\"i1\"\n=thread-group-removed,id=\"i2\"\n2^exit\n");
}

}  // namespace
