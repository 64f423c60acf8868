#include "offload/offload_events.h"

#include "base/log.h"
#include "base/silencer.h"
#include "commands/exec_cmd.h"
#include "commands/inferior_cmds.h"
#include "engine/ctrl_module.h"
#include "session/mi_session.h"

bool isVekOffloadStart(MiSession&, const MiMap& record) {
  std::string reason, func, offloadSymbol;
  MiMap frame(false);
  if (!record.findString("reason", reason) || reason != "breakpoint-hit") return false;
  if (!record.findMiMap("frame", frame) || !frame.findString("func", func)) return false;
  MiSession::retrieveVekOffloadSymbol(offloadSymbol);
  return func == offloadSymbol;
}

bool isVekOffloadEnd(MiSession&, const std::string& zubId, const MiMap& record) {
  std::string reason;
  record.findString("reason", reason);
  return zubId.starts_with("vek") && reason.starts_with("exited");
}

// The card-side process is read from the group that stopped at the offload symbol.
bool ExecCmd::handleVekOffloadStart(MiSession& session, const std::string& zubId) {
  session.currentZubId = zubId;
  if (!attachVekProcess(session)) LOG_AT(session.ctrl) << "Failed to attach VEK process.";
  return true;
}

bool ExecCmd::handleVekOffloadEnd(MiSession& session, const std::string& zubId) {
  LOG_AT(session.ctrl) << zubId << " exited.";
  bool removed = false;
  {
    Silencer quiet(session.ctrl.muted);
    RemoveInferiorCmd remove("-remove-inferior " + zubId + "\n");
    removed = session.runCmd(remove);
  }
  if (!removed) LOG_AT(session.ctrl) << "Failed to remove " << zubId;
  return removed;
}
