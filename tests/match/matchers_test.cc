// Every matcher as a function of its input: "no" when the text does not fit (outputs untouched),
// else its outputs joined by " ; " (list items by blanks). Only subtle inputs: the transcripts
// run every matcher on ordinary lines.

#include <gtest/gtest.h>

#include <boost/algorithm/string/replace.hpp>
#include <boost/regex.hpp>
#include <climits>
#include <functional>
#include <map>
#include <random>
#include <sstream>
#include <vector>

#include "match/cmd_matchers.h"
#include "match/output_matchers.h"

namespace {

using In = const std::string&;
using Render = std::function<std::string(In)>;

template <class List>
std::string join(const List& items, const char* separator = " ") {
  std::ostringstream text;
  for (const auto& item : items) text << (text.tellp() ? separator : "") << item;
  return text.str();
}
// The outputs joined by " ; "; "no" for a miss that left them all at "u", "!" for one that did not.
std::string shown(bool found, std::vector<std::string> outs) {
  if (found) return join(outs, " ; ");
  return join(outs) == join(std::vector<std::string>(outs.size(), "u")) ? "no" : "!";
}
// The list starts with one item that must stay first, and a miss must add nothing.
template <class Item>
Render appended(Item first, bool (*matcher)(In, std::list<Item>&)) {
  return [first, matcher](In text) {
    std::list<Item> items = {first};
    const bool found = matcher(text, items);
    if (items.front() != first || (!found && items.size() > 1)) return std::string("!");
    items.pop_front();
    return found ? join(items) : "no";
  };
}
// clang-format off
#define ONE(call) [](In t) { std::string o = "u"; const bool hit = call; return shown(hit, {o}); }
#define TWO(f) [](In t) { std::string a = "u", b = "u"; const bool hit = f(t, a, b); \
                          return shown(hit, {a, b}); }
#define THREE(f) [](In t) { std::string a = "u", b = "u", c = "u"; const bool hit = f(t, a, b, c); \
                            return shown(hit, {a, b, c}); }
#define WHOLE(f) [](In t) { return std::string(f(t) ? "yes" : "no"); }
#define OUT(call) [](In t) { std::string o = "no"; call; return o; }
// clang-format on

const std::map<std::string, Render> kMatchers = {
    {"matchCmdId", ONE(matchCmdId(o, t))},
    {"matchCmdName", ONE(matchCmdName(o, t))},
    {"matchCmdThreadId", ONE(matchCmdThreadId(o, t))},
    {"matchCmdThreadGroupId", ONE(matchCmdThreadGroupId(o, t))},
    {"matchThreadInfo", ONE(matchThreadInfo(t, o))},
    {"matchBkpId", ONE(matchBkpId(t, o))},
    {"matchBkpCondId", ONE(matchBkpCondId(t, o))},
    {"matchVarCreate", ONE(matchVarCreate(t, o))},
    {"matchVarObjId", ONE(matchVarObjId(t, o))},
    {"matchInfoCmd", ONE(matchInfoCmd(t, o))},
    {"matchInferiorId", ONE(matchInferiorId(t, o))},
    {"matchSourceCmd", ONE(matchSourceCmd(t, o))},
    {"matchZubCondPrintCmd", THREE(matchZubCondPrintCmd)},
    {"matchConsoleCmd", TWO(matchConsoleCmd)},
    {"matchListThreadGroups",
     [](In t) {
       bool available = true;  // reset even when the line does not fit
       std::set<std::string> groups = {"~old"};
       const bool found = matchListThreadGroups(t, available, groups);
       return (found ? "" : "no ") + std::string(available ? "available " : "") + join(groups);
     }},
    {"matchRegisterList", appended(99u, matchRegisterList)},
    {"replaceCmdThreadId", OUT(replaceCmdThreadId(t, "T", o))},
    {"replaceCmdThreadGroupId", OUT(replaceCmdThreadGroupId(t, "G", o))},
    {"replaceTag", OUT(replaceTag(o = t, "<VEKCARD>", "vek0"))},
    {"replaceBkpCondId", ONE(replaceBkpCondId(t, "7", o))},
    {"replaceVarCreateObjId", ONE(replaceVarCreateObjId(t, "v5", o))},
    {"replaceRegisterList", OUT(replaceRegisterList(t, {4, 5}, o))},
    {"replaceRegisterList{}", OUT(replaceRegisterList(t, {}, o))},
    {"matchMiResultType", ONE(matchMiResultType(t, o))},
    {"matchMiRecord", ONE(matchMiRecord(t, o))},
    {"matchMiEvent", ONE(matchMiEvent(t, o))},
    {"matchMiOut", WHOLE(matchMiOut)},
    {"matchGdbPrompt", WHOLE(matchGdbPrompt)},
    {"matchMiStopped", WHOLE(matchMiStopped)},
    {"matchUnexpectedCondition", WHOLE(matchUnexpectedCondition)},
    {"matchRconnectValue", THREE(matchRconnectValue)},
    {"matchMountSysfs", ONE(matchMountSysfs(t, o))},
    {"matchCardIpAddress", ONE(matchCardIpAddress(t, o))},
    {"matchEchoCardNums", appended(std::string("old"), matchEchoCardNums)},
};

