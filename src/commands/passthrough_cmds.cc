#include "commands/passthrough_cmds.h"

#include <set>

#include "engine/ctrl_module.h"
#include "session/mi_session.h"

bool EnvironmentCmd::launchCmd(MiSession& session) { return sendToOneEngine(session); }

bool EnvironmentCmd::replyToUser(MiSession& session) { return replyFromOneEngine(session, true); }

bool StackCmd::launchCmd(MiSession& session) { return sendToOneEngine(session); }

bool StackCmd::replyToUser(MiSession& session) { return replyFromOneEngine(session, true); }

bool InferiorTtySetCmd::launchCmd(MiSession& session) { return sendToOneEngine(session); }

bool InferiorTtySetCmd::replyToUser(MiSession& session) {
  return replyFromOneEngine(session, false);
}

bool InterpreterExecCmd::launchCmd(MiSession& session) { return sendToOneEngine(session); }

bool InterpreterExecCmd::replyToUser(MiSession& session) {
  return replyFromOneEngine(session, false);
}

// Options are not looked at: the current engine answers whatever the line names.
bool ListFeaturesCmd::launchCmd(MiSession& session) {
  sendToGroup(session, session.currentZubId, cmdText);
  return true;
}

bool ListFeaturesCmd::replyToUser(MiSession& session) { return replyFromOneEngine(session, true); }

bool GdbSetUnsetCmd::launchCmd(MiSession& session) { return sendToAllEngines(session); }

bool GdbSetUnsetCmd::replyToUser(MiSession& session) { return replyFromOneEngine(session, false); }

bool SetSerializeExecutionCmd::launchCmd(MiSession& session) {
  if (!sendToEveryEngine(session, cmdText)) return false;
  // With no engine there is nobody to wait for; answer as the settings commands do.
  if (pendingZubIds.empty()) reply(session, "^done");
  return true;
}

// The first engine (by id) that failed decides the reply; otherwise the first record sent.
bool SetSerializeExecutionCmd::replyToUser(MiSession& session) {
  auto withRecord = [&](const std::string& zubId, std::string record) {
    auto result = results.find(zubId);
    if (result != results.end() && !result->second.entries.empty()) {
      std::string printed;
      result->second.printToString(printed);
      record += "," + printed;
    }
    return record;
  };
  for (const auto& [zubId, resultClass] : resultClasses) {
    if (resultClass == "error") {
      reply(session, withRecord(zubId, "^error"));
      return true;
    }
  }
  for (const auto& [zubId, result] : results) {
    if (!result.entries.empty()) {
      reply(session, withRecord(zubId, "^done"));
      return true;
    }
  }
  reply(session, "^done");
  return true;
}
