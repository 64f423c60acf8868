#include "commands/passthrough_cmds.h"

#include <exception>
#include <fstream>
#include <set>

#include "base/compat.h"
#include "base/log.h"
#include "commands/errors.h"
#include "engine/ctrl_module.h"
#include "match/cmd_matchers.h"
#include "session/mi_session.h"

bool EnvironmentCmd::launchCmd(MiSession& session) { return sendToOneEngine(session); }

bool EnvironmentCmd::replyToUser(MiSession& session) { return replyFromOneEngine(session, true); }

bool StackCmd::launchCmd(MiSession& session) { return sendToOneEngine(session); }

bool StackCmd::replyToUser(MiSession& session) { return replyFromOneEngine(session, true); }

bool InferiorTtySetCmd::launchCmd(MiSession& session) { return sendToOneEngine(session); }

bool InferiorTtySetCmd::replyToUser(MiSession& session) {
  return replyFromOneEngine(session, false);
}

bool InterpreterExecCmd::launchCmd(MiSession& session) {
  // What the console prints is the answer gdb's clients show.
  forwardConsoleOutput = gdbCompatible();
  return sendToOneEngine(session);
}

bool InterpreterExecCmd::replyToUser(MiSession& session) {
  return replyFromOneEngine(session, false);
}

// Options are not looked at: the current engine answers whatever the line names.
bool ListFeaturesCmd::launchCmd(MiSession& session) {
  sendToGroup(session, session.currentZubId, cmdText);
  return true;
}

bool ListFeaturesCmd::replyToUser(MiSession& session) { return replyFromOneEngine(session, true); }

bool GdbSetUnsetCmd::launchCmd(MiSession& session) {
  bool on = false;
  if (gdbCompatible() && matchMiAsyncSet(cmdText, on)) session.engineAsync = on;
  return sendToAllEngines(session);
}

bool GdbSetUnsetCmd::replyToUser(MiSession& session) { return replyFromOneEngine(session, false); }

bool SetSerializeExecutionCmd::launchCmd(MiSession& session) {
  if (!sendToEveryEngine(session, cmdText)) return false;
  // With no engine there is nobody to wait for; answer as the settings commands do.
  if (pendingZubIds.empty()) reply(session, "^done");
  return true;
}

// The first engine (by id) that failed decides the reply; otherwise the first record sent.
bool SetSerializeExecutionCmd::replyToUser(MiSession& session) {
  for (const auto& [zubId, resultClass] : resultClasses) {
    if (resultClass == "error") {
      replyWithResultsOf(session, "^error", zubId);
      return true;
    }
  }
  for (const auto& [zubId, result] : results) {
    if (!result.entries.empty()) {
      replyWith(session, "^done", result);
      return true;
    }
  }
  reply(session, "^done");
  return true;
}

bool InfoCmd::launchCmd(MiSession& session) {
  if (!matchInfoCmd(cmdText, infoSubject)) {
    reportSyntaxError(session.ctrl, cmdId());
    return true;
  }
  if (infoSubject != "sharedlibrary") {
    reportCommandNotImplementedError(session.ctrl, cmdId());
    return true;
  }
  // The listing is the engines' console output; their result records only end it.
  forwardConsoleOutput = true;
  if (!sendToEveryEngine(session, cmdText)) return false;
  // With no engine there is no listing to wait for; answer as the settings commands do.
  if (pendingZubIds.empty()) reply(session, "^done");
  return true;
}

bool InfoCmd::replyToUser(MiSession& session) {
  if (infoSubject != "sharedlibrary")
    reportInternalError(session.ctrl, cmdId());
  else
    reply(session, "^done");
  return true;
}

bool ZubCondPrintCmd::launchCmd(MiSession& session) {
  if (!matchZubCondPrintCmd(cmdText, condition, trueMessage, falseMessage)) {
    reportSyntaxError(session.ctrl, cmdId());
    return true;
  }
  const std::string evaluate = cmdId() + "-data-evaluate-expression ";
  if (!threadId.empty()) {
    std::string zubId, engineThreadId;
    if (!findThread(session, threadId, zubId, engineThreadId)) return true;
    sendToGroup(session, zubId, evaluate + "--thread " + engineThreadId + " " + condition + "\n");
    if (!pendingZubIds.empty()) session.currentZubId = zubId;
    return true;
  }
  const std::string& zubId = threadGroupId.empty() ? session.currentZubId : threadGroupId;
  sendToGroup(session, zubId, evaluate + condition + "\n");
  return true;
}

bool ZubCondPrintCmd::replyToUser(MiSession& session) {
  if (resultClasses.size() != 1) {
    reportInternalError(session.ctrl, cmdId());
    return true;
  }
  const auto& [zubId, resultClass] = *resultClasses.begin();
  if (resultClass != "done") return replyFromOneEngine(session, true);
  auto result = results.find(zubId);
  std::string value;
  if (result == results.end() || !result->second.findString("value", value)) {
    reportInternalError(session.ctrl, cmdId());
    return true;
  }
  MiMap message(true);
  message.setString("zub-cond-msg", value == "0" || value == "false" ? falseMessage : trueMessage);
  replyWith(session, "^done", message);
  return true;
}

namespace {

// Command files being run right now, the outermost included. Only the main thread sources.
int sourceDepth = 0;

struct SourceDepthGuard {
  SourceDepthGuard() { ++sourceDepth; }
  ~SourceDepthGuard() { --sourceDepth; }
};

}  // namespace

bool SourceCmd::launchCmd(MiSession& session) {
  CtrlModule& ctrl = session.ctrl;
  if (!matchSourceCmd(cmdText, fileName)) {
    reportSyntaxError(ctrl, cmdId());
    return true;
  }
  LOG_AT(ctrl) << "Filename: " << fileName;
  // A file that sources itself would otherwise recurse until the stack runs out.
  if (sourceDepth >= kMaxSourceDepth) {
    reportCommandFilesNestTooDeeplyError(ctrl, kMaxSourceDepth, fileName, cmdId());
    return true;
  }
  std::ifstream file(fileName);
  if (!file.is_open()) {
    reportCannotOpenFileError(ctrl, fileName, cmdId());
    return true;
  }
  try {
    SourceDepthGuard nested;
    runLines(session, file);
  } catch (const std::exception& error) {
    LOG_AT(ctrl) << "Failed to source " << fileName << ": " << error.what();
    reportInternalError(ctrl, cmdId());
    return true;
  }
  reply(session, "^done");
  return true;
}

// Reads up to the end of the file: a last line that ends in "\n" is followed by one empty
// line, which is dispatched too and gets its bare prompt.
void SourceCmd::runLines(MiSession& session, std::istream& file) {
  while (file.good()) {
    std::string line;
    std::getline(file, line);
    line += "\n";
    LOG_AT(session.ctrl) << "Cmd: " << line;
    MiCmdQueue queue;
    session.parseCmd(line, queue);
    for (const MiCmdPtr& cmd : queue) session.runCmd(*cmd);
  }
}
