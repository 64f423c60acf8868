// What a transcript cannot stage: stock gdb attaching to a process the test runs itself, and
// command files too big, too binary or too deeply nested to write out line by line.
#include <stdlib.h>

#include <sstream>

#include "support/e2e.h"

namespace {

struct Wem {
  ~Wem() {  // engines lead sessions of their own; a failed test may leave them behind
    const std::string pid = std::to_string(wem.pid());
    std::istringstream children(e2e::readFile("/proc/" + pid + "/task/" + pid + "/children"));
    for (pid_t child; children >> child;) e2e::killIfAlive(child);
  }
  testing::AssertionResult start(e2e::EnvChanges env) {
    wem.start({WEM_BINARY, "--interpreter=mi"}, env);
    return wem.expect("=thread-group-added,id=\"i1\"\n(gdb)\n", e2e::Ms(15000));
  }
  e2e::TempDir dir;
  e2e::ChildProcess wem;
};

TEST(InferiorE2e, GdbAttachesToARunningProcessAndDetachLeavesItRunning) {
  if (system("command -v gdb >/dev/null 2>&1") != 0) GTEST_SKIP() << "stock gdb is not installed";
  e2e::ChildProcess target;
  ASSERT_TRUE(target.start({"sleep", "60"}));
  Wem run;
  ASSERT_TRUE(run.start({{"ZUBC_HOST", "gdb"}}));
  std::string skipped;  // gdb's banner, libraries and the attach stop
  run.wem.writeLine("1-target-attach " + std::to_string(target.pid()) + "\n2-target-detach");
  ASSERT_TRUE(run.wem.readUntil("1^done\n(gdb)\n", skipped, e2e::Ms(15000)));
  ASSERT_TRUE(run.wem.readUntil("=thread-group-exited,id=\"i1\"\n2^done\n(gdb)\n", skipped));
  const std::string stat = e2e::readFile("/proc/" + std::to_string(target.pid()) + "/stat");
  EXPECT_NE(stat.find(") S "), std::string::npos) << stat;  // running, neither stopped nor traced
  run.wem.writeLine("3-target-attach 999999999\n4-gdb-exit");
  EXPECT_TRUE(
      run.wem.expect("3^error,msg=\"ptrace: No such process.\"\n(gdb)\n"
                     "=thread-group-removed,id=\"i1\"\n4^exit\n"));
}

TEST(InferiorE2e, SourceRunsHugeAndBinaryFilesAndStopsASelfSourcingFile) {
  Wem run;
  const std::string huge = run.dir.write("huge", "1-gdb-set v " + std::string(1 << 20, 'a'));
  // No command word, an unknown word, a setting with binary bytes, no line end at the end.
  const char binary[] = "\177ELF\2\0\nabc\0\377\n3-gdb-set \377\0\1\n\0\0";
  const std::string bin = run.dir.write("bin", std::string(binary, sizeof binary - 1));
  const std::string self = run.dir.write("self", "source " + run.dir.file("self") + "\n");
  std::string unwound;  // the empty last line and "^done" of each file but the outermost
  for (int depth = 8; depth > 1; --depth) unwound += "(gdb)\n^done\n(gdb)\n";
  ASSERT_TRUE(run.start(e2e::fakeEngineEnv(run.dir.path(), "")));
  run.wem.writeLine("5source " + huge + "\n6source " + bin + "\n7source " + self + "\n8-gdb-exit");
  const std::string tooDeep = "^error,msg=\"Command files nest too deeply (more than 8): " + self;
  EXPECT_TRUE(
      run.wem.expect("1^done\n(gdb)\n5^done\n(gdb)\n(gdb)\n^done,msg=\"Command is not "
                     "implemented.\"\n(gdb)\n3^done\n(gdb)\n(gdb)\n6^done\n(gdb)\n" +
                     tooDeep + "\"\n(gdb)\n" + unwound + "(gdb)\n7^done\n(gdb)\n" +
                     "=thread-group-removed,id=\"i1\"\n8^exit\n"));
  EXPECT_EQ(e2e::readFile(e2e::findEngineTranscripts(run.dir.path()).at(0).path),
            e2e::readFile(huge) + "\n" + std::string("3-gdb-set \377\0\1\n", 14) + "8-gdb-exit\n");
}

}  // namespace
