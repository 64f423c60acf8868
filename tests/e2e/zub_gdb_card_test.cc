// zub-gdb as a card engine on the simulated card (tools/simulate-card): with the card options it
// connects to the card's gdbserver, attaches ("attach PID FILE") to a card-side process that
// waits for the test's go, stops at a card-side breakpoint set after the attach, and follows the
// process to its exit. Skipped where the namespaces are refused.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <memory>

#include "support/e2e.h"

namespace {

using e2e::skipTo;

const std::string kBin = WEM_BINARY_DIR "/bin/";

// Inside the card machine: the card-side program (ready on fd 3, waiting on stdin) in the
// background, then the engine with the options a session gives a card engine.
const std::string kCard =
    "'" + kBin +
    "offload_card' 3 0 4 3>\"$1/ready\" <\"$1/go\" >\"$1/out\" & echo $! >\"$1/pid\"\n"
    "exec '" +
    kBin +
    "zub-gdb' -wem-launch=1 -wem-cardid=0 -i=mi -tco "
    "-rconnect=tcpip:127.0.2.1:2000\n";

TEST(ZubGdbCard, AttachesThroughTheCardServerAndStopsInCardCode) {
  e2e::TempDir dir;
  ASSERT_EQ(mkfifo(dir.file("go").c_str(), 0600), 0);
  // Opened for both ends, so that neither side waits for the other to open it.
  const std::unique_ptr<int, void (*)(int*)> go(new int(open(dir.file("go").c_str(), O_RDWR)),
                                                [](int* fd) { close(*fd), delete fd; });
  e2e::Child card;
  ASSERT_TRUE(
      card.start({WEM_SOURCE_DIR "/tools/simulate-card", "sh", "-c", kCard, "sh", dir.path()},
                 {{"WEM_CARD_SERVER", kBin + "card-server"}}, dir.file("stderr")));
  for (int tries = 0; e2e::readFile(dir.file("ready")) != "r" && tries < 1000; ++tries) {
    if (card.exitCode(e2e::Ms(10)) == 77) GTEST_SKIP() << e2e::readFile(dir.file("stderr"));
  }
  std::string pid = e2e::readFile(dir.file("pid"));
  ASSERT_TRUE(pid.ends_with("\n")) << e2e::readFile(dir.file("stderr"));
  pid.pop_back();

  // The attached program's stop comes before the answer, not during the next command.
  card.write("1attach " + pid + " " + kBin + "offload_card\n");
  std::string line;
  EXPECT_TRUE(skipTo(card, "=thread-created,id=\"1\",group-id=\"i1\",pid=\"" + pid + "\""));
  EXPECT_TRUE(skipTo(card, "*stopped,", &line)) << line;
  EXPECT_TRUE(card.readLine(line) && line == "1^done") << line;

  card.write("2-break-insert card_work\n3-exec-continue\n");
  EXPECT_TRUE(skipTo(card, "3^running"));
  EXPECT_EQ(write(*go, "g", 1), 1);
  EXPECT_TRUE(skipTo(card, "*stopped,reason=\"breakpoint-hit\"", &line));
  EXPECT_NE(line.find("func=\"card_work\""), std::string::npos) << line;
  card.write("4-exec-continue\n");
  EXPECT_TRUE(skipTo(card, "*stopped,reason=\"exited-normally\""));
  EXPECT_EQ(e2e::readFile(dir.file("out")), "card: work(4) = 30\n");

  // The engine ends, and with it the card machine and its gdbserver.
  card.write("5-gdb-exit\n");
  EXPECT_TRUE(skipTo(card, "5^exit"));
  EXPECT_EQ(card.exitCode(), 0) << e2e::readFile(dir.file("stderr"));
}

}  // namespace
