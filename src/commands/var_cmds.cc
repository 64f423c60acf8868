#include "commands/var_cmds.h"

#include "base/compat.h"
#include "commands/errors.h"
#include "engine/ctrl_module.h"
#include "match/cmd_matchers.h"
#include "session/mi_session.h"

namespace {

enum class VarVerb { kOther, kDelete, kUpdate };

// Sends the line unchanged to the engine that owns the variable object named first on it.
void launchOnVarObj(SimpleMiCmd& cmd, MiSession& session, VarVerb verb) {
  CtrlModule& ctrl = session.ctrl;
  std::string name;
  if (!matchVarObjId(cmd.cmdText, name)) {
    reportSyntaxError(ctrl, cmd.cmdId());
    return;
  }
  if (verb == VarVerb::kUpdate && name == "*") {
    reportCommandNotImplementedError(ctrl, cmd.cmdId());
    return;
  }
  std::string zubId;
  if (!session.varObjTable.findOwner(name, zubId)) {
    reportInvalidVariableError(ctrl, name, cmd.cmdId());
    return;
  }
  if (!ctrl.sendToZub(zubId, cmd.cmdText)) {
    reportInvalidThreadGroupIdError(ctrl, zubId, cmd.cmdId());
    return;
  }
  if (verb == VarVerb::kDelete) session.varObjTable.owners.erase(name);
  cmd.pendingZubIds.insert(zubId);
}

}  // namespace

bool VarCreateCmd::launchCmd(MiSession& session) {
  CtrlModule& ctrl = session.ctrl;
  std::string zubId, line;
  const bool byThread = !threadId.empty();
  if (byThread) {
    std::string engineThreadId;
    if (!findThread(session, threadId, zubId, engineThreadId)) return true;
    replaceCmdThreadId(cmdText, "--thread " + engineThreadId, line);
  } else if (!threadGroupId.empty()) {
    if (!ctrl.findZub(threadGroupId)) {
      reportInvalidThreadGroupIdError(ctrl, threadGroupId, cmdId());
      return true;
    }
    zubId = threadGroupId;
    replaceCmdThreadGroupId(cmdText, "", line);
  } else {
    zubId = session.currentZubId;
    line = cmdText;
  }
  std::string name;
  if (!matchVarCreate(line, name)) {
    reportSyntaxError(ctrl, cmdId());
    return true;
  }
  if (name == "-") {
    session.varObjTable.newVarObj(zubId, name);
    std::string named = line;
    replaceVarCreateObjId(line, name, named);
    line = std::move(named);
  } else if (!session.varObjTable.addVarObj(name, zubId)) {
    reportNameIsAlreadyInUseError(ctrl, name, cmdId());
    return true;
  }
  varObjName = name;
  if (!ctrl.sendToZub(zubId, line)) {
    if (byThread) return false;
    reportInvalidThreadGroupIdError(ctrl, zubId, cmdId());
    return true;
  }
  pendingZubIds.insert(zubId);
  if (byThread) session.currentZubId = zubId;
  return true;
}

bool VarCreateCmd::replyToUser(MiSession& session) {
  // An engine that did not create the object does not own the name either.
  if (resultClasses.size() == 1 && resultClasses.begin()->second != "done")
    session.varObjTable.owners.erase(varObjName);
  return replyFromOneEngine(session, true);
}

bool VarCmd::launchCmd(MiSession& session) {
  launchOnVarObj(*this, session, VarVerb::kOther);
  return true;
}

bool VarCmd::replyToUser(MiSession& session) { return replyFromOneEngine(session, true); }

bool VarDeleteCmd::launchCmd(MiSession& session) {
  launchOnVarObj(*this, session, VarVerb::kDelete);
  return true;
}

bool VarDeleteCmd::replyToUser(MiSession& session) { return replyFromOneEngine(session, true); }

bool VarUpdateCmd::launchCmd(MiSession& session) {
  std::string name;
  // gdb's clients update every object at once, wherever it lives.
  if (gdbCompatible() && matchVarObjId(cmdText, name) && name == "*") {
    everyObject = true;
    if (!sendToEveryEngine(session, cmdText)) return false;
    if (pendingZubIds.empty()) reply(session, "^done,changelist=[]");
    return true;
  }
  launchOnVarObj(*this, session, VarVerb::kUpdate);
  return true;
}

bool VarUpdateCmd::replyToUser(MiSession& session) {
  if (!everyObject) return replyFromOneEngine(session, true);
  // Object names are the same for the user and the engines: the lists only join.
  std::list<MiRecordPtr> changes;
  bool updated = false;
  for (const auto& [zubId, resultClass] : resultClasses) {
    auto result = results.find(zubId);
    std::list<MiRecordPtr> engineChanges;
    if (resultClass != "done" || result == results.end() ||
        !result->second.findList("changelist", engineChanges))
      continue;
    updated = true;
    changes.splice(changes.end(), engineChanges);
  }
  if (!updated) return replyFromOneEngine(session, false);
  MiMap record(true);
  record.setList("changelist", changes);
  replyWith(session, "^done", record);
  return true;
}
