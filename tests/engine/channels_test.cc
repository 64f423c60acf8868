// The channels between the threads and the engine processes: every test runs threads, and CI
// runs them under ThreadSanitizer (-L channel).
#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <functional>
#include <set>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "base/signals.h"
#include "engine/ctrl_module.h"

namespace {

// Polls `done` every millisecond until it holds or `seconds` pass; the result of the last poll.
bool waitUntil(const std::function<bool()>& done, double seconds = 5) {
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::duration<double>(seconds);
  while (!done()) {
    if (std::chrono::steady_clock::now() > deadline) return false;
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
  return true;
}

// A pipe whose ends close with the object unless closed before.
struct Pipe {
  int fds[2] = {-1, -1};
  Pipe() {
    if (pipe(fds) != 0) fds[0] = fds[1] = -1;
  }
  ~Pipe() { closeEnd(0), closeEnd(1); }
  void closeEnd(int end) {
    if (fds[end] >= 0) close(fds[end]);
    fds[end] = -1;
  }
};

// Capacity one: the producer waits on every item while the consumer alternates waiting and
// polling; the last put is still waiting when the buffer closes. (A take waiting on an empty
// buffer is released by every IOModule stop: its writer waits so.)
TEST(SharedBuffer, ItemsLeaveInOrderAtCapacityAndCloseReleasesTheWaitingProducer) {
  SharedBuffer<std::string> buffer(1);
  std::string item = "untouched";
  EXPECT_FALSE(buffer.tryTake(item));
  std::thread producer([&] {
    for (int i = 0; i < 2002; ++i) buffer.put(std::to_string(i));
  });
  for (int i = 0; i < 2000; ++i) {
    std::string taken;
    ASSERT_TRUE(i % 2 ? buffer.take(taken) : waitUntil([&] { return buffer.tryTake(taken); }));
    ASSERT_EQ(taken, std::to_string(i));
  }
  ASSERT_TRUE(waitUntil([&] { return buffer.size() == 1; }));
  std::this_thread::sleep_for(std::chrono::milliseconds(20));
  buffer.close();
  producer.join();
  EXPECT_EQ(buffer.size(), 0u);  // the queued "2000" is gone, "2001" never came in
  buffer.put("dropped\n");
  EXPECT_FALSE(buffer.tryTake(item) || buffer.take(item));
  EXPECT_EQ(item, "untouched");
}

// A module reading the pipe `in` and writing the pipe `out`, whose write end only it holds.
struct Channel {
  Channel() : inStream(fdopen(dup(in.fds[0]), "r")), outStream(fdopen(dup(out.fds[1]), "w")) {
    out.closeEnd(1);
  }
  ~Channel() {
    module.stop();
    fclose(inStream);
    fclose(outStream);
  }
  void feed(const std::string& bytes) {
    ASSERT_EQ(write(in.fds[1], bytes.data(), bytes.size()), ssize_t(bytes.size()));
  }
  std::string next(double seconds = 5) {
    std::string line;
    waitUntil([&] { return inputBuffer.tryTake(line); }, seconds);
    return line;
  }

  Pipe in, out;
  SharedBuffer<std::string> inputBuffer{100};
  SharedBuffer<std::string> outputBuffer{100};
  FILE* inStream;
  FILE* outStream;
  IOModule module{inStream, outStream, &inputBuffer, &outputBuffer};
};

// The reader cuts lines at "\n" whatever the reads and drops those over its limit; the writer
// keeps the order of long items through partial writes and drains.
TEST(IOModule, LinesCrossBothThreadsWholeAndInOrder) {
  Channel channel;
  const int fd = fileno(channel.outStream);  // small and non-blocking: items go out in pieces
  fcntl(fd, F_SETPIPE_SZ, 4096);
  fcntl(fd, F_SETFL, fcntl(fd, F_GETFL) | O_NONBLOCK);
  std::string expected;
  for (char c = 'a'; c < 'f'; ++c) {
    channel.outputBuffer.put(std::string(30000, c) + "\n");
    expected += std::string(30000, c) + "\n";
  }
  channel.module.lineLimit = 100001;
  channel.module.start();
  EXPECT_FALSE(channel.module.drainOutput(std::chrono::milliseconds(20)));  // nobody reads yet
  channel.feed("first\nsecond\r\nspl");  // one read, two lines; a carriage return stays
  EXPECT_EQ(channel.next(), "first\n");
  EXPECT_EQ(channel.next(), "second\r\n");
  std::this_thread::sleep_for(std::chrono::milliseconds(20));  // the reader takes "spl"
  channel.feed("it\n\n" + std::string(100000, 'x') + "\n" + std::string(200000, 'y') +
               "\nafter\nno newline");
  EXPECT_EQ(channel.next(), "split\n");
  EXPECT_EQ(channel.next(), "\n");
  EXPECT_TRUE(channel.next() == std::string(100000, 'x') + "\n");
  EXPECT_EQ(channel.next(), "after\n");
  EXPECT_EQ(channel.module.droppedLines, 1u);
  channel.in.closeEnd(1);
  EXPECT_EQ(channel.next(0.1), "");  // a last line without "\n" is dropped at end of file
  EXPECT_FALSE(channel.inputBuffer.isClosed());
  std::string received;
  char bytes[1000];
  waitUntil(
      [&] {
        const ssize_t count = read(channel.out.fds[0], bytes, sizeof bytes);
        if (count > 0) received.append(bytes, count);
        return received.size() >= expected.size();
      },
      10);
  EXPECT_TRUE(received == expected) << received.size() << " of " << expected.size();
  EXPECT_TRUE(channel.module.drainOutput(std::chrono::milliseconds(2000)));
}

// A started controller whose user channel reads and writes /dev/null (every end-to-end case
// drives the real one). stop() reaps every engine, so each test kills its engines first.
class Ctrl : public ::testing::Test {
 protected:
  Ctrl() {
    sigIntPending = 0;
    ctrl.start();
  }
  ~Ctrl() override {
    killAll();
    ctrl.stop();
    fclose(userIn);
    fclose(userOut);
    sigIntPending = 0;
  }

  void killAll() {
    std::set<std::string> ids;
    ctrl.getZubIds(ids);
    for (const std::string& id : ids) ctrl.sendSignalToZub(id, SIGKILL);
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
  ASSERT_TRUE(ctrl.sendSignalToZub(group, SIGINT));
  EXPECT_EQ(next(group), "grandchild got INT\n");
  EXPECT_FALSE(ctrl.sendSignalToZubs({"i1", "i7"}, 0));
}

// The sleeper outlives the ctest limit: only a kill ends it, here at once after the interrupt.
TEST_F(Ctrl, RemoveReapsAndAnInterruptedWaitKillsTheEngineGroup) {
  const std::string ended = shell("echo bye");
  EXPECT_EQ(next(ended), "bye\n");
  const std::string sleeper = shell("echo up; exec sleep 300");
  ASSERT_EQ(next(sleeper), "up\n");
  const pid_t sleeperPid = ctrl.findZub(sleeper)->pid;
  ctrl.removeZub(ended);
  ctrl.removeZub(ended);  // unknown by now: nothing happens
  std::set<std::string> ids;
  ctrl.getZubIds(ids);
  EXPECT_EQ(ids, std::set<std::string>{sleeper});
  const pid_t self = getpid();
  const pid_t poker = fork();
  ASSERT_GE(poker, 0);
  if (poker == 0) {
    usleep(100000);
    kill(self, SIGINT);
    _exit(0);
  }
  ctrl.removeZub(sleeper);  // waits until the poker's SIGINT
  waitpid(poker, nullptr, 0);
  EXPECT_TRUE(sigIntPending);
  EXPECT_FALSE(ctrl.hasEngines());
  EXPECT_NE(kill(sleeperPid, 0), 0);  // killed and reaped
}

// Engines that cannot start, close their pipes, flood or never read cost only their own queues:
// the reader stops taking lines at 100, the producer waits at 100, and SIGPIPE must not end us.
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
  EXPECT_EQ(next(missing, 0.1) + next(closer, 0.1), "");
  EXPECT_EQ(next("i3"), "y\n");
  killAll();
  // Stopping ends a reader waiting to put and a writer whose pipe is full, releases the producer
  // and discards what the queues hold; a second stop does nothing.
  ctrl.removeZubs({"i1", "i2", "i3", "i4"});
  producer.join();
  EXPECT_FALSE(ctrl.hasEngines());
  EXPECT_TRUE(deaf->zubInput.isClosed() && flooder->zubOutput.isClosed());
  EXPECT_EQ(deaf->zubInput.size() + flooder->zubOutput.size(), 0u);
  deaf->stop();
}

}  // namespace
