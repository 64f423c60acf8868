#include "engine/ctrl_module.h"

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/wait.h>

#include <atomic>
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

  FILE* userIn = fopen("/dev/null", "r");
  FILE* userOut = fopen("/dev/null", "w");
  std::ostringstream log;
  CtrlModule ctrl{log, userIn, userOut};
};

TEST_F(Ctrl, IdsTakeTheSmallestFreeNumberAndSignalsReachTheWholeProcessGroup) {
  EXPECT_EQ(spawn({"cat"}), "i1");
  EXPECT_EQ(spawn({"cat"}, "vek"), "vek1");
  // The grandchild reports the interrupt: the signal went to the group, not only to the child.
  const std::string group = shell(
      "sh -c 'trap \"echo grandchild got INT; exit 0\" INT; echo ready;"
      " while :; do sleep 0.05; done'; echo outer done");
  EXPECT_EQ(group, "i2");
  std::set<std::string> ids = {"kept"};
  ctrl.getZubIds("vek", ids);
  EXPECT_EQ(ids, (std::set<std::string>{"kept", "vek1"}));
  ctrl.sendSignalToZub("i1", SIGKILL);
  ctrl.removeZub("i1");
  EXPECT_EQ(spawn({"cat"}), "i1");
  // Sending stops at the first unknown id; the engines before it have the text.
  EXPECT_FALSE(ctrl.sendToZubs({"i1", "i7", "vek1"}, "hello\n"));
  EXPECT_EQ(next("i1"), "hello\n");
  EXPECT_EQ(next("vek1", 0.1), "");
  ASSERT_EQ(next(group), "ready\n");
  EXPECT_EQ(getpgid(ctrl.findZub(group)->pid), ctrl.findZub(group)->pid);
  ASSERT_TRUE(ctrl.sendSignalToZub(group, SIGINT));
  EXPECT_EQ(next(group), "grandchild got INT\n");
  EXPECT_FALSE(ctrl.sendSignalToZubs({"i1", "i7"}, 0));
  // With an interrupt pending and nothing to read, the wait gives up at once, flag kept.
  std::string line;
  EXPECT_FALSE(ctrl.receiveFromZub("i9", line));
  sigIntPending = true;
  EXPECT_FALSE(ctrl.receiveFromZub("i1", line));
  EXPECT_TRUE(sigIntPending);
}

// The sleeper outlives the ctest limit: only the kill after the interrupted wait ends it.
TEST_F(Ctrl, RemoveReapsAndAnInterruptedWaitKillsTheEngineGroup) {
  const std::string ended = shell("echo bye");
  EXPECT_EQ(next(ended), "bye\n");
  const std::string sleeper = shell("echo up; exec sleep 300");
  ASSERT_EQ(next(sleeper), "up\n");
  const pid_t sleeperPid = ctrl.findZub(sleeper)->pid;
  ctrl.removeZub(ended);
  ctrl.removeZub(ended);  // unknown by now: nothing happens
  ctrl.zubs["i5"];        // a registered null pointer is only forgotten
  ctrl.removeZubs({"i5"});
  EXPECT_EQ(ctrl.zubs.size(), 1u);
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
  EXPECT_TRUE(ctrl.zubs.empty());
  EXPECT_NE(kill(sleeperPid, 0), 0);  // killed and reaped
}

// Engines that cannot start, close their pipes, flood or never read cost only their own queues:
// both stay at 100 items, the producer waits, and SIGPIPE must not end us.
TEST_F(Ctrl, MisbehavingEnginesOnlyEndOrFillTheirOwnQueues) {
  const std::string missing = spawn({"/nonexistent/zub", "-i=mi"});
  const std::string closer = shell("exec <&-; echo last; exec >&-; sleep 0.2");
  const boost::shared_ptr<ZubModule> flooder = ctrl.findZub(spawn({"yes"}));
  const boost::shared_ptr<ZubModule> deaf = ctrl.findZub(shell("exec sleep 30"));
  EXPECT_EQ(next(closer), "last\n");
  for (int i = 0; i < 50; ++i) {  // below the 100 at which the sender would wait for good
    EXPECT_TRUE(ctrl.sendToZub(missing, "-exec-run\n"));
    EXPECT_TRUE(ctrl.sendToZub(closer, "ignored\n"));
  }
  std::atomic<int> queued = 0;
  std::thread producer([&] {
    for (int i = 0; i < 300; ++i, ++queued) deaf->zubInput.put(std::string(10000, 'c') + "\n");
  });
  ASSERT_TRUE(waitUntil([&] { return flooder->zubOutput.size() == 100; }));
  ASSERT_TRUE(waitUntil([&] { return deaf->zubInput.size() == 100; }));
  std::this_thread::sleep_for(std::chrono::milliseconds(300));
  EXPECT_EQ(flooder->zubOutput.size() + deaf->zubInput.size(), 200u);
  EXPECT_LT(queued, 300);
  EXPECT_GE(ctrl.findZub(closer)->zubInput.size(), 49u);
  EXPECT_EQ(next(missing, 0.1) + next(closer, 0.1), "");
  EXPECT_EQ(next("i3"), "y\n");
  for (const auto& [id, zub] : ctrl.zubs) ctrl.sendSignalToZub(id, SIGKILL);
  ctrl.removeZubs({"i1", "i2", "i3", "i4"});  // closing the queue releases the producer
  producer.join();
  EXPECT_TRUE(ctrl.zubs.empty());
}

}  // namespace
