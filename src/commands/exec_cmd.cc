#include "commands/exec_cmd.h"

#include <signal.h>

#include <algorithm>

#include "base/compat.h"
#include "base/engine_id.h"
#include "base/log.h"
#include "base/signals.h"
#include "commands/errors.h"
#include "engine/ctrl_module.h"
#include "match/cmd_matchers.h"
#include "match/output_matchers.h"
#include "mi/mi_parser.h"
#include "offload/offload_events.h"
#include "session/mi_session.h"

namespace {

// Marks the engines' answers to the interrupts we send ourselves; a user's token is rarely so big.
const char kInterruptToken[] = "2147480001";

// The host program's engines run and stop together; other inferiors run on their own.
bool isHostProgramZubId(const std::string& zubId) {
  return zubId == kHostEngineId || isCardEngine(zubId);
}

}  // namespace

ExecCmd::ExecCmd(const std::string& line) : MiCmd(line) {}

bool ExecCmd::launchCmd(MiSession& session) {
  const bool launched = !threadId.empty()        ? launchOnThread(session)
                        : !threadGroupId.empty() ? launchOnGroup(session)
                                                 : launchOnCurrent(session);
  // Nothing went out: the user has had an error reply instead.
  if (launched && pendingZubIds.empty()) state = State::kFinished;
  return launched;
}

