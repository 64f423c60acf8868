// The program against stock gdb as the host engine: queries and settings before a run, the
// terminate request, and the main job: a breakpoint in the user's numbering, a run that stops at
// it, a step, the stack, a continue to the program's exit and the exit command, after which
// neither the program nor the engine is left.

#include <dirent.h>
#include <gtest/gtest.h>
#include <stdlib.h>

#include <chrono>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "e2e/session_fixture.h"
#include "support/e2e.h"

namespace {

// Processes whose parent is `parent`, read from /proc.
std::vector<pid_t> childrenOf(pid_t parent) {
  std::vector<pid_t> children;
  DIR* proc = opendir("/proc");
  if (!proc) return children;
  while (dirent* entry = readdir(proc)) {
    const pid_t pid = atoi(entry->d_name);
    if (pid <= 0) continue;
    const std::string stat = e2e::readFile("/proc/" + std::to_string(pid) + "/stat");
    const size_t end = stat.rfind(')');
    if (end == std::string::npos) continue;
    std::istringstream fields(stat.substr(end + 2));
    std::string state;
    pid_t ppid = 0;
    if (fields >> state >> ppid && ppid == parent) children.push_back(pid);
  }
  closedir(proc);
  return children;
}

// Reads lines until one begins with `prefix`; the others are skipped. `line` gets it without
// its newline.
testing::AssertionResult readUntilPrefix(e2e::ChildProcess& child, const std::string& prefix,
                                         std::string& line) {
  while (child.readLine(line, e2e::Ms(15000))) {
    line.pop_back();
    if (line.starts_with(prefix)) return testing::AssertionSuccess();
  }
  return testing::AssertionFailure()
         << "no line beginning with " << prefix << "; unread: " << child.unread();
}

bool contains(const std::string& text, const std::string& piece) {
  return text.find(piece) != std::string::npos;
}

class GdbExec : public testing::Test {
 protected:
  void SetUp() override {
    if (system("command -v gdb >/dev/null 2>&1") != 0) GTEST_SKIP() << "stock gdb is not installed";
    program = run.dir.file("sample");
    e2e::ChildProcess cc;
    ASSERT_TRUE(cc.start({"cc", "-g", "-O0", "-o", program, WEM_SOURCE_DIR "/examples/sample.c"}));
    ASSERT_EQ(cc.exitCode(e2e::Ms(30000)), 0) << cc.allStderr();
  }
  void TearDown() override {
    for (pid_t pid : leftovers) e2e::killIfAlive(pid);
  }

  // Starts the program on stock gdb with the sample loaded, and finds gdb among its children.
  testing::AssertionResult startOnGdb() {
    if (!run.start("", {"--interpreter=mi", program}, {{"ZUBC_HOST", "gdb"}}))
      return testing::AssertionFailure() << "cannot start the program";
    const testing::AssertionResult greeted =
        run.wem.expect("=thread-group-added,id=\"i1\"\n(gdb)\n", e2e::Ms(15000));
    if (!greeted) return greeted;
    const auto deadline = std::chrono::steady_clock::now() + e2e::Ms(5000);
    for (std::vector<pid_t> children; leftovers.empty();) {
      children = childrenOf(run.wem.pid());
      if (!children.empty())
        leftovers = {children.front()};
      else if (std::chrono::steady_clock::now() > deadline)
        return testing::AssertionFailure() << "no engine process";
      else
        std::this_thread::sleep_for(e2e::Ms(5));
    }
    return testing::AssertionSuccess();
  }

  WemRun run;
  std::string program;
  std::vector<pid_t> leftovers;  // gdb first; killed by pid if a failed test leaves them
};

TEST_F(GdbExec, QueriesAndSettingsBeforeARunThenExit) {
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
  EXPECT_TRUE(e2e::waitGone(leftovers[0]));
  // The host engine received the program's own arguments.
  EXPECT_TRUE(run.logged("ZUBC: gdb"));
  EXPECT_TRUE(run.logged("argv: " + program));
}

TEST_F(GdbExec, TerminateEndsGdbToo) {
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
  EXPECT_TRUE(e2e::waitGone(leftovers[0]));
}

TEST_F(GdbExec, BreakpointRunStepStackContinueToExitAndQuit) {
  ASSERT_TRUE(startOnGdb());
  e2e::ChildProcess& wem = run.wem;
  std::string line;
  wem.writeLine("1-break-insert sum_of_squares");
  ASSERT_TRUE(readUntilPrefix(wem, "1^done,bkpt={number=\"1\",", line));
  EXPECT_TRUE(contains(line, "func=\"sum_of_squares\"")) << line;
  ASSERT_TRUE(wem.expect("(gdb)\n"));

  // gdb also gets the offload breakpoint first, which it can only keep pending; the user never
  // sees that reply.
  wem.writeLine("2-exec-run");
  ASSERT_TRUE(readUntilPrefix(wem, "2^running", line));
  ASSERT_TRUE(wem.expect("*running,thread-id=\"all\"\n(gdb)\n"));
  ASSERT_TRUE(readUntilPrefix(wem, "2*stopped,reason=\"breakpoint-hit\",", line));
  EXPECT_TRUE(contains(line, "bkptno=\"1\"")) << line;
  EXPECT_TRUE(contains(line, "func=\"sum_of_squares\"")) << line;
  EXPECT_TRUE(contains(line, "thread-id=\"1\"")) << line;

  std::vector<pid_t> programs = childrenOf(leftovers[0]);
  ASSERT_EQ(programs.size(), 1u);
  leftovers.push_back(programs[0]);

  wem.writeLine("3-exec-next");
  ASSERT_TRUE(readUntilPrefix(wem, "3^running", line));
  ASSERT_TRUE(wem.expect("*running,thread-id=\"all\"\n(gdb)\n"));
  ASSERT_TRUE(readUntilPrefix(wem, "3*stopped,reason=\"end-stepping-range\",", line));

  wem.writeLine("4-stack-list-frames");
  ASSERT_TRUE(readUntilPrefix(wem, "4^done,stack=[", line));
  EXPECT_TRUE(contains(line, "func=\"main\"")) << line;
  ASSERT_TRUE(wem.expect("(gdb)\n"));

  wem.writeLine("5-break-delete 1");
  ASSERT_TRUE(wem.expect("5^done\n(gdb)\n", e2e::Ms(15000)));

  // The program's own output reaches the user; its exit ends the command.
  wem.writeLine("6-exec-continue");
  ASSERT_TRUE(readUntilPrefix(wem, "6^running", line));
  ASSERT_TRUE(wem.expect("*running,thread-id=\"all\"\n(gdb)\n"));
  ASSERT_TRUE(readUntilPrefix(wem, "round 2: 49", line));
  ASSERT_TRUE(readUntilPrefix(wem, "6*stopped,reason=\"exited-normally\"", line));

  wem.writeLine("7-gdb-exit");
  ASSERT_TRUE(readUntilPrefix(wem, "7^exit", line));
  std::string rest;
  EXPECT_TRUE(wem.readToEof(rest, e2e::Ms(15000)));
  EXPECT_EQ(wem.exitCode(e2e::Ms(15000)), 0);
  for (pid_t pid : leftovers) EXPECT_TRUE(e2e::waitGone(pid)) << pid;
}

}  // namespace
