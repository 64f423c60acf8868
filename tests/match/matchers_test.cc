// Every matcher is a function of its input here: "no" when the text does not fit and its outputs
// stayed untouched, otherwise what it gave (outputs joined by " ; ", list items by blanks). Each
// matcher has one table of subtle inputs; the same functions run on mebibyte lines, and the two
// matchers that collect every repetition of a group are checked against plain references.

#include <gtest/gtest.h>

#include <boost/algorithm/string/replace.hpp>
#include <boost/regex.hpp>
#include <cctype>
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
#define ONE(call) [](In t) { std::string o = "u"; const bool found = call; return shown(found, {o}); }
#define THREE(f) [](In t) { std::string a = "u", b = "u", c = "u"; const bool found = f(t, a, b, c); \
                            return shown(found, {a, b, c}); }
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
    {"matchListThreadGroups",
     [](In t) {
       bool available = true;  // reset even when the line does not fit
       std::set<std::string> groups = {"~old"};
       const bool found = matchListThreadGroups(t, available, groups);
       return (found ? "" : "no ") + std::string(available ? "available " : "") + join(groups);
     }},
    {"matchRegisterList", appended(99u, matchRegisterList)},
    {"replaceCmdThreadId", OUT(replaceCmdThreadId(t, "--thread 7", o))},
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

