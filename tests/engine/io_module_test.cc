#include "engine/io_module.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/ioctl.h>

#include "engine/test_util.h"

namespace {

// A module reading the pipe `in` and writing the pipe `out`, whose write end only it holds.
struct Channel {
  explicit Channel(unsigned int inputCapacity = 100)
      : inputBuffer(inputCapacity),
        inStream(fdopen(dup(in.fds[0]), "r")),
        outStream(fdopen(dup(out.fds[1]), "w")) {
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
  // The write end made small and non-blocking: a long item goes out in many pieces.
  int smallOutput() {
    const int fd = fileno(outStream);
    fcntl(fd, F_SETPIPE_SZ, 4096);
    fcntl(fd, F_SETFL, fcntl(fd, F_GETFL) | O_NONBLOCK);
    return fd;
  }

  Pipe in, out;
  SharedBuffer<std::string> inputBuffer;
  SharedBuffer<std::string> outputBuffer{100};
  FILE* inStream;
  FILE* outStream;
  IOModule module{inStream, outStream, &inputBuffer, &outputBuffer};
};

// The reader cuts lines at "\n" whatever the reads; the writer keeps the order of long items
// through partial writes and drains.
TEST(IOModule, LinesCrossBothThreadsWholeAndInOrder) {
  Channel channel;
  channel.smallOutput();
  std::string expected;
  for (char c = 'a'; c < 'f'; ++c) {
    channel.outputBuffer.put(std::string(30000, c) + "\n");
    expected += std::string(30000, c) + "\n";
  }
  channel.module.start();
  EXPECT_FALSE(channel.module.drainOutput(std::chrono::milliseconds(20)));  // nobody reads yet
  channel.feed("first\nsecond\r\nspl");  // one read, two lines; a carriage return stays
  EXPECT_EQ(channel.next(), "first\n");
  EXPECT_EQ(channel.next(), "second\r\n");
  std::this_thread::sleep_for(std::chrono::milliseconds(20));  // the reader takes "spl"
  channel.feed("it\n\n" + std::string(100000, 'x') + "\nno newline");
  EXPECT_EQ(channel.next(), "split\n");
  EXPECT_EQ(channel.next(), "\n");
  EXPECT_TRUE(channel.next() == std::string(100000, 'x') + "\n");
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

// A full input queue stops the reader, so the pipe keeps the rest; stop() then ends a reader
// waiting to put and a writer whose pipe is full, and discards what both queues hold.
TEST(IOModule, FullQueuesHoldBackBothThreadsUntilStopDiscardsTheQueues) {
  Channel channel(1);
  const int fd = channel.smallOutput();
  while (write(fd, std::string(4096, 'f').data(), 4096) > 0) {
  }
  for (int i = 0; i < 50; ++i) channel.outputBuffer.put("queued\n");
  channel.module.start();
  channel.feed("1\n");
  ASSERT_TRUE(waitUntil([&] { return channel.inputBuffer.size() == 1; }));
  channel.feed("2\n");  // read, then held in the reader until there is room
  std::this_thread::sleep_for(std::chrono::milliseconds(30));
  channel.feed("3\n4\n");
  std::this_thread::sleep_for(std::chrono::milliseconds(30));
  int unread = 0;
  ASSERT_EQ(ioctl(channel.in.fds[0], FIONREAD, &unread), 0);
  EXPECT_EQ(unread, 4);
  for (const char* line : {"1\n", "2\n"}) EXPECT_EQ(channel.next(), line);
  ASSERT_TRUE(waitUntil([&] { return channel.inputBuffer.size() == 1; }));  // "3", "4" waits
  channel.module.stop();  // a hang here is caught by the ctest time limit
  EXPECT_FALSE(channel.module.isStarted());
  EXPECT_TRUE(channel.inputBuffer.isClosed() && channel.outputBuffer.isClosed());
  EXPECT_EQ(channel.outputBuffer.size() + channel.inputBuffer.size(), 0u);
  channel.module.stop();  // a second stop does nothing
}

}  // namespace
