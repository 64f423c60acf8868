#include "commands/break_cmds.h"

#include <list>
#include <set>
#include <string_view>

#include "base/compat.h"
#include "base/log.h"
#include "base/silencer.h"
#include "commands/errors.h"
#include "engine/ctrl_module.h"
#include "match/cmd_matchers.h"
#include "match/output_matchers.h"
#include "session/mi_session.h"

namespace {

// The user numbers the line names: the last word's, or in gdb's mode every number given.
bool findBkpNumbers(const std::string& line, std::list<std::string>& numbers) {
  if (gdbCompatible()) return matchBkpIds(line, numbers);
  std::string number;
  if (!matchBkpId(line, number) || number.empty()) return false;
  numbers.push_back(number);
  return true;
}

// Sends `verb` with its own numbers to every engine that holds a breakpoint the line names,
// applies `change` to the table right away (before any engine answered, whether or not any
// engine holds the breakpoint), and answers at once when no engine was asked.
void launchOnBkpNumber(SimpleMiCmd& cmd, MiSession& session, const std::string& verb,
                       void (*change)(BreakPointTable& table, const std::string& number)) {
  CtrlModule& ctrl = session.ctrl;
  std::list<std::string> numbers;
  if (!findBkpNumbers(cmd.cmdText, numbers)) {
    reportBreakpointNumberMissingError(ctrl, cmd.cmdId());
    return;
  }
  std::set<std::string> zubIds;
  ctrl.getZubIds(zubIds);
  for (const std::string& zubId : zubIds) {
    std::string engineNumbers;
    for (const std::string& number : numbers) {
      std::string engineNumber;
      if (session.breakPointTable.toEngineBkp(zubId, number, engineNumber))
        engineNumbers += (engineNumbers.empty() ? "" : " ") + engineNumber;
    }
    if (engineNumbers.empty()) continue;
    ctrl.sendToZub(zubId, cmd.cmdId() + verb + engineNumbers + "\n");
    cmd.pendingZubIds.insert(zubId);
  }
  for (const std::string& number : numbers) change(session.breakPointTable, number);
  if (cmd.pendingZubIds.empty()) cmd.reply(session, "^done");
}

// Takes back a breakpoint that engine `zubId` holds under `number`; the engine's answer is only
// logged.
class EngineBkpDeleteCmd : public SimpleMiCmd {
 public:
  EngineBkpDeleteCmd(const std::string& token, const std::string& zubId, const std::string& number)
      : SimpleMiCmd(token + "-break-delete " + number + "\n"), zubId(zubId) {}
  bool launchCmd(MiSession& session) override {
    sendToGroup(session, zubId, cmdText);
    return true;
  }
  bool replyToUser(MiSession&) override { return true; }

 private:
  std::string zubId;
};

// The engine's breakpoint number in a record that cannot be parsed: the first field "number"
// (which gdb writes first in "bkpt") with a decimal value.
bool findUnreadBkpNumber(const std::string& text, std::string& number) {
  static constexpr std::string_view kField = "number=\"";
  for (size_t at = text.find(kField); at != std::string::npos; at = text.find(kField, at + 1)) {
    if (at > 0 && text[at - 1] != '{' && text[at - 1] != ',') continue;
    const size_t start = at + kField.size();
    const size_t end = text.find_first_not_of("0123456789", start);
    if (end == start || end == std::string::npos || text[end] != '"') continue;
    number = text.substr(start, end - start);
    return true;
  }
  return false;
}

}  // namespace

void renumberLocations(MiMap& bkpt, const std::string& engineNumber,
                       const std::string& userNumber) {
  const std::string prefix = engineNumber + ".";
  for (const MiRecordPtr& tuple : bkpt.moreTuples) {
    MiMap* location = tuple->toMiMap();
    std::string number;
    if (location && location->findString("number", number) && number.starts_with(prefix))
      location->setString("number", userNumber + number.substr(engineNumber.size()));
  }
}

BreakInsertCmd::BreakInsertCmd(const std::string& line, bool silent)
    : SimpleMiCmd(line), silent(silent) {}

bool BreakInsertCmd::launchCmd(MiSession& session) {
  CtrlModule& ctrl = session.ctrl;
  ctrl.muted = false;
  // The breakpoint is set in every engine, whatever thread or group the user named.
  std::string line = cmdText;
  if (!threadId.empty())
    replaceCmdThreadId(cmdText, "", line);
  else if (!threadGroupId.empty())
    replaceCmdThreadGroupId(cmdText, "", line);
  // Clients of the gdb-compatible mode never ask for a pending breakpoint, yet code that only a
  // card runs is not loaded anywhere when its breakpoint is set: every insert may be pending.
  if (gdbCompatible() && line.find(" -f ") == std::string::npos) {
    const size_t word = line.find(cmdName);
    if (word != std::string::npos) line.insert(word + cmdName.size(), " -f");
  }
  if (!sendToEveryEngine(session, line)) return false;
  // With no engine at all nobody will answer: say so rather than stay silent.
  if (pendingZubIds.empty()) return replyToUser(session);
  return true;
}

bool BreakInsertCmd::handleResponse(MiSession& session, const std::string& zubId,
                                    const std::string& line) {
  if (silent && (line.starts_with("~") || line.starts_with("&"))) {
    LOG_AT(session.ctrl) << "Ignoring input (" << line << ") from " << zubId << ".";
    return true;
  }
  std::string resultClass, text;
  if (pendingZubIds.contains(zubId) && matchMiResultType(line, resultClass) &&
      matchMiRecord(line, text))
    answerTexts[zubId] = text;
  return SimpleMiCmd::handleResponse(session, zubId, line);
}

