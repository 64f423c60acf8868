#include "engine/ctrl_module.h"

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/wait.h>

#include <atomic>
#include <boost/regex.hpp>
#include <sstream>
#include <thread>
#include <vector>

#include "base/signals.h"
#include "engine/test_util.h"

namespace {

// A started controller whose user channel reads and writes /dev/null (every end-to-end case
// drives the real one). stop() reaps every engine, so each test kills its engines first.
class Ctrl : public ::testing::Test {
 protected:
  Ctrl() {
    sigIntPending = false;
    ctrl.start();
  }
  ~Ctrl() override {
    for (const auto& [id, zub] : ctrl.zubs)
      if (zub) ctrl.sendSignalToZub(id, SIGKILL);
    ctrl.stop();
    fclose(userIn);
    fclose(userOut);
    sigIntPending = false;
  }

  std::string spawn(std::vector<const char*> argv, const std::string& prefix = "i") {
    argv.push_back(nullptr);
    std::string id;
    EXPECT_TRUE(ctrl.spawnZub(argv[0], argv.data(), prefix, id));
    return id;
  }
  std::string shell(const char* script) { return spawn({"sh", "-c", script}); }
  // The next line of an engine, or "" after the deadline.
  std::string next(const std::string& id, double seconds = 5) {
    std::string line;
    waitUntil([&] { return ctrl.tryReceiveFromZub(id, line); }, seconds);
    return line;
  }
  // The log since the last call, without record numbers.
  std::string takeLog() {
    std::string text = boost::regex_replace(log.str(), boost::regex(R"(^\d+: )"), "");
    log.str("");
    return text;
  }
  std::string pid(const std::string& id) { return std::to_string(ctrl.findZub(id)->pid); }

