#include "match/output_matchers.h"

#include <boost/regex.hpp>
#include <string_view>

#include "match/regex_util.h"

// Every engine line passes the classifiers below. A cheap look at the first bytes rejects the
// lines that cannot match before the pattern runs; it never rejects one that the pattern takes.
namespace {

bool startsWith(const std::string& line, std::string_view prefix) {
  return line.compare(0, prefix.size(), prefix) == 0;
}

// The byte after the leading token digits, or 0 at the end of the line.
char afterToken(const std::string& line, std::size_t& at) {
  at = 0;
  while (at < line.size() && line[at] >= '0' && line[at] <= '9') ++at;
  return at < line.size() ? line[at] : 0;
}

}  // namespace

bool matchMiResultType(std::string const& line, std::string& resultClass) {
  static const boost::regex re(R"(^[0-9]*\^(done|running|connected|error|exit).*)");
  std::size_t at;
  if (afterToken(line, at) != '^') return false;
  return searchGroups(re, line, {&resultClass});
}

bool matchMiRecord(std::string const& line, std::string& resultsPart) {
  static const boost::regex re(R"(^[^,]*,(.*)\n)");
  return searchGroups(re, line, {&resultsPart});
}

bool matchMiEvent(std::string const& line, std::string& eventClass) {
  static const boost::regex re(R"(^=(([a-z]|[A-Z]|[0-9]|-|_)*))");
  if (!startsWith(line, "=")) return false;
  return searchGroups(re, line, {&eventClass});
}

bool matchMiOut(std::string const& line) {
  static const boost::regex re(R"(^~".*"[[:space:]]*)");
  if (!startsWith(line, "~\"")) return false;
  return matchWhole(re, line);
}

bool matchGdbPrompt(std::string const& line) {
  static const boost::regex re(R"(^\(gdb\)[[:space:]]*)");
  if (!startsWith(line, "(gdb)")) return false;
  return matchWhole(re, line);
}

bool matchMiStopped(std::string const& line) {
  static const boost::regex re(R"(^[0-9]*\*stopped.*)");
  std::size_t at;
  if (afterToken(line, at) != '*' || line.compare(at, 8, "*stopped") != 0) return false;
  return matchWhole(re, line);
}

bool matchUnexpectedCondition(std::string const& line) {
  static const boost::regex re(
      R"(^~"This is an unexpected condition and may indicate the presence of a defect.)");
  if (!startsWith(line, "~\"This is an unexpected condition")) return false;
  boost::smatch m;
  return searchText(re, line, m);
}

bool matchRconnectValue(std::string const& text, std::string& first, std::string& second,
                        std::string& third) {
  static const boost::regex re(R"(^([^:]+):([^:]+):([^:]+)$)");
  return searchGroups(re, text, {&first, &second, &third});
}

bool matchMountSysfs(std::string const& line, std::string& mountPoint) {
  static const boost::regex re(R"(sysfs on (.*) type sysfs.)");
  return searchGroups(re, line, {&mountPoint});
}

bool matchCardIpAddress(std::string const& line, std::string& address) {
  static const boost::regex re(R"(IPADDR=(.*))");
  return searchGroups(re, line, {&address});
}

// The library is built without per-repetition captures, so the full pattern only tells where the
// repetitions of group 1 end (the end of its last one); they start where the match starts. The
// greedy first attempt at the start of the text always succeeds (whatever is left after the last
// word is white space, which "\s*" takes up to the end of the text), so the library never splits
// a word: each repetition is a maximal blank run followed by a maximal word. Walking the span with
// the repetition's own sub-pattern, anchored at the previous end, yields exactly those words.
bool matchEchoCardNums(std::string const& text, std::list<std::string>& cardNumbers) {
  static const boost::regex lineRe(R"(^(\s*\S+)*\s*$)");
  static const boost::regex repetitionRe(R"(\s*\S+)");
  static const boost::regex numberRe(R"(/vek([\d]+))");
  boost::smatch m;
  if (!searchText(lineRe, text, m)) return false;
  std::list<std::string> found;
  if (m[1].matched) {
    try {
      auto at = m[0].first;
      const auto end = m[1].second;
      boost::smatch repetition;
      while (at != end) {
        if (!boost::regex_search(at, end, repetition, repetitionRe, boost::match_continuous))
          return false;  // cannot happen: the span is made of repetitions
        std::string number;
        if (searchGroups(numberRe, repetition[0].str(), {&number})) found.push_back(number);
        at = repetition[0].second;
      }
      if (repetition[0].first != m[1].first)
        return false;  // the last piece must be the library's last repetition
    } catch (const std::exception&) {
      return false;
    }
  }
  cardNumbers.splice(cardNumbers.end(), found);
  return true;
}

bool matchTargetLost(std::string const& line) {
  static const boost::regex re(
      R"(^&"(Remote connection closed|Remote communication error\..*|Disconnected from target\.)\\n"[[:space:]]*)");
  if (!startsWith(line, "&\"")) return false;
  return matchWhole(re, line);
}

bool matchQuit(std::string const& line) { return line == "&\"Quit\\n\"\n"; }
