#include "commands/inferior_cmds.h"

#include <signal.h>

#include "base/compat.h"
#include "base/log.h"
#include "commands/errors.h"
#include "engine/ctrl_module.h"
#include "match/cmd_matchers.h"
#include "match/output_matchers.h"
#include "mi/mi_parser.h"
#include "session/mi_session.h"

bool AddInferiorCmd::launchCmd(MiSession& session) {
  const char* argv[] = {"placeholder", "-i=mi", nullptr};
  std::string zubId;
  // gdb's notice of the group has no prompt after it: in that mode the answer below says it.
  if (!session.spawnZub(argv, "i", zubId, !gdbCompatible())) {
    reportInternalError(session.ctrl, cmdId());
    return true;
  }
  session.currentZubId = zubId;
  if (gdbCompatible()) answerAsGdb(session, zubId);
  return true;
}

// gdb sets every breakpoint in every inferior, so the new engine gets them all; its answer is
// gdb's, byte for byte.
void AddInferiorCmd::answerAsGdb(MiSession& session, const std::string& zubId) {
  session.copyBreakpoints();
  const std::string number = zubId.substr(1);  // group "i2" is gdb's inferior 2
  session.miConsole("[New inferior " + number + "]\n");
  session.miConsole("Added inferior " + number + "\n");
  reply(session, "^done,inferior=\"" + zubId + "\"");
}

bool AddInferiorCmd::handleResponse(MiSession& session, const std::string& zubId,
                                    const std::string& line) {
  LOG_AT(session.ctrl) << zubId << " : " << line;
  return true;
}

bool RemoveInferiorCmd::launchCmd(MiSession& session) {
  std::string zubId;
  if (!matchInferiorId(cmdText, zubId)) {
    reportSyntaxError(session.ctrl, cmdId());
    return true;
  }
  sendToGroup(session, zubId, "-gdb-exit\n");
  // An engine deaf to the exit is ended after the grace period, so the removal always answers.
  if (!pendingZubIds.empty()) session.ctrl.expectEnd({zubId});
  return true;
}

bool RemoveInferiorCmd::replyToUser(MiSession& session) {
  if (resultClasses.empty()) {
    reportInternalError(session.ctrl, cmdId());
    return true;
  }
  // The engine has said "^exit" and is ending, so removing it does not wait for long.
  const auto& [zubId, resultClass] = *resultClasses.begin();
  if (resultClass != "exit" || !session.removeZub(zubId)) {
    reportInternalError(session.ctrl, cmdId());
    return true;
  }
  reply(session, "^done");
  LOG_AT(session.ctrl) << zubId << " removed.";
  return true;
}

bool TargetAttachCmd::launchCmd(MiSession& session) {
  std::string zubId = session.currentZubId;
  std::string text = cmdText;
  if (!threadGroupId.empty()) {
    zubId = threadGroupId;
    replaceCmdThreadGroupId(cmdText, "", text);
  }
  if (!session.ctrl.sendToZub(zubId, text)) {
    reportInvalidThreadGroupIdError(session.ctrl, zubId, cmdId());
    return true;
  }
  pendingZubIds.insert(zubId);
  return true;
}

bool TargetAttachCmd::handleResponse(MiSession& session, const std::string& zubId,
                                     const std::string& line) {
  CtrlModule& ctrl = session.ctrl;
  MiRecordPtr record;
  if (matchMiResultType(line, resultClass)) {
    if (pendingZubIds.erase(zubId) == 0) {
      LOG_AT(ctrl) << "Ignoring result from " << zubId << ".";
      return true;
    }
    std::string text;
    if (!matchMiRecord(line, text)) {
      ctrl.sendToUser(line);
      sendPrompt(ctrl);
    } else if (translateRecord(session, zubId, line, record)) {
      replyWith(session, "^" + resultClass, *record->toMiMap());
    } else {
      reportInternalError(ctrl, cmdId());
    }
  } else if (matchMiStopped(line)) {
    std::string printed;
    if (translateRecord(session, zubId, line, record)) {
      record->printToString(printed);
      ctrl.sendToUser(cmdId() + "*stopped," + printed + "\n");
    }
  } else {
    ctrl.sendToUser(line);
  }
  return true;
}

bool TargetAttachCmd::translateRecord(MiSession& session, const std::string& zubId,
                                      const std::string& line, MiRecordPtr& record) {
  std::string text;
  if (matchMiRecord(line, text) && parseMiRecord(text, record) && record->toMiMap() &&
      record->replaceThreadIds(session.threadIdTable, zubId))
    return true;
  LOG_AT(session.ctrl) << "Bad record (" << text << ") from " << zubId << ".";
  return false;
}

void TargetAttachCmd::zubEnded(MiSession& session, const std::string& zubId) {
  if (pendingZubIds.erase(zubId) == 0) return;
  resultClass.clear();
  reportInternalError(session.ctrl, cmdId());
}

bool TargetAttachCmd::interruptCmd(MiSession& session) {
  for (const std::string& zubId : pendingZubIds) session.ctrl.sendSignalToZub(zubId, SIGINT);
  return true;
}

// The shared single-engine rule, except that a thread whose engine is gone is the user's
// mistake here, not a fatal one.
bool TargetDetachCmd::launchCmd(MiSession& session) {
  if (threadId.empty()) return sendToOneEngine(session);
  std::string zubId, engineThreadId;
  if (!findThread(session, threadId, zubId, engineThreadId)) return true;
  std::string text;
  replaceCmdThreadId(cmdText, "--thread " + engineThreadId, text);
  sendToGroup(session, zubId, text);
  if (!pendingZubIds.empty()) session.currentZubId = zubId;
  return true;
}

bool TargetDetachCmd::replyToUser(MiSession& session) {
  if (resultClasses.size() != 1) {
    reportInternalError(session.ctrl, cmdId());
    return true;
  }
  const auto& [zubId, resultClass] = *resultClasses.begin();
  if (resultClass == "done") {
    auto group = session.threadGroups.find(zubId);
    if (group != session.threadGroups.end()) {
      group->second.entries.remove_if([](const MiMap::Entry& entry) {
        return entry.first == "pid" || entry.first == "threads";
      });
    }
    session.ctrl.sendToUser("=thread-group-exited,id=\"" + zubId + "\"\n");
  }
  return replyFromOneEngine(session, true);
}

bool FileExecAndSymbolsCmd::launchCmd(MiSession& session) { return sendToOneEngine(session); }

bool FileExecAndSymbolsCmd::replyToUser(MiSession& session) {
  return replyFromOneEngine(session, true);
}
