#include "commands/exec_cmd.h"

#include <signal.h>

#include "base/compat.h"
#include "base/log.h"
#include "commands/errors.h"
#include "engine/ctrl_module.h"
#include "match/cmd_matchers.h"
#include "match/output_matchers.h"
#include "mi/mi_parser.h"
#include "offload/offload_events.h"
#include "session/mi_session.h"

namespace {

const char kHostZubId[] = "i1";
const char kVekPrefix[] = "vek";
// Marks the engines' answers to the interrupts we send ourselves; a user's token is rarely so big.
const char kInterruptToken[] = "2147480001";

bool isVekZubId(const std::string& zubId) { return zubId.starts_with(kVekPrefix); }

// The host program's engines run and stop together; other inferiors run on their own.
bool isHostProgramZubId(const std::string& zubId) {
  return zubId == kHostZubId || isVekZubId(zubId);
}

std::string stopReason(const MiMap& record) {
  std::string reason;
  record.findString("reason", reason);
  return reason;
}

}  // namespace

ExecCmd::ExecCmd(const std::string& line, bool internalResume)
    : MiCmd(line), internalResume(internalResume) {}

bool ExecCmd::launchCmd(MiSession& session) {
  if (!threadId.empty()) return launchOnThread(session);
  if (!threadGroupId.empty()) return launchOnGroup(session);
  return launchOnCurrent(session);
}

bool ExecCmd::broadcast(MiSession& session, const std::string& line) {
  CtrlModule& ctrl = session.ctrl;
  std::set<std::string> vekZubIds;
  ctrl.getZubIds(kVekPrefix, vekZubIds);
  pendingZubIds.insert(vekZubIds.begin(), vekZubIds.end());
  if (!ctrl.sendToZubs(vekZubIds, line)) return false;
  if (!ctrl.sendToZub(kHostZubId, line)) {
    LOG_AT(ctrl) << "Failed to send command to i1.";
    return false;
  }
  pendingZubIds.insert(kHostZubId);
  return true;
}

bool ExecCmd::launchOnThread(MiSession& session) {
  CtrlModule& ctrl = session.ctrl;
  std::string zubId, engineThreadId;
  if (!findThread(session, threadId, zubId, engineThreadId)) return true;
  session.currentZubId = zubId;
  if (isHostProgramZubId(zubId)) return launchStepIn(session, zubId);
  std::string line;
  replaceCmdThreadId(cmdText, "--thread " + engineThreadId, line);
  if (!ctrl.sendToZub(zubId, line)) {
    LOG_AT(ctrl) << "Failed to send command to " << zubId << ".";
    return false;
  }
  pendingZubIds.insert(zubId);
  return true;
}

bool ExecCmd::launchStepIn(MiSession& session, const std::string& zubId) {
  CtrlModule& ctrl = session.ctrl;
  std::set<std::string> others;
  ctrl.getZubIds(kVekPrefix, others);
  if (zubId != kHostZubId) {
    others.erase(zubId);
    others.insert(kHostZubId);
  }
  pendingZubIds.insert(others.begin(), others.end());
  if (!ctrl.sendToZubs(others, cmdId() + "-exec-continue\n")) return false;
  std::string line;
  replaceCmdThreadId(cmdText, "", line);
  if (!ctrl.sendToZub(zubId, line)) {
    LOG_AT(ctrl) << "Failed to send command to " << zubId << ".";
    return false;
  }
  pendingZubIds.insert(zubId);
  return true;
}

bool ExecCmd::launchOnGroup(MiSession& session) {
  std::string line;
  replaceCmdThreadGroupId(cmdText, "", line);
  if (isHostProgramZubId(threadGroupId)) return broadcast(session, line);
  if (!session.ctrl.sendToZub(threadGroupId, line)) {
    reportInvalidThreadGroupIdError(session.ctrl, threadGroupId, cmdId());
    return true;
  }
  pendingZubIds.insert(threadGroupId);
  return true;
}

