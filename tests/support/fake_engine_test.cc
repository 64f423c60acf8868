// The fake engine's scenario language, as the session and end-to-end tests use it.
#include <signal.h>
#include <sys/wait.h>

#include <filesystem>

#include "support/e2e.h"

namespace {

using e2e::ChildProcess;
using e2e::runTranscript;

// Starts the fake engine directly with `scenario` (none when empty) and transcripts in `dir`.
void startFake(ChildProcess& fake, const e2e::TempDir& dir, const std::string& scenario) {
  std::string path = scenario.empty() ? "" : dir.write("scenario.txt", scenario);
  ASSERT_TRUE(fake.start({e2e::fakeEnginePath(), "--interpreter=mi"},
                         e2e::fakeEngineEnv(dir.path(), path)));
}

TEST(FakeEngine, AnswersByKeyCountAndRegexWithBannersDefaultsAndPromptControl) {
  e2e::TempDir dir;
  ChildProcess plain;
  startFake(plain, dir, "");
  EXPECT_TRUE(runTranscript(plain,
                            "< (gdb)\n> 5-break-insert main\n< 5^done\n< (gdb)\n"
                            "> 77-gdb-exit\n< 77^exit\neof\nexit 0\n"));

  ChildProcess fake;
  startFake(fake, dir, R"(# a conversation
banner ~"GNU fake\n"
on#1 -exec-continue $TOKEN^error,msg="first"
on -exec-continue $TOKEN^running
on /^[0-9]*-break-insert .*main$/ $TOKEN^done,bkpt={number="1"}
on -break-insert $TOKEN^error,msg="no symbol"
on#2 -only-second $TOKEN^done,second="yes"
on -quiet $TOKEN^done
on -quiet @noprompt
on -bare
on -prompts $TOKEN^running
on -prompts @prompt
on -prompts *running,thread-id="all"
on -pid $TOKEN^done,pid="$PID"
default $TOKEN^error,msg="Undefined MI command"
)");
  EXPECT_TRUE(runTranscript(fake, R"(< ~"GNU fake\n"
< (gdb)
> 1-exec-continue
< 1^error,msg="first"
< (gdb)
> -exec-continue
< ^running
< (gdb)
> 5-break-insert -t main
< 5^done,bkpt={number="1"}
< (gdb)
> 6-break-insert nowhere
< 6^error,msg="no symbol"
< (gdb)
> 7-only-second
< 7^error,msg="Undefined MI command"
< (gdb)
> 8-only-second
< 8^done,second="yes"
< (gdb)
> 4-quiet
< 4^done
> 5-bare
< (gdb)
> 6-prompts
< 6^running
< (gdb)
< *running,thread-id="all"
< (gdb)
)"));
  EXPECT_TRUE(fake.writeLine("8-pid"));
  EXPECT_TRUE(fake.expect("8^done,pid=\"" + std::to_string(fake.pid()) + "\"\n(gdb)\n"));
  EXPECT_TRUE(runTranscript(fake, "close\neof\nexit 0\n"));
}

TEST(FakeEngine, InterruptsDelaysAndCancellationAreAnsweredAndRecorded) {
  e2e::TempDir dir;
  ChildProcess fake;
  startFake(fake, dir, R"(on -exec-run $TOKEN^running
on -exec-run @prompt
on -exec-run @after 300 *stopped,reason="breakpoint-hit",thread-id="1"
on -exec-run @after 300 @prompt
on -exec-run @noprompt
on -slow @sleep 100
on -slow $TOKEN^done,slow="1"
on SIGINT @cancel
on SIGINT *stopped,reason="signal-received"
on#2 SIGINT @noprompt
)");
  EXPECT_TRUE(runTranscript(fake, R"(< (gdb)
> 1-exec-run
> 2-other
< 1^running
< (gdb)
< 2^done
< (gdb)
< *stopped,reason="breakpoint-hit",thread-id="1"
< (gdb)
> 3-exec-run
< 3^running
< (gdb)
! SIGINT group
< *stopped,reason="signal-received"
< (gdb)
! SIGINT
quiet 400
> 4-slow
> 5-other
< 4^done,slow="1"
< (gdb)
< 5^done
< (gdb)
> 6-gdb-exit
< 6^exit
eof
exit 0
)"));
  auto transcripts = e2e::findEngineTranscripts(dir.path());
  ASSERT_EQ(1u, transcripts.size());
  EXPECT_EQ("host", transcripts[0].role);
  EXPECT_EQ(fake.pid(), transcripts[0].pid);
  EXPECT_EQ("1-exec-run\n2-other\n3-exec-run\n<SIGINT>\n<SIGINT>\n4-slow\n5-other\n6-gdb-exit\n",
            e2e::readFile(transcripts[0].path));
}

TEST(FakeEngine, DiesMidAnswerIgnoresOrHangsOnExit) {
  e2e::TempDir dir;
  for (const char* scenario :
       {"on -gdb-exit $TOKEN^running\non -gdb-exit @partial *stopped,reason=\"end-\n"
        "on -gdb-exit @exit 3\n",
        "on EOF $TOKEN^running\non EOF @partial *stopped,reason=\"end-\non EOF @exit 3\n"}) {
    ChildProcess fake;
    startFake(fake, dir, scenario);
    EXPECT_TRUE(runTranscript(fake, std::string(scenario).starts_with("on EOF")
                                        ? "< (gdb)\nclose\n< ^running\n<< *stopped,reason=\"end-\n"
                                          "eof\nexit 3\n"
                                        : "< (gdb)\n> 9-gdb-exit\n< 9^running\n"
                                          "<< *stopped,reason=\"end-\neof\nexit 3\n"));
  }
  ChildProcess fake;
  startFake(fake, dir, "on#1 -gdb-exit @noprompt\non -gdb-exit @hang\n");
  EXPECT_TRUE(runTranscript(fake,
                            "< (gdb)\n> 1-gdb-exit\nquiet 50\n> 5-gdb-exit\nquiet 50\n"
                            "! SIGINT group\nquiet 50\n> 6-gdb-exit\nquiet 100\n"));
  std::string transcript = dir.file("engine-host-" + std::to_string(fake.pid()) + ".txt");
  int status = 0;
  EXPECT_TRUE(fake.signalGroup(SIGKILL));
  ASSERT_TRUE(fake.waitExit(status));
  EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL);
  EXPECT_EQ("1-gdb-exit\n5-gdb-exit\n<SIGINT>\n6-gdb-exit\n", e2e::readFile(transcript));
}

TEST(FakeEngine, FloodsArriveCompleteAndBrokenPipeEndsQuietly) {
  e2e::TempDir dir;
  ChildProcess fake;
  startFake(fake, dir, "on -flood @flood 150000 =library-loaded,id=\"$TOKEN\"\n");
  ASSERT_TRUE(fake.expect("(gdb)\n"));
  ASSERT_TRUE(fake.writeLine("42-flood"));
  std::string got;
  ASSERT_TRUE(fake.readUntil("(gdb)\n", got, e2e::Ms(20000)));
  std::string line = "=library-loaded,id=\"42\"\n";
  ASSERT_EQ(150000 * line.size() + 6, got.size());
  for (size_t at = 0; at + 6 < got.size(); at += line.size())
    ASSERT_EQ(0, got.compare(at, line.size(), line)) << "at byte " << at;

  // A reader that goes away after one line: the fake notes the broken pipe and exits 0.
  ChildProcess shell;
  ASSERT_TRUE(
      shell.start({"bash", "-c", "\"$0\" </dev/null | head -n 1; echo \"status ${PIPESTATUS[0]}\"",
                   e2e::fakeEnginePath()},
                  {{"WEM_FAKE_SCENARIO", dir.write("flood.txt", "banner @flood 200000 x\n")},
                   {"WEM_FAKE_TRANSCRIPT", dir.file("broken.txt")}}));
  EXPECT_TRUE(runTranscript(shell, "< x\n< status 0\neof\nexit 0\n"));
  EXPECT_EQ("<EPIPE>\n", e2e::readFile(dir.file("broken.txt")));
}

TEST(FakeEngine, CardEnginesPlayTheirCardsScenarioAndRecordArgv) {
  e2e::TempDir dir;
  dir.write("card-5.txt", "on -thread-info $TOKEN^done,card=\"5\"\n");
  ChildProcess card;
  ASSERT_TRUE(card.start({e2e::fakeEnginePath(), "-wem-launch=1", "-wem-cardid=5", "-i=mi",
                          "-rconnect=tcpip:10.1.1.1:2000"},
                         e2e::fakeEngineEnv(dir.path(), "", dir.file("card-%c.txt"))));
  EXPECT_TRUE(runTranscript(card, "< (gdb)\n> 3-thread-info\n< 3^done,card=\"5\"\n< (gdb)\n"));
  ASSERT_TRUE(card.write("unterminated last line"));
  EXPECT_TRUE(runTranscript(card, "close\n< ^done\n< (gdb)\neof\nexit 0\n"));
  auto transcripts = e2e::findEngineTranscripts(dir.path());
  ASSERT_EQ(1u, transcripts.size());
  EXPECT_EQ("card", transcripts[0].role);
  EXPECT_EQ("5", transcripts[0].cardId);
  EXPECT_EQ("3-thread-info\nunterminated last line", e2e::readFile(transcripts[0].path));
  EXPECT_EQ(e2e::fakeEnginePath() +
                "\n-wem-launch=1\n-wem-cardid=5\n-i=mi\n"
                "-rconnect=tcpip:10.1.1.1:2000\n",
            e2e::readFile(dir.file("argv-card5-" + std::to_string(card.pid()) + ".txt")));
}

TEST(FakeEngine, RejectsBadScenarios) {
  e2e::TempDir dir;
  for (const char* bad : {"bogus line\n", "on\n", "on -x @frobnicate\n", "on -x @sleep soon\n",
                          "on#0 -x $TOKEN^done\n", "on /unclosed x\n", "on /[/ x\n"}) {
    ChildProcess fake;
    startFake(fake, dir, bad);
    EXPECT_TRUE(runTranscript(fake, "eof\nexit 2\n")) << bad;
    EXPECT_NE(std::string::npos, fake.allStderr().find("scenario.txt:1: ")) << fake.allStderr();
  }
  ChildProcess missing;
  ASSERT_TRUE(missing.start({e2e::fakeEnginePath()}, {{"WEM_FAKE_SCENARIO", dir.file("none")}}));
  EXPECT_EQ(2, missing.exitCode());
}

}  // namespace
