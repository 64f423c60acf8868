// The program on a simulated machine with two cards, in a private mount namespace: it reads the
// cards before it starts the host engine. Card discovery's other outcomes are unit tests.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <stdlib.h>
#include <unistd.h>

#include <algorithm>
#include <string>
#include <vector>

#include "offload/fake_cards.h"
#include "support/e2e.h"

namespace {

// Runs the program on `machine` with no host engine configured, so that it stops right after
// card discovery; standard input is empty and standard output goes to a file of the machine.
int runProgram(const FakeCardMachine& machine) {
  const std::string root = machine.root();
  return machine.runInside([&] {
    const int in = open("/dev/null", O_RDONLY);
    const int out = open((root + "/stdout").c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
    if (in < 0 || out < 0 || dup2(in, 0) < 0 || dup2(out, 1) < 0) return 126;
    unsetenv("ZUBC_HOST");
    setenv("WEM_LOG", (root + "/wem.log").c_str(), 1);
    execl(WEM_BINARY, WEM_BINARY, "--interpreter=mi", static_cast<char*>(nullptr));
    return 127;
  });
}

size_t indexOf(const std::vector<std::string>& lines, const std::string& line) {
  return std::find(lines.begin(), lines.end(), line) - lines.begin();
}

TEST(Discovery, ProgramFindsTheCardsBeforeItStartsTheHostEngine) {
  FakeCardMachine machine;
  machine.addCard("0", "online\n", "IPADDR=127.0.31.1\n");
  machine.addCard("1", "offline\n", "IPADDR=127.0.31.2\n");
  const int status = runProgram(machine);
  if (status == FakeCardMachine::kNotPermitted)
    GTEST_SKIP() << "no private mount namespace may be made here";
  ASSERT_EQ(status, 0);
  EXPECT_EQ(e2e::readFile(machine.root() + "/stdout"), "");

  const std::vector<std::string> log = e2e::readLogLines(machine.root() + "/wem.log");
  const size_t mount = indexOf(log, "Executing command: mount -t sysfs");
  const size_t card0 = indexOf(log, "The address of  vek0 is 127.0.31.1.");
  const size_t card1 = indexOf(log, "Status of vek1 : offline");
  const size_t noHost = indexOf(log, "ZUBC_HOST is not defined.");
  ASSERT_LT(noHost, log.size());
  EXPECT_LT(mount, card0);
  EXPECT_LT(card0, card1);
  EXPECT_LT(card1, noHost);
  EXPECT_EQ(log[indexOf(log, "Executing command: echo /opt/ulvax/vek/filesystem/vek*") + 1],
            "Command output: /opt/ulvax/vek/filesystem/vek0 /opt/ulvax/vek/filesystem/vek1");
}

}  // namespace
