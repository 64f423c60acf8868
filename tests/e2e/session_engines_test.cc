// Sessions with several engines at once, which the program itself only builds through commands
// of its own: the session runs in process, so everything meant for the user stays in its output
// queue for the test to read.
#include <gtest/gtest.h>

#include <string>

#include "commands/mi_cmd.h"
#include "support/session_rig.h"

namespace {

class SessionEngines : public testing::Test, public SessionRig {};

TEST_F(SessionEngines, BroadcastSettingAnswersOnceWithTheFirstEngineAfterAllAnswered) {
  hostPlays(
      "on -gdb-set @sleep 300\n"
      "on -gdb-set $TOKEN^done,engine=\"one\"\n"
      "on -set-serialize-execution $TOKEN^done,engine=\"one\"\n");
  ASSERT_EQ(spawnHost(), "i1");
  hostPlays(
      "on -gdb-set $TOKEN^error,msg=\"two\"\n"
      "on -set-serialize-execution $TOKEN^error,msg=\"two\"\n");
  ASSERT_EQ(spawnHost(), "i2");
  EXPECT_EQ(userOutput(),
            "=thread-group-added,id=\"i1\"\n(gdb)\n=thread-group-added,id=\"i2\"\n(gdb)\n");

  ASSERT_TRUE(run("12-gdb-set width 0\n"));
  EXPECT_EQ(userOutput(), "12^done,engine=\"one\"\n(gdb)\n");
  ASSERT_TRUE(run("13-gdb-set --thread-group i2 width 0\n"));
  EXPECT_EQ(userOutput(), "13^error,msg=\"two\"\n(gdb)\n");
  // Here an engine's error wins over the other's success.
  ASSERT_TRUE(run("14-set-serialize-execution on\n"));
  EXPECT_EQ(userOutput(), "14^error,msg=\"two\"\n(gdb)\n");

  EXPECT_EQ(session.currentZubId, "");  // only the session start sets it
  EXPECT_EQ(received("i1").substr(0, 19), "12-gdb-set width 0\n");
}

TEST_F(SessionEngines, SecondResultOfAnEngineIsIgnored) {
  hostPlays("on -gdb-set @noprompt\n");
  ASSERT_EQ(spawnHost(), "i1");
  session.currentZubId = "i1";
  userOutput();
  MiCmdQueue queue;
  session.parseCmd("5-gdb-set confirm off\n", queue);
  ASSERT_EQ(queue.size(), 1u);
  MiCmd& cmd = *queue.front();
  ASSERT_TRUE(cmd.launchCmd(session));
  EXPECT_FALSE(cmd.isFinished());
  EXPECT_TRUE(cmd.handleResponse(session, "i2", "5^done,stranger=\"1\"\n"));
  EXPECT_TRUE(cmd.handleResponse(session, "i1", "5^done,first=\"1\"\n"));
  EXPECT_TRUE(cmd.isFinished());
  EXPECT_TRUE(cmd.handleResponse(session, "i1", "5^done,second=\"1\"\n"));
  EXPECT_EQ(userOutput(), "5^done,first=\"1\"\n(gdb)\n");
  const std::string text = log.str();
  EXPECT_NE(text.find(": Ignoring result from i2: 5^done,stranger=\"1\"\n"), std::string::npos);
  EXPECT_NE(text.find(": Ignoring result from i1: 5^done,second=\"1\"\n"), std::string::npos);
}

TEST_F(SessionEngines, ThreadsOfTwoEnginesGetOneUserNumbering) {
  hostPlays(
      "on -gdb-set =thread-created,id=\"1\",group-id=\"i1\",pid=\"100\"\n"
      "on -gdb-set $TOKEN^done\n");
  ASSERT_EQ(spawnHost(), "i1");
  hostPlays(
      "on -gdb-set @sleep 200\n"
      "on -gdb-set =thread-created,id=\"1\",group-id=\"i1\",pid=\"200\"\n"
      "on -gdb-set =thread-created,id=\"2\",group-id=\"i1\",pid=\"200\"\n"
      "on -gdb-set $TOKEN^done\n"
      "on -stack-info-depth $TOKEN^done,depth=\"4\"\n");
  ASSERT_EQ(spawnHost(), "i2");
  session.currentZubId = "i1";
  userOutput();

  ASSERT_TRUE(run("7-gdb-set a\n"));
  EXPECT_EQ(userOutput(),
            "=thread-group-started,id=\"i1\",type=\"process\",pid=\"100\"\n"
            "=thread-created,id=\"1\",group-id=\"i1\",pid=\"100\"\n"
            "=thread-group-started,id=\"i2\",type=\"process\",pid=\"200\"\n"
            "=thread-created,id=\"2\",group-id=\"i2\",pid=\"200\"\n"
            "=thread-created,id=\"3\",group-id=\"i2\",pid=\"200\"\n"
            "7^done\n(gdb)\n");

  // User thread 3 is the second engine's thread 2: the command goes there, in its numbering.
  ASSERT_TRUE(run("8-stack-info-depth --thread 3\n"));
  EXPECT_EQ(userOutput(), "8^done,depth=\"4\"\n(gdb)\n");
  EXPECT_EQ(session.currentZubId, "i2");
  std::string engineId, engineThreadId;
  ASSERT_TRUE(session.threadIdTable.fromExtThreadId("3", engineId, engineThreadId));
  EXPECT_EQ(engineId + ":" + engineThreadId, "i2:2");
  EXPECT_NE(received("i2").find("8-stack-info-depth --thread 2\n"), std::string::npos);
}

TEST_F(SessionEngines, CardEngineEventsAreReportedAsPartOfGroupI1) {
  session.ipCardTable["10.9.8.7"] = "3";
  hostPlays(
      "on#1 -gdb-set =thread-created,id=\"1\",group-id=\"i1\",pid=\"100\"\n"
      "on#1 -gdb-set $TOKEN^done\n");
  ASSERT_EQ(spawnHost(), "i1");
  cardPlays(
      "on#1 -gdb-set @sleep 200\n"
      "on#1 -gdb-set =thread-created,id=\"1\",group-id=\"i1\",pid=\"555\"\n"
      "on#1 -gdb-set =library-loaded,id=\"/lib/card.so\",symbols-loaded=\"0\"\n"
      "on#1 -gdb-set $TOKEN^done\n"
      "on#2 -gdb-set =thread-exited,id=\"1\",group-id=\"i1\"\n"
      "on#2 -gdb-set $TOKEN^done\n");
  EXPECT_EQ(spawnCard("3", "-rconnect=tcpip:10.9.8.7:2000"), "vek1");
  cardPlays("");
  EXPECT_EQ(spawnCard("4", "-rconnect=tcpip:10.0.0.99:2000"), "vek2");
  EXPECT_EQ(spawnCard("5", "-rconnect=nocolons"), "vek3");
  session.currentZubId = "i1";
  // Only the host engine is announced.
  EXPECT_EQ(userOutput(), "=thread-group-added,id=\"i1\"\n(gdb)\n");
  EXPECT_EQ(group("vek1"), "id=\"vek1\",type=\"process\",vek-card=\"3\"");
  EXPECT_EQ(group("vek2"), "id=\"vek2\",type=\"process\"");
  EXPECT_EQ(group("vek3"), "id=\"vek3\",type=\"process\"");

  ASSERT_TRUE(run("9-gdb-set a\n"));
  const std::string cardEvents =
      "=thread-created,id=\"2\",group-id=\"i1\",pid=\"555\"\n"
      "=library-loaded,id=\"/lib/card.so\",symbols-loaded=\"0\",group-id=\"i1\"\n";
  const std::string output = userOutput();
  EXPECT_EQ(output.substr(0, output.find("=thread-created,id=\"2\"")),
            "=thread-group-started,id=\"i1\",type=\"process\",pid=\"100\"\n"
            "=thread-created,id=\"1\",group-id=\"i1\",pid=\"100\"\n");
  EXPECT_NE(output.find(cardEvents), std::string::npos) << output;
  EXPECT_TRUE(output.ends_with("9^done\n(gdb)\n")) << output;
  EXPECT_TRUE(group("vek1").starts_with(
      "id=\"vek1\",type=\"process\",vek-card=\"3\",pid=\"555\",threads=["))
      << group("vek1");

  // The card's last thread ends without the group being reported as exited.
  ASSERT_TRUE(run("10-gdb-set b\n"));
  EXPECT_EQ(userOutput(), "=thread-exited,id=\"2\",group-id=\"i1\"\n10^done\n(gdb)\n");
  EXPECT_EQ(group("vek1"), "id=\"vek1\",type=\"process\",vek-card=\"3\",pid=\"555\",threads=[]");
}

}  // namespace