  FILE* userIn = fopen("/dev/null", "r");
  FILE* userOut = fopen("/dev/null", "w");
  std::ostringstream log;
  CtrlModule ctrl{log, userIn, userOut};
};

TEST_F(Ctrl, IdsTakeTheSmallestFreeNumberPerPrefixAndLinesComeBackLogged) {
  EXPECT_EQ(spawn({"cat"}), "i1");
  EXPECT_EQ(takeLog(), "  'cat'\n");
  EXPECT_EQ(spawn({"cat", "-u"}), "i2");
  EXPECT_EQ(spawn({"cat"}, "vek"), "vek1");
  EXPECT_EQ(spawn({"cat"}), "i3");
  std::set<std::string> ids = {"kept"};
  ctrl.getZubIds("vek", ids);
  EXPECT_EQ(ids, (std::set<std::string>{"kept", "vek1"}));
  ctrl.sendSignalToZub("i2", SIGKILL);
  ctrl.removeZub("i2");
  takeLog();
  // Sending stops at the first unknown id; the engines before it have the text.
  EXPECT_FALSE(ctrl.sendToZubs({"i1", "i2", "i3"}, "hello\n"));
  EXPECT_EQ(next("i1"), "hello\n");
  EXPECT_EQ(next("i3", 0.1), "");
  EXPECT_EQ(takeLog(), "i1 : hello\n\nFailed to send string (hello\n) to  i2\n\n");
  EXPECT_EQ(spawn({"cat"}), "i2");
  EXPECT_TRUE(ctrl.sendToZub("i2", "-gdb-version\n"));
  std::string line;
  ASSERT_TRUE(ctrl.receiveFromZub("i2", line));
  EXPECT_EQ(line, "-gdb-version\n");
  EXPECT_EQ(takeLog(), "  'cat'\ni2 : -gdb-version\n\ni2 : -gdb-version\n\n");
  EXPECT_FALSE(ctrl.receiveFromZub("i9", line));
  // With an interrupt pending and nothing to read, the wait gives up at once, flag kept.
  sigIntPending = true;
  EXPECT_FALSE(ctrl.receiveFromZub("i2", line));
  EXPECT_TRUE(sigIntPending);
}

TEST_F(Ctrl, SignalReachesTheWholeProcessGroupOfTheEngine) {
  // The grandchild reports the interrupt: the signal went to the group, not only to the child.
  const std::string id = shell(
      "sh -c 'trap \"echo grandchild got INT; exit 0\" INT; echo ready;"
      " while :; do sleep 0.05; done'; echo outer done");
  ASSERT_EQ(next(id), "ready\n");
  EXPECT_EQ(getpgid(ctrl.findZub(id)->pid), ctrl.findZub(id)->pid);  // a group of its own
  takeLog();
  ASSERT_TRUE(ctrl.sendSignalToZub(id, SIGINT));
  EXPECT_EQ(next(id), "grandchild got INT\n");
  EXPECT_FALSE(ctrl.sendSignalToZubs({"i1", "i7"}, 0));
  EXPECT_EQ(takeLog(), "Sent signal 2 to process group " + pid(id) + " (i1 ).\nSent signal 0 to " +
                           "process group " + pid(id) +
                           " (i1 ).\nFailed to send signal (0) to  i7\n\n");
}

TEST_F(Ctrl, RemoveReapsAndAnInterruptedWaitKillsTheEngineGroup) {
  const std::string ended = shell("echo bye");
  EXPECT_EQ(next(ended), "bye\n");
  const std::string endedPid = pid(ended);
  const std::string sleeper = shell("echo up; sleep 30");
  ASSERT_EQ(next(sleeper), "up\n");
  const std::string sleeperPid = pid(sleeper);
  takeLog();
  ctrl.removeZub(ended);
  ctrl.removeZub(ended);
  ctrl.zubs["i5"];  // a registered null pointer is only forgotten
  ctrl.removeZubs({"i5"});
  EXPECT_EQ(takeLog(), "Removing i1\n\nZUB process " + endedPid +
                           " has terminated.\n\nRemoved i1\n\nFailed to find i1\n\n"
                           "Removing i5\n\nThe pointer to i5 is NULL.\n\n");
  const pid_t self = getpid();
  const pid_t poker = fork();
  ASSERT_GE(poker, 0);
  if (poker == 0) {
    usleep(100000);
    kill(self, SIGINT);
    _exit(0);
  }
  ctrl.removeZub(sleeper);  // blocks until the poker's SIGINT
  waitpid(poker, nullptr, 0);
  EXPECT_TRUE(sigIntPending);
  EXPECT_EQ(takeLog(),
            "Removing i2\n\nCall to waitpid failed with errno: 4\n\nerrno is EINTR\n\n"
            "Sent signal 9 to process group " +
                sleeperPid + " (i2 ).\nZUB process " + sleeperPid +
                " has terminated.\n\nRemoved i2\n\n");
  EXPECT_TRUE(ctrl.zubs.empty());
}

// Text for an engine that never reads stays queued: SIGPIPE must not end us.
TEST_F(Ctrl, EnginesThatCannotStartOrCloseTheirPipesOnlyEndTheirOutput) {
  const std::string missing = spawn({"/nonexistent/zub", "-i=mi"});
  EXPECT_EQ(takeLog(), "  '/nonexistent/zub'  '-i=mi'\n");
  const std::string closer = shell("exec <&-; echo last; exec >&-; sleep 0.2");
  EXPECT_EQ(next(closer), "last\n");
  for (int i = 0; i < 50; ++i) {  // below the 100 at which the sender would wait for good
    EXPECT_TRUE(ctrl.sendToZub(missing, "-exec-run\n"));
    EXPECT_TRUE(ctrl.sendToZub(closer, "ignored\n"));
  }
  std::this_thread::sleep_for(std::chrono::milliseconds(300));
  EXPECT_GE(ctrl.findZub(closer)->zubInput.size(), 49u);
  EXPECT_EQ(next(missing, 0.1) + next(closer, 0.1), "");
  ctrl.removeZubs({missing, closer});
  EXPECT_TRUE(ctrl.zubs.empty());
}

TEST_F(Ctrl, QueuesStayBoundedWhenAnEngineFloodsOrNeverReads) {
  const std::string flood = spawn({"yes"});
  const boost::shared_ptr<ZubModule> flooder = ctrl.findZub(flood);
  ASSERT_TRUE(waitUntil([&] { return flooder->zubOutput.size() == 100; }));
  std::this_thread::sleep_for(std::chrono::milliseconds(50));
  EXPECT_EQ(flooder->zubOutput.size(), 100u);
  EXPECT_EQ(next(flood), "y\n");

  const boost::shared_ptr<ZubModule> deaf = ctrl.findZub(shell("exec sleep 30"));
  std::atomic<int> queued = 0;
  std::thread producer([&] {
    for (int i = 0; i < 300; ++i, ++queued) deaf->zubInput.put(std::string(10000, 'c') + "\n");
  });
  ASSERT_TRUE(waitUntil([&] { return deaf->zubInput.size() == 100; }));
  std::this_thread::sleep_for(std::chrono::milliseconds(50));
  EXPECT_EQ(deaf->zubInput.size(), 100u);
  EXPECT_LT(queued, 300);
  ctrl.sendSignalToZubs({"i1", "i2"}, SIGKILL);
  ctrl.removeZubs({"i1", "i2"});  // closing the queue releases the producer
  producer.join();
}

}  // namespace
