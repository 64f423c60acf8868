#include "engine/ctrl_module.h"

#include <fcntl.h>
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

// A started controller whose user channel runs on pipes; stop() reaps whatever is left, so every
// test kills its engines' process groups first.
class Ctrl : public ::testing::Test {
 protected:
  Ctrl()
      : userIn(fdopen(dup(userInPipe.readFd()), "r")),
        userOut(fdopen(dup(userOutPipe.writeFd()), "w")),
        ctrl(log, userIn, userOut) {
    userOutPipe.closeWrite();
    fcntl(userOutPipe.readFd(), F_SETFL, O_NONBLOCK);
    sigIntPending = false;
    ctrl.start();
  }
  ~Ctrl() override {
    std::set<std::string> ids;
    ctrl.getZubIds(ids);
    for (const std::string& id : ids) ctrl.sendSignalToZub(id, SIGKILL);
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
  void kill(const std::string& id) {
    EXPECT_TRUE(ctrl.sendSignalToZub(id, SIGKILL));
    ctrl.removeZub(id);
  }
  // The log from here on, without record numbers.
  std::string takeLog() {
    std::string text = stripNumbers(log.str());
    log.str("");
    return text;
  }
  std::string userOutput() {
    std::string text;
    char bytes[4096];
    ssize_t count;
    while ((count = read(userOutPipe.readFd(), bytes, sizeof bytes)) > 0) text.append(bytes, count);
    return text;
  }

  Pipe userInPipe;
  Pipe userOutPipe;
  FILE* userIn;
  FILE* userOut;
  std::ostringstream log;
  CtrlModule ctrl;
};

}  // namespace

TEST_F(Ctrl, SpawnLogsArgvAndIdsTakeTheSmallestFreeNumberPerPrefix) {
  const std::string i1 = spawn({"cat"});
  EXPECT_EQ(log.str(), "  'cat'\n");
  const std::string i2 = spawn({"cat", "-u"});
  const std::string vek1 = spawn({"cat"}, "vek");
  EXPECT_EQ(i1, "i1");
  EXPECT_EQ(i2, "i2");
  EXPECT_EQ(vek1, "vek1");
  std::set<std::string> ids;
  ctrl.getZubIds("vek", ids);
  EXPECT_EQ(ids, (std::set<std::string>{"vek1"}));
  ids = {"kept"};
  ctrl.getZubIds(ids);
  EXPECT_EQ(ids, (std::set<std::string>{"i1", "i2", "kept", "vek1"}));
  kill("i1");
  EXPECT_EQ(spawn({"cat"}), "i1");
}

TEST_F(Ctrl, LinesGoToTheEngineAndComeBackLogged) {
  const std::string id = spawn({"cat"});
  takeLog();
  EXPECT_TRUE(ctrl.sendToZub(id, "-gdb-version\n"));
  std::string line;
  ASSERT_TRUE(ctrl.receiveFromZub(id, line));
  EXPECT_EQ(line, "-gdb-version\n");
  EXPECT_EQ(takeLog(), "i1 : -gdb-version\n\ni1 : -gdb-version\n\n");
  EXPECT_FALSE(ctrl.sendToZub("i9", "x\n"));
  EXPECT_FALSE(ctrl.receiveFromZub("i9", line));
  EXPECT_EQ(takeLog(), "");
  // With an interrupt pending and nothing to read, the wait gives up at once, flag kept.
  sigIntPending = true;
  EXPECT_FALSE(ctrl.receiveFromZub(id, line));
  EXPECT_TRUE(sigIntPending);
}

