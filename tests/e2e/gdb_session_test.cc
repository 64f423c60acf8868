#include <gtest/gtest.h>
#include <stdlib.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <string>
#include <thread>

#include "e2e/session_fixture.h"
#include "support/e2e.h"

namespace {

// Pids of the processes whose parent is `parent`.
std::vector<pid_t> childrenOf(pid_t parent) {
  std::vector<pid_t> children;
  for (const auto& entry : std::filesystem::directory_iterator("/proc")) {
    const std::string name = entry.path().filename();
    if (name.find_first_not_of("0123456789") != std::string::npos) continue;
    const std::string stat = e2e::readFile(entry.path().string() + "/stat");
    const size_t paren = stat.rfind(')');
    if (paren == std::string::npos) continue;
    std::istringstream fields(stat.substr(paren + 2));
    std::string state;
    pid_t ppid = 0;
    if (fields >> state >> ppid && ppid == parent) children.push_back(std::stoi(name));
  }
  return children;
}

class GdbSession : public testing::Test {
 protected:
  void SetUp() override {
    if (system("command -v gdb >/dev/null 2>&1") != 0) GTEST_SKIP() << "stock gdb is not installed";
    program = run.dir.file("mi_sample");
    const std::string build = "cc -g -O0 -pthread -o " + program +
                              " " WEM_SOURCE_DIR "/tests/data/mi_sample.c 2>/dev/null";
    if (system(build.c_str()) != 0) GTEST_SKIP() << "no C compiler for the sample program";
  }
  void TearDown() override {
    if (enginePid > 0) e2e::killIfAlive(enginePid);
  }

  // Starts the program on stock gdb with the sample loaded, and finds gdb among its children.
  testing::AssertionResult startOnGdb() {
    if (!run.start("", {"--interpreter=mi", program}, {{"ZUBC_HOST", "gdb"}}))
      return testing::AssertionFailure() << "cannot start the program";
    const testing::AssertionResult greeted =
        run.wem.expect("=thread-group-added,id=\"i1\"\n(gdb)\n", e2e::Ms(10000));
    if (!greeted) return greeted;
    const auto deadline = std::chrono::steady_clock::now() + e2e::Ms(5000);
    for (std::vector<pid_t> children; enginePid <= 0;) {
      children = childrenOf(run.wem.pid());
      if (!children.empty())
        enginePid = children.front();
      else if (std::chrono::steady_clock::now() > deadline)
        return testing::AssertionFailure() << "no engine process";
      else
        std::this_thread::sleep_for(e2e::Ms(5));
    }
    return testing::AssertionSuccess();
  }

  WemRun run;
  std::string program;
  pid_t enginePid = -1;
};

TEST_F(GdbSession, QueriesAndSettingsBeforeARunThenExit) {
  ASSERT_TRUE(startOnGdb());
  EXPECT_TRUE(e2e::runTranscript(run.wem, R"(
> 1-list-features
<~ 1\^done,features=\[.*"thread-info".*\]
< (gdb)
> 2-gdb-set confirm off
< 2^done
< (gdb)
> 3-stack-info-depth
<~ 3\^error,msg=".+"
< (gdb)
> 4-gdb-set --thread-group i1 width 0
< 4^done
< (gdb)
> 5-stack-list-frames --thread 1
< 5^error,msg="Invalid thread: 1"
< (gdb)
> 6-gdb-exit
< =thread-group-removed,id="i1"
< 6^exit
eof
exit 0
)",
                                 e2e::Ms(15000)));
  EXPECT_TRUE(e2e::waitGone(enginePid));
  // The host engine received the program's own arguments.
  EXPECT_TRUE(run.logged("ZUBC: gdb"));
  EXPECT_TRUE(run.logged("argv: " + program));
}

TEST_F(GdbSession, TerminateEndsGdbToo) {
  ASSERT_TRUE(startOnGdb());
  EXPECT_TRUE(e2e::runTranscript(run.wem, R"(
> 1-gdb-set confirm off
< 1^done
< (gdb)
! SIGTERM
eof
exit 0
)",
                                 e2e::Ms(15000)));
  EXPECT_TRUE(e2e::waitGone(enginePid));
}

}  // namespace
