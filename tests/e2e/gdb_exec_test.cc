// The main job against stock gdb as the host engine: a breakpoint in the user's numbering, a run
// that stops at it, a step, the stack, a continue to the program's exit and the exit command,
// after which neither the program nor the engine is left.

#include <dirent.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <fstream>
#include <regex>
#include <sstream>
#include <string>
#include <vector>

#include "support/e2e.h"

namespace {

// Processes whose parent is `parent`, read from /proc.
std::vector<pid_t> childrenOf(pid_t parent) {
  std::vector<pid_t> children;
  DIR* proc = opendir("/proc");
  if (!proc) return children;
  while (dirent* entry = readdir(proc)) {
    pid_t pid = atoi(entry->d_name);
    if (pid <= 0) continue;
    std::ifstream stat("/proc/" + std::to_string(pid) + "/stat");
    std::string text((std::istreambuf_iterator<char>(stat)), std::istreambuf_iterator<char>());
    size_t end = text.rfind(')');
    if (end == std::string::npos) continue;
    std::istringstream fields(text.substr(end + 2));
    std::string state;
    pid_t ppid = 0;
    fields >> state >> ppid;
    if (ppid == parent) children.push_back(pid);
  }
  closedir(proc);
  return children;
}

// Reads lines until one matches `pattern` (whole line, no newline); the others are skipped.
testing::AssertionResult readUntilMatch(e2e::ChildProcess& child, const std::string& pattern,
                                        std::string& line) {
  const std::regex wanted(pattern);
  while (child.readLine(line, e2e::Ms(15000))) {
    line.pop_back();
    if (std::regex_match(line, wanted)) return testing::AssertionSuccess();
  }
  return testing::AssertionFailure()
         << "no line matching " << pattern << "; unread: " << child.unread();
}

class GdbExec : public testing::Test {
 protected:
  void SetUp() override {
    if (system("command -v gdb >/dev/null 2>&1") != 0) GTEST_SKIP() << "stock gdb is not installed";
    program = dir.file("sample");
    e2e::ChildProcess cc;
    ASSERT_TRUE(cc.start({"cc", "-g", "-O0", "-o", program, WEM_SOURCE_DIR "/examples/sample.c"}));
    ASSERT_EQ(cc.exitCode(e2e::Ms(30000)), 0) << cc.allStderr();
  }

  void TearDown() override {
    for (pid_t pid : leftovers) e2e::killIfAlive(pid);
  }

  e2e::TempDir dir;
  std::string program;
  std::vector<pid_t> leftovers;  // killed by pid if a failed test leaves them
};

TEST_F(GdbExec, BreakpointRunStepStackContinueToExitAndQuit) {
  e2e::ChildProcess wem;
  ASSERT_TRUE(wem.start({WEM_BINARY, "--interpreter=mi", program},
                        {{"ZUBC_HOST", "gdb"}, {"WEM_LOG", dir.file("wem.log")}}));
  ASSERT_TRUE(wem.expect("=thread-group-added,id=\"i1\"\n(gdb)\n", e2e::Ms(15000)));

  std::string line;
  wem.writeLine("1-break-insert sum_of_squares");
  ASSERT_TRUE(
      readUntilMatch(wem, R"(1\^done,bkpt=\{number="1",.*func="sum_of_squares".*\})", line));
  ASSERT_TRUE(wem.expect("(gdb)\n"));

  // gdb also gets the offload breakpoint first, which it can only keep pending; the user never
  // sees that reply.
  wem.writeLine("2-exec-run");
  ASSERT_TRUE(readUntilMatch(wem, R"(2\^running)", line));
  ASSERT_TRUE(wem.expect("*running,thread-id=\"all\"\n(gdb)\n"));
  ASSERT_TRUE(readUntilMatch(wem, R"(2\*stopped,reason="breakpoint-hit",.*)", line));
  EXPECT_NE(line.find("bkptno=\"1\""), std::string::npos) << line;
  EXPECT_NE(line.find("func=\"sum_of_squares\""), std::string::npos) << line;
  EXPECT_NE(line.find("thread-id=\"1\""), std::string::npos) << line;

  std::vector<pid_t> gdbs = childrenOf(wem.pid());
  ASSERT_EQ(gdbs.size(), 1u);
  std::vector<pid_t> programs = childrenOf(gdbs[0]);
  ASSERT_EQ(programs.size(), 1u);
  leftovers = {gdbs[0], programs[0]};

  wem.writeLine("3-exec-next");
  ASSERT_TRUE(readUntilMatch(wem, R"(3\^running)", line));
  ASSERT_TRUE(wem.expect("*running,thread-id=\"all\"\n(gdb)\n"));
  ASSERT_TRUE(readUntilMatch(wem, R"(3\*stopped,reason="end-stepping-range",.*)", line));

  wem.writeLine("4-stack-list-frames");
  ASSERT_TRUE(readUntilMatch(wem, R"(4\^done,stack=\[.*func="main".*\])", line));
  ASSERT_TRUE(wem.expect("(gdb)\n"));

  wem.writeLine("5-break-delete 1");
  ASSERT_TRUE(wem.expect("5^done\n(gdb)\n", e2e::Ms(15000)));

  // The program's own output reaches the user; its exit ends the command.
  wem.writeLine("6-exec-continue");
  ASSERT_TRUE(readUntilMatch(wem, R"(6\^running)", line));
  ASSERT_TRUE(wem.expect("*running,thread-id=\"all\"\n(gdb)\n"));
  ASSERT_TRUE(readUntilMatch(wem, "round 2: 49", line));
  ASSERT_TRUE(readUntilMatch(wem, R"(6\*stopped,reason="exited-normally")", line));

  wem.writeLine("7-gdb-exit");
  ASSERT_TRUE(readUntilMatch(wem, R"(7\^exit)", line));
  std::string rest;
  EXPECT_TRUE(wem.readToEof(rest, e2e::Ms(15000)));
  EXPECT_EQ(wem.exitCode(e2e::Ms(15000)), 0);
  for (pid_t pid : leftovers) EXPECT_TRUE(e2e::waitGone(pid)) << pid;
}

}  // namespace
