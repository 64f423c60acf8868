// What a transcript cannot stage: stock gdb attaching to a process the test runs itself, and
// command files too big or too binary to write as text lines.

#include <gtest/gtest.h>
#include <signal.h>
#include <stdlib.h>

#include <sstream>
#include <string>

#include "support/e2e.h"

namespace {

class InferiorE2e : public testing::Test {
 protected:
  void TearDown() override {
    // Engines lead sessions of their own; find them while the program still has them.
    std::istringstream children(e2e::readFile("/proc/" + std::to_string(wem.pid()) + "/task/" +
                                              std::to_string(wem.pid()) + "/children"));
    for (pid_t pid; children >> pid;) e2e::killIfAlive(pid);
  }

  testing::AssertionResult start(e2e::EnvChanges env) {
    env["WEM_LOG"] = dir.file("wem.log");
    if (!wem.start({WEM_BINARY, "--interpreter=mi"}, env))
      return testing::AssertionFailure() << "cannot start " << WEM_BINARY;
    return wem.expect("=thread-group-added,id=\"i1\"\n(gdb)\n", e2e::Ms(15000));
  }

  e2e::TempDir dir;
  e2e::ChildProcess wem;
};

TEST_F(InferiorE2e, GdbAttachesToARunningProcessAndDetachLeavesItRunning) {
  if (system("command -v gdb >/dev/null 2>&1") != 0) GTEST_SKIP() << "stock gdb is not installed";
  e2e::ChildProcess target;
  ASSERT_TRUE(target.start({"sleep", "60"}));
  ASSERT_TRUE(start({{"ZUBC_HOST", "gdb"}}));
  std::string skipped;
  wem.writeLine("1-target-attach " + std::to_string(target.pid()));
  ASSERT_TRUE(wem.readUntil("1^done\n(gdb)\n", skipped, e2e::Ms(15000))) << wem.unread();
  wem.writeLine("2-target-detach");
  ASSERT_TRUE(
      wem.readUntil("=thread-group-exited,id=\"i1\"\n2^done\n(gdb)\n", skipped, e2e::Ms(15000)))
      << wem.unread();
  // Detached, not killed and not left stopped.
  const std::string stat = e2e::readFile("/proc/" + std::to_string(target.pid()) + "/stat");
  EXPECT_NE(stat.find(") S "), std::string::npos) << stat;
  EXPECT_TRUE(e2e::runTranscript(wem, R"(
> 3-target-attach 999999999
< 3^error,msg="ptrace: No such process."
< (gdb)
> 4-gdb-exit
< =thread-group-removed,id="i1"
< 4^exit
eof
exit 0
)",
                                 e2e::Ms(15000)));
  EXPECT_FALSE(e2e::processGone(target.pid()));
}

TEST_F(InferiorE2e, SourceOfBinaryAndHugeFilesRunsEveryLine) {
  const std::string huge = "1-gdb-set v " + std::string(1 << 20, 'a');
  dir.write("huge.cmd", huge + "\n2-gdb-set w\n");
  // No command word, an unknown word, a setting with binary bytes, and no line end at the end.
  const char binary[] =
      "\x7f"
      "ELF\x02\x01\0\0\nabc\0\xff\xfe\n3-gdb-set \xff\0\x01\n\0\0\0";
  dir.write("binary.cmd", std::string(binary, sizeof binary - 1));
  ASSERT_TRUE(start(e2e::fakeEngineEnv(dir.path(), "")));
  EXPECT_TRUE(e2e::runTranscript(wem, "> 5source " + dir.file("huge.cmd") + R"(
< 1^done
< (gdb)
< 2^done
< (gdb)
< (gdb)
< 5^done
< (gdb)
> 6source )" + dir.file("binary.cmd") + R"(
< (gdb)
< ^done,msg="Command is not implemented."
< (gdb)
< 3^done
< (gdb)
< (gdb)
< 6^done
< (gdb)
> 7-gdb-exit
< =thread-group-removed,id="i1"
< 7^exit
eof
exit 0
)"));
  const std::vector<e2e::EngineTranscript> engines = e2e::findEngineTranscripts(dir.path());
  ASSERT_EQ(engines.size(), 1u);
  EXPECT_EQ(e2e::readFile(engines[0].path),
            huge + "\n2-gdb-set w\n" + std::string("3-gdb-set \xff\0\x01\n", 14) + "7-gdb-exit\n");
}

}  // namespace
