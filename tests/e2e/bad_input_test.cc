// Inputs too large or too odd for a transcript: megabyte lines, raw bytes, thousands of pasted
// lines, engine floods and records that do not parse. The program answers each, passes on what
// it should and keeps working.
#include <gtest/gtest.h>

#include <algorithm>
#include <thread>

#include "support/e2e.h"

namespace {

const std::string kMiB(1 << 20, 'x');

class BadInput : public testing::Test {
 protected:
  // Starts the program on one fake engine playing `scenario`, past its greeting.
  void start(const std::string& scenario) {
    if (!scenario.empty()) dir.write("i.scn", scenario);
    e2e::EnvChanges env = e2e::fakeEngineEnv(dir.path());
    env["WEM_LOG"] = dir.file("wem.log");
    ASSERT_TRUE(wem.start({WEM_BINARY, "--interpreter=mi"}, env));
    expect("=thread-group-added,id=\"i1\"\n(gdb)\n");
  }
  // The next output is exactly `text`.
  void expect(const std::string& text, e2e::Ms timeout = e2e::kTimeout) {
    std::string got, line;
    while (got.size() < text.size() && text.compare(0, got.size(), got) == 0 &&
           wem.readLine(line, timeout))
      got += line + "\n";
    ASSERT_TRUE(got == text) << "got " << got.size() << " bytes: " << got.substr(0, 200);
  }
  // Ends the session; the engine received exactly `received` before "-gdb-exit".
  void exitSession(const std::string& received) {
    wem.write("-gdb-exit\n");
    expect("=thread-group-removed,id=\"i1\"\n^exit\n");
    EXPECT_TRUE(wem.endsHere());
    EXPECT_EQ(wem.exitCode(), 0);
    // Compared as a whole so that a failure does not print megabytes.
    EXPECT_TRUE(e2e::readFile(dir.file("i1.in")) == received + "-gdb-exit\n");
  }
  size_t logged(const std::string& line) {
    const std::vector<std::string> log = e2e::readLogLines(dir.file("wem.log"));
    return std::count(log.begin(), log.end(), line);
  }

