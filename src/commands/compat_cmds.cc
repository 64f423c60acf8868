#include "commands/compat_cmds.h"

#include <boost/make_shared.hpp>
#include <cstdlib>
#include <list>
#include <map>
#include <set>

#include "base/compat.h"
#include "base/log.h"
#include "commands/data_cmds.h"
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
      {"-thread-select", make<ThreadSelectCmd>},
  };
  return table;
}

// The last blank-separated word of `line`, or empty when that is the command word itself.
std::string lastArgument(const std::string& line) {
  const size_t end = line.find_last_not_of(" \t\r\n");
  if (end == std::string::npos) return "";
  const size_t blank = line.find_last_of(" \t", end);
  if (blank == std::string::npos) return "";
  return line.substr(blank + 1, end - blank);
}

// The offload breakpoint is the program's own, never the user's.
bool isOffloadBkp(const MiSession& session, const std::string& userNumber) {
  std::string symbol;
  MiSession::retrieveVekOffloadSymbol(symbol);
  auto line = session.breakPointTable.breakpointCmds.find(userNumber);
  return line != session.breakPointTable.breakpointCmds.end() &&
         line->second == "-break-insert -f " + symbol + "\n";
}

// A row in the user's number: its own "number" and its locations' "N.1", "N.2"..., which
// follow as further tuples or sit in a "locations" list.
void renumberRow(MiMap& bkpt, const std::string& engineNumber, const std::string& userNumber) {
  bkpt.setString("number", userNumber);
  std::list<MiRecordPtr> locations = bkpt.moreTuples;
  bkpt.findList("locations", locations);
  const std::string prefix = engineNumber + ".";
  for (const MiRecordPtr& element : locations) {
    MiMap* location = element->toMiMap();
    std::string number;
    if (location && location->findString("number", number) && number.starts_with(prefix))
      location->setString("number", userNumber + number.substr(engineNumber.size()));
  }
}

// Adds one engine's "bkpt" row to `rows` (user number to row); a number already there only
// adds its hits.
void addBkpRow(MiSession& session, const std::string& zubId, const MiRecordPtr& element,
               std::map<unsigned long, MiRecordPtr>& rows) {
  const MiPair* pair = element->toMiPair();
  MiMap* bkpt = pair ? pair->value->toMiMap() : nullptr;
  std::string engineNumber, userNumber;
  if (!bkpt || !bkpt->findString("number", engineNumber)) {
    LOG_AT(session.ctrl) << "Skipping breakpoint row without number from " << zubId;
    return;
  }
  const auto& engines = session.breakPointTable.engineBreakpoints;
  auto engine = engines.find(zubId);
  if (engine == engines.end() || !engine->second.toExternal(engineNumber, userNumber) ||
      isOffloadBkp(session, userNumber))
    return;
  auto [row, isNew] = rows.try_emplace(std::strtoul(userNumber.c_str(), nullptr, 10), element);
  if (isNew) {
    renumberRow(*bkpt, engineNumber, userNumber);
    return;
  }
  MiMap* first = row->second->toMiPair()->value->toMiMap();
  std::string times, moreTimes;
  if (first->findString("times", times) && bkpt->findString("times", moreTimes))
    first->setString("times", std::to_string(std::strtoul(times.c_str(), nullptr, 10) +
                                             std::strtoul(moreTimes.c_str(), nullptr, 10)));
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
  std::map<unsigned long, MiRecordPtr> rows;
  for (const auto& [zubId, result] : results) {
    MiRecordPtr table;
    std::list<MiRecordPtr> body;
    if (resultClasses[zubId] != "done" || !result.findRecord("BreakpointTable", table) ||
        !table->toMiMap() || !table->toMiMap()->findList("body", body)) {
      LOG_AT(session.ctrl) << "No breakpoint table from " << zubId;
      continue;
    }
    if (!head) head = table;
    for (const MiRecordPtr& element : body) addBkpRow(session, zubId, element, rows);
  }
  if (!head) return replyFromOneEngine(session, false);
  std::list<MiRecordPtr> body;
  for (const auto& [number, row] : rows) body.push_back(row);
  head->toMiMap()->setString("nr_rows", std::to_string(body.size()));
  head->toMiMap()->setList("body", body);
  MiMap record(true);
  record["BreakpointTable"] = head;
  std::string printed;
  record.printToString(printed);
  reply(session, "^done," + printed);
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
    reply(session, "^error,msg=\"-thread-select: USAGE: threadnum.\"");
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
