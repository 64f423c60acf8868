#include "commands/exit_cmd.h"

#include <set>

#include "engine/ctrl_module.h"
#include "session/mi_session.h"

bool GdbExitCmd::launchCmd(MiSession& session) {
  if (!sendToEveryEngine(session, cmdText)) return false;
  // An engine deaf to the line is killed after the grace period; its end then answers for it.
  session.ctrl.expectEnd(pendingZubIds);
  if (pendingZubIds.empty()) {
    session.ctrl.sendToUser(cmdId() + "^exit\n");
    session.exitRequested = true;
  }
  return true;
}

// Every engine has answered and is ending: reap them all, then say goodbye without a prompt.
bool GdbExitCmd::replyToUser(MiSession& session) {
  std::set<std::string> zubIds;
  session.ctrl.getZubIds(zubIds);
  session.removeZubs(zubIds);
  session.ctrl.sendToUser(cmdId() + "^exit\n");
  session.exitRequested = true;
  return true;
}
