#include <unistd.h>

#include <boost/algorithm/string/replace.hpp>
#include <boost/make_shared.hpp>
#include <chrono>
#include <utility>

#include "base/compat.h"
#include "base/engine_id.h"
#include "base/log.h"
#include "commands/break_cmds.h"
#include "engine/ctrl_module.h"
#include "match/output_matchers.h"
#include "mi/mi_parser.h"
#include "session/mi_session.h"

namespace {

// Card engines' threads and libraries belong to the host program's group.
std::string userGroupOf(const std::string& zubId) {
  return isCardEngine(zubId) ? kHostEngineId : zubId;
}

std::string printed(const MiRecord& record) {
  std::string text;
  record.printToString(text);
  return text;
}

// The results of a notification line as a top-level map; null (logged) when there is none.
MiRecordPtr eventRecord(CtrlModule& ctrl, const std::string& line) {
  std::string text;
  if (!matchMiRecord(line, text)) {
    LOG_AT(ctrl) << "Event has no record: " << line;
    return {};
  }
  MiRecordPtr record;
  if (!parseMiRecord(text, record)) {
    LOG_AT(ctrl) << "Failed to parse event's record: " << line;
    return {};
  }
  if (!record->toMiMap()) {
    LOG_AT(ctrl) << "Conversion to 'MiMap' failed.";
    return {};
  }
  return record;
}

}  // namespace

void MiSession::handleThreadCreated(const std::string& zubId, const std::string& line,
                                    const std::string& eventClass) {
  MiRecordPtr record = eventRecord(ctrl, line);
  if (!record) return;
  MiMap& event = *record->toMiMap();
  event.setString("group-id", userGroupOf(zubId));
  std::string engineThreadId;
  if (!event.findString("id", engineThreadId)) {
    LOG_AT(ctrl) << "Field 'id' is missing: " << line;
    return;
  }
  std::string pid;
  // Stock gdb names the process only in its group's start; the compatible mode takes it there.
  const auto started = startedPids.find(zubId);
  if (!event.findString("pid", pid) && (!gdbCompatible() || started == startedPids.end())) {
    LOG_AT(ctrl) << "Field 'pid' is missing: " << line;
    return;
  }
  if (pid.empty() && started != startedPids.end()) pid = started->second;
  std::string userThreadId;
  threadIdTable.toExtThreadId(zubId, engineThreadId, userThreadId);
  event.setString("id", userThreadId);

  // Clients of gdb build their thread lists from these notices alone, so in gdb's mode they get
  // through the muting of an internal command too: a card engine's attach announces its threads.
  const bool muted = std::exchange(ctrl.muted, ctrl.muted && !gdbCompatible());
  MiMap& group = threadGroups.try_emplace(zubId, false).first->second;
  std::string groupPid;
  if (!group.findString("pid", groupPid)) {
    // Fields a spawned group already has keep their place: "id", "type", then "pid".
    group.topLevel = true;
    group.setString("id", zubId);
    group.setString("pid", pid);
    group.setString("type", "process");
    if (!isCardEngine(zubId)) ctrl.sendToUser("=thread-group-started," + printed(group) + "\n");
  }
  MiRecordPtr threads;
  if (!group.findRecord("threads", threads)) {
    threads = boost::make_shared<MiList>();
    group["threads"] = threads;
  }
  if (MiList* list = threads->toMiList()) list->elements.push_back(record);
  ctrl.sendToUser("=" + eventClass + "," + printed(event) + "\n");
  ctrl.muted = muted;
}

void MiSession::handleThreadGroupStarted(const std::string& zubId, const std::string& line) {
  MiRecordPtr record = eventRecord(ctrl, line);
  std::string pid;
  if (record && record->toMiMap()->findString("pid", pid)) startedPids[zubId] = pid;
  LOG_AT(ctrl) << "Ignoring event: " << line;
}