bool ExecCmd::broadcast(MiSession& session, const std::string& line) {
  CtrlModule& ctrl = session.ctrl;
  std::set<std::string> vekZubIds;
  ctrl.getZubIds(kCardEnginePrefix, vekZubIds);
  pendingZubIds.insert(vekZubIds.begin(), vekZubIds.end());
  if (!ctrl.sendToZubs(vekZubIds, line)) return false;
  if (!ctrl.sendToZub(kHostEngineId, line)) {
    LOG_AT(ctrl) << "Failed to send command to i1.";
    return false;
  }
  pendingZubIds.insert(kHostEngineId);
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
  ctrl.getZubIds(kCardEnginePrefix, others);
  if (zubId != kHostEngineId) {
    others.erase(zubId);
    others.insert(kHostEngineId);
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
  // The engine heard our interrupt while its program did not run: its stop or end was already
  // on its way, and with the interrupt gdb may say "Quit" instead of reporting it.
  if (matchQuit(line) && interruptedZubIds.contains(zubId) && runningZubIds.contains(zubId)) {
    LOG_AT(session.ctrl) << zubId << " was no longer running.";
    runningZubIds.erase(zubId);
    return advance(session, false);
  }
  std::string offloadSymbol;
  MiSession::retrieveVekOffloadSymbol(offloadSymbol);
  if (isOffloadBreakpointChatter(line, offloadSymbol)) return true;
  // Unlike other commands, the running program's console output reaches the user.
  session.ctrl.sendToUser(line);
  return true;
}

bool ExecCmd::handleMiResult(MiSession& session, const std::string& zubId, const std::string& line,
                             const std::string& resultClass) {
  CtrlModule& ctrl = session.ctrl;
  if (resultClass == "running") {
    runningZubIds.insert(zubId);
    // No stop of another engine would ever interrupt this one.
    if (state == State::kStopping) {
      LOG_AT(ctrl) << "Interrupting " << zubId << ", which started running late.";
      interruptEngine(session, zubId);
    }
  } else if (resultClass == "error" && runningZubIds.contains(zubId)) {
    // The engine gave up the run it had started (its target went away, say): the user reads why
    // and the others go on without it.
    MiRecordPtr record;
    std::string text, message;
    if (matchMiRecord(line, text) && parseMiRecord(text, record) && record->toMiMap() &&
        record->toMiMap()->findString("msg", message))
      session.miConsole(message + "\n");
    forgetEngine(session, zubId);
    return true;
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
  return advance(session, false);
}

bool ExecCmd::handleMiStopped(MiSession& session, const std::string& zubId,
                              const std::string& line) {
  // A stop that follows a "Quit" or an engine's own error comes too late to count.
  if (runningZubIds.erase(zubId) == 0) {
    LOG_AT(session.ctrl) << zubId << " is not supposed to be running.";
    return true;
  }
  // A stop whose record cannot be read still counts; its reason stays "unknown".
  MiMap& record = stopRecords.insert_or_assign(zubId, MiMap(true)).first->second;
  record.setString("reason", "unknown");
  std::string text;
  MiRecordPtr parsed;
  if (matchMiRecord(line, text) && parseMiRecord(text, parsed) && parsed->toMiMap() &&
      parsed->replaceThreadIds(session.threadIdTable, zubId))
    record = *parsed->toMiMap();
  if (gdbCompatible()) session.toUserBkpNumber(zubId, record);
  // A card-side process that ended by itself does not stop the host program, and its stop is
  // the one the user reads only when nothing else stopped the run.
  const bool cardExit = isCardProcessExit(zubId, record);
  if (firstStoppedZubId.empty() || (firstStopIsCardExit() && !cardExit)) firstStoppedZubId = zubId;
  return advance(session, !cardExit);
}

bool ExecCmd::firstStopIsCardExit() const {
  auto first = stopRecords.find(firstStoppedZubId);
  return first != stopRecords.end() && isCardProcessExit(first->first, first->second);
}

bool ExecCmd::interruptCmd(MiSession& session) { return advance(session, true); }

void ExecCmd::zubEnded(MiSession& session, const std::string& zubId) {
  forgetEngine(session, zubId);
}

void ExecCmd::forgetEngine(MiSession& session, const std::string& zubId) {
  const bool wasPending = pendingZubIds.erase(zubId) != 0;
  const bool waited = runningZubIds.erase(zubId) != 0 || wasPending;
  stopRecords.erase(zubId);
  errorResults.erase(zubId);
  if (firstStoppedZubId == zubId)
    firstStoppedZubId = stopRecords.empty() ? "" : stopRecords.begin()->first;
  if (waited) advance(session, true);
}

bool ExecCmd::advance(MiSession& session, bool stopOthers) {
  if (pendingZubIds.empty() && runningZubIds.empty()) return allStopped(session);
  if (pendingZubIds.empty() && !announced) {
    announced = true;
    session.ctrl.sendToUser(cmdId() + "^running\n");
    session.ctrl.sendToUser("*running,thread-id=\"all\"\n");
    sendPrompt(session.ctrl);
  }
  if (pendingZubIds.empty() && state == State::kSent) state = State::kRunning;
  if (stopOthers) {
    state = State::kStopping;
    for (const std::string& zubId : runningZubIds)
      if (!interruptedZubIds.contains(zubId)) interruptEngine(session, zubId);
  }
  return true;
}

void ExecCmd::interruptEngine(MiSession& session, const std::string& zubId) {
  interruptedZubIds[zubId] = std::chrono::steady_clock::now();
  if (!session.engineAsync) {
    session.ctrl.sendSignalToZub(zubId, SIGINT);
    return;
  }
  session.ctrl.sendToZub(zubId, std::string(kInterruptToken) + "-exec-interrupt\n");
}

void ExecCmd::checkTimers(MiSession& session) {
  const auto now = std::chrono::steady_clock::now();
  // A copy: giving an engine up takes it out of the running set.
  for (const std::string& zubId : std::set<std::string>(runningZubIds)) {
    auto interrupted = interruptedZubIds.find(zubId);
    if (interrupted == interruptedZubIds.end() || now - interrupted->second < kInterruptPatience)
      continue;
    if (reinterruptedZubIds.insert(zubId).second) {
      LOG_AT(session.ctrl) << zubId << " has not stopped; interrupting it again.";
      interruptEngine(session, zubId);
    } else if (isCardEngine(zubId)) {
      LOG_AT(session.ctrl) << zubId << " does not stop; giving it up.";
      session.dropZub(zubId, *this);
    }
  }
}

std::chrono::milliseconds ExecCmd::nextTimer() const {
  std::chrono::milliseconds next(-1);
  const auto now = std::chrono::steady_clock::now();
  for (const std::string& zubId : runningZubIds) {
    auto interrupted = interruptedZubIds.find(zubId);
    if (interrupted == interruptedZubIds.end()) continue;
    if (reinterruptedZubIds.contains(zubId) && !isCardEngine(zubId)) continue;
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(interrupted->second +
                                                                   kInterruptPatience - now);
    if (next.count() < 0 || left < next) next = std::max(left, std::chrono::milliseconds(0));
  }
  return next;
}

bool ExecCmd::allStopped(MiSession& session) {
  LOG_AT(session.ctrl) << "All engines are stopped.";
  if (stopRecords.empty()) {
    state = State::kFinished;
    return replyAllErrors(session);
  }
  std::string offloadSymbol;
  MiSession::retrieveVekOffloadSymbol(offloadSymbol);
  bool hostExited = false;
  std::map<std::string, OffloadStop> offloads;  // in id order, as they are followed
  for (const auto& [zubId, record] : stopRecords) {
    std::string reason;
    record.findString("reason", reason);
    if (zubId == kHostEngineId && reason.starts_with("exited")) {
      hostExited = true;
      firstStoppedZubId = kHostEngineId;
    } else if (OffloadStop stop = classifyOffloadStop(zubId, record, offloadSymbol);
               stop != OffloadStop::kNone) {
      offloads.emplace(zubId, stop);
    }
  }
  if (!offloads.empty()) {
    state = State::kFollowingOffload;
    if (!followOffloads(session, offloads)) return false;
  }
  if (hostExited || offloads.empty()) {
    state = State::kFinished;
    return reportFinalStop(session);
  }
  // A user who interrupted, or wants to end the session, meanwhile gets the stop at once.
  const bool userWaits = sigIntPending || sigTermPending || session.exitQueued();
  if ((cmdName != "-exec-run" && cmdName != "-exec-continue") || userWaits) {
    state = State::kFinished;
    const bool started = std::any_of(offloads.begin(), offloads.end(), [](const auto& offload) {
      return offload.second == OffloadStop::kStart;
    });
    session.ctrl.sendToUser(cmdId() + "*stopped,reason=\"" +
                            (started ? "offload-start" : "offload-end") + "\"\n");
    return true;
  }
  // An offload event that came with another engine's own stop (a breakpoint in a second card
  // process, say) does not resume the run: that stop is the user's.
  if (!firstStopIsCardExit() && !offloads.contains(firstStoppedZubId)) {
    state = State::kFinished;
    return reportFinalStop(session);
  }
  state = State::kSent;
  return resume(session);
}

bool ExecCmd::followOffloads(MiSession& session,
                             const std::map<std::string, OffloadStop>& offloads) {
  for (const auto& [zubId, stop] : offloads) {
    if (stop == OffloadStop::kStart) {
      // The card-side process is read from the group that stopped at the offload symbol.
      session.currentZubId = zubId;
      if (!session.followOffloadStart(zubId))
        LOG_AT(session.ctrl) << "Failed to attach VEK process.";
    } else if (!session.followOffloadEnd(zubId)) {
      LOG_AT(session.ctrl) << "Failed to handle offload-end envent for " << zubId;
      return false;
    }
  }
  return true;
}

bool ExecCmd::resume(MiSession& session) {
  LOG_AT(session.ctrl) << "Resuming the execution.";
  // The command goes on as a continue of the same run, with nothing of its stop kept. It does
  // not nest, so a program that offloads again and again is followed in constant stack.
  cmdText = cmdId() + "-exec-continue\n";
  cmdName = "-exec-continue";
  threadId.clear();
  threadGroupId.clear();
  firstStoppedZubId.clear();
  stopRecords.clear();
  errorResults.clear();
  interruptedZubIds.clear();
  reinterruptedZubIds.clear();
  announced = true;
  if (launchCmd(session)) return true;
  LOG_AT(session.ctrl) << "Failed to resume the execution.";
  return false;
}

bool ExecCmd::replyAllErrors(MiSession& session) {
  if (errorResults.empty()) {
    reportInternalError(session.ctrl, cmdId());
    return true;
  }
  // The smallest engine id wins, so the host's own error is the one the user reads.
  session.ctrl.sendToUser(errorResults.begin()->second);
  sendPrompt(session.ctrl);
  return true;
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
