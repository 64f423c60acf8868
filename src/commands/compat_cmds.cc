#include "commands/compat_cmds.h"

#include <boost/make_shared.hpp>
#include <cstdlib>
#include <list>
#include <map>
#include <set>

#include "base/compat.h"
#include "base/log.h"
#include "commands/data_cmds.h"
#include "commands/errors.h"
#include "engine/ctrl_module.h"

namespace {

using CompatFactory = MiCmdPtr (*)(const std::string& line);

template <typename Cmd>
MiCmdPtr make(const std::string& line) {
  return boost::make_shared<Cmd>(line);
}

// Exact command words, as the ordinary table has them; one sorted line each.
const std::map<std::string, CompatFactory>& compatTable() {
  static const std::map<std::string, CompatFactory> table = {
      {"-break-list", make<BreakListCmd>},
      {"-break-watch", make<BreakWatchCmd>},
      {"-data-read-memory-bytes", make<DataCmd>},
      {"-data-write-memory-bytes", make<DataCmd>},
      {"-enable-pretty-printing", make<GdbSetUnsetCmd>},
      {"-exec-arguments", make<EnvironmentCmd>},
      {"-file-list-exec-source-file", make<EngineQueryCmd>},
      {"-file-list-exec-source-files", make<EngineQueryCmd>},
      {"-gdb-show", make<EngineQueryCmd>},
      {"-gdb-version", make<EngineQueryCmd>},
      {"-list-features", make<CompatListFeaturesCmd>},
      {"-list-target-features", make<EngineQueryCmd>},
      {"-stack-info-frame", make<StackCmd>},
      {"-stack-list-variables", make<StackCmd>},
      {"-stack-select-frame", make<StackCmd>},
      {"-symbol-info-functions", make<EngineQueryCmd>},
      {"-target-select", make<EngineQueryCmd>},
      {"-thread-select", make<ThreadSelectCmd>},
  };
  return table;
}

// The last blank-separated word of `line`, or empty when that is the command word itself (or
// an option).
std::string lastArgument(const std::string& line) {
  const size_t end = line.find_last_not_of(" \t\r\n");
  if (end == std::string::npos) return "";
  const size_t blank = line.find_last_of(" \t", end);
  if (blank == std::string::npos || line[blank + 1] == '-') return "";
  return line.substr(blank + 1, end - blank);
}

// The user number of engine `zubId`'s breakpoint `engineNumber`; false for one the user never
// made: unknown to the table, or the offload breakpoint, which is the program's own.
bool findUserBkp(const MiSession& session, const std::string& zubId,
                 const std::string& engineNumber, std::string& userNumber) {
  const BreakPointTable& table = session.breakPointTable;
  auto engine = table.engineBreakpoints.find(zubId);
  std::string number, symbol;
  if (engine == table.engineBreakpoints.end() || !engine->second.toExternal(engineNumber, number))
    return false;
  MiSession::retrieveVekOffloadSymbol(symbol);
  auto line = table.breakpointCmds.find(number);
  if (line != table.breakpointCmds.end() && line->second == "-break-insert -f " + symbol + "\n")
    return false;
  userNumber = number;
  return true;
}

// Locations are numbered "N.1", "N.2"... after their breakpoint's number N.
void renumberLocation(MiRecord& node, const std::string& engineNumber,
                      const std::string& userNumber) {
  MiMap* location = node.toMiMap();
  std::string number;
  if (location && location->findString("number", number) && number.starts_with(engineNumber + "."))
    location->setString("number", userNumber + number.substr(engineNumber.size()));
}

// Locations follow their row in the body list, or (in newer MI) sit in its "locations" list.
void renumberRow(MiMap& bkpt, const std::string& engineNumber, const std::string& userNumber) {
  bkpt.setString("number", userNumber);
  std::list<MiRecordPtr> locations;
  bkpt.findList("locations", locations);
  for (const MiRecordPtr& location : locations)
    renumberLocation(*location, engineNumber, userNumber);
}

// User number to the row: its "bkpt" result, then the location tuples that follow it in the
// body list.
using BkpRows = std::map<unsigned long, std::list<MiRecordPtr>>;

// Adds the rows of one engine's body; a breakpoint already there only adds its hits.
void addBkpRows(MiSession& session, const std::string& zubId, const std::list<MiRecordPtr>& body,
                BkpRows& rows) {
  std::list<MiRecordPtr>* row = nullptr;  // the new row that bare tuples join
  std::string engineNumber, userNumber;
  for (const MiRecordPtr& element : body) {
    if (element->toMiMap()) {
      if (row) {
        renumberLocation(*element, engineNumber, userNumber);
        row->push_back(element);
      }
      continue;
    }
    row = nullptr;
    const MiPair* pair = element->toMiPair();
    MiMap* bkpt = pair ? pair->value->toMiMap() : nullptr;
    if (!bkpt || !bkpt->findString("number", engineNumber) ||
        !findUserBkp(session, zubId, engineNumber, userNumber))
      continue;
    auto [found, isNew] = rows.try_emplace(std::strtoul(userNumber.c_str(), nullptr, 10));
    if (isNew) {
      renumberRow(*bkpt, engineNumber, userNumber);
      row = &found->second;
      row->push_back(element);
      continue;
    }
    MiMap* first = found->second.front()->toMiPair()->value->toMiMap();
    std::string times, moreTimes;
    if (first->findString("times", times) && bkpt->findString("times", moreTimes))
      first->setString("times", std::to_string(std::strtoul(times.c_str(), nullptr, 10) +
                                               std::strtoul(moreTimes.c_str(), nullptr, 10)));
  }
}

// gdb's own: only the features whose commands and options the program passes on.
const std::set<std::string>& servedFeatures() {
  static const std::set<std::string> features = {
      "breakpoint-notifications",
      "data-disassemble-a-option",
      "data-read-memory-bytes",
      "exec-run-start-option",
      "language-option",
      "pending-breakpoints",
      "thread-info",
      "undefined-command-error-code",
  };
  return features;
}

}  // namespace

