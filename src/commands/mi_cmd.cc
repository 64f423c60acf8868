#include "commands/mi_cmd.h"

#include <signal.h>

#include "base/compat.h"
#include "base/log.h"
#include "commands/errors.h"
#include "engine/ctrl_module.h"
#include "match/cmd_matchers.h"
#include "match/output_matchers.h"
#include "mi/mi_parser.h"
#include "session/mi_session.h"

// gdb's own prompt ends in a blank, and clients of the gdb-compatible mode wait for exactly that.
void sendPrompt(CtrlModule& ctrl) { ctrl.sendToUser(gdbCompatible() ? "(gdb) \n" : "(gdb)\n"); }

MiCmd::MiCmd(const std::string& line) : cmdText(line) {
  matchCmdId(cmdId_, line);
  matchCmdName(cmdName, line);
  matchCmdThreadId(threadId, line);
  matchCmdThreadGroupId(threadGroupId, line);
}

void MiCmd::reply(MiSession& session, const std::string& record) {
  session.ctrl.sendToUser(cmdId_ + record + "\n");
  sendPrompt(session.ctrl);
}

void MiCmd::replyWith(MiSession& session, const std::string& resultClass, const MiMap& results) {
  if (results.entries.empty()) return reply(session, resultClass);
  std::string printed;
  results.printToString(printed);
  reply(session, resultClass + "," + printed);
}

bool MiCmd::findThread(MiSession& session, const std::string& userThreadId, std::string& zubId,
                       std::string& engineThreadId) {
  // A thread of an engine that has ended is as unknown as one never seen.
  if (session.threadIdTable.fromExtThreadId(userThreadId, zubId, engineThreadId) &&
      session.ctrl.findZub(zubId))
    return true;
  reportInvalidThreadIdError(session.ctrl, userThreadId, cmdId_);
  return false;
}

SimpleMiCmd::SimpleMiCmd(const std::string& line) : MiCmd(line) {}

bool SimpleMiCmd::handleResponse(MiSession& session, const std::string& zubId,
                                 const std::string& line) {
  CtrlModule& ctrl = session.ctrl;
  std::string resultClass;
  if (!matchMiResultType(line, resultClass)) {
    if (matchMiOut(line) && !forwardConsoleOutput)
      LOG_AT(ctrl) << "Ignoring input (" << line << ") from " << zubId << ".";
    else
      ctrl.sendToUser(line);
    return true;
  }
  // A result without a token is taken as this command's.
  std::string token;
  if (matchCmdId(token, line) && token != cmdId_) {
    LOG_AT(ctrl) << "Cmd Id does not match."
                 << " Expected: " << cmdId_ << "; got: " << token;
    return true;
  }
  if (pendingZubIds.erase(zubId) == 0) {
    LOG_AT(ctrl) << "Ignoring result from " << zubId << ": " << line;
    return true;
  }
  resultClasses[zubId] = resultClass;
  std::string text;
  if (matchMiRecord(line, text)) {
    MiRecordPtr record;
    if (!parseMiRecord(text, record)) {
      LOG_AT(ctrl) << "Igoring bad record (" << text << ") from " << zubId << ".";
    } else {
      record->replaceThreadIds(session.threadIdTable, zubId);
      if (const MiMap* map = record->toMiMap())
        results.insert_or_assign(zubId, *map);
      else
        LOG_AT(ctrl) << "Internal error.";
    }
  }
  if (pendingZubIds.empty()) replyToUser(session);
  return true;
}

bool SimpleMiCmd::interruptCmd(MiSession& session) {
  for (const std::string& zubId : pendingZubIds) session.ctrl.sendSignalToZub(zubId, SIGINT);
  return true;
}

bool SimpleMiCmd::sendToOneEngine(MiSession& session) {
  if (!threadId.empty()) {
    std::string zubId, engineThreadId;
    if (!findThread(session, threadId, zubId, engineThreadId)) return true;
    std::string text;
    replaceCmdThreadId(cmdText, "--thread " + engineThreadId, text);
    if (!session.ctrl.sendToZub(zubId, text)) return false;
    pendingZubIds.insert(zubId);
    session.currentZubId = zubId;
    return true;
  }
  if (!threadGroupId.empty()) {
    std::string text;
    replaceCmdThreadGroupId(cmdText, "", text);
    sendToGroup(session, threadGroupId, text);
    return true;
  }
  sendToGroup(session, session.currentZubId, cmdText);
  return true;
}

bool SimpleMiCmd::sendToAllEngines(MiSession& session) {
  if (!threadGroupId.empty()) {
    std::string text;
    replaceCmdThreadGroupId(cmdText, "", text);
    sendToGroup(session, threadGroupId, text);
    return true;
  }
  if (!sendToEveryEngine(session, cmdText)) return false;
  if (pendingZubIds.empty()) reply(session, "^done");
  return true;
}

bool SimpleMiCmd::sendToEveryEngine(MiSession& session, const std::string& text) {
  session.ctrl.getZubIds(pendingZubIds);
  return session.ctrl.sendToZubs(pendingZubIds, text);
}

void SimpleMiCmd::sendToGroup(MiSession& session, const std::string& zubId,
                              const std::string& text) {
  if (!session.ctrl.sendToZub(zubId, text)) {
    reportInvalidThreadGroupIdError(session.ctrl, zubId, cmdId_);
    return;
  }
  pendingZubIds.insert(zubId);
}

bool SimpleMiCmd::replyFromOneEngine(MiSession& session, bool exactlyOne) {
  if (resultClasses.empty() || (exactlyOne && resultClasses.size() != 1)) {
    reportInternalError(session.ctrl, cmdId_);
    return true;
  }
  const auto& [zubId, resultClass] = *resultClasses.begin();
  replyWithResultsOf(session, "^" + resultClass, zubId);
  return true;
}

void SimpleMiCmd::replyWithResultsOf(MiSession& session, const std::string& resultClass,
                                     const std::string& zubId) {
  auto result = results.find(zubId);
  if (result == results.end())
    reply(session, resultClass);
  else
    replyWith(session, resultClass, result->second);
}

NotImplementedCmd::NotImplementedCmd(const std::string& line, bool replyDone)
    : MiCmd(line), replyDone(replyDone) {}

bool NotImplementedCmd::launchCmd(MiSession& session) {
  // Clients of gdb fall back to other commands on exactly this answer.
  if (gdbCompatible()) {
    const std::string name = cmdName.starts_with('-') ? cmdName.substr(1) : cmdName;
    reportUndefinedMiCommandError(session.ctrl, name, cmdId_);
    return true;
  }
  reply(session,
        std::string(replyDone ? "^done" : "^error") + ",msg=\"Command is not implemented.\"");
  return true;
}

bool NotImplementedCmd::handleResponse(MiSession&, const std::string&, const std::string&) {
  return false;
}

bool NotImplementedCmd::interruptCmd(MiSession&) { return true; }

void SimpleMiCmd::zubEnded(MiSession& session, const std::string& zubId) {
  if (pendingZubIds.erase(zubId) != 0 && pendingZubIds.empty()) replyToUser(session);
}