// One row a line: the matcher, the input and the result between backquotes, with \n \r \t \f \v
// and \\ decoded; <defect> stands for the text of the unexpected-condition warning. The two
// per-repetition matchers keep only rows their random draws below cannot produce.
const char kTables[] = R"(
matchCmdId `12-exec-run\n` `12`
matchCmdId ` 12-exec-run\n` `no`
matchCmdId `-exec-run\n7-x\n` `7`
matchCmdName `info frame\n` `info`
matchCmdName `3-break|insert x\n` `-break|insert`
matchCmdName `-Exec-run\n` `-`
matchCmdName `12\n` `no`
matchCmdName `12 -exec\n\n-gdb-exit\n` `-gdb-exit`
matchCmdThreadId `-exec-next --thread-group i1 --thread 12\n` `12`
matchCmdThreadId `-x --thread 3 --thread 4\n` `3`
matchCmdThreadId `-x --thread\t\n 7\n` `7`
matchCmdThreadId `-x --thread x\n` `no`
matchCmdThreadId `-x --thread-group i1\n` `no`
matchCmdThreadGroupId `-x --thread-group   \n` ``
matchCmdThreadGroupId `-x --thread-group i|2_a-b\n` `i|2_a`
matchCmdThreadGroupId `-x --thread-groupi1\n` `no`
matchThreadInfo `5-thread-info 3\n` `3`
matchThreadInfo `5-thread-info\n` ``
matchThreadInfo `5-thread-info` `no`
matchThreadInfo `-thread-infox 2\n` `no`
matchBkpId `-break-delete 3 x7\n` `7`
matchBkpId `-break-delete abc\n` ``
matchBkpId `-break-delete 4\r\n` `4`
matchBkpId `-break-delete 4 \nx\n` `4`
matchBkpId `-break-delete 4` `no`
matchBkpCondId `7-break-after 10 2\n` `10`
matchBkpCondId `-break-condition --thread 4 3 x\n` `3`
matchBkpCondId `-break-condition --force 3 x\n` `no`
matchBkpCondId `-break-condition x\n` `no`
matchBkpCondId `-break-condition \n` ``
matchBkpCondId `x -break-after 1 2\n` `no`
matchVarCreate `-var-create - * x\n` `-`
matchVarCreate `3-var-create --thread 1 --frame 0 v_1 * x\n` `v_1`
matchVarCreate `-var-create --frame 0 --thread 1 v1 * x\n` `-`
matchVarCreate `-var-create my|var * x\n` `my|var`
matchVarCreate `-var-create\n` `no`
matchVarObjId `-var-update 1 *\n` `*`
matchVarObjId `-var-list-children var1.public.x\n` `var1`
matchVarObjId `-var-update 1\n` `1`
matchVarObjId `-var-delete -c var2\n` `var2`
matchVarObjId `12-var-evaluate-expression --thread 2 var3\n` `var3`
matchVarObjId `-var-update\n` `no`
matchInfoCmd `5info frame\n` `frame`
matchInfoCmd `info\n` `no`
matchInfoCmd `information x\n` `no`
matchInfoCmd `info 3\n` `no`
matchInferiorId `4-remove-inferior i2 \n` `i2`
matchInferiorId `-remove-inferior i2` `no`
matchInferiorId `-remove-inferior i2 i3\n` `no`
matchSourceCmd `source /tmp/cmds.txt\n` `/tmp/cmds.txt`
matchSourceCmd `source a b\n` `no`
matchSourceCmd `source a` `no`
matchZubCondPrintCmd `-zub-cond-print 1 "a b" c\n` `1 ; "a b" ; c`
matchZubCondPrintCmd `x a b c d\n` `b ; c ; d`
matchZubCondPrintCmd `x "a b" "" c\n` `"a b" ; "" ; c`
matchZubCondPrintCmd `x a b c \n` `no`
matchZubCondPrintCmd `x "a b c\n` `no`
matchZubCondPrintCmd `x a b\n` `no`
matchListThreadGroups `-list-thread-groups --available\n` `available ~old`
matchListThreadGroups `-list-thread-groups i1` `~old`
matchListThreadGroups `-list-thread-groups i1 i2\n` `i2 ~old`
matchListThreadGroups `5-list-thread-groups --available i3\n` `available i3 ~old`
matchListThreadGroups `-list-thread-groups i|1 \n` `i|1 ~old`
matchListThreadGroups `-thread-info\n` `no ~old`
matchRegisterList `-data-list-register-values --skip-unavailable N 3 \r\n` `3`
matchRegisterList `r 007 4294967295\n` `7 4294967295`
matchRegisterList `r 4294967296\n` `no`
replaceCmdThreadId `-exec-next\n` `-exec-next\n`
replaceCmdThreadId `-x --thread 1 --thread-group i1 --thread\n 2\n` `-x --thread 7 --thread-group i1 --thread 7\n`
replaceCmdThreadGroupId `-break-insert --thread-group i1 main\n` `-break-insert G main\n`
replaceCmdThreadGroupId `-x --thread-group \n` `-x --thread-group \n`
replaceCmdThreadGroupId `-x --thread 3 --thread-group vek_1|a\n` `-x --thread 3 G\n`
replaceTag `target remote <VEKCARD>:2000 # <VEKCARD>` `target remote vek0:2000 # vek0`
replaceBkpCondId `12-break-condition --thread 2 3 x>1\n` `12-break-condition --thread 2 7 x>1\n`
replaceBkpCondId `-break-after 3  5\n` `-break-after 7  5\n`
replaceBkpCondId `-break-after 3\n` `-break-after 7 `
replaceBkpCondId `-break-condition x\n` `no`
replaceVarCreateObjId `-var-create - * x\n` `-var-create v5 * x\n`
replaceVarCreateObjId `5-var-create --thread 1 --frame 0 mine * x\n` `5-var-create --thread 1 --frame 0 v5 * x\n`
replaceVarCreateObjId `-var-create -\n` `-var-create v5 `
replaceVarCreateObjId `-var-create -x * y\n` `no`
replaceRegisterList `-data-list-register-values x 1 2 17\n` `-data-list-register-values x 4 5\n`
replaceRegisterList `-data-list-register-values x\r\n` `-data-list-register-values x 4 5\n`
replaceRegisterList `-data-list-register-values x 1 | 2\n` `-data-list-register-values x 1 | 4 5\n`
replaceRegisterList `-data-list-register-values x 1 a\n` `no`
replaceRegisterList{} `-data-list-register-values r 8\n` `-data-list-register-values r\n`
matchMiResultType `12^done,bkpt={number="1"}\n` `done`
matchMiResultType `^doneness\n` `done`
matchMiResultType `=thread-created\n^done\n` `done`
matchMiResultType `*stopped,reason="x"\n` `no`
matchMiResultType `12 ^done\n` `no`
matchMiRecord `^done\n` `no`
matchMiRecord `5^done,a="1",b="2"\n` `a="1",b="2"`
matchMiRecord `^done,a=1` `no`
matchMiRecord `^done,a=1\nb=2\n` `a=1\nb=2`
matchMiRecord `^done,\n` ``
matchMiEvent `=Thread_1-x,a=1\n` `Thread_1-x`
matchMiEvent `=\n` ``
matchMiEvent `*stopped\n` `no`
matchMiEvent `~"a"\n=library-loaded\n` `library-loaded`
matchMiOut `~"hello\\n"\n` `yes`
matchMiOut `~"a"` `yes`
matchMiOut `~"a" \t\r\n` `yes`
matchMiOut `~"a" x\n` `no`
matchMiOut `~"\n` `no`
matchMiOut `~"a"\nmore"\n` `yes`
matchMiOut `@"a"\n` `no`
matchGdbPrompt `(gdb) \n` `yes`
matchGdbPrompt `(gdb)` `yes`
matchGdbPrompt `(gdb) x\n` `no`
matchGdbPrompt ` (gdb)\n` `no`
matchMiStopped `5*stopped,reason="exited"\n` `yes`
matchMiStopped `*stopped\nanything\n` `yes`
matchMiStopped `*running,thread-id="all"\n` `no`
matchMiStopped `5 *stopped\n` `no`
matchUnexpectedCondition `~"<defect>.\\n"\n` `yes`
matchUnexpectedCondition `~"<defect>!` `yes`
matchUnexpectedCondition `~"<defect>` `no`
matchUnexpectedCondition `~"x"\n~"<defect>.\n` `yes`
matchUnexpectedCondition `&"<defect>.` `no`
matchRconnectValue `tcp:vek0:2000` `tcp ; vek0 ; 2000`
matchRconnectValue `tcp:vek0:2000\n` `tcp ; vek0 ; 2000\n`
matchRconnectValue `a:b:c\nd:e` `a ; b ; c`
matchRconnectValue `a:b` `no`
matchRconnectValue `a:b:c:d` `no`
matchRconnectValue `a::c` `no`
matchMountSysfs `sysfs on /sys type sysfs (rw,nosuid)\n` `/sys`
matchMountSysfs `sysfs on /s type sysfs (rw)\nsysfs on /x type sysfs (rw)\n` `/s type sysfs (rw)\nsysfs on /x`
matchMountSysfs `sysfs on /sys type sysfs` `no`
matchMountSysfs `proc on /proc type proc (rw)\n` `no`
matchCardIpAddress `IPADDR='1.2.3.4'\nNETMASK=x\n` `'1.2.3.4'\nNETMASK=x\n`
matchCardIpAddress `#IPADDR=\n` `\n`
matchCardIpAddress `ADDR=1\n` `no`
matchEchoCardNums `/opt/ulvax/vek/filesystem/vek0 /opt/ulvax/vek/filesystem/vek1\n` `0 1`
matchEchoCardNums `/opt/ulvax/vek/filesystem/vek*\n` ``
)";

