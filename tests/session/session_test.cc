#include <boost/shared_ptr.hpp>

#include "commands/exit_cmd.h"
#include "commands/passthrough_cmds.h"
#include "support/session_rig.h"

namespace {

using SessionFixture = ShellSessionTest;

template <typename Cmd>
bool queuedAs(const MiCmdQueue& queue, size_t index) {
  return index < queue.size() && dynamic_cast<Cmd*>(queue[index].get()) != nullptr;
}

using Dispatch = SessionFixture;
using Events = SessionFixture;
using ThreadGroups = SessionFixture;
using Loop = SessionFixture;

TEST_F(Dispatch, WordsBecomeTheirCommandClasses) {
  MiCmdQueue queue;
  const std::vector<std::string> lines = {"-environment-cd /tmp\n",
                                          "-exec-args 1 2\n",
                                          "7-stack-list-frames\n",
                                          "-stack-info-depth\n",
                                          "-inferior-tty-set x\n",
                                          "-interpreter-exec console \"p 1\"\n",
                                          "-list-features\n",
                                          "-gdb-set a b\n",
                                          "-gdb-unset a\n",
                                          "set a b\n",
                                          "3unset a\n",
                                          "-set-serialize-execution on\n",
                                          "-gdb-exit\n",
                                          "9quit\n"};
  for (const std::string& line : lines) session.parseCmd(line, queue);
  ASSERT_EQ(queue.size(), lines.size());
  EXPECT_TRUE(queuedAs<EnvironmentCmd>(queue, 0));
  EXPECT_TRUE(queuedAs<EnvironmentCmd>(queue, 1));
  EXPECT_TRUE(queuedAs<StackCmd>(queue, 2));
  EXPECT_TRUE(queuedAs<StackCmd>(queue, 3));
  EXPECT_TRUE(queuedAs<InferiorTtySetCmd>(queue, 4));
  EXPECT_TRUE(queuedAs<InterpreterExecCmd>(queue, 5));
  EXPECT_TRUE(queuedAs<ListFeaturesCmd>(queue, 6));
  for (size_t i = 7; i <= 10; ++i) EXPECT_TRUE(queuedAs<GdbSetUnsetCmd>(queue, i)) << i;
  EXPECT_TRUE(queuedAs<SetSerializeExecutionCmd>(queue, 11));
  EXPECT_TRUE(queuedAs<GdbExitCmd>(queue, 12));
  EXPECT_TRUE(queuedAs<GdbExitCmd>(queue, 13));
  EXPECT_EQ(queue[13]->cmdId(), "9");
  EXPECT_EQ(queue[13]->cmdName, "quit");
  EXPECT_EQ(userOutput(), "");
}

TEST_F(Dispatch, CommandFieldsComeFromTheLine) {
  MiCmdQueue queue;
  session.parseCmd("12-stack-list-frames --thread 3 --thread-group i2 1 2\n", queue);
  session.parseCmd("-stack-list-frames\n", queue);
  ASSERT_EQ(queue.size(), 2u);
  EXPECT_EQ(queue[0]->cmdId(), "12");
  EXPECT_EQ(queue[0]->cmdName, "-stack-list-frames");
  EXPECT_EQ(queue[0]->threadId, "3");
  EXPECT_EQ(queue[0]->threadGroupId, "i2");
  EXPECT_EQ(queue[0]->cmdText, "12-stack-list-frames --thread 3 --thread-group i2 1 2\n");
  EXPECT_EQ(queue[1]->cmdId(), "");
  EXPECT_EQ(queue[1]->threadId, "");
  EXPECT_EQ(queue[1]->threadGroupId, "");
}

TEST_F(Events, MiConsoleEscapesQuotesAndNewlinesOnly) {
  session.miConsole("say \"hi\" to C:\\dir\n");
  session.miConsole("");
  EXPECT_EQ(userOutput(), "~\"say \\\"hi\\\" to C:\\dir\\n\"\n~\"\"\n");
}

// Thread numbering, group start and exit notices and card threads are checked through the
// binary and with several engines; this is the one case where the engine omits the group.
TEST_F(Events, ThreadCreatedWithoutGroupGetsTheEnginesGroup) {
  MiMap& host = session.threadGroups.try_emplace("i1", true).first->second;
  host.setString("id", "i1");
  host.setString("type", "process");
  session.handleMiEvent("i1", "=thread-created,id=\"5\",pid=\"42\"\n", "thread-created");
  EXPECT_EQ(userOutput(),
            "=thread-group-started,id=\"i1\",type=\"process\",pid=\"42\"\n"
            "=thread-created,id=\"1\",pid=\"42\",group-id=\"i1\"\n");
}

TEST_F(ThreadGroups, SpawnAnnouncesHostGroupsAndLabelsKnownCards) {
  session.ipCardTable["10.1.1.5"] = "0";
  const char* hostArgv[] = {"placeholder", "-i=mi", nullptr};
  std::string id;
  ASSERT_TRUE(session.spawnZub(hostArgv, "i", id));
  EXPECT_EQ(id, "i1");
  EXPECT_STREQ(hostArgv[0], "true");
  EXPECT_TRUE(logHas("ZUBC: true"));
  EXPECT_TRUE(logHas("options[i]=mi"));
  EXPECT_EQ(userOutput(), "=thread-group-added,id=\"i1\"\n(gdb)\n");

  const char* knownCard[] = {"x", "-rconnect=tcpip:10.1.1.5:2000", nullptr};
  ASSERT_TRUE(session.spawnZub(knownCard, "vek", id));
  EXPECT_EQ(id, "vek1");
  const char* unknownCard[] = {"x", "-rconnect=tcpip:10.9.9.9:2000", nullptr};
  ASSERT_TRUE(session.spawnZub(unknownCard, "vek", id));
  EXPECT_EQ(id, "vek2");
  EXPECT_EQ(userOutput(), "");  // card engines are not announced here
  std::string printed;
  session.threadGroups.at("vek1").printToString(printed);
  EXPECT_EQ(printed, "id=\"vek1\",type=\"process\",vek-card=\"0\"");
  session.threadGroups.at("vek2").printToString(printed);
  EXPECT_EQ(printed, "id=\"vek2\",type=\"process\"");

  const char* nullArgv[] = {nullptr};
  EXPECT_FALSE(session.spawnZub(nullArgv, "i", id));
  EXPECT_TRUE(logHas("argv[0] is NULL."));
}

TEST_F(ThreadGroups, RemovalAnnouncesHostGroupsAndRepairsTheCurrentEngine) {
  const char* argv1[] = {"x", nullptr};
  const char* argv2[] = {"x", "-rconnect=tcpip:10.1.1.5:2000", nullptr};
  std::string host, card;
  ASSERT_TRUE(session.spawnZub(argv1, "i", host));
  ASSERT_TRUE(session.spawnZub(argv2, "vek", card));
  userOutput();
  session.currentZubId = "vek1";
  // `true` has ended by itself, so the controller's wait returns.
  EXPECT_FALSE(session.removeZubs({"i7", "vek1"}));
  EXPECT_TRUE(logHas("Failed to find thread-group i7"));
  EXPECT_TRUE(logHas("vek1 removed."));
  EXPECT_EQ(session.currentZubId, "i1");
  EXPECT_EQ(userOutput(), "");
  EXPECT_TRUE(session.removeZub("i1"));
  EXPECT_EQ(session.currentZubId, "");
  EXPECT_EQ(userOutput(), "=thread-group-removed,id=\"i1\"\n");
  EXPECT_TRUE(session.threadGroups.empty());
  EXPECT_TRUE(session.removeZubs({}));
}

TEST_F(Loop, EngineLinesAreRoutedToHandlersOrToTheRunningCommand) {
  const std::string id = spawnShell(
      "read line; echo '(gdb)'; echo '=breakpoint-modified,bkpt={}';"
      " echo '=thread-created,id=\"1\",group-id=\"i1\",pid=\"9\"'; echo '~\"chatter\"';"
      " echo '&\"warning\"'; echo '7^done,value=\"1\"'; echo '(gdb)'; exec cat >/dev/null");
  session.currentZubId = id;
  GdbSetUnsetCmd cmd("7-gdb-set a 1\n");
  ASSERT_TRUE(session.runCmd(cmd));
  EXPECT_TRUE(cmd.isFinished());
  EXPECT_EQ(userOutput(),
            "=thread-group-started,id=\"i1\",pid=\"9\",type=\"process\"\n"
            "=thread-created,id=\"1\",group-id=\"i1\",pid=\"9\"\n"
            "&\"warning\"\n"
            "7^done,value=\"1\"\n(gdb)\n");
  EXPECT_TRUE(logHas("i1 :(gdb)"));
  EXPECT_TRUE(logHas("Ignoring event: =breakpoint-modified,bkpt={}"));
  EXPECT_TRUE(logHas("Ignoring input (~\"chatter\""));
}

TEST_F(Loop, ALineTheCommandRejectsIsFatal) {
  spawnShell("echo '5^done'; exec cat >/dev/null");
  NotImplementedCmd cmd("5-foo\n", true);  // takes no engine line
  bool drained = true;
  for (int i = 0; i < 2000 && drained; ++i) {
    drained = session.checkOutputOfZubs(cmd);
    usleep(1000);
  }
  EXPECT_FALSE(drained);
  EXPECT_TRUE(logHas("Quitting because of failure to handle result: 5^done"));
}

TEST_F(Loop, LaunchFailureNamesTheCommandAtTheFrontOfTheQueue) {
  session.commandQueue.push_back(boost::shared_ptr<MiCmd>(new GdbExitCmd("3-gdb-exit\n")));
  std::string userThreadId;
  session.threadIdTable.toExtThreadId("i5", "1", userThreadId);  // an engine that is gone
  StackCmd nested("8-stack-list-frames --thread " + userThreadId + "\n");
  EXPECT_FALSE(session.runCmd(nested));
  EXPECT_TRUE(logHas("Failed to to launch cmd: 3-gdb-exit"));
  EXPECT_EQ(userOutput(), "");
}

TEST_F(Loop, StopInterruptsAndReapsEveryEngine) {
  spawnCat();
  spawnCat();
  session.stop();
  std::set<std::string> ids;
  ctrl.getZubIds(ids);
  EXPECT_TRUE(ids.empty());
  EXPECT_TRUE(logHas("stopping the session."));
  EXPECT_TRUE(logHas("Removed i1"));
  EXPECT_TRUE(logHas("Removed i2"));
  EXPECT_EQ(userOutput(), "");  // groups are neither touched nor announced
}

}  // namespace