// A line: the matcher, then pairs of an input and its result between backquotes, with \n \r \t
// and \\ decoded; <defect> stands for the text of the unexpected-condition warning. Commands and
// engine output reach the matchers one line at a time, shell output whole. "|" inside brackets is
// an ordinary character. The per-repetition matchers keep only what their random draws below
// cannot produce.
const char kTables[] = R"(
matchCmdId ` 12-exec-run\n` `no` `007-x\n` `007`
matchCmdName `-Exec-run\n` `-` `12\n` `no` `12 -exec\n` `no` `12-break|insert x\n` `-break|insert`
matchCmdThreadId `-x --thread-group i1 --thread\t 7 --thread 4\n` `7` `-x --thread-group 1\n` `no`
matchCmdThreadId `-exec-next --thread 12 --frame 3\n` `12`
matchCmdThreadGroupId `-x --thread-group   \n` `` `-x --thread-group i|2_a-b\n` `i|2_a`
matchThreadInfo `5-thread-info\n` `` `5-thread-info` `no` `-thread-infox 2\n` `no`
matchBkpId `-break-delete 3 x7\n` `7` `-break-delete 4` `no`
matchBkpCondId `-break-condition --thread 4 3 x\n` `3` `-break-condition --force 3 x\n` `no`
matchVarCreate `3-var-create --thread 1 --frame 0 v_1|x * x\n` `v_1|x` `-var-create\n` `no`
matchVarCreate `-var-create --frame 0 --thread 1 v1 * x\n` `-`
matchVarObjId `-var-update 1 *\n` `*` `-var-update 1\n` `1` `-var-delete -c var2.x\n` `var2`
matchVarObjId `12-var-evaluate-expression --thread 2 var3\n` `var3` `-var-update\n` `no`
matchInfoCmd `5info frame\n` `frame` `information x\n` `no` `info 3\n` `no`
matchInferiorId `4-remove-inferior i2 \n` `i2` `-remove-inferior i2 i3\n` `no`
matchSourceCmd `source a b\n` `no` `source a` `no`
matchZubCondPrintCmd `x a "b c" "" d\n` `"b c" ; "" ; d` `x a b c \n` `no` `x "a b c\n` `no`
matchConsoleCmd `3-interpreter-exec --thread 2 --frame 0 console " next  4 "\n` `next ;  --thread 2 --frame 0 4`
matchConsoleCmd `-interpreter-exec console fin\n` `fin ; ` `-interpreter-exec console n 2\n` `no`
matchConsoleCmd `-interpreter-exec console "p \\"a\\""\n` `no` `-interpreter-exec mi "-exec-next"\n` `no`
matchListThreadGroups `-list-thread-groups i1` `~old` `-list-thread-groups i1 i|2\n` `i|2 ~old`
matchListThreadGroups `5-list-thread-groups --available i3\n` `available i3 ~old` `-x\n` `no ~old`
matchRegisterList `r 007 4294967295\n` `7 4294967295` `r 4294967296\n` `no`
replaceCmdThreadId `-exec-next\n` `-exec-next\n`
replaceCmdThreadId `-x --thread 1 --thread-group 1 --thread\t2\n` `-x T --thread-group 1 T\n`
replaceCmdThreadId `-exec-next --thread 12\n` `-exec-next T\n`
replaceCmdThreadId `21-var-create --thread 1234 --frame 10 v12 * a[12]\n` `21-var-create T --frame 10 v12 * a[12]\n`
replaceCmdThreadGroupId `-x --thread-group \n` `-x --thread-group \n`
replaceCmdThreadGroupId `-x --thread 3 --thread-group vek_1|a\n` `-x --thread 3 G\n`
replaceTag `/tmp/<VEKCARD>/<VEKPID>/<VEKCARD>` `/tmp/vek0/<VEKPID>/vek0`
replaceBkpCondId `12-break-condition --thread 2 3 x>1\n` `12-break-condition --thread 2 7 x>1\n`
replaceBkpCondId `-break-after 3\n` `-break-after 7 ` `-break-condition x\n` `no`
replaceVarCreateObjId `12-var-create --frame 0 m * x\n` `12-var-create --frame 0 v5 * x\n`
replaceVarCreateObjId `-var-create -\n` `-var-create v5 ` `-var-create -x * y\n` `no`
replaceRegisterList `-d x\r\n` `-d x 4 5\n` `-d x 1 | 2\n` `-d x 1 | 4 5\n` `-d x 1 a\n` `no`
replaceRegisterList{} `-data-list-register-values r 8\n` `-data-list-register-values r\n`
matchMiResultType `^doneness\n` `done` `12 ^done\n` `no`
matchMiRecord `^done\n` `no` `^done,a=1` `no` `^done,\n` ``
matchMiEvent `=Thread_1-x,a=1\n` `Thread_1-x` `=\n` ``
matchMiOut `~"a" \t\r\n` `yes` `~"a" x\n` `no` `~"\n` `no` `~"a"b"\n` `yes`
matchGdbPrompt `(gdb)` `yes` `(gdb) x\n` `no` ` (gdb)\n` `no`
matchMiStopped `5*stopped,a=1\n` `yes` `5 *stopped\n` `no`
matchUnexpectedCondition `~"<defect>!` `yes` `~"<defect>` `no`
matchRconnectValue `a:b:c:d` `no` `a::c` `no`
matchMountSysfs `sysfs on /s type sysfs\nsysfs on /x type sysfs (rw)\n` `/s type sysfs\nsysfs on /x`
matchMountSysfs `sysfs on /sys type sysfs` `no`
matchCardIpAddress `IPADDR='1.2.3.4' # x\n` `'1.2.3.4' # x\n` `#IPADDR=\n` `\n`
matchEchoCardNums `/opt/ulvax/vek/filesystem/vek*\n` ``
)";

