#include "match/cmd_matchers.h"

#include <gtest/gtest.h>

#include <boost/regex.hpp>
#include <functional>
#include <vector>

namespace {

using OneGroupMatcher = std::function<bool(std::string const&, std::string&)>;

struct Case {
  std::string text;
  bool found;
  std::string group;  // expected output; on a miss the output must still hold its old value
};

void expectCases(const char* name, const OneGroupMatcher& matcher, const std::vector<Case>& cases) {
  for (const Case& c : cases) {
    std::string out = "untouched";
    EXPECT_EQ(matcher(c.text, out), c.found) << name << " on [" << c.text << "]";
    EXPECT_EQ(out, c.found ? c.group : "untouched") << name << " on [" << c.text << "]";
  }
}

}  // namespace

TEST(CmdMatchers, TokenAndCommandWord) {
  expectCases("matchCmdId", [](auto& t, auto& o) { return matchCmdId(o, t); },
              {{"12-exec-run\n", true, "12"},
               {"-exec-run\n", false, ""},
               {" 12-exec-run\n", false, ""},
               {"-exec-run\n7-x\n", true, "7"},  // "^" also matches after a newline
               {"", false, ""}});
  expectCases("matchCmdName", [](auto& t, auto& o) { return matchCmdName(o, t); },
              {{"12-exec-run\n", true, "-exec-run"},
               {"info frame\n", true, "info"},
               {"3-break|insert x\n", true, "-break|insert"},  // "|" is literal in brackets
               {"-Exec-run\n", true, "-"},
               {"12\n", false, ""},
               {"12 -exec\n\n-gdb-exit\n", true, "-gdb-exit"},
               {"", false, ""}});
}

TEST(CmdMatchers, ThreadAndThreadGroupOptions) {
  expectCases("matchCmdThreadId", [](auto& t, auto& o) { return matchCmdThreadId(o, t); },
              {{"-exec-next --thread 3\n", true, "3"},
               {"-exec-next --thread-group i1 --thread 12\n", true, "12"},
               {"-x --thread 3 --thread 4\n", true, "3"},
               {"-x --thread\t\n 7\n", true, "7"},
               {"-x --thread x\n", false, ""},
               {"-x --thread-group i1\n", false, ""}});
  expectCases("matchCmdThreadGroupId", [](auto& t, auto& o) { return matchCmdThreadGroupId(o, t); },
              {{"-list --thread-group i1\n", true, "i1"},
               {"-x --thread-group   \n", true, ""},
               {"-x --thread-group i|2_a-b\n", true, "i|2_a"},
               {"-x --thread-groupi1\n", false, ""},
               {"-x --thread 1\n", false, ""}});
  expectCases("matchThreadInfo", matchThreadInfo,
              {{"5-thread-info 3\n", true, "3"},
               {"5-thread-info\n", true, ""},
               {"5-thread-info", false, ""},
               {"-thread-infox 2\n", false, ""}});
}

TEST(CmdMatchers, BreakpointNumbers) {
  expectCases("matchBkpId", matchBkpId,
              {{"-break-delete 1 2\n", true, "2"},
               {"-break-delete 12 \n", true, "12"},
               {"-break-delete 3 x7\n", true, "7"},
               {"-break-delete abc\n", true, ""},
               {"-break-delete\n", true, ""},
               {"-break-delete 4\r\n", true, "4"},
               {"-break-delete 4 \nx\n", true, "4"},  // "$" before an inner newline
               {"-break-delete 4", false, ""},
               {"", false, ""}});
  expectCases("matchBkpCondId", matchBkpCondId,
              {{"-break-condition 3 x>1\n", true, "3"},
               {"7-break-after 10 2\n", true, "10"},
               {"-break-condition --thread 4 3 x\n", true, "3"},
               {"-break-condition --force 3 x\n", false, ""},
               {"-break-condition x\n", false, ""},
               {"-break-condition \n", true, ""},
               {"x -break-after 1 2\n", false, ""}});
}

TEST(CmdMatchers, VariableObjectNames) {
  expectCases("matchVarCreate", matchVarCreate,
              {{"-var-create - * x\n", true, "-"},
               {"3-var-create --thread 1 --frame 0 v_1 * x\n", true, "v_1"},
               {"-var-create --frame 0 --thread 1 v1 * x\n", true, "-"},  // options in order only
               {"-var-create my|var * x\n", true, "my|var"},
               {"-var-create\n", false, ""}});
  expectCases("matchVarObjId", matchVarObjId,
              {{"-var-update --all-values var1\n", true, "var1"},
               {"-var-update 1 *\n", true, "*"},
               {"-var-list-children var1.public.x\n", true, "var1"},
               {"-var-update 1\n", true, "1"},
               {"-var-delete -c var2\n", true, "var2"},
               {"12-var-evaluate-expression --thread 2 var3\n", true, "var3"},
               {"-var-update\n", false, ""}});
}