TEST_F(Ctrl, SendToZubsStopsAtTheFirstUnknownId) {
  spawn({"cat"});
  spawn({"cat"});
  spawn({"cat"});
  kill("i2");
  takeLog();
  EXPECT_FALSE(ctrl.sendToZubs({"i1", "i2", "i3"}, "hello\n"));
  EXPECT_EQ(next("i1"), "hello\n");
  EXPECT_EQ(next("i3", 0.1), "");
  EXPECT_EQ(takeLog(), "i1 : hello\n\nFailed to send string (hello\n) to  i2\n\n");
  EXPECT_TRUE(ctrl.sendToZubs({}, "x\n"));
  EXPECT_TRUE(ctrl.sendToZubs({"i1", "i3"}, "both\n"));
  EXPECT_EQ(next("i1"), "both\n");
  EXPECT_EQ(next("i3"), "both\n");
}

TEST_F(Ctrl, SignalReachesTheWholeProcessGroup) {
  // The grandchild reports the interrupt: the signal went to the group, not only to the child.
  const std::string id = shell(
      "sh -c 'trap \"echo grandchild got INT; exit 0\" INT; echo ready;"
      " while :; do sleep 0.05; done'; echo outer done");
  ASSERT_EQ(next(id), "ready\n");
  takeLog();
  ASSERT_TRUE(ctrl.sendSignalToZub(id, SIGINT));
  const std::string pid = std::to_string(ctrl.findZub(id)->pid);
  // The engine leads a group of its own, never ours.
  EXPECT_EQ(getpgid(ctrl.findZub(id)->pid), ctrl.findZub(id)->pid);
  EXPECT_EQ(takeLog(), "Sent signal 2 to process group " + pid + " (i1 ).\n");
  EXPECT_EQ(next(id), "grandchild got INT\n");
  EXPECT_FALSE(ctrl.sendSignalToZub("i7", SIGINT));
  EXPECT_FALSE(ctrl.sendSignalToZubs({"i1", "i7"}, 0));
  EXPECT_EQ(takeLog(), "Sent signal 0 to process group " + pid +
                           " (i1 ).\nFailed to send signal (0) to  i7\n\n");
}

TEST_F(Ctrl, RemoveReapsAnEngineThatEndedAndLogsUnknownIds) {
  const std::string id = shell("echo bye");
  EXPECT_EQ(next(id), "bye\n");
  const std::string pid = std::to_string(ctrl.findZub(id)->pid);
  takeLog();
  ctrl.removeZub(id);
  EXPECT_EQ(takeLog(), "Removing i1\n\nZUB process " + pid + " has terminated.\n\nRemoved i1\n\n");
  EXPECT_TRUE(ctrl.zubs.empty());
  ctrl.removeZub("i1");
  EXPECT_EQ(takeLog(), "Failed to find i1\n\n");
  ctrl.zubs["i5"];  // A registered null pointer is only forgotten.
  std::set<std::string> ids;
  ctrl.getZubIds(ids);
  EXPECT_TRUE(ids.empty());
  ctrl.removeZubs({"i5"});
  EXPECT_EQ(takeLog(), "Removing i5\n\nThe pointer to i5 is NULL.\n\n");
  EXPECT_TRUE(ctrl.zubs.empty());
}

TEST_F(Ctrl, InterruptedWaitKillsTheEngineGroup) {
  const std::string id = shell("echo up; sleep 30");
  ASSERT_EQ(next(id), "up\n");
  const std::string pid = std::to_string(ctrl.findZub(id)->pid);
  const pid_t self = getpid();
  const pid_t poker = fork();
  ASSERT_GE(poker, 0);
  if (poker == 0) {
    usleep(100000);
    ::kill(self, SIGINT);
    _exit(0);
  }
  takeLog();
  ctrl.removeZub(id);  // Blocks until the poker's SIGINT.
  int status;
  waitpid(poker, &status, 0);
  EXPECT_TRUE(sigIntPending);
  EXPECT_EQ(takeLog(),
            "Removing i1\n\nCall to waitpid failed with errno: 4\n\nerrno is EINTR\n\n"
            "Sent signal 9 to process group " +
                pid + " (i1 ).\n" + "ZUB process " + pid + " has terminated.\n\nRemoved i1\n\n");
}

