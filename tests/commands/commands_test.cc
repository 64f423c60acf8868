// Command states the program's input does not reach: an interrupt raised in process, two answers
// from one engine, engines that break the execution protocol, a card without its host engine.
#include <gtest/gtest.h>
#include <signal.h>

#include <thread>

#include "base/signals.h"
#include "commands/passthrough_cmds.h"
#include "support/session_rig.h"

namespace {

class Commands : public testing::Test {
 protected:
  // Starts a host and a card engine playing these scenarios ("" for none).
  void start(const std::string& host, const std::string& card) {
    dir.write("i.scn", host);
    dir.write("vek.scn", card);
    std::string id;
    ASSERT_TRUE(host.empty() || rig.spawnHost(id));
    ASSERT_TRUE(card.empty() || rig.spawnCard("0", "127.0.1.1", id));
    rig.session.currentZubId = host.empty() ? "vek1" : "i1";
    rig.userOutput();
  }
  std::string received(const std::string& name) { return e2e::readFile(dir.file(name + ".in")); }
  bool logged(const std::string& line) {
    const std::vector<std::string> log = rig.logLines();
    return std::find(log.begin(), log.end(), line) != log.end();
  }
  e2e::TempDir dir;
  SessionRig rig{dir.path};
};

TEST_F(Commands, InterruptReachesOnlyEnginesThatHaveNotAnswered) {
  start("on -gdb-set @noprompt\non SIGINT $TOKEN^done\n", "on -gdb-set $TOKEN^done\n");
  GdbSetUnsetCmd cmd("5-gdb-set a\n");
  ASSERT_TRUE(cmd.launchCmd(rig.session));
  std::this_thread::sleep_for(std::chrono::milliseconds(200));
  ASSERT_TRUE(rig.session.checkOutputOfZubs(cmd));  // the card's answer
  EXPECT_TRUE(cmd.interruptCmd(rig.session));
  EXPECT_EQ(received("vek1"), "5-gdb-set a\n");
  EXPECT_TRUE(cmd.handleResponse(rig.session, "i1", "5^done,first=\"1\"\n"));
  // A second answer of an engine, or one from an engine never asked, is ignored.
  EXPECT_TRUE(cmd.handleResponse(rig.session, "i1", "5^done,second=\"1\"\n"));
  EXPECT_TRUE(cmd.handleResponse(rig.session, "i2", "5^done,stranger=\"1\"\n"));
  EXPECT_EQ(rig.userOutput(), "5^done,first=\"1\"\n(gdb)\n");
  EXPECT_TRUE(logged("Ignoring result from i1: 5^done,second=\"1\""));
  EXPECT_TRUE(logged("Ignoring result from i2: 5^done,stranger=\"1\""));
}

TEST_F(Commands, UserInterruptStopsEveryRunningEngineWithOneStop) {
  // The engine that stops last also hears the interrupt that the first stop sends; like a real
  // engine whose program already stopped, it reports no second stop.
  const char stopsOnce[] =
      "on -exec-continue $TOKEN^running\n"
      "on#1 SIGINT *stopped,reason=\"signal-received\",thread-id=\"1\"\n"
      "on SIGINT\n";
  start(stopsOnce, stopsOnce);
  // The interrupt comes once both engines have answered: one that has not said "^running" yet
  // is not interrupted.
  const pthread_t session = pthread_self();
  std::thread user([this, session] {
    for (int i = 0; i < 1000 && !(received("i1").ends_with("3-exec-continue\n") &&
                                  received("vek1").ends_with("3-exec-continue\n"));
         ++i)
      std::this_thread::sleep_for(std::chrono::milliseconds(5));
    std::this_thread::sleep_for(std::chrono::milliseconds(300));
    pthread_kill(session, SIGINT);  // as a user's interrupt: handled on the session's thread
  });
  const bool ok = rig.run("3-exec-continue");
  user.join();
  ASSERT_TRUE(ok);
  EXPECT_EQ(rig.userOutput(),
            "3^running\n*running,thread-id=\"all\"\n(gdb)\n"
            "3*stopped,reason=\"signal-received\",thread-id=\"1\"\n");
  EXPECT_TRUE(received("i1").starts_with("3-exec-continue\n<SIGINT>\n"));
  EXPECT_TRUE(received("vek1").starts_with("3-exec-continue\n<SIGINT>\n"));
}

// Each host breaks the protocol while the card still runs; the run reports that the session
// must end and the log names the fault.
TEST_F(Commands, ExecutionProtocolFaultsEndTheSessionBesideACard) {
  const std::pair<const char*, const char*> faults[] = {
      {"on -exec-continue $TOKEN^done", "Unexpected result type: done"}};
  for (const auto& [host, fault] : faults) {
    SCOPED_TRACE(host);
    e2e::TempDir each;
    SessionRig faulty(each.path);
    each.write("i.scn", host);
    each.write("vek.scn",
               "on -exec-continue $TOKEN^running\non SIGINT @sleep 500\n"
               "on SIGINT *stopped,reason=\"signal-received\"\n");
    std::string id;
    ASSERT_TRUE(faulty.spawnHost(id) && faulty.spawnCard("0", "127.0.1.1", id));
    faulty.session.currentZubId = "i1";
    EXPECT_FALSE(faulty.run("1-exec-continue"));
    const std::vector<std::string> log = faulty.logLines();
    EXPECT_NE(std::find(log.begin(), log.end(), fault), log.end());
  }
}

TEST_F(Commands, HostProgramWithoutItsHostEngineCannotBeRun) {
  start("", "on -exec-continue $TOKEN^running\n");
  EXPECT_FALSE(rig.run("1-exec-continue"));
  EXPECT_TRUE(logged("Failed to send command to i1."));
  EXPECT_TRUE(logged("Failed to to launch cmd: 1-exec-continue"));
  EXPECT_EQ(rig.userOutput(), "");
}

}  // namespace
