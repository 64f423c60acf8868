// Lines of a mebibyte: every matcher must answer (the library gives up on too many repetitions
// by throwing, which the matchers turn into "does not fit") without crashing or hanging.

#include <gtest/gtest.h>

#include <functional>
#include <vector>

#include "match/cmd_matchers.h"
#include "match/output_matchers.h"

namespace {

const size_t kHuge = 1 << 20;

std::string repeat(std::string const& unit) {
  std::string text;
  text.reserve(kHuge + unit.size());
  while (text.size() < kHuge) text += unit;
  return text;
}

}  // namespace

TEST(HugeInput, EveryMatcherAnswersOnMebibyteLines) {
  const std::vector<std::string> inputs = {std::string(kHuge, ' ') + "\n",
                                           std::string(kHuge, 'a'),
                                           repeat("a "),
                                           repeat("x 1 ") + "y\n",
                                           repeat("\" "),
                                           repeat("--thread 1 ") + "\n",
                                           repeat("a:"),
                                           std::string(kHuge, '\n')};
  std::string a, b, c;
  bool available;
  std::set<std::string> groups;
  std::list<unsigned int> registers;
  std::list<std::string> cards;
  const std::vector<std::function<void(std::string const&)>> matchers = {
      [&](auto& t) { matchCmdId(a, t); },
      [&](auto& t) { matchCmdName(a, t); },
      [&](auto& t) { matchCmdThreadId(a, t); },
      [&](auto& t) { matchCmdThreadGroupId(a, t); },
      [&](auto& t) { matchThreadInfo(t, a); },
      [&](auto& t) { matchBkpId(t, a); },
      [&](auto& t) { matchBkpCondId(t, a); },
      [&](auto& t) { matchVarCreate(t, a); },
      [&](auto& t) { matchVarObjId(t, a); },
      [&](auto& t) { matchInfoCmd(t, a); },
      [&](auto& t) { matchInferiorId(t, a); },
      [&](auto& t) { matchSourceCmd(t, a); },
      [&](auto& t) { matchZubCondPrintCmd(t, a, b, c); },
      [&](auto& t) { matchListThreadGroups(t, available, groups); },
      [&](auto& t) { matchRegisterList(t, registers); },
      [&](auto& t) { replaceCmdThreadId(t, "--thread 2", a); },
      [&](auto& t) { replaceCmdThreadGroupId(t, "", a); },
      [&](auto& t) { replaceBkpCondId(t, "1", a); },
      [&](auto& t) { replaceVarCreateObjId(t, "v", a); },
      [&](auto& t) { replaceRegisterList(t, {1}, a); },
      [&](auto& t) { matchMiResultType(t, a); },
      [&](auto& t) { matchMiRecord(t, a); },
      [&](auto& t) { matchMiEvent(t, a); },
      [&](auto& t) { matchMiOut(t); },
      [&](auto& t) { matchGdbPrompt(t); },
      [&](auto& t) { matchMiStopped(t); },
      [&](auto& t) { matchUnexpectedCondition(t); },
      [&](auto& t) { matchRconnectValue(t, a, b, c); },
      [&](auto& t) { matchMountSysfs(t, a); },
      [&](auto& t) { matchCardIpAddress(t, a); },
      [&](auto& t) { matchEchoCardNums(t, cards); },
  };
  for (auto& input : inputs)
    for (auto& matcher : matchers)
      matcher(input);  // reaching the end is the test; the ctest time limit bounds it
}

TEST(HugeInput, ResultsStayRightOnLargeLines) {
  std::string token = "untouched";
  ASSERT_TRUE(matchCmdId(token, "12-data-evaluate-expression " + std::string(kHuge, 'a') + "\n"));
  EXPECT_EQ(token, "12");

  std::string record = "^done,value=\"" + std::string(kHuge, 'v') + "\"\n";
  std::string results;
  ASSERT_TRUE(matchMiRecord(record, results));
  EXPECT_EQ(results.size(), kHuge + 8);

  std::string line, expected;
  for (int i = 0; i < 100000; ++i) {
    line += "--thread 1 ";
    expected += "--thread 22 ";
  }
  std::string out;
  replaceCmdThreadId(line + "\n", "--thread 22", out);
  EXPECT_TRUE(out == expected + "\n");  // not EXPECT_EQ: a failure would print megabytes
}

TEST(HugeInput, TooManyRepetitionsFailCleanlyWithOutputsUntouched) {
  // Far beyond the library's backtracking memory: it throws, the matchers report no match.
  std::list<std::string> cards = {"old"};
  EXPECT_FALSE(matchEchoCardNums(repeat("/vek1 ") + "\n", cards));
  EXPECT_EQ(cards, std::list<std::string>{"old"});

  std::list<unsigned int> registers = {99};
  EXPECT_FALSE(matchRegisterList("-data-list-register-values x" + repeat(" 1") + "\n", registers));
  EXPECT_EQ(registers, std::list<unsigned int>{99});
}