std::string decode(const std::string& text) {
  static const std::map<char, std::string> escapes = {
      {'n', "\n"}, {'r', "\r"}, {'t', "\t"}, {'\\', "\\"}};
  std::string out;
  for (size_t i = 0; i < text.size(); ++i)
    out += text[i] == '\\' && i + 1 < text.size() ? escapes.at(text[++i]) : text.substr(i, 1);
  return boost::replace_all_copy(out, "<defect>",
                                 "This is an unexpected condition and may indicate the presence "
                                 "of a defect");
}

TEST(Matchers, EveryMatcherGivesTheResultsOfItsTable) {
  std::set<std::string> tested;
  std::istringstream lines(kTables);
  const boost::regex line(R"(^(\S+)(?: `[^`]*` `[^`]*`)+$)"), pair(R"( `([^`]*)` `([^`]*)`)");
  for (std::string text; std::getline(lines, text);) {
    boost::smatch m;
    if (text.empty()) continue;
    ASSERT_TRUE(boost::regex_match(text, m, line) && kMatchers.count(m[1])) << text;
    for (boost::sregex_iterator row(text.begin(), text.end(), pair), end; row != end; ++row)
      EXPECT_EQ(kMatchers.at(m[1])(decode((*row)[1])), decode((*row)[2])) << row->str();
    tested.insert(m[1]);
  }
  EXPECT_EQ(tested.size(), kMatchers.size());
}

const size_t kHuge = 1 << 20;

std::string repeat(In unit, size_t size = kHuge) {
  std::string text;
  while (text.size() < size) text += unit;
  return text;
}

