// Stock gdb attaches, through the program, to a process the test runs itself (which a transcript
// cannot start), detaches again and leaves it running.
#include <gtest/gtest.h>
#include <signal.h>
#include <stdlib.h>
#include <unistd.h>

#include <sstream>

#include "support/e2e.h"

namespace {

using e2e::skipTo;

// Engines lead sessions of their own: a failed test would leave gdb behind.
struct EngineReaper {
  ~EngineReaper() {
    const std::string pid = std::to_string(wem.pid());
    std::istringstream children(e2e::readFile("/proc/" + pid + "/task/" + pid + "/children"));
    for (pid_t child; children >> child;) kill(child, SIGKILL);
  }
  const e2e::Child& wem;
};

TEST(GdbAttach, DetachLeavesTheProcessRunning) {
  if (system("command -v gdb >/dev/null 2>&1") != 0) GTEST_SKIP() << "stock gdb is not installed";
  e2e::Child target, wem;
  ASSERT_TRUE(target.start({"sleep", "60"}, {}));
  // Attached before its exec, the child would stop again at the exec.
  const std::string proc = "/proc/" + std::to_string(target.pid());
  for (int tries = 0; e2e::readFile(proc + "/comm") != "sleep\n" && tries < 1000; ++tries)
    usleep(1000);
  ASSERT_TRUE(wem.start({WEM_BINARY, "--interpreter=mi"}, {{"ZUBC_HOST", "gdb"}}));
  EngineReaper reaper{wem};
  wem.write("1-target-attach " + std::to_string(target.pid()) + "\n2-target-detach\n");
  EXPECT_TRUE(skipTo(wem, "1^done") && skipTo(wem, "=thread-group-exited,id=\"i1\"") &&
              skipTo(wem, "2^done"));
  const std::string stat = e2e::readFile(proc + "/stat");
  EXPECT_NE(stat.find(") S "), std::string::npos) << stat;  // running, neither stopped nor traced
  wem.write("3-target-attach 999999999\n4-gdb-exit\n");
  EXPECT_TRUE(skipTo(wem, "3^error,msg=\"ptrace: No such process.\"") && skipTo(wem, "4^exit"));
  EXPECT_EQ(wem.exitCode(), 0);
}

}  // namespace