void MiSession::handleThreadExited(const std::string& zubId, const std::string& line,
                                   const std::string& eventClass) {
  MiRecordPtr record = eventRecord(ctrl, line);
  if (!record) return;
  MiMap& event = *record->toMiMap();
  std::string engineThreadId;
  if (!event.findString("id", engineThreadId)) {
    LOG_AT(ctrl) << "Failed to find thread id:" << printed(event);
    return;
  }
  std::string userThreadId;
  threadIdTable.toExtThreadId(zubId, engineThreadId, userThreadId);
  event.setString("id", userThreadId);
  event.setString("group-id", userGroupOf(zubId));

  MiMap& group = threadGroups.try_emplace(zubId, false).first->second;
  std::list<MiRecordPtr> threads;
  if (!group.findList("threads", threads)) {
    LOG_AT(ctrl) << "No thread found.";
    return;
  }
  bool found = false;
  for (auto it = threads.begin(); it != threads.end(); ++it) {
    const MiMap* thread = (*it)->toMiMap();
    std::string id;
    if (thread && thread->findString("id", id) && id == userThreadId) {
      threads.erase(it);
      found = true;
      break;
    }
  }
  if (!found) LOG_AT(ctrl) << "Failed to find thread.";
  group.setList("threads", threads);
  ctrl.sendToUser("=" + eventClass + "," + printed(event) + "\n");
  // The group keeps its "pid", so a later thread does not start it a second time.
  if (threads.empty() && !isCardEngine(zubId))
    ctrl.sendToUser("=thread-group-exited,id=\"" + zubId + "\"\n");
}

void MiSession::handleLibraryLoaded(const std::string& zubId, const std::string& line,
                                    const std::string& eventClass) {
  MiRecordPtr record = eventRecord(ctrl, line);
  if (!record) return;
  MiMap& event = *record->toMiMap();
  event.setString("group-id", userGroupOf(zubId));
  ctrl.sendToUser("=" + eventClass + "," + printed(event) + "\n");
}

void MiSession::handleBreakpointEvent(const std::string& zubId, const std::string& line,
                                      const std::string& eventClass) {
  std::string offloadSymbol;
  retrieveVekOffloadSymbol(offloadSymbol);
  if (line.find(offloadSymbol) != std::string::npos) {
    LOG_AT(ctrl) << "Ignoring event: " << line;
    return;
  }
  MiRecordPtr record = eventRecord(ctrl, line);
  if (!record) return;
  MiMap& event = *record->toMiMap();
  auto& numbers = breakPointTable.engineBreakpoints[zubId];
  std::string engineNumber, userNumber;
  if (eventClass == "breakpoint-deleted") {
    if (!event.findString("id", engineNumber) || !numbers.toExternal(engineNumber, userNumber)) {
      LOG_AT(ctrl) << "No user breakpoint for: " << line;
      return;
    }
    numbers.eraseInternal(engineNumber);
    event.setString("id", userNumber);
  } else {
    MiRecordPtr node;
    MiMap* bkpt = event.findRecord("bkpt", node) ? node->toMiMap() : nullptr;
    if (!bkpt || !bkpt->findString("number", engineNumber)) {
      LOG_AT(ctrl) << "No breakpoint number in: " << line;
      return;
    }
    if (!numbers.toExternal(engineNumber, userNumber)) {
      userNumber = breakPointTable.newBkpNumber();
      numbers.insert(userNumber, engineNumber);
    }
    bkpt->setString("number", userNumber);
    renumberLocations(*bkpt, engineNumber, userNumber);
  }
  ctrl.sendToUser("=" + eventClass + "," + printed(event) + "\n");
}

void MiSession::toUserBkpNumber(const std::string& zubId, MiMap& stopRecord) const {
  std::string engineNumber, userNumber;
  if (stopRecord.findString("bkptno", engineNumber) &&
      breakPointTable.toUserBkp(zubId, engineNumber, userNumber))
    stopRecord.setString("bkptno", userNumber);
}

void MiSession::handleUnexpectedCondition(const std::string& zubId, const std::string& line) {
  ctrl.sendToUser(line);
  if (!ctrl.findZub(zubId)) return;
  // The engine gets one second to finish writing its report, which ends at its prompt.
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(1);
  std::string next;
  for (;;) {
    if (ctrl.tryReceiveFromZub(zubId, next)) {
      if (matchGdbPrompt(next)) break;
      LOG_AT(ctrl) << zubId << " :" << next;
      ctrl.sendToUser(next);
      continue;
    }
    const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
        deadline - std::chrono::steady_clock::now());
    if (left.count() <= 0 || ctrl.hasEnded(zubId)) break;
    ctrl.waitForEvent(left + std::chrono::milliseconds(1));
  }
}

void MiSession::miConsole(const std::string& text) {
  static const std::string quote = "\"";
  static const std::string escapedQuote = "\\\"";
  static const std::string newline = "\n";
  static const std::string escapedNewline = "\\n";
  static const std::string recordStart = "~\"";
  static const std::string recordEnd = "\"\n";
  // Backslashes already in the text are kept as they are.
  std::string escaped = text;
  boost::algorithm::replace_all(escaped, quote, escapedQuote);
  boost::algorithm::replace_all(escaped, newline, escapedNewline);
  ctrl.sendToUser(recordStart + escaped + recordEnd);
}