// The library gives up on too many repetitions by throwing, which every matcher turns into "does
// not fit": no line may crash or hang a matcher (the ctest limit bounds the run).
TEST(Matchers, EveryMatcherAnswersOnMebibyteLinesAndLongResultsStayRight) {
  for (const std::string& input :
       {std::string(kHuge, ' ') + "\n", std::string(kHuge, 'a'), repeat("a "),
        repeat("x 1 ") + "y\n", repeat("\" "), repeat("--thread 1 ") + "\n", repeat("a:"),
        std::string(kHuge, '\n')})
    for (const auto& [name, render] : kMatchers) render(input);
  EXPECT_EQ(kMatchers.at("matchCmdId")("12-x " + std::string(kHuge, 'a') + "\n"), "12");
  EXPECT_EQ(kMatchers.at("matchMiRecord")("^done,v=\"" + std::string(kHuge, 'v') + "\"\n").size(),
            kHuge + 4);
  // Not EXPECT_EQ: a failure would print megabytes.
  EXPECT_TRUE(kMatchers.at("replaceCmdThreadId")(repeat("--thread 1 ")) ==
              boost::replace_all_copy(repeat("--thread 1 "), "--thread 1", "T"));
  // Far beyond the library's backtracking memory: no match, outputs untouched.
  EXPECT_EQ(kMatchers.at("matchEchoCardNums")(repeat("/vek1 ") + "\n"), "no");
  EXPECT_EQ(kMatchers.at("matchRegisterList")("-data-list-register-values x" + repeat(" 1") + "\n"),
            "no");
  // Within the bounds, every one of many repetitions is kept.
  std::string registers = "-data-list-register-values x", cards, numbers;
  for (int i = 0; i < 5000; ++i) {
    registers += "  " + std::to_string(i);
    cards += " /opt/ulvax/vek/filesystem/vek" + std::to_string(i);
    numbers += (i ? " " : "") + std::to_string(i);
  }
  EXPECT_EQ(kMatchers.at("matchRegisterList")(registers + "\n"), numbers);
  EXPECT_EQ(kMatchers.at("matchEchoCardNums")(cards + "\n"), numbers);
}

// The library keeps only the last repetition of a group, so the references wrap all repetitions
// in one group and read every item inside it. Register numbers beyond unsigned int give "no".
std::string referenceRegisterList(In text) {
  static const boost::regex list(R"([x|o|t|d|r|N]((?:\s+[\d]+)*)\s*$)"), number(R"(\d+)");
  boost::smatch m;
  if (!boost::regex_search(text, m, list)) return "no";
  std::vector<unsigned long long> numbers;
  for (boost::sregex_iterator it(m[1].first, m[1].second, number), end; it != end; ++it) {
    if (it->length() > 10 || std::stoull(it->str()) > UINT_MAX) return "no";
    numbers.push_back(std::stoull(it->str()));
  }
  return join(numbers);
}

// "^(\s*\S+)*\s*$" takes every word; each word gives the digits of its first "/vek<digits>".
std::string referenceCardNumbers(In text) {
  static const boost::regex card(R"(/vek(\d+))");
  std::vector<std::string> numbers;
  std::istringstream words(text);
  boost::smatch m;
  for (std::string word; words >> word;)
    if (boost::regex_search(word, m, card)) numbers.push_back(m[1]);
  return join(numbers);
}

// Many random short texts made of the pieces that matter: format letters, "|", blanks of every
// kind, line separators, digits, "/vek".
TEST(Matchers, PerRepetitionMatchersAgreeWithPlainReferences) {
  const std::vector<std::tuple<const char*, Render, std::vector<std::string>>> cases = {
      {"matchRegisterList",
       referenceRegisterList,
       {"x", "|", "N", "a", " ", " ", "\t", "\n", "\r", "\f", "\v", "1", "23", "0", "7"}},
      {"matchEchoCardNums",
       referenceCardNumbers,
       {"/vek", "/vek", "/", "vek", "1", "23", "x", " ", "\t", "\n", "\r", "*"}}};
  std::mt19937 rng(20240611);
  for (const auto& [name, reference, pieces] : cases) {
    std::uniform_int_distribution<size_t> length(0, 30), pick(0, pieces.size() - 1);
    int several = 0;
    for (int i = 0; i < 50000; ++i) {
      std::string text;
      for (size_t n = length(rng); n > 0; --n) text += pieces[pick(rng)];
      const std::string expected = reference(text);
      ASSERT_EQ(kMatchers.at(name)(text), expected) << name << " on [" << text << "]";
      several += expected.find(' ') != expected.npos;
    }
    EXPECT_GT(several, 1000) << name;  // the draw really exercises several repetitions
  }
}

}  // namespace
