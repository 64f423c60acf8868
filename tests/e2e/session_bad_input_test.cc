#include <gtest/gtest.h>

#include <string>

#include "e2e/session_fixture.h"
#include "support/e2e.h"

namespace {

const std::string kMiB(1 << 20, 'x');

TEST(SessionBadInput, HugeUserLinesAreHandledWhole) {
  WemRun run;
  ASSERT_TRUE(run.startAndGreet(""));
  run.wem.write("1-gdb-set " + kMiB + "\n");
  EXPECT_TRUE(run.wem.expect("1^done\n(gdb)\n", e2e::Ms(20000)));
  run.wem.write("2-frobnicate " + kMiB + "\n");
  EXPECT_TRUE(
      run.wem.expect("2^done,msg=\"Command is not implemented.\"\n(gdb)\n", e2e::Ms(20000)));
  run.wem.write(std::string(1 << 20, ' ') + "\n");
  EXPECT_TRUE(run.wem.expect("(gdb)\n", e2e::Ms(20000)));
  EXPECT_TRUE(run.exitSession());
  EXPECT_EQ(run.hostInput(), "1-gdb-set " + kMiB + "\n-gdb-exit\n");
}

TEST(SessionBadInput, BinaryBytesAreNoCommandWordOrPassThrough) {
  WemRun run;
  ASSERT_TRUE(run.startAndGreet(""));
  run.wem.write(std::string("\x01\x02\xff\xfe\n", 5));
  EXPECT_TRUE(run.wem.expect("(gdb)\n"));
  const char oddBytes[] = "3-gdb-set \x01\xff\0\x7f end\r\n";
  const std::string odd(oddBytes, sizeof oddBytes - 1);
  run.wem.write(odd);
  EXPECT_TRUE(run.wem.expect("3^done\n(gdb)\n"));
  run.wem.write(std::string("4\0-gdb-set\n", 11));
  EXPECT_TRUE(run.wem.expect("(gdb)\n"));
  EXPECT_TRUE(run.exitSession());
  EXPECT_EQ(run.hostInput(), odd + "-gdb-exit\n");
}

TEST(SessionBadInput, LastLineWithoutNewlineIsNeverRun) {
  WemRun run;
  ASSERT_TRUE(run.startAndGreet(""));
  run.wem.write("5-gdb-set a\n6-gdb-set b");
  run.wem.closeStdin();
  EXPECT_TRUE(run.wem.expect("5^done\n(gdb)\n"));
  // End of input leaves the session idle until a signal ends it.
  EXPECT_TRUE(run.wem.staysQuiet(e2e::Ms(300)));
  run.wem.signal(SIGTERM);
  EXPECT_TRUE(run.endsCleanly());
  EXPECT_EQ(run.hostInput(), "5-gdb-set a\n<SIGINT>\n-gdb-exit\n");
}

TEST(SessionBadInput, ThousandsOfPastedLinesAreAnsweredInOrder) {
  WemRun run;
  ASSERT_TRUE(run.startAndGreet(""));
  std::string pasted, answers, received;
  for (int i = 1; i <= 3000; ++i) {
    const std::string token = std::to_string(i);
    const bool known = i % 3 != 0;
    pasted += token + (known ? "-gdb-set v " : "-no-such-command ") + token + "\n";
    answers += token + (known ? "^done\n" : "^done,msg=\"Command is not implemented.\"\n");
    answers += "(gdb)\n";
    if (known) received += token + "-gdb-set v " + token + "\n";
  }
  run.wem.write(pasted);
  EXPECT_TRUE(run.wem.expect(answers, e2e::Ms(60000)));
  EXPECT_TRUE(run.exitSession());
  EXPECT_EQ(run.hostInput(), received + "-gdb-exit\n");
}

TEST(SessionBadInput, EngineFloodDuringACommandReachesTheUserInFull) {
  WemRun run;
  ASSERT_TRUE(run.startAndGreet(R"(
on -gdb-set @flood 50000 &"flood line\n"
on -gdb-set @flood 50000 ~"console flood\n"
on -gdb-set $TOKEN^done
)"));
  run.wem.writeLine("7-gdb-set a");
  std::string flood;
  ASSERT_TRUE(run.wem.readUntil("7^done\n(gdb)\n", flood, e2e::Ms(60000)));
  std::string expected;
  for (int i = 0; i < 50000; ++i) expected += "&\"flood line\\n\"\n";
  EXPECT_TRUE(flood == expected + "7^done\n(gdb)\n") << flood.size() << " bytes";
  EXPECT_EQ(run.countLogged("Ignoring input (~\"console flood\\n\""), 50000u);
  EXPECT_TRUE(run.exitSession());
}

TEST(SessionBadInput, NotificationsQueuedWhileIdleAreDrainedByTheNextCommand) {
  WemRun run;
  ASSERT_TRUE(run.startAndGreet("banner @flood 5000 =breakpoint-modified,bkpt={number=\"1\"}\n"));
  EXPECT_TRUE(run.wem.staysQuiet(e2e::Ms(200)));
  run.wem.writeLine("8-gdb-set a");
  EXPECT_TRUE(run.wem.expect("8^done\n(gdb)\n", e2e::Ms(20000)));
  EXPECT_EQ(run.countLogged("Ignoring event: =breakpoint-modified,bkpt={number=\"1\"}"), 5000u);
  EXPECT_TRUE(run.exitSession());
}

TEST(SessionBadInput, EngineLinesThatDoNotParseAreLoggedAndSkipped) {
  const std::string deep(20000, '[');
  WemRun run;
  ASSERT_TRUE(
      run.startAndGreet("on#1 -gdb-set $TOKEN^done,value={unclosed\n"
                        "on#2 -gdb-set $TOKEN^done,value=" +
                        deep +
                        "\n"
                        "on#3 -gdb-set \x01\xff garbage\n"
                        "on#3 -gdb-set ^bogus,x=\"1\"\n"
                        "on#3 -gdb-set $TOKEN^error\n"
                        "on#4 -gdb-set $TOKEN^done,big=\"" +
                        kMiB + "\"\n"));
  EXPECT_TRUE(e2e::runTranscript(run.wem,
                                 "> 1-gdb-set a\n< 1^done\n< (gdb)\n"
                                 "> 2-gdb-set b\n< 2^done\n< (gdb)\n"
                                 "> 3-gdb-set c\n< \x01\xff garbage\n< ^bogus,x=\"1\"\n"
                                 "< 3^error\n< (gdb)\n"));
  run.wem.writeLine("4-gdb-set d");
  EXPECT_TRUE(run.wem.expect("4^done,big=\"" + kMiB + "\"\n(gdb)\n", e2e::Ms(20000)));
  EXPECT_TRUE(run.logged("Igoring bad record (value={unclosed) from i1."));
  EXPECT_TRUE(run.logged("Igoring bad record (value=" + deep + ") from i1."));
  EXPECT_TRUE(run.exitSession());
}

}  // namespace
