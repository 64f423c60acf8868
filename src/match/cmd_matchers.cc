#include "match/cmd_matchers.h"

#include <boost/regex.hpp>
#include <cerrno>
#include <climits>
#include <cstdlib>

#include "match/regex_util.h"

bool matchMiAsyncSet(std::string const& command, bool& on) {
  static const boost::regex re(R"(^[0-9]*-gdb-set\s+(?:mi|target)-async\s+(on|1|off|0)\s*$)");
  std::string value;
  if (!searchGroups(re, command, {&value})) return false;
  on = value == "on" || value == "1";
  return true;
}

bool matchCmdId(std::string& token, std::string const& command) {
  static const boost::regex re(R"(^([0-9]+))");
  return searchGroups(re, command, {&token});
}

bool matchCmdName(std::string& name, std::string const& command) {
  static const boost::regex re(R"(^[0-9]*([-|a-z]+))");
  return searchGroups(re, command, {&name});
}

bool matchTokenAndRest(std::string const& command, std::string& token, std::string& rest) {
  static const boost::regex re(R"(^[ \t]*([0-9]*)[ \t]*([^\n]*))");
  return searchGroups(re, command, {&token, &rest});
}

bool matchCmdThreadId(std::string& threadId, std::string const& command) {
  static const boost::regex re(R"(--thread[[:space:]]+([0-9]+))");
  return searchGroups(re, command, {&threadId});
}

bool matchCmdThreadGroupId(std::string& groupId, std::string const& command) {
  static const boost::regex re(R"(--thread-group[[:space:]]+([0-9|a-z|A-Z|_]*))");
  return searchGroups(re, command, {&groupId});
}

bool matchThreadInfo(std::string const& command, std::string& threadId) {
  static const boost::regex re(R"(-thread-info[[:space:]]+([0-9]*))");
  return searchGroups(re, command, {&threadId});
}

bool matchBkpId(std::string const& command, std::string& number) {
  static const boost::regex re(R"(([0-9]*)\s+$)");
  return searchGroups(re, command, {&number});
}

bool matchBkpIds(std::string const& command, std::list<std::string>& numbers) {
  static const boost::regex re(R"((?<=\s)[0-9]+(?=\s))");
  const std::string::size_type start = command.find_first_of(" \t");
  if (start == std::string::npos) return false;
  std::list<std::string> found;
  try {
    for (boost::sregex_iterator it(command.begin() + start, command.end(), re), end; it != end;
         ++it)
      found.push_back(it->str());
  } catch (const std::exception&) {
    return false;
  }
  if (found.empty()) return false;
  numbers.splice(numbers.end(), found);
  return true;
}

bool matchBkpCondId(std::string const& command, std::string& number) {
  static const boost::regex re(R"(^[0-9]*-break-[a-z]+\s+(?:--\S+\s+\S+\s)?\s*([0-9]*)\s+)");
  return searchGroups(re, command, {&number});
}

bool matchVarCreate(std::string const& command, std::string& name) {
  static const boost::regex re(
      R"(^[0-9]*-var-create\s+(?:--thread\s+[0-9]+\s+)?(?:--frame\s+[0-9]+\s+)?(-|[a-z|A-Z|0-9|_]+))");
  return searchGroups(re, command, {&name});
}

bool matchVarObjId(std::string const& command, std::string& name) {
  static const boost::regex re(
      R"(\S+\s+(?:--no-values\s+|--all-values\s+|--simple-values\s+|0\s+|1\s+|2\s+)?([a-z|A-Z|0-9|_]+|\*))");
  return searchGroups(re, command, {&name});
}

bool matchInfoCmd(std::string const& command, std::string& subcommand) {
  static const boost::regex re(R"(^[\d]*info\s+([a-z|A-Z]+))");
  return searchGroups(re, command, {&subcommand});
}

bool matchInferiorId(std::string const& command, std::string& groupId) {
  static const boost::regex re(R"(-remove-inferior\s+([a-z|A-Z|_|0-9]+)\s+$)");
  return searchGroups(re, command, {&groupId});
}

bool matchSourceCmd(std::string const& command, std::string& fileName) {
  static const boost::regex re(R"(source\s+(\S+)\s+$)");
  return searchGroups(re, command, {&fileName});
}

bool matchZubCondPrintCmd(std::string const& command, std::string& first, std::string& second,
                          std::string& third) {
  static const boost::regex re(
      R"(\s+((?:\"[^\"]*\")|(?:[^\"\s]+))\s+((?:\"[^\"]*\")|(?:[^\"\s]+))\s+((?:\"[^\"]*\")|(?:[^\"\s]+))$)");
  return searchGroups(re, command, {&first, &second, &third});
}

bool matchConsoleCmd(std::string const& command, std::string& word, std::string& rest) {
  static const boost::regex re(
      R"(^[0-9]*-interpreter-exec((?:\s+--(?:thread|thread-group|frame)\s+[^\s"]+)*)\s+console\s+(?:"\s*([a-z]+)(?:\s+([^"\\]*?))?\s*"|([a-z]+))\s*$)");
  boost::smatch m;
  if (!searchText(re, command, m)) return false;
  word = m[2].matched ? m[2].str() : m[4].str();
  rest = m[1].str() + (m[3].length() > 0 ? " " + m[3].str() : "");
  return true;
}

