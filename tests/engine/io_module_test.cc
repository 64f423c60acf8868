#include "engine/io_module.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/ioctl.h>

#include <chrono>
#include <thread>

#include "engine/test_util.h"

namespace {

// A reader on the read end of `in` and a writer on the write end of `out`.
struct Channel {
  explicit Channel(unsigned int inputCapacity = 100, unsigned int outputCapacity = 100)
      : inputBuffer(inputCapacity),
        outputBuffer(outputCapacity),
        inStream(fdopen(dup(in.readFd()), "r")),
        outStream(fdopen(dup(out.writeFd()), "w")),
        module(inStream, outStream, &inputBuffer, &outputBuffer) {
    out.closeWrite();  // Only the module's copy stays, so the test's reader sees end of file.
  }
  ~Channel() {
    module.stop();
    fclose(inStream);
    fclose(outStream);
  }
  void feed(const std::string& bytes) {
    ASSERT_EQ(write(in.writeFd(), bytes.data(), bytes.size()), ssize_t(bytes.size()));
  }
  std::string next(double seconds = 5) {
    std::string line;
    waitUntil([&] { return inputBuffer.tryTake(line); }, seconds);
    return line;
  }

  Pipe in;
  Pipe out;
  SharedBuffer<std::string> inputBuffer;
  SharedBuffer<std::string> outputBuffer;
  FILE* inStream;
  FILE* outStream;
  IOModule module;
};

}  // namespace

TEST(IOModuleReader, CutsLinesAtNewlineWhateverTheReadsAre) {
  Channel channel;
  channel.module.start();
  channel.feed("first\nsecond\r\n");  // One read, two lines; a carriage return stays.
  EXPECT_EQ(channel.next(), "first\n");
  EXPECT_EQ(channel.next(), "second\r\n");
  channel.feed("spl");
  std::this_thread::sleep_for(std::chrono::milliseconds(20));  // Let the reader take "spl".
  channel.feed("it\n\n");
  EXPECT_EQ(channel.next(), "split\n");
  EXPECT_EQ(channel.next(), "\n");
  const std::string huge(100000, 'x');
  channel.feed(huge + "\n");
  EXPECT_EQ(channel.next(), huge + "\n");
}

TEST(IOModuleReader, LastLineWithoutNewlineIsNeverQueuedAndBufferStaysOpen) {
  Channel channel;
  channel.module.start();
  channel.feed("done\nno newline");
  channel.in.closeWrite();
  EXPECT_EQ(channel.next(), "done\n");
  EXPECT_EQ(channel.next(0.1), "");
  EXPECT_FALSE(channel.inputBuffer.isClosed());
}

TEST(IOModuleReader, FullQueueStopsReadingSoThePipeKeepsTheRest) {
  Channel channel(1);
  channel.module.start();
  channel.feed("1\n");
  ASSERT_TRUE(waitUntil([&] { return channel.inputBuffer.size() == 1; }));
  channel.feed("2\n");  // Read, then held in the reader until there is room.
  std::this_thread::sleep_for(std::chrono::milliseconds(30));
  channel.feed("3\n");
  std::this_thread::sleep_for(std::chrono::milliseconds(30));
  int unread = 0;
  ASSERT_EQ(ioctl(channel.in.readFd(), FIONREAD, &unread), 0);
  EXPECT_EQ(unread, 2);
  EXPECT_EQ(channel.inputBuffer.size(), 1u);
  EXPECT_EQ(channel.next(), "1\n");
  EXPECT_EQ(channel.next(), "2\n");
  EXPECT_EQ(channel.next(), "3\n");
}

TEST(IOModuleWriter, PartialWritesKeepOrderForASlowReader) {
  Channel channel;
  // Small, non-blocking pipe: a long item is written in many pieces.
  const int writeFd = fileno(channel.outStream);
  fcntl(writeFd, F_SETPIPE_SZ, 4096);
  fcntl(writeFd, F_SETFL, fcntl(writeFd, F_GETFL) | O_NONBLOCK);
  std::string expected;
  for (int i = 0; i < 5; ++i) {
    const std::string item = std::string(30000, char('a' + i)) + "\n";
    channel.outputBuffer.put(item);
    expected += item;
  }
  channel.module.start();
  std::string received;
  char bytes[1000];
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(10);
  while (received.size() < expected.size() && std::chrono::steady_clock::now() < deadline) {
    const ssize_t count = read(channel.out.readFd(), bytes, sizeof bytes);
    if (count > 0) received.append(bytes, count);
    std::this_thread::sleep_for(std::chrono::microseconds(200));
  }
  EXPECT_TRUE(received == expected) << received.size() << " of " << expected.size();
}

TEST(IOModule, StopDiscardsQueuedItemsAndEndsBothThreadsPromptly) {
  Channel channel(1, 100);
  // Fill the output pipe so the writer can write nothing, and the input queue so the reader
  // waits to put.
  const int writeFd = fileno(channel.outStream);
  fcntl(writeFd, F_SETFL, fcntl(writeFd, F_GETFL) | O_NONBLOCK);
  const std::string block(4096, 'f');
  while (write(writeFd, block.data(), block.size()) > 0) {
  }
  for (int i = 0; i < 50; ++i) channel.outputBuffer.put("queued\n");
  channel.module.start();
  channel.feed("1\n2\n3\n");
  ASSERT_TRUE(waitUntil([&] { return channel.inputBuffer.size() == 1; }));
  std::this_thread::sleep_for(std::chrono::milliseconds(20));
  const auto begin = std::chrono::steady_clock::now();
  channel.module.stop();
  // Generous bound: the threads notice the close within a polling period.
  EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(2));
  EXPECT_FALSE(channel.module.isStarted());
  EXPECT_TRUE(channel.inputBuffer.isClosed());
  EXPECT_TRUE(channel.outputBuffer.isClosed());
  EXPECT_EQ(channel.outputBuffer.size(), 0u);
  EXPECT_EQ(channel.inputBuffer.size(), 0u);
  channel.module.stop();  // A second stop does nothing.
}
