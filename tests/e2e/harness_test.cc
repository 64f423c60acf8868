#include <signal.h>
#include <sys/wait.h>

#include <filesystem>

#include "support/e2e.h"

namespace {

using e2e::ChildProcess;
using e2e::runTranscript;

TEST(E2eHarness, TranscriptPassesAConversationWithCat) {
  ChildProcess cat;
  ASSERT_TRUE(cat.start({"cat"}));
  EXPECT_TRUE(runTranscript(cat, R"(# comments and blank lines are skipped

> 1-break-insert main
< 1-break-insert main
> ^done,addr="0x4005d6"
<~ \^done,addr="0x[0-9a-f]+"
)"
                                 "> \n< \n"  // an empty line each way
                                 R"(quiet 20
close
eof
exit 0
)"));
  EXPECT_EQ("1-break-insert main\n^done,addr=\"0x4005d6\"\n\n", cat.allStdout());
}

TEST(E2eHarness, MismatchesReportTheLineAndAllOutput) {
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
  EXPECT_NE(std::string::npos,
            failure("< one\n< two\n<< thre\nclose\neof\n").find("before the end"));
  EXPECT_NE(std::string::npos, failure("quiet 100\n").find("unexpected output"));
  EXPECT_NE(std::string::npos, failure("< one\n< two\n<< three\n> x\nexit 0\n").find("status 3"));
  EXPECT_NE(std::string::npos, failure("frobnicate\n").find("unknown directive"));
  EXPECT_NE(std::string::npos, failure("sleep soon\n").find("bad directive"));
  EXPECT_NE(std::string::npos, failure("<~ (\n").find("bad directive"));
  EXPECT_NE(std::string::npos, failure("! SIGNOTHING\n").find("unknown signal"));
  EXPECT_NE(std::string::npos, failure("! SIGTERM\nexit 0\n").find("killed by signal 15"));

  ChildProcess early;
  ASSERT_TRUE(early.start({"sh", "-c", "echo on"}));
  EXPECT_FALSE(early.expect("one\n"));
  EXPECT_EQ("on\n", early.unread());
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
    EXPECT_FALSE(e2e::processGone(grandchild));
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
  EXPECT_TRUE(e2e::processGone(missing.pid()));
}

TEST(E2eHarness, ReadsUntilTextAndToEofWithDeadlines) {
  ChildProcess sh;
  ASSERT_TRUE(sh.start({"sh", "-c", "echo a; echo b; echo '(gdb)'; read x; echo \"$x\""}));
  std::string skipped;
  ASSERT_TRUE(sh.readUntil("(gdb)\n", skipped));
  EXPECT_EQ("a\nb\n(gdb)\n", skipped);
  std::string rest;
  EXPECT_FALSE(sh.readToEof(rest, e2e::Ms(50)));
  EXPECT_FALSE(sh.readUntil("never", skipped, e2e::Ms(50)));
  EXPECT_TRUE(sh.write("last"));
  sh.closeStdin();
  EXPECT_FALSE(sh.write("after close"));
  EXPECT_TRUE(sh.readToEof(rest));
  EXPECT_EQ("last\n", rest);
  int status = 0;
  ASSERT_TRUE(sh.waitExit(status));
  EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0);
}

TEST(E2eHarness, LogLinesLoseRecordNumbersOnly) {
  e2e::TempDir dir;
  std::string log = dir.write("wem.log",
                              "123: From user: 5-exec-run\n\n  '/bin/gdb'  '-i=mi'\n7: i1 :(gdb)\n"
                              "42:no space\n: empty number\n12: 34: twice\n");
  EXPECT_EQ((std::vector<std::string>{"From user: 5-exec-run", "", "  '/bin/gdb'  '-i=mi'",
                                      "i1 :(gdb)", "42:no space", ": empty number", "34: twice"}),
            e2e::readLogLines(log));
  EXPECT_TRUE(e2e::readLogLines(dir.file("absent")).empty());
  EXPECT_EQ("", e2e::readFile(dir.file("absent")));
}

TEST(E2eHarness, TempDirGoesAwayWithItsFiles) {
  std::string path;
  {
    e2e::TempDir dir;
    path = dir.path();
    ASSERT_FALSE(path.empty());
    std::filesystem::create_directories(dir.file("a/b"));
    dir.write("a/b/c.txt", "x");
    EXPECT_EQ("x", e2e::readFile(dir.file("a/b/c.txt")));
  }
  EXPECT_FALSE(std::filesystem::exists(path));
}

TEST(E2eHarness, FakeEngineEnvironmentNamesTranscriptsPerEngine) {
  e2e::TempDir dir;
  e2e::EnvChanges env = e2e::fakeEngineEnv(dir.path(), "", dir.file("card-%c.txt"));
  EXPECT_EQ(e2e::fakeEnginePath(), env["ZUBC_HOST"]);
  EXPECT_EQ(e2e::fakeEnginePath(), env["ZUBC_VEK"]);
  EXPECT_FALSE(env["WEM_FAKE_SCENARIO"]);
  dir.write("card-0.txt", "banner =card\n");
  ChildProcess host, card;
  ASSERT_TRUE(host.start({"sh", "-c", "exec \"$ZUBC_HOST\" --interpreter=mi"}, env));
  ASSERT_TRUE(card.start({e2e::fakeEnginePath(), "-wem-cardid=0", "-rconnect=tcpip:x:2000"}, env));
  EXPECT_TRUE(runTranscript(host, "< (gdb)\n> 1-x\n< 1^done\n< (gdb)\n"));
  EXPECT_TRUE(runTranscript(card, "< =card\n< (gdb)\n> 2-y\n< 2^done\n< (gdb)\n"));
  auto found = e2e::findEngineTranscripts(dir.path());
  ASSERT_EQ(2u, found.size());
  for (const auto& t : found) {
    EXPECT_EQ(t.pid == host.pid() ? "host" : "card", t.role);
    EXPECT_EQ(t.pid == host.pid() ? "" : "0", t.cardId);
    EXPECT_EQ(t.pid == host.pid() ? "1-x\n" : "2-y\n", e2e::readFile(t.path));
  }
  dir.write("engine-host-notapid.txt", "");
  EXPECT_EQ(2u, e2e::findEngineTranscripts(dir.path()).size());
  e2e::killIfAlive(card.pid());
  EXPECT_TRUE(e2e::waitGone(card.pid()));
}

}  // namespace