bool parseCompatCmd(const std::string& word, const std::string& line, MiCmdQueue& queue) {
  if (!gdbCompatible()) return false;
  auto row = compatTable().find(word);
  if (row == compatTable().end()) return false;
  queue.push_back(row->second(line));
  return true;
}

bool BreakListCmd::launchCmd(MiSession& session) {
  if (!sendToEveryEngine(session, cmdId() + "-break-list\n")) return false;
  if (pendingZubIds.empty()) return replyToUser(session);
  return true;
}

bool BreakListCmd::replyToUser(MiSession& session) {
  MiRecordPtr head;
  BkpRows rows;
  for (const auto& [zubId, result] : results) {
    MiRecordPtr table;
    std::list<MiRecordPtr> body;
    if (resultClasses[zubId] != "done" || !result.findRecord("BreakpointTable", table) ||
        !table->toMiMap() || !table->toMiMap()->findList("body", body)) {
      LOG_AT(session.ctrl) << "No breakpoint table from " << zubId;
      continue;
    }
    if (!head) head = table;
    addBkpRows(session, zubId, body, rows);
  }
  if (!head) return replyFromOneEngine(session, false);
  std::list<MiRecordPtr> body;
  for (const auto& [number, row] : rows) body.insert(body.end(), row.begin(), row.end());
  head->toMiMap()->setString("nr_rows", std::to_string(rows.size()));
  head->toMiMap()->setList("body", body);
  MiMap record(true);
  record["BreakpointTable"] = head;
  replyWith(session, "^done", record);
  return true;
}

bool BreakWatchCmd::launchCmd(MiSession& session) { return sendToOneEngine(session); }

bool BreakWatchCmd::replyToUser(MiSession& session) {
  if (resultClasses.size() != 1 || resultClasses.begin()->second != "done")
    return replyFromOneEngine(session, true);
  const std::string& zubId = resultClasses.begin()->first;
  auto result = results.find(zubId);
  for (const char* key : {"wpt", "hw-rwpt", "hw-awpt"}) {
    MiRecordPtr node;
    std::string engineNumber;
    if (result == results.end() || !result->second.findRecord(key, node) || !node->toMiMap() ||
        !node->toMiMap()->findString("number", engineNumber))
      continue;
    BreakPointTable& table = session.breakPointTable;
    std::string userNumber = table.newBkpNumber();
    if (table.recordBkp(zubId, engineNumber, userNumber, cmdText))
      table.breakpointCmds.erase(userNumber);
    node->toMiMap()->setString("number", userNumber);
    return replyFromOneEngine(session, true);
  }
  LOG_AT(session.ctrl) << "Failed to find watchpoint number in: " << zubId;
  return replyFromOneEngine(session, true);
}

bool ThreadSelectCmd::launchCmd(MiSession& session) {
  const std::string userThreadId = lastArgument(cmdText);
  if (userThreadId.empty()) {
    reportThreadSelectUsageError(session.ctrl, cmdId());
    return true;
  }
  std::string zubId, engineThreadId;
  if (!findThread(session, userThreadId, zubId, engineThreadId)) return true;
  sendToGroup(session, zubId, cmdId() + "-thread-select " + engineThreadId + "\n");
  if (!pendingZubIds.empty()) session.currentZubId = zubId;
  return true;
}

bool ThreadSelectCmd::replyToUser(MiSession& session) {
  for (auto& [zubId, result] : results) {
    std::string engineThreadId, userThreadId;
    if (!result.findString("new-thread-id", engineThreadId)) continue;
    session.threadIdTable.toExtThreadId(zubId, engineThreadId, userThreadId);
    result.setString("new-thread-id", userThreadId);
  }
  return replyFromOneEngine(session, true);
}

bool EngineQueryCmd::launchCmd(MiSession& session) { return sendToOneEngine(session); }

bool EngineQueryCmd::replyToUser(MiSession& session) { return replyFromOneEngine(session, true); }

bool CompatListFeaturesCmd::replyToUser(MiSession& session) {
  for (auto& [zubId, result] : results) {
    std::list<MiRecordPtr> features;
    if (!result.findList("features", features)) continue;
    std::erase_if(features, [](const MiRecordPtr& feature) {
      const MiString* name = feature->toMiString();
      return !name || !servedFeatures().contains(name->value);
    });
    result.setList("features", features);
  }
  return ListFeaturesCmd::replyToUser(session);
}