bool ExecCmd::launchOnCurrent(MiSession& session) {
  const std::string zubId = session.currentZubId;
  if (isHostProgramZubId(zubId)) {
    if (!broadcast(session, cmdText)) return false;
    pendingZubIds.insert(zubId);
    return true;
  }
  if (!session.ctrl.sendToZub(zubId, cmdText)) {
    reportInvalidThreadGroupIdError(session.ctrl, zubId, cmdId());
    return true;
  }
  pendingZubIds.insert(zubId);
  return true;
}

bool ExecCmd::handleResponse(MiSession& session, const std::string& zubId,
                             const std::string& line) {
  std::string resultClass, token;
  if (matchMiResultType(line, resultClass) && matchCmdId(token, line) && token == kInterruptToken) {
    LOG_AT(session.ctrl) << "Answer to an interrupt of " << zubId << ": " << line;
    return true;
  }
  if (!resultClass.empty()) return handleMiResult(session, zubId, line, resultClass);
  if (matchMiStopped(line)) return handleMiStopped(session, zubId, line);
  std::string offloadSymbol;
  MiSession::retrieveVekOffloadSymbol(offloadSymbol);
  // The offload breakpoint's own announcements would only confuse the user.
  if (matchMiOut(line) && line.find(offloadSymbol) != std::string::npos) return true;
  // Unlike other commands, the running program's console output reaches the user.
  session.ctrl.sendToUser(line);
  return true;
}

void ExecCmd::interruptEngine(MiSession& session, const std::string& zubId) {
  if (!session.engineAsync) {
    session.ctrl.sendSignalToZub(zubId, SIGINT);
    return;
  }
  session.ctrl.sendToZub(zubId, std::string(kInterruptToken) + "-exec-interrupt\n");
}

bool ExecCmd::handleMiResult(MiSession& session, const std::string& zubId, const std::string& line,
                             const std::string& resultClass) {
  CtrlModule& ctrl = session.ctrl;
  if (resultClass == "running") {
    runningZubIds.insert(zubId);
    if (stopping) {
      LOG_AT(ctrl) << "Interrupting " << zubId << ", which started running late.";
      interruptEngine(session, zubId);
    }
  } else if (resultClass == "error") {
    errorResults[zubId] = line;
  } else {
    LOG_AT(ctrl) << "Unexpected result type: " << resultClass;
    return false;
  }
  if (pendingZubIds.erase(zubId) == 0) {
    LOG_AT(ctrl) << "Unexpected result from " << zubId << ".";
    return false;
  }
  if (!pendingZubIds.empty()) return true;
  if (runningZubIds.empty()) return stateAllStopped(session);
  if (internalResume) return true;
  ctrl.sendToUser(cmdId() + "^running\n");
  ctrl.sendToUser("*running,thread-id=\"all\"\n");
  ctrl.sendToUser(kPrompt);
  return true;
}

bool ExecCmd::handleMiStopped(MiSession& session, const std::string& zubId,
                              const std::string& line) {
  if (runningZubIds.erase(zubId) == 0) {
    LOG_AT(session.ctrl) << zubId << " is not supposed to be running.";
    return false;
  }
  if (firstStoppedZubId.empty()) firstStoppedZubId = zubId;
  // A stop whose record cannot be read still counts; its reason stays "unknown".
  MiMap& record = stopRecords.insert_or_assign(zubId, MiMap(true)).first->second;
  record.setString("reason", "unknown");
  std::string text;
  MiRecordPtr parsed;
  if (matchMiRecord(line, text) && parseMiRecord(text, parsed) && parsed->toMiMap() &&
      parsed->replaceThreadIds(session.threadIdTable, zubId))
    record = *parsed->toMiMap();
  if (gdbCompatible()) session.toUserBkpNumber(zubId, record);
  if (pendingZubIds.empty() && runningZubIds.empty()) return stateAllStopped(session);
  // A card-side process that ended by itself does not stop the host program.
  if (isVekZubId(zubId) && stopReason(record).find("exited") != std::string::npos) return true;
  return interruptCmd(session);
}

bool ExecCmd::interruptCmd(MiSession& session) {
  stopping = true;
  for (const std::string& zubId : runningZubIds) interruptEngine(session, zubId);
  return true;
}

