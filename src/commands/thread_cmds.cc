#include "commands/thread_cmds.h"

#include <boost/make_shared.hpp>
#include <cstdlib>
#include <map>
#include <set>

#include "base/compat.h"
#include "base/engine_id.h"
#include "base/log.h"
#include "commands/errors.h"
#include "engine/ctrl_module.h"
#include "match/cmd_matchers.h"
#include "session/mi_session.h"

namespace {

// Every engine's "threads" tuples, ordered by user thread id; a later tuple with the same id
// replaces an earlier one. With `setCore`, each tuple tells where its thread runs. Malformed
// elements are logged and left out.
std::map<unsigned long, MiRecordPtr> mergeThreads(MiSession& session,
                                                  const std::map<std::string, MiMap>& results,
                                                  bool setCore) {
  CtrlModule& ctrl = session.ctrl;
  std::map<unsigned long, MiRecordPtr> merged;
  for (const auto& [zubId, record] : results) {
    std::list<MiRecordPtr> threads;
    if (!record.findList("threads", threads)) {
      std::string printed;
      record.printToString(printed);
      LOG_AT(ctrl) << "Filed 'threads' not found (" << printed << ").";
      continue;
    }
    std::string core = "local", card;
    auto group = session.threadGroups.find(zubId);
    if (group != session.threadGroups.end() && group->second.findString("vek-card", card))
      core = "vek" + card;
    for (const MiRecordPtr& element : threads) {
      MiMap* thread = element ? element->toMiMap() : nullptr;
      std::string id;
      if (!element) {
        LOG_AT(ctrl) << "Skipping NULL pointer.";
      } else if (!thread) {
        LOG_AT(ctrl) << "Skipping record that is not a MiMap.";
      } else if (!thread->findString("id", id)) {
        LOG_AT(ctrl) << "Skipping record without 'id'.";
      } else {
        if (setCore) thread->setString("core", core);
        merged[std::strtoul(id.c_str(), nullptr, 10)] = element;
      }
    }
  }
  return merged;
}

// Answers "^done" with a record holding only the list `name`.
void replyWithList(MiCmd& cmd, MiSession& session, const std::string& name,
                   const std::list<MiRecordPtr>& items) {
  MiMap record(true);
  record.setList(name, items);
  cmd.replyWith(session, "^done", record);
}

void replyWithThreads(MiCmd& cmd, MiSession& session,
                      const std::map<unsigned long, MiRecordPtr>& merged) {
  std::list<MiRecordPtr> threads;
  for (const auto& [id, thread] : merged) threads.push_back(thread);
  replyWithList(cmd, session, "threads", threads);
}

}  // namespace

bool ThreadInfoCmd::launchCmd(MiSession& session) {
  CtrlModule& ctrl = session.ctrl;
  std::string userThreadId;
  if (!matchThreadInfo(cmdText, userThreadId)) {
    LOG_AT(ctrl) << "'matchThreadInfo' failed.";
    reportSyntaxError(ctrl, cmdId());
    return true;
  }
  if (userThreadId.empty() && gdbCompatible()) {
    allThreads = true;
    if (!sendToEveryEngine(session, cmdId() + "-thread-info\n")) return false;
    if (pendingZubIds.empty()) return replyToUser(session);
    return true;
  }
  if (userThreadId.empty()) {
    reportCommandNotImplementedError(ctrl, cmdId());
    return true;
  }
  std::string zubId, engineThreadId;
  if (!findThread(session, userThreadId, zubId, engineThreadId)) return true;
  // Only the thread is passed on; other options of the line are dropped.
  if (!ctrl.sendToZub(zubId, cmdId() + "-thread-info " + engineThreadId + "\n")) {
    LOG_AT(ctrl) << "Failed to send command to " << zubId;
    reportInternalError(ctrl, cmdId());
    return true;
  }
  pendingZubIds.insert(zubId);
  return true;
}