TEST(CmdMatchers, ConsoleWordsAndInferiors) {
  expectCases("matchInfoCmd", matchInfoCmd,
              {{"info threads\n", true, "threads"},
               {"5info frame\n", true, "frame"},
               {"info\n", false, ""},
               {"information x\n", false, ""},
               {"info 3\n", false, ""}});
  expectCases("matchInferiorId", matchInferiorId,
              {{"4-remove-inferior i2\n", true, "i2"},
               {"-remove-inferior i2 \n", true, "i2"},
               {"-remove-inferior i2", false, ""},
               {"-remove-inferior i2 i3\n", false, ""}});
  expectCases("matchSourceCmd", matchSourceCmd,
              {{"source /tmp/cmds.txt\n", true, "/tmp/cmds.txt"},
               {"source a b\n", false, ""},
               {"source\n", false, ""},
               {"source a", false, ""}});
}

TEST(CmdMatchers, LastThreeArgumentsQuotedOrBare) {
  struct Args {
    std::string text;
    bool found;
    std::string first, second, third;
  };
  const std::vector<Args> cases = {
      {"-zub-cond-print 1 \"a b\" c\n", true, "1", "\"a b\"", "c"},
      {"x a b c d\n", true, "b", "c", "d"},
      {"x \"a b\" \"\" c\n", true, "\"a b\"", "\"\"", "c"},
      {"x a b c \n", false, "", "", ""},  // the third must end the line
      {"x \"a b c\n", false, "", "", ""},
      {"x a b\n", false, "", "", ""},
  };
  for (const Args& c : cases) {
    std::string a = "u", b = "u", d = "u";
    EXPECT_EQ(matchZubCondPrintCmd(c.text, a, b, d), c.found) << c.text;
    if (c.found)
      EXPECT_EQ(std::vector<std::string>({a, b, d}),
                std::vector<std::string>({c.first, c.second, c.third}))
          << c.text;
    else
      EXPECT_EQ(a + b + d, "uuu") << c.text;
  }
}

TEST(CmdMatchers, ListThreadGroupsKeepsOnlyTheLastIdFollowedByWhiteSpace) {
  struct Groups {
    std::string text;
    bool found, available;
    std::set<std::string> groups;
  };
  const std::vector<Groups> cases = {
      {"-list-thread-groups --available\n", true, true, {"old"}},
      {"-list-thread-groups i1\n", true, false, {"old", "i1"}},
      {"-list-thread-groups i1", true, false, {"old"}},
      {"-list-thread-groups i1 i2\n", true, false, {"old", "i2"}},
      {"5-list-thread-groups --available i3\n", true, true, {"old", "i3"}},
      {"-list-thread-groups i|1 \n", true, false, {"old", "i|1"}},
      {"-list-thread-groups\n", true, false, {"old"}},
      {"-thread-info\n", false, false, {"old"}},
  };
  for (const Groups& c : cases) {
    bool available = true;
    std::set<std::string> groups = {"old"};
    EXPECT_EQ(matchListThreadGroups(c.text, available, groups), c.found) << c.text;
    EXPECT_EQ(available, c.available) << c.text;  // reset even when the line does not fit
    EXPECT_EQ(groups, c.groups) << c.text;
  }
}

TEST(CmdMatchers, ReplacersRewriteEveryOptionAndKeepTheRest) {
  std::string out;
  replaceCmdThreadId("-exec-next\n", "--thread 7", out);
  EXPECT_EQ(out, "-exec-next\n");
  replaceCmdThreadId("-x --thread 1 --thread-group i1 --thread\n 2\n", "--thread 7", out);
  EXPECT_EQ(out, "-x --thread 7 --thread-group i1 --thread 7\n");
  replaceCmdThreadId("-x --thread 1\n", "[$&]", out);  // the replacement is a format string
  EXPECT_EQ(out, "-x [--thread 1]\n");

  replaceCmdThreadGroupId("-break-insert --thread-group i1 main\n", "", out);
  EXPECT_EQ(out, "-break-insert  main\n");
  replaceCmdThreadGroupId("-x --thread-group \n", "", out);  // no id: nothing to replace
  EXPECT_EQ(out, "-x --thread-group \n");
  replaceCmdThreadGroupId("-x --thread 3 --thread-group vek_1|a\n", "--thread-group i1", out);
  EXPECT_EQ(out, "-x --thread 3 --thread-group i1\n");

  std::string text = "target remote <VEKCARD>:2000 # <VEKCARD>";
  replaceTag(text, "<VEKCARD>", "vek0");
  EXPECT_EQ(text, "target remote vek0:2000 # vek0");
  EXPECT_THROW(replaceTag(text, "(", "x"), boost::regex_error);
  EXPECT_EQ(text, "target remote vek0:2000 # vek0");
}