bool matchListThreadGroups(std::string const& command, bool& available,
                           std::set<std::string>& groups) {
  static const boost::regex lineRe(
      R"(^[0-9]*-list-thread-groups[[:space:]]*(--available)*[[:space:]]*([a-z|A-Z|0-9]+[[:space:]])*)");
  static const boost::regex idRe(R"(([a-z|A-Z|0-9|_]+))");
  available = false;
  boost::smatch m;
  if (!searchText(lineRe, command, m)) return false;
  // Both groups repeat, so each holds its last repetition only: of several ids just the last
  // one followed by white space is seen.
  for (int group : {1, 2}) {
    std::string text = m[group].str();
    std::string id;
    if (text == "--available")
      available = true;
    else if (searchGroups(idRe, text, {&id}))
      groups.insert(id);
  }
  return true;
}

namespace {

// Decimal digits as an unsigned int; false when the value does not fit.
bool toRegisterNumber(std::string const& digits, unsigned int& value) {
  errno = 0;
  unsigned long parsed = std::strtoul(digits.c_str(), nullptr, 10);
  if (errno == ERANGE || parsed > UINT_MAX) return false;
  value = static_cast<unsigned int>(parsed);
  return true;
}

}  // namespace

// The library is built without per-repetition captures, so the full pattern only tells where the
// repetitions of group 1 end (the end of its last one); they start right after the format letter.
// Inside that span each repetition is a maximal blank run followed by a maximal digit run: blanks
// and digits are disjoint, and the span ends at the end of a digit run. Walking the span with the
// repetition's own sub-pattern, anchored at the previous end, therefore yields exactly the
// repetitions the library chose, also when it backtracked to fewer of them to reach a line end.
bool matchRegisterList(std::string const& command, std::list<unsigned int>& registers) {
  static const boost::regex listRe(R"([x|o|t|d|r|N](\s+[\d]+)*\s*$)");
  static const boost::regex repetitionRe(R"(\s+[\d]+)");
  static const boost::regex numberRe(R"(([\d]+))");
  boost::smatch m;
  if (!searchText(listRe, command, m)) return false;
  std::list<unsigned int> found;
  if (m[1].matched) {
    try {
      auto at = m[0].first + 1;
      const auto end = m[1].second;
      boost::smatch repetition;
      while (at != end) {
        if (!boost::regex_search(at, end, repetition, repetitionRe, boost::match_continuous))
          return false;  // cannot happen: the span is made of repetitions
        std::string digits;
        unsigned int value = 0;
        if (!searchGroups(numberRe, repetition[0].str(), {&digits}) ||
            !toRegisterNumber(digits, value))
          return false;
        found.push_back(value);
        at = repetition[0].second;
      }
      if (repetition[0].first != m[1].first)
        return false;  // the last piece must be the library's last repetition
    } catch (const std::exception&) {
      return false;
    }
  }
  registers.splice(registers.end(), found);
  return true;
}

void replaceCmdThreadId(std::string const& command, std::string const& replacement,
                        std::string& out) {
  static const boost::regex re(R"(--thread[[:space:]]+[0-9]+)");
  out = replaceAll(re, command, replacement);
}

void replaceCmdThreadGroupId(std::string const& command, std::string const& replacement,
                             std::string& out) {
  static const boost::regex re(R"(--thread-group[[:space:]]+[0-9|a-z|A-Z|_]+)");
  out = replaceAll(re, command, replacement);
}

void replaceTag(std::string& text, std::string const& pattern, std::string const& replacement) {
  const boost::regex re(pattern);  // an invalid pattern throws to the caller
  text = replaceAll(re, text, replacement);
}

bool replaceBkpCondId(std::string const& command, std::string const& number, std::string& out) {
  static const boost::regex re(R"(^([0-9]*-break-[a-z]+\s+(?:--\S+\s+\S+\s)?\s*)(\d+\s)(.*$))");
  boost::smatch m;
  if (!searchText(re, command, m)) return false;
  out = m[1].str() + number + " " + m[3].str();
  return true;
}

bool replaceVarCreateObjId(std::string const& command, std::string const& name, std::string& out) {
  static const boost::regex re(
      R"(^([0-9]*-var-create\s+(?:--thread\s+[0-9]+\s+)?(?:--frame\s+[0-9]+\s+)?)(-\s|[a-z|A-Z|0-9|_]+\s)(.*$))");
  boost::smatch m;
  if (!searchText(re, command, m)) return false;
  out = m[1].str() + name + " " + m[3].str();
  return true;
}

void replaceRegisterList(std::string const& command, std::list<unsigned int> const& registers,
                         std::string& out) {
  static const boost::regex re(R"((.*[x|o|t|d|r|N])(\s+[\d]+)*\s*$)");
  boost::smatch m;
  if (!searchText(re, command, m)) return;
  std::string spliced = m[1].str();
  for (unsigned int number : registers) {
    spliced += ' ';
    spliced += std::to_string(number);
  }
  out = spliced + "\n";
}