  e2e::TempDir dir;
  e2e::Child wem;
};

TEST_F(BadInput, HugeAndBinaryUserLinesAreHandledWhole) {
  start("");
  const std::string odd("3-gdb-set \x01\xff\0\x7f end\r\n", 20);
  // Each line waits for its answer: a line without command word is answered as soon as it is
  // read, even while a command runs.
  const std::pair<std::string, std::string> exchanges[] = {
      {"1-gdb-set " + kMiB + "\n", "1^done\n(gdb)\n"},
      {"2-frobnicate " + kMiB + "\n", "2^done,msg=\"Command is not implemented.\"\n(gdb)\n"},
      {std::string(1 << 20, ' ') + "\n", "(gdb)\n"},
      {std::string("\x01\x02\xff\xfe\n", 5), "(gdb)\n"},
      {odd, "3^done\n(gdb)\n"},
      {std::string("4\0-gdb-set\n", 11), "(gdb)\n"}};
  for (const auto& [line, answer] : exchanges) {
    wem.write(line);
    expect(answer);
  }
  exitSession("1-gdb-set " + kMiB + "\n" + odd);
}

TEST_F(BadInput, LastLineWithoutNewlineIsNeverRun) {
  start("");
  wem.write("5-gdb-set a\n6-gdb-set b");
  wem.closeStdin();
  expect("5^done\n(gdb)\n");
  // End of input leaves the session idle until a signal ends it.
  EXPECT_TRUE(wem.staysQuiet(e2e::Ms(300)));
  wem.signal(SIGTERM);
  EXPECT_TRUE(wem.endsHere());
  EXPECT_EQ(e2e::readFile(dir.file("i1.in")), "5-gdb-set a\n<SIGINT>\n-gdb-exit\n");
}

TEST_F(BadInput, ThousandsOfPastedLinesAreAnsweredInOrder) {
  start("");
  std::string pasted, answers, received;
  for (int i = 1; i <= 3000; ++i) {
    const std::string token = std::to_string(i);
    const bool known = i % 3 != 0;
    pasted += token + (known ? "-gdb-set v " : "-no-such-command ") + token + "\n";
    answers +=
        token + (known ? "^done\n(gdb)\n" : "^done,msg=\"Command is not implemented.\"\n(gdb)\n");
    if (known) received += token + "-gdb-set v " + token + "\n";
  }
  wem.write(pasted, e2e::Ms(60000));
  expect(answers, e2e::Ms(60000));
  exitSession(received);
}

TEST_F(BadInput, EngineFloodsReachTheUserInFullOrAreLogged) {
  start(
      "banner @flood 5000 =breakpoint-modified,bkpt={number=\"1\"}\n"
      "on -gdb-set @flood 50000 &\"flood line\\n\"\n"
      "on -gdb-set @flood 50000 ~\"console flood\\n\"\n"
      "on -gdb-set $TOKEN^done\n");
  // Notifications that arrive while idle wait for the next command, which drains them.
  EXPECT_TRUE(wem.staysQuiet(e2e::Ms(200)));
  wem.write("7-gdb-set a\n");
  std::string flood;
  for (int i = 0; i < 50000; ++i) flood += "&\"flood line\\n\"\n";
  expect(flood + "7^done\n(gdb)\n", e2e::Ms(60000));
  exitSession("7-gdb-set a\n");
  EXPECT_EQ(logged("Ignoring input (~\"console flood\\n\""), 50000u);
  EXPECT_EQ(logged("Ignoring event: =breakpoint-modified,bkpt={number=\"1\"}"), 5000u);
}

// A user who stops reading while an engine floods fills every queue on the way; a terminate
// request still ends the session, and the engine with it.
TEST_F(BadInput, AUserWhoStopsReadingCanStillEndTheSession) {
  start("on -gdb-set @flood 300000 &\"flood line\\n\"\non -gdb-set $TOKEN^done\n");
  wem.write("7-gdb-set a\n");
  std::this_thread::sleep_for(e2e::Ms(500));
  ASSERT_TRUE(wem.signal(SIGTERM));
  EXPECT_EQ(wem.exitCode(), 0);
  EXPECT_GE(logged("The user does not read; dropped what was left for the user."), 1u);
}

TEST_F(BadInput, EngineRecordsThatDoNotParseAreLoggedAndSkipped) {
  const std::string deep(20000, '[');
  start(
      "on#1 -gdb-set $TOKEN^done,value={unclosed\n"
      "on#2 -gdb-set $TOKEN^done,value=" +
      deep +
      "\n"
      "on#3 -gdb-set \x01\xff garbage\n"
      "on#3 -gdb-set ^bogus,x=\"1\"\n"
      "on#3 -gdb-set $TOKEN^error\n"
      "on#4 -gdb-set $TOKEN^done,big=\"" +
      kMiB + "\"\n");
  wem.write("1-gdb-set a\n2-gdb-set b\n3-gdb-set c\n4-gdb-set d\n");
  expect(
      "1^done\n(gdb)\n2^done\n(gdb)\n\x01\xff "
      "garbage\n^bogus,x=\"1\"\n3^error\n(gdb)\n4^done,big=\"" +
      kMiB + "\"\n(gdb)\n");
  exitSession("1-gdb-set a\n2-gdb-set b\n3-gdb-set c\n4-gdb-set d\n");
  EXPECT_EQ(logged("Igoring bad record (value={unclosed) from i1."), 1u);
  EXPECT_EQ(logged("Igoring bad record (value=" + deep + ") from i1."), 1u);
}

TEST_F(BadInput, CommandFilesHugeBinaryEmptyOrSourcingThemselvesAreRunToTheEnd) {
  start("");
  const std::string huge = dir.write("huge", "1-gdb-set v " + kMiB);
  // No command word, an unknown word, a setting with raw bytes, no line end at the end.
  const char odd[] = "\177ELF\n9abc\0\377\n2-gdb-set \377\0\n\0";
  const std::string self = dir.write("self", "source " + dir.file("self") + "\n");
  std::string unwound;  // the empty last line and "^done" of each file but the outermost
  for (int depth = 8; depth > 1; --depth) unwound += "(gdb)\n^done\n(gdb)\n";
  wem.write("5source " + huge + "\n6source " + dir.write("odd", std::string(odd, sizeof odd - 1)) +
            "\n7source " + self + "\n8source " + dir.write("empty", "") + "\n");
  expect(
      "1^done\n(gdb)\n5^done\n(gdb)\n(gdb)\n9^done,msg=\"Command is not implemented.\"\n(gdb)\n"
      "2^done\n(gdb)\n(gdb)\n6^done\n(gdb)\n^error,msg=\"Command files nest too deeply (more than "
      "8): " +
      self + "\"\n(gdb)\n" + unwound + "(gdb)\n7^done\n(gdb)\n(gdb)\n8^done\n(gdb)\n");
  exitSession("1-gdb-set v " + kMiB + "\n" + std::string("2-gdb-set \377\0\n", 13));
}

}  // namespace