TEST(CmdMatchers, SplicingRewriters) {
  struct Splice {
    std::string text, value;
    bool found;
    std::string out;
  };
  const std::vector<Splice> bkp = {
      {"-break-condition 3 x>1\n", "7", true, "-break-condition 7 x>1\n"},
      {"12-break-condition --thread 2 3 x>1\n", "7", true, "12-break-condition --thread 2 7 x>1\n"},
      {"-break-after 3  5\n", "10", true, "-break-after 10  5\n"},
      {"-break-after 3\n", "9", true, "-break-after 9 "},  // the one blank after it is replaced
      {"-break-condition x\n", "7", false, ""},
  };
  for (const Splice& c : bkp) {
    std::string out = "untouched";
    EXPECT_EQ(replaceBkpCondId(c.text, c.value, out), c.found) << c.text;
    EXPECT_EQ(out, c.found ? c.out : "untouched") << c.text;
  }
  const std::vector<Splice> var = {
      {"-var-create - * x\n", "var5", true, "-var-create var5 * x\n"},
      {"5-var-create --thread 1 --frame 0 mine * x\n", "mine", true,
       "5-var-create --thread 1 --frame 0 mine * x\n"},
      {"-var-create -\n", "var0", true, "-var-create var0 "},
      {"-var-create -x * y\n", "var0", false, ""},
      {"-var-create\n", "var0", false, ""},
  };
  for (const Splice& c : var) {
    std::string out = "untouched";
    EXPECT_EQ(replaceVarCreateObjId(c.text, c.value, out), c.found) << c.text;
    EXPECT_EQ(out, c.found ? c.out : "untouched") << c.text;
  }
}

TEST(CmdMatchers, RegisterLists) {
  struct Regs {
    std::string text;
    bool found;
    std::list<unsigned int> numbers;
  };
  const std::vector<Regs> cases = {
      {"-data-list-register-values x 1 2 17\n", true, {1, 2, 17}},
      {"-data-list-register-values x\n", true, {}},
      {"-data-list-register-values N 5\n", true, {5}},
      {"-data-list-register-values --skip-unavailable x 3 \r\n", true, {3}},
      {"-data-list-register-values x 1 | 3\n", true, {3}},  // "|" is a format letter too
      {"-data-list-register-values x 1 a 2\n", false, {}},
      {"x 1\n2 y\n", true, {1}},  // the match backs off to the first line end
      {"r 007 4294967295\n", true, {7, 4294967295u}},
      {"r 4294967296\n", false, {}},
      {"", false, {}},
  };
  for (const Regs& c : cases) {
    std::list<unsigned int> numbers = {99};
    EXPECT_EQ(matchRegisterList(c.text, numbers), c.found) << c.text;
    std::list<unsigned int> expected = {99};
    expected.insert(expected.end(), c.numbers.begin(), c.numbers.end());
    EXPECT_EQ(numbers, expected) << c.text;
  }

  std::string out = "untouched";
  replaceRegisterList("-data-list-register-values x 1 2 17\n", {4, 5}, out);
  EXPECT_EQ(out, "-data-list-register-values x 4 5\n");
  replaceRegisterList("-data-list-register-values x\r\n", {3}, out);
  EXPECT_EQ(out, "-data-list-register-values x 3\n");
  replaceRegisterList("-data-list-register-values x 1 | 2\n", {9}, out);
  EXPECT_EQ(out, "-data-list-register-values x 1 | 9\n");
  replaceRegisterList("-data-list-register-values r 8\n", {}, out);
  EXPECT_EQ(out, "-data-list-register-values r\n");
  out = "untouched";
  replaceRegisterList("-data-list-register-values x 1 a\n", {9}, out);
  EXPECT_EQ(out, "untouched");
}