bool ExecCmd::stateAllStopped(MiSession& session) {
  LOG_AT(session.ctrl) << "All engines are stopped.";
  if (stopRecords.empty()) return replyAllErrors(session);
  StopEvents events;
  for (const auto& [zubId, record] : stopRecords) {
    if (zubId == kHostZubId && stopReason(record).starts_with("exited")) {
      events.hostExited = true;
      firstStoppedZubId = kHostZubId;
      continue;
    }
    if (!checkOffloadEvent(session, zubId, record, events)) return false;
  }
  if (events.hostExited || !(events.offloadStarted || events.offloadEnded))
    return reportFinalStop(session);
  return finishOffloadStop(session, events);
}

bool ExecCmd::replyAllErrors(MiSession& session) {
  if (errorResults.empty()) {
    reportInternalError(session.ctrl, cmdId());
    return true;
  }
  // The smallest engine id wins, so the host's own error is the one the user reads.
  session.ctrl.sendToUser(errorResults.begin()->second);
  session.ctrl.sendToUser(kPrompt);
  return true;
}

bool ExecCmd::checkOffloadEvent(MiSession& session, const std::string& zubId, const MiMap& record,
                                StopEvents& events) {
  if (isVekOffloadStart(session, record)) {
    events.offloadStarted = true;
    return handleVekOffloadStart(session, zubId);
  }
  if (!isVekOffloadEnd(session, zubId, record)) return true;
  events.offloadEnded = true;
  if (handleVekOffloadEnd(session, zubId)) return true;
  LOG_AT(session.ctrl) << "Failed to handle offload-end envent for " << zubId;
  return false;
}

bool ExecCmd::finishOffloadStop(MiSession& session, const StopEvents& events) {
  if (cmdName != "-exec-run" && cmdName != "-exec-continue") {
    const char* reason = events.offloadStarted ? "offload-start" : "offload-end";
    session.ctrl.sendToUser(cmdId() + "*stopped,reason=\"" + reason + "\"\n");
    return true;
  }
  LOG_AT(session.ctrl) << "Resuming the execution.";
  ExecCmd resume(cmdId() + "-exec-continue\n", true);
  return session.runCmd(resume);
}

bool ExecCmd::reportFinalStop(MiSession& session) {
  session.currentZubId = firstStoppedZubId;
  std::string text = cmdId() + "*stopped";
  auto it = stopRecords.find(firstStoppedZubId);
  if (it != stopRecords.end() && !it->second.entries.empty()) {
    std::string printed;
    it->second.printToString(printed);
    text += "," + printed;
  }
  session.ctrl.sendToUser(text + "\n");
  return true;
}

void ExecCmd::zubEnded(MiSession& session, const std::string& zubId) {
  const bool wasPending = pendingZubIds.erase(zubId) != 0;
  const bool waited = runningZubIds.erase(zubId) != 0 || wasPending;
  stopRecords.erase(zubId);
  errorResults.erase(zubId);
  if (firstStoppedZubId == zubId)
    firstStoppedZubId = stopRecords.empty() ? "" : stopRecords.begin()->first;
  if (!waited) return;
  if (pendingZubIds.empty() && runningZubIds.empty()) {
    stateAllStopped(session);
    return;
  }
  // The others started: the run is announced as it would have been by the last answer.
  if (wasPending && pendingZubIds.empty() && !internalResume) {
    session.ctrl.sendToUser(cmdId() + "^running\n");
    session.ctrl.sendToUser("*running,thread-id=\"all\"\n");
    session.ctrl.sendToUser(kPrompt);
  }
  interruptCmd(session);
}

bool ExecInterruptCmd::launchCmd(MiSession& session) {
  if (!sendToEveryEngine(session, cmdText)) return false;
  if (pendingZubIds.empty()) return replyToUser(session);
  return true;
}

bool ExecInterruptCmd::replyToUser(MiSession& session) {
  reply(session, "^done");
  return true;
}

bool ExecReturnCmd::launchCmd(MiSession& session) { return sendToOneEngine(session); }

bool ExecReturnCmd::replyToUser(MiSession& session) { return replyFromOneEngine(session, true); }