TEST_F(Ctrl, MissingExecutableNeverAnswersAndIsReaped) {
  std::string id;
  const char* argv[] = {"/nonexistent/zub", "-i=mi", nullptr};
  ASSERT_TRUE(ctrl.spawnZub(argv[0], argv, "i", id));
  EXPECT_EQ(log.str(), "  '/nonexistent/zub'  '-i=mi'\n");
  EXPECT_TRUE(ctrl.sendToZub(id, "-exec-run\n"));  // Nobody reads it; SIGPIPE must not kill us.
  EXPECT_EQ(next(id, 0.2), "");
  ctrl.removeZub(id);
  EXPECT_TRUE(ctrl.zubs.empty());
}

TEST_F(Ctrl, EngineClosingItsPipesOnlyEndsItsOutput) {
  const std::string id = shell("echo last; exec >&- <&-; sleep 0.2");
  EXPECT_EQ(next(id), "last\n");
  // Text for a pipe without a reader stays queued (SIGPIPE must not kill us); keep below the
  // 100 lines at which the sender would wait for good.
  for (int i = 0; i < 50; ++i) EXPECT_TRUE(ctrl.sendToZub(id, "ignored\n"));
  std::this_thread::sleep_for(std::chrono::milliseconds(300));
  EXPECT_GE(ctrl.findZub(id)->zubInput.size(), 49u);
  EXPECT_EQ(next(id, 0.1), "");
  ctrl.removeZub(id);
  EXPECT_TRUE(ctrl.zubs.empty());
}

TEST_F(Ctrl, QueuesStayBoundedWhenAnEngineFloodsOrNeverReads) {
  const std::string flood = spawn({"yes"});
  const boost::shared_ptr<ZubModule> flooder = ctrl.findZub(flood);
  ASSERT_TRUE(waitUntil([&] { return flooder->zubOutput.size() == 100; }));
  std::this_thread::sleep_for(std::chrono::milliseconds(50));
  EXPECT_EQ(flooder->zubOutput.size(), 100u);
  EXPECT_EQ(next(flood), "y\n");
  kill(flood);

  const std::string deaf = shell("exec sleep 30");
  const boost::shared_ptr<ZubModule> sleeper = ctrl.findZub(deaf);
  // The producer waits once the queue holds 100 items the pipe cannot take.
  std::atomic<int> queued = 0;
  std::thread producer([&] {
    const std::string chunk(10000, 'c');
    for (int i = 0; i < 300; ++i) {
      sleeper->zubInput.put(chunk + "\n");
      ++queued;
    }
  });
  ASSERT_TRUE(waitUntil([&] { return sleeper->zubInput.size() == 100; }));
  std::this_thread::sleep_for(std::chrono::milliseconds(50));
  EXPECT_EQ(sleeper->zubInput.size(), 100u);
  EXPECT_LT(queued, 300);
  kill(deaf);  // Closing the queue releases the producer.
  producer.join();
}

TEST_F(Ctrl, UserSeesTextOnlyWhenNotMutedAndEveryTextIsLogged) {
  ctrl.sendToUser("^done\n");
  ctrl.muted = true;
  ctrl.sendToUser("^secret\n");
  ctrl.muted = false;
  ctrl.sendToUser("(gdb)\n");
  std::string shown;
  waitUntil([&] {
    shown += userOutput();
    return shown.size() >= 12;
  });
  EXPECT_EQ(shown, "^done\n(gdb)\n");
  EXPECT_EQ(takeLog(), "user: ^done\n\nmuted: ^secret\n\nuser: (gdb)\n\n");
  ASSERT_EQ(write(userInPipe.writeFd(), "-exec-run\n", 10), 10);
  std::string line;
  EXPECT_TRUE(waitUntil([&] { return ctrl.tryReceiveFromUser(line); }));
  EXPECT_EQ(line, "-exec-run\n");
}