// Whatever class the engine answered, the reply is "^done" with the threads found.
bool ThreadInfoCmd::replyToUser(MiSession& session) {
  if (!allThreads) {
    replyWithThreads(*this, session, mergeThreads(session, results, true));
    return true;
  }
  // gdb's form: the engines' own tuples, then the current engine's current thread.
  MiMap record(true);
  std::list<MiRecordPtr> threads;
  for (const auto& [id, thread] : mergeThreads(session, results, false)) threads.push_back(thread);
  record.setList("threads", threads);
  auto current = results.find(session.currentZubId);
  std::string currentThreadId;
  if (current != results.end() && current->second.findString("current-thread-id", currentThreadId))
    record.setString("current-thread-id", currentThreadId);
  replyWith(session, "^done", record);
  return true;
}

bool ListThreadGroupsCmd::launchCmd(MiSession& session) {
  CtrlModule& ctrl = session.ctrl;
  std::set<std::string> groups;
  if (!matchListThreadGroups(cmdText, available, groups)) {
    LOG_AT(ctrl) << "'matchListThreadGroups' failed (" << cmdText << ").";
    reportSyntaxError(ctrl, cmdId());
    return true;
  }
  const std::string threadInfo = cmdId() + "-thread-info\n";
  if (groups.empty() && !available) {
    replyHostGroups(session);
    return true;
  }
  if (groups.empty()) {
    if (!sendToEveryEngine(session, cmdId() + "-list-thread-groups\n")) return false;
    // No engine to ask: the merged list is empty.
    if (pendingZubIds.empty()) return replyToUser(session);
    return true;
  }
  // The matcher keeps one id only: the last one on the line.
  const std::string& groupId = *groups.begin();
  if (groupId != kHostEngineId) {
    sendToGroup(session, groupId, threadInfo);
    return true;
  }
  // The host's group holds every card engine's threads too.
  ctrl.getZubIds(kCardEnginePrefix, pendingZubIds);
  if (!ctrl.sendToZubs(pendingZubIds, threadInfo)) return false;
  if (!ctrl.sendToZub(kHostEngineId, threadInfo)) {
    pendingZubIds.clear();
    reportInvalidThreadGroupIdError(ctrl, kHostEngineId, cmdId());
    return true;
  }
  pendingZubIds.insert(kHostEngineId);
  return true;
}

void ListThreadGroupsCmd::replyHostGroups(MiSession& session) {
  std::list<MiRecordPtr> items;
  for (const auto& [zubId, group] : session.threadGroups) {
    std::string id;
    if (!group.findString("id", id)) {
      std::string printed;
      group.printToString(printed);
      LOG_AT(session.ctrl) << "Failed to find 'id' in: " << printed;
      reportInternalError(session.ctrl, cmdId());
      return;
    }
    // Card-side processes are shown as threads of "i1", not as groups.
    if (isCardEngine(id)) continue;
    auto item = boost::make_shared<MiMap>(false);
    item->setString("id", id);
    for (const char* key : {"pid", "type"}) {
      MiRecordPtr value;
      if (group.findRecord(key, value)) (*item)[key] = value;
    }
    items.push_back(item);
  }
  replyWithList(*this, session, "groups", items);
}

bool ListThreadGroupsCmd::replyToUser(MiSession& session) {
  if (!available) {
    replyWithThreads(*this, session, mergeThreads(session, results, false));
    return true;
  }
  CtrlModule& ctrl = session.ctrl;
  std::list<MiRecordPtr> groups;
  for (const auto& [zubId, resultClass] : resultClasses) {
    if (resultClass != "done") {
      LOG_AT(ctrl) << "skipping result (" << resultClass << ") from " << zubId << ".";
      continue;
    }
    std::string printed;
    std::list<MiRecordPtr> engineGroups;
    auto result = results.find(zubId);
    if (result != results.end() && result->second.findList("groups", engineGroups)) {
      groups.splice(groups.end(), engineGroups);
      continue;
    }
    if (result != results.end()) result->second.printToString(printed);
    LOG_AT(ctrl) << "Field 'groups' not found in: " << printed;
  }
  replyWithList(*this, session, "groups", groups);
  return true;
}
