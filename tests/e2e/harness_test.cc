// The harness the end-to-end tests drive programs with: transcripts, deadlines, failure reports,
// environments, signals and process groups.
#include <signal.h>
#include <sys/wait.h>

#include <filesystem>

#include "support/e2e.h"

namespace {

using e2e::ChildProcess;
using e2e::runTranscript;

TEST(E2eHarness, TranscriptsPassConversationsAndReportMismatchesWithAllOutput) {
  ChildProcess cat;
  ASSERT_TRUE(cat.start({"cat"}));
  EXPECT_TRUE(runTranscript(cat,
                            "# comments and blank lines are skipped\n\n"
                            "> ^done,addr=\"0x4005d6\"\n<~ \\^done,addr=\"0x[0-9a-f]+\"\n"
                            "> \n< \nquiet 20\nclose\neof\nexit 0\n"));
  EXPECT_EQ("^done,addr=\"0x4005d6\"\n\n", cat.allStdout());

  auto failure = [](const std::string& transcript) {
    ChildProcess sh;
    EXPECT_TRUE(sh.start({"sh", "-c", "echo one; echo two; printf three; read x; exit 3"}));
    testing::AssertionResult result = runTranscript(sh, transcript, e2e::Ms(300));
    EXPECT_FALSE(result) << transcript;
    return std::string(result.message());
  };
  std::string wrong = failure("< one\n< twice\n");
  EXPECT_NE(std::string::npos, wrong.find("transcript line 2 \"< twice\""));
  EXPECT_NE(std::string::npos, wrong.find("|one\n    |two\n"));
  EXPECT_NE(std::string::npos, failure("< one\n<~ t[aeiu]o\n").find("does not match"));
  std::string late = failure("< one\n< two\n< three\n");
  EXPECT_NE(std::string::npos, late.find("timed out"));
  EXPECT_NE(std::string::npos, late.find("|three   (no newline at end)"));
  EXPECT_NE(std::string::npos, failure("quiet 100\n").find("unexpected output"));
  EXPECT_NE(std::string::npos, failure("< one\n< two\n<< three\n> x\nexit 0\n").find("status 3"));
  EXPECT_NE(std::string::npos, failure("frobnicate\n").find("unknown directive"));
  EXPECT_NE(std::string::npos, failure("! SIGTERM\nexit 0\n").find("killed by signal 15"));
}

TEST(E2eHarness, ChildGetsEnvironmentAndSignalsAndDiesWithItsGroup) {
  setenv("E2E_HARNESS_DROPPED", "present", 1);
  pid_t grandchild = -1;
  {
    ChildProcess sh;
    ASSERT_TRUE(sh.start({"sh", "-c",
                          "echo \"$E2E_HARNESS_ADDED/${E2E_HARNESS_DROPPED:-gone}\"; echo oops >&2;"
                          " trap 'echo got INT' INT; sleep 30 & echo $!; wait; wait"},
                         {{"E2E_HARNESS_ADDED", "added"}, {"E2E_HARNESS_DROPPED", std::nullopt}}));
    EXPECT_TRUE(sh.expect("added/gone\n"));
    std::string line;
    ASSERT_TRUE(sh.readLine(line));
    grandchild = std::stoi(line);
    EXPECT_TRUE(sh.signal(SIGINT));
    EXPECT_TRUE(sh.expect("got INT\n"));
    EXPECT_EQ(getpgid(sh.pid()), getpgid(grandchild));
    EXPECT_EQ("oops\n", sh.allStderr());
  }
  EXPECT_TRUE(e2e::waitGone(grandchild));
  unsetenv("E2E_HARNESS_DROPPED");

  ChildProcess missing;
  ASSERT_TRUE(missing.start({"/nonexistent/program"}));
  EXPECT_EQ(127, missing.exitCode());
  EXPECT_FALSE(missing.start({"cat"}));
}

TEST(E2eHarness, ReadsWithDeadlinesAndFilesLogsAndDirectories) {
  ChildProcess sh;
  ASSERT_TRUE(sh.start({"sh", "-c", "echo a; echo '(gdb)'; read x; echo \"$x\""}));
  std::string skipped, rest;
  ASSERT_TRUE(sh.readUntil("(gdb)\n", skipped));
  EXPECT_EQ("a\n(gdb)\n", skipped);
  EXPECT_FALSE(sh.readToEof(rest, e2e::Ms(50)));
  EXPECT_FALSE(sh.readUntil("never", skipped, e2e::Ms(50)));
  EXPECT_TRUE(sh.write("last"));
  sh.closeStdin();
  EXPECT_TRUE(sh.readToEof(rest));
  EXPECT_EQ("last\n", rest);

  std::string path;
  {
    e2e::TempDir dir;
    path = dir.path();
    std::string log = dir.write("wem.log",
                                "123: From user: 5-exec-run\n\n7: i1 :(gdb)\n"
                                "42:no space\n12: 34: twice\n");
    EXPECT_EQ((std::vector<std::string>{"From user: 5-exec-run", "", "i1 :(gdb)", "42:no space",
                                        "34: twice"}),
              e2e::readLogLines(log));
    EXPECT_TRUE(e2e::readLogLines(dir.file("absent")).empty());
    dir.write("engine-host-notapid.txt", "");
    EXPECT_TRUE(e2e::findEngineTranscripts(dir.path()).empty());
  }
  EXPECT_FALSE(std::filesystem::exists(path));
}

}  // namespace