void BreakInsertCmd::dropUnreadBkp(MiSession& session, const std::string& zubId,
                                   const std::string& text) {
  std::string engineNumber;
  if (!findUnreadBkpNumber(text, engineNumber)) {
    LOG_AT(session.ctrl) << "Failed to find breakpoint number in: " << zubId;
    return;
  }
  LOG_AT(session.ctrl) << "Deleting unread breakpoint " << engineNumber << " in: " << zubId;
  EngineBkpDeleteCmd drop(cmdId(), zubId, engineNumber);
  Silencer quiet(session.ctrl.muted);
  if (!session.runCmd(drop)) LOG_AT(session.ctrl) << "Failed to run command: " << drop.cmdText;
}

bool BreakInsertCmd::recordEngineBkp(MiSession& session, const std::string& zubId) {
  CtrlModule& ctrl = session.ctrl;
  MiRecordPtr node;
  MiMap* bkpt = nullptr;
  auto result = results.find(zubId);
  if (result != results.end() && result->second.findRecord("bkpt", node)) bkpt = node->toMiMap();
  if (!bkpt) {
    LOG_AT(ctrl) << "Failed to find bkpt map in: " << zubId;
    return false;
  }
  std::string engineNumber;
  if (!bkpt->findString("number", engineNumber)) {
    LOG_AT(ctrl) << "Failed to find breakpoint number in: " << zubId;
    return false;
  }
  BreakPointTable& table = session.breakPointTable;
  if (userBkpId.empty()) userBkpId = table.newBkpNumber();
  if (!table.recordBkp(zubId, engineNumber, userBkpId, cmdText)) {
    LOG_AT(ctrl) << "Failed to insert breakpoint (" << userBkpId << ").";
    return false;
  }
  // The tuple is shared with the stored result, so the reply shows the user's number.
  bkpt->setString("number", userBkpId);
  renumberLocations(*bkpt, engineNumber, userBkpId);
  return true;
}

bool BreakInsertCmd::replyToUser(MiSession& session) {
  CtrlModule& ctrl = session.ctrl;
  // An engine whose acceptance cannot be read takes no part in the reply.
  for (const auto& [zubId, text] : answerTexts) {
    auto answer = resultClasses.find(zubId);
    if (answer == resultClasses.end() || answer->second != "done" || results.contains(zubId))
      continue;
    dropUnreadBkp(session, zubId, text);
    resultClasses.erase(answer);
  }
  ctrl.muted = silent;
  std::string replyZubId, errorZubId;
  for (const auto& [zubId, resultClass] : resultClasses) {
    if (resultClass == "done" && recordEngineBkp(session, zubId))
      replyZubId = zubId;
    else if (resultClass == "error")
      errorZubId = zubId;
  }
  if (!replyZubId.empty()) {
    replyWith(session, "^done", results.at(replyZubId));
  } else if (!errorZubId.empty()) {
    replyWithResultsOf(session, "^error", errorZubId);
  } else {
    reportInternalError(ctrl, cmdId());
  }
  ctrl.muted = false;
  return true;
}

bool BreakDeleteCmd::launchCmd(MiSession& session) {
  launchOnBkpNumber(
      *this, session, "-break-delete ",
      [](BreakPointTable& table, const std::string& number) { table.deleteBkp(number); });
  return true;
}

// Engines' own answers to the number commands (delete, enable, disable, condition) are not
// passed on: the table already changed.
bool BreakDeleteCmd::replyToUser(MiSession& session) {
  reply(session, "^done");
  return true;
}

bool BreakEnableCmd::launchCmd(MiSession& session) {
  launchOnBkpNumber(*this, session, "-break-enable ",
                    [](BreakPointTable& table, const std::string& number) {
                      table.disabledBreakpoints.erase(number);
                    });
  return true;
}

bool BreakEnableCmd::replyToUser(MiSession& session) {
  reply(session, "^done");
  return true;
}

bool BreakDisableCmd::launchCmd(MiSession& session) {
  launchOnBkpNumber(*this, session, "-break-disable ",
                    [](BreakPointTable& table, const std::string& number) {
                      table.disabledBreakpoints.insert(number);
                    });
  return true;
}

bool BreakDisableCmd::replyToUser(MiSession& session) {
  reply(session, "^done");
  return true;
}

bool BreakConditionCmd::launchCmd(MiSession& session) {
  CtrlModule& ctrl = session.ctrl;
  std::string number;
  if (!matchBkpCondId(cmdText, number) || number.empty()) {
    reportBreakpointNumberMissingError(ctrl, cmdId());
    return true;
  }
  std::string line = cmdText;
  if (!threadGroupId.empty()) replaceCmdThreadGroupId(cmdText, "", line);
  std::set<std::string> zubIds;
  ctrl.getZubIds(zubIds);
  for (const std::string& zubId : zubIds) {
    std::string engineNumber;
    if (!session.breakPointTable.toEngineBkp(zubId, number, engineNumber)) continue;
    // Each engine's line is made from the previous one; the number sits in the same place.
    std::string engineLine = line;
    replaceBkpCondId(line, engineNumber, engineLine);
    line = engineLine;
    // A number with nothing after it ("-break-condition 1" clears a condition) takes the line
    // end with it; engines act only on complete lines, and a partial one would swallow the next.
    if (!line.ends_with('\n')) line += '\n';
    ctrl.sendToZub(zubId, line);
    pendingZubIds.insert(zubId);
  }
  if (pendingZubIds.empty()) reply(session, "^done");
  return true;
}

bool BreakConditionCmd::replyToUser(MiSession& session) {
  reply(session, "^done");
  return true;
}
