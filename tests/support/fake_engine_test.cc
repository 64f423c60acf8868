#include <signal.h>
#include <sys/wait.h>

#include <filesystem>

#include "support/e2e.h"

namespace {

using e2e::ChildProcess;
using e2e::runTranscript;

// Starts the fake engine directly with `scenario` (none when empty) and transcripts in `dir`.
void startFake(ChildProcess& fake, const e2e::TempDir& dir, const std::string& scenario,
               std::vector<std::string> args = {"--interpreter=mi"}) {
  std::string path = scenario.empty() ? "" : dir.write("scenario.txt", scenario);
  args.insert(args.begin(), e2e::fakeEnginePath());
  ASSERT_TRUE(fake.start(args, e2e::fakeEngineEnv(dir.path(), path)));
}

TEST(FakeEngine, WithoutScenarioAnswersDoneAndExits) {
  e2e::TempDir dir;
  ChildProcess fake;
  startFake(fake, dir, "");
  EXPECT_TRUE(runTranscript(fake, R"(< (gdb)
> 5-break-insert main
< 5^done
< (gdb)
> -list-features
< ^done
< (gdb)
> 77-gdb-exit
< 77^exit
eof
exit 0
)"));
}

TEST(FakeEngine, BannerTokensDefaultsAndPromptControl) {
  e2e::TempDir dir;
  ChildProcess fake;
  startFake(fake, dir, R"(# a conversation
banner =thread-group-added,id="i1"
banner ~"GNU fake\n"
on -break-insert $TOKEN^done,bkpt={number="7",type="breakpoint"}
on -quiet $TOKEN^done
on -quiet @noprompt
on -bare
on -prompts $TOKEN^running
on -prompts @prompt
on -prompts *running,thread-id="all"
on -pid $TOKEN^done,pid="$PID"
default $TOKEN^error,msg="Undefined MI command"
)");
  EXPECT_TRUE(runTranscript(fake, R"(< =thread-group-added,id="i1"
< ~"GNU fake\n"
< (gdb)
> 123-break-insert -t main
< 123^done,bkpt={number="7",type="breakpoint"}
< (gdb)
> -break-insert foo
< ^done,bkpt={number="7",type="breakpoint"}
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
> 7-what
< 7^error,msg="Undefined MI command"
< (gdb)
)"));
  EXPECT_TRUE(fake.writeLine("8-pid"));
  EXPECT_TRUE(fake.expect("8^done,pid=\"" + std::to_string(fake.pid()) + "\"\n(gdb)\n"));
  EXPECT_TRUE(runTranscript(fake, "close\neof\nexit 0\n"));
}

TEST(FakeEngine, SuccessiveAnswersAndRegexKeys) {
  e2e::TempDir dir;
  ChildProcess fake;
  startFake(fake, dir, R"(on#1 -exec-continue $TOKEN^error,msg="first"
on#3 -exec-continue $TOKEN^error,msg="third"
on -exec-continue $TOKEN^running
on /^[0-9]*-break-insert .*main$/ $TOKEN^done,bkpt={number="1"}
on -break-insert $TOKEN^error,msg="no symbol"
on#2 -only-second $TOKEN^done,second="yes"
)");
  EXPECT_TRUE(runTranscript(fake, R"(< (gdb)
> 1-exec-continue
< 1^error,msg="first"
< (gdb)
> 2-exec-continue
< 2^running
< (gdb)
> 3-exec-continue
< 3^error,msg="third"
< (gdb)
> 4-exec-continue
< 4^running
< (gdb)
> 5-break-insert main
< 5^done,bkpt={number="1"}
< (gdb)
> 6-break-insert nowhere
< 6^error,msg="no symbol"
< (gdb)
> 7-only-second
< 7^done
< (gdb)
> 8-only-second
< 8^done,second="yes"
< (gdb)
> 9-only-second
< 9^done
< (gdb)
)"));
}

TEST(FakeEngine, SigintToGroupIsAnsweredAndRecorded) {
  e2e::TempDir dir;
  ChildProcess fake;
  startFake(fake, dir, R"(on -exec-run $TOKEN^running
on -exec-run @prompt
on -exec-run @noprompt
on SIGINT *stopped,reason="signal-received",thread-id="1"
on#2 SIGINT @noprompt
)");
  EXPECT_TRUE(runTranscript(fake, R"(< (gdb)
> 3-exec-run
< 3^running
< (gdb)
quiet 50
! SIGINT group
< *stopped,reason="signal-received",thread-id="1"
< (gdb)
! SIGINT
quiet 50
! SIGINT group
< *stopped,reason="signal-received",thread-id="1"
< (gdb)
> 4-gdb-exit
< 4^exit
eof
exit 0
)"));
  auto transcripts = e2e::findEngineTranscripts(dir.path());
  ASSERT_EQ(1u, transcripts.size());
  EXPECT_EQ("host", transcripts[0].role);
  EXPECT_EQ(fake.pid(), transcripts[0].pid);
  EXPECT_EQ("3-exec-run\n<SIGINT>\n<SIGINT>\n<SIGINT>\n4-gdb-exit\n",
            e2e::readFile(transcripts[0].path));
}

TEST(FakeEngine, DelayedStepsLetInputGoOnAndCanBeCancelled) {
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
! SIGINT
< *stopped,reason="signal-received"
< (gdb)
quiet 400
> 4-slow
> 5-other
< 4^done,slow="1"
< (gdb)
< 5^done
< (gdb)
)"));
}

TEST(FakeEngine, DiesMidAnswerAndEndsWithoutNewline) {
  e2e::TempDir dir;
  {
    ChildProcess fake;
    startFake(fake, dir, R"(on -exec-next $TOKEN^running
on -exec-next @partial *stopped,reason="end-stepping-
on -exec-next @exit 3
)");
    EXPECT_TRUE(runTranscript(fake, R"(< (gdb)
> 9-exec-next
< 9^running
<< *stopped,reason="end-stepping-
eof
exit 3
)"));
  }
  ChildProcess fake;
  startFake(fake, dir, "on EOF @partial ~\"bye\"\non EOF @exit 4\n");
  EXPECT_TRUE(runTranscript(fake, "< (gdb)\nclose\n<< ~\"bye\"\neof\nexit 4\n"));
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
                   {"WEM_FAKE_TRANSCRIPT", dir.file("broken-%p.txt")}}));
  EXPECT_TRUE(runTranscript(shell, "< x\n< status 0\neof\nexit 0\n"));
  bool sawBrokenPipe = false;
  for (const auto& entry : std::filesystem::directory_iterator(dir.path()))
    if (entry.path().filename().string().rfind("broken-", 0) == 0)
      sawBrokenPipe = e2e::readFile(entry.path()) == "<EPIPE>\n";
  EXPECT_TRUE(sawBrokenPipe);
}

TEST(FakeEngine, TranscriptsArgvAndCardScenarios) {
  e2e::TempDir dir;
  dir.write("card-3.txt", "on -thread-info $TOKEN^done,card=\"3\"\n");
  dir.write("card-5.txt", "on -thread-info $TOKEN^done,card=\"5\"\n");
  e2e::EnvChanges env = e2e::fakeEngineEnv(
      dir.path(), dir.write("host.txt", "on -thread-info $TOKEN^done,host=\"1\"\n"),
      dir.file("card-%c.txt"));
  auto cardArgs = [&](const std::string& id) {
    return std::vector<std::string>{
        e2e::fakeEnginePath(),          "-wem-launch=1", "-wem-cardid=" + id, "-i=mi", "-tco",
        "-rconnect=tcpip:10.1.1.1:2000"};
  };
  ChildProcess host, card3, card5;
  ASSERT_TRUE(host.start({e2e::fakeEnginePath(), "--interpreter=mi"}, env));
  ASSERT_TRUE(card3.start(cardArgs("3"), env));
  ASSERT_TRUE(card5.start(cardArgs("5"), env));
  EXPECT_TRUE(runTranscript(host, "< (gdb)\n> 1-thread-info\n< 1^done,host=\"1\"\n< (gdb)\n"));
  EXPECT_TRUE(runTranscript(card3, "< (gdb)\n> 2-thread-info\n< 2^done,card=\"3\"\n< (gdb)\n"));
  EXPECT_TRUE(runTranscript(card5, R"(< (gdb)
> 3-thread-info --thread 2
< 3^done,card="5"
< (gdb)
! SIGINT group
> -exec-interrupt
< ^done
< (gdb)
)"));
  ASSERT_TRUE(card5.write("unterminated last line"));
  EXPECT_TRUE(runTranscript(card5, "close\n< ^done\n< (gdb)\neof\nexit 0\n"));
  auto transcripts = e2e::findEngineTranscripts(dir.path());
  ASSERT_EQ(3u, transcripts.size());
  for (const auto& t : transcripts) {
    std::string expected = t.pid == host.pid() ? "1-thread-info\n" : "";
    if (t.pid == card3.pid()) expected = "2-thread-info\n";
    if (t.pid == card5.pid())
      expected = "3-thread-info --thread 2\n<SIGINT>\n-exec-interrupt\nunterminated last line";
    EXPECT_EQ(t.pid == host.pid() ? "host" : "card", t.role);
    EXPECT_EQ(t.pid == card5.pid() ? "5" : t.pid == card3.pid() ? "3" : "", t.cardId);
    EXPECT_EQ(expected, e2e::readFile(t.path)) << t.path;
  }
  EXPECT_EQ(e2e::fakeEnginePath() +
                "\n-wem-launch=1\n-wem-cardid=5\n-i=mi\n-tco\n-rconnect=tcpip:10.1.1.1:2000\n",
            e2e::readFile(dir.file("argv-card5-" + std::to_string(card5.pid()) + ".txt")));
}

TEST(FakeEngine, GdbExitCanBeIgnoredOrHang) {
  e2e::TempDir dir;
  {
    ChildProcess fake;
    startFake(fake, dir,
              "on -gdb-exit @noprompt\non#2 -gdb-exit $TOKEN^exit\non#2 -gdb-exit @exit 0\n");
    EXPECT_TRUE(runTranscript(
        fake, "< (gdb)\n> 1-gdb-exit\nquiet 50\n> 2-gdb-exit\n< 2^exit\neof\nexit 0\n"));
  }
  ChildProcess fake;
  startFake(fake, dir, "on -gdb-exit @hang\n");
  EXPECT_TRUE(runTranscript(fake, R"(< (gdb)
> 5-gdb-exit
quiet 50
! SIGINT group
quiet 50
> 6-gdb-exit
quiet 100
)"));
  int status = 0;
  EXPECT_FALSE(fake.waitExit(status, e2e::Ms(50)));
  std::string transcript = dir.file("engine-host-" + std::to_string(fake.pid()) + ".txt");
  EXPECT_TRUE(fake.signalGroup(SIGKILL));
  ASSERT_TRUE(fake.waitExit(status));
  EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL);
  EXPECT_TRUE(e2e::processGone(fake.pid()));
  EXPECT_EQ("5-gdb-exit\n<SIGINT>\n6-gdb-exit\n", e2e::readFile(transcript));
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