std::string decode(const std::string& text) {
  static const std::map<char, std::string> escapes = {{'n', "\n"}, {'r', "\r"}, {'t', "\t"},
                                                      {'f', "\f"}, {'v', "\v"}, {'\\', "\\"}};
  std::string out;
  for (size_t i = 0; i < text.size(); ++i)
    out += text[i] == '\\' && i + 1 < text.size() ? escapes.at(text[++i]) : text.substr(i, 1);
  return boost::replace_all_copy(out, "<defect>",
                                 "This is an unexpected condition and may indicate the presence "
                                 "of a defect");
}

TEST(Matchers, EveryMatcherGivesTheResultsOfItsTable) {
  std::set<std::string> tested;
  std::istringstream rows(kTables);
  const boost::regex row(R"(^(\S+) `([^`]*)` `([^`]*)`$)");
  for (std::string line; std::getline(rows, line);) {
    boost::smatch m;
    if (line.empty()) continue;
    ASSERT_TRUE(boost::regex_match(line, m, row) && kMatchers.count(m[1])) << line;
    EXPECT_EQ(kMatchers.at(m[1])(decode(m[2])), decode(m[3])) << line;
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
  EXPECT_TRUE(kMatchers.at("replaceCmdThreadId")(repeat("--thread 1 ") + "\n") ==
              repeat("--thread 7 ") + "\n");
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

bool isBlank(char c) { return std::isspace(static_cast<unsigned char>(c)) != 0; }

// "[x|o|t|d|r|N](\s+[\d]+)*\s*$" by hand: the leftmost format letter, then as many blank-and-digit
// runs as there are, backing off one run at a time until blanks and a line end follow (the
// library decides what a line end is). "no" on no match or a number beyond unsigned int.
std::string referenceRegisterList(In text) {
  static const boost::regex tail(R"(\s*$)");
  for (size_t start = text.find_first_of("xotdrN|"); start != text.npos;
       start = text.find_first_of("xotdrN|", start + 1)) {
    std::vector<std::pair<size_t, size_t>> runs;  // digits of each repetition
    for (size_t at = start + 1;;) {
      size_t digits = at, end;
      while (digits < text.size() && isBlank(text[digits])) ++digits;
      for (end = digits; end < text.size() && std::isdigit(text[end]);) ++end;
      if (digits == at || end == digits) break;
      runs.emplace_back(digits, end);
      at = end;
    }
    for (size_t kept = runs.size() + 1; kept-- > 0;) {
      boost::smatch m;
      if (!boost::regex_search(text.cbegin() + (kept ? runs[kept - 1].second : start + 1),
                               text.cend(), m, tail,
                               boost::match_continuous | boost::match_prev_avail))
        continue;
      std::vector<unsigned long long> numbers;
      for (size_t i = 0; i < kept; ++i)
        numbers.push_back(std::stoull(text.substr(runs[i].first, runs[i].second - runs[i].first)));
      for (unsigned long long number : numbers)
        if (number > UINT_MAX) return "no";
      return join(numbers);
    }
  }
  return "no";
}

// "^(\s*\S+)*\s*$" splits the text into words; each word gives the digits of its first
// "/vek<digits>".
std::string referenceCardNumbers(In text) {
  std::vector<std::string> numbers;
  std::istringstream words(text);
  for (std::string word; words >> word;) {
    for (size_t vek = word.find("/vek"); vek != word.npos; vek = word.find("/vek", vek + 1)) {
      const size_t end = std::min(word.find_first_not_of("0123456789", vek + 4), word.size());
      if (end == vek + 4) continue;
      numbers.push_back(word.substr(vek + 4, end - vek - 4));
      break;
    }
  }
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
